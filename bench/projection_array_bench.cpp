// Many points of one view: the single-point projection called once per
// point against the array form called once for all of them, for 1, 16 and
// 1024 points, with the time per point as the counter `per_point`. Beside
// them the per-point floor: the maths-library and fixed-point calls that
// depend on the point and that no array form can share between points.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "array_forms.h"
#include "call_chain.h"
#include "viewgeo.h"

namespace {

using namespace viewgeo::bench;

void set_per_point(benchmark::State &state, std::size_t n) {
    state.counters["per_point"] = benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(n),
                                                     benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

template <class In, class Out>
void run(benchmark::State &state, const Form<In, Out> &form, bool array, const std::vector<In> View::*a,
         const std::vector<In> View::*b) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const auto &vs = views();
    std::vector<Out> out_a(n), out_b(n);
    std::size_t k = 0;
    for (auto _ : state) {
        const View &v = vs[k++ % kViews];
        const In *ia = (v.*a).data();
        const In *ib = (v.*b).data();
        project(form, array, v, n, ia, ib, out_a.data(), out_b.data());
        benchmark::DoNotOptimize(out_a.data());
        benchmark::DoNotOptimize(out_b.data());
        benchmark::ClobberMemory();
    }
    set_per_point(state, n);
}

#define VIEWGEO_ARRAY_BENCH(name, form, a, b)                                                         \
    void BM_##name##_Single(benchmark::State &state) { run(state, form, false, &View::a, &View::b); } \
    void BM_##name##_Array(benchmark::State &state) { run(state, form, true, &View::a, &View::b); }  \
    BENCHMARK(BM_##name##_Single)->Arg(1)->Arg(16)->Arg(1024);                                        \
    BENCHMARK(BM_##name##_Array)->Arg(1)->Arg(16)->Arg(1024)

VIEWGEO_ARRAY_BENCH(ToPixelFArray, kToPixelF, pan_f, tilt_f);
VIEWGEO_ARRAY_BENCH(ToPtzFArray, kToPtzF, x, y);
VIEWGEO_ARRAY_BENCH(ToPtzFRelArray, kToPtzFRel, x, y);
VIEWGEO_ARRAY_BENCH(ToPixelXArray, kToPixelX, pan_x, tilt_x);
VIEWGEO_ARRAY_BENCH(ToPtzXArray, kToPtzX, x, y);
VIEWGEO_ARRAY_BENCH(ToPtzXRelArray, kToPtzXRel, x, y);
VIEWGEO_ARRAY_BENCH(OvistaToPtzFArray, kOvistaToPtzF, x, y);
VIEWGEO_ARRAY_BENCH(OvistaToPixelFArray, kOvistaToPixelF, pan_f, tilt_f);

// The per-point floors: the calls of each point stage on its usual path
// (rectilinear lens, ray more than 0.1 rad off the axis), each waiting for
// the results its argument is computed from (see call_chain.h), on
// arguments of the usual size. Both pan/tilt forms of a family share one.
// Divisions, conversions and comparisons between the calls are not part of
// a floor.
using viewgeo::bench::after;

// Pixel forms, float: sincos of the pan offset and of the target tilt, the
// square root and arc sine of the angle off the axis, its lens value.
template <class C>
void BM_ArrayPointFloor_ToPixelF(benchmark::State &state) {
    const std::uint64_t zero = viewgeo::bench::opaque_zero();
    double d = 0.3, t = -0.4;
    for (auto _ : state) {
        const double s = C::sqrt(after(zero, 0.2, C::sin(d), C::cos(d), C::sin(t), C::cos(t)));
        const double theta = C::asin(after(zero, 0.45, s));
        benchmark::DoNotOptimize(C::lens(2, after(zero, 0.46f, theta)));
        benchmark::DoNotOptimize(d);
        benchmark::DoNotOptimize(t);
    }
    set_per_point(state, 1);
}

// Pan/tilt forms, float: the radius's square root, its arc tangent, sin of
// the angle and a square root, arc sine and arc tangent of the result.
template <class C>
void BM_ArrayPointFloor_ToPtzF(benchmark::State &state) {
    const std::uint64_t zero = viewgeo::bench::opaque_zero();
    float r2 = 0.09f;
    for (auto _ : state) {
        const float r = C::sqrtf(r2);
        const double theta = C::atan(static_cast<double>(r));
        const double s = C::sin(theta);
        const float c = C::sqrtf(after(zero, 0.91f, s));
        const double tilt = C::asin(after(zero, 0.3, c));
        const double pan = C::atan(after(zero, 0.2, c));
        benchmark::DoNotOptimize(tilt);
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(r2);
    }
    set_per_point(state, 1);
}

// Pixel form, Q16.16: the fixed-point sine and cosine of the pan offset and
// of the tilt, one square root, the arc sine of the angle off the axis and
// its lens value.
template <class C>
void BM_ArrayPointFloor_ToPixelX(benchmark::State &state) {
    const std::uint64_t zero = viewgeo::bench::opaque_zero();
    std::int32_t d = 19660, t = -26214;
    for (auto _ : state) {
        const auto sc_d = C::fx_sincos(d);
        const auto sc_t = C::fx_sincos(t);
        const std::int32_t s = C::fx_sqrt(after(zero, 13107, sc_d.sin, sc_d.cos, sc_t.sin, sc_t.cos));
        const double theta = C::asin(after(zero, 0.45, s));
        benchmark::DoNotOptimize(C::lens(2, after(zero, 0.46f, theta)));
        benchmark::DoNotOptimize(d);
        benchmark::DoNotOptimize(t);
    }
    set_per_point(state, 1);
}

// Pan/tilt forms, Q16.16: the radius's square root, its arc tangent, one
// fixed-point sine and square root, arc sine and arc tangent of the result.
template <class C>
void BM_ArrayPointFloor_ToPtzX(benchmark::State &state) {
    const std::uint64_t zero = viewgeo::bench::opaque_zero();
    std::int32_t r2 = 5898;
    for (auto _ : state) {
        const std::int32_t r = C::fx_sqrt(r2);
        const double theta = C::atan(after(zero, 0.3, r));
        const std::int32_t s = C::fx_sin(after(zero, 19005, theta));
        const std::int32_t c = C::fx_sqrt(after(zero, 59638, s));
        const double tilt = C::asin(after(zero, 0.3, c));
        const double pan = C::atan(after(zero, 0.2, c));
        benchmark::DoNotOptimize(tilt);
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(r2);
    }
    set_per_point(state, 1);
}

// Overview pixel to direction: the arc tangent of the offset's ratio and
// the square root of its squared length, independent of each other. The
// arguments are those of the benchmark's points (offsets from the centre
// of a 1920 x 1080 picture), in turn, because the arc tangent's time
// depends on its argument's range.
template <class C>
void BM_ArrayPointFloor_OvistaToPtzF(benchmark::State &state) {
    const View &v = views().front();
    std::vector<float> q(kMaxPoints), r2(kMaxPoints);
    for (std::size_t i = 0; i < kMaxPoints; ++i) {
        const float dx = 960.0f - static_cast<float>(v.x[i]);
        const float dy = 540.0f - static_cast<float>(v.y[i]);
        q[i] = std::fabs(dx / dy);
        r2[i] = dx * dx + dy * dy;
    }
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(C::atanf(q[i]));
        benchmark::DoNotOptimize(C::sqrtf(r2[i]));
        i = (i + 1) % kMaxPoints;
    }
    set_per_point(state, 1);
}

// Overview direction to pixel: sine and cosine of the direction around the
// axis (one call where the maths library has sincosf), then the two
// roundings to whole pixels. The directions are the benchmark's pans.
template <class C>
void BM_ArrayPointFloor_OvistaToPixelF(benchmark::State &state) {
    const std::uint64_t zero = viewgeo::bench::opaque_zero();
    const View &v = views().front();
    std::vector<float> a(kMaxPoints);
    for (std::size_t i = 0; i < kMaxPoints; ++i) a[i] = v.pan_f[i] * 0.0174532924f;
    std::size_t i = 0;
    for (auto _ : state) {
        const float s = C::sinf(a[i]);
        const float c = C::cosf(a[i]);
        benchmark::DoNotOptimize(C::roundf(after(zero, 812.3f, s)));
        benchmark::DoNotOptimize(C::roundf(after(zero, 433.6f, c)));
        i = (i + 1) % kMaxPoints;
    }
    set_per_point(state, 1);
}

BENCHMARK_TEMPLATE(BM_ArrayPointFloor_ToPixelF, viewgeo::bench::Calls);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_ToPixelF, viewgeo::bench::Links);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_ToPtzF, viewgeo::bench::Calls);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_ToPtzF, viewgeo::bench::Links);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_ToPixelX, viewgeo::bench::Calls);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_ToPixelX, viewgeo::bench::Links);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_ToPtzX, viewgeo::bench::Calls);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_ToPtzX, viewgeo::bench::Links);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_OvistaToPtzF, viewgeo::bench::Calls);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_OvistaToPtzF, viewgeo::bench::Links);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_OvistaToPixelF, viewgeo::bench::Calls);
BENCHMARK_TEMPLATE(BM_ArrayPointFloor_OvistaToPixelF, viewgeo::bench::Links);

}  // namespace
