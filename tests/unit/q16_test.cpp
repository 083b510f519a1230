// The Q16.16 number format: conversions, rounding multiply and divide.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "core/q16.h"
#include "fixmath/viewgeo_fx.h"
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
    EXPECT_EQ(std::bit_cast<std::uint32_t>(viewgeo_fx_xtof_tab[16]), 0x37800000u);
}

TEST(Q16ToFloat, EqualsTheWordTimesTheTableEntryForEveryMagnitude) {
    // Words with 1 to 32 significant bits, both signs, where the conversion
    // to float rounds as well as where it is exact.
    for (int shift = 0; shift < 31; ++shift) {
        for (const std::uint32_t low : {0u, 1u, 0x5555u, 0xFFFFFFu}) {
            const q16 w = static_cast<q16>((0x80000001u >> (31 - shift)) | (low & ((1u << shift) - 1u)));
            EXPECT_EQ(std::bit_cast<std::uint32_t>(q16_to_float(w)),
                      std::bit_cast<std::uint32_t>(static_cast<float>(w) * viewgeo_fx_xtof_tab[16]))
                << w;
            EXPECT_EQ(std::bit_cast<std::uint32_t>(q16_to_float(wrap_neg(w))),
                      std::bit_cast<std::uint32_t>(static_cast<float>(wrap_neg(w)) * viewgeo_fx_xtof_tab[16]))
                << w;
        }
    }
}

// The projections test a word's sign and zero, and clamp it to +-89
// degrees, on the word instead of on its float form. The two must agree for
// every word; these are visited: every word within 96 degrees, every word
// around 2^24, where the conversion to float begins to round, every 4099th
// word of the whole range, and the extremes.
template <class Visit>
void for_words_of_the_float_tests(Visit visit) {
    auto every_word = [&](std::int64_t from, std::int64_t to, std::int64_t step) {
        for (std::int64_t w = from; w <= to; w += step) visit(static_cast<q16>(w));
    };
    constexpr std::int64_t k96Degrees = 96 << 16, k2To24 = std::int64_t{1} << 24;
    every_word(-k96Degrees, k96Degrees, 1);
    every_word(k2To24 - 4096, k2To24 + 4096, 1);
    every_word(-k2To24 - 4096, -k2To24 + 4096, 1);
    every_word(INT32_MIN, INT32_MAX, 4099);
    for (const q16 w : {INT32_MIN, INT32_MIN + 1, INT32_MAX - 1, INT32_MAX}) visit(w);
}

TEST(Q16ToFloat, IsZeroOrNegativeExactlyWhenTheWordIs) {
    for_words_of_the_float_tests([](q16 w) {
        const float f = q16_to_float(w);
        ASSERT_EQ(f == 0.0f, w == 0) << w;
        ASSERT_EQ(f < 0.0f, w < 0) << w;
        ASSERT_EQ(f >= 0.0f, w >= 0) << w;
    });
}

// The clamp of a pan offset to +-89 degrees near the horizon, in float as
// the firmware wrote it: below -89 the word for -89, above 89 the word of
// 89.0f, otherwise the word through float and back.
q16 clamp_to_89_degrees_in_float(q16 d) {
    const float df = q16_to_float(d);
    if (df < -89.0f) return -kQ16Deg89;
    if (df > 89.0f) return q16_from_float(89.0f);
    return q16_from_float(df);
}

TEST(Q16ToFloat, ClampsToEightyNineDegreesLikeTheWord) {
    for_words_of_the_float_tests(
        [](q16 w) { ASSERT_EQ(std::clamp(w, -kQ16Deg89, kQ16Deg89), clamp_to_89_degrees_in_float(w)) << w; });
}

// The pan offset divides two words as floats in place of their float
// forms: both forms carry the factor 2^-16 exactly, so the two quotients
// are the same float, bit for bit, wherever the conversions round and for
// a zero denominator.
TEST(Q16ToFloat, RatioOfTwoFloatFormsIsTheRatioOfTheWordsAsFloats) {
    auto same_ratio = [](q16 a, q16 b) {
        ASSERT_EQ(std::bit_cast<std::uint32_t>(q16_to_float(a) / q16_to_float(b)),
                  std::bit_cast<std::uint32_t>(static_cast<float>(a) / static_cast<float>(b)))
            << a << " / " << b;
    };
    const q16 partners[] = {1,         -1,        3,          0x10000,   -0x10001, 0x5A0000,
                            0xFFFFFF,  0x1000001, -0x1000003, 0x7654321, INT32_MIN, INT32_MAX};
    auto visit = [&](q16 w) {
        for (const q16 p : partners) {
            same_ratio(w, p);
            if (w != 0) same_ratio(p, w);
        }
    };
    constexpr std::int64_t k2To24 = std::int64_t{1} << 24;
    for (std::int64_t w = -0x20000; w <= 0x20000; ++w) visit(static_cast<q16>(w));
    for (std::int64_t w = k2To24 - 4096; w <= k2To24 + 4096; ++w) {
        visit(static_cast<q16>(w));
        visit(static_cast<q16>(-w));
    }
    for (std::int64_t w = INT32_MIN; w <= INT32_MAX; w += 65537) visit(static_cast<q16>(w));
    // A zero denominator: the infinity of the numerator's sign.
    for (const q16 p : partners) same_ratio(p, 0);
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

namespace viewgeo {
namespace {

// The bit tests must agree with the float comparisons they stand for, for
// every class of float: zeros, subnormals, normals, the int32 limits,
// infinities and NaNs of both signs.
TEST(Q16FromFloat, BitTestsAgreeWithFloatComparisons) {
    std::uint32_t state = 12345;
    auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return state;
    };
    std::vector<std::uint32_t> words = {0x00000000u, 0x80000000u, 0x00000001u, 0x80000001u, 0x7F800000u,
                                        0xFF800000u, 0x7FC00000u, 0xFFC00000u, 0x7F800001u, 0x4EFFFFFFu,
                                        0xCEFFFFFFu, 0x4F000000u, 0xCF000000u, 0x3F800000u, 0xBF000000u};
    for (int i = 0; i < 200000; ++i) words.push_back(next());
    for (const std::uint32_t w : words) {
        const float v = std::bit_cast<float>(w);
        EXPECT_EQ(is_positive(v), v > 0.0f) << std::hex << w;
        if (v == v && v > -2147483648.0f - 1.0f && v < 2147483648.0f) {
            EXPECT_EQ(trunc_to_int32(v), static_cast<std::int32_t>(v)) << std::hex << w;
        } else if (v != v) {
            EXPECT_EQ(trunc_to_int32(v), (w >> 31) ? INT32_MIN : INT32_MAX) << std::hex << w;
        } else {
            EXPECT_EQ(trunc_to_int32(v), v < 0.0f ? INT32_MIN : INT32_MAX) << std::hex << w;
        }
    }
}

}  // namespace
}  // namespace viewgeo
