// Fixed-point maths primitives on Q16.16 words, integer arithmetic only:
// the targets these run on have no floating-point unit.
//
// Every function takes the value and its number of fraction bits. The
// projections pass 16; only the square root implements other widths (the
// arc cosine takes the root of a Q30 intermediate), the others read their
// argument as Q16.16 whatever frac says. Accuracy over the domain the library
// uses is within 1 unit of 2^-16 of the correctly rounded result.
//
// The names live in the library's namespace so that they cannot clash with a
// camera's own fixed-point library linked into the same program; tests and
// benchmarks reach them from C through fixmath/viewgeo_fx.h.
#pragma once

#include <cstdint>

namespace viewgeo::fixmath {

// Sine of x radians. Periodic for every int32 argument; result in
// [-0x10000, 0x10000].
std::int32_t sinx(std::int32_t x, int frac);
// Cosine of x radians, conventions as sinx.
std::int32_t cosx(std::int32_t x, int frac);
// Square root, rounded to nearest, in the format of x; frac may be 0 to 30.
// A negative or zero argument, or frac outside [0, 30], gives 0.
std::int32_t sqrtx(std::int32_t x, int frac);
// Arc cosine in radians, in [0, pi] (0 to 205887); the argument is clamped
// to [-1, 1] first, so rounding noise just outside the range is harmless.
std::int32_t acosx(std::int32_t x, int frac);

// Sine and cosine of one angle of x radians, Q16.16, the same words as
// sinx and cosx give: the spherical formulas want both of each angle, and
// the two share the reduction of the angle, so the pair costs little more
// than one of them.
struct SinCos {
    std::int32_t sin;
    std::int32_t cos;
};
SinCos sincosx(std::int32_t x);

}  // namespace viewgeo::fixmath
