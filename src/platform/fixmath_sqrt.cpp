// Square root of a fixed-point number, integer arithmetic only, rounded to
// nearest: the result is round(sqrt(x * 2^frac)), which is sqrt(x) in the
// same format as x.
#include <cstdint>

#include "platform/fixmath.h"

namespace viewgeo {
namespace {

// floor(sqrt(n)), one result bit at a time.
std::uint64_t isqrt_floor(std::uint64_t n) {
    std::uint64_t root = 0;
    std::uint64_t bit = std::uint64_t{1} << 62;
    while (bit > n) {
        bit >>= 2;
    }
    while (bit != 0) {
        if (n >= root + bit) {
            n -= root + bit;
            root = (root >> 1) + bit;
        } else {
            root >>= 1;
        }
        bit >>= 2;
    }
    return root;
}

}  // namespace
}  // namespace viewgeo

// frac is the number of fraction bits of x and of the result; the library
// passes 16, the arc cosine 30 for its intermediate. frac outside [0, 30]
// is not supported and gives 0, as does a negative or zero argument.
extern "C" std::int32_t fx_sqrtx(std::int32_t x, int frac) {
    if (x <= 0 || frac < 0 || frac > 30) {
        return 0;
    }
    const std::uint64_t n = static_cast<std::uint64_t>(x) << frac;  // below 2^61
    std::uint64_t root = viewgeo::isqrt_floor(n);
    // Round to nearest: n is past (root + 1/2)^2 = root^2 + root + 1/4
    // exactly when n - root^2 > root. No tie is possible.
    if (n - root * root > root) {
        ++root;
    }
    return static_cast<std::int32_t>(root);
}
