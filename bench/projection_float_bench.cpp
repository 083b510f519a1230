// Cost of the single-precision projections per call, next to the cost of
// the double-precision maths-library calls each one has to make (the floor
// no implementation of the same arithmetic can go below).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "viewgeo.h"

namespace {

struct Case {
    viewgeo_context ctx;
    std::int32_t x;
    std::int32_t y;
    float pan;
    float tilt;
};

// A mix like the camera's own use: rectilinear lens mostly, tilts across the
// head's range, zoom from wide to tele, common picture sizes, pixels inside
// the picture and directions that are visible in it.
const std::vector<Case> &cases() {
    static const std::vector<Case> all = [] {
        std::mt19937 gen(12345u);
        std::uniform_real_distribution<float> pan(-180.0f, 180.0f), tilt(-80.0f, 80.0f), fov(2.0f, 90.0f);
        const std::int32_t sizes[][2] = {{1920, 1080}, {1280, 720}, {704, 576}};
        std::vector<Case> out;
        for (int i = 0; i < 1024; ++i) {
            Case c{};
            const auto &s = sizes[gen() % 3];
            viewgeo_set_pantilt_f(&c.ctx, pan(gen), tilt(gen));
            viewgeo_set_horiz_fov_f(&c.ctx, fov(gen));
            viewgeo_set_pic_dim(&c.ctx, s[0], s[1]);
            viewgeo_set_projection_type(&c.ctx, gen() % 8 == 0 ? 1 : 2);
            viewgeo_set_pic_rot(&c.ctx, gen() % 4 == 0 ? 180 : 0);
            c.x = static_cast<std::int32_t>(gen() % static_cast<std::uint32_t>(s[0]));
            c.y = static_cast<std::int32_t>(gen() % static_cast<std::uint32_t>(s[1]));
            viewgeo_to_ptz_f(&c.ctx, &c.pan, &c.tilt, static_cast<std::int32_t>(gen() % static_cast<std::uint32_t>(s[0])),
                             static_cast<std::int32_t>(gen() % static_cast<std::uint32_t>(s[1])));
            out.push_back(c);
        }
        return out;
    }();
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

// The floors: the same maths-library calls on arguments of the same kind,
// without the arithmetic around them. The results are summed and the sum
// kept, so no call can be dropped; sin and cos of one argument become one
// sincos call, as in the projection.

// Direction to pixel (rectilinear, off the axis): tan and atan for the
// derived vertical field of view, three sincos (pan offset, target tilt,
// camera tilt), sqrt and asin for the angle off the axis, tan of it and of
// both half fields of view.
void BM_ToPixelF_LibmFloor(benchmark::State &state) {
    const auto &cs = cases();
    std::size_t i = 0;
    for (auto _ : state) {
        const Case &c = cs[i++ & 1023];
        const double a = 0.01 * c.pan, b = 0.01 * c.tilt, h = 0.0005 * c.x;
        double sum = std::tan(h) + std::atan(h);
        sum += std::sin(a) + std::cos(a);
        sum += std::sin(b) + std::cos(b);
        sum += std::sin(h) + std::cos(h);
        sum += std::sqrt(h) + std::asin(0.5 * b);
        sum += std::tan(b) + std::tan(h + 0.1) + std::tan(h + 0.2);
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_ToPixelF_LibmFloor);

// Pixel to direction (rectilinear, off the axis): tan and atan for the
// derived vertical field of view; tan of both half fields of view, atan for
// the angle off the axis and sin of it; cos of the effective tilt; asin and
// atan for the result; three single-precision square roots.
void BM_ToPtzF_LibmFloor(benchmark::State &state) {
    const auto &cs = cases();
    std::size_t i = 0;
    for (auto _ : state) {
        const Case &c = cs[i++ & 1023];
        const double a = 0.01 * c.pan, b = 0.01 * c.tilt, h = 0.0005 * c.x;
        double sum = std::tan(h) + std::atan(h);
        sum += std::tan(h + 0.1) + std::tan(h + 0.2);
        sum += std::atan(a) + std::sin(b);
        sum += std::cos(a) + std::asin(0.5 * b) + std::atan(a + b);
        const float f = static_cast<float>(h);
        sum += static_cast<double>(std::sqrt(f) + std::sqrt(f + 1.0f) + std::sqrt(f + 2.0f));
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_ToPtzF_LibmFloor);

}  // namespace
