// The file writers killed at every step. A child process runs the writer
// with the file-system seam armed to raise SIGKILL before its n-th call, for
// every n up to the number of calls a whole write makes. After each kill the
// target must hold the complete old text or the complete new one, never a
// mixture or nothing, and a following write must succeed over whatever the
// killed one left behind (its temporary file, typically).
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/fs.h"
#include "support/remote_reads.h"
#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace {

namespace fs = viewgeo::platform::fs;
using viewgeo::testing::RemoteFlags;
using viewgeo::testing::remote_flags;
using viewgeo::testing::TempRoot;

constexpr const char *kOvistaConf = "/etc/viewgeo/ovista.conf";

struct ChildResult {
    bool killed = false;  // stopped by SIGKILL
    int write_result = -2;  // what the write returned when it ran to the end
};

// Runs `write` in a child process that is killed before its n-th call
// through the file-system layer (n = 0: never). The child reports the
// write's result through a pipe rather than its exit status, which a memory
// checker running the suite may replace with its own.
ChildResult run_killed_at(int n, const std::function<int()> &write) {
    ChildResult result;

    int fds[2];
    if (::pipe(fds) != 0) return result;
    std::fflush(nullptr);  // nothing buffered may be written twice
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        fs::kill_at_call(n);
        const int rc = write();
        const ssize_t ignored = ::write(fds[1], &rc, sizeof rc);
        static_cast<void>(ignored);
        ::_exit(0);  // no destructors, no leak report: the parent owns them
    }
    ::close(fds[1]);
    int rc = 0;
    const bool reported = pid > 0 && ::read(fds[0], &rc, sizeof rc) == static_cast<ssize_t>(sizeof rc);
    ::close(fds[0]);
    if (pid < 0) return result;
    int status = 0;
    if (::waitpid(pid, &status, 0) != pid) return result;
    result.killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    if (reported) result.write_result = rc;
    return result;
}

// Calls the layer sees in one uninterrupted write.
int calls_of(const std::function<int()> &write) {
    fs::kill_at_call(0);
    EXPECT_EQ(write(), 0);
    return fs::calls_made();
}

// Kills `write` before each of its calls in turn, on a target that holds
// `old_text` each time, and checks the target after each kill. `new_text` is
// what a complete write leaves.
void kill_at_every_step(const TempRoot &root, const char *target, const std::string &old_text,
                        const std::string &new_text, const std::function<int()> &write) {
    ASSERT_NE(old_text, new_text);
    root.write(target, old_text);
    const int steps = calls_of(write);
    ASSERT_EQ(root.read(target), new_text);
    ASSERT_GT(steps, 5);

    int saw_old = 0;
    int saw_new = 0;
    for (int n = 1; n <= steps + 1; ++n) {
        root.write(target, old_text);
        const ChildResult child = run_killed_at(n, write);
        const std::string now = root.read(target);
        if (n <= steps) {
            ASSERT_TRUE(child.killed) << "the writer was not stopped before call " << n;
            EXPECT_TRUE(now == old_text || now == new_text) << "killed before call " << n << ", target holds:\n"
                                                            << now;
            saw_old += now == old_text ? 1 : 0;
            saw_new += now == new_text ? 1 : 0;
        } else {
            // One past the last call: the write runs to its end.
            ASSERT_FALSE(child.killed);
            EXPECT_EQ(child.write_result, 0);
            EXPECT_EQ(now, new_text);
        }
        // A following write succeeds over what the killed one left behind.
        root.write(target, old_text);
        EXPECT_EQ(write(), 0) << "after a kill before call " << n;
        EXPECT_EQ(root.read(target), new_text) << "after a kill before call " << n;
    }
    // Kills before the rename leave the old text, kills after it the new.
    EXPECT_GT(saw_old, 0);
    EXPECT_GT(saw_new, 0);
    EXPECT_EQ(saw_old + saw_new, steps);
}

// Writes through `write` once, applies `change`, and checks every kill of
// the write that records the change (kill_at_every_step).
void kill_while_writing_a_change(const TempRoot &root, const char *target, const std::function<void()> &change,
                                 const std::function<int()> &write) {
    ASSERT_EQ(write(), 0);
    const std::string old_text = root.read(target);
    change();
    ASSERT_EQ(write(), 0);
    const std::string new_text = root.read(target);
    kill_at_every_step(root, target, old_text, new_text, write);
}

using viewgeo::testing::OvistaPtr;

// Each test forks its writers; the cross-built suite runs them under qemu
// user-mode emulation like everything else.
class CrashConsistency : public ::testing::Test {};

TEST_F(CrashConsistency, OverviewSaveKilledAtEveryStepLeavesOldOrNewFile) {
    TempRoot root;
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);
    kill_while_writing_a_change(
        root, kOvistaConf,
        [&] {
            viewgeo_set_ovista_angles(ctx.get(), 12.5f, -45.25f);
            viewgeo_set_ovista_compensator(ctx.get(), 2, 2, 1.0f, -2.0f, 3.0f, -4.0f);
        },
        [&] { return viewgeo_ovista_context_save(ctx.get()); });
}

TEST_F(CrashConsistency, OverviewBackupKilledAtEveryStepLeavesOldOrNewBackup) {
    TempRoot root;
    constexpr const char *kBackup = "/etc/viewgeo/ovista.bak";
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);
    kill_while_writing_a_change(
        root, kBackup, [&] { viewgeo_set_lens_characteristics(ctx.get(), 0.25f, 0.75f, 0.5f, 0.5f, 120.0f); },
        [&] { return viewgeo_ovista_context_backup(ctx.get()); });
}

TEST_F(CrashConsistency, RemoteRewriteKilledAtEveryStepLeavesOldOrNewFile) {
    TempRoot root;
    constexpr const char *kRemoteConf = "/etc/viewgeo/remoteptz.conf";
    const std::string old_text =
        "[channel_1]\ncenter_pan = 10.500000\ncenter_tilt = -3.250000\ncalibration_status = 1\n"
        "auto_calibrated = 0\n[lens_fov]\nvfov = 42.5\n[channel_2]\ncenter_pan = 1.000000\n"
        "center_tilt = 2.000000\ncalibration_status = 0\nauto_calibrated = 0\n";
    // Written out by hand: channel 2's key lines replaced, all else kept.
    const std::string new_text =
        "[channel_1]\ncenter_pan = 10.500000\ncenter_tilt = -3.250000\ncalibration_status = 1\n"
        "auto_calibrated = 0\n[lens_fov]\nvfov = 42.5\n[channel_2]\ncenter_pan = -170.250000\n"
        "center_tilt = 45.125000\ncalibration_status = 3\nauto_calibrated = 1\n";
    const auto write = [] { return viewgeo_set_remote_center(2, -170.25f, 45.125f, 3, 1); };

    kill_at_every_step(root, kRemoteConf, old_text, new_text, write);

    // The other channel reads back unchanged after all that.
    EXPECT_EQ(remote_flags(1), (RemoteFlags{1, 0}));
}

TEST_F(CrashConsistency, RemoteRewriteKilledAtEveryStepOfAFirstWriteLeavesNoFileOrTheNewOne) {
    TempRoot root;
    constexpr const char *kRemoteConf = "/etc/viewgeo/remoteptz.conf";
    const auto write = [] { return viewgeo_set_remote_center(2, 10.5f, -3.25f, 1, 0); };
    const std::string new_text =
        "[channel_2]\ncenter_pan = 10.500000\ncenter_tilt = -3.250000\ncalibration_status = 1\n"
        "auto_calibrated = 0\n";
    const int steps = calls_of(write);
    ASSERT_EQ(root.read(kRemoteConf), new_text);
    ASSERT_GT(steps, 5);
    for (int n = 1; n <= steps; ++n) {
        root.remove(kRemoteConf);
        const ChildResult child = run_killed_at(n, write);
        ASSERT_TRUE(child.killed) << "the writer was not stopped before call " << n;
        if (root.exists(kRemoteConf)) {
            EXPECT_EQ(root.read(kRemoteConf), new_text) << "killed before call " << n;
        }
        root.remove(kRemoteConf);
        EXPECT_EQ(write(), 0) << "after a kill before call " << n;
        EXPECT_EQ(root.read(kRemoteConf), new_text);
    }
}

TEST_F(CrashConsistency, KillHookStopsTheChildBeforeTheChosenCall) {
    TempRoot root;
    root.write("/etc/viewgeo/x", "x");
    // The third call never runs: the child dies before it.
    const ChildResult child = run_killed_at(3, [] {
        for (int i = 0; i < 5; ++i) fs::exists("/etc/viewgeo/x");
        return 0;
    });
    EXPECT_TRUE(child.killed);
    const ChildResult unarmed = run_killed_at(0, [] {
        for (int i = 0; i < 5; ++i) fs::exists("/etc/viewgeo/x");
        return 0;
    });
    EXPECT_FALSE(unarmed.killed);
    EXPECT_EQ(unarmed.write_result, 0);
    EXPECT_EQ(child.write_result, -2);  // never reported
    fs::kill_at_call(0);
    for (int i = 0; i < 4; ++i) fs::exists("/etc/viewgeo/x");
    EXPECT_EQ(fs::calls_made(), 4);
}

}  // namespace
