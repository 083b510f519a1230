// The Q16.16 number format: conversions, rounding multiply and divide.
#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

#include "core/q16.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

TEST(Q16FromFloat, RoundsHalvesAwayFromZero) {
    EXPECT_EQ(q16_from_float(1.5f), 98304);
    EXPECT_EQ(q16_from_float(-1.5f), -98304);
    EXPECT_EQ(q16_from_float(0.0f), 0);
    EXPECT_EQ(q16_from_float(-89.0f), -5832704);
    EXPECT_EQ(q16_from_float(90.0f), 5898240);
    EXPECT_EQ(q16_from_float(2.5f / 65536.0f), 3);
    EXPECT_EQ(q16_from_float(-2.5f / 65536.0f), -3);
    EXPECT_EQ(q16_from_float(1e-6f), 0);
}

TEST(Q16FromFloat, LosesTheHalfAbove128Degrees) {
    // The single-precision sum rounds to even: kept for stored calibrations.
    EXPECT_EQ(q16_from_float(128.0000152587890625f), 8388610);
    EXPECT_EQ(q16_from_float(127.9999847412109375f), 8388607);
}

TEST(Q16FromFloat, SaturatesOutOfRange) {
    EXPECT_EQ(q16_from_float(40000.0f), 0x7FFFFFFF);
    EXPECT_EQ(q16_from_float(-40000.0f), INT32_MIN);
    EXPECT_EQ(q16_from_float(32768.0f), 0x7FFFFFFF);
    EXPECT_EQ(q16_from_float(-32768.0f), INT32_MIN);
    EXPECT_EQ(q16_from_float(std::numeric_limits<float>::infinity()), 0x7FFFFFFF);
    EXPECT_EQ(q16_from_float(-std::numeric_limits<float>::infinity()), INT32_MIN);
}

TEST(Q16FromFloat, NanGoesByItsSignBit) {
    EXPECT_EQ(q16_from_float(std::bit_cast<float>(0x7FC00000u)), 0x7FFFFFFF);
    EXPECT_EQ(q16_from_float(std::bit_cast<float>(0xFFC00000u)), INT32_MIN);
}

TEST(Q16FromFloat, NegativeZeroAndTinyNegativeGiveZero) {
    EXPECT_EQ(q16_from_float(-0.0f), 0);
    EXPECT_EQ(q16_from_float(-0.4f / 65536.0f), 0);
}

TEST(Q16ToFloat, ScalesByTwoToTheMinus16) {
    EXPECT_EQ(q16_to_float(0x10000), 1.0f);
    EXPECT_EQ(q16_to_float(-0x8000), -0.5f);
    EXPECT_EQ(q16_to_float(INT32_MIN), -32768.0f);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(fx_xtof_tab[16]), 0x37800000u);
}

TEST(Q16ToFloat, RoundTripsThroughFromFloatBelow128) {
    for (q16 w = -8388607; w <= 8388607; w += 4099) {
        EXPECT_EQ(q16_from_float(q16_to_float(w)), w) << w;
    }
}

TEST(Q16Mul, RoundsHalvesTowardPlusInfinity) {
    EXPECT_EQ(q16_mul(0x8000, 0x8000), 0x4000);
    EXPECT_EQ(q16_mul(1, 0x8000), 1);
    EXPECT_EQ(q16_mul(-1, 0x8000), 0);
    EXPECT_EQ(q16_mul(3, 0x8000), 2);
    EXPECT_EQ(q16_mul(-3, 0x8000), -1);
}

TEST(Q16Mul, UnitFactorsAreExact) {
    for (q16 a : {0, 1, -1, 12345, -98765, INT32_MAX, INT32_MIN + 1}) {
        EXPECT_EQ(q16_mul(a, 0x10000), a);
        EXPECT_EQ(q16_mul(a, -0x10000), -a);
    }
    EXPECT_EQ(q16_mul(0x123456, 0x20000), 0x2468AC);
}

TEST(Q16Mul, WrapsInsteadOfSaturating) {
    EXPECT_EQ(q16_mul(0x7FFF0000, 0x20000), static_cast<q16>(0xFFFE0000u));
}

TEST(Q16Div, RoundsHalvesAwayFromZero) {
    EXPECT_EQ(q16_div(0x10000, 0x30000), 21845);
    EXPECT_EQ(q16_div(-0x10000, 0x30000), -21845);
    EXPECT_EQ(q16_div(1, 0x20000), 1);
    EXPECT_EQ(q16_div(-1, 0x20000), -1);
    EXPECT_EQ(q16_div(0x10000, -0x30000), -21845);
}

TEST(Q16Div, MostNegativeDivisorHalvesInSixtyFourBits) {
    // |0x80000000| / 2 = 2^30 without overflow.
    EXPECT_EQ(q16_div(0x40000000, INT32_MIN), -0x8000);
    EXPECT_EQ(q16_div(-0x40000000, INT32_MIN), 0x8000);
}

TEST(Q16Angles, OneEightyDegreesIsSlightlyMoreThanPi) {
    EXPECT_EQ(q16_mul(0xB40000, 1144), 205920);
    EXPECT_EQ(q16_mul(205920, 3754936), 11798346);
    EXPECT_NEAR(q16_to_float(11798346), 180.0284729f, 1e-5f);
}

TEST(ExportedConstants, HoldTheStoredValues) {
    EXPECT_EQ(dtor_x, 1144);
    EXPECT_EQ(rtod_x, 3754936);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(dtor_f), 0x3C8EFA35u);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(rtod_f), 0x42652EE1u);
}

TEST(TruncToInt32, TruncatesTowardZeroAndSaturates) {
    EXPECT_EQ(trunc_to_int32(2.9f), 2);
    EXPECT_EQ(trunc_to_int32(-2.9f), -2);
    EXPECT_EQ(trunc_to_int32(2147483520.0f), 2147483520);
    EXPECT_EQ(trunc_to_int32(2147483648.0f), INT32_MAX);
    EXPECT_EQ(trunc_to_int32(-2147483648.0f), INT32_MIN);
    EXPECT_EQ(trunc_to_int32(-3e9f), INT32_MIN);
}

}  // namespace
}  // namespace viewgeo
