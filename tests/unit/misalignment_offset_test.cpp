// The misalignment offset: table lookup and interpolation at a zoom, motor
// steps to degrees, and the zero band and fade near the poles.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "support/misalignment_fixture.h"
#include "support/misalignment_reference.h"
#include "support/temp_root.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

// The fixture, the reference model and the file paths of the test support.
using namespace testing;

struct Offset {
    int32_t pan;
    int32_t tilt;
    bool operator==(const Offset &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Offset &o) { return out << "{" << o.pan << ", " << o.tilt << "}"; }

// The offset the context gives, outputs starting at -1 so that an output
// left unwritten shows.
Offset offset_of(viewgeo_context *ctx, int32_t zoom, int32_t tilt) {
    Offset o{-1, -1};
    viewgeo_get_misalignment_offset(ctx, zoom, tilt, &o.pan, &o.tilt);
    return o;
}

// A context whose table is given directly, as words (the compiler is tested
// on its own); the load state is 1 so no file is looked for.
class MisalignmentOffset : public testing::MisalignmentFixture {
protected:
    Offset at(int32_t zoom, int32_t tilt) { return offset_of(ctx, zoom, tilt); }
    void expect_reference(int32_t zoom, int32_t tilt) {
        const Offset o = at(zoom, tilt);
        const RefOffset r = testing::ref_offset(table, ctx->pan_rotation_steps, ctx->tilt_rotation_steps, zoom, tilt);
        EXPECT_EQ(o.pan, r.pan) << "zoom " << zoom << " tilt " << tilt;
        EXPECT_EQ(o.tilt, r.tilt) << "zoom " << zoom << " tilt " << tilt;
    }

};

// With 360 steps per turn a step is a degree, so offsets read directly.
TEST_F(MisalignmentOffset, TwoEntriesInterpolateExtrapolateBelowAndClampAbove) {
    use_table({{deg(0), deg(0), deg(0)}, {deg(10), deg(10), deg(20)}}, 360, 360);
    EXPECT_EQ(at(deg(5), 0).pan, deg(5));
    EXPECT_EQ(at(deg(5), 0).tilt, deg(10));
    EXPECT_EQ(at(deg(5) / 2, 0).pan, deg(5) / 2);  // u = 0.25
    EXPECT_EQ(at(deg(0), 0).pan, 0);
    EXPECT_EQ(at(deg(10), 0).pan, deg(10));
    EXPECT_EQ(at(deg(10), 0).tilt, deg(20));
    EXPECT_EQ(at(deg(20), 0).pan, deg(10));  // clamped
    EXPECT_EQ(at(deg(10) + 1, 0).tilt, deg(20));
    EXPECT_EQ(at(deg(-5), 0).pan, deg(-5));  // along the only segment
    EXPECT_EQ(at(deg(-5), 0).tilt, deg(-10));
}

TEST_F(MisalignmentOffset, ThreeEntriesPickTheirSegment) {
    use_table({{deg(0), deg(0), 0}, {deg(10), deg(10), 0}, {deg(20), deg(30), 0}}, 360, 360);
    EXPECT_EQ(at(deg(5), 0).pan, deg(5));
    EXPECT_EQ(at(deg(10), 0).pan, deg(10));  // on a key: the segment that starts there
    EXPECT_EQ(at(deg(15), 0).pan, deg(20));
    EXPECT_EQ(at(deg(20), 0).pan, deg(30));  // last key, u = 1
    EXPECT_EQ(at(deg(25), 0).pan, deg(30));  // clamped
}

TEST_F(MisalignmentOffset, BelowTheFirstKeyALongerTableExtrapolatesAlongItsLastSegment) {
    use_table({{deg(0), deg(0), 0}, {deg(10), deg(10), 0}, {deg(20), deg(30), 0}}, 360, 360);
    // u = (-10 - 10) / 10 = -2 on the segment 10..20: 10 + (-2) * 20 = -30,
    // where the first segment would give -10.
    EXPECT_EQ(at(deg(-10), 0).pan, deg(-30));
}

TEST_F(MisalignmentOffset, ZoomOnTheLastKeyGivesTheLastEntryExactly) {
    use_table({{deg(1), 12345, -777}, {deg(3), 99999, 4321}, {deg(7), 3 * 65536 + 17, -5 * 65536 + 3}}, 65536, 65536);
    // 2^16 steps per turn: offset words times 360 / 65536 in single precision.
    const Offset o = at(deg(7), 0);
    EXPECT_EQ(o.pan, testing::ref_steps_to_degrees(3 * 65536 + 17, 65536));
    EXPECT_EQ(o.tilt, testing::ref_steps_to_degrees(-5 * 65536 + 3, 65536));
    // By hand: 196625 * 360 / 65536 = 1080.0933837890625 (exact in single
    // precision), divided by 65536 steps and scaled back by 65536: 1080.09
    // units, 1080. Likewise -327677 gives -1799.995, -1800.
    EXPECT_EQ(o.pan, 1080);
    EXPECT_EQ(o.tilt, -1800);
}

TEST_F(MisalignmentOffset, FiveEntriesBelowBetweenOnAndAboveTheKeys) {
    use_table({{deg(1), deg(2), deg(-1)},
               {deg(4), deg(5), deg(-3)},
               {deg(9), deg(-2), deg(7)},
               {deg(16), deg(11), deg(0)},
               {deg(25), deg(-40), deg(13)}},
              36000, 9000);
    for (int32_t zoom : {deg(-3), deg(0), deg(1), deg(1) + 1, deg(2), deg(4) - 1, deg(4), deg(6) + 12345, deg(9), deg(12),
                         deg(16), deg(20) + 99, deg(25) - 1, deg(25), deg(25) + 1, deg(100)}) {
        expect_reference(zoom, 0);
        expect_reference(zoom, deg(-80));
    }
    // Hand values: halfway between keys 9 and 16 (zoom 12.5) the pan steps
    // are -2 + 0.5 * 13 = 4.5, which is 4.5 * 360 / 36000 = 0.045 degrees.
    const int32_t z = deg(12) + kOne / 2;
    EXPECT_EQ(at(z, 0).pan, 2949);  // 0.045 * 65536 = 2949.12
    // Below the first key, along the last segment 16..25: u = (0 - 16) / 9.
    expect_reference(deg(0), 0);
}

TEST_F(MisalignmentOffset, TablesOfTwoThreeAndFiveEntriesMatchTheReference) {
    std::mt19937 rng(7u);
    for (int n : {2, 3, 5}) {
        std::vector<RefEntry> t;
        int32_t key = static_cast<int32_t>(rng() % 200000);
        for (int i = 0; i < n; ++i) {
            key += 1 + static_cast<int32_t>(rng() % 2000000);
            t.push_back({key, static_cast<int32_t>(rng() % 20000000) - 10000000, static_cast<int32_t>(rng() % 20000000) - 10000000});
        }
        use_table(t, 1 + rng() % 100000, 1 + rng() % 100000);
        for (int k = 0; k < 200; ++k) {
            const int32_t zoom = static_cast<int32_t>(rng() % 12000000) - 1000000;
            const int32_t tilt = static_cast<int32_t>(rng() % (240 * 65536)) - 120 * 65536;
            expect_reference(zoom, tilt);
        }
        for (const RefEntry &e : t) {
            expect_reference(e.zoom - 1, 0);
            expect_reference(e.zoom, 0);
            expect_reference(e.zoom + 1, 0);
        }
    }
}

class OffsetFade : public MisalignmentOffset {
protected:
    void SetUp() override {
        MisalignmentOffset::SetUp();
        // 3 and -6 degrees at every zoom
        use_table({{deg(1), deg(3), deg(-6)}, {deg(100), deg(3), deg(-6)}}, 360, 360);
    }
};

TEST_F(OffsetFade, ZeroWithinFiveDegreesOfEitherPole) {
    for (int t : {-95, -90, -85, 85, 90, 95}) {
        const Offset o = at(deg(50), deg(t));
        EXPECT_EQ(o.pan, 0) << t;
        EXPECT_EQ(o.tilt, 0) << t;
    }
    EXPECT_EQ(at(deg(50), deg(85) - 1).pan, deg(3));  // hard edge on the zenith side
    EXPECT_EQ(at(deg(50), deg(95) + 1).pan, deg(3));
    EXPECT_EQ(at(deg(50), deg(-85) - 1).pan, 0);
    EXPECT_EQ(at(deg(50), deg(-95) + 1).pan, 0);
}

TEST_F(OffsetFade, TwentyDegreesOffTheNadirAndBeyondIsWhole) {
    for (int t : {-110, -70, -60, 0, 60, 84, 96, 180, -180}) {
        const Offset o = at(deg(50), deg(t));
        EXPECT_EQ(o.pan, deg(3)) << t;
        EXPECT_EQ(o.tilt, deg(-6)) << t;
    }
}

TEST_F(OffsetFade, TenDegreesOffTheNadirScalesByOneThird) {
    for (int t : {-80, -100}) {
        const Offset o = at(deg(50), deg(t));
        // f = (10 - 5) / 15 = 21845 units; 3 deg * f = 196608 * 21845 / 65536 = 65534.9
        EXPECT_EQ(o.pan, 65535) << t;
        EXPECT_EQ(o.tilt, -131070) << t;  // -393216 * 21845 / 65536 = -131069.8
    }
}

TEST_F(OffsetFade, FadeRisesLinearlyFromFiveToTwentyDegreesOffTheNadir) {
    // Just inside the fade the factor rounds to 0 at 5 degrees + 1 unit
    // (1 / 983040 units) and to 1.0 at 20 degrees - 1 unit (983039 / 983040).
    EXPECT_EQ(at(deg(50), deg(-85) + 1).pan, 0);
    EXPECT_EQ(at(deg(50), deg(-95) - 1).pan, 0);
    EXPECT_EQ(at(deg(50), deg(-70) - 1).pan, deg(3));
    EXPECT_EQ(at(deg(50), deg(-110) + 1).pan, deg(3));
    // 12.5 degrees off: f = 7.5 / 15 = 0.5 exactly.
    EXPECT_EQ(at(deg(50), deg(-77) - kOne / 2).pan, deg(3) / 2);
    EXPECT_EQ(at(deg(50), deg(-77) - kOne / 2).tilt, deg(-3));
    int32_t last = -1;
    for (int32_t t = deg(-85) + 1; t < deg(-70); t += 977) {
        const Offset o = at(deg(50), t);
        EXPECT_GE(o.pan, last) << t;
        last = o.pan;
        expect_reference(deg(50), t);
        // symmetric about the nadir
        EXPECT_EQ(o.pan, at(deg(50), deg(-180) - t).pan) << t;
    }
}

TEST_F(OffsetFade, RandomTiltsMatchTheReference) {
    std::mt19937 rng(99u);
    for (int k = 0; k < 2000; ++k) {
        expect_reference(deg(50), static_cast<int32_t>(rng()));
        expect_reference(deg(50), static_cast<int32_t>(rng() % (400 * 65536)) - 200 * 65536);
    }
}

TEST_F(MisalignmentOffset, SingleEntryIsConstant) {
    use_table({{deg(5), deg(2), deg(-1)}}, 360, 360);
    for (int32_t zoom : {INT32_MIN, deg(-5), deg(5), deg(6), INT32_MAX}) {
        EXPECT_EQ(at(zoom, 0).pan, deg(2));
        EXPECT_EQ(at(zoom, 0).tilt, deg(-1));
    }
}

TEST_F(MisalignmentOffset, DuplicateKeysGiveTheLaterEntry) {
    use_table({{deg(5), deg(1), 0}, {deg(5), deg(2), 0}}, 360, 360);
    EXPECT_EQ(at(deg(4), 0).pan, deg(2));
    EXPECT_EQ(at(deg(5), 0).pan, deg(2));
    EXPECT_EQ(at(deg(6), 0).pan, deg(2));
    use_table({{deg(1), deg(0), 0}, {deg(5), deg(4), 0}, {deg(5), deg(9), 0}}, 360, 360);
    EXPECT_EQ(at(deg(3), 0).pan, deg(2));
    EXPECT_EQ(at(deg(5), 0).pan, deg(9));
    EXPECT_EQ(at(deg(0), 0).pan, deg(9));
    EXPECT_EQ(at(deg(7), 0).pan, deg(9));
}

TEST_F(MisalignmentOffset, ZeroStepCountGivesZeroOnThatAxisOnly) {
    use_table({{deg(1), deg(3), deg(4)}, {deg(2), deg(3), deg(4)}}, 0, 360);
    EXPECT_EQ(at(deg(1), 0).pan, 0);
    EXPECT_EQ(at(deg(1), 0).tilt, deg(4));
    use_table({{deg(1), deg(3), deg(4)}, {deg(2), deg(3), deg(4)}}, 360, 0);
    EXPECT_EQ(at(deg(1), 0).pan, deg(3));
    EXPECT_EQ(at(deg(1), 0).tilt, 0);
}

TEST_F(MisalignmentOffset, NoTableOrNoDataGivesZero) {
    use_table({}, 360, 360);
    EXPECT_EQ(at(deg(1), 0).pan, 0);
    EXPECT_EQ(at(deg(1), 0).tilt, 0);
    use_table({{deg(1), deg(3), deg(4)}, {deg(2), deg(3), deg(4)}}, 360, 360);
    ctx->mo_state = 2;
    EXPECT_EQ(at(deg(1), 0).pan, 0);
    EXPECT_EQ(at(deg(1), 0).tilt, 0);
}

TEST_F(MisalignmentOffset, TableOutOfZoomOrderIsDefined) {
    use_table({{deg(100), deg(1), deg(1)}, {deg(1), deg(10), deg(-10)}, {deg(50), deg(-20), deg(20)}, {deg(10), deg(5), deg(5)}}, 360, 360);
    for (int32_t zoom : {deg(-1), deg(1), deg(5), deg(10), deg(30), deg(50), deg(75), deg(100), deg(200)}) expect_reference(zoom, 0);
    // No segment brackets zoom 0 and it is below the last key: the last
    // segment 50..10 extrapolates, u = (0 - 50) / (10 - 50) = 1.25, so
    // -20 + 1.25 * 25 = 11.25 degrees.
    EXPECT_EQ(at(deg(0), 0).pan, 737280);
    // Zoom 60 brackets nothing either, but lies above the last key (10).
    EXPECT_EQ(at(deg(60), 0).pan, deg(5));
}

TEST_F(MisalignmentOffset, ExtremeWordsWrapWithoutFault) {
    use_table({{INT32_MIN, INT32_MIN, INT32_MAX}, {0, INT32_MAX, INT32_MIN}, {INT32_MAX, INT32_MIN, INT32_MAX}}, 1, 4294967295u);
    std::mt19937 rng(5u);
    for (int32_t zoom : {INT32_MIN, INT32_MIN + 1, -1, 0, 1, INT32_MAX - 1, INT32_MAX}) expect_reference(zoom, 0);
    for (int k = 0; k < 500; ++k) expect_reference(static_cast<int32_t>(rng()), static_cast<int32_t>(rng()));
    // one step per turn makes every offset saturate
    EXPECT_EQ(at(0, 0).pan, INT32_MAX);
    use_table({{INT32_MIN, 0, 0}, {INT32_MAX, deg(1), 0}}, 360, 360);
    for (int k = 0; k < 500; ++k) expect_reference(static_cast<int32_t>(rng()), 0);
}

TEST_F(MisalignmentOffset, StepsTurnIntoDegreesInSinglePrecision) {
    // 1 step of 36000 per turn is 0.01 degree: 655.36 units, rounded to 655.
    use_table({{deg(1), deg(1), deg(-1)}, {deg(2), deg(1), deg(-1)}}, 36000, 36000);
    EXPECT_EQ(at(deg(1), 0).pan, 655);
    EXPECT_EQ(at(deg(1), 0).tilt, -655);
    // 4096 steps per turn: 100 steps are 8.7890625 degrees exactly.
    use_table({{deg(1), deg(100), deg(-100)}, {deg(2), deg(100), deg(-100)}}, 4096, 4096);
    EXPECT_EQ(at(deg(1), 0).pan, 576000);
    EXPECT_EQ(at(deg(1), 0).tilt, -576000);
}

// ---------------------------------------------------------------------------
// Through the data file

TEST(MisalignmentOffsetFile, DefaultDataGiveZeroOffsets) {
    TempRoot root;
    root.write(kDataFile, "PTZCAL_MECH_OFFSET=0,0\nPAN_ROTATION_STEPS=36000\nTILT_ROTATION_STEPS=36000\n");
    const testing::View ctx_view;
    viewgeo_context *ctx = ctx_view.get();
    ASSERT_EQ(ctx->mo_state, 1);
    for (int32_t zoom : {deg(-1), deg(1), deg(50), deg(100), deg(1000)}) {
        EXPECT_EQ(offset_of(ctx, zoom, deg(30)), (Offset{0, 0})) << zoom;
    }
}

TEST(MisalignmentOffsetFile, FileWrittenAfterCreationIsUsedByTheNextQuery) {
    TempRoot root;
    const testing::View ctx_view;
    viewgeo_context *ctx = ctx_view.get();
    EXPECT_EQ(offset_of(ctx, deg(10), 0), (Offset{0, 0}));
    root.write(kDataFile,
               "PTZCAL_MECH_OFFSET=20,-10\n"
               "PTZCAL_OPT_OFFSET=1,2,3;21,-8,13\n"
               "PAN_ROTATION_STEPS=360\nTILT_ROTATION_STEPS=720\n");
    // steps at zoom 1: (10 - 2, -5 - 3) = (8, -8); at zoom 21: (18, -18).
    // Zoom 11 is halfway: (13, -13) steps, 13 and -6.5 degrees.
    EXPECT_EQ(offset_of(ctx, deg(11), 0), (Offset{deg(13), -deg(13) / 2}));
}

// Reads like DefaultDataGiveZeroOffsets on purpose: the same zero offsets,
// here because the file does not parse (load state 2, not 1).
TEST(MisalignmentOffsetFile, MalformedFileGivesZeroOffsets) {
    TempRoot root;
    root.write(kDataFile, "PTZCAL_MECH_OFFSET=two,three\nPTZCAL_OPT_OFFSET=1;2;3\n\x01\x02\xff garbage\n");
    const testing::View ctx_view;
    viewgeo_context *ctx = ctx_view.get();
    EXPECT_EQ(ctx->mo_state, 2);
    EXPECT_EQ(offset_of(ctx, deg(10), 0), (Offset{0, 0}));
}

TEST(MisalignmentOffsetFile, FileTableAgainstTheReference) {
    TempRoot root;
    root.write(kDataFile,
               "PTZCAL_MECH_OFFSET=-37,81\n"
               "PTZCAL_OPT_OFFSET=1,5,-3;2.5,17,-9;7.25,-4,22;12,30,1;30.5,-60,45\n"
               "PAN_ROTATION_STEPS=115200\nTILT_ROTATION_STEPS=57600\n");
    const testing::View ctx_view;
    viewgeo_context *ctx = ctx_view.get();
    ASSERT_EQ(ctx->mo_count, 5);
    const std::vector<RefEntry> t = testing::ref_table({{1, 5, -3}, {2.5, 17, -9}, {7.25, -4, 22}, {12, 30, 1}, {30.5, -60, 45}}, -37, 81);
    std::mt19937 rng(11u);
    for (int k = 0; k < 300; ++k) {
        const int32_t zoom = static_cast<int32_t>(rng() % (40 * 65536));
        const int32_t tilt = static_cast<int32_t>(rng() % (200 * 65536)) - 100 * 65536;
        const Offset o = offset_of(ctx, zoom, tilt);
        const RefOffset r = testing::ref_offset(t, 115200, 57600, zoom, tilt);
        EXPECT_EQ(o.pan, r.pan) << zoom << " " << tilt;
        EXPECT_EQ(o.tilt, r.tilt) << zoom << " " << tilt;
    }
}

}  // namespace
}  // namespace viewgeo
