// Quadrant code and polynomial corrections of the overview camera.
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

#include "viewgeo.h"

namespace {

TEST(OvistaMovementDir, WorkedExamples) {
    EXPECT_EQ(ovista_get_movement_dir(0, 5), 0);
    EXPECT_EQ(ovista_get_movement_dir(1, 5), 1);
    EXPECT_EQ(ovista_get_movement_dir(0, -5), 2);
    EXPECT_EQ(ovista_get_movement_dir(7, 0), 4);
    EXPECT_EQ(ovista_get_movement_dir(0, 0), 4);
}

TEST(OvistaMovementDir, ZeroOffsetCountsAsNotLeft) {
    EXPECT_EQ(ovista_get_movement_dir(-1, 1), 0);
    EXPECT_EQ(ovista_get_movement_dir(0, 1), 0);
    EXPECT_EQ(ovista_get_movement_dir(1, 1), 1);
    EXPECT_EQ(ovista_get_movement_dir(-1, -1), 2);
    EXPECT_EQ(ovista_get_movement_dir(0, -1), 2);
    EXPECT_EQ(ovista_get_movement_dir(1, -1), 3);
}

TEST(OvistaMovementDir, RowOfTheCentreIsCodeFourWhateverTheSide) {
    for (int dx : {INT_MIN, -1000, -1, 0, 1, 1000, INT_MAX}) EXPECT_EQ(ovista_get_movement_dir(dx, 0), 4) << dx;
}

TEST(OvistaMovementDir, ExtremeOffsetsKeepTheirQuadrant) {
    EXPECT_EQ(ovista_get_movement_dir(INT_MIN, INT_MAX), 0);
    EXPECT_EQ(ovista_get_movement_dir(INT_MAX, INT_MAX), 1);
    EXPECT_EQ(ovista_get_movement_dir(INT_MIN, INT_MIN), 2);
    EXPECT_EQ(ovista_get_movement_dir(INT_MAX, INT_MIN), 3);
}

TEST(OvistaCompensator, QuadraticWorkedExample) {
    const viewgeo_ovista_compensator comp = {1, 1.0f, 2.0f, 3.0f, 100.0f};
    EXPECT_EQ(compensate_error(&comp, 2.0f), 11.0f);  // 4 + 4 + 3; D is ignored
    EXPECT_EQ(compensate_quadr(2.0f, 1.0f, 2.0f, 3.0f), 11.0f);
}

TEST(OvistaCompensator, CubicWorkedExample) {
    const viewgeo_ovista_compensator comp = {2, 1.0f, 0.0f, 0.0f, 1.0f};
    EXPECT_EQ(compensate_error(&comp, 2.0f), 9.0f);  // 8 + 1
    EXPECT_EQ(compensate_cubic(2.0f, 1.0f, 0.0f, 0.0f, 1.0f), 9.0f);
}

TEST(OvistaCompensator, OtherTypesGiveNoCorrection) {
    for (int type : {0, 3, -1, 4, INT_MAX, INT_MIN}) {
        const viewgeo_ovista_compensator comp = {type, 1.0f, 2.0f, 3.0f, 4.0f};
        EXPECT_EQ(compensate_error(&comp, 2.0f), 0.0f) << type;
    }
}

TEST(OvistaCompensator, QuadraticAddsTermsLeftToRightInSinglePrecision) {
    // x*x*a = 2^24, x*b = 1, c = 1: (2^24 + 1) + 1 rounds to 2^24 twice
    // (ties to even), while 2^24 + (1 + 1) would be exact at 2^24 + 2.
    EXPECT_EQ(compensate_quadr(4096.0f, 1.0f, 1.0f / 4096.0f, 1.0f), 16777216.0f);
}

TEST(OvistaCompensator, CubicAddsTermsLeftToRightInSinglePrecision) {
    // s*x*a = 2^24 and s*b = x*c = d = 1: each single-precision sum rounds
    // back to 2^24; any other grouping of the three ones would show them.
    EXPECT_EQ(compensate_cubic(256.0f, 1.0f, 1.0f / 65536.0f, 1.0f / 256.0f, 1.0f), 16777216.0f);
}

TEST(OvistaCompensator, CubicMultipliesTheCubeBeforeTheCoefficient) {
    // x = 2^43, a = 2^-100: (x*x*x)*a overflows to infinity at 2^129, where
    // x*x*(x*a) would have given 2^29.
    EXPECT_EQ(compensate_cubic(8796093022208.0f, 7.888609052210118e-31f, 0.0f, 0.0f, 0.0f),
              std::numeric_limits<float>::infinity());
}

TEST(OvistaCompensator, NonFiniteInputsPropagate) {
    const viewgeo_ovista_compensator quad = {1, 1.0f, 1.0f, 0.0f, 0.0f};
    EXPECT_TRUE(std::isnan(compensate_error(&quad, std::numeric_limits<float>::quiet_NaN())));
    EXPECT_EQ(compensate_error(&quad, std::numeric_limits<float>::infinity()), std::numeric_limits<float>::infinity());
    EXPECT_EQ(compensate_error(&quad, 1e30f), std::numeric_limits<float>::infinity());
    // 0 * inf inside the polynomial: NaN, not a trap.
    const viewgeo_ovista_compensator no_b = {1, 1.0f, 0.0f, 0.0f, 0.0f};
    EXPECT_TRUE(std::isnan(compensate_error(&no_b, std::numeric_limits<float>::infinity())));
    const viewgeo_ovista_compensator zero_a = {2, 0.0f, 0.0f, 0.0f, 0.0f};
    EXPECT_TRUE(std::isnan(compensate_error(&zero_a, std::numeric_limits<float>::infinity())));
}

TEST(OvistaCompensator, QuadraticIsSymmetricWithoutLinearTerm) {
    for (float x = -180.0f; x <= 180.0f; x += 7.25f) {
        EXPECT_EQ(compensate_quadr(x, 0.001f, 0.0f, 0.5f), compensate_quadr(-x, 0.001f, 0.0f, 0.5f)) << x;
    }
}

TEST(OvistaCompensator, CubicIsOddWithOnlyOddTerms) {
    for (float x = -180.0f; x <= 180.0f; x += 7.25f) {
        EXPECT_EQ(compensate_cubic(x, 1e-5f, 0.0f, 0.02f, 0.0f), -compensate_cubic(-x, 1e-5f, 0.0f, 0.02f, 0.0f)) << x;
    }
}

}  // namespace
