// Writing the overview configuration file: format, atomic replacement,
// failure codes, backup and restore.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <ostream>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "ovista/config.h"
#include "platform/fs.h"
#include "platform/log.h"
#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace {

using viewgeo::platform::captured_log;
using viewgeo::platform::fs::inject_failure;
using viewgeo::platform::fs::Op;
using viewgeo::testing::TempRoot;

constexpr const char *kConf = "/etc/viewgeo/ovista.conf";
constexpr const char *kTmp = "/etc/viewgeo/ovista.conf.tmp";
constexpr const char *kBak = "/etc/viewgeo/ovista.bak";
constexpr const char *kOld = "[lens_charac]\nfield_angle = 33\n";

using viewgeo::testing::OvistaPtr;

std::string compensator_text(const char *group, const char *type, const char *a, const char *b, const char *c,
                             const char *d) {
    return std::string("[") + group + "]\ntype = " + type + "\nA = " + a + "\nB = " + b + "\nC = " + c + "\nD = " + d +
           "\n";
}

// The file the defaults give, written out by hand.
const std::string kDefaultText = std::string("[common]\n") +
                                 "ovista_center_pan = 0.000000\n"
                                 "ovista_center_tilt = -90.000000\n"
                                 "[lens_charac]\n"
                                 "center_x = 0.500000\n"
                                 "center_y = 0.500000\n"
                                 "radius_x = 0.304688\n"
                                 "radius_y = 0.541667\n"
                                 "field_angle = 99.000000\n" +
                                 compensator_text("pan_comp", "0", "0.000000", "0.000000", "0.000000", "0.000000") +
                                 compensator_text("tilt_comp", "0", "0.000000", "0.000000", "0.000000", "0.000000") +
                                 compensator_text("x_comp", "0", "0.000000", "0.000000", "0.000000", "0.000000") +
                                 compensator_text("y_comp", "0", "0.000000", "0.000000", "0.000000", "0.000000");

OvistaPtr default_context() {
    viewgeo_ovista_context *ctx = nullptr;
    load_conf(&ctx, "/etc/viewgeo/none.conf");
    return OvistaPtr(ctx);
}

std::string save_failure(int err, int code) {
    return "Failed to save viewgeo_ovista_context at /etc/viewgeo/ovista.conf, error code: " + std::to_string(err) + "/" +
           std::to_string(code);
}

std::string fixed6(float v) {
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(v));
    return text;
}

TEST(OvistaConfigSave, DefaultsGiveTheExactFile) {
    TempRoot root;
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), 0);
    EXPECT_EQ(root.read(kConf), kDefaultText);
    EXPECT_FALSE(root.exists(kTmp));
    EXPECT_TRUE(captured_log().empty());
}

TEST(OvistaConfigSave, EveryFieldIsWrittenWithSixDecimals) {
    TempRoot root;
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    viewgeo_set_ovista_angles(ctx.get(), -12.5f, 1234.0625f);
    viewgeo_set_lens_characteristics(ctx.get(), 0.25f, 0.75f, 0.125f, 0.0000004f, 180.0f);
    viewgeo_set_ovista_compensator(ctx.get(), 0, 1, 1.5f, -2.5f, 0.0000015f, 0.0f);
    viewgeo_set_ovista_compensator(ctx.get(), 1, 2, -1.0f, 100000.0f, 3.0f, 4.0f);
    viewgeo_set_ovista_compensator(ctx.get(), 2, -3, 0.0f, 0.0f, 0.0f, 0.0f);
    viewgeo_set_ovista_compensator(ctx.get(), 3, 2147483647, 0.0f, 0.0f, 0.0f, -0.0f);
    ptz_set_ovista_rotation(ctx.get(), 90);
    ptz_set_ovista_mirror(ctx.get(), 1);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), 0);
    // 0.0000015 is stored as 1.50000005e-06 and rounds up; 0.0000004 rounds down.
    // Written out line by line like kDefaultText, on purpose: the expected
    // file byte for byte, readable as the file.
    const std::string expected = std::string("[common]\n") +
                                 "ovista_center_pan = -12.500000\n"
                                 "ovista_center_tilt = 1234.062500\n"
                                 "[lens_charac]\n"
                                 "center_x = 0.250000\n"
                                 "center_y = 0.750000\n"
                                 "radius_x = 0.125000\n"
                                 "radius_y = 0.000000\n"
                                 "field_angle = 180.000000\n" +
                                 compensator_text("pan_comp", "1", "1.500000", "-2.500000", "0.000002", "0.000000") +
                                 compensator_text("tilt_comp", "2", "-1.000000", "100000.000000", "3.000000", "4.000000") +
                                 compensator_text("x_comp", "-3", "0.000000", "0.000000", "0.000000", "0.000000") +
                                 compensator_text("y_comp", "2147483647", "0.000000", "0.000000", "0.000000", "-0.000000");
    EXPECT_EQ(root.read(kConf), expected);
}

TEST(OvistaConfigSave, SaveThenCreateReproducesEveryValueToSixDecimals) {
    TempRoot root;
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    viewgeo_set_ovista_angles(ctx.get(), 123.456789f, -17.0000005f);
    viewgeo_set_lens_characteristics(ctx.get(), 0.4987654f, 0.5012345f, 0.3111111f, 0.5333333f, 97.654321f);
    viewgeo_set_ovista_compensator(ctx.get(), 0, 1, 0.0001234f, -0.0456789f, 1.2345678f, 9.87f);
    viewgeo_set_ovista_compensator(ctx.get(), 1, 2, -0.0000321f, 0.00321f, -0.321f, 3.21f);
    viewgeo_set_ovista_compensator(ctx.get(), 2, 1, 0.5f, 0.25f, 0.125f, 0.0625f);
    viewgeo_set_ovista_compensator(ctx.get(), 3, 2, -7.5f, 6.5f, -5.5f, 4.5f);
    ptz_set_ovista_rotation(ctx.get(), 180);
    ptz_set_ovista_mirror(ctx.get(), 1);
    ASSERT_EQ(viewgeo_ovista_context_save(ctx.get()), 0);

    OvistaPtr back(viewgeo_ovista_context_create());
    ASSERT_NE(back, nullptr);
    const viewgeo_ovista_context &a = *ctx;
    const viewgeo_ovista_context &b = *back;
    EXPECT_EQ(fixed6(b.center_pan), fixed6(a.center_pan));
    EXPECT_EQ(fixed6(b.center_tilt), fixed6(a.center_tilt));
    EXPECT_EQ(fixed6(b.center_x), fixed6(a.center_x));
    EXPECT_EQ(fixed6(b.center_y), fixed6(a.center_y));
    EXPECT_EQ(fixed6(b.radius_x), fixed6(a.radius_x));
    EXPECT_EQ(fixed6(b.radius_y), fixed6(a.radius_y));
    EXPECT_EQ(fixed6(b.field_angle), fixed6(a.field_angle));
    const viewgeo_ovista_compensator *ca[] = {&a.pan_comp, &a.tilt_comp, &a.x_comp, &a.y_comp};
    const viewgeo_ovista_compensator *cb[] = {&b.pan_comp, &b.tilt_comp, &b.x_comp, &b.y_comp};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(cb[i]->type, ca[i]->type) << i;
        EXPECT_EQ(fixed6(cb[i]->A), fixed6(ca[i]->A)) << i;
        EXPECT_EQ(fixed6(cb[i]->B), fixed6(ca[i]->B)) << i;
        EXPECT_EQ(fixed6(cb[i]->C), fixed6(ca[i]->C)) << i;
        EXPECT_EQ(fixed6(cb[i]->D), fixed6(ca[i]->D)) << i;
    }
    // Rotation and mirror are not part of the file.
    EXPECT_EQ(b.rotation, 0);
    EXPECT_EQ(b.mirror, 0);
}

TEST(OvistaConfigSave, SavingTwiceGivesTheSameFile) {
    TempRoot root;
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    viewgeo_set_ovista_angles(ctx.get(), 1.0f / 3.0f, -2.0f / 3.0f);
    ASSERT_EQ(viewgeo_ovista_context_save(ctx.get()), 0);
    const std::string first = root.read(kConf);
    OvistaPtr back(viewgeo_ovista_context_create());
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(viewgeo_ovista_context_save(back.get()), 0);
    EXPECT_EQ(root.read(kConf), first);
}

TEST(OvistaConfigSave, NonFiniteValuesAreWrittenAndReadBack) {
    TempRoot root;
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    viewgeo_set_ovista_angles(ctx.get(), std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity());
    viewgeo_set_lens_characteristics(ctx.get(), std::numeric_limits<float>::quiet_NaN(), 0.5f, 3e38f, 0.5f, 99.0f);
    ASSERT_EQ(viewgeo_ovista_context_save(ctx.get()), 0);
    OvistaPtr back(viewgeo_ovista_context_create());
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->center_pan, std::numeric_limits<float>::infinity());
    EXPECT_EQ(back->center_tilt, -std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(back->center_x));
    EXPECT_EQ(back->radius_x, 3e38f);
}

TEST(OvistaConfigSave, SavedFileGetsMode0664) {
    TempRoot root;
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    const mode_t old_mask = ::umask(0077);
    const int result = viewgeo_ovista_context_save(ctx.get());
    ::umask(old_mask);
    ASSERT_EQ(result, 0);
    struct stat st;
    ASSERT_EQ(::stat(root.real(kConf).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0664u);
}

TEST(OvistaConfigSave, ReplacesAnExistingFile) {
    TempRoot root;
    root.write(kConf, kOld);
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), 0);
    EXPECT_EQ(root.read(kConf), kDefaultText);
}

TEST(OvistaConfigSave, StaleTemporaryFileIsTruncated) {
    TempRoot root;
    root.write(kTmp, std::string(10000, 'x'));
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), 0);
    EXPECT_EQ(root.read(kConf), kDefaultText);
}

TEST(OvistaConfigSave, SymbolicLinkAtTheTemporaryNameIsNotFollowed) {
    TempRoot root;
    root.write("/etc/viewgeo/victim", "keep");
    ASSERT_EQ(::symlink(root.real("/etc/viewgeo/victim").c_str(), root.real(kTmp).c_str()), 0);
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);
    EXPECT_EQ(root.read("/etc/viewgeo/victim"), "keep");
    ASSERT_FALSE(captured_log().empty());
    EXPECT_EQ(captured_log().back(), save_failure(ELOOP, -2));
}

TEST(OvistaConfigSave, BackupWritesTheBackupFileOnly) {
    TempRoot root;
    root.write(kConf, kOld);
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(viewgeo_ovista_context_backup(ctx.get()), 0);
    EXPECT_EQ(root.read(kBak), kDefaultText);
    EXPECT_EQ(root.read(kConf), kOld);
    EXPECT_FALSE(root.exists("/etc/viewgeo/ovista.bak.tmp"));
}

TEST(OvistaConfigSave, BackupFailureNamesTheBackupPath) {
    TempRoot root;
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    inject_failure(Op::Rename, EXDEV);
    EXPECT_EQ(viewgeo_ovista_context_backup(ctx.get()), -1);
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0],
              "Failed to save viewgeo_ovista_context at /etc/viewgeo/ovista.bak, error code: " + std::to_string(EXDEV) +
                  "/-7");
}

TEST(OvistaConfigSave, ReadOnlyDirectoryFailsWithCodeMinusTwo) {
    TempRoot root;
    root.write(kConf, kOld);
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    // Creating the temporary file is refused, as in a read-only directory.
    inject_failure(Op::FopenNew, EACCES);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0], save_failure(EACCES, -2));
    EXPECT_EQ(root.read(kConf), kOld);
    EXPECT_FALSE(root.exists(kTmp));
}

TEST(OvistaConfigSave, RealReadOnlyDirectoryFailsWithCodeMinusTwo) {
    if (::geteuid() == 0) GTEST_SKIP() << "directory permissions do not stop root";
    TempRoot root;
    root.write(kConf, kOld);
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    ASSERT_EQ(::chmod(root.real("/etc/viewgeo").c_str(), 0555), 0);
    const int result = viewgeo_ovista_context_save(ctx.get());
    ::chmod(root.real("/etc/viewgeo").c_str(), 0755);
    EXPECT_EQ(result, -1);
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0], save_failure(EACCES, -2));
    EXPECT_EQ(root.read(kConf), kOld);
}

TEST(OvistaConfigSave, NoMemoryForTheTemporaryNameFailsWithCodeMinusOne) {
    TempRoot root;
    root.write(kConf, kOld);
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    viewgeo::fail_next_temp_name_allocation();
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0], save_failure(ENOMEM, -1));
    EXPECT_EQ(root.read(kConf), kOld);
    EXPECT_FALSE(root.exists(kTmp));
}

struct FailingStep {
    Op op;
    int err;
    int code;
};

class OvistaConfigSaveStep : public ::testing::TestWithParam<FailingStep> {};

TEST_P(OvistaConfigSaveStep, LogsCodeAndErrnoAndReturnsMinusOne) {
    const FailingStep step = GetParam();
    TempRoot root;
    root.write(kConf, kOld);
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    inject_failure(step.op, step.err);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0], save_failure(step.err, step.code));
    if (step.code >= -7) {
        // Before the rename the old file is untouched.
        EXPECT_EQ(root.read(kConf), kOld);
        // The temporary file stays behind once it was created.
        EXPECT_EQ(root.exists(kTmp), step.code <= -3);
    } else {
        // The rename happened: the new file is in place, only its durability
        // is in doubt.
        EXPECT_EQ(root.read(kConf), kDefaultText);
        EXPECT_FALSE(root.exists(kTmp));
    }
}

INSTANTIATE_TEST_SUITE_P(EveryStep, OvistaConfigSaveStep,
                         ::testing::Values(FailingStep{Op::FopenNew, EROFS, -2}, FailingStep{Op::Fflush, ENOSPC, -3},
                                           FailingStep{Op::Fsync, EIO, -4}, FailingStep{Op::Fclose, EDQUOT, -5},
                                           FailingStep{Op::Chmod, EPERM, -6}, FailingStep{Op::Rename, EBUSY, -7},
                                           FailingStep{Op::OpenDir, EMFILE, -8}, FailingStep{Op::FsyncFd, EINVAL, -9},
                                           FailingStep{Op::CloseFd, EINTR, -10}));

TEST(OvistaConfigSave, FailedTemporaryFileKeepsWhatWasWritten) {
    TempRoot root;
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    inject_failure(Op::Chmod, EPERM);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);
    EXPECT_EQ(root.read(kTmp), kDefaultText);
    EXPECT_FALSE(root.exists(kConf));
}

TEST(OvistaConfigSave, FailedHeaderLineIsLoggedAndTheFileStillReplaced) {
    TempRoot root;
    root.write(kConf, kOld);
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    inject_failure(Op::Print, EIO);  // the first line, "[common]"
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);
    ASSERT_EQ(captured_log().size(), 2u);
    EXPECT_EQ(captured_log()[0], "Failed to print common group header to config.");
    // errno is whatever the calls after the print left; the code is the sum.
    EXPECT_TRUE(std::regex_match(captured_log()[1],
                                 std::regex("Failed to save viewgeo_ovista_context at /etc/viewgeo/ovista\\.conf, "
                                            "error code: -?[0-9]+/-1")))
        << captured_log()[1];
    EXPECT_EQ(root.read(kConf), kDefaultText.substr(std::string("[common]\n").size()));
}

struct FailingLine {
    int skip;
    const char *message;
};

// GoogleTest prints a parameter without a printer byte by byte, padding
// included, which memcheck reports as a read of uninitialised memory.
void PrintTo(const FailingLine &line, std::ostream *os) { *os << "line " << line.skip << ": " << line.message; }

class OvistaConfigSaveLine : public ::testing::TestWithParam<FailingLine> {};

TEST_P(OvistaConfigSaveLine, IsLoggedAndCountsMinusOne) {
    const FailingLine line = GetParam();
    TempRoot root;
    OvistaPtr ctx = default_context();
    ASSERT_NE(ctx, nullptr);
    inject_failure(Op::Print, EIO, line.skip);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);
    ASSERT_EQ(captured_log().size(), 2u);
    EXPECT_EQ(captured_log()[0], line.message);
    EXPECT_TRUE(std::regex_search(captured_log()[1], std::regex("ovista\\.conf, error code: -?[0-9]+/-1$")))
        << captured_log()[1];
    EXPECT_TRUE(root.exists(kConf));
}

// Lines in file order: 0 "[common]", 1-2 its keys, 3 "[lens_charac]", 4-8
// its keys, 9 "[pan_comp]", 10 its type, 11-14 A to D, ... 27 "[y_comp]".
INSTANTIATE_TEST_SUITE_P(
    EveryKindOfLine, OvistaConfigSaveLine,
    ::testing::Values(FailingLine{1, "Failed to print ovista_center_pan to config."},
                      FailingLine{2, "Failed to print ovista_center_tilt to config."},
                      FailingLine{3, "Failed to print lens group header to config."},
                      FailingLine{8, "Failed to print field_angle to config."},
                      FailingLine{9, "Failed to print compensator group header to config."},
                      FailingLine{10, "Failed to print compensator type to config."},
                      FailingLine{14, "Failed to print D to config."},
                      FailingLine{27, "Failed to print compensator group header to config."},
                      FailingLine{32, "Failed to print D to config."}));

// A stream that refuses every write: each printed line fails.
class ReadOnlyStream : public ::testing::Test {
protected:
    void SetUp() override {
        root_.write("/etc/viewgeo/readonly", "");
        stream_ = std::fopen(root_.real("/etc/viewgeo/readonly").c_str(), "r");
        ASSERT_NE(stream_, nullptr);
    }
    void TearDown() override {
        if (stream_ != nullptr) std::fclose(stream_);
    }
    TempRoot root_;
    std::FILE *stream_ = nullptr;
};

TEST_F(ReadOnlyStream, CompensatorWithFailedHeaderAndTypeCountsThemOnce) {
    const viewgeo_ovista_compensator comp = {1, 1, 2, 3, 4};
    // header -1, type sets -1 (not -2), then four coefficients: -5.
    EXPECT_EQ(save_compensator(&comp, "x_comp", stream_), -5);
    ASSERT_EQ(captured_log().size(), 6u);
    EXPECT_EQ(captured_log()[0], "Failed to print compensator group header to config.");
    EXPECT_EQ(captured_log()[1], "Failed to print compensator type to config.");
    EXPECT_EQ(captured_log()[2], "Failed to print A to config.");
    EXPECT_EQ(captured_log()[5], "Failed to print D to config.");
}

TEST_F(ReadOnlyStream, GroupsCountEveryFailedLine) {
    viewgeo_ovista_context ctx{};
    EXPECT_EQ(save_common_group(&ctx, stream_), -3);
    EXPECT_EQ(save_lens_group(&ctx, stream_), -6);
    EXPECT_EQ(save_float(stream_, "center_x", 1.0f), -1);
    EXPECT_EQ(captured_log().back(), "Failed to print center_x to config.");
}

TEST(OvistaConfigSave, GroupWritersPrintTheirLines) {
    TempRoot root;
    std::FILE *stream = std::fopen(root.real("/etc/viewgeo/out").c_str(), "w");
    ASSERT_NE(stream, nullptr);
    viewgeo_ovista_context ctx{};
    ctx.center_pan = 1.0f;
    ctx.center_tilt = -2.0f;
    const viewgeo_ovista_compensator comp = {7, 0.5f, 0.25f, -0.125f, 8.0f};
    EXPECT_EQ(save_common_group(&ctx, stream), 0);
    EXPECT_EQ(save_compensator(&comp, "anything", stream), 0);
    EXPECT_EQ(save_float(stream, "key", 1234.5678f), 0);  // stored as 1234.5677490234375
    std::fclose(stream);
    EXPECT_EQ(root.read("/etc/viewgeo/out"),
              "[common]\novista_center_pan = 1.000000\novista_center_tilt = -2.000000\n"
              "[anything]\ntype = 7\nA = 0.500000\nB = 0.250000\nC = -0.125000\nD = 8.000000\n"
              "key = 1234.567749\n");
}

TEST(OvistaConfigRestore, WithoutBackupWritesDefaultsAndReturnsZero) {
    TempRoot root;
    root.write(kConf, kOld);
    OvistaPtr loaded(viewgeo_ovista_context_create());
    ASSERT_NE(loaded, nullptr);
    ASSERT_EQ(loaded->field_angle, 33.0f);
    loaded->rotation = 90;
    viewgeo_ovista_context *ctx = loaded.release();
    EXPECT_EQ(viewgeo_ovista_context_restore(&ctx), 0);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->field_angle, 99.0f);
    EXPECT_EQ(ctx->rotation, 0);
    EXPECT_EQ(ctx->center_tilt, -90.0f);
    EXPECT_EQ(root.read(kConf), kDefaultText);
    EXPECT_TRUE(captured_log().empty());
    viewgeo_ovista_context_delete(ctx);
}

TEST(OvistaConfigRestore, TakesTheBackupIntoContextAndWorkingFile) {
    TempRoot root;
    root.write(kBak, "[lens_charac]\nfield_angle = 120\n[tilt_comp]\ntype = 1\nC = 2\n");
    viewgeo_ovista_context *ctx = default_context().release();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(viewgeo_ovista_context_restore(&ctx), 0);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->field_angle, 120.0f);
    EXPECT_EQ(ctx->tilt_comp.type, 1);
    EXPECT_EQ(ctx->tilt_comp.C, 2.0f);
    const std::string conf = root.read(kConf);
    EXPECT_NE(conf.find("field_angle = 120.000000\n"), std::string::npos);
    EXPECT_NE(conf.find("[tilt_comp]\ntype = 1\nA = 0.000000\nB = 0.000000\nC = 2.000000\n"), std::string::npos);
    viewgeo_ovista_context_delete(ctx);
}

// A failed restore leaves the caller's context as it was: the same record,
// the same values.
void expect_restore_fails_and_keeps_the_context() {
    OvistaPtr owned = default_context();
    ASSERT_NE(owned, nullptr);
    owned->field_angle = 77.0f;
    viewgeo_ovista_context *ctx = owned.get();
    EXPECT_EQ(viewgeo_ovista_context_restore(&ctx), -1);
    EXPECT_EQ(ctx, owned.get());
    EXPECT_EQ(ctx->field_angle, 77.0f);
}

TEST(OvistaConfigRestore, UnreadableBackupLeavesTheContextAndFails) {
    TempRoot root;
    root.make_dir(kBak);
    expect_restore_fails_and_keeps_the_context();
    EXPECT_FALSE(root.exists(kConf));
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0], "Failed to load viewgeo_ovista_context at /etc/viewgeo/ovista.bak.");
}

// A backup that may be there but cannot be examined (here a link to itself)
// is not a missing one: writing the defaults would replace the working
// calibration with values nobody chose.
TEST(OvistaConfigRestore, BackupWhoseStatusCannotBeQueriedKeepsTheWorkingFileAndFails) {
    TempRoot root;
    root.write(kConf, kOld);
    ASSERT_EQ(::symlink(root.real(kBak).c_str(), root.real(kBak).c_str()), 0);
    expect_restore_fails_and_keeps_the_context();
    EXPECT_EQ(root.read(kConf), kOld);
    EXPECT_STREQ(viewgeo_last_error(), "stat /etc/viewgeo/ovista.bak: Too many levels of symbolic links");
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0], "Failed to load viewgeo_ovista_context at /etc/viewgeo/ovista.bak.");
}

TEST(OvistaConfigRestore, ReplacesTheContextEvenWhenTheSaveFails) {
    TempRoot root;
    root.write(kBak, "[common]\novista_center_pan = 45\n");
    root.write(kConf, kOld);
    viewgeo_ovista_context *ctx = default_context().release();
    ASSERT_NE(ctx, nullptr);
    inject_failure(Op::Rename, EROFS);
    EXPECT_EQ(viewgeo_ovista_context_restore(&ctx), -1);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->center_pan, 45.0f);
    EXPECT_EQ(root.read(kConf), kOld);
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0], save_failure(EROFS, -7));
    viewgeo_ovista_context_delete(ctx);
}

TEST(OvistaConfigRestore, AcceptsANullContext) {
    TempRoot root;
    viewgeo_ovista_context *ctx = nullptr;
    EXPECT_EQ(viewgeo_ovista_context_restore(&ctx), 0);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->center_tilt, -90.0f);
    viewgeo_ovista_context_delete(ctx);
}

}  // namespace
