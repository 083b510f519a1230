// The Q16.16 projections on a realistic mix of views and inputs, next to
// their floor: the fixed-point and libm calls each projection has to make,
// with arguments of the same size, run back to back in the same program.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "call_chain.h"
#include "core/lens_model.h"
#include "core/q16.h"
#include "fixmath/viewgeo_fx.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

constexpr std::size_t kSamples = 64;  // a power of two: the index wraps by mask

struct Sample {
    viewgeo_context ctx;
    q16 pan;           // a direction inside the view
    q16 tilt;
    std::int32_t x;    // a pixel inside the picture
    std::int32_t y;
};

// What the floor has to call for one sample, in the same magnitudes as the
// projections meet them.
struct FloorArgs {
    std::int32_t type;
    q16 rad_d, rad_t, rad_c;  // the three angles whose sine and cosine the pixel form takes
    q16 sqrt_arg;             // 1 - Z^2 and the like: near 1 at the picture's edge
    double asin_arg;          // sine of the angle off the axis
    float half_h, half_v;     // half fields of view, radians
    float theta;              // angle off the axis, radians
    double derived_half;      // the vertical field's derivation: tan of the half field
    double aspect;            // and atan of the aspect times that
    double tilt_sine;         // the pixel-to-direction form's asin of E
    double pan_ratio;         // and atan of X / N
};

struct Mix {
    std::array<Sample, kSamples> samples{};
    std::array<FloorArgs, kSamples> floor{};
};

double radians(double degrees) { return degrees * 3.14159265358979323846 / 180.0; }

// Cameras as they are used: mostly rectilinear, HD pictures, zoom from wide to
// tele, looking slightly down, the vertical field derived from the aspect.
Mix make_mix() {
    Mix mix;
    const double fovs[] = {58.0, 33.5, 12.0, 4.2, 60.0, 21.0, 2.1, 45.0};
    const std::int32_t types[] = {2, 2, 2, 1, 2, 0, 2, 2};
    for (std::size_t i = 0; i < kSamples; ++i) {
        const double fov = fovs[i % 8];
        const double cam_pan = -170.0 + 5.3 * static_cast<double>(i);
        const double cam_tilt = -55.0 + 1.1 * static_cast<double>(i % 50);
        // Spread over the picture: fractions of the field from the centre.
        const double fx = -0.45 + 0.9 * static_cast<double>((i * 37) % 64) / 63.0;
        const double fy = -0.45 + 0.9 * static_cast<double>((i * 23) % 64) / 63.0;
        Sample &s = mix.samples[i];
        s.ctx = viewgeo_context{};
        viewgeo_set_pic_dim(&s.ctx, 1920, 1080);
        viewgeo_set_horiz_fov_f(&s.ctx, static_cast<float>(fov));
        viewgeo_set_pantilt_f(&s.ctx, static_cast<float>(cam_pan), static_cast<float>(cam_tilt));
        viewgeo_set_projection_type(&s.ctx, types[i % 8]);
        viewgeo_set_pic_rot(&s.ctx, i % 16 == 5 ? 180 : 0);
        viewgeo_set_dewarp_status(&s.ctx, 0);
        const double vfov = fov * 0.5625;  // close enough for argument sizes
        const double off_pan = fx * fov;
        const double off_tilt = -fy * vfov;
        s.pan = q16_from_float(static_cast<float>(cam_pan + off_pan));
        s.tilt = q16_from_float(static_cast<float>(cam_tilt + off_tilt));
        s.x = static_cast<std::int32_t>(960.0 + fx * 1920.0);
        s.y = static_cast<std::int32_t>(540.0 + fy * 1080.0);

        FloorArgs &f = mix.floor[i];
        const double theta = radians(std::hypot(off_pan, off_tilt));
        f.type = types[i % 8];
        f.rad_d = q16_from_float(static_cast<float>(radians(off_pan)));
        f.rad_t = q16_from_float(static_cast<float>(radians(cam_tilt + off_tilt)));
        f.rad_c = q16_from_float(static_cast<float>(radians(cam_tilt)));
        f.sqrt_arg = q16_from_float(static_cast<float>(std::sin(theta) * std::sin(theta)));
        f.asin_arg = std::sin(theta);
        f.half_h = static_cast<float>(radians(fov / 2.0));
        f.half_v = static_cast<float>(radians(vfov / 2.0));
        f.theta = static_cast<float>(theta);
        f.derived_half = static_cast<double>(f.half_h);
        f.aspect = 0.5625;
        f.tilt_sine = std::sin(radians(cam_tilt + off_tilt));
        f.pan_ratio = std::tan(radians(off_pan));
    }
    return mix;
}

const Mix &mix() {
    static const Mix m = make_mix();
    return m;
}

// The inverse lens function the pixel-to-direction form takes (asin, none, atan).
template <class C>
double lens_angle_floor(std::int32_t type, double r) {
    if (type == kLensSine) return C::asin(r);
    if (type == kLensEquidistant) return r;
    return C::atan(r);
}

void BM_ToPixelX(benchmark::State &state) {
    const Mix &m = mix();
    std::size_t i = 0;
    for (auto _ : state) {
        const Sample &s = m.samples[i++ & (kSamples - 1)];
        std::int32_t x = 0;
        std::int32_t y = 0;
        viewgeo_to_pixel_x(&s.ctx, &x, &y, s.pan, s.tilt);
        benchmark::DoNotOptimize(x);
        benchmark::DoNotOptimize(y);
    }
}
BENCHMARK(BM_ToPixelX);

// Direction to pixel must take: the vertical field's tan and atan, the
// fixed-point sine and cosine of three angles (pan offset, target tilt,
// camera tilt), one square root, asin of the axis angle, the lens value of
// both half fields and (off the axis) of the angle itself. The square root
// needs all three sines and cosines, asin needs the root, the lens
// value of the angle needs asin, and the vertical half field's lens value
// needs the derivation; the rest is independent.
template <class C>
void BM_ToPixelXFloor(benchmark::State &state) {
    const Mix &m = mix();
    const std::uint64_t zero = bench::opaque_zero();
    std::size_t i = 0;
    for (auto _ : state) {
        const FloorArgs &f = m.floor[i++ & (kSamples - 1)];
        using bench::after;
        const double vfov = C::atan(f.aspect * C::tan(f.derived_half));
        const auto sc_d = C::fx_sincos(f.rad_d);
        const auto sc_t = C::fx_sincos(f.rad_t);
        const auto sc_c = C::fx_sincos(f.rad_c);
        const std::int32_t s = C::fx_sqrt(
            after(zero, f.sqrt_arg, sc_d.sin, sc_d.cos, sc_t.sin, sc_t.cos, sc_c.sin, sc_c.cos));
        const double theta = C::asin(after(zero, f.asin_arg, s));
        float g = C::lens(f.type, f.half_h);
        g += C::lens(f.type, after(zero, f.half_v, vfov));
        if (f.theta >= 0.1f) g += C::lens(f.type, after(zero, f.theta, theta));
        benchmark::DoNotOptimize(g);
    }
}
BENCHMARK_TEMPLATE(BM_ToPixelXFloor, bench::Calls);
BENCHMARK_TEMPLATE(BM_ToPixelXFloor, bench::Links);

void BM_ToPtzX(benchmark::State &state) {
    const Mix &m = mix();
    std::size_t i = 0;
    for (auto _ : state) {
        const Sample &s = m.samples[i++ & (kSamples - 1)];
        std::int32_t pan = 0;
        std::int32_t tilt = 0;
        viewgeo_to_ptz_x(&s.ctx, &pan, &tilt, s.x, s.y);
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    }
}
BENCHMARK(BM_ToPtzX);

void BM_ToPtzXRel(benchmark::State &state) {
    const Mix &m = mix();
    std::size_t i = 0;
    for (auto _ : state) {
        const Sample &s = m.samples[i++ & (kSamples - 1)];
        std::int32_t pan = 0;
        std::int32_t tilt = 0;
        viewgeo_to_ptz_x_rel(&s.ctx, &pan, &tilt, s.x, s.y);
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    }
}
BENCHMARK(BM_ToPtzXRel);

// Pixel to direction (absolute or relative) must take: the vertical field's
// tan and atan, the lens value of both half fields, the inverse lens
// function, three square roots (radius, axis component, sine of the camera
// tilt), the cosine of the camera tilt, (off the axis) one sine, asin of the
// tilt and atan of the pan. In that order each needs the one before, except
// the horizontal half field's lens value and the camera tilt's cosine and
// the square root taken from it, which need nothing else.
template <class C>
void BM_ToPtzXFloor(benchmark::State &state) {
    const Mix &m = mix();
    const std::uint64_t zero = bench::opaque_zero();
    std::size_t i = 0;
    for (auto _ : state) {
        const FloorArgs &f = m.floor[i++ & (kSamples - 1)];
        using bench::after;
        const double vfov = C::atan(f.aspect * C::tan(f.derived_half));
        const float gh = C::lens(f.type, f.half_h);
        const float gv = C::lens(f.type, after(zero, f.half_v, vfov));
        const std::int32_t r = C::fx_sqrt(after(zero, f.sqrt_arg, gh, gv));
        const double theta = lens_angle_floor<C>(f.type, after(zero, f.asin_arg, r));
        std::int32_t c = 0;
        if (f.theta >= 0.1f) {
            const std::int32_t s = C::fx_sin(after(zero, f.rad_d, theta));
            c = C::fx_sqrt(after(zero, 0x10000 - f.sqrt_arg, s));
        } else {
            c = C::fx_sqrt(after(zero, 0x10000 - f.sqrt_arg, r));
        }
        const std::int32_t s_t = C::fx_sqrt(after(zero, f.sqrt_arg ^ 0x1F, C::fx_cos(f.rad_c)));
        const double tilt = C::asin(after(zero, f.tilt_sine, c, s_t));
        const double pan = C::atan(after(zero, f.pan_ratio, c, s_t));
        benchmark::DoNotOptimize(tilt);
        benchmark::DoNotOptimize(pan);
    }
}
BENCHMARK_TEMPLATE(BM_ToPtzXFloor, bench::Calls);
BENCHMARK_TEMPLATE(BM_ToPtzXFloor, bench::Links);

}  // namespace
}  // namespace viewgeo
