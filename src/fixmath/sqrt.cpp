// Square root of a fixed-point number, integer arithmetic only, rounded to
// nearest: the result is round(sqrt(x * 2^frac)), which is sqrt(x) in the
// same format as x.
//
// Multiplications only, no division (the targets divide 64-bit words in
// software): n = x * 2^frac is scaled by an even power of two into
// [2^62, 2^64), a table gives 1/sqrt of its leading 9 bits to 2^-9, one
// Newton step takes that to 2^-17, and one correction from the exact
// remainder n - s^2 brings the root within half a unit. The last step
// compares with n exactly, so the result is always the correctly rounded
// root.
#include <array>
#include <bit>
#include <cstdint>

#include "fixmath/fixmath.h"

namespace viewgeo {
namespace {

// floor(sqrt(n)), one result bit at a time; fills the table at compile time.
constexpr std::uint64_t isqrt_floor(std::uint64_t n) {
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

// The first estimate of 1/sqrt(f), f in [1/4, 1), comes from a table
// indexed by the leading 9 bits of f, 128 to 511.
constexpr unsigned kGuessBits = 9;
constexpr unsigned kGuessFirst = 1u << (kGuessBits - 2);  // f = 1/4
constexpr unsigned kGuessEnd = 1u << kGuessBits;          // f = 1

// 1/sqrt(f) in Q15 at the middle of each interval [i/512, (i+1)/512) of
// f in [1/4, 1): sqrt(512 / (i + 1/2)) * 2^15 = sqrt(2^40 / (2i + 1)).
constexpr std::array<std::uint16_t, kGuessEnd - kGuessFirst> make_rsqrt_guesses() {
    std::array<std::uint16_t, kGuessEnd - kGuessFirst> t{};
    for (unsigned i = kGuessFirst; i < kGuessEnd; ++i) {
        t[i - kGuessFirst] =
            static_cast<std::uint16_t>(isqrt_floor((std::uint64_t{1} << 40) / (2 * i + 1)));
    }
    return t;
}

constexpr std::array<std::uint16_t, kGuessEnd - kGuessFirst> kRsqrtGuesses = make_rsqrt_guesses();

// round(sqrt(n)) for 0 < n < 2^62.
std::uint64_t sqrt_rounded(std::uint64_t n) {
    // m = n * 2^(2k) in [2^62, 2^64); sqrt(n) = sqrt(m) / 2^k, k >= 1.
    const int k = std::countl_zero(n) / 2;
    const std::uint64_t m = n << (2 * k);
    // f = m / 2^64 in [1/4, 1), its leading 32 bits as Q32.
    const std::uint64_t f = m >> 32;

    // y ~ 1/sqrt(f) in Q30 (y in (1, 2]): the table estimate, then one
    // Newton step y' = y (3 - f y^2) / 2.
    const unsigned lead = static_cast<unsigned>(f >> (32 - kGuessBits));
    const std::uint64_t y0 = std::uint64_t{kRsqrtGuesses[lead - kGuessFirst]} << 15;
    const std::uint64_t y0_sq = (y0 * y0) >> 30;
    const std::uint64_t f_y0_sq = (f * y0_sq) >> 32;
    const std::uint64_t y1 = (y0 * ((std::uint64_t{3} << 30) - f_y0_sq)) >> 31;

    // s ~ sqrt(f) * 2^32 = sqrt(m), then s + (m - s^2) / (2 s) with 1/s
    // taken as y / 2^62. The remainder is exact modulo 2^64 and small, so
    // reading it as signed is exact even when s^2 passes 2^64.
    const std::uint64_t s0 = (f * y1) >> 30;
    const std::int64_t rem = static_cast<std::int64_t>(m - s0 * s0);
    const std::int64_t s1 =
        static_cast<std::int64_t>(s0) + (((rem >> 20) * static_cast<std::int64_t>(y1)) >> 43);

    // Within one unit of sqrt(n); the exact test picks the rounded root r,
    // the one with r^2 - r < n <= r^2 + r (no tie is possible).
    std::uint64_t r = static_cast<std::uint64_t>((s1 + (std::int64_t{1} << (k - 1))) >> k);
    const std::int64_t diff = static_cast<std::int64_t>(n - r * r);
    if (diff > static_cast<std::int64_t>(r)) {
        ++r;
    } else if (diff <= -static_cast<std::int64_t>(r)) {
        --r;
    }
    return r;
}

}  // namespace

// frac is the number of fraction bits of x and of the result; the
// projections pass 16, the arc cosine 30 for its intermediate. frac outside
// [0, 30] is not supported and gives 0, as does a negative or zero argument.
std::int32_t fixmath::sqrtx(std::int32_t x, int frac) {
    if (x <= 0 || frac < 0 || frac > 30) {
        return 0;
    }
    const std::uint64_t n = static_cast<std::uint64_t>(x) << frac;  // below 2^61
    return static_cast<std::int32_t>(sqrt_rounded(n));
}

}  // namespace viewgeo
