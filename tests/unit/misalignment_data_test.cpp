// The misalignment data: compiling the two calibration texts into the
// zoom-keyed table, and loading them from the run-time data file.
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "platform/log.h"
#include "support/misalignment_fixture.h"
#include "support/temp_root.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

using testing::TempRoot;

constexpr const char *kDataFile = "/var/run/ptz/mo_data_file";
constexpr const char *kFailedLine = "Failed to load misalignment data at /var/run/ptz/mo_data_file.";

struct Entry {
    int32_t zoom;
    int32_t pan_steps;
    int32_t tilt_steps;
    bool operator==(const Entry &) const = default;
};

std::ostream &operator<<(std::ostream &os, const Entry &e) {
    return os << "{" << e.zoom << ", " << e.pan_steps << ", " << e.tilt_steps << "}";
}

std::vector<Entry> table_of(const viewgeo_context *ctx) {
    std::vector<Entry> out;
    for (int32_t i = 0; i < ctx->mo_count; ++i) {
        out.push_back({ctx->mo_table[i].zoom, ctx->mo_table[i].pan_steps, ctx->mo_table[i].tilt_steps});
    }
    return out;
}

// Replaces the context's two texts (null keeps a field null).
void set_texts(viewgeo_context *ctx, const char *optical, const char *mechanical) {
    std::free(ctx->mo_opt_offset);
    std::free(ctx->mo_mech_offset);
    ctx->mo_opt_offset = optical ? strdup(optical) : nullptr;
    ctx->mo_mech_offset = mechanical ? strdup(mechanical) : nullptr;
}

int failures_logged() {
    int n = 0;
    for (const std::string &line : platform::captured_log()) {
        if (line == kFailedLine) ++n;
    }
    return n;
}

class MisalignmentCompile : public testing::MisalignmentFixture {
protected:
    void SetUp() override {
        MisalignmentFixture::SetUp();
        if (HasFatalFailure()) return;
        ASSERT_EQ(ctx->mo_state, 0);  // no data file in the test root
    }
    int compile(const char *optical, const char *mechanical) {
        set_texts(ctx, optical, mechanical);
        return viewgeo_set_misalignment_data(ctx);
    }
};

constexpr int32_t kOne = 0x10000;

TEST_F(MisalignmentCompile, OneTripleGivesOneEntryOfNegatedOpticalOffset) {
    ASSERT_EQ(compile("1,2,3", "0,0"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, -2 * kOne, -3 * kOne}}));
}

TEST_F(MisalignmentCompile, MechanicalOffsetIsHalvedTowardZero) {
    ASSERT_EQ(compile("1,0,0", "5,-5"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, 2 * kOne, -2 * kOne}}));
    ASSERT_EQ(compile("1,0,0", "-7,7"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, -3 * kOne, 3 * kOne}}));
}

TEST_F(MisalignmentCompile, StoredOffsetIsHalfMechanicalMinusOptical) {
    // (10/2 - 1, -20/2 - 4) and (5 - (-3), -10 - 6)
    ASSERT_EQ(compile("1,1,4;100,-3,6", "10,-20"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, 4 * kOne, -14 * kOne}, {100 * kOne, 8 * kOne, -16 * kOne}}));
}

TEST_F(MisalignmentCompile, TrailingSemicolonFailsAndLeavesNoTable) {
    ASSERT_EQ(compile("1,0,0;100,0,0", "0,0"), 0);
    ASSERT_EQ(ctx->mo_count, 2);
    EXPECT_EQ(compile("1,0,0;", "0,0"), -1);
    EXPECT_EQ(ctx->mo_table, nullptr);
    EXPECT_EQ(ctx->mo_count, 0);
}

TEST_F(MisalignmentCompile, EmptyPieceInTheMiddleFails) {
    EXPECT_EQ(compile("1,0,0;;100,0,0", "0,0"), -1);
    EXPECT_EQ(ctx->mo_table, nullptr);
    EXPECT_EQ(compile(";1,0,0", "0,0"), -1);
    EXPECT_EQ(ctx->mo_count, 0);
}

TEST_F(MisalignmentCompile, ZoomRoundsHalfAwayFromZero) {
    ASSERT_EQ(compile("2.5,0,0;-0.00001,0,0", "0,0"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{163840, 0, 0}, {-1, 0, 0}}));
    // 1.5 and -1.5 units of 2^-16
    ASSERT_EQ(compile("0.00002288818359375,0,0;-0.00002288818359375,0,0;0.0000001,0,0", "0,0"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{2, 0, 0}, {-2, 0, 0}, {0, 0, 0}}));
}

TEST_F(MisalignmentCompile, ZoomAbove128LosesTheHalfLikeEveryFloatConversion) {
    ASSERT_EQ(compile("128.0000152587890625,0,0;127.9999847412109375,0,0", "0,0"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{8388610, 0, 0}, {8388607, 0, 0}}));
}

TEST_F(MisalignmentCompile, OutOfRangeZoomsSaturate) {
    ASSERT_EQ(compile("40000,0,0;-40000,0,0;inf,0,0;-inf,0,0;nan,0,0", "0,0"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{INT32_MAX, 0, 0},
                                                 {INT32_MIN, 0, 0},
                                                 {INT32_MAX, 0, 0},
                                                 {INT32_MIN, 0, 0},
                                                 {INT32_MAX, 0, 0}}));
}

TEST_F(MisalignmentCompile, StepOffsetsWrapIn32Bits) {
    // -40000 << 16 = -2621440000, which is 1673527296 modulo 2^32.
    ASSERT_EQ(compile("1,40000,0", "0,0"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, 1673527296, 0}}));
    // -1073741824 - 2147483647 wraps to 0x40000001; shifted left 16 gives 0x10000.
    ASSERT_EQ(compile("1,2147483647,-2147483648", "-2147483648,2147483647"), 0);
    // tilt: 1073741823 + 2147483648 wraps to -1073741825 = 0xBFFFFFFF; << 16 gives 0xFFFF0000.
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, 0x10000, -0x10000}}));
}

TEST_F(MisalignmentCompile, KeepsTheTextOrderWithoutSorting) {
    ASSERT_EQ(compile("100,1,0;1,2,0;50,3,0", "0,0"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{100 * kOne, -kOne, 0}, {kOne, -2 * kOne, 0}, {50 * kOne, -3 * kOne, 0}}));
}

TEST_F(MisalignmentCompile, LeadingBlanksAndTrailingGarbageInAPieceAreAccepted) {
    ASSERT_EQ(compile(" 1, 2, 3xyz; 2,\t4,5 junk", " 6, 8 trailing"), 0);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, kOne, 1 * kOne}, {2 * kOne, -kOne, -kOne}}));
}

TEST_F(MisalignmentCompile, NullTextFailsWithoutTouchingTheTable) {
    ASSERT_EQ(compile("1,0,0;100,0,0", "0,0"), 0);
    const viewgeo_misalignment_entry *before = ctx->mo_table;
    EXPECT_EQ(compile(nullptr, "0,0"), -1);
    EXPECT_EQ(ctx->mo_table, before);
    EXPECT_EQ(ctx->mo_count, 2);
    EXPECT_EQ(compile("1,0,0", nullptr), -1);
    EXPECT_EQ(ctx->mo_table, before);
    EXPECT_EQ(ctx->mo_count, 2);
}

TEST_F(MisalignmentCompile, BadMechanicalTextFailsWithoutTouchingTheTable) {
    ASSERT_EQ(compile("1,0,0;100,0,0", "0,0"), 0);
    for (const char *bad : {"5", "5;6", "x,1", "1 ,2", ""}) {
        EXPECT_EQ(compile("1,0,0", bad), -1) << bad;
        EXPECT_EQ(ctx->mo_count, 2) << bad;
        ASSERT_NE(ctx->mo_table, nullptr);
        EXPECT_EQ(ctx->mo_table[1].zoom, 100 * kOne);
    }
}

TEST_F(MisalignmentCompile, TwoEmptyTextsClearTheTable) {
    ASSERT_EQ(compile("1,0,0;100,0,0", "0,0"), 0);
    EXPECT_EQ(compile("", ""), 0);
    EXPECT_EQ(ctx->mo_table, nullptr);
    EXPECT_EQ(ctx->mo_count, 0);
    EXPECT_EQ(compile("", ""), 0);  // and again on no table
    EXPECT_EQ(ctx->mo_count, 0);
}

TEST_F(MisalignmentCompile, EmptyOpticalTextWithMechanicalTextFailsAndDropsTheTable) {
    ASSERT_EQ(compile("1,0,0;100,0,0", "0,0"), 0);
    EXPECT_EQ(compile("", "4,4"), -1);
    EXPECT_EQ(ctx->mo_table, nullptr);
    EXPECT_EQ(ctx->mo_count, 0);
}

TEST_F(MisalignmentCompile, BadPieceAfterGoodOnesDropsEverything) {
    ASSERT_EQ(compile("1,0,0;100,0,0", "0,0"), 0);
    EXPECT_EQ(compile("1,0,0;2,0,0;3,0", "0,0"), -1);
    EXPECT_EQ(ctx->mo_table, nullptr);
    EXPECT_EQ(ctx->mo_count, 0);
}

TEST_F(MisalignmentCompile, LeavesTheTextsAndTheLoadStateAlone) {
    ASSERT_EQ(compile("1,0,0;", "2,2"), -1);
    EXPECT_STREQ(ctx->mo_opt_offset, "1,0,0;");
    EXPECT_STREQ(ctx->mo_mech_offset, "2,2");
    EXPECT_EQ(ctx->mo_state, 0);
}

TEST_F(MisalignmentCompile, ManyPiecesGrowTheTable) {
    std::string text;
    for (int i = 1; i <= 500; ++i) text += std::to_string(i) + "," + std::to_string(-i) + ",0;";
    text.pop_back();
    ASSERT_EQ(compile(text.c_str(), "0,0"), 0);
    ASSERT_EQ(ctx->mo_count, 500);
    for (int i = 0; i < 500; ++i) {
        EXPECT_EQ(ctx->mo_table[i].zoom, (i + 1) * kOne);
        EXPECT_EQ(ctx->mo_table[i].pan_steps, (i + 1) * kOne);
    }
}

// ---------------------------------------------------------------------------
// Loading the data file

class MisalignmentLoad : public ::testing::Test {
protected:
    void TearDown() override {
        if (ctx != nullptr) viewgeo_context_delete(ctx);
    }
    viewgeo_context *create_with(const std::string &content) {
        root.write(kDataFile, content);
        ctx = viewgeo_context_create();
        return ctx;
    }
    void query() {
        int32_t p;
        int32_t t;
        viewgeo_get_misalignment_offset(ctx, kOne, 0, &p, &t);
    }
    TempRoot root;
    viewgeo_context *ctx = nullptr;
};

TEST_F(MisalignmentLoad, OpticalOffsetAloneGetsTheDefaultMechanicalText) {
    ASSERT_NE(create_with("PTZCAL_OPT_OFFSET=1,2,3\n"), nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_opt_offset, "1,2,3");
    EXPECT_STREQ(ctx->mo_mech_offset, "0,0");
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, -2 * kOne, -3 * kOne}}));
    EXPECT_TRUE(platform::captured_log().empty());
}

TEST_F(MisalignmentLoad, MechanicalOffsetAloneGetsTheDefaultOpticalTable) {
    ASSERT_NE(create_with("PTZCAL_MECH_OFFSET=5,-5\nPAN_ROTATION_STEPS=36000\nTILT_ROTATION_STEPS=9000\n"), nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_opt_offset, "1,0,0;100,0,0");
    EXPECT_STREQ(ctx->mo_mech_offset, "5,-5");
    EXPECT_EQ(ctx->pan_rotation_steps, 36000u);
    EXPECT_EQ(ctx->tilt_rotation_steps, 9000u);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, 2 * kOne, -2 * kOne}, {100 * kOne, 2 * kOne, -2 * kOne}}));
    EXPECT_TRUE(platform::captured_log().empty());
}

TEST_F(MisalignmentLoad, AllKeysTogether) {
    ASSERT_NE(create_with("[calibration]\n"
                          "PTZCAL_MECH_OFFSET = 10,20\n"
                          "PTZCAL_OPT_OFFSET = 1,1,1;10,2,2;30,3,3\n"
                          "PAN_ROTATION_STEPS = 72000\n"
                          "TILT_ROTATION_STEPS = 36000\n"),
              nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_EQ(ctx->pan_rotation_steps, 72000u);
    EXPECT_EQ(ctx->tilt_rotation_steps, 36000u);
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, 4 * kOne, 9 * kOne}, {10 * kOne, 3 * kOne, 8 * kOne}, {30 * kOne, 2 * kOne, 7 * kOne}}));
    EXPECT_TRUE(platform::captured_log().empty());
}

TEST_F(MisalignmentLoad, MissingFileLeavesNothingRead) {
    ctx = viewgeo_context_create();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->mo_state, 0);
    EXPECT_EQ(ctx->mo_table, nullptr);
    EXPECT_EQ(ctx->mo_count, 0);
    EXPECT_EQ(ctx->mo_opt_offset, nullptr);
    EXPECT_EQ(ctx->mo_mech_offset, nullptr);
    EXPECT_EQ(ctx->pan_rotation_steps, 0u);
    EXPECT_EQ(ctx->tilt_rotation_steps, 0u);
    query();
    EXPECT_EQ(ctx->mo_state, 0);
    EXPECT_TRUE(platform::captured_log().empty());
}

TEST_F(MisalignmentLoad, FileAppearingLaterIsReadAtTheNextOffsetQuery) {
    ctx = viewgeo_context_create();
    ASSERT_NE(ctx, nullptr);
    query();
    ASSERT_EQ(ctx->mo_state, 0);
    root.write(kDataFile, "PTZCAL_MECH_OFFSET=4,4\n");
    EXPECT_EQ(ctx->mo_state, 0);  // nothing happens until a query
    query();
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_mech_offset, "4,4");
    EXPECT_EQ(ctx->mo_count, 2);
}

TEST_F(MisalignmentLoad, LoadedFileIsNeverReadAgain) {
    ASSERT_NE(create_with("PTZCAL_MECH_OFFSET=4,4\n"), nullptr);
    ASSERT_EQ(ctx->mo_state, 1);
    root.write(kDataFile, "PTZCAL_MECH_OFFSET=8,8\nPTZCAL_OPT_OFFSET=1,1,1\n");
    query();
    EXPECT_STREQ(ctx->mo_mech_offset, "4,4");
    EXPECT_EQ(ctx->mo_count, 2);
    root.remove(kDataFile);
    query();
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_mech_offset, "4,4");
}

TEST_F(MisalignmentLoad, UnreadableFileFailsOnceAndIsNeverReadAgain) {
    root.make_dir(kDataFile);  // exists, but cannot be read as a file
    ctx = viewgeo_context_create();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->mo_state, 2);
    EXPECT_EQ(platform::captured_log(), std::vector<std::string>{kFailedLine});
    EXPECT_EQ(ctx->mo_table, nullptr);
    EXPECT_EQ(ctx->mo_opt_offset, nullptr);

    ::rmdir(root.real(kDataFile).c_str());
    root.write(kDataFile, "PTZCAL_MECH_OFFSET=4,4\n");
    query();
    EXPECT_EQ(ctx->mo_state, 2);
    EXPECT_EQ(ctx->mo_table, nullptr);
    EXPECT_EQ(failures_logged(), 1);
}

TEST_F(MisalignmentLoad, FileWithoutReadPermissionFails) {
    if (::geteuid() == 0) GTEST_SKIP() << "root reads files without read permission";
    root.write(kDataFile, "PTZCAL_MECH_OFFSET=4,4\n");
    ASSERT_EQ(::chmod(root.real(kDataFile).c_str(), 0), 0);
    ctx = viewgeo_context_create();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->mo_state, 2);
    EXPECT_EQ(platform::captured_log(), std::vector<std::string>{kFailedLine});
}

TEST_F(MisalignmentLoad, BadMechanicalValueIsLoggedAndTheRestIsUsed) {
    ASSERT_NE(create_with("PTZCAL_MECH_OFFSET=abc\nPTZCAL_OPT_OFFSET=1,2,3\n"), nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_mech_offset, "0,0");
    EXPECT_EQ(table_of(ctx), (std::vector<Entry>{{kOne, -2 * kOne, -3 * kOne}}));
    EXPECT_EQ(platform::captured_log(), std::vector<std::string>{kFailedLine});
}

TEST_F(MisalignmentLoad, BadOpticalValueIsDroppedAndLogged) {
    ASSERT_NE(create_with("PTZCAL_OPT_OFFSET=1,0,0;\nPTZCAL_MECH_OFFSET=2,2\n"), nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_opt_offset, "1,0,0;100,0,0");
    EXPECT_EQ(ctx->mo_count, 2);
    EXPECT_EQ(platform::captured_log(), std::vector<std::string>{kFailedLine});
}

TEST_F(MisalignmentLoad, BadOpticalValueAloneMeansNoData) {
    ASSERT_NE(create_with("PTZCAL_OPT_OFFSET=1,0,0;\n"), nullptr);
    EXPECT_EQ(ctx->mo_state, 2);
    EXPECT_EQ(ctx->mo_opt_offset, nullptr);
    EXPECT_EQ(ctx->mo_table, nullptr);
    EXPECT_EQ(platform::captured_log(), std::vector<std::string>{kFailedLine});
}

TEST_F(MisalignmentLoad, BadRotationStepsAreLoggedAndStayZero) {
    ASSERT_NE(create_with("PAN_ROTATION_STEPS=many\nTILT_ROTATION_STEPS=\nPTZCAL_MECH_OFFSET=2,2\n"), nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_EQ(ctx->pan_rotation_steps, 0u);
    EXPECT_EQ(ctx->tilt_rotation_steps, 0u);
    // One message for the whole file, however many values were bad.
    EXPECT_EQ(platform::captured_log(), std::vector<std::string>{kFailedLine});
}

TEST_F(MisalignmentLoad, BadRotationStepsKeepAnEarlierValidCount) {
    ASSERT_NE(create_with("PAN_ROTATION_STEPS=360\nPAN_ROTATION_STEPS=x\nPTZCAL_MECH_OFFSET=2,2\n"), nullptr);
    EXPECT_EQ(ctx->pan_rotation_steps, 360u);
    EXPECT_EQ(failures_logged(), 1);
}

TEST_F(MisalignmentLoad, NegativeRotationStepsAreKeptAsUnsigned) {
    ASSERT_NE(create_with("PAN_ROTATION_STEPS=-1\nTILT_ROTATION_STEPS=-2\nPTZCAL_MECH_OFFSET=2,2\n"), nullptr);
    EXPECT_EQ(ctx->pan_rotation_steps, 4294967295u);
    EXPECT_EQ(ctx->tilt_rotation_steps, 4294967294u);
    EXPECT_TRUE(platform::captured_log().empty());
}

TEST_F(MisalignmentLoad, EmptyOffsetValuesAreIgnoredWithoutALog) {
    ASSERT_NE(create_with("PTZCAL_MECH_OFFSET=\nPTZCAL_OPT_OFFSET=\nPTZCAL_MECH_OFFSET=6,6\n"), nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_mech_offset, "6,6");
    EXPECT_TRUE(platform::captured_log().empty());
}

TEST_F(MisalignmentLoad, LaterValidValueReplacesAnEarlierOneButABadOneDoesNot) {
    ASSERT_NE(create_with("PTZCAL_MECH_OFFSET=2,2\nPTZCAL_MECH_OFFSET=4,4\nPTZCAL_MECH_OFFSET=bad\n"
                          "PTZCAL_OPT_OFFSET=1,1,1\nPTZCAL_OPT_OFFSET=2,2,2\nPTZCAL_OPT_OFFSET=3,3\n"),
              nullptr);
    EXPECT_STREQ(ctx->mo_mech_offset, "4,4");
    EXPECT_STREQ(ctx->mo_opt_offset, "2,2,2");
    EXPECT_EQ(failures_logged(), 1);
}

TEST_F(MisalignmentLoad, KeysAreMatchedExactlyInAnyGroup) {
    ASSERT_NE(create_with("ptzcal_mech_offset=2,2\nPTZCAL_MECH_OFFSETX=2,2\nOTHER=1\n"
                          "[a]\nPTZCAL_OPT_OFFSET=1,2,3\n[b]\nPTZCAL_MECH_OFFSET=8,8\n"),
              nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_mech_offset, "8,8");
    EXPECT_STREQ(ctx->mo_opt_offset, "1,2,3");
    EXPECT_TRUE(platform::captured_log().empty());
}

TEST_F(MisalignmentLoad, FileWithoutEitherTextFailsWithoutTakingTheStepCounts) {
    ASSERT_NE(create_with("PAN_ROTATION_STEPS=36000\nTILT_ROTATION_STEPS=36000\n"), nullptr);
    EXPECT_EQ(ctx->mo_state, 2);
    EXPECT_EQ(ctx->pan_rotation_steps, 0u);
    EXPECT_EQ(ctx->tilt_rotation_steps, 0u);
    EXPECT_EQ(ctx->mo_mech_offset, nullptr);
    // Not a read error: nothing is logged.
    EXPECT_TRUE(platform::captured_log().empty());
}

TEST_F(MisalignmentLoad, EmptyFileMeansNoData) {
    ASSERT_NE(create_with(""), nullptr);
    EXPECT_EQ(ctx->mo_state, 2);
    EXPECT_EQ(ctx->mo_table, nullptr);
    EXPECT_TRUE(platform::captured_log().empty());
}

// The file's texts always scan the way the compiler scans them, so no file
// reaches a failed compile; a caller's bad text does, and the load state
// stays 1 with zero offsets and no second read.
TEST_F(MisalignmentLoad, FailedCompileAfterALoadKeepsStateLoadedWithZeroOffsets) {
    ASSERT_NE(create_with("PTZCAL_MECH_OFFSET=0,0\nPTZCAL_OPT_OFFSET=1,-360,-360;100,-360,-360\n"
                          "PAN_ROTATION_STEPS=360\nTILT_ROTATION_STEPS=360\n"),
              nullptr);
    int32_t p;
    int32_t t;
    viewgeo_get_misalignment_offset(ctx, kOne, 0, &p, &t);
    ASSERT_EQ(p, 360 * kOne);
    set_texts(ctx, "1,0,0;", "0,0");
    EXPECT_EQ(viewgeo_set_misalignment_data(ctx), -1);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_EQ(ctx->mo_count, 0);
    viewgeo_get_misalignment_offset(ctx, kOne, 0, &p, &t);
    EXPECT_EQ(p, 0);
    EXPECT_EQ(t, 0);
    EXPECT_EQ(ctx->mo_count, 0);  // not reloaded from the file
}

TEST_F(MisalignmentLoad, TruncatedValuesAreRejected) {
    ASSERT_NE(create_with("PTZCAL_MECH_OFFSET=4\nPTZCAL_OPT_OFFSET=1,2"), nullptr);
    EXPECT_EQ(ctx->mo_state, 2);
    EXPECT_EQ(failures_logged(), 1);
}

TEST_F(MisalignmentLoad, MissingFinalNewlineAndWindowsLineEndsAreAccepted) {
    ASSERT_NE(create_with("PTZCAL_OPT_OFFSET=1,2,3\r\nPTZCAL_MECH_OFFSET=4,4"), nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_mech_offset, "4,4");
    EXPECT_STREQ(ctx->mo_opt_offset, "1,2,3");
}

TEST_F(MisalignmentLoad, TextEndsAtTheFirstNulByte) {
    ASSERT_NE(create_with(std::string("PTZCAL_MECH_OFFSET=4,4\n\0PTZCAL_OPT_OFFSET=1,2,3\n", 48)), nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_opt_offset, "1,0,0;100,0,0");
}

TEST_F(MisalignmentLoad, OverlongLineIsDroppedWhole) {
    std::string optical;
    for (int i = 1; i <= 40; ++i) optical += std::to_string(i) + ",0,0;";
    optical.pop_back();
    ASSERT_NE(create_with("PTZCAL_OPT_OFFSET=" + optical + "\nPTZCAL_MECH_OFFSET=2,2\n"), nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_STREQ(ctx->mo_opt_offset, "1,0,0;100,0,0");
}

TEST_F(MisalignmentLoad, HugeFileIsNotLoaded) {
    std::string text = "PTZCAL_MECH_OFFSET=2,2\n";
    while (text.size() <= 1024 * 1024) text += "# padding padding padding padding padding padding padding padding\n";
    ASSERT_NE(create_with(text), nullptr);
    EXPECT_EQ(ctx->mo_state, 2);
    EXPECT_EQ(platform::captured_log(), std::vector<std::string>{kFailedLine});
}

TEST_F(MisalignmentLoad, BinaryGarbageGivesADefinedState) {
    std::mt19937 rng(20240611u);
    for (int round = 0; round < 50; ++round) {
        std::string bytes(1 + rng() % 4096, '\0');
        for (char &b : bytes) b = static_cast<char>(rng());
        if (round % 2 == 1) bytes.insert(rng() % bytes.size(), "\nPTZCAL_OPT_OFFSET=1,2,3\n");
        root.write(kDataFile, bytes);
        viewgeo_context *c = viewgeo_context_create();
        ASSERT_NE(c, nullptr);
        EXPECT_TRUE(c->mo_state == 1 || c->mo_state == 2) << round;
        int32_t p;
        int32_t t;
        viewgeo_get_misalignment_offset(c, kOne, 0, &p, &t);
        viewgeo_context_delete(c);
    }
}

}  // namespace
}  // namespace viewgeo
