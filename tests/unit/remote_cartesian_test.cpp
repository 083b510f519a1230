// Directions as pan/tilt and as vectors.
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "viewgeo.h"

namespace {

// theta = (90 - 0) * pi/180 in single precision: 1.57079637050628662109375
// (bits 0x3FC90FDB), just above pi/2.
constexpr double kThetaOfTiltZero = 1.57079637050628662109375;

TEST(PtzToCartesian, PanZeroTiltZeroPointsAlongX) {
    float x, y, z;
    viewgeo_ptz_to_cartesian_f(0.0f, 0.0f, &x, &y, &z);
    EXPECT_EQ(x, 1.0f);
    EXPECT_EQ(y, 0.0f);
    // cos of a theta just above pi/2: -4.371139e-08 rather than +6e-17.
    EXPECT_EQ(z, static_cast<float>(std::cos(kThetaOfTiltZero)));
    EXPECT_FLOAT_EQ(z, -4.3711388e-08f);
    EXPECT_LT(z, 0.0f);
}

TEST(PtzToCartesian, PanNinetyPointsAlongY) {
    float x, y, z;
    viewgeo_ptz_to_cartesian_f(90.0f, 0.0f, &x, &y, &z);
    // pan 90 gives the same single-precision angle as the tilt: cos of it is
    // the same small negative number.
    EXPECT_EQ(x, static_cast<float>(std::sin(kThetaOfTiltZero) * std::cos(kThetaOfTiltZero)));
    EXPECT_FLOAT_EQ(x, -4.3711388e-08f);
    EXPECT_EQ(y, 1.0f);
    EXPECT_EQ(z, static_cast<float>(std::cos(kThetaOfTiltZero)));
}

TEST(PtzToCartesian, TiltNinetyPointsUpForAnyPan) {
    for (float pan : {-180.0f, -90.0f, 0.0f, 33.3f, 90.0f, 180.0f}) {
        float x, y, z;
        viewgeo_ptz_to_cartesian_f(pan, 90.0f, &x, &y, &z);
        EXPECT_EQ(x, 0.0f) << pan;  // sin 0 = 0 exactly
        EXPECT_EQ(y, 0.0f) << pan;
        EXPECT_EQ(z, 1.0f) << pan;
    }
}

TEST(PtzToCartesian, MatchesTheSinglePrecisionAnglesWithDoubleTrigonometry) {
    const float dtor = 0.017453292f;  // bits 0x3C8EFA35
    for (float pan = -175.0f; pan <= 180.0f; pan += 12.5f) {
        for (float tilt = -85.0f; tilt <= 90.0f; tilt += 17.5f) {
            const double theta = static_cast<double>((90.0f - tilt) * dtor);
            const double phi = static_cast<double>(pan * dtor);
            float x, y, z;
            viewgeo_ptz_to_cartesian_f(pan, tilt, &x, &y, &z);
            EXPECT_EQ(x, static_cast<float>(std::sin(theta) * std::cos(phi)));
            EXPECT_EQ(y, static_cast<float>(std::sin(theta) * std::sin(phi)));
            EXPECT_EQ(z, static_cast<float>(std::cos(theta)));
        }
    }
}

TEST(PtzToCartesian, GivesUnitVectors) {
    for (float pan = -180.0f; pan <= 180.0f; pan += 7.0f) {
        for (float tilt = -90.0f; tilt <= 90.0f; tilt += 5.0f) {
            float x, y, z;
            viewgeo_ptz_to_cartesian_f(pan, tilt, &x, &y, &z);
            const double len = std::sqrt(double(x) * x + double(y) * y + double(z) * z);
            // Three single-precision roundings of components of at most 1.
            EXPECT_NEAR(len, 1.0, 2e-7) << pan << " " << tilt;
        }
    }
}

TEST(PtzToCartesian, NegatedPanMirrorsY) {
    for (float pan = 1.0f; pan < 180.0f; pan += 13.0f) {
        float x1, y1, z1, x2, y2, z2;
        viewgeo_ptz_to_cartesian_f(pan, 20.0f, &x1, &y1, &z1);
        viewgeo_ptz_to_cartesian_f(-pan, 20.0f, &x2, &y2, &z2);
        EXPECT_EQ(x1, x2);
        EXPECT_EQ(y1, -y2);
        EXPECT_EQ(z1, z2);
    }
}

TEST(CartesianToPtz, ZeroVectorFailsAndLeavesOutputs) {
    float pan = 7.0f, tilt = 8.0f;
    EXPECT_EQ(viewgeo_cartesian_to_ptz_f(0.0f, 0.0f, 0.0f, &pan, &tilt), -1);
    EXPECT_EQ(pan, 7.0f);
    EXPECT_EQ(tilt, 8.0f);
    EXPECT_EQ(viewgeo_cartesian_to_ptz_f(-0.0f, 0.0f, -0.0f, &pan, &tilt), -1);
}

TEST(CartesianToPtz, NanLengthFails) {
    float pan = 7.0f, tilt = 8.0f;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(viewgeo_cartesian_to_ptz_f(nan, 0.0f, 1.0f, &pan, &tilt), -1);
    EXPECT_EQ(viewgeo_cartesian_to_ptz_f(0.0f, 0.0f, nan, &pan, &tilt), -1);
    EXPECT_EQ(pan, 7.0f);
    EXPECT_EQ(tilt, 8.0f);
}

TEST(CartesianToPtz, StraightUpIsTiltNinetyPanZero) {
    float pan = 7.0f, tilt = 8.0f;
    EXPECT_EQ(viewgeo_cartesian_to_ptz_f(0.0f, 0.0f, 5.0f, &pan, &tilt), 0);
    EXPECT_EQ(pan, 0.0f);  // atan2(0, 0)
    EXPECT_EQ(tilt, 90.0f);
}

TEST(CartesianToPtz, StraightDownIsTiltMinusNinety) {
    float pan, tilt;
    EXPECT_EQ(viewgeo_cartesian_to_ptz_f(0.0f, 0.0f, -2.0f, &pan, &tilt), 0);
    // 90 - float(pi) * 57.29578 = 90 - 180.0 in single precision.
    EXPECT_EQ(tilt, -90.0f);
}

TEST(CartesianToPtz, MinusXIsPanPlus180NeverMinus180) {
    float pan, tilt;
    EXPECT_EQ(viewgeo_cartesian_to_ptz_f(-1.0f, 0.0f, 0.0f, &pan, &tilt), 0);
    // atan2 gives +pi; float(pi) * 57.29578 rounds to 180.0 exactly.
    EXPECT_EQ(pan, 180.0f);
    EXPECT_EQ(tilt, 0.0f);
}

TEST(CartesianToPtz, MinusYIsPanMinus90) {
    float pan, tilt;
    EXPECT_EQ(viewgeo_cartesian_to_ptz_f(0.0f, -1.0f, 0.0f, &pan, &tilt), 0);
    EXPECT_EQ(pan, -90.0f);
    EXPECT_EQ(tilt, 0.0f);
}

TEST(CartesianToPtz, FollowsTheSinglePrecisionSteps) {
    const float rtod = 57.29578f;  // bits 0x42652EE1
    const float vectors[][3] = {{1.0f, 2.0f, 3.0f}, {-0.3f, 0.4f, -0.5f}, {1e-3f, -7.0f, 0.25f}};
    for (const auto &v : vectors) {
        const float r = std::sqrt((v[0] * v[0] + v[1] * v[1]) + v[2] * v[2]);
        const double theta = std::acos(static_cast<double>(v[2] / r));
        const float want_pan = static_cast<float>(std::atan2(double(v[1]), double(v[0]))) * rtod;
        const float want_tilt = 90.0f - static_cast<float>(theta) * rtod;
        float pan, tilt;
        ASSERT_EQ(viewgeo_cartesian_to_ptz_f(v[0], v[1], v[2], &pan, &tilt), 0);
        EXPECT_EQ(pan, want_pan);
        EXPECT_EQ(tilt, want_tilt);
    }
}

TEST(CartesianToPtz, LengthOfTheVectorDoesNotMatter) {
    // Scaling by a power of two is exact all the way through.
    for (float s : {0.25f, 2.0f, 1024.0f}) {
        float pan1, tilt1, pan2, tilt2;
        ASSERT_EQ(viewgeo_cartesian_to_ptz_f(0.3f, -0.7f, 0.2f, &pan1, &tilt1), 0);
        ASSERT_EQ(viewgeo_cartesian_to_ptz_f(0.3f * s, -0.7f * s, 0.2f * s, &pan2, &tilt2), 0);
        EXPECT_EQ(pan1, pan2);
        EXPECT_EQ(tilt1, tilt2);
    }
}

TEST(CartesianRoundTrip, ReproducesPanAndTilt) {
    for (float pan = -179.0f; pan <= 180.0f; pan += 11.0f) {
        for (float tilt = -85.0f; tilt <= 85.0f; tilt += 8.5f) {
            float x, y, z, pan2, tilt2;
            viewgeo_ptz_to_cartesian_f(pan, tilt, &x, &y, &z);
            ASSERT_EQ(viewgeo_cartesian_to_ptz_f(x, y, z, &pan2, &tilt2), 0);
            // Single-precision components carry about 6e-8 relative error;
            // near the poles acos turns that into a few 1e-5 degrees.
            EXPECT_NEAR(pan2, pan, 1e-3f) << pan << " " << tilt;
            EXPECT_NEAR(tilt2, tilt, 1e-3f) << pan << " " << tilt;
        }
    }
}

}  // namespace
