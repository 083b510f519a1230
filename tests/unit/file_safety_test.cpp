// The files under attack: injected I/O errors and full disks at every step
// of every writer, the order of the writers' system calls, concurrent
// writers in several processes, FIFOs, devices and oversized files at every
// read path, hand-edited headers, configuration reads in several threads,
// and the message viewgeo_last_error() gives for each kind of failure.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <ostream>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "core/q16.h"
#include "platform/fs.h"
#include "remote/remote_calibration.h"
#include "support/temp_root.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

using testing::TempRoot;
namespace fs = platform::fs;
using fs::Op;

constexpr const char *kConf = "/etc/viewgeo/remoteptz.conf";
constexpr const char *kConfNew = "/etc/viewgeo/remoteptz.conf.new";
constexpr const char *kOvista = "/etc/viewgeo/ovista.conf";
constexpr const char *kOvistaTmp = "/etc/viewgeo/ovista.conf.tmp";
constexpr const char *kBackup = "/etc/viewgeo/ovista.bak";
constexpr const char *kMisalignment = "/var/run/ptz/mo_data_file";

const std::string kStore =
    "[channel_1]\ncenter_pan = 1.000000\ncenter_tilt = 2.000000\ncalibration_status = 0\nauto_calibrated = 0\n"
    "[lens_fov]\nvfov = 40.0\n"
    "[channel_2]\ncenter_pan = 5.5\ncenter_tilt = -6.25\ncalibration_status = 7\nauto_calibrated = 1\n";

std::string group(int channel, const std::string &pan, const std::string &tilt, int status, int automatic) {
    return "[channel_" + std::to_string(channel) + "]\ncenter_pan = " + pan + "\ncenter_tilt = " + tilt +
           "\ncalibration_status = " + std::to_string(status) + "\nauto_calibrated = " + std::to_string(automatic) +
           "\n";
}

struct View {
    viewgeo_context *ctx = viewgeo_context_create();
    View() { viewgeo_set_pic_dim(ctx, 1920, 1080); }
    ~View() { viewgeo_context_delete(ctx); }
    View(const View &) = delete;
    View &operator=(const View &) = delete;
};

// The centre the readers give for a channel, or nothing.
bool read_centre(int channel, float &pan, float &tilt) {
    View v;
    if (viewgeo_get_remote_center(v.ctx, channel) != 0) return false;
    viewgeo_get_pantilt_f(v.ctx, &pan, &tilt);
    return true;
}

// --- failures at each step of each writer --------------------------------

struct WriteFailure {
    const char *name;
    Op op;
    int err;
    const char *message;  // what viewgeo_last_error() gives
    int skip = 0;         // calls of the kind that succeed first
};

// A case prints as the step it breaks (and not as raw bytes, padding included).
void PrintTo(const WriteFailure &failure, std::ostream *os) { *os << failure.name; }

class RemoteWriteStepFailure : public ::testing::TestWithParam<WriteFailure> {};

TEST_P(RemoteWriteStepFailure, ReturnsMinusOneKeepsTheOldFileAndTheNextWriteSucceeds) {
    const WriteFailure f = GetParam();
    TempRoot root;
    root.write(kConf, kStore);
    fs::inject_failure(f.op, f.err, f.skip);
    EXPECT_EQ(viewgeo_set_remote_center(1, 99.0f, 9.0f, 9, 9), -1);
    EXPECT_EQ(root.read(kConf), kStore);
    EXPECT_FALSE(root.exists(kConfNew));
    EXPECT_EQ(std::string(viewgeo_last_error()), f.message);

    EXPECT_EQ(viewgeo_set_remote_center(1, 3.0f, 4.0f, 5, 6), 0);
    EXPECT_STREQ(viewgeo_last_error(), "");
    float pan = 0.0f;
    float tilt = 0.0f;
    ASSERT_TRUE(read_centre(1, pan, tilt));
    EXPECT_EQ(pan, 3.0f);
    EXPECT_EQ(tilt, 4.0f);
}

INSTANTIATE_TEST_SUITE_P(
    EveryStepBeforeTheNewFileIsComplete, RemoteWriteStepFailure,
    ::testing::Values(
        WriteFailure{"OldFileRead", Op::Fgets, EIO, "read /etc/viewgeo/remoteptz.conf: Input/output error"},
        WriteFailure{"OldFileStreamError", Op::Ferror, EIO, "read /etc/viewgeo/remoteptz.conf: Input/output error"},
        WriteFailure{"DiskFullAtWrite", Op::Print, ENOSPC,
                     "write /etc/viewgeo/remoteptz.conf.new: No space left on device"},
        WriteFailure{"DiskFullAtFlush", Op::Fflush, ENOSPC,
                     "write /etc/viewgeo/remoteptz.conf.new: No space left on device"},
        WriteFailure{"IoErrorAtSync", Op::Fsync, EIO, "fsync /etc/viewgeo/remoteptz.conf.new: Input/output error"},
        // The first close is the old file's.
        WriteFailure{"IoErrorAtClose", Op::Fclose, EIO, "close /etc/viewgeo/remoteptz.conf.new: Input/output error", 1},
        WriteFailure{"QuotaAtClose", Op::Fclose, EDQUOT, "close /etc/viewgeo/remoteptz.conf.new: Disk quota exceeded",
                     1},
        WriteFailure{"NewFileNotCreated", Op::FopenNew, EROFS,
                     "create /etc/viewgeo/remoteptz.conf.new: Read-only file system"},
        WriteFailure{"LockNotTaken", Op::LockDir, ENOLCK, "lock /etc/viewgeo: No locks available"}),
    [](const ::testing::TestParamInfo<WriteFailure> &info) { return std::string(info.param.name); });

TEST(RemoteWriteFailure, RenameFailureNamesTheStepThePathAndTheReason) {
    TempRoot root;
    root.write(kConf, kStore);
    fs::inject_failure(Op::Rename, EROFS);
    EXPECT_EQ(viewgeo_set_remote_center(1, 99.0f, 9.0f, 9, 9), -1);
    EXPECT_STREQ(viewgeo_last_error(), "rename /etc/viewgeo/remoteptz.conf.new: Read-only file system");
    EXPECT_EQ(root.read(kConf), kStore);
}

TEST(RemoteWriteFailure, DirectorySyncFailureIsNamed) {
    TempRoot root;
    fs::inject_failure(Op::FsyncFd, EIO);
    EXPECT_EQ(viewgeo_set_remote_center(1, 1.0f, 2.0f, 0, 0), -1);
    EXPECT_STREQ(viewgeo_last_error(), "fsync /etc/viewgeo: Input/output error");
}

// Descriptors this process has open.
int open_descriptors() {
    int n = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) ++n;
    return n;
}

TEST(RemoteWriteFailure, NoMemoryFailsTheWriteAndReleasesTheFileAndTheLock) {
    TempRoot root;
    root.write(kConf, kStore);
    const int before = open_descriptors();
    fail_next_remote_store_allocation();
    int result = 0;
    EXPECT_NO_THROW(result = viewgeo_set_remote_center(1, 99.0f, 9.0f, 9, 9));
    EXPECT_EQ(result, -1);
    EXPECT_STREQ(viewgeo_last_error(), "rewrite /etc/viewgeo/remoteptz.conf: Cannot allocate memory");
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(root.read(kConf), kStore);
    EXPECT_FALSE(root.exists(kConfNew));
    // Nobody holds the directory's lock any more.
    const int dir = ::open(root.real("/etc/viewgeo").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(dir, 0);
    const int locked = ::flock(dir, LOCK_EX | LOCK_NB);
    ::close(dir);
    ASSERT_EQ(locked, 0);  // else the next write would wait for ever
    EXPECT_EQ(viewgeo_set_remote_center(1, 3.0f, 4.0f, 5, 6), 0);
}

TEST(RemoteWriteFailure, FailureOfTheFirstWriteLeavesNoFile) {
    TempRoot root;
    root.make_dir("/etc/viewgeo");
    fs::inject_failure(Op::Fflush, ENOSPC);
    EXPECT_EQ(viewgeo_set_remote_center(2, 1.0f, 2.0f, 0, 0), -1);
    EXPECT_FALSE(root.exists(kConf));
    EXPECT_FALSE(root.exists(kConfNew));
}

TEST(LastError, IsPerThreadAndClearedByTheNextCall) {
    TempRoot root;
    View v;
    EXPECT_EQ(viewgeo_get_remote_center(v.ctx, 1), -1);
    EXPECT_STREQ(viewgeo_last_error(), "stat /etc/viewgeo/remoteptz.conf: No such file or directory");
    std::string other = "unset";
    std::thread([&other] { other = viewgeo_last_error(); }).join();
    EXPECT_EQ(other, "");
    root.write(kConf, kStore);
    EXPECT_EQ(viewgeo_get_remote_center(v.ctx, 1), 0);
    EXPECT_STREQ(viewgeo_last_error(), "");
}

// A file whose status cannot be queried (a directory on its path that may
// not be searched, a loop of symbolic links) is not a missing file: the
// readers keep what they do for a missing one, but the reason is given.
TEST(LastError, OverviewLoadNamesAStatusQueryThatFailsForAnotherReasonThanAMissingFile) {
    TempRoot root;
    root.write(kOvista, "[common]\novista_center_pan = 5\n");
    fs::inject_failure(Op::Stat, EACCES);
    viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
    ASSERT_NE(ctx, nullptr);
    EXPECT_STREQ(viewgeo_last_error(), "stat /etc/viewgeo/ovista.conf: Permission denied");
    viewgeo_ovista_context_delete(ctx);
}

TEST(LastError, MisalignmentLoadNamesAStatusQueryThatFailsForAnotherReasonThanAMissingFile) {
    TempRoot root;
    root.write(kMisalignment, "PTZCAL_MECH_OFFSET=1,2\n");
    fs::inject_failure(Op::Stat, ELOOP, 1);  // the first is the projection flag's
    viewgeo_context *ctx = viewgeo_context_create();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->mo_state, 0);
    EXPECT_STREQ(viewgeo_last_error(), "stat /var/run/ptz/mo_data_file: Too many levels of symbolic links");
    viewgeo_context_delete(ctx);
}

TEST(LastError, MissingFilesAreNoFailure) {
    TempRoot root;
    viewgeo_ovista_context *octx = viewgeo_ovista_context_create();
    ASSERT_NE(octx, nullptr);
    EXPECT_STREQ(viewgeo_last_error(), "");
    viewgeo_ovista_context_delete(octx);
    viewgeo_context *ctx = viewgeo_context_create();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->mo_state, 0);
    EXPECT_STREQ(viewgeo_last_error(), "");
    viewgeo_context_delete(ctx);
}

TEST(OverviewWriteFailure, EveryFailedStepIsNamedWithItsPath) {
    struct Case {
        Op op;
        int err;
        const char *message;
    };
    const Case cases[] = {
        {Op::FopenNew, EROFS, "create /etc/viewgeo/ovista.conf.tmp: Read-only file system"},
        {Op::Fflush, ENOSPC, "write /etc/viewgeo/ovista.conf.tmp: No space left on device"},
        {Op::Fsync, EIO, "fsync /etc/viewgeo/ovista.conf.tmp: Input/output error"},
        {Op::Fclose, EDQUOT, "close /etc/viewgeo/ovista.conf.tmp: Disk quota exceeded"},
        {Op::Chmod, EPERM, "chmod /etc/viewgeo/ovista.conf.tmp: Operation not permitted"},
        {Op::Rename, EROFS, "rename /etc/viewgeo/ovista.conf.tmp: Read-only file system"},
        {Op::Dirname, ENOMEM, "open directory of /etc/viewgeo/ovista.conf: Cannot allocate memory"},
        {Op::OpenDir, EMFILE, "open directory of /etc/viewgeo/ovista.conf: Too many open files"},
        {Op::FsyncFd, EIO, "fsync directory of /etc/viewgeo/ovista.conf: Input/output error"},
        {Op::LockDir, ENOLCK, "lock /etc/viewgeo: No locks available"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.message);
        TempRoot root;
        root.make_dir("/etc/viewgeo");
        viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
        ASSERT_NE(ctx, nullptr);
        // The save's own dirname comes after the lock's: skip the lock's.
        fs::inject_failure(c.op, c.err, c.op == Op::Dirname ? 1 : 0);
        EXPECT_EQ(viewgeo_ovista_context_save(ctx), -1);
        EXPECT_STREQ(viewgeo_last_error(), c.message);
        viewgeo_ovista_context_delete(ctx);
    }
}

TEST(OverviewWriteFailure, NoMemoryForTheNameOfTheDirectoryToLockIsNamed) {
    TempRoot root;
    root.make_dir("/etc/viewgeo");
    viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
    ASSERT_NE(ctx, nullptr);
    fs::inject_failure(Op::Dirname, ENOMEM);  // the lock's, the first one
    EXPECT_EQ(viewgeo_ovista_context_save(ctx), -1);
    EXPECT_STREQ(viewgeo_last_error(), "lock directory of /etc/viewgeo/ovista.conf: Cannot allocate memory");
    EXPECT_FALSE(root.exists(kOvista));
    viewgeo_ovista_context_delete(ctx);
}

TEST(OverviewWriteFailure, FailedLineIsNamed) {
    TempRoot root;
    root.make_dir("/etc/viewgeo");
    viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
    ASSERT_NE(ctx, nullptr);
    fs::inject_failure(Op::Print, ENOSPC, 3);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx), -1);
    EXPECT_STREQ(viewgeo_last_error(), "write /etc/viewgeo/ovista.conf: a line could not be printed");
    EXPECT_EQ(viewgeo_ovista_context_save(ctx), 0);
    EXPECT_STREQ(viewgeo_last_error(), "");
    viewgeo_ovista_context_delete(ctx);
}

// --- order of the system calls -------------------------------------------

std::ptrdiff_t position(const std::vector<Op> &trace, Op op) {
    const auto at = std::find(trace.begin(), trace.end(), op);
    return at == trace.end() ? -1 : at - trace.begin();
}

std::ptrdiff_t last_position(const std::vector<Op> &trace, Op op) {
    const auto at = std::find(trace.rbegin(), trace.rend(), op);
    return at == trace.rend() ? -1 : trace.rend() - at - 1;
}

TEST(WriterCallOrder, RemoteWriterLocksReadsWritesFlushesSyncsClosesRenamesThenSyncsTheDirectory) {
    TempRoot root;
    root.write(kConf, kStore);
    fs::start_trace();
    ASSERT_EQ(viewgeo_set_remote_center(1, 1.0f, 2.0f, 0, 0), 0);
    const std::vector<Op> &t = fs::trace();
    EXPECT_EQ(position(t, Op::LockDir), 0);
    // The old file is read and closed before the new one is opened.
    EXPECT_EQ(position(t, Op::Fopen), 1);
    EXPECT_LT(last_position(t, Op::Fgets), position(t, Op::FopenNew));
    const std::vector<Op> written(t.begin() + position(t, Op::FopenNew), t.end());
    const std::vector<Op> order = {Op::FopenNew, Op::Print,  Op::Fflush,  Op::Fsync,   Op::Fclose,
                                   Op::Chmod,    Op::Getuid, Op::Chown,   Op::Rename,  Op::OpenDir,
                                   Op::FsyncFd,  Op::CloseFd};
    for (std::size_t i = 0; i + 1 < order.size(); ++i) {
        SCOPED_TRACE(i);
        ASSERT_GE(position(written, order[i]), 0);
        EXPECT_LT(last_position(written, order[i]), position(written, order[i + 1]));
    }
    EXPECT_EQ(t.back(), Op::CloseFd);
}

TEST(WriterCallOrder, OverviewWriterLocksWritesFlushesSyncsClosesRenamesThenSyncsTheDirectory) {
    TempRoot root;
    root.make_dir("/etc/viewgeo");
    viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
    ASSERT_NE(ctx, nullptr);
    fs::start_trace();
    ASSERT_EQ(viewgeo_ovista_context_save(ctx), 0);
    viewgeo_ovista_context_delete(ctx);
    const std::vector<Op> &t = fs::trace();
    EXPECT_EQ(position(t, Op::LockDir), 1);  // after the directory's name
    const std::vector<Op> order = {Op::FopenNew, Op::Print,  Op::Fflush,  Op::Fsync,   Op::Fclose,
                                   Op::Chmod,    Op::Rename, Op::OpenDir, Op::FsyncFd, Op::CloseFd};
    for (std::size_t i = 0; i + 1 < order.size(); ++i) {
        SCOPED_TRACE(i);
        ASSERT_GE(position(t, order[i]), 0);
        EXPECT_LT(last_position(t, order[i]), position(t, order[i + 1]));
    }
}

// --- hostile files at every read path -------------------------------------

enum class Hostile { Fifo, CharDevice, Endless, Oversized };

std::string hostile_name(Hostile h) {
    switch (h) {
    case Hostile::Fifo: return "Fifo";
    case Hostile::CharDevice: return "DevNull";
    case Hostile::Endless: return "DevZero";
    default: return "Oversized";
    }
}

// Puts the hostile file at the logical path.
void plant(const TempRoot &root, const char *logical, Hostile h) {
    root.make_dir(std::filesystem::path(logical).parent_path().string());
    const std::string real = root.real(logical);
    switch (h) {
    case Hostile::Fifo: ASSERT_EQ(::mkfifo(real.c_str(), 0600), 0); break;
    case Hostile::CharDevice: std::filesystem::create_symlink("/dev/null", real); break;
    case Hostile::Endless: std::filesystem::create_symlink("/dev/zero", real); break;
    case Hostile::Oversized: root.write(logical, "[channel_1]\n" + std::string(1024 * 1024, '#')); break;
    }
}

class HostileFile : public ::testing::TestWithParam<Hostile> {};

TEST_P(HostileFile, RemoteReadersFailAtOnce) {
    TempRoot root;
    plant(root, kConf, GetParam());
    View v;
    EXPECT_EQ(viewgeo_get_remote_center(v.ctx, 1), -1);
    EXPECT_EQ(viewgeo_get_remote_calibrated(1), nullptr);
    EXPECT_EQ(viewgeo_get_remote_fov(v.ctx), -1);
    EXPECT_NE(std::string(viewgeo_last_error()).find("read /etc/viewgeo/remoteptz.conf: "), std::string::npos);
}

TEST_P(HostileFile, RemoteWriterFailsAtOnceAndLeavesIt) {
    TempRoot root;
    plant(root, kConf, GetParam());
    EXPECT_EQ(viewgeo_set_remote_center(1, 1.0f, 2.0f, 0, 0), -1);
    EXPECT_FALSE(root.exists(kConfNew));
    EXPECT_EQ(std::string(viewgeo_last_error()).rfind("open /etc/viewgeo/remoteptz.conf: ", 0), 0u);
}

TEST_P(HostileFile, OverviewCreateFailsAtOnce) {
    TempRoot root;
    plant(root, kOvista, GetParam());
    EXPECT_EQ(viewgeo_ovista_context_create(), nullptr);
}

TEST_P(HostileFile, OverviewRestoreFailsAtOnceAndKeepsTheContext) {
    TempRoot root;
    plant(root, kBackup, GetParam());
    viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
    ASSERT_NE(ctx, nullptr);
    viewgeo_ovista_context *before = ctx;
    EXPECT_EQ(viewgeo_ovista_context_restore(&ctx), -1);
    EXPECT_EQ(ctx, before);
    EXPECT_FALSE(root.exists(kOvista));
    viewgeo_ovista_context_delete(ctx);
}

TEST_P(HostileFile, ContextCreationMarksTheMisalignmentDataUnreadable) {
    TempRoot root;
    plant(root, kMisalignment, GetParam());
    viewgeo_context *ctx = viewgeo_context_create();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->mo_state, 2);
    EXPECT_EQ(std::string(viewgeo_last_error()).rfind("read /var/run/ptz/mo_data_file: ", 0), 0u);
    viewgeo_context_delete(ctx);
}

INSTANTIATE_TEST_SUITE_P(AtEveryReadPath, HostileFile,
                         ::testing::Values(Hostile::Fifo, Hostile::CharDevice, Hostile::Endless, Hostile::Oversized),
                         [](const ::testing::TestParamInfo<Hostile> &info) { return hostile_name(info.param); });

TEST(HostileFileMessage, FifoIsNamedAsNoRegularFile) {
    TempRoot root;
    plant(root, kConf, Hostile::Fifo);
    EXPECT_EQ(viewgeo_set_remote_center(1, 1.0f, 2.0f, 0, 0), -1);
    EXPECT_STREQ(viewgeo_last_error(), "open /etc/viewgeo/remoteptz.conf: Invalid argument");
}

TEST(HostileFileMessage, OversizedFileIsNamedAsTooLarge) {
    TempRoot root;
    plant(root, kConf, Hostile::Oversized);
    EXPECT_EQ(viewgeo_set_remote_center(1, 1.0f, 2.0f, 0, 0), -1);
    EXPECT_STREQ(viewgeo_last_error(), "open /etc/viewgeo/remoteptz.conf: File too large");
}

// A daemon is a session leader without a terminal; opening a terminal would
// make it the daemon's controlling terminal, whose hang-up kills it.
// Whether `read` takes one in such a process: 0 when it does not.
int takes_a_controlling_terminal(void (*read)()) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::setsid();
        read();
        const int tty = ::open("/dev/tty", O_RDWR | O_NOCTTY);
        ::_exit(tty >= 0 ? 1 : 0);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(HostileFileTerminal, NoFileTheLibraryReadsBecomesTheCallersControllingTerminal) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0) {
        if (master >= 0) ::close(master);
        GTEST_SKIP() << "no pseudo-terminal";
    }
    const std::string terminal = ::ptsname(master);
    TempRoot root;
    for (const char *path : {kConf, kOvista, kMisalignment}) std::filesystem::create_symlink(terminal, root.real(path));
    EXPECT_EQ(takes_a_controlling_terminal([] { View v; }), 0);  // the misalignment data
    EXPECT_EQ(takes_a_controlling_terminal([] { std::free(viewgeo_get_remote_calibrated(1)); }), 0);
    EXPECT_EQ(takes_a_controlling_terminal([] { viewgeo_ovista_context_delete(viewgeo_ovista_context_create()); }), 0);
    EXPECT_EQ(takes_a_controlling_terminal([] { viewgeo_set_remote_center(1, 1.0f, 2.0f, 0, 0); }), 0);
    ::close(master);
}

// --- hand-edited headers ---------------------------------------------------

struct HandEdit {
    const char *name;
    std::string text;  // channel 3's group as edited, then a bystander
};

void PrintTo(const HandEdit &edit, std::ostream *os) { *os << edit.name; }

class HandEditedHeader : public ::testing::TestWithParam<HandEdit> {};

TEST_P(HandEditedHeader, UpdateReadsBackAndBystandersStay) {
    TempRoot root;
    const std::string bystander = group(8, "8.000000", "8.000000", 8, 8);
    root.write(kConf, GetParam().text + bystander);
    ASSERT_EQ(viewgeo_set_remote_center(3, 12.5f, -7.25f, 1, 0), 0);
    float pan = 0.0f;
    float tilt = 0.0f;
    ASSERT_TRUE(read_centre(3, pan, tilt));
    EXPECT_EQ(pan, 12.5f);
    EXPECT_EQ(tilt, -7.25f);
    ASSERT_TRUE(read_centre(8, pan, tilt));
    EXPECT_EQ(pan, 8.0f);
    const std::string now = root.read(kConf);
    EXPECT_EQ(now.substr(now.size() - bystander.size()), bystander);
    // Rewritten in place, not appended a second time.
    EXPECT_EQ(now.find("center_pan = 12.500000"), now.rfind("center_pan = 12.500000"));
}

INSTANTIATE_TEST_SUITE_P(
    Variants, HandEditedHeader,
    ::testing::Values(HandEdit{"Crlf", "[channel_3]\r\ncenter_pan = 1\r\ncenter_tilt = 2\r\ncalibration_status = 3\r\n"
                                       "auto_calibrated = 4\r\n"},
                      HandEdit{"ByteOrderMark", "\xEF\xBB\xBF[channel_3]\ncenter_pan = 1\ncenter_tilt = 2\n"
                                                "calibration_status = 3\nauto_calibrated = 4\n"},
                      HandEdit{"BlankAfterBracket", "[channel_3] \ncenter_pan = 1\ncenter_tilt = 2\n"
                                                    "calibration_status = 3\nauto_calibrated = 4\n"},
                      HandEdit{"BlanksInsideBrackets", "[ channel_3 ]\ncenter_pan = 1\ncenter_tilt = 2\n"
                                                       "calibration_status = 3\nauto_calibrated = 4\n"},
                      HandEdit{"IndentedWithComment", "  [channel_3] ; edited\ncenter_pan = 1\ncenter_tilt = 2\n"
                                                      "calibration_status = 3\nauto_calibrated = 4\n"},
                      HandEdit{"LeadingZero", "[channel_03]\ncenter_pan = 1\ncenter_tilt = 2\n"
                                              "calibration_status = 3\nauto_calibrated = 4\n"}),
    [](const ::testing::TestParamInfo<HandEdit> &info) { return std::string(info.param.name); });

TEST(HandEditedHeaderRead, LeadingZeroGroupIsReadForTheChannel) {
    TempRoot root;
    root.write(kConf, "[channel_01]\ncenter_pan = 4\ncenter_tilt = 5\ncalibration_status = 6\nauto_calibrated = 7\n");
    float pan = 0.0f;
    float tilt = 0.0f;
    ASSERT_TRUE(read_centre(1, pan, tilt));
    EXPECT_EQ(pan, 4.0f);
}

// --- concurrency -----------------------------------------------------------

// Runs `body(k)` in `n` child processes; true when every child exits 0.
template <class Body>
bool in_processes(int n, Body body) {
    std::fflush(nullptr);
    // Each child writes its verdict to a pipe: a memory checker may give a
    // forked copy an exit status of its own (the parent's heap, never freed
    // there), which must not be read as the child's result.
    int verdicts[2];
    if (::pipe(verdicts) != 0) return false;
    std::vector<pid_t> children;
    for (int k = 0; k < n; ++k) {
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::close(verdicts[0]);
            const char verdict = body(k) ? 'y' : 'n';
            const bool told = ::write(verdicts[1], &verdict, 1) == 1;
            ::_exit(told ? 0 : 1);
        }
        children.push_back(pid);
    }
    ::close(verdicts[1]);
    bool ok = true;
    for (pid_t pid : children) {
        int status = 0;
        ok = ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) && ok;
    }
    int passed = 0;
    char verdict = 0;
    while (::read(verdicts[0], &verdict, 1) == 1) passed += verdict == 'y' ? 1 : 0;
    ::close(verdicts[0]);
    return ok && passed == n;
}

int rewrites_per_writer() {
    const char *text = std::getenv("VIEWGEO_WRITER_REWRITES");
    const int n = text != nullptr ? std::atoi(text) : 0;
    return n > 0 ? n : 300;
}

TEST(ConcurrentWriters, EightProcessesRewritingTheirOwnChannelsLoseNothing) {
    TempRoot root;
    const std::string bystanders = group(100, "100.000000", "1.000000", 1, 1) + "[lens_fov]\nvfov = 40.0\n";
    root.write(kConf, bystanders);
    constexpr int kWriters = 8;
    // Each rewrite syncs twice and waits for the others. The memory checker,
    // which examines allocations rather than interleavings, and the emulated
    // targets, where every system call is slow, ask for fewer through
    // VIEWGEO_WRITER_REWRITES.
    const int kRewrites = rewrites_per_writer();
    const bool ok = in_processes(kWriters + 1, [&](int k) {
        if (k == kWriters) {
            // The reader: every look at the file finds it whole.
            for (int i = 0; i < 200; ++i) {
                const std::string text = root.read(kConf);
                if (text.empty() || text.back() != '\n' || text.find("[lens_fov]\nvfov = 40.0\n") == std::string::npos)
                    return false;
                float pan = 0.0f;
                float tilt = 0.0f;
                if (!read_centre(100, pan, tilt) || pan != 100.0f) return false;
            }
            return true;
        }
        for (int i = 1; i <= kRewrites; ++i) {
            if (viewgeo_set_remote_center(k, static_cast<float>(i), static_cast<float>(k), i, k) != 0) return false;
        }
        return true;
    });
    EXPECT_TRUE(ok);
    for (int k = 0; k < kWriters; ++k) {
        viewgeo_remote_calibration *cal = viewgeo_get_remote_calibrated(k);
        ASSERT_NE(cal, nullptr) << k;
        EXPECT_EQ(cal->calibration_status, kRewrites);
        std::free(cal);
    }
    float pan = 0.0f;
    float tilt = 0.0f;
    ASSERT_TRUE(read_centre(100, pan, tilt));
    EXPECT_EQ(pan, 100.0f);
    EXPECT_NE(root.read(kConf).find("[lens_fov]\nvfov = 40.0\n"), std::string::npos);
    EXPECT_FALSE(root.exists(kConfNew));
}

TEST(ConcurrentWriters, OverviewSavesBackupsAndRestoresNeverShowATornFile) {
    TempRoot root;
    root.make_dir("/etc/viewgeo");
    {
        viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
        ASSERT_NE(ctx, nullptr);
        ASSERT_EQ(viewgeo_ovista_context_save(ctx), 0);
        ASSERT_EQ(viewgeo_ovista_context_backup(ctx), 0);
        viewgeo_ovista_context_delete(ctx);
    }
    const std::string whole = root.read(kOvista);
    const bool ok = in_processes(4, [&](int k) {
        for (int i = 0; i < 60; ++i) {
            if (k == 3) {
                // The reader: a create never fails, every file is whole.
                viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
                if (ctx == nullptr) return false;
                viewgeo_ovista_context_delete(ctx);
                if (root.read(kOvista).size() != whole.size()) return false;
                continue;
            }
            viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
            if (ctx == nullptr) return false;
            int rc = 0;
            if (k == 0) rc = viewgeo_ovista_context_save(ctx);
            if (k == 1) rc = viewgeo_ovista_context_backup(ctx);
            if (k == 2) rc = viewgeo_ovista_context_restore(&ctx);
            viewgeo_ovista_context_delete(ctx);
            if (rc != 0) return false;
        }
        return true;
    });
    EXPECT_TRUE(ok);
    EXPECT_EQ(root.read(kOvista), whole);
    EXPECT_FALSE(root.exists(kOvistaTmp));
}

TEST(ConcurrentReads, EightThreadsReadEveryConfigurationAtOnce) {
    TempRoot root;
    root.write(kConf, kStore);
    root.write(kOvista, "[lens_charac]\nfield_angle = 120\n");
    root.write(kMisalignment, "PTZCAL_MECH_OFFSET = 10,20\nPAN_ROTATION_STEPS = 36000\n");
    std::vector<int> failures(8, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t, &failures] {
            for (int i = 0; i < 200; ++i) {
                View v;
                float pan = 0.0f;
                float tilt = 0.0f;
                if (!read_centre(2, pan, tilt) || pan != 5.5f) ++failures[t];
                if (viewgeo_get_remote_fov(v.ctx) != 0 || v.ctx->vert_fov != 40 * 65536) ++failures[t];
                if (v.ctx->pan_rotation_steps != 36000u) ++failures[t];
                viewgeo_ovista_context *o = viewgeo_ovista_context_create();
                if (o == nullptr || o->field_angle != 120.0f) ++failures[t];
                viewgeo_ovista_context_delete(o);
            }
        });
    }
    for (std::thread &th : threads) th.join();
    EXPECT_EQ(failures, std::vector<int>(8, 0));
}

// --- out-of-range numbers in each reader ----------------------------------

TEST(OutOfRangeNumbers, MisalignmentCountsSaturate) {
    TempRoot root;
    root.write(kMisalignment, "PTZCAL_MECH_OFFSET = 0,0\nPAN_ROTATION_STEPS = 4294967296\n"
                              "TILT_ROTATION_STEPS = -99999999999\n");
    viewgeo_context *ctx = viewgeo_context_create();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->mo_state, 1);
    EXPECT_EQ(ctx->pan_rotation_steps, 2147483647u);
    EXPECT_EQ(ctx->tilt_rotation_steps, 0x80000000u);
    viewgeo_context_delete(ctx);
}

// The table a misalignment data text compiles to.
std::vector<viewgeo_misalignment_entry> table_of(const TempRoot &root, const std::string &text) {
    root.write(kMisalignment, text);
    viewgeo_context *ctx = viewgeo_context_create();
    std::vector<viewgeo_misalignment_entry> table;
    if (ctx == nullptr) return table;
    for (int i = 0; i < ctx->mo_count; ++i) table.push_back(ctx->mo_table[i]);
    viewgeo_context_delete(ctx);
    return table;
}

TEST(OutOfRangeNumbers, MisalignmentOffsetsSaturateToTheLimits) {
    TempRoot root;
    const auto beyond = table_of(root, "PTZCAL_MECH_OFFSET = 4294967296,-4294967296\n"
                                       "PTZCAL_OPT_OFFSET = 1,99999999999,0;100,0,-4294967298\n");
    const auto limits = table_of(root, "PTZCAL_MECH_OFFSET = 2147483647,-2147483648\n"
                                       "PTZCAL_OPT_OFFSET = 1,2147483647,0;100,0,-2147483648\n");
    ASSERT_EQ(beyond.size(), 2u);
    ASSERT_EQ(limits.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(beyond[i].zoom, limits[i].zoom);
        EXPECT_EQ(beyond[i].pan_steps, limits[i].pan_steps);
        EXPECT_EQ(beyond[i].tilt_steps, limits[i].tilt_steps);
    }
}

TEST(OutOfRangeNumbers, OverviewTypeSaturatesAndHugeFloatsAreInfinite) {
    TempRoot root;
    root.write(kOvista, "[pan_comp]\ntype = 4294967296\nA = 1e39\nB = -1e39\nC = 1e-50\n");
    viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->pan_comp.type, INT32_MAX);
    EXPECT_EQ(ctx->pan_comp.A, HUGE_VALF);
    EXPECT_EQ(ctx->pan_comp.B, -HUGE_VALF);
    EXPECT_EQ(ctx->pan_comp.C, 0.0f);
    viewgeo_ovista_context_delete(ctx);
}

// --- one bad value at a time -------------------------------------------------

class RemoteStoreBadValue : public ::testing::TestWithParam<int> {};

TEST_P(RemoteStoreBadValue, OneValueThatDoesNotScanCountsAsMissing) {
    const char *keys[] = {"center_pan", "center_tilt", "calibration_status", "auto_calibrated"};
    const char *good[] = {"1", "2", "3", "4"};
    const char *bad[] = {"east", "up", "x1", "-"};
    std::string text = "[channel_1]\n";
    for (int i = 0; i < 4; ++i) text += std::string(keys[i]) + " = " + (i == GetParam() ? bad[i] : good[i]) + "\n";
    TempRoot root;
    root.write(kConf, text);
    View v;
    EXPECT_EQ(viewgeo_get_remote_center(v.ctx, 1), -1);
    EXPECT_EQ(viewgeo_get_remote_calibrated(1), nullptr);
    // The same file with the value fixed is read.
    root.write(kConf, "[channel_1]\ncenter_pan = 1\ncenter_tilt = 2\ncalibration_status = 3\nauto_calibrated = 4\n");
    EXPECT_EQ(viewgeo_get_remote_center(v.ctx, 1), 0);
}

INSTANTIATE_TEST_SUITE_P(EachKey, RemoteStoreBadValue, ::testing::Values(0, 1, 2, 3));

}  // namespace
}  // namespace viewgeo
