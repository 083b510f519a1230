// Pan distances, great-circle angles and pan wrapping.
#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

#include "core/angle_utils.h"
#include "core/q16.h"
#include "fixmath/viewgeo_fx.h"
#include "viewgeo.h"

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// ---- pan distance, single precision ------------------------------------

TEST(PanDelta, FoldsAcrossTheBackOfTheHead) {
    // 170 and -170 are 340 apart one way and 20 the other.
    EXPECT_EQ(viewgeo_get_pan_delta(170.0f, -170.0f), 20.0f);
    EXPECT_EQ(viewgeo_get_pan_delta(-170.0f, 170.0f), 20.0f);
}

TEST(PanDelta, HalfATurnIsNotFolded) {
    EXPECT_EQ(viewgeo_get_pan_delta(0.0f, 180.0f), 180.0f);
    EXPECT_EQ(viewgeo_get_pan_delta(180.0f, 0.0f), 180.0f);
    EXPECT_EQ(viewgeo_get_pan_delta(-90.0f, 90.0f), 180.0f);
}

TEST(PanDelta, JustOverHalfATurnIsFolded) {
    // (0 + 180) + (180 - 180.5) = 179.5, exact in single precision.
    EXPECT_EQ(viewgeo_get_pan_delta(0.0f, 180.5f), 179.5f);
    EXPECT_EQ(viewgeo_get_pan_delta(180.5f, 0.0f), 179.5f);
}

TEST(PanDelta, EqualPansAreZeroApart) {
    EXPECT_EQ(viewgeo_get_pan_delta(42.25f, 42.25f), 0.0f);
    EXPECT_EQ(viewgeo_get_pan_delta(-180.0f, -180.0f), 0.0f);
}

TEST(PanDelta, SameDirectionOneTurnApartIsZero) {
    // (−180 + 180) + (180 − 180) = 0: the two ends of the pan range coincide.
    EXPECT_EQ(viewgeo_get_pan_delta(-180.0f, 180.0f), 0.0f);
    EXPECT_EQ(viewgeo_get_pan_delta(0.0f, 360.0f), 0.0f);
}

TEST(PanDelta, FoldsOnlyOneTurn) {
    // 400 apart: (0 + 180) + (180 - 400) = -40, a negative "distance".
    EXPECT_EQ(viewgeo_get_pan_delta(0.0f, 400.0f), -40.0f);
    EXPECT_EQ(viewgeo_get_pan_delta(400.0f, 0.0f), -40.0f);
}

TEST(PanDelta, NonFiniteInputGivesNonFiniteResult) {
    EXPECT_TRUE(std::isnan(viewgeo_get_pan_delta(kNan, 10.0f)));
    EXPECT_TRUE(std::isnan(viewgeo_get_pan_delta(10.0f, kNan)));
    // hi = inf: d = inf is folded, (0 + 180) + (180 - inf) = -inf.
    EXPECT_EQ(viewgeo_get_pan_delta(kInf, 0.0f), -kInf);
    EXPECT_EQ(viewgeo_get_pan_delta(0.0f, -kInf), -kInf);
    // inf - inf in the fold.
    EXPECT_TRUE(std::isnan(viewgeo_get_pan_delta(kInf, kInf)));
}

TEST(PanDelta, IsSymmetricAndWithinHalfATurn) {
    for (int i = -359; i <= 359; i += 7) {
        for (int j = -359; j <= 359; j += 11) {
            const float a = static_cast<float>(i) * 0.5f + 0.125f;
            const float b = static_cast<float>(j) * 0.5f - 0.375f;
            const float d = viewgeo_get_pan_delta(a, b);
            EXPECT_EQ(d, viewgeo_get_pan_delta(b, a)) << a << " " << b;
            EXPECT_GE(d, 0.0f) << a << " " << b;
            EXPECT_LE(d, 180.0f) << a << " " << b;
        }
    }
}

TEST(PanDelta, ShiftingBothPansByATurnFractionKeepsTheDistance) {
    // Within (-180, 180] a common shift changes nothing (exact for
    // quarter-degree values, which single precision holds exactly).
    for (int i = -40; i <= 40; ++i) {
        const float a = static_cast<float>(i) * 4.25f;
        const float b = -a * 0.5f;
        const float shifted = viewgeo_get_pan_delta(a + 10.0f, b + 10.0f);
        EXPECT_EQ(viewgeo_get_pan_delta(a, b), shifted) << a;
    }
}

// ---- pan distance, Q16.16 ------------------------------------------------

TEST(PanDeltaX, ExactlyHalfATurnIsReturnedUnchanged) {
    EXPECT_EQ(viewgeo_get_pan_delta_x(0, 0xB40000), 0xB40000);
    EXPECT_EQ(viewgeo_get_pan_delta_x(0xB40000, 0), 0xB40000);
    EXPECT_EQ(viewgeo_get_pan_delta_x(-0x5A0000, 0x5A0000), 0xB40000);
    EXPECT_EQ(viewgeo_get_pan_delta_x(0x5A0000, -0x5A0000), 0xB40000);
}

TEST(PanDeltaX, OneUnitOverHalfATurnIsFolded) {
    // (0 - 0xB40001) + 0x1680000 = 0xB3FFFF.
    EXPECT_EQ(viewgeo_get_pan_delta_x(0, 0xB40001), 0xB3FFFF);
    EXPECT_EQ(viewgeo_get_pan_delta_x(0xB40001, 0), 0xB3FFFF);
}

TEST(PanDeltaX, FoldsAcrossTheBackOfTheHead) {
    // 170 and -170 degrees: 20 degrees apart.
    EXPECT_EQ(viewgeo_get_pan_delta_x(170 << 16, -(170 << 16)), 20 << 16);
    EXPECT_EQ(viewgeo_get_pan_delta_x(-(170 << 16), 170 << 16), 20 << 16);
    // 0 and 180.5: 179.5.
    EXPECT_EQ(viewgeo_get_pan_delta_x(0, 0xB48000), 0xB38000);
}

TEST(PanDeltaX, AgreesWithTheFloatFormOnWholeUnits) {
    // Differences of exactly representable pans are exact in both forms.
    for (int i = -350; i <= 350; i += 13) {
        for (int j = -350; j <= 350; j += 17) {
            const viewgeo::q16 a = i * 0x8000;
            const viewgeo::q16 b = j * 0x8000 + 0x4000;
            const float df = viewgeo_get_pan_delta(viewgeo::q16_to_float(a), viewgeo::q16_to_float(b));
            EXPECT_EQ(viewgeo_get_pan_delta_x(a, b), viewgeo::q16_from_float(df)) << i << " " << j;
        }
    }
}

TEST(PanDeltaX, IsSymmetric) {
    for (viewgeo::q16 a = -0x1680000; a <= 0x1680000; a += 0x12345) {
        for (viewgeo::q16 b = -0x1680000; b <= 0x1680000; b += 0x23456) {
            EXPECT_EQ(viewgeo_get_pan_delta_x(a, b), viewgeo_get_pan_delta_x(b, a));
        }
    }
}

TEST(PanDeltaX, ExtremeWordsWrapInsteadOfOverflowing) {
    // INT32_MAX - INT32_MIN wraps to -1, which is "not over half a turn".
    EXPECT_EQ(viewgeo_get_pan_delta_x(INT32_MIN, INT32_MAX), -1);
    EXPECT_EQ(viewgeo_get_pan_delta_x(INT32_MAX, INT32_MIN), -1);
    // 0 - INT32_MIN wraps to INT32_MIN: returned as it is.
    EXPECT_EQ(viewgeo_get_pan_delta_x(INT32_MIN, 0), INT32_MIN);
    // INT32_MAX - 0 is over half a turn: (0 - INT32_MAX) + 0x1680000.
    EXPECT_EQ(viewgeo_get_pan_delta_x(0, INT32_MAX), -0x7FFFFFFF + 0x1680000);
}

// ---- great circle, single precision --------------------------------------

// Hides a value from the compiler, so that the reference below calls the
// system's sin, cos and acos at run time as the code under test does rather
// than having them folded at compile time.
double opaque(double v) {
    volatile double held = v;
    return held;
}

// The angle between two directions written out step by step: tilt and pan
// angles in single precision, their cosines and sines in double, the law of
// cosines in double in the fixed order, degrees narrowed to float.
float great_circle_reference(float pan_a, float tilt_a, float pan_b, float tilt_b) {
    const float d = std::bit_cast<float>(0x3C8EFA35u);
    const double r = static_cast<double>(std::bit_cast<float>(0x42652EE1u));
    const float dp = viewgeo_get_pan_delta(pan_a, pan_b);
    const double ta = opaque(static_cast<double>(tilt_a * d));
    const double tb = opaque(static_cast<double>(tilt_b * d));
    const double pr = opaque(static_cast<double>(dp * d));
    const double ca_cb = std::cos(ta) * std::cos(tb);
    const double x = ca_cb * std::cos(pr) + std::sin(ta) * std::sin(tb);
    return static_cast<float>(std::acos(x) * r);
}

TEST(GreatCircle, QuarterTurnAlongTheHorizonIsNinety) {
    // 90 * D rounds to the float nearest pi/2; acos(cos) of it times R
    // narrows to 90 exactly.
    EXPECT_EQ(viewgeo_get_great_circle(0.0f, 0.0f, 90.0f, 0.0f), 90.0f);
    EXPECT_EQ(viewgeo_get_great_circle(90.0f, 0.0f, 0.0f, 0.0f), 90.0f);
}

TEST(GreatCircle, IdenticalDirectionOnTheHorizonIsZero) {
    EXPECT_EQ(viewgeo_get_great_circle(0.0f, 0.0f, 0.0f, 0.0f), 0.0f);
    EXPECT_EQ(viewgeo_get_great_circle(123.0f, 10.0f, 123.0f, 10.0f), 0.0f);
}

TEST(GreatCircle, IdenticalDirectionsMayGiveATinyAngleOrNan) {
    // The cosine sum is not clamped, so for identical directions it can land
    // one double unit below 1 (acos(1 - 2^-53) = 2^-26 rad = 8.5377366e-7
    // degrees) or one unit above 1, where acos gives NaN.
    EXPECT_FLOAT_EQ(viewgeo_get_great_circle(0.0f, 20.0f, 0.0f, 20.0f), 8.5377366e-7f);
    EXPECT_EQ(viewgeo_get_great_circle(0.0f, 20.0f, 0.0f, 20.0f),
              great_circle_reference(0.0f, 20.0f, 0.0f, 20.0f));
    EXPECT_TRUE(std::isnan(viewgeo_get_great_circle(0.0f, 9.0f, 0.0f, 9.0f)));
    EXPECT_TRUE(std::isnan(viewgeo_get_great_circle(-45.0f, -31.0f, -45.0f, -31.0f)));
}

TEST(GreatCircle, MatchesTheStepByStepCalculationBitForBit) {
    const float cases[][4] = {
        {0.0f, 0.0f, 90.0f, 0.0f},      {10.0f, 20.0f, 30.0f, 40.0f},
        {170.0f, -5.0f, -170.0f, 5.0f}, {0.0f, 89.0f, 180.0f, 89.0f},
        {-33.3f, -60.5f, 12.7f, 45.25f}, {0.0f, 120.0f, 0.0f, -30.0f},
    };
    for (const auto &c : cases) {
        const float got = viewgeo_get_great_circle(c[0], c[1], c[2], c[3]);
        const float want = great_circle_reference(c[0], c[1], c[2], c[3]);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(got), std::bit_cast<std::uint32_t>(want))
            << c[0] << " " << c[1] << " " << c[2] << " " << c[3];
    }
}

TEST(GreatCircle, IsSymmetric) {
    for (int i = -170; i <= 170; i += 17) {
        for (int j = -80; j <= 80; j += 13) {
            const float pa = static_cast<float>(i) + 0.3f;
            const float ta = static_cast<float>(j) - 0.7f;
            const float pb = -0.5f * pa + 11.0f;
            const float tb = 0.25f * ta - 3.0f;
            const float ab = viewgeo_get_great_circle(pa, ta, pb, tb);
            const float ba = viewgeo_get_great_circle(pb, tb, pa, ta);
            EXPECT_EQ(std::bit_cast<std::uint32_t>(ab), std::bit_cast<std::uint32_t>(ba));
        }
    }
}

TEST(GreatCircle, FollowsTiltAndPanDifferencesOnTheMainCircles) {
    // Along one pan the angle is the tilt difference; along the horizon it
    // is the pan distance. 1e-4 degrees covers the single-precision angles
    // (D and R are rounded to float, half a unit each).
    for (int t = -80; t <= 80; t += 5) {
        const float tilt = static_cast<float>(t);
        EXPECT_NEAR(viewgeo_get_great_circle(30.0f, tilt, 30.0f, tilt + 7.5f), 7.5f, 1e-4f) << t;
    }
    for (int p = -179; p <= 179; p += 7) {
        const float pan = static_cast<float>(p);
        const float expected = viewgeo_get_pan_delta(pan, 60.0f);
        EXPECT_NEAR(viewgeo_get_great_circle(pan, 0.0f, 60.0f, 0.0f), expected, 1e-4f) << p;
    }
}

TEST(GreatCircle, OppositePolesAreHalfATurnApart) {
    EXPECT_NEAR(viewgeo_get_great_circle(0.0f, 90.0f, 0.0f, -90.0f), 180.0f, 1e-4f);
}

TEST(GreatCircle, NonFiniteInputGivesNan) {
    EXPECT_TRUE(std::isnan(viewgeo_get_great_circle(kNan, 0.0f, 0.0f, 0.0f)));
    EXPECT_TRUE(std::isnan(viewgeo_get_great_circle(0.0f, kNan, 0.0f, 0.0f)));
    EXPECT_TRUE(std::isnan(viewgeo_get_great_circle(0.0f, 0.0f, 0.0f, kInf)));
    // The pan distance folds to -inf, whose cosine is NaN.
    EXPECT_TRUE(std::isnan(viewgeo_get_great_circle(kInf, 0.0f, 0.0f, 0.0f)));
}

// ---- great circle, Q16.16 -------------------------------------------------

// The Q16.16 steps written out: degrees to radians by the rounded product
// with 1144, fixed-point sines and cosines, rounded products, the arc cosine
// of the sum, radians to degrees by the product with 3754936.
std::int32_t great_circle_x_reference(std::int32_t pan_a, std::int32_t tilt_a, std::int32_t pan_b,
                                      std::int32_t tilt_b) {
    using viewgeo::q16_mul;
    const std::int32_t dp = viewgeo_get_pan_delta_x(pan_a, pan_b);
    const std::int32_t ta = q16_mul(tilt_a, 1144);
    const std::int32_t tb = q16_mul(tilt_b, 1144);
    const std::int32_t pr = q16_mul(dp, 1144);
    const std::int32_t m = q16_mul(viewgeo_fx_cosx(ta, 16), viewgeo_fx_cosx(tb, 16));
    const std::int32_t n = q16_mul(viewgeo_fx_sinx(ta, 16), viewgeo_fx_sinx(tb, 16));
    const std::int32_t sum = viewgeo::wrap_add(q16_mul(viewgeo_fx_cosx(pr, 16), m), n);
    return q16_mul(viewgeo_fx_acosx(sum, 16), 3754936);
}

TEST(GreatCircleX, QuarterTurnAlongTheHorizonIsNinetyWithinTheRadianFactor) {
    const std::int32_t got = viewgeo_get_great_circle_x(0, 0, 0x5A0000, 0);
    EXPECT_EQ(got, great_circle_x_reference(0, 0, 0x5A0000, 0));
    EXPECT_EQ(viewgeo_get_great_circle_x(0x5A0000, 0, 0, 0), got);
    // 1144 is 0.016 % above 65536 pi/180, so 90 degrees becomes 1.5710449
    // rad (102960) and comes back as about 90.0144 degrees; the arc cosine
    // of a cosine near 0 adds a unit or two of 2^-16 rad (0.0002 degrees).
    EXPECT_NEAR(viewgeo::q16_to_float(got), 90.0144f, 0.001f);
}

TEST(GreatCircleX, MatchesTheStepByStepCalculation) {
    const std::int32_t cases[][4] = {
        {0, 0, 0x5A0000, 0},
        {10 << 16, 20 << 16, 30 << 16, 40 << 16},
        {170 << 16, -(5 << 16), -(170 << 16), 5 << 16},
        {0, 89 << 16, 0xB40000, 89 << 16},
        {-0x214CCC, -0x3C8000, 0xCB333, 0x2D4000},
        {0, 120 << 16, 0, -(30 << 16)},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(viewgeo_get_great_circle_x(c[0], c[1], c[2], c[3]),
                  great_circle_x_reference(c[0], c[1], c[2], c[3]))
            << c[0] << " " << c[1] << " " << c[2] << " " << c[3];
    }
}

TEST(GreatCircleX, IsSymmetric) {
    for (std::int32_t pa = -0xAA0000; pa <= 0xAA0000; pa += 0x110000 + 0x4CCD) {
        for (std::int32_t ta = -0x500000; ta <= 0x500000; ta += 0xD0000 + 0x1234) {
            const std::int32_t pb = 0xB0000 - pa / 2;
            const std::int32_t tb = ta / 4 - 0x30000;
            EXPECT_EQ(viewgeo_get_great_circle_x(pa, ta, pb, tb), viewgeo_get_great_circle_x(pb, tb, pa, ta));
        }
    }
}

TEST(GreatCircleX, AgreesWithTheFloatFormAwayFromZeroAndHalfATurn) {
    // Between 10 and 170 degrees the arc cosine magnifies an error in its
    // argument at most 1 / sin(10 deg) = 5.8 times: a few units of 2^-16 in
    // the fixed-point sines and cosines cost under 0.02 degrees, and the
    // radian factor 1144 up to 0.016 % (0.03 degrees at 170). 0.06 covers
    // both with room.
    int compared = 0;
    for (int pa = -175; pa <= 175; pa += 25) {
        for (int ta = -85; ta <= 85; ta += 17) {
            for (int pb = -170; pb <= 170; pb += 34) {
                const int tb = 40 - ta / 2;
                const float f = viewgeo_get_great_circle(static_cast<float>(pa), static_cast<float>(ta),
                                                         static_cast<float>(pb), static_cast<float>(tb));
                if (!(f >= 10.0f && f <= 170.0f)) continue;
                const std::int32_t x = viewgeo_get_great_circle_x(pa << 16, ta << 16, pb << 16, tb << 16);
                EXPECT_NEAR(viewgeo::q16_to_float(x), f, 0.06f) << pa << " " << ta << " " << pb << " " << tb;
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 500);
}

TEST(GreatCircleX, IdenticalDirectionsAreCloseToZero) {
    // Near 0 the arc cosine turns an error of e units of 2^-16 in its
    // argument into sqrt(2 e / 65536) rad: 3 units give 0.55 degrees.
    for (int t = -85; t <= 85; t += 5) {
        const std::int32_t got = viewgeo_get_great_circle_x(0x1E0000, t << 16, 0x1E0000, t << 16);
        EXPECT_GE(got, 0) << t;
        EXPECT_LT(got, 0x8CCC) << t;  // 0.55 degrees
    }
    EXPECT_EQ(viewgeo_get_great_circle_x(0, 0, 0, 0), great_circle_x_reference(0, 0, 0, 0));
}

TEST(GreatCircleX, ExtremeWordsStayDefinedAndInRange) {
    // Meaningless angles, but no overflow trap and a result the arc cosine
    // can give: 0 to pi (205887) in radians, so at most about 180 degrees.
    const std::int32_t words[] = {INT32_MIN, -0xB40000, -1, 0, 1, 0x5A0000, INT32_MAX};
    for (std::int32_t a : words) {
        for (std::int32_t b : words) {
            const std::int32_t got = viewgeo_get_great_circle_x(a, b, b, a);
            EXPECT_GE(got, 0) << a << " " << b;
            EXPECT_LE(got, viewgeo::q16_mul(205887, 3754936)) << a << " " << b;
            EXPECT_EQ(got, great_circle_x_reference(a, b, b, a));
        }
    }
}

// ---- pan wrapping ---------------------------------------------------------

TEST(WrapPan, KeepsTheEndsOfTheRange) {
    EXPECT_EQ(viewgeo_wrap_pan(180.0f), 180.0f);
    EXPECT_EQ(viewgeo_wrap_pan(-180.0f), -180.0f);
    EXPECT_EQ(viewgeo_wrap_pan(0.0f), 0.0f);
    EXPECT_TRUE(std::signbit(viewgeo_wrap_pan(-0.0f)));
}

TEST(WrapPan, BringsOneTurnBack) {
    EXPECT_EQ(viewgeo_wrap_pan(180.5f), -179.5f);
    EXPECT_EQ(viewgeo_wrap_pan(-180.5f), 179.5f);
    EXPECT_EQ(viewgeo_wrap_pan(600.0f), 240.0f);
    EXPECT_EQ(viewgeo_wrap_pan(540.0f), 180.0f);
    EXPECT_EQ(viewgeo_wrap_pan(-540.0f), -180.0f);
}

TEST(WrapPan, TakesOnlyOneStep) {
    EXPECT_EQ(viewgeo_wrap_pan(541.0f), 181.0f);
    EXPECT_EQ(viewgeo_wrap_pan(-900.0f), -540.0f);
}

TEST(WrapPan, LeavesNanAndInfinityAsTheyAre) {
    EXPECT_TRUE(std::isnan(viewgeo_wrap_pan(kNan)));
    EXPECT_EQ(viewgeo_wrap_pan(kInf), kInf);
    EXPECT_EQ(viewgeo_wrap_pan(-kInf), -kInf);
}

TEST(WrapPan, IsTheIdentityModuloATurnInsideOneStep) {
    // Quarter degrees are exact in single precision, so the turn is exact.
    for (int i = -2159; i <= 2159; ++i) {
        const float pan = static_cast<float>(i) * 0.25f;
        const float w = viewgeo_wrap_pan(pan);
        EXPECT_GE(w, -180.0f) << pan;
        EXPECT_LE(w, 180.0f) << pan;
        const float diff = pan - w;
        EXPECT_TRUE(diff == 0.0f || diff == 360.0f || diff == -360.0f) << pan;
    }
}

TEST(WrapPan, InternalHelperIsUsableAtCompileTime) {
    static_assert(viewgeo::wrap_pan(190.0f) == -170.0f);
    static_assert(viewgeo::wrap_pan(-190.0f) == 170.0f);
    EXPECT_EQ(viewgeo::wrap_pan(12.5f), viewgeo_wrap_pan(12.5f));
}

}  // namespace
