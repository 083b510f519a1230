// The remote calibration file: its rewrite for one channel and the readers.
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "core/q16.h"
#include "platform/fs.h"
#include "support/remote_reads.h"
#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

using testing::RemoteCentre;
using testing::remote_centre;
using testing::RemoteFlags;
using testing::remote_flags;
using testing::TempRoot;
namespace fs = platform::fs;

constexpr const char *kConf = "/etc/viewgeo/remoteptz.conf";
constexpr const char *kConfNew = "/etc/viewgeo/remoteptz.conf.new";

// The five lines the writer emits for a channel.
std::string group(const std::string &header, const std::string &pan, const std::string &tilt, int status,
                  int automatic) {
    return header + "\ncenter_pan = " + pan + "\ncenter_tilt = " + tilt + "\ncalibration_status = " +
           std::to_string(status) + "\nauto_calibrated = " + std::to_string(automatic) + "\n";
}

// `n` bytes of every value from a fixed linear congruential sequence.
std::string random_bytes(unsigned seed, int n) {
    std::string blob;
    unsigned state = seed;
    for (int i = 0; i < n; ++i) {
        state = state * 1103515245u + 12345u;
        blob.push_back(static_cast<char>((state >> 16) & 0xFF));
    }
    return blob;
}

// A calibration file with two channels and the lens group between them.
const std::string kTwoChannels =
    "[channel_1]\n"
    "center_pan = 1.000000\n"
    "center_tilt = 2.000000\n"
    "calibration_status = 0\n"
    "auto_calibrated = 0\n"
    "\n"
    "[lens_fov]\n"
    "vfov = 40.0\n"
    "[channel_2]\n"
    "center_pan = 5.5\n"
    "# kept as written\n"
    "center_tilt = -6.25\n"
    "calibration_status = 7\n"
    "auto_calibrated = 1\n";

// A context owned by a View (never copied), reached as c.ctx.
struct Context {
    testing::View view;
    viewgeo_context *const ctx = view.get();
};

// Both readers fail for `channel`, and the centre query leaves the
// context's pan and tilt as they were.
void expect_both_readers_fail(int channel) {
    Context c;
    viewgeo_set_pantilt_x(c.ctx, 123, 456);
    EXPECT_EQ(viewgeo_get_remote_center(c.ctx, channel), -1);
    EXPECT_EQ(c.ctx->pan, 123);
    EXPECT_EQ(c.ctx->tilt, 456);
    EXPECT_EQ(viewgeo_get_remote_calibrated(channel), nullptr);
}

// --- rewrite ------------------------------------------------------------

TEST(RemoteStoreWrite, NoFileYetCreatesExactlyFiveLines) {
    TempRoot root;
    EXPECT_EQ(viewgeo_set_remote_center(2, 10.5f, -3.25f, 1, 0), 0);
    EXPECT_EQ(root.read(kConf),
              "[channel_2]\n"
              "center_pan = 10.500000\n"
              "center_tilt = -3.250000\n"
              "calibration_status = 1\n"
              "auto_calibrated = 0\n");
    EXPECT_FALSE(root.exists(kConfNew));
}

TEST(RemoteStoreWrite, PrintsSixDecimalsOfTheFloat) {
    TempRoot root;
    // 0.1f is 0.100000001490116..., printed through double.
    EXPECT_EQ(viewgeo_set_remote_center(-5, 0.1f, -179.999f, -3, 42), 0);
    EXPECT_EQ(root.read(kConf), group("[channel_-5]", "0.100000", "-179.998993", -3, 42));
}

// One rewrite of a channel in an existing file: the file before, the
// values written, and the whole file after, byte for byte.
struct RewriteCase {
    const char *name;
    std::string old;
    int channel;
    float pan;
    float tilt;
    int status;
    int automatic;
    std::string expected;
};

// Printed by its name: GoogleTest would otherwise print the record's raw
// bytes, padding included.
void PrintTo(const RewriteCase &c, std::ostream *os) { *os << c.name; }

std::vector<RewriteCase> rewrite_cases() {
    const std::string long_lines = "[lens_fov]\nnote = " + std::string(300, 'z') + "\n" + std::string(250, '[') + "\n";
    const std::string other_numbers = "[channel_10]\ncenter_pan = 4\n[channel]\nx = 1\n[channel_ 1 ]\nk = v\n";
    // -27777777727 is -2007973951 modulo 2^32.
    const std::string beyond_int = "[channel_-27777777727]\ncenter_pan = 4\n";
    const std::string twice_fresh = group("[channel_4]", "-90.000000", "45.000000", 2, 0);
    return {
        // The blank line belonged to channel 1's group and goes with its keys.
        // Everything from the lens group on is kept byte for byte.
        {"RewritingOneChannelKeepsOrderAndForeignGroups", kTwoChannels, 1, 20.25f, -7.125f, 3, 1,
         group("[channel_1]", "20.250000", "-7.125000", 3, 1) + kTwoChannels.substr(kTwoChannels.find("[lens_fov]"))},
        {"RewritingTheLastChannelKeepsEverythingBeforeIt", kTwoChannels, 2, -1.0f, 0.0f, 0, 0,
         kTwoChannels.substr(0, kTwoChannels.find("[channel_2]")) + group("[channel_2]", "-1.000000", "0.000000", 0, 0)},
        {"NewChannelIsAppendedAfterEverything", kTwoChannels, 3, 1.5f, 2.5f, 1, 1,
         kTwoChannels + group("[channel_3]", "1.500000", "2.500000", 1, 1)},
        {"HeaderNumberWithLeadingZeroMatchesTheChannel", "[channel_01]\ncenter_pan = 4\n[lens_fov]\nvfov = 30\n", 1,
         2.0f, 3.0f, 0, 1, group("[channel_01]", "2.000000", "3.000000", 0, 1) + "[lens_fov]\nvfov = 30\n"},
        {"HeaderWithTrailingCharactersMatchesTheChannel", "[channel_1x]\ncenter_pan = 4\n", 1, 2.0f, 3.0f, 0, 1,
         group("[channel_1x]", "2.000000", "3.000000", 0, 1)},
        {"HeaderOfAnotherNumberDoesNotMatch", other_numbers, 11, 2.0f, 3.0f, 0, 1,
         other_numbers + group("[channel_11]", "2.000000", "3.000000", 0, 1)},
        {"HeaderNumberBeyondTheIntRangeDoesNotWrapToAnotherChannel", beyond_int, -2007973951, 2.0f, 3.0f, 0, 1,
         beyond_int + group("[channel_-2007973951]", "2.000000", "3.000000", 0, 1)},
        // "%d" skips blanks and takes a sign, so both headers name channel 1.
        {"NumberIsScannedAfterBlanksAndSign", "[channel_ 1]\na = 1\n[channel_+1]\nb = 2\n", 1, 0.0f, 0.0f, 0, 0,
         group("[channel_ 1]", "0.000000", "0.000000", 0, 0) + group("[channel_+1]", "0.000000", "0.000000", 0, 0)},
        {"GroupPresentTwiceIsReplacedTwiceAndNotAppended",
         "[channel_4]\ncenter_pan = 1\n"
         "[lens_fov]\nvfov = 12.5\n"
         "[channel_4]\ncenter_pan = 2\ncenter_tilt = 3\n",
         4, -90.0f, 45.0f, 2, 0, twice_fresh + "[lens_fov]\nvfov = 12.5\n" + twice_fresh},
        // Not a header without its line feed: copied as it stands, and the
        // appended group starts on a line of its own.
        {"HeaderOnLastLineWithoutNewlineIsCopiedAndTheGroupAppended", "[lens_fov]\nvfov = 40\n[channel_1]", 1, 1.0f,
         2.0f, 3, 4, "[lens_fov]\nvfov = 40\n[channel_1]\n" + group("[channel_1]", "1.000000", "2.000000", 3, 4)},
        {"HeaderWithoutNewlineInsideTheChannelsGroupIsDropped", "[channel_3]\ncenter_pan = 9\n[channel_3]", 3, 1.0f,
         2.0f, 3, 4, group("[channel_3]", "1.000000", "2.000000", 3, 4)},
        {"LongLinesOfOtherGroupsAreCopiedWhole", long_lines, 1, 1.0f, 2.0f, 0, 0,
         long_lines + group("[channel_1]", "1.000000", "2.000000", 0, 0)},
        // Every piece of the long lines is dropped; the second piece of the
        // first one ends in "]\n" but does not start with "[", so it is no
        // header.
        {"LongLineInsideTheChannelsGroupIsDroppedInFull",
         "[channel_5]\n" + std::string(98, 'b') + "x]\n" + std::string(500, 'c') + "\n[lens_fov]\n", 5, 1.0f, 1.0f, 1,
         1, group("[channel_5]", "1.000000", "1.000000", 1, 1) + "[lens_fov]\n"},
    };
}

class RemoteStoreRewrite : public ::testing::TestWithParam<RewriteCase> {};

TEST_P(RemoteStoreRewrite, GivesExactlyTheExpectedFile) {
    const RewriteCase &c = GetParam();
    TempRoot root;
    root.write(kConf, c.old);
    EXPECT_EQ(viewgeo_set_remote_center(c.channel, c.pan, c.tilt, c.status, c.automatic), 0);
    EXPECT_EQ(root.read(kConf), c.expected);
}

INSTANTIATE_TEST_SUITE_P(RemoteStoreWrite, RemoteStoreRewrite, ::testing::ValuesIn(rewrite_cases()),
                         [](const ::testing::TestParamInfo<RewriteCase> &info) { return std::string(info.param.name); });

TEST(RemoteStoreWrite, HeaderNumberBeyondTheIntRangeSaturates) {
    TempRoot root;
    root.write(kConf, "[channel_-27777777727]\ncenter_pan = 4\n[channel_99999999999]\ncenter_pan = 5\n");
    EXPECT_EQ(viewgeo_set_remote_center(INT32_MIN, 2.0f, 3.0f, 0, 1), 0);
    EXPECT_EQ(viewgeo_set_remote_center(INT32_MAX, -2.0f, -3.0f, 1, 0), 0);
    EXPECT_EQ(root.read(kConf), group("[channel_-27777777727]", "2.000000", "3.000000", 0, 1) +
                                    group("[channel_99999999999]", "-2.000000", "-3.000000", 1, 0));
}

TEST(RemoteStoreWrite, AppendedGroupAfterAMissingFinalNewlineStaysReadable) {
    TempRoot root;
    root.write(kConf, "[channel_2]\ncenter_pan = 5\ncenter_tilt = 6\ncalibration_status = 7\nauto_calibrated = 8\n"
                      "# last line");
    EXPECT_EQ(viewgeo_set_remote_center(3, 1.0f, 2.0f, 0, 0), 0);
    EXPECT_EQ(remote_flags(2), (RemoteFlags{7, 8}));
    const auto three = remote_flags(3);
    ASSERT_TRUE(three.has_value());
    EXPECT_EQ(three->status, 0);
}

TEST(RemoteStoreWrite, LongLineIsJudgedWholeAsTheReaderJudgesIt) {
    TempRoot root;
    // "[channel_1]" at the end of a long line starts no group for the reader,
    // so it starts none for the writer: the group is appended and reads back.
    const std::string old = "[lens_fov]\n" + std::string(99, 'a') +
                            "[channel_1]\ncenter_pan = 5\nother = 6\n[channel_2]\nk = v\n";
    root.write(kConf, old);
    EXPECT_EQ(viewgeo_set_remote_center(1, 7.0f, 8.0f, 0, 1), 0);
    EXPECT_EQ(root.read(kConf), old + group("[channel_1]", "7.000000", "8.000000", 0, 1));
    const auto read = remote_flags(1);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->auto_calibrated, 1);
}

TEST(RemoteStoreWrite, LineOfExactly99CharactersIsOnePieceAndItsNewlineAnother) {
    TempRoot root;
    // "[channel_6" padded to 98 characters plus "]" fills the buffer; the line
    // feed comes as a piece of its own, so the header is not recognised.
    const std::string header = "[channel_6" + std::string(88, '0') + "]";
    ASSERT_EQ(header.size(), 99u);
    root.write(kConf, header + "\nk = v\n");
    EXPECT_EQ(viewgeo_set_remote_center(6, 1.0f, 1.0f, 1, 1), 0);
    EXPECT_EQ(root.read(kConf), header + "\nk = v\n" + group("[channel_6]", "1.000000", "1.000000", 1, 1));
}

TEST(RemoteStoreWrite, BinaryContentIsCopiedByteForByte) {
    TempRoot root;
    std::string blob = random_bytes(12345, 4000);
    blob += std::string("\0\0[\0]\n", 6) + "[channel_2]\n";
    ASSERT_EQ(blob.find("[channel_9"), std::string::npos);
    root.write(kConf, blob);
    EXPECT_EQ(viewgeo_set_remote_center(9, 1.0f, 2.0f, 3, 4), 0);
    EXPECT_EQ(root.read(kConf), blob + group("[channel_9]", "1.000000", "2.000000", 3, 4));
}

TEST(RemoteStoreWrite, HeaderLineWithANulByteNamesNoChannel) {
    TempRoot root;
    // The reader drops a line holding a NUL byte, so the writer does not take
    // it for the channel's header: it is copied and the group appended.
    const std::string old = std::string("[channel_7\0zz]\n", 15) + "center_pan = 1\n[x]\n";
    root.write(kConf, old);
    EXPECT_EQ(viewgeo_set_remote_center(7, 3.0f, 4.0f, 0, 0), 0);
    EXPECT_EQ(root.read(kConf), old + group("[channel_7]", "3.000000", "4.000000", 0, 0));
    Context c;
    EXPECT_EQ(viewgeo_get_remote_center(c.ctx, 7), 0);
    EXPECT_EQ(c.ctx->pan, q16_from_float(3.0f));
}

TEST(RemoteStoreWrite, ChannelWithoutGroupNameIsWrittenInFull) {
    TempRoot root;
    EXPECT_EQ(viewgeo_set_remote_center(1000000, 1.0f, 2.0f, 0, 0), 0);
    EXPECT_EQ(root.read(kConf), group("[channel_1000000]", "1.000000", "2.000000", 0, 0));
}

TEST(RemoteStoreWrite, KeepsTheModeOfTheOldFile) {
    TempRoot root;
    root.write(kConf, kTwoChannels);
    ASSERT_EQ(::chmod(root.real(kConf).c_str(), 0640), 0);
    EXPECT_EQ(viewgeo_set_remote_center(1, 0.0f, 0.0f, 0, 0), 0);
    struct stat st;
    ASSERT_EQ(::stat(root.real(kConf).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
    EXPECT_EQ(st.st_uid, ::getuid());
}

TEST(RemoteStoreWrite, LeftoverNewFileIsTruncated) {
    TempRoot root;
    root.write(kConfNew, std::string(5000, 'q'));
    EXPECT_EQ(viewgeo_set_remote_center(2, 10.5f, -3.25f, 1, 0), 0);
    EXPECT_EQ(root.read(kConf), group("[channel_2]", "10.500000", "-3.250000", 1, 0));
}

TEST(RemoteStoreWrite, SymbolicLinkAtTheNewPathIsNotFollowed) {
    TempRoot root;
    root.write(kConf, kTwoChannels);
    root.write("/elsewhere/victim", "untouched");
    std::filesystem::create_symlink(root.real("/elsewhere/victim"), root.real(kConfNew));
    EXPECT_EQ(viewgeo_set_remote_center(1, 0.0f, 0.0f, 0, 0), -1);
    EXPECT_EQ(root.read("/elsewhere/victim"), "untouched");
    EXPECT_EQ(root.read(kConf), kTwoChannels);
}

TEST(RemoteStoreWrite, OldFileThatCannotBeOpenedFailsWithoutLosingIt) {
    TempRoot root;
    root.write(kConf, kTwoChannels);
    fs::inject_failure(fs::Op::Fopen, EACCES);
    EXPECT_EQ(viewgeo_set_remote_center(3, 0.0f, 0.0f, 0, 0), -1);
    EXPECT_EQ(root.read(kConf), kTwoChannels);
}

TEST(RemoteStoreWrite, OldPathThatIsADirectoryFailsAtOnceAndStays) {
    TempRoot root;
    root.make_dir(kConf);
    EXPECT_EQ(viewgeo_set_remote_center(3, 0.0f, 0.0f, 0, 0), -1);
    EXPECT_STREQ(viewgeo_last_error(), "open /etc/viewgeo/remoteptz.conf: Is a directory");
    EXPECT_TRUE(std::filesystem::is_directory(root.real(kConf)));
    EXPECT_FALSE(root.exists(kConfNew));
}

// Each failure before the rename leaves the old file as it was.
class RemoteStoreWriteFailure : public ::testing::TestWithParam<fs::Op> {};

TEST_P(RemoteStoreWriteFailure, FailsAndLeavesTheOldFileIntact) {
    TempRoot root;
    root.write(kConf, kTwoChannels);
    fs::inject_failure(GetParam(), EIO);
    EXPECT_EQ(viewgeo_set_remote_center(1, 99.0f, 9.0f, 9, 9), -1);
    EXPECT_EQ(root.read(kConf), kTwoChannels);
}

INSTANTIATE_TEST_SUITE_P(BeforeRename, RemoteStoreWriteFailure,
                         ::testing::Values(fs::Op::FopenNew, fs::Op::Chmod, fs::Op::Chown, fs::Op::Rename),
                         [](const ::testing::TestParamInfo<fs::Op> &info) {
                             switch (info.param) {
                             case fs::Op::FopenNew: return std::string("NewFileCannotBeCreated");
                             case fs::Op::Chmod: return std::string("ModeCannotBeSet");
                             case fs::Op::Chown: return std::string("OwnerCannotBeSet");
                             default: return std::string("RenameFails");
                             }
                         });

TEST(RemoteStoreWrite, FailedChmodLeavesTheNewFileBehindForTheNextRewrite) {
    TempRoot root;
    root.write(kConf, kTwoChannels);
    fs::inject_failure(fs::Op::Chmod, EPERM);
    EXPECT_EQ(viewgeo_set_remote_center(1, 99.0f, 9.0f, 9, 9), -1);
    EXPECT_TRUE(root.exists(kConfNew));
    EXPECT_EQ(viewgeo_set_remote_center(1, 1.0f, 2.0f, 0, 0), 0);
    EXPECT_FALSE(root.exists(kConfNew));
    EXPECT_EQ(root.read(kConf).substr(0, 12), "[channel_1]\n");
}

TEST(RemoteStoreWrite, NoOldFileSkipsModeAndOwner) {
    TempRoot root;
    // Were chmod or chown called, the armed failures would make it fail.
    fs::inject_failure(fs::Op::Chmod, EPERM);
    fs::inject_failure(fs::Op::Chown, EPERM);
    EXPECT_EQ(viewgeo_set_remote_center(2, 10.5f, -3.25f, 1, 0), 0);
    EXPECT_EQ(root.read(kConf), group("[channel_2]", "10.500000", "-3.250000", 1, 0));
}

// After the rename the new text is in place and complete; a failing
// directory sync is still reported.
// Set up like RemoteStoreWriteFailure on purpose; only what is left
// differs.
class RemoteStoreDirectorySyncFailure : public ::testing::TestWithParam<fs::Op> {};

TEST_P(RemoteStoreDirectorySyncFailure, FailsWithTheCompleteNewFileInPlace) {
    TempRoot root;
    root.write(kConf, kTwoChannels);
    fs::inject_failure(GetParam(), EIO);
    EXPECT_EQ(viewgeo_set_remote_center(3, 1.0f, 2.0f, 0, 0), -1);
    EXPECT_EQ(root.read(kConf), kTwoChannels + group("[channel_3]", "1.000000", "2.000000", 0, 0));
    EXPECT_FALSE(root.exists(kConfNew));
}

INSTANTIATE_TEST_SUITE_P(AfterRename, RemoteStoreDirectorySyncFailure,
                         ::testing::Values(fs::Op::OpenDir, fs::Op::FsyncFd, fs::Op::CloseFd),
                         [](const ::testing::TestParamInfo<fs::Op> &info) {
                             switch (info.param) {
                             case fs::Op::OpenDir: return std::string("DirectoryCannotBeOpened");
                             case fs::Op::FsyncFd: return std::string("DirectorySyncFails");
                             default: return std::string("DirectoryCloseFails");
                             }
                         });

TEST(RemoteStoreWrite, FileSyncFailureFailsAndRemovesTheNewFile) {
    TempRoot root;
    fs::inject_failure(fs::Op::Fsync, EIO);
    EXPECT_EQ(viewgeo_set_remote_center(2, 10.5f, -3.25f, 1, 0), -1);
    EXPECT_FALSE(root.exists(kConf));
    EXPECT_FALSE(root.exists(kConfNew));
    EXPECT_STREQ(viewgeo_last_error(), "fsync /etc/viewgeo/remoteptz.conf.new: Input/output error");
}

// --- readers ------------------------------------------------------------

TEST(RemoteStoreRead, CentreWrittenIsReadBackIntoTheContext) {
    TempRoot root;
    ASSERT_EQ(viewgeo_set_remote_center(2, 10.5f, -3.25f, 1, 0), 0);
    // 10.5 and -3.25 times 65536.
    EXPECT_EQ(remote_centre(2), (RemoteCentre{688128, -212992}));
    EXPECT_EQ(remote_flags(2), (RemoteFlags{1, 0}));
}

TEST(RemoteStoreRead, ReadsEachChannelOfASharedFile) {
    TempRoot root;
    root.write(kConf, kTwoChannels);
    EXPECT_EQ(remote_centre(2), (RemoteCentre{360448, -409600}));  // 5.5, -6.25
    EXPECT_EQ(remote_centre(1), (RemoteCentre{65536, 131072}));
    EXPECT_EQ(remote_flags(2), (RemoteFlags{7, 1}));
}

TEST(RemoteStoreRead, CentreIsRoundedToTheNearestWord) {
    TempRoot root;
    root.write(kConf, "[channel_1]\ncenter_pan = 0.00001\ncenter_tilt = -0.00001\ncalibration_status = 0\n"
                      "auto_calibrated = 0\n");
    // 0.00001 * 65536 = 0.655: rounds to 1 and -1.
    EXPECT_EQ(remote_centre(1), (RemoteCentre{1, -1}));
}

TEST(RemoteStoreRead, MissingFileFailsAndLeavesTheContext) {
    TempRoot root;
    expect_both_readers_fail(1);
}

TEST(RemoteStoreRead, ChannelWithoutGroupFails) {
    TempRoot root;
    root.write(kConf, kTwoChannels);
    expect_both_readers_fail(3);
}

TEST(RemoteStoreRead, GroupMissingAKeyFailsBothReaders) {
    TempRoot root;
    root.write(kConf, "[channel_1]\ncenter_pan = 1\ncenter_tilt = 2\ncalibration_status = 1\n"
                      "[channel_2]\nauto_calibrated = 1\n");
    expect_both_readers_fail(1);
}

TEST(RemoteStoreRead, KeysMayBeSpreadOverTwoCopiesOfTheGroup) {
    TempRoot root;
    root.write(kConf, "[channel_1]\ncenter_pan = 1\ncenter_tilt = 2\n[lens_fov]\nvfov = 3\n"
                      "[channel_1]\ncalibration_status = 4\nauto_calibrated = 5\n");
    EXPECT_EQ(remote_flags(1), (RemoteFlags{4, 5}));
}

TEST(RemoteStoreRead, LaterValueOverwritesUntilAllFourAreFound) {
    TempRoot root;
    // The second center_pan comes before the group is complete and wins; the
    // third comes after and is never read.
    root.write(kConf, "[channel_1]\ncenter_pan = 1\ncenter_pan = 2\ncenter_tilt = 3\ncalibration_status = 4\n"
                      "auto_calibrated = 5\ncenter_pan = 6\n");
    EXPECT_EQ(remote_centre(1), (RemoteCentre{2 * 65536, 3 * 65536}));
}

TEST(RemoteStoreRead, IntegersScanLikePercentD) {
    TempRoot root;
    root.write(kConf, "[channel_1]\ncenter_pan = 1e1\ncenter_tilt = -2.5junk\ncalibration_status = 12abc\n"
                      "auto_calibrated = -0x10\n");
    EXPECT_EQ(remote_centre(1), (RemoteCentre{10 * 65536, -163840}));
    // "-0x10": the digits stop at the x.
    EXPECT_EQ(remote_flags(1), (RemoteFlags{12, 0}));
}

TEST(RemoteStoreRead, OutOfRangeNumbersAreDefined) {
    TempRoot root;
    root.write(kConf, "[channel_1]\ncenter_pan = 1e60\ncenter_tilt = -1e60\n"
                      "calibration_status = 4294967297\nauto_calibrated = 99999999999999999999999\n");
    // Infinities saturate.
    EXPECT_EQ(remote_centre(1), (RemoteCentre{INT32_MAX, INT32_MIN}));
    // 2^32 + 1 saturates.
    EXPECT_EQ(remote_flags(1), (RemoteFlags{INT32_MAX, INT32_MAX}));
    root.write(kConf, "[channel_1]\ncenter_pan = 0\ncenter_tilt = 0\n"
                      "calibration_status = -4294967297\nauto_calibrated = -2147483648\n");
    EXPECT_EQ(remote_flags(1), (RemoteFlags{INT32_MIN, INT32_MIN}));
}

TEST(RemoteStoreRead, ChannelWithoutGroupNameSucceedsUnreadWithZeros) {
    TempRoot root;
    root.write(kConf, "[channel_1000000]\ncenter_pan = 5\ncenter_tilt = 5\ncalibration_status = 5\n"
                      "auto_calibrated = 5\n");
    for (int channel : {1000000, -100000, INT32_MAX, INT32_MIN}) {
        Context c;
        viewgeo_set_pantilt_x(c.ctx, 123, 456);
        EXPECT_EQ(viewgeo_get_remote_center(c.ctx, channel), 0) << channel;
        EXPECT_EQ(c.ctx->pan, 0) << channel;
        EXPECT_EQ(c.ctx->tilt, 0) << channel;
        EXPECT_EQ(remote_flags(channel), (RemoteFlags{0, 0})) << channel;
    }
}

TEST(RemoteStoreRead, ChannelWithoutGroupNameStillNeedsTheFile) {
    TempRoot root;
    Context c;
    EXPECT_EQ(viewgeo_get_remote_center(c.ctx, 1000000), -1);
    EXPECT_EQ(viewgeo_get_remote_calibrated(1000000), nullptr);
}

TEST(RemoteStoreRead, LongestGroupNamesAreRead) {
    TempRoot root;
    root.write(kConf, group("[channel_999999]", "1", "2", 3, 4) + group("[channel_-99999]", "5", "6", 7, 8));
    Context c;
    EXPECT_EQ(viewgeo_get_remote_center(c.ctx, 999999), 0);
    EXPECT_EQ(c.ctx->pan, 65536);
    EXPECT_EQ(viewgeo_get_remote_center(c.ctx, -99999), 0);
    EXPECT_EQ(c.ctx->pan, 5 * 65536);
}

TEST(RemoteStoreRead, BinaryFileGivesNoChannel) {
    TempRoot root;
    root.write(kConf, random_bytes(777, 20000));
    expect_both_readers_fail(1);
}

TEST(RemoteStoreRead, WriterOutputReadsBackForManyChannels) {
    TempRoot root;
    for (int channel = -3; channel <= 12; ++channel) {
        const float pan = static_cast<float>(channel) * 11.25f;
        ASSERT_EQ(viewgeo_set_remote_center(channel, pan, -pan / 4.0f, channel, -channel), 0);
    }
    // Rewrite a few again: the others must survive.
    ASSERT_EQ(viewgeo_set_remote_center(4, -170.5f, 80.25f, 1, 1), 0);
    ASSERT_EQ(viewgeo_set_remote_center(-3, 0.0f, 0.0f, 2, 2), 0);
    for (int channel = -3; channel <= 12; ++channel) {
        Context c;
        ASSERT_EQ(viewgeo_get_remote_center(c.ctx, channel), 0) << channel;
        const auto cal = remote_flags(channel);
        ASSERT_TRUE(cal.has_value()) << channel;
        if (channel == 4) {
            EXPECT_EQ(c.ctx->pan, q16_from_float(-170.5f));
            EXPECT_EQ(c.ctx->tilt, q16_from_float(80.25f));
            EXPECT_EQ(cal->status, 1);
        } else if (channel == -3) {
            EXPECT_EQ(c.ctx->pan, 0);
            EXPECT_EQ(cal->auto_calibrated, 2);
        } else {
            const float pan = static_cast<float>(channel) * 11.25f;
            EXPECT_EQ(c.ctx->pan, q16_from_float(pan)) << channel;
            EXPECT_EQ(c.ctx->tilt, q16_from_float(-pan / 4.0f)) << channel;
            EXPECT_EQ(cal, (RemoteFlags{channel, -channel})) << channel;
        }
    }
}

// Files of well-formed headers with junk between them: rewriting one
// channel never changes what the others read back.
TEST(RemoteStoreProperty, RewriteLeavesEveryOtherChannelAsItReads) {
    TempRoot root;
    unsigned state = 2024;
    auto next = [&state](unsigned n) {
        state = state * 1103515245u + 12345u;
        return (state >> 16) % n;
    };
    const char *junk[] = {"# note\n", "\n", "garbage without equals\n", "center_pan = 77\n", "x = \x01\x02\xff\n",
                          "vfov = 12\n", "calibration_status = oops\n"};
    for (int round = 0; round < 40; ++round) {
        std::string text;
        const int groups = 3 + static_cast<int>(next(6));
        for (int g = 0; g < groups; ++g) {
            const int kind = static_cast<int>(next(7));
            if (kind == 0) {
                text += "[lens_fov]\nvfov = 40\n";
            } else {
                text += "[channel_" + std::to_string(kind) + "]\n";
                const char *keys[] = {"center_pan = ", "center_tilt = ", "calibration_status = ", "auto_calibrated = "};
                for (const char *key : keys) {
                    if (next(5) != 0) text += std::string(key) + std::to_string(next(300)) + "\n";
                    if (next(4) == 0) text += junk[next(7)];
                    if (next(9) == 0) text += std::string(100 + next(150), 'L') + "\n";
                }
            }
        }
        if (next(3) == 0) text += "tail without newline";
        root.write(kConf, text);

        auto snapshot = [](int channel) {
            std::string out;
            viewgeo_context *ctx = viewgeo_context_create();
            viewgeo_set_pantilt_x(ctx, -1, -1);
            const int status = viewgeo_get_remote_center(ctx, channel);
            out += std::to_string(status) + ":" + std::to_string(ctx->pan) + "," + std::to_string(ctx->tilt);
            viewgeo_context_delete(ctx);
            if (const auto flags = remote_flags(channel)) {
                out += ":" + std::to_string(flags->status) + "," + std::to_string(flags->auto_calibrated);
            }
            return out;
        };
        std::string before[7];
        for (int ch = 1; ch <= 6; ++ch) before[ch] = snapshot(ch);
        const int target = 1 + static_cast<int>(next(6));
        ASSERT_EQ(viewgeo_set_remote_center(target, 12.5f, -4.0f, 3, 1), 0);
        for (int ch = 1; ch <= 6; ++ch) {
            if (ch == target) {
                EXPECT_EQ(snapshot(ch), "0:819200,-262144:3,1") << round;
            } else {
                EXPECT_EQ(snapshot(ch), before[ch]) << round << " channel " << ch;
            }
        }
    }
}

}  // namespace
}  // namespace viewgeo
