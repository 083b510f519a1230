// What a projection's floor is made of: the maths-library and fixed-point
// calls it has to make, made the way the projection makes them, one after
// another where one needs the result of the other. A processor overlaps
// independent calls; the projection's calls mostly cannot overlap, because
// each argument is computed from earlier results. A floor that lets them
// overlap measures their throughput, not what the projection can reach.
//
// The arguments come from the benchmark's table; `after` only makes an
// argument wait for the result it depends on in the projection, without
// changing its value. Each floor also runs with every call replaced by a
// pass-through (`Links`), which measures what the waiting itself costs, so
// the calls alone are the difference of the two.
#pragma once

#include <benchmark/benchmark.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "core/lens_model.h"
#include "fixmath/fixmath.h"
#include "fixmath/viewgeo_fx.h"

namespace viewgeo::bench {

template <class T>
std::uint64_t bits_of(T v) {
    if constexpr (std::is_integral_v<T>) {
        return static_cast<std::uint64_t>(static_cast<std::make_unsigned_t<T>>(v));
    } else if constexpr (sizeof(T) == 8) {
        return std::bit_cast<std::uint64_t>(v);
    } else {
        return std::bit_cast<std::uint32_t>(v);
    }
}

// `arg` once every one of `deps` is known: their bits, masked by `zero` (an
// opaque 0 the compiler cannot see through), are or-ed into arg, which is
// unchanged.
template <class A, class... D>
A after(std::uint64_t zero, A arg, D... deps) {
    using U = std::conditional_t<sizeof(A) == 8, std::uint64_t, std::uint32_t>;
    const U mixed = static_cast<U>((bits_of(deps) | ...) & zero);
    if constexpr (std::is_integral_v<A>) {
        return static_cast<A>(static_cast<U>(static_cast<U>(arg) | mixed));
    } else {
        return std::bit_cast<A>(static_cast<U>(std::bit_cast<U>(arg) | mixed));
    }
}

// An opaque zero for `after`.
inline std::uint64_t opaque_zero() {
    std::uint64_t zero = 0;
    benchmark::DoNotOptimize(zero);
    return zero;
}

// The calls themselves.
struct Calls {
    static double tan(double v) { return std::tan(v); }
    static double atan(double v) { return std::atan(v); }
    static double asin(double v) { return std::asin(v); }
    static double sin(double v) { return std::sin(v); }
    static double cos(double v) { return std::cos(v); }
    static double sqrt(double v) { return std::sqrt(v); }
    static float sqrtf(float v) { return std::sqrt(v); }
    static float atanf(float v) { return std::atan(v); }
    static float sinf(float v) { return std::sin(v); }
    static float cosf(float v) { return std::cos(v); }
    static float roundf(float v) { return std::round(v); }
    static float lens(std::int32_t type, float theta) { return lens_value(type, theta); }
    static std::int32_t fx_sin(std::int32_t v) { return viewgeo_fx_sinx(v, 16); }
    static std::int32_t fx_cos(std::int32_t v) { return viewgeo_fx_cosx(v, 16); }
    static fixmath::SinCos fx_sincos(std::int32_t v) { return fixmath::sincosx(v); }
    static std::int32_t fx_sqrt(std::int32_t v) { return viewgeo_fx_sqrtx(v, 16); }
};

// Every call replaced by its argument, kept opaque so nothing is folded.
struct Links {
    template <class T>
    static T pass(T v) {
        benchmark::DoNotOptimize(v);
        return v;
    }
    static double tan(double v) { return pass(v); }
    static double atan(double v) { return pass(v); }
    static double asin(double v) { return pass(v); }
    static double sin(double v) { return pass(v); }
    static double cos(double v) { return pass(v); }
    static double sqrt(double v) { return pass(v); }
    static float sqrtf(float v) { return pass(v); }
    static float atanf(float v) { return pass(v); }
    static float sinf(float v) { return pass(v); }
    static float cosf(float v) { return pass(v); }
    static float roundf(float v) { return pass(v); }
    static float lens(std::int32_t /*type*/, float theta) { return pass(theta); }
    static std::int32_t fx_sin(std::int32_t v) { return pass(v); }
    static std::int32_t fx_cos(std::int32_t v) { return pass(v); }
    static fixmath::SinCos fx_sincos(std::int32_t v) { return {pass(v), v}; }
    static std::int32_t fx_sqrt(std::int32_t v) { return pass(v); }
};

}  // namespace viewgeo::bench
