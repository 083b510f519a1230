// Compensating a pan/tilt direction for the head's misalignment: plain
// addition near the horizon and tilt +-180, a rotation on the sphere
// elsewhere, wrapping and the flip that keeps the side of the zenith.
#include <cmath>
#include <cstdint>
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "support/misalignment_fixture.h"
#include "support/misalignment_reference.h"
#include "support/temp_root.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

// The fixture, the reference model and the file paths of the test support.
using namespace testing;

struct PanTilt {
    int32_t pan;
    int32_t tilt;
    int32_t returned;
};

class Compensation : public testing::MisalignmentFixture {
protected:
    // A constant offset of the given motor steps (Q16.16) at every zoom.
    void use_offset_steps(int32_t pan_steps, int32_t tilt_steps, uint32_t per_turn = 36000) {
        use_table({{deg(1), pan_steps, tilt_steps}, {deg(100), pan_steps, tilt_steps}}, per_turn);
    }
    // Offsets in hundredths of a degree: 36000 steps per turn.
    void use_offset_centidegrees(int pan, int tilt) { use_offset_steps(deg(pan), deg(tilt)); }
    void use_table(const std::vector<RefEntry> &t, uint32_t per_turn) { MisalignmentFixture::use_table(t, per_turn, per_turn); }
    PanTilt compensate(int32_t pan, int32_t tilt, int add = 1, int32_t zoom = deg(10)) {
        PanTilt out{-7, -7, -7};
        out.returned = viewgeo_compensate_misalignment_offset(ctx, zoom, add, pan, tilt, &out.pan, &out.tilt);
        return out;
    }
    RefOffset reference(int32_t pan, int32_t tilt, int add = 1, int32_t zoom = deg(10)) {
        RefOffset o = testing::ref_offset(table, ctx->pan_rotation_steps, ctx->tilt_rotation_steps, zoom, tilt);
        if (add == 0) o = {testing::ref_sub32(0, o.pan), testing::ref_sub32(0, o.tilt)};
        return testing::ref_compensate(pan, tilt, o.pan, o.tilt);
    }
    void expect_reference(int32_t pan, int32_t tilt, int add = 1, int32_t zoom = deg(10)) {
        const PanTilt got = compensate(pan, tilt, add, zoom);
        const RefOffset want = reference(pan, tilt, add, zoom);
        EXPECT_EQ(got.pan, want.pan) << "pan " << pan << " tilt " << tilt << " add " << add << " zoom " << zoom;
        EXPECT_EQ(got.tilt, want.tilt) << "pan " << pan << " tilt " << tilt << " add " << add << " zoom " << zoom;
        EXPECT_EQ(got.returned, got.tilt);
    }

};

TEST_F(Compensation, NearTheHorizonTheOffsetIsAdded) {
    use_offset_centidegrees(200, 100);  // (2, 1) degrees
    // 0.3 degrees is the word 19661; 0.300003 + 1 = 85197 / 65536 exactly.
    const PanTilt out = compensate(deg(10), 19661);
    EXPECT_EQ(out.pan, deg(12));
    EXPECT_EQ(out.tilt, 85197);
    EXPECT_EQ(out.returned, 85197);
    const PanTilt back = compensate(deg(10), 19661, 0);
    EXPECT_EQ(back.pan, deg(8));
    EXPECT_EQ(back.tilt, 19661 - kOne);
    // up to half a degree either side
    EXPECT_EQ(compensate(deg(-30), -deg(1) / 2 + 1).tilt, deg(1) / 2 + 1);
    expect_reference(deg(-30), -deg(1) / 2);  // 0.5 itself is not in the band
}

TEST_F(Compensation, AnyNonzeroAddAppliesTheOffsetAsItIs) {
    use_offset_centidegrees(200, 100);
    const PanTilt one = compensate(deg(10), 19661, 1);
    const PanTilt other = compensate(deg(10), 19661, -5);
    EXPECT_EQ(one.pan, other.pan);
    EXPECT_EQ(one.tilt, other.tilt);
}

TEST_F(Compensation, HorizonSumWrapsIntoHalfATurn) {
    use_offset_centidegrees(200, 100);
    EXPECT_EQ(compensate(deg(179), 0).pan, deg(-179));
    EXPECT_EQ(compensate(deg(-179), 0, 0).pan, deg(179));
    EXPECT_EQ(compensate(deg(178), 0).pan, deg(180));  // 180 itself stays
}

TEST_F(Compensation, NearTiltHalfATurnTheOffsetIsAddedMirrored) {
    use_offset_centidegrees(200, 100);
    // Tilt 179.8 (word 11783373): T' = -(T + 180) - 1 = -360.8 -> -0.8,
    // P' = (10 + 180) - 2 = 188 -> -172; the pan turned by 182 degrees, so
    // it flips back to 8 and the tilt becomes -180 + 0.8 = -179.2.
    const PanTilt out = compensate(deg(10), 11783373);
    EXPECT_EQ(out.pan, deg(8));
    EXPECT_NEAR(out.tilt / 65536.0, -179.2, 2e-5);
    expect_reference(deg(10), 11783373);
    expect_reference(deg(10), -11783373);
    expect_reference(deg(-100), deg(180));
}

TEST_F(Compensation, GeneralCaseRotatesOnTheSphere) {
    use_offset_centidegrees(200, 100);
    for (int t : {-60, -30, 1, 20, 45, 60, 80, 100, 135, 170}) {
        for (int p : {-170, -90, 0, 33, 179}) expect_reference(deg(p), deg(t));
    }
    // At tilt 45 a tilt offset of 1 degree raises the direction by about a
    // degree, and the pan offset of 2 degrees turns it to the right.
    const PanTilt out = compensate(deg(10), deg(45));
    EXPECT_GT(out.pan, deg(11));
    EXPECT_LT(out.pan, deg(14));
    EXPECT_GT(out.tilt, deg(45));
    EXPECT_LT(out.tilt, deg(47));
}

// The general case against the same spherical formula in double precision:
// the single-precision steps stay within a few thousandths of a degree.
TEST_F(Compensation, GeneralCaseFollowsTheSphericalFormula) {
    use_offset_centidegrees(300, -150);
    for (int t : {-60, -20, 10, 30, 50, 70}) {
        const double P = 40.0;
        const double T = t;
        const double dp = 3.0 * M_PI / 180.0;
        const double dt = -1.5 * M_PI / 180.0;
        const double c = M_PI / 2 - T * M_PI / 180.0;
        const double s = std::cos(dt) * std::cos(c) * std::cos(dp) + std::sin(dt) * std::sin(c);
        const double lat = std::asin(s);
        const double q = (std::sin(dt) - std::sin(c) * s) / (std::cos(c) * std::cos(lat));
        const double A = 2.0 * M_PI - std::acos(q);
        double pan = (P * M_PI / 180.0 + A - M_PI) * 180.0 / M_PI;
        if (pan > 180.0) pan -= 360.0;
        const PanTilt out = compensate(deg(40), deg(t));
        // The acos near pi loses about sqrt(float epsilon): a few 1e-3 degrees.
        EXPECT_NEAR(out.pan / 65536.0, pan, 5e-3) << t;
        EXPECT_NEAR(out.tilt / 65536.0, lat * 180.0 / M_PI, 5e-3) << t;
    }
}

TEST_F(Compensation, TiltsAroundThePolesFadeOrZeroTheOffset) {
    use_offset_centidegrees(300, -200);
    for (int t : {-110, -95, -90, -85, -80, -70, 85, 90, 95}) {
        for (int add : {0, 1}) expect_reference(deg(25), deg(t), add);
    }
    // Zero offsets inside the bands return the input as it is.
    for (int t : {-95, -90, -85, 85, 90, 95}) {
        const PanTilt out = compensate(deg(25), deg(t));
        EXPECT_EQ(out.pan, deg(25)) << t;
        EXPECT_EQ(out.tilt, deg(t)) << t;
    }
    // A third of the offset at -80 still moves the direction.
    EXPECT_NE(compensate(deg(25), deg(-80)).tilt, deg(-80));
}

TEST_F(Compensation, RandomDirectionsZoomsAndOffsetsMatchTheReference) {
    std::mt19937 rng(1234u);
    for (int k = 0; k < 40; ++k) {
        const int32_t ps = static_cast<int32_t>(rng() % (2000 * 65536)) - 1000 * 65536;
        const int32_t ts = static_cast<int32_t>(rng() % (2000 * 65536)) - 1000 * 65536;
        use_table({{deg(1), ps, ts}, {deg(30), ts, ps}, {deg(100), ps / 3, ts / 2}}, 3600 + rng() % 100000);
        for (int j = 0; j < 100; ++j) {
            const int32_t pan = static_cast<int32_t>(rng() % (360 * 65536)) - 180 * 65536;
            const int32_t tilt = static_cast<int32_t>(rng() % (360 * 65536)) - 180 * 65536;
            const int32_t zoom = static_cast<int32_t>(rng() % (120 * 65536));
            expect_reference(pan, tilt, static_cast<int>(rng() % 2), zoom);
        }
    }
}

TEST_F(Compensation, NegligibleOffsetsReturnTheInput) {
    // 1 step of 36000 per turn is 655 units, 0.0099945 degrees.
    use_offset_steps(kOne, -kOne);
    std::mt19937 rng(3u);
    for (int k = 0; k < 500; ++k) {
        const int32_t pan = static_cast<int32_t>(rng() % (256 * 65536)) - 128 * 65536 + 1;
        const int32_t tilt = static_cast<int32_t>(rng() % (256 * 65536)) - 128 * 65536 + 1;
        const PanTilt out = compensate(pan, tilt, static_cast<int>(rng() % 2));
        EXPECT_EQ(out.pan, pan);
        EXPECT_EQ(out.tilt, tilt);
    }
    // 2 steps (1311 units, 0.020004 degrees) are applied.
    use_offset_steps(2 * kOne, 0);
    EXPECT_EQ(compensate(deg(10), 0).pan, deg(10) + 1311);
}

TEST_F(Compensation, NoDataReturnsTheInputBelow128Degrees) {
    ctx->mo_state = 0;  // no data file in the test root: zero offsets
    for (int32_t w : {0, 1, -1, deg(90), deg(-90), deg(127), 8388607, -8388607, 8388608, -8388608}) {
        const PanTilt out = compensate(w, w);
        EXPECT_EQ(out.pan, w) << w;
        EXPECT_EQ(out.tilt, w) << w;
        EXPECT_EQ(out.returned, w) << w;
    }
}

TEST_F(Compensation, AboveHalfTheDynamicRangeOfTheFloatAWordMovesByOneUnit) {
    ctx->mo_state = 0;
    // 128 + 2^-16 degrees goes through float and back: the single-precision
    // sum with the half rounds to even.
    PanTilt out = compensate(8388609, 8388609);
    EXPECT_EQ(out.pan, 8388610);
    EXPECT_EQ(out.tilt, 8388610);
    out = compensate(-8388609, -8388611);
    EXPECT_EQ(out.pan, -8388610);
    EXPECT_EQ(out.tilt, -8388612);
    // Even words in [128, 256) are kept.
    out = compensate(8388610, -16777214);
    EXPECT_EQ(out.pan, 8388610);
    EXPECT_EQ(out.tilt, -16777214);
    // From 256 degrees on the word itself has more bits than a float: odd
    // words round to even on the way in, and the half has no effect.
    out = compensate(deg(256) + 1, deg(300) + 3);
    EXPECT_EQ(out.pan, deg(256));
    EXPECT_EQ(out.tilt, deg(300) + 4);
    out = compensate(deg(256) + 2, deg(-300) - 6);
    EXPECT_EQ(out.pan, deg(256) + 2);
    EXPECT_EQ(out.tilt, deg(-300) - 6);
}

TEST_F(Compensation, DefaultDataFileReturnsTheInput) {
    root.write(kDataFile, "PTZCAL_MECH_OFFSET=0,0\nPAN_ROTATION_STEPS=36000\nTILT_ROTATION_STEPS=36000\n");
    const testing::View c_view;
    viewgeo_context *c = c_view.get();
    ASSERT_EQ(c->mo_state, 1);
    ASSERT_EQ(c->mo_count, 2);
    std::mt19937 rng(8u);
    for (int k = 0; k < 300; ++k) {
        const int32_t pan = static_cast<int32_t>(rng() % (250 * 65536)) - 125 * 65536;
        const int32_t tilt = static_cast<int32_t>(rng() % (250 * 65536)) - 125 * 65536;
        int32_t p = 0;
        int32_t t = 0;
        EXPECT_EQ(viewgeo_compensate_misalignment_offset(c, deg(50), k % 2, pan, tilt, &p, &t), tilt);
        EXPECT_EQ(p, pan);
        EXPECT_EQ(t, tilt);
    }
}

TEST_F(Compensation, DataFileWrittenAfterCreationIsApplied) {
    ctx->mo_state = 0;
    ctx->mo_count = 0;
    EXPECT_EQ(compensate(deg(10), 0).pan, deg(10));
    root.write(kDataFile, "PTZCAL_OPT_OFFSET=1,-200,-100;100,-200,-100\nPAN_ROTATION_STEPS=36000\nTILT_ROTATION_STEPS=36000\n");
    const PanTilt out = compensate(deg(10), 19661);
    EXPECT_EQ(out.pan, deg(12));
    EXPECT_EQ(out.tilt, 85197);
    EXPECT_EQ(ctx->mo_state, 1);
}

TEST_F(Compensation, ExtremeOffsetsAndDirectionsAreDefined) {
    std::mt19937 rng(77u);
    const int32_t words[] = {INT32_MIN, INT32_MIN + 1, -1, 0, 1, INT32_MAX - 1, INT32_MAX, deg(-180), deg(180), deg(360)};
    for (uint32_t per_turn : {1u, 7u, 36000u, 4294967295u}) {
        use_table({{INT32_MIN, INT32_MIN, INT32_MAX}, {0, INT32_MAX, INT32_MIN}, {INT32_MAX, 12345, -54321}}, per_turn);
        for (int32_t pan : words) {
            for (int32_t tilt : words) {
                expect_reference(pan, tilt, 1, 0);
                expect_reference(pan, tilt, 0, INT32_MAX);
            }
        }
        for (int k = 0; k < 200; ++k) expect_reference(static_cast<int32_t>(rng()), static_cast<int32_t>(rng()), k % 2, static_cast<int32_t>(rng()));
    }
}

// Round trips: the offset applied, then its negation applied to the result.
struct RoundTrip {
    int32_t pan_error;
    int32_t tilt_error;
};

class CompensationRoundTrip : public Compensation {
protected:
    RoundTrip round_trip(int pan_centideg, int tilt_centideg, int32_t pan, int32_t tilt) {
        use_offset_centidegrees(pan_centideg, tilt_centideg);
        const PanTilt there = compensate(pan, tilt, 1);
        const PanTilt back = compensate(there.pan, there.tilt, 0);
        return {std::abs(back.pan - pan), std::abs(back.tilt - tilt)};
    }
    std::mt19937 rng{2025u};
    int centidegrees(int max) { return static_cast<int>(rng() % (2 * max + 1)) - max; }
    // A tilt 5 to 65 degrees above or below the horizon: clear of the
    // additive bands, the zero and fade bands and the poles.
    int32_t mid_tilt() {
        const int32_t t = static_cast<int32_t>(rng() % (60 * 65536)) + 5 * 65536;
        return rng() % 2 ? -t : t;
    }
    int32_t any_pan() { return static_cast<int32_t>(rng() % (340 * 65536)) - 170 * 65536; }
    // A small offset (a random bound up to 3 degrees, each axis within it)
    // there and back at a random pan and a mid tilt: the offset in
    // centidegrees, the tilt, the errors, and the offset and |tilt| in
    // radians.
    struct SmallTrip {
        int pc;
        int tc;
        int32_t tilt;
        RoundTrip e;
        double dp;
        double dt;
        double T;
    };
    SmallTrip small_offset_round_trip() {
        const int max = 1 + static_cast<int>(rng() % 300);
        const int pc = centidegrees(max);
        const int tc = centidegrees(max);
        const int32_t tilt = mid_tilt();
        const RoundTrip e = round_trip(pc, tc, any_pan(), tilt);
        return {pc, tc, tilt, e, pc / 100.0 * M_PI / 180.0, tc / 100.0 * M_PI / 180.0,
                std::fabs(tilt / 65536.0) * M_PI / 180.0};
    }
};

// Plain addition both ways: back to the input word exactly below 128
// degrees, within the float conversion's unit either way above.
TEST_F(CompensationRoundTrip, NearTheHorizonReturnsTheInput) {
    for (int k = 0; k < 3000; ++k) {
        const int32_t tilt = static_cast<int32_t>(rng() % 16384) - 8192;  // within 1/8 degree
        const int32_t pan = static_cast<int32_t>(rng() % (250 * 65536)) - 125 * 65536;
        const RoundTrip e = round_trip(centidegrees(300), centidegrees(30), pan, tilt);
        EXPECT_EQ(e.pan_error, 0) << pan;
        EXPECT_EQ(e.tilt_error, 0) << tilt;
    }
    for (int k = 0; k < 3000; ++k) {
        const int32_t tilt = static_cast<int32_t>(rng() % 16384) - 8192;
        int32_t pan = static_cast<int32_t>(rng() % (50 * 65536)) + 128 * 65536;
        if (rng() % 2) pan = -pan;
        const RoundTrip e = round_trip(centidegrees(300), centidegrees(30), pan, tilt);
        EXPECT_LE(e.pan_error, 2) << pan;
        EXPECT_EQ(e.tilt_error, 0) << tilt;
    }
}

// Elsewhere the negated offset is applied in the frame of the moved
// direction, so the two rotations are not inverse: the tilt comes back to
// second order in the offset, about (dp^2 + dt^2) tan|T| radians.
TEST_F(CompensationRoundTrip, ElsewhereTheTiltReturnsToSecondOrderInTheOffset) {
    for (int k = 0; k < 5000; ++k) {
        const SmallTrip s = small_offset_round_trip();
        // 1.5 times the second-order term, plus a few units of float rounding
        const double bound = 1.5 * (s.dp * s.dp + s.dt * s.dt) * std::tan(s.T) * 180.0 / M_PI * 65536.0 + 4.0;
        EXPECT_LE(s.e.tilt_error, bound) << s.pc << " " << s.tc << " " << s.tilt;
    }
}

// A pure tilt offset moves the direction along its meridian and back; the
// pan only picks up the rounding of the arc cosine near pi in single
// precision (q a few float steps above -1 gives an azimuth off by up to
// about 0.12 degrees).
TEST_F(CompensationRoundTrip, PureTiltOffsetReturnsTheTiltWithinTwoUnits) {
    int32_t worst_pan = 0;
    for (int k = 0; k < 3000; ++k) {
        const RoundTrip e = round_trip(0, centidegrees(300), any_pan(), mid_tilt());
        EXPECT_LE(e.tilt_error, 2);
        worst_pan = std::max(worst_pan, e.pan_error);
    }
    EXPECT_LE(worst_pan, 0.15 * 65536);
}

// Small offsets: the pan comes back to the arc-cosine rounding above plus
// the second-order terms of the offset.
TEST_F(CompensationRoundTrip, ElsewhereThePanReturnsWithinTheArcCosineRounding) {
    for (int k = 0; k < 5000; ++k) {
        const SmallTrip s = small_offset_round_trip();
        const double second_order =
            (2.0 * std::fabs(s.dp * s.dt) / std::cos(s.T) + s.dp * s.dp) * std::tan(s.T) * 180.0 / M_PI;
        EXPECT_LE(s.e.pan_error, (0.15 + second_order) * 65536.0) << s.pc << " " << s.tc << " " << s.tilt;
    }
}

}  // namespace
}  // namespace viewgeo
