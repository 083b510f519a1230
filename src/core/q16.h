// Q16.16 fixed-point numbers: the conversions to and from float and the
// rounding multiply and divide that every fixed-point calculation uses.
// Stored calibrations depend on the exact rounding of each of these.
#pragma once

#include <bit>
#include <cstdint>

namespace viewgeo {

using q16 = std::int32_t;

// Q16.16 words that recur in the calculations.
inline constexpr q16 kQ16Half = 0x8000;
inline constexpr q16 kQ16One = 0x10000;
inline constexpr q16 kQ16Two = 0x20000;
inline constexpr q16 kQ16Ten = 0xA0000;
inline constexpr q16 kQ16Deg89 = 0x590000;
inline constexpr q16 kQ16Deg90 = 0x5A0000;
inline constexpr q16 kQ16Deg180 = 0xB40000;
inline constexpr q16 kQ16Deg360 = 0x1680000;
inline constexpr q16 kQ16MinusDeg180 = -0xB40000;  // the word 0xFF4C0000
// 0.1 rad, where the small-angle rules switch: 6553.6 rounded up.
inline constexpr q16 kQ16SmallAngle = 6554;

// pi/180 and 180/pi as Q16.16 factors (1143.82 and 3754936.2 rounded to the
// nearest word: 0x00000478 and 0x00394BB8), and pi/360 (571.91) for the half
// angles of the zoom utilities. The float and double factors are in
// core/angles.h.
inline constexpr q16 kQ16DegToRad = 1144;
inline constexpr q16 kQ16HalfDegToRad = 572;
inline constexpr q16 kQ16RadToDeg = 3754936;

// Wrapping 32-bit sum and difference: Q16.16 sums are allowed to overflow.
constexpr q16 wrap_add(q16 a, q16 b) {
    return static_cast<q16>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}
constexpr q16 wrap_sub(q16 a, q16 b) {
    return static_cast<q16>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}
constexpr q16 wrap_neg(q16 a) { return wrap_sub(0, a); }
// A whole pixel count as Q16.16 (n << 16), wrapping for 32768 or more.
constexpr q16 pixels_to_q16(std::int32_t n) {
    return static_cast<q16>(static_cast<std::uint32_t>(n) << 16);
}

// Truncates a float toward zero to int32. A magnitude of 2^31 or more
// saturates by the sign bit, which also decides a NaN: sign set gives
// INT32_MIN, clear gives INT32_MAX. The one float-to-int conversion of the
// library; a plain cast would be undefined for these values. The range and
// NaN tests look at the bits, which costs nothing on targets where every
// float comparison is a software routine.
constexpr std::int32_t trunc_to_int32(float s) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(s);
    // Biased exponent 158 or more: |s| >= 2^31, an infinity or a NaN.
    if ((bits & 0x7FFFFFFFu) >= 0x4F000000u) return (bits >> 31) ? INT32_MIN : INT32_MAX;
    return static_cast<std::int32_t>(s);
}

// v > 0.0f on the bits: sign clear, not zero, not a NaN.
constexpr bool is_positive(float v) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(v);
    const std::uint32_t magnitude = bits & 0x7FFFFFFFu;
    return (bits >> 31) == 0 && magnitude != 0 && magnitude <= 0x7F800000u;
}

// Float to Q16.16: v * 65536 and +-0.5 in single precision, then truncation.
// Above 128.0 the single-precision sum loses the half and rounds to even;
// kept as it is, stored values depend on it.
constexpr q16 q16_from_float(float v) {
    const float p = v * 65536.0f;
    const float h = is_positive(v) ? 0.5f : -0.5f;
    return trunc_to_int32(p + h);
}

// Q16.16 to float: the word to single precision, times 2^-16 (the value of
// viewgeo_fx_xtof_tab[16], written out so that no table load sits in the way).
constexpr float q16_to_float(q16 q) {
    return static_cast<float>(q) * 0x1p-16f;
}

// Rounding multiply: floor((a*b + 0x8000) / 65536), halves toward +inf,
// no saturation (the low 32 bits are kept).
constexpr q16 q16_mul(q16 a, q16 b) {
    const std::int64_t p = static_cast<std::int64_t>(a) * static_cast<std::int64_t>(b);
    return static_cast<q16>(static_cast<std::uint64_t>(((p >> 15) + 1) >> 1));
}

// |v| as an unsigned word: 2^31 for INT32_MIN.
constexpr std::uint32_t magnitude_u32(std::int32_t v) {
    return v < 0 ? 0u - static_cast<std::uint32_t>(v) : static_cast<std::uint32_t>(v);
}

// The rule of the rounding divide a / b, given the way to divide
// magnitudes: `divide(n, d)` returns floor(n / d) (its low 32 bits suffice)
// for the divisor's magnitude d >= 1 and a dividend n below 2^48. The
// quotient a * 65536 / b is rounded half away from zero with the sign of
// the correction following the dividend alone: |a * 65536 +- |b|/2| is
// |a| * 65536 + |b|/2, divided and truncated, and the sign of a / b put
// back on the 32 bits kept. A zero divisor saturates by the sign of the
// dividend (0 / 0 gives 0) instead of trapping: a zero picture size or
// field of view in a caller's context must not stop the process.
template <class DivideMagnitudes>
constexpr q16 q16_div_rule(q16 a, q16 b, DivideMagnitudes divide) {
    if (b == 0) return a > 0 ? INT32_MAX : (a < 0 ? INT32_MIN : 0);
    const std::uint32_t d = magnitude_u32(b);
    const std::uint64_t n = (static_cast<std::uint64_t>(magnitude_u32(a)) << 16) + d / 2;
    const auto q = static_cast<std::uint32_t>(divide(n, d));
    return (a < 0) != (b < 0) ? static_cast<q16>(0u - q) : static_cast<q16>(q);
}

// Rounding divide a / b, halves away from zero, by a 64-bit division; no
// saturation apart from the zero divisor's (the low 32 bits are kept).
constexpr q16 q16_div(q16 a, q16 b) {
    return q16_div_rule(a, b, [](std::uint64_t n, std::uint32_t d) { return n / d; });
}

// A divisor for many rounding divides, `q16_div(a, divisor)`: the same
// quotient as q16_div(a, divisor.value) for every a. Made by q16_divisor it
// divides as q16_div does; made by q16_prepared_divisor it carries a
// reciprocal and divides by a multiplication, which on a processor without
// a divide instruction saves a library division per quotient for two of
// its own when it is made.
//
// Why the quotient is the same: the dividends have magnitude n < 2^48 and
// the divisor's magnitude is d, 2^(l-1) < d <= 2^l. The reciprocal is
// m = floor(2^(48+l) / d) + 1, so m * d = 2^(48+l) + e with 0 < e <= d <= 2^l.
// For n = q * d + r, 0 <= r < d:
//   n * m / 2^(48+l) = n / d + n * e / (d * 2^(48+l))
// is at least q and at most q + r/d + n/(d * 2^48) < q + (d-1)/d + 1/d = q + 1,
// so floor(n * m / 2^(48+l)) = q. m <= 2^49 fits in 64 bits.
struct Q16Divisor {
    q16 value = 0;
    std::int32_t shift = 0;        // l above
    std::uint64_t reciprocal = 0;  // m above; 0: none, divide with q16_div
};

constexpr Q16Divisor q16_divisor(q16 b) { return {b}; }

// floor(n * m / 2^48) for n < 2^48 and m <= 2^49, by 32-bit halves, for
// processors without a 128-bit product: n * m = t * 2^64 + s * 2^32 + (the
// low 32 bits of n0 * m0), where t = n1 * m1 and
// s = n1 * m0 + n0 * m1 + floor(n0 * m0 / 2^32) < 2^51; the low word cannot
// carry into bit 48, so the result is t * 2^16 + floor(s / 2^16).
constexpr std::uint64_t mul_shift_48_by_halves(std::uint64_t n, std::uint64_t m) {
    const std::uint64_t n0 = static_cast<std::uint32_t>(n), n1 = n >> 32;
    const std::uint64_t m0 = static_cast<std::uint32_t>(m), m1 = m >> 32;
    const std::uint64_t s = n1 * m0 + n0 * m1 + ((n0 * m0) >> 32);
    return ((n1 * m1) << 16) + (s >> 16);
}

// The same product where the compiler has a 128-bit type: one multiply
// instruction on a 64-bit processor, where the four products of the halves
// cost more than the divide instruction they replace.
#if defined(__SIZEOF_INT128__)
__extension__ typedef unsigned __int128 uint128;
constexpr std::uint64_t mul_shift_48(std::uint64_t n, std::uint64_t m) {
    return static_cast<std::uint64_t>((static_cast<uint128>(n) * m) >> 48);
}
#else
constexpr std::uint64_t mul_shift_48(std::uint64_t n, std::uint64_t m) { return mul_shift_48_by_halves(n, m); }
#endif

// The divisor b with its reciprocal, made with two 64-bit divisions:
// 2^(48+l) / d as the long division of 2^(16+l) * 2^32, one 32-bit digit of
// the quotient at a time (the first remainder is below d <= 2^31, so the
// second dividend fits in 64 bits). A zero divisor has none.
constexpr Q16Divisor q16_prepared_divisor(q16 b) {
    if (b == 0) return q16_divisor(b);
    const std::uint32_t d = magnitude_u32(b);
    const int l = 32 - std::countl_zero(d - 1);  // ceil(log2 d); 0 for d = 1
    const std::uint64_t high = std::uint64_t{1} << (16 + l);
    const std::uint64_t low = ((high % d) << 32) / d;
    return {b, l, ((high / d) << 32) + low + 1};
}

constexpr q16 q16_div(q16 a, const Q16Divisor &divisor) {
    if (divisor.reciprocal == 0) return q16_div(a, divisor.value);
    return q16_div_rule(a, divisor.value, [&divisor](std::uint64_t n, std::uint32_t) {
        return mul_shift_48(n, divisor.reciprocal) >> divisor.shift;
    });
}

// Degrees to radians and back, both in Q16.16.
constexpr q16 q16_deg_to_rad(q16 deg) { return q16_mul(deg, kQ16DegToRad); }
constexpr q16 q16_rad_to_deg(q16 rad) { return q16_mul(rad, kQ16RadToDeg); }

}  // namespace viewgeo
