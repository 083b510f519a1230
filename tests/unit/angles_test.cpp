// The shared angle rules: the factors' bits, the once-only pan wrap and the
// pan offset with its +-180 asymmetry, in float and in Q16.16.
#include <bit>
#include <cstdint>
#include <gtest/gtest.h>

#include "core/angles.h"
#include "core/q16.h"
#include "support/view.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

using testing::deg;

TEST(AngleFactors, ExportedConstantsCarryTheSharedBits) {
    EXPECT_EQ(std::bit_cast<std::uint32_t>(dtor_f), std::bit_cast<std::uint32_t>(kDegToRadF));
    EXPECT_EQ(std::bit_cast<std::uint32_t>(rtod_f), std::bit_cast<std::uint32_t>(kRadToDegF));
    EXPECT_EQ(std::bit_cast<std::uint32_t>(kDegToRadF), 0x3C8EFA35u);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(kRadToDegF), 0x42652EE1u);
    EXPECT_EQ(dtor_x, 0x478);
    EXPECT_EQ(rtod_x, 0x394BB8);
}

TEST(WrapPan, FixedPointFoldsOnlyPastHalfATurnAndOnlyOnce) {
    EXPECT_EQ(wrap_pan(deg(180)), deg(180));
    EXPECT_EQ(wrap_pan(deg(-180)), deg(-180));
    EXPECT_EQ(wrap_pan(deg(180) + 1), deg(-180) + 1);
    EXPECT_EQ(wrap_pan(deg(-180) - 1), deg(180) - 1);
    EXPECT_EQ(wrap_pan(deg(600)), deg(240));  // one turn only
}

TEST(WrapPan, FloatAndFixedPointAgreeOnWholeDegrees) {
    for (int d = -540; d <= 540; ++d) {
        EXPECT_EQ(q16_from_float(wrap_pan(static_cast<float>(d))), wrap_pan(deg(d))) << d;
    }
}

TEST(PanOffset, ExactlyHalfATurnAheadBecomesMinus180AndBehindStaysPlus180) {
    EXPECT_EQ(pan_offset(deg(180), deg(0)), deg(-180));
    EXPECT_EQ(pan_offset(deg(0), deg(180)), deg(180));
    EXPECT_EQ(pan_offset(180.0f, 0.0f), -180.0f);
    EXPECT_EQ(pan_offset(0.0f, 180.0f), 180.0f);
}

TEST(PanOffset, TakesTheShortWayRoundAcrossTheBackOfTheTurn) {
    EXPECT_EQ(pan_offset(deg(170), deg(-170)), deg(-20));
    EXPECT_EQ(pan_offset(deg(-170), deg(170)), deg(20));
    EXPECT_EQ(pan_offset(170.0f, -170.0f), -20.0f);
    EXPECT_EQ(pan_offset(-170.0f, 170.0f), 20.0f);
    EXPECT_EQ(pan_offset(deg(30), deg(10)), deg(20));
    EXPECT_EQ(pan_offset(10.0f, 30.0f), -20.0f);
}

TEST(PanOffset, FloatAndFixedPointAgreeOnWholeDegrees) {
    for (int p = -180; p <= 180; p += 5) {
        for (int c = -180; c <= 180; c += 5) {
            EXPECT_EQ(q16_from_float(pan_offset(static_cast<float>(p), static_cast<float>(c))), pan_offset(deg(p), deg(c)))
                << p << " from " << c;
        }
    }
}

}  // namespace
}  // namespace viewgeo
