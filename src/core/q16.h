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

// Rounding divide a / b, halves away from zero; the sign of the correction
// follows the dividend alone. A zero divisor saturates by the sign of the
// dividend (0 / 0 gives 0) instead of trapping: a zero picture size or
// field of view in a caller's context must not stop the process.
constexpr q16 q16_div(q16 a, q16 b) {
    if (b == 0) return a > 0 ? INT32_MAX : (a < 0 ? INT32_MIN : 0);
    const std::int64_t bb = b;
    const std::int64_t half = (bb < 0 ? -bb : bb) / 2;
    const std::int64_t n = static_cast<std::int64_t>(a) * 65536 + (a >= 0 ? half : -half);
    return static_cast<q16>(static_cast<std::uint64_t>(n / bb));
}

// Degrees to radians and back, both in Q16.16.
constexpr q16 q16_deg_to_rad(q16 deg) { return q16_mul(deg, kQ16DegToRad); }
constexpr q16 q16_rad_to_deg(q16 rad) { return q16_mul(rad, kQ16RadToDeg); }

}  // namespace viewgeo
