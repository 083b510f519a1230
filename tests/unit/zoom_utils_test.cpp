// Zoom magnification and the field of view after a zoom factor.
#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

#include "core/q16.h"
#include "fixmath/viewgeo_fx.h"
#include "viewgeo.h"

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

std::uint32_t bits(float f) { return std::bit_cast<std::uint32_t>(f); }

// Hides a value from the compiler, so that tanf and atanf below run in the
// system library as in the code under test: the compiler's own constant
// folding rounds correctly and can differ by one unit (tanf(30 * D) is
// 0x3F13CD3B at run time with glibc 2.36, 0x3F13CD3A when folded).
float opaque(float v) {
    volatile float held = v;
    return held;
}

// ---- field of view after a zoom, single precision -------------------------

struct FovPair {
    float a;
    float b;
};

// 2 atan(tan(fov / 2) / zoom) written out in single precision: half angle
// times pi/180 (float), tanf, divisions, atanf, times 360/pi (float).
FovPair zoom_fov_reference(float zoom_a, float fov, float zoom_b) {
    const float d = std::bit_cast<float>(0x3C8EFA35u);
    const float r2 = 114.59156036376953f;
    const float half = opaque(fov) * 0.5f;
    const float t = tanf(half * d) / opaque(zoom_a);
    const float u = t / zoom_b;
    return {atanf(t) * r2, atanf(u) * r2};
}

FovPair zoom_fov(float zoom_a, float fov, float zoom_b) {
    FovPair out{-1.0f, -1.0f};
    viewgeo_get_zoom_fov(zoom_a, fov, zoom_b, &out.a, &out.b);
    return out;
}

TEST(ZoomFov, DoublingTwiceFromSixtyDegrees) {
    const FovPair got = zoom_fov(2.0f, 60.0f, 2.0f);
    // 2 atan(tan 30 / 2) = 32.2042275 and 2 atan(tan 30 / 4) = 16.4264214
    // degrees; single precision keeps them to a few units of 1e-6.
    EXPECT_NEAR(got.a, 32.2042275f, 2e-5f);
    EXPECT_NEAR(got.b, 16.4264214f, 2e-5f);
    const FovPair want = zoom_fov_reference(2.0f, 60.0f, 2.0f);
    EXPECT_EQ(bits(got.a), bits(want.a));
    EXPECT_EQ(bits(got.b), bits(want.b));
}

TEST(ZoomFov, MatchesTheStepByStepCalculationBitForBit) {
    const float cases[][3] = {
        {1.0f, 60.0f, 1.0f}, {3.5f, 47.3f, 1.25f}, {0.5f, 30.0f, 0.5f},
        {30.0f, 58.2f, 1.0f}, {1.0f, 179.0f, 10.0f}, {-2.0f, 60.0f, 2.0f},
    };
    for (const auto &c : cases) {
        const FovPair got = zoom_fov(c[0], c[1], c[2]);
        const FovPair want = zoom_fov_reference(c[0], c[1], c[2]);
        EXPECT_EQ(bits(got.a), bits(want.a)) << c[0] << " " << c[1] << " " << c[2];
        EXPECT_EQ(bits(got.b), bits(want.b)) << c[0] << " " << c[1] << " " << c[2];
    }
}

TEST(ZoomFov, ZoomOfOneKeepsTheFieldOfView) {
    for (int f = 1; f <= 170; f += 3) {
        const float fov = static_cast<float>(f);
        const FovPair got = zoom_fov(1.0f, fov, 1.0f);
        // tanf and atanf are each within an ulp or so; 1e-4 degrees is ample.
        EXPECT_NEAR(got.a, fov, 1e-4f) << f;
        EXPECT_EQ(got.a, got.b) << f;
    }
}

TEST(ZoomFov, NarrowsMonotonicallyAsTheZoomGrows) {
    float previous_a = 180.0f;
    float previous_b = 180.0f;
    for (int z = 4; z <= 400; ++z) {
        const float zoom = static_cast<float>(z) * 0.25f;
        const FovPair got = zoom_fov(zoom, 60.0f, zoom);
        EXPECT_LE(got.a, previous_a) << zoom;
        EXPECT_LE(got.b, previous_b) << zoom;
        EXPECT_LE(got.b, got.a) << zoom;
        previous_a = got.a;
        previous_b = got.b;
    }
}

TEST(ZoomFov, ZeroZoomOpensToHalfATurn) {
    // tan / 0 is +inf and atanf(inf) is pi/2 in float: (float)(pi/2) times
    // 360/pi in float is 180 exactly.
    const FovPair got = zoom_fov(0.0f, 60.0f, 2.0f);
    EXPECT_EQ(got.a, 180.0f);
    EXPECT_EQ(got.b, 180.0f);
    const FovPair second = zoom_fov(2.0f, 60.0f, 0.0f);
    EXPECT_EQ(bits(second.a), bits(zoom_fov_reference(2.0f, 60.0f, 2.0f).a));
    EXPECT_EQ(second.b, 180.0f);
}

TEST(ZoomFov, ZeroFieldOfViewStaysZeroAndZeroOverZeroIsNan) {
    const FovPair got = zoom_fov(2.0f, 0.0f, 2.0f);
    EXPECT_EQ(got.a, 0.0f);
    EXPECT_EQ(got.b, 0.0f);
    const FovPair nan = zoom_fov(0.0f, 0.0f, 2.0f);
    EXPECT_TRUE(std::isnan(nan.a));
    EXPECT_TRUE(std::isnan(nan.b));
}

TEST(ZoomFov, NonFiniteInputGivesNan) {
    const FovPair a = zoom_fov(2.0f, kNan, 2.0f);
    EXPECT_TRUE(std::isnan(a.a));
    EXPECT_TRUE(std::isnan(a.b));
    const FovPair b = zoom_fov(2.0f, kInf, 2.0f);  // tanf(inf) is NaN
    EXPECT_TRUE(std::isnan(b.a));
    EXPECT_TRUE(std::isnan(b.b));
    const FovPair c = zoom_fov(kInf, 60.0f, 2.0f);  // t = 0
    EXPECT_EQ(c.a, 0.0f);
    EXPECT_EQ(c.b, 0.0f);
    const FovPair d = zoom_fov(2.0f, 60.0f, kNan);
    EXPECT_EQ(bits(d.a), bits(zoom_fov_reference(2.0f, 60.0f, 1.0f).a));
    EXPECT_TRUE(std::isnan(d.b));
}

// ---- magnification, Q16.16 --------------------------------------------------

// The Q16.16 steps written out: half angles by the product with 572, fixed-
// point sines and cosines, the two rounded products, and the rounded
// division done here in 64-bit integers (halves away from zero).
std::int32_t magnification_reference(std::int32_t fov_a, std::int32_t fov_b) {
    using viewgeo::q16_mul;
    const std::int32_t a = q16_mul(fov_a, 572);
    const std::int32_t b = q16_mul(fov_b, 572);
    const std::int32_t num = q16_mul(viewgeo_fx_cosx(b, 16), viewgeo_fx_sinx(a, 16));
    const std::int32_t den = q16_mul(viewgeo_fx_sinx(b, 16), viewgeo_fx_cosx(a, 16));
    const std::int64_t half = (num < 0 ? -static_cast<std::int64_t>(num) : num) / 2;
    const std::int64_t scaled = static_cast<std::int64_t>(den) * 65536 + (den >= 0 ? half : -half);
    return static_cast<std::int32_t>(scaled / num);
}

TEST(ZoomMagnification, ThirtyToSixtyDegreesIsTanThirtyOverTanFifteen) {
    const std::int32_t got = viewgeo_get_zoom_magnification(30 << 16, 60 << 16);
    EXPECT_EQ(got, magnification_reference(30 << 16, 60 << 16));
    // tan 30 / tan 15 = 2.1547005 = 141210.45 units. Each sine and cosine
    // may be a unit off and 572 is 0.016 % above 65536 pi/360; together
    // under 30 units (2e-4 relative).
    EXPECT_NEAR(got, 141210, 30);
}

TEST(ZoomMagnification, MatchesTheStepByStepCalculation) {
    const std::int32_t cases[][2] = {
        {30 << 16, 60 << 16}, {60 << 16, 30 << 16}, {1 << 16, 120 << 16},
        {0x3A3333, 0x2F4CCD}, {-(40 << 16), 40 << 16}, {179 << 16, 2 << 16},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(viewgeo_get_zoom_magnification(c[0], c[1]), magnification_reference(c[0], c[1]))
            << c[0] << " " << c[1];
    }
}

TEST(ZoomMagnification, EqualFieldsOfViewGiveExactlyOne) {
    // den = num, and the rounded quotient of a word by itself is 1.0.
    for (std::int32_t f = 0x8000; f < (180 << 16); f += 0x51EB) {
        EXPECT_EQ(viewgeo_get_zoom_magnification(f, f), 0x10000) << f;
    }
}

TEST(ZoomMagnification, GrowsWithTheSecondFieldOfView) {
    std::int32_t previous = 0;
    for (int f = 1; f <= 170; ++f) {
        const std::int32_t got = viewgeo_get_zoom_magnification(50 << 16, f << 16);
        EXPECT_GE(got, previous) << f;
        previous = got;
    }
}

TEST(ZoomMagnification, SwappingTheFieldsGivesTheReciprocal) {
    // Two roundings of about 1e-4 relative each, see above.
    for (int a = 5; a <= 120; a += 23) {
        for (int b = 5; b <= 120; b += 19) {
            const double ab = viewgeo::q16_to_float(viewgeo_get_zoom_magnification(a << 16, b << 16));
            const double ba = viewgeo::q16_to_float(viewgeo_get_zoom_magnification(b << 16, a << 16));
            EXPECT_NEAR(ab * ba, 1.0, 1e-3) << a << " " << b;
        }
    }
}

TEST(ZoomMagnification, ZeroFirstFieldOfViewSaturatesInsteadOfDividingByZero) {
    // sin 0 = 0 makes the divisor 0; the quotient is taken as its limit.
    EXPECT_EQ(viewgeo_get_zoom_magnification(0, 60 << 16), INT32_MAX);
    EXPECT_EQ(viewgeo_get_zoom_magnification(0, -(60 << 16)), INT32_MIN);
    EXPECT_EQ(viewgeo_get_zoom_magnification(0, 0), 0);
}

TEST(ZoomMagnification, ExtremeWordsStayDefined) {
    // Meaningless fields of view; the point is a defined result without an
    // overflow or division trap.
    const std::int32_t words[] = {INT32_MIN, -1, 0, 1, 0xB40000, 0x1680000, INT32_MAX};
    for (std::int32_t a : words) {
        for (std::int32_t b : words) {
            const std::int32_t got = viewgeo_get_zoom_magnification(a, b);
            const std::int32_t num = viewgeo::q16_mul(viewgeo_fx_cosx(viewgeo::q16_mul(b, 572), 16),
                                                      viewgeo_fx_sinx(viewgeo::q16_mul(a, 572), 16));
            if (num != 0) {
                EXPECT_EQ(got, magnification_reference(a, b)) << a << " " << b;
            } else {
                EXPECT_TRUE(got == INT32_MAX || got == INT32_MIN || got == 0) << a << " " << b;
            }
        }
    }
}

// ---- field of view after a zoom, Q16.16 --------------------------------------

struct FovPairX {
    std::int32_t a;
    std::int32_t b;
};

// 2 atan(t) in Q16.16 degrees as written out: float of the word by the
// table factor, atanf, float to Q16.16, times 3754936, times 2.0.
std::int32_t double_atan_reference(std::int32_t t) {
    const float tf = opaque(static_cast<float>(t) * viewgeo_fx_xtof_tab[16]);
    const std::int32_t rad = viewgeo::q16_from_float(atanf(tf));
    return viewgeo::q16_mul(viewgeo::q16_mul(rad, 3754936), 0x20000);
}

// Rounded Q16.16 division written out, halves away from zero by the sign
// of the dividend.
std::int32_t rounded_div_reference(std::int32_t a, std::int32_t b) {
    const std::int64_t half = (b < 0 ? -static_cast<std::int64_t>(b) : b) / 2;
    const std::int64_t scaled = static_cast<std::int64_t>(a) * 65536 + (a >= 0 ? half : -half);
    return static_cast<std::int32_t>(scaled / b);
}

FovPairX zoom_fov_x_reference(std::int32_t zoom_a, std::int32_t fov, std::int32_t zoom_b) {
    const std::int32_t h = rounded_div_reference(fov, 0x20000);
    const std::int32_t a = viewgeo::q16_mul(h, 1144);
    const std::int32_t c = viewgeo_fx_cosx(a, 16);
    const std::int32_t t = c == 0 ? 0 : rounded_div_reference(viewgeo_fx_sinx(a, 16), c);
    const std::int32_t u = rounded_div_reference(t, zoom_a);
    const std::int32_t w = rounded_div_reference(u, zoom_b);
    return {double_atan_reference(u), double_atan_reference(w)};
}

FovPairX zoom_fov_x(std::int32_t zoom_a, std::int32_t fov, std::int32_t zoom_b) {
    FovPairX out{-1, -1};
    viewgeo_get_zoom_fov_x(zoom_a, fov, zoom_b, &out.a, &out.b);
    return out;
}

TEST(ZoomFovX, DoublingTwiceFromSixtyDegrees) {
    const FovPairX got = zoom_fov_x(0x20000, 60 << 16, 0x20000);
    const FovPairX want = zoom_fov_x_reference(0x20000, 60 << 16, 0x20000);
    EXPECT_EQ(got.a, want.a);
    EXPECT_EQ(got.b, want.b);
    // 32.2042 and 16.4264 degrees, up to the radian factor 1144 (0.016 %
    // large, about 0.005 degrees here) and 2^-16 rad steps of the arc
    // tangent (0.0009 degrees after doubling): 0.02 degrees is ample.
    EXPECT_NEAR(viewgeo::q16_to_float(got.a), 32.2042f, 0.02f);
    EXPECT_NEAR(viewgeo::q16_to_float(got.b), 16.4264f, 0.02f);
}

TEST(ZoomFovX, MatchesTheStepByStepCalculation) {
    const std::int32_t cases[][3] = {
        {0x10000, 60 << 16, 0x10000}, {0x38000, 0x2F4CCD, 0x14000}, {0x8000, 30 << 16, 0x8000},
        {30 << 16, 0x3A3333, 0x10000}, {0x10000, 179 << 16, 10 << 16}, {-0x20000, 60 << 16, 0x20000},
        {0x10000, -(60 << 16), 0x30000},
    };
    for (const auto &c : cases) {
        const FovPairX got = zoom_fov_x(c[0], c[1], c[2]);
        const FovPairX want = zoom_fov_x_reference(c[0], c[1], c[2]);
        EXPECT_EQ(got.a, want.a) << c[0] << " " << c[1] << " " << c[2];
        EXPECT_EQ(got.b, want.b) << c[0] << " " << c[1] << " " << c[2];
    }
}

TEST(ZoomFovX, AgreesWithTheFloatForm) {
    // The factor 1144 enlarges the half angle h by 0.016 % (d = 0.0002 rad
    // at 150 degrees); that moves the tangent by a relative 2 d / sin(2 h),
    // which costs the output at most the same in radians: 0.047 degrees at
    // 150. The arc tangent's 2^-16 rad steps add 0.002 degrees.
    for (int f = 10; f <= 150; f += 20) {
        for (int z = 1; z <= 20; z += 3) {
            const float zoom = static_cast<float>(z) * 0.75f;
            const std::int32_t zoom_x = z * 0xC000;
            const FovPairX x = zoom_fov_x(zoom_x, f << 16, zoom_x);
            const FovPair fl = zoom_fov(zoom, static_cast<float>(f), zoom);
            EXPECT_NEAR(viewgeo::q16_to_float(x.a), fl.a, 0.05f) << f << " " << z;
            EXPECT_NEAR(viewgeo::q16_to_float(x.b), fl.b, 0.05f) << f << " " << z;
        }
    }
}

// The Q16.16 twin of ZoomFov.NarrowsMonotonicallyAsTheZoomGrows, alike on
// purpose.
TEST(ZoomFovX, NarrowsMonotonicallyAsTheZoomGrows) {
    // Every step (rounded division, atanf, rounding, products with positive
    // factors) is non-decreasing in the tangent, so this holds exactly.
    std::int32_t previous_a = INT32_MAX;
    std::int32_t previous_b = INT32_MAX;
    for (std::int32_t zoom = 0x10000; zoom <= (30 << 16); zoom += 0x1999) {
        const FovPairX got = zoom_fov_x(zoom, 60 << 16, zoom);
        EXPECT_LE(got.a, previous_a) << zoom;
        EXPECT_LE(got.b, previous_b) << zoom;
        EXPECT_LE(got.b, got.a) << zoom;
        previous_a = got.a;
        previous_b = got.b;
    }
}

TEST(ZoomFovX, ZeroZoomSaturatesToAboutHalfATurn) {
    // The tangent saturates at 0x7FFFFFFF (32768.0): 2 atanf(32768) is
    // 179.9965 degrees, about what the float form's 180 is.
    const std::int32_t saturated = double_atan_reference(INT32_MAX);
    EXPECT_NEAR(viewgeo::q16_to_float(saturated), 180.0f, 0.02f);
    const FovPairX got = zoom_fov_x(0, 60 << 16, 0x20000);
    EXPECT_EQ(got.a, saturated);
    // 0x7FFFFFFF / 2.0 rounds to 0x40000000 (16384.0).
    EXPECT_EQ(got.b, double_atan_reference(0x40000000));
    const FovPairX second = zoom_fov_x(0x20000, 60 << 16, 0);
    EXPECT_EQ(second.a, zoom_fov_x_reference(0x20000, 60 << 16, 0x20000).a);
    EXPECT_EQ(second.b, saturated);
    // A negative field of view saturates the other way.
    const FovPairX negative = zoom_fov_x(0, -(60 << 16), 0x20000);
    EXPECT_EQ(negative.a, double_atan_reference(INT32_MIN));
}

TEST(ZoomFovX, ZeroFieldOfViewStaysZeroEvenWithZeroZoom) {
    const FovPairX got = zoom_fov_x(0x20000, 0, 0x20000);
    EXPECT_EQ(got.a, 0);
    EXPECT_EQ(got.b, 0);
    const FovPairX zero = zoom_fov_x(0, 0, 0);
    EXPECT_EQ(zero.a, 0);
    EXPECT_EQ(zero.b, 0);
}

TEST(ZoomFovX, FieldOfViewWhoseCosineRoundsToZeroGivesZero) {
    // Near 180 degrees the half angle reaches pi/2 and its fixed-point
    // cosine can be exactly 0; the tangent is then taken as 0.
    std::int32_t fov = 0;
    for (std::int32_t f = 170 << 16; f <= 0xB40000 + 0x10000; f += 2) {
        if (viewgeo_fx_cosx(viewgeo::q16_mul(viewgeo::q16_div(f, 0x20000), 1144), 16) == 0) {
            fov = f;
            break;
        }
    }
    ASSERT_NE(fov, 0) << "no field of view near 180 degrees with a zero cosine";
    const FovPairX got = zoom_fov_x(0x10000, fov, 0x10000);
    EXPECT_EQ(got.a, 0);
    EXPECT_EQ(got.b, 0);
    // One unit either side the tangent is huge and the result near 180.
    const FovPairX below = zoom_fov_x(0x10000, fov - 0x100, 0x10000);
    EXPECT_GT(below.a, 179 << 16);
}

TEST(ZoomFovX, ExtremeWordsStayDefined) {
    const std::int32_t words[] = {INT32_MIN, -1, 0, 1, 0x10000, 0xB40000, INT32_MAX};
    for (std::int32_t z : words) {
        for (std::int32_t f : words) {
            const FovPairX got = zoom_fov_x(z, f, z);
            if (z != 0) {
                const FovPairX want = zoom_fov_x_reference(z, f, z);
                EXPECT_EQ(got.a, want.a) << z << " " << f;
                EXPECT_EQ(got.b, want.b) << z << " " << f;
            }
        }
    }
}

}  // namespace
