// Arc cosine of a Q16.16 value, in radians as Q16.16, integer arithmetic
// only.
//
// Both halves of the range go through arcsin on [0, 1/2], where it is
// smooth:
//   |x| <= 1/2:  acos x = pi/2 - asin x
//   |x| >  1/2:  acos |x| = 2 asin(sqrt((1 - |x|) / 2)), and for negative x
//                acos x = pi - acos |x|.
// The second form avoids the infinite slope of acos at +-1. Intermediates are
// Q30 (1.0 = 2^30).
#include <array>
#include <cstddef>
#include <cstdint>

#include "fixmath/fixmath.h"

namespace viewgeo {
namespace {

constexpr std::int32_t kOne = 0x10000;
constexpr std::int32_t kHalf = 0x8000;
// pi and pi/2 in Q30 (pi * 2^30 = 3373259426.13, rounded).
constexpr std::int64_t kPiQ30 = 3373259426;
constexpr std::int64_t kHalfPiQ30 = 1686629713;

// asin z = z g(z^2) for 0 <= z <= 1/2, both Q30. g is the degree-4
// polynomial that interpolates asin(sqrt u) / sqrt u at the five Chebyshev
// nodes of u in [0, 1/4], coefficients in Q30; with the rounding of the
// integer evaluation it stays within 5e-8 (0.003 units of 2^-16) of asin,
// so acos, which doubles it beyond |x| = 1/2, is off by 0.006 units at most
// before the final rounding.
constexpr std::array<std::int64_t, 5> kAsinCoefficients = {
    1073741902, 178941433, 81017531, 42728958, 54071149,
};

std::int64_t asin_q30(std::int64_t z) {
    const std::int64_t u = (z * z) >> 30;
    std::int64_t g = kAsinCoefficients[4];
    for (int i = 3; i >= 0; --i) {
        g = kAsinCoefficients[static_cast<std::size_t>(i)] + ((g * u) >> 30);
    }
    return (z * g) >> 30;
}

}  // namespace

// Only Q16.16 is implemented: the argument is read as Q16.16 whatever frac.
// Arguments beyond [-1, 1] (rounding noise) are clamped, so the result is
// always in [0, pi] (0 to 205887).
std::int32_t fixmath::acosx(std::int32_t x, int /*frac*/) {
    const std::int32_t c = x < -kOne ? -kOne : (x > kOne ? kOne : x);
    const std::int32_t a = c < 0 ? -c : c;
    std::int64_t angle;  // Q30
    if (a <= kHalf) {
        const std::int64_t s = asin_q30(static_cast<std::int64_t>(a) << 14);
        angle = c < 0 ? kHalfPiQ30 + s : kHalfPiQ30 - s;
    } else {
        // (1 - |x|) / 2 in Q30, then its square root in Q30.
        const std::int32_t w = (kOne - a) << 13;
        const std::int64_t z = sqrtx(w, 30);
        const std::int64_t s = 2 * asin_q30(z);
        angle = c < 0 ? kPiQ30 - s : s;
    }
    return static_cast<std::int32_t>((angle + (std::int64_t{1} << 13)) >> 14);
}

}  // namespace viewgeo
