// The fixed-point maths primitives: time per call against the double
// precision maths library (Q16.16 in and out, as a floating-point
// replacement would do it) and, where it is installed, Debian's libfixmath;
// and the largest error of each against the correctly rounded value.
//
// BM_FixmathTime runs over 4096 prepared inputs shaped like the library's
// own arguments; "per_call" is the CPU time of one call, loop included.
// BM_FixmathMaxError runs once and reports "max_err_units" (units of
// 2^-16 against round(f(x / 65536) * 65536) in long double) and "worst_at",
// the input word where it occurred.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "fixmath/fixmath.h"
#include "fixmath/viewgeo_fx.h"

#ifdef VIEWGEO_BENCH_HAVE_LIBFIXMATH
#include <libfixmath/fix16.h>
#endif

namespace {

constexpr std::size_t kInputs = 4096;
constexpr std::int32_t kOne = 0x10000;
constexpr std::int32_t kPiQ16 = 205887;
constexpr std::int32_t kHalfPiQ16 = 102944;

std::int32_t uniform(std::mt19937& gen, std::int32_t lo, std::int32_t hi) {
    return std::uniform_int_distribution<std::int32_t>(lo, hi)(gen);
}

// Angles as the projections pass them: a third pan offsets in [-pi, pi], a
// third tilts in [-pi/2, pi/2], a third angles off the optical axis in
// [0, pi/2], shuffled.
std::vector<std::int32_t> angle_mix() {
    std::mt19937 gen(1u);
    std::vector<std::int32_t> v(kInputs);
    for (std::size_t i = 0; i < kInputs; ++i) {
        switch (i % 3) {
        case 0: v[i] = uniform(gen, -kPiQ16, kPiQ16); break;
        case 1: v[i] = uniform(gen, -kHalfPiQ16, kHalfPiQ16); break;
        default: v[i] = uniform(gen, 0, kHalfPiQ16); break;
        }
    }
    std::shuffle(v.begin(), v.end(), gen);
    return v;
}

// Sums of squares and one minus a square: [0, 1], one in 64 a few units
// outside through rounding.
std::vector<std::int32_t> sqrt_mix() {
    std::mt19937 gen(2u);
    std::vector<std::int32_t> v(kInputs);
    for (std::size_t i = 0; i < kInputs; ++i) {
        v[i] = (i % 64 == 0) ? uniform(gen, -3, 3) + (i % 128 == 0 ? kOne : 0)
                             : uniform(gen, 0, kOne);
    }
    return v;
}

// Cosines of angles between two directions: [-1, 1], one in 64 a few units
// beyond.
std::vector<std::int32_t> acos_mix() {
    std::mt19937 gen(3u);
    std::vector<std::int32_t> v(kInputs);
    for (std::size_t i = 0; i < kInputs; ++i) {
        v[i] = (i % 64 == 0) ? (i % 128 == 0 ? kOne : -kOne) + uniform(gen, -3, 3)
                             : uniform(gen, -kOne, kOne);
    }
    return v;
}

const std::vector<std::int32_t>& angles() {
    static const std::vector<std::int32_t> v = angle_mix();
    return v;
}
const std::vector<std::int32_t>& radicands() {
    static const std::vector<std::int32_t> v = sqrt_mix();
    return v;
}
const std::vector<std::int32_t>& cosines() {
    static const std::vector<std::int32_t> v = acos_mix();
    return v;
}

// Time per call of F over the inputs.
template <const std::vector<std::int32_t>& (*Inputs)(), std::int32_t (*F)(std::int32_t)>
void BM_FixmathTime(benchmark::State& state) {
    const std::vector<std::int32_t>& in = Inputs();
    for (auto _ : state) {
        std::int32_t sum = 0;
        for (const std::int32_t x : in) {
            sum ^= F(x);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.counters["per_call"] = benchmark::Counter(
        static_cast<double>(in.size()),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

std::int32_t ours_sin(std::int32_t x) { return viewgeo_fx_sinx(x, 16); }
std::int32_t ours_cos(std::int32_t x) { return viewgeo_fx_cosx(x, 16); }
// Both of one angle, as the projections take them: one reduction.
std::int32_t ours_sincos(std::int32_t x) {
    const viewgeo::fixmath::SinCos sc = viewgeo::fixmath::sincosx(x);
    return sc.sin ^ sc.cos;
}
std::int32_t ours_sqrt(std::int32_t x) { return viewgeo_fx_sqrtx(x, 16); }
std::int32_t ours_acos(std::int32_t x) { return viewgeo_fx_acosx(x, 16); }

// The double-precision route: Q16.16 to double, libm, rounded back, with the
// same handling of out-of-range arguments as ours.
std::int32_t to_q16(double v) { return static_cast<std::int32_t>(std::lround(v * 65536.0)); }
double from_q16(std::int32_t x) { return static_cast<double>(x) / 65536.0; }
std::int32_t libm_sin(std::int32_t x) { return to_q16(std::sin(from_q16(x))); }
std::int32_t libm_cos(std::int32_t x) { return to_q16(std::cos(from_q16(x))); }
std::int32_t libm_sqrt(std::int32_t x) { return x <= 0 ? 0 : to_q16(std::sqrt(from_q16(x))); }
std::int32_t libm_acos(std::int32_t x) {
    return to_q16(std::acos(std::clamp(from_q16(x), -1.0, 1.0)));
}

BENCHMARK_TEMPLATE(BM_FixmathTime, angles, ours_sin);
BENCHMARK_TEMPLATE(BM_FixmathTime, angles, libm_sin);
BENCHMARK_TEMPLATE(BM_FixmathTime, angles, ours_cos);
BENCHMARK_TEMPLATE(BM_FixmathTime, angles, libm_cos);
BENCHMARK_TEMPLATE(BM_FixmathTime, angles, ours_sincos);
BENCHMARK_TEMPLATE(BM_FixmathTime, radicands, ours_sqrt);
BENCHMARK_TEMPLATE(BM_FixmathTime, radicands, libm_sqrt);
BENCHMARK_TEMPLATE(BM_FixmathTime, cosines, ours_acos);
BENCHMARK_TEMPLATE(BM_FixmathTime, cosines, libm_acos);

// Largest error of F over every word of [Lo, Hi] against the correctly
// rounded Ref.
template <std::int32_t (*F)(std::int32_t), long double (*Ref)(long double), std::int32_t Lo,
          std::int32_t Hi>
void BM_FixmathMaxError(benchmark::State& state) {
    std::int64_t worst = 0;
    std::int64_t worst_at = Lo;
    for (auto _ : state) {
        for (std::int64_t x = Lo; x <= Hi; ++x) {
            const std::int32_t w = static_cast<std::int32_t>(x);
            const long double exact = Ref(static_cast<long double>(w) / 65536.0L);
            const std::int64_t e = std::llabs(static_cast<std::int64_t>(F(w)) -
                                              std::llround(exact * 65536.0L));
            if (e > worst) {
                worst = e;
                worst_at = x;
            }
        }
    }
    state.counters["max_err_units"] = static_cast<double>(worst);
    state.counters["worst_at"] = static_cast<double>(worst_at);
}

// The reference takes the clamped argument where the function clamps, and
// gives 0 for a negative radicand.
long double ref_sin(long double v) { return std::sin(v); }
long double ref_cos(long double v) { return std::cos(v); }
long double ref_sqrt(long double v) { return v < 0 ? 0.0L : std::sqrt(v); }
long double ref_acos(long double v) { return std::acos(std::clamp(v, -1.0L, 1.0L)); }

constexpr std::int32_t kEightPiQ16 = 1647100;  // 8 pi * 65536 = 1647099.3

#define VIEWGEO_MAX_ERROR(f, ref, lo, hi)                        \
    BENCHMARK_TEMPLATE(BM_FixmathMaxError, f, ref, lo, hi)       \
        ->Iterations(1)                                          \
        ->Unit(benchmark::kMillisecond)

VIEWGEO_MAX_ERROR(ours_sin, ref_sin, -kPiQ16, kPiQ16);
VIEWGEO_MAX_ERROR(ours_sin, ref_sin, -kEightPiQ16, kEightPiQ16);
VIEWGEO_MAX_ERROR(ours_cos, ref_cos, -kEightPiQ16, kEightPiQ16);
VIEWGEO_MAX_ERROR(ours_sqrt, ref_sqrt, 0, 2 * kOne);
VIEWGEO_MAX_ERROR(ours_sqrt, ref_sqrt, -16 * kOne, 2 * kOne);
VIEWGEO_MAX_ERROR(ours_acos, ref_acos, -kOne + 1, kOne - 1);
VIEWGEO_MAX_ERROR(ours_acos, ref_acos, -kOne, kOne);

#ifdef VIEWGEO_BENCH_HAVE_LIBFIXMATH
BENCHMARK_TEMPLATE(BM_FixmathTime, angles, fix16_sin);
BENCHMARK_TEMPLATE(BM_FixmathTime, angles, fix16_cos);
BENCHMARK_TEMPLATE(BM_FixmathTime, radicands, fix16_sqrt);
BENCHMARK_TEMPLATE(BM_FixmathTime, cosines, fix16_acos);

VIEWGEO_MAX_ERROR(fix16_sin, ref_sin, -kPiQ16, kPiQ16);
VIEWGEO_MAX_ERROR(fix16_sin, ref_sin, -kEightPiQ16, kEightPiQ16);
VIEWGEO_MAX_ERROR(fix16_cos, ref_cos, -kEightPiQ16, kEightPiQ16);
VIEWGEO_MAX_ERROR(fix16_sqrt, ref_sqrt, 0, 2 * kOne);
VIEWGEO_MAX_ERROR(fix16_sqrt, ref_sqrt, -16 * kOne, 2 * kOne);
VIEWGEO_MAX_ERROR(fix16_acos, ref_acos, -kOne + 1, kOne - 1);
VIEWGEO_MAX_ERROR(fix16_acos, ref_acos, -kOne, kOne);
#endif

}  // namespace
