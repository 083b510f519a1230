// Zoom magnification and the field of view after a zoom factor.
#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

#include "core/q16.h"
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

}  // namespace
