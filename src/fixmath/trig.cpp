// Sine and cosine of a Q16.16 angle in radians, integer arithmetic only.
//
// The angle is first turned into a fraction of a full turn held in a 64-bit
// word (2^64 = one turn), so the wrap of unsigned arithmetic is the
// periodicity: every int32 argument reduces exactly enough, with no loop
// and no division. The nearest of 256 tabulated points then gives sin and
// cos of the point, and the short remainder d (at most 1/512 turn) is added
// with the angle-sum rule and sin d ~ d - d^3/6, cos d ~ 1 - d^2/2.
// Intermediates are Q30 (1.0 = 2^30); their errors stay below 2^-27, far
// under the 2^-17 the final rounding to Q16.16 allows.
#include <array>
#include <cstdint>

#include "fixmath/fixmath.h"

namespace viewgeo {
namespace {

// One unit of the argument (2^-16 rad) in 2^-64 turns: 2^48 / (2 pi), that
// is 2^47 / pi = 44798133900177.02, rounded. The rounding error moves the
// phase of the largest int32 argument by less than 2^-37 turn.
constexpr std::uint64_t kTurnPerUnit = 44798133900177u;

// pi in Q30 (pi * 2^30 = 3373259426.13, rounded).
constexpr std::int64_t kPiQ30 = 3373259426;
// pi in Q55, for the table angles (pi * 2^55 = 113187804032455044.41, rounded).
constexpr std::uint64_t kPiQ55 = 113187804032455044u;

constexpr int kTableBits = 8;
constexpr unsigned kTableSize = 1u << kTableBits;  // points a turn
constexpr unsigned kTableMask = kTableSize - 1;
constexpr unsigned kTableQuarter = kTableSize / 4;

struct SinCosQ32 {
    std::int64_t sin;
    std::int64_t cos;
};

// sin and cos of theta (radians, Q32, 0 <= theta <= pi/4) by their Taylor
// series in unsigned Q32; every term is below 1, so its product with
// theta^2 fits 64 bits. Truncation leaves an error of a few 2^-32. Runs at
// compile time only, to fill the table.
constexpr SinCosQ32 taylor_sin_cos_q32(std::uint64_t theta) {
    const std::uint64_t theta2 = (theta * theta) >> 32;
    std::uint64_t term_sin = theta;                  // theta^n / n!, n odd
    std::uint64_t term_cos = std::uint64_t{1} << 32;  // theta^(n-1) / (n-1)!
    std::int64_t sin = 0;
    std::int64_t cos = 0;
    bool add = true;
    for (std::uint64_t n = 1; term_sin != 0 || term_cos != 0; n += 2) {
        const std::int64_t s = static_cast<std::int64_t>(term_sin);
        const std::int64_t c = static_cast<std::int64_t>(term_cos);
        sin += add ? s : -s;
        cos += add ? c : -c;
        add = !add;
        term_sin = ((term_sin * theta2) >> 32) / ((n + 1) * (n + 2));
        term_cos = ((term_cos * theta2) >> 32) / (n * (n + 1));
    }
    return {sin, cos};
}

// sin of r/256 turn for 0 <= r <= 64 (the first quadrant) in Q30, from the
// series at angles up to pi/4 and cos of the complement beyond.
constexpr std::int32_t quadrant_sin_q30(unsigned r) {
    const bool complement = r > kTableQuarter / 2;
    const unsigned k = complement ? kTableQuarter - r : r;
    // theta = k pi / 128 in Q32, from pi in Q55.
    const std::uint64_t theta = (k * kPiQ55 + (std::uint64_t{1} << 29)) >> 30;
    const SinCosQ32 sc = taylor_sin_cos_q32(theta);
    const std::int64_t v = complement ? sc.cos : sc.sin;
    return static_cast<std::int32_t>((v + 2) >> 2);
}

// sin of j/256 turn in Q30 for a whole turn; cos reads a quarter further on.
constexpr std::array<std::int32_t, kTableSize> make_sin_table() {
    std::array<std::int32_t, kTableSize> t{};
    for (unsigned j = 0; j < kTableSize; ++j) {
        const unsigned quadrant = j / kTableQuarter;
        const unsigned r = j % kTableQuarter;
        const std::int32_t v =
            (quadrant % 2 == 0) ? quadrant_sin_q30(r) : quadrant_sin_q30(kTableQuarter - r);
        t[j] = quadrant < 2 ? v : -v;
    }
    return t;
}

constexpr std::array<std::int32_t, kTableSize> kSinTable = make_sin_table();

// A phase in 2^-64 turns as the nearest table point and the sine and
// cosine of the signed remainder d, |d| <= 2^55 (1/512 turn), in Q30. A
// quarter turn later is 64 points later with the same remainder, so the
// sine and the cosine of one angle share this step.
struct PhaseNearPoint {
    unsigned j;
    std::int64_t cos_d;
    std::int64_t sin_d;
};

PhaseNearPoint near_point(std::uint64_t phase) {
    constexpr int kPointShift = 64 - kTableBits;
    const unsigned j =
        static_cast<unsigned>((phase + (std::uint64_t{1} << (kPointShift - 1))) >> kPointShift);
    const std::int64_t d =
        static_cast<std::int64_t>(phase - (static_cast<std::uint64_t>(j) << kPointShift));

    // d in radians, Q30: d * 2 pi / 2^64 * 2^30 = (d / 2^28) * pi / 2^5.
    const std::int64_t t = ((d >> 28) * kPiQ30) >> 35;
    const std::int64_t t2 = (t * t) >> 30;
    const std::int64_t cos_d = (std::int64_t{1} << 30) - (t2 >> 1);
    // t^3 is below 2^12 in Q30, so the division by 6 is a 32-bit one (a
    // 64-bit division would be a library call on the 32-bit targets).
    const std::int64_t sin_d = t - static_cast<std::int32_t>((t * t2) >> 30) / 6;
    return {j, cos_d, sin_d};
}

// Sine of the phase `quarters` quarter turns after p's, as Q16.16 rounded
// to nearest: the angle-sum rule at the table point.
std::int32_t sin_after(const PhaseNearPoint &p, unsigned quarters) {
    const unsigned j = p.j + quarters * kTableQuarter;
    const std::int64_t sin_p = kSinTable[j & kTableMask];
    const std::int64_t cos_p = kSinTable[(j + kTableQuarter) & kTableMask];
    const std::int64_t s = sin_p * p.cos_d + cos_p * p.sin_d;  // Q60
    return static_cast<std::int32_t>((s + (std::int64_t{1} << 43)) >> 44);
}

// Phase of |x|: sine is computed on |x| and given the sign of x, cosine
// on |x| alone, so both are exactly odd and even although the rounding of
// the intermediates is not symmetric.
PhaseNearPoint near_point_of_magnitude(std::int32_t x) {
    const std::int64_t wide = x;  // -INT32_MIN fits in 64 bits
    const std::uint64_t magnitude = static_cast<std::uint64_t>(wide < 0 ? -wide : wide);
    // Multiplied modulo 2^64: whole turns drop out.
    return near_point(magnitude * kTurnPerUnit);
}

std::int32_t signed_like(std::int32_t x, std::int32_t v) { return x < 0 ? -v : v; }

}  // namespace

// Only Q16.16 is implemented: the argument is read as Q16.16 whatever frac.
std::int32_t fixmath::sinx(std::int32_t x, int /*frac*/) {
    return signed_like(x, sin_after(near_point_of_magnitude(x), 0));
}

std::int32_t fixmath::cosx(std::int32_t x, int /*frac*/) { return sin_after(near_point_of_magnitude(x), 1); }

fixmath::SinCos fixmath::sincosx(std::int32_t x) {
    const PhaseNearPoint p = near_point_of_magnitude(x);
    return {signed_like(x, sin_after(p, 0)), sin_after(p, 1)};
}

}  // namespace viewgeo
