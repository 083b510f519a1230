// Fixed-point maths primitives on Q16.16 words, integer arithmetic only:
// the targets these run on have no floating-point unit.
//
// Every function takes the value and its number of fraction bits; the
// library always passes 16. Accuracy over the domain the library uses is
// within 1 unit of 2^-16 of the correctly rounded result.
#pragma once

#include <cstdint>

extern "C" {

// Sine of x radians. Periodic for every int32 argument; result in
// [-0x10000, 0x10000].
std::int32_t fx_sinx(std::int32_t x, int frac);
// Cosine of x radians, conventions as fx_sinx.
std::int32_t fx_cosx(std::int32_t x, int frac);
// Square root; a negative argument gives 0.
std::int32_t fx_sqrtx(std::int32_t x, int frac);
// Arc cosine in radians, in [0, pi] (0 to 205887); the argument is clamped
// to [-1, 1] first, so rounding noise just outside the range is harmless.
std::int32_t fx_acosx(std::int32_t x, int frac);

// Conversion factors: entry n holds 2^-n, for n = 0 to 32.
extern const float fx_xtof_tab[33];

}  // extern "C"
