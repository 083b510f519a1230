// Cost of the single-precision projections per call, next to the cost of
// the double-precision maths-library calls each one has to make (the floor
// no implementation of the same arithmetic can go below).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "call_chain.h"
#include "view_cases.h"
#include "viewgeo.h"

namespace {

using Case = viewgeo::bench::ViewCase;

// A mix like the camera's own use: rectilinear lens mostly, equidistant for
// an eighth of the views.
const std::vector<Case> &cases() {
    static const std::vector<Case> all =
        viewgeo::bench::make_view_cases(12345u, [](std::mt19937 &gen) { return gen() % 8 == 0 ? 1 : 2; });
    return all;
}

void BM_ToPixelF(benchmark::State &state) {
    const auto &cs = cases();
    std::size_t i = 0;
    for (auto _ : state) {
        const Case &c = cs[i++ & 1023];
        std::int32_t x, y;
        viewgeo_to_pixel_f(&c.ctx, &x, &y, c.pan, c.tilt);
        benchmark::DoNotOptimize(x);
        benchmark::DoNotOptimize(y);
    }
}
BENCHMARK(BM_ToPixelF);

void BM_ToPtzF(benchmark::State &state) {
    const auto &cs = cases();
    std::size_t i = 0;
    for (auto _ : state) {
        const Case &c = cs[i++ & 1023];
        float pan, tilt;
        viewgeo_to_ptz_f(&c.ctx, &pan, &tilt, c.x, c.y);
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    }
}
BENCHMARK(BM_ToPtzF);

void BM_ToPtzFRel(benchmark::State &state) {
    const auto &cs = cases();
    std::size_t i = 0;
    for (auto _ : state) {
        const Case &c = cs[i++ & 1023];
        float pan, tilt;
        viewgeo_to_ptz_f_rel(&c.ctx, &pan, &tilt, c.x, c.y);
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    }
}
BENCHMARK(BM_ToPtzFRel);

// The floors: the maths-library calls each projection makes on a case,
// with arguments of the same kind, without the arithmetic around them. Each
// waits for the results it needs in the projection (see call_chain.h), sin
// and cos of one argument become one sincos call, as in the projection.
struct FloorArgs {
    std::int32_t type;
    double half_h;       // half horizontal field, radians: the vertical field's derivation
    double aspect;       // height / width
    float half_hf;       // half fields, radians, for their lens values
    float half_vf;
    double d, t, c;      // pan offset, target tilt, camera tilt, radians
    double one_minus_zz; // 1 - Z^2 of the angle off the axis
    double sine_off;     // its sine
    float cos_sq;        // the square of its cosine
    float theta;         // the angle off the axis
    float r;             // the pixel's normalised radius
    float r2;            // its square, for the square root
    double tilt_e;       // camera tilt, radians
    double tilt_sine;    // sine of the result's tilt
    double pan_ratio;    // and the tangent of its pan offset
};

double radians(double degrees) { return degrees * 3.14159265358979323846 / 180.0; }

const std::vector<FloorArgs> &floor_args() {
    static const std::vector<FloorArgs> all = [] {
        std::vector<FloorArgs> out;
        for (const Case &c : cases()) {
            float hfov = 0.0f, vfov = 0.0f, cam_pan = 0.0f, cam_tilt = 0.0f;
            viewgeo_get_horiz_fov_f(&c.ctx, &hfov);
            viewgeo_get_vert_fov_f(&c.ctx, &vfov);
            viewgeo_get_pantilt_f(&c.ctx, &cam_pan, &cam_tilt);
            double off_pan = std::remainder(static_cast<double>(c.pan) - cam_pan, 360.0);
            const double off_tilt = static_cast<double>(c.tilt) - cam_tilt;
            const double theta = radians(std::hypot(off_pan, off_tilt));
            // The pixel's offset from the centre as a fraction of the half picture.
            const double u = 2.0 * c.x / c.ctx.pic_width - 1.0, v = 1.0 - 2.0 * c.y / c.ctx.pic_height;
            const double rx = std::tan(radians(hfov / 2.0)) * u, ry = std::tan(radians(vfov / 2.0)) * v;
            FloorArgs f{};
            f.type = c.ctx.projection_type;
            f.half_h = radians(hfov / 2.0);
            f.aspect = static_cast<double>(c.ctx.pic_height) / c.ctx.pic_width;
            f.half_hf = static_cast<float>(radians(hfov / 2.0));
            f.half_vf = static_cast<float>(radians(vfov / 2.0));
            f.d = radians(off_pan);
            f.t = radians(c.tilt);
            f.c = radians(cam_tilt);
            f.one_minus_zz = std::sin(theta) * std::sin(theta);
            f.sine_off = std::sin(theta);
            f.cos_sq = static_cast<float>(std::cos(theta) * std::cos(theta));
            f.theta = static_cast<float>(theta);
            f.r2 = static_cast<float>(rx * rx + ry * ry);
            f.r = std::sqrt(f.r2);
            f.tilt_e = radians(cam_tilt);
            f.tilt_sine = std::sin(radians(c.tilt));
            f.pan_ratio = std::tan(f.d);
            out.push_back(f);
        }
        return out;
    }();
    return all;
}

using viewgeo::bench::after;

// Direction to pixel: tan and atan for the derived vertical field of view,
// three sincos (pan offset, target tilt, camera tilt), sqrt and asin for the
// angle off the axis, the lens value of it and of both half fields of view.
// The square root needs all three sincos, asin the root, the angle's lens
// value asin, the vertical half field's lens value the derivation.
template <class C>
void BM_ToPixelF_LibmFloor(benchmark::State &state) {
    const auto &fs = floor_args();
    const std::uint64_t zero = viewgeo::bench::opaque_zero();
    std::size_t i = 0;
    for (auto _ : state) {
        const FloorArgs &f = fs[i++ & 1023];
        const double vfov = C::atan(f.aspect * C::tan(f.half_h));
        const double s = C::sqrt(after(zero, f.one_minus_zz, C::sin(f.d), C::cos(f.d), C::sin(f.t), C::cos(f.t),
                                       C::sin(f.c), C::cos(f.c)));
        const double theta = C::asin(after(zero, f.sine_off, s));
        float g = C::lens(f.type, f.half_hf);
        g += C::lens(f.type, after(zero, f.half_vf, vfov));
        if (f.theta >= 0.1f) g += C::lens(f.type, after(zero, f.theta, theta));
        benchmark::DoNotOptimize(g);
    }
}
BENCHMARK_TEMPLATE(BM_ToPixelF_LibmFloor, viewgeo::bench::Calls);
BENCHMARK_TEMPLATE(BM_ToPixelF_LibmFloor, viewgeo::bench::Links);

// Pixel to direction: tan and atan for the derived vertical field of view;
// the lens value of both half fields, the radius's square root and the
// inverse lens function; off the axis sin of the angle and a square root;
// cos of the effective tilt and a square root; asin and atan for the result.
// Only the horizontal half field and the camera tilt's cosine and square
// root need nothing before them.
template <class C>
void BM_ToPtzF_LibmFloor(benchmark::State &state) {
    const auto &fs = floor_args();
    const std::uint64_t zero = viewgeo::bench::opaque_zero();
    std::size_t i = 0;
    for (auto _ : state) {
        const FloorArgs &f = fs[i++ & 1023];
        const double vfov = C::atan(f.aspect * C::tan(f.half_h));
        const float gh = C::lens(f.type, f.half_hf);
        const float gv = C::lens(f.type, after(zero, f.half_vf, vfov));
        const float r = C::sqrtf(after(zero, f.r2, gh, gv));
        double theta = static_cast<double>(r);
        if (f.type != 1) theta = C::atan(theta);
        float c = 0.0f;
        if (f.theta >= 0.1f) {
            const double s = C::sin(theta);
            c = C::sqrtf(after(zero, f.cos_sq, s));
        } else {
            c = static_cast<float>(C::sqrt(after(zero, f.one_minus_zz, r)));
        }
        const float c_t = static_cast<float>(C::cos(f.tilt_e));
        const float s_t = C::sqrtf(after(zero, 1.0f - c_t * c_t, c_t));
        const double tilt = C::asin(after(zero, f.tilt_sine, c, s_t));
        const double pan = C::atan(after(zero, f.pan_ratio, c, s_t));
        benchmark::DoNotOptimize(tilt);
        benchmark::DoNotOptimize(pan);
    }
}
BENCHMARK_TEMPLATE(BM_ToPtzF_LibmFloor, viewgeo::bench::Calls);
BENCHMARK_TEMPLATE(BM_ToPtzF_LibmFloor, viewgeo::bench::Links);

}  // namespace
