// The writers' temporary files are opened without following a symbolic link
// planted at their path: the library runs inside privileged processes, and a
// link there must not turn a configuration write into a write of any file
// the process can reach. The write fails cleanly instead; neither the link
// nor its target nor the configuration file changes.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <climits>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "core/q16.h"
#include "platform/fs.h"
#include "platform/log.h"
#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace {

namespace fs = viewgeo::platform::fs;
using viewgeo::platform::captured_log;
using viewgeo::testing::TempRoot;

// The overview files, named as the writer tests name them (alike on
// purpose: each test file reads on its own).
constexpr const char *kOvistaConf = "/etc/viewgeo/ovista.conf";
constexpr const char *kOvistaTmp = "/etc/viewgeo/ovista.conf.tmp";
constexpr const char *kVictim = "/etc/viewgeo/victim";
constexpr const char *kPrecious = "precious content\n";

using viewgeo::testing::OvistaPtr;

bool is_symlink(const std::string &real_path) {
    struct stat st;
    return ::lstat(real_path.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

std::string link_target(const std::string &real_path) {
    char buf[PATH_MAX];
    const ssize_t n = ::readlink(real_path.c_str(), buf, sizeof buf);
    return n < 0 ? std::string() : std::string(buf, static_cast<std::size_t>(n));
}

// Plants a symbolic link at `logical` pointing to the real path of `target`.
void plant_link(const TempRoot &root, const char *logical, const char *target) {
    ASSERT_EQ(::symlink(root.real(target).c_str(), root.real(logical).c_str()), 0);
}

TEST(Hardening, NewFileOpenRefusesASymbolicLink) {
    TempRoot root;
    root.write(kVictim, kPrecious);
    plant_link(root, "/etc/viewgeo/link", kVictim);
    errno = 0;
    EXPECT_EQ(fs::fopen_new_for_write("/etc/viewgeo/link"), nullptr);
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(root.read(kVictim), kPrecious);
}

TEST(Hardening, OverviewSaveFailsCleanlyOnALinkAtItsTemporaryFile) {
    TempRoot root;
    const std::string old_text = "[lens_charac]\nfield_angle = 33\n";
    root.write(kOvistaConf, old_text);
    root.write(kVictim, kPrecious);
    plant_link(root, kOvistaTmp, kVictim);
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);
    captured_log().clear();

    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);

    EXPECT_EQ(root.read(kVictim), kPrecious);
    EXPECT_TRUE(is_symlink(root.real(kOvistaTmp)));
    EXPECT_EQ(link_target(root.real(kOvistaTmp)), root.real(kVictim));
    EXPECT_EQ(root.read(kOvistaConf), old_text);
    // The temporary file could not be created: code -2, errno ELOOP.
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0], "Failed to save viewgeo_ovista_context at /etc/viewgeo/ovista.conf, error code: " +
                                     std::to_string(ELOOP) + "/-2");
}

TEST(Hardening, OverviewBackupFailsCleanlyOnALinkAtItsTemporaryFile) {
    TempRoot root;
    root.write(kVictim, kPrecious);
    plant_link(root, "/etc/viewgeo/ovista.bak.tmp", kVictim);
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);

    EXPECT_EQ(viewgeo_ovista_context_backup(ctx.get()), -1);

    EXPECT_EQ(root.read(kVictim), kPrecious);
    EXPECT_FALSE(root.exists("/etc/viewgeo/ovista.bak"));
}

TEST(Hardening, OverviewSaveDoesNotCreateTheTargetOfADanglingLink) {
    TempRoot root;
    // A link to a file that does not exist yet: following it would create
    // the file wherever the link points.
    plant_link(root, kOvistaTmp, "/etc/viewgeo/created-through-link");
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);

    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);

    EXPECT_FALSE(root.exists("/etc/viewgeo/created-through-link"));
    EXPECT_FALSE(root.exists(kOvistaConf));
}

TEST(Hardening, OverviewSaveReplacesALinkAtTheTargetWithoutWritingThroughIt) {
    TempRoot root;
    // The rename puts the new file in the link's place; the file the link
    // pointed to keeps its content.
    root.write(kVictim, kPrecious);
    plant_link(root, kOvistaConf, kVictim);
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);

    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), 0);

    EXPECT_EQ(root.read(kVictim), kPrecious);
    EXPECT_FALSE(is_symlink(root.real(kOvistaConf)));
    EXPECT_NE(root.read(kOvistaConf).find("[common]\n"), std::string::npos);
}

// Reads like the test above on purpose: the link is planted at the
// temporary path instead of the target.
TEST(Hardening, OverviewSaveSucceedsAfterThePlantedLinkIsRemoved) {
    TempRoot root;
    root.write(kVictim, kPrecious);
    plant_link(root, kOvistaTmp, kVictim);
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);
    ASSERT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);

    root.remove(kOvistaTmp);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), 0);
    EXPECT_EQ(root.read(kVictim), kPrecious);
    EXPECT_FALSE(root.exists(kOvistaTmp));
}

TEST(Hardening, FixedPointDivisionByZeroSaturatesInsteadOfTrapping) {
    EXPECT_EQ(viewgeo::q16_div(0x10000, 0), INT32_MAX);
    EXPECT_EQ(viewgeo::q16_div(-1, 0), INT32_MIN);
    EXPECT_EQ(viewgeo::q16_div(0, 0), 0);
    EXPECT_EQ(viewgeo::q16_div(0x30000, 0x20000), 0x18000);  // 3 / 2, unchanged
}

TEST(Hardening, RemoteZoomOfAZeroSizedPictureDoesNotStopTheProcess) {
    TempRoot root;
    viewgeo_context *ctx = viewgeo_context_create();
    ASSERT_NE(ctx, nullptr);
    viewgeo_set_horiz_fov_f(ctx, 120.0f);
    // 0 and 65536 both become the Q16.16 word 0, the divisor that trapped.
    for (const std::int32_t size : {0, 65536}) {
        viewgeo_set_pic_dim(ctx, size, size);
        const std::int32_t width = viewgeo_to_remote_zoom(ctx, 10, 10, 4);
        EXPECT_EQ(width, viewgeo_to_remote_zoom(ctx, 10, 10, 4)) << size;
        std::int32_t pan = 0;
        std::int32_t tilt = 0;
        EXPECT_EQ(viewgeo_to_remote_ptz(ctx, &pan, &tilt, 10, 10), 0) << size;
    }
    viewgeo_context_delete(ctx);
}

TEST(Hardening, RemoteRewriteFailsCleanlyOnALinkAtItsNewFile) {
    TempRoot root;
    constexpr const char *kRemoteConf = "/etc/viewgeo/remoteptz.conf";
    constexpr const char *kRemoteNew = "/etc/viewgeo/remoteptz.conf.new";
    const std::string old_text = "[channel_1]\ncenter_pan = 1.000000\ncenter_tilt = 2.000000\n"
                                 "calibration_status = 0\nauto_calibrated = 0\n";
    root.write(kRemoteConf, old_text);
    root.write(kVictim, kPrecious);
    plant_link(root, kRemoteNew, kVictim);

    EXPECT_EQ(viewgeo_set_remote_center(1, 5.0f, 6.0f, 1, 1), -1);

    EXPECT_EQ(root.read(kVictim), kPrecious);
    EXPECT_TRUE(is_symlink(root.real(kRemoteNew)));
    EXPECT_EQ(link_target(root.real(kRemoteNew)), root.real(kVictim));
    EXPECT_EQ(root.read(kRemoteConf), old_text);
}

TEST(Hardening, RemoteRewriteDoesNotCreateTheTargetOfADanglingLink) {
    TempRoot root;
    plant_link(root, "/etc/viewgeo/remoteptz.conf.new", "/etc/viewgeo/created-through-link");

    EXPECT_EQ(viewgeo_set_remote_center(1, 5.0f, 6.0f, 1, 1), -1);

    EXPECT_FALSE(root.exists("/etc/viewgeo/created-through-link"));
    EXPECT_FALSE(root.exists("/etc/viewgeo/remoteptz.conf"));
}

TEST(Hardening, RemoteRewriteReplacesALinkAtTheTargetWithoutWritingThroughIt) {
    TempRoot root;
    constexpr const char *kRemoteConf = "/etc/viewgeo/remoteptz.conf";
    // The old text is read through the link, the new file takes its place.
    root.write(kVictim, "[lens_fov]\nvfov = 40\n");
    plant_link(root, kRemoteConf, kVictim);

    EXPECT_EQ(viewgeo_set_remote_center(1, 5.0f, 6.0f, 1, 1), 0);

    EXPECT_EQ(root.read(kVictim), "[lens_fov]\nvfov = 40\n");
    EXPECT_FALSE(is_symlink(root.real(kRemoteConf)));
    EXPECT_EQ(root.read(kRemoteConf), "[lens_fov]\nvfov = 40\n[channel_1]\ncenter_pan = 5.000000\n"
                                      "center_tilt = 6.000000\ncalibration_status = 1\nauto_calibrated = 1\n");
}

}  // namespace

namespace {

TEST(Hardening, NewFileOpenRefusesAFifoWithoutBlocking) {
    TempRoot root;
    ASSERT_EQ(::mkfifo(root.real(kOvistaTmp).c_str(), 0600), 0);
    errno = 0;
    EXPECT_EQ(fs::fopen_new_for_write(kOvistaTmp), nullptr);  // no reader: ENXIO at once
    EXPECT_EQ(errno, ENXIO);
}

TEST(Hardening, NewFileOpenRefusesAHardLinkAndLeavesItsOtherNameIntact) {
    TempRoot root;
    root.write(kVictim, kPrecious);
    ASSERT_EQ(::link(root.real(kVictim).c_str(), root.real(kOvistaTmp).c_str()), 0);
    errno = 0;
    EXPECT_EQ(fs::fopen_new_for_write(kOvistaTmp), nullptr);
    EXPECT_EQ(errno, EMLINK);
    EXPECT_EQ(root.read(kVictim), kPrecious);
}

TEST(Hardening, OverviewSaveOverAHardLinkedTemporaryFailsAndKeepsBothFiles) {
    TempRoot root;
    root.write(kVictim, kPrecious);
    root.write(kOvistaConf, "[lens_charac]\nfield_angle = 120.000000\n");
    ASSERT_EQ(::link(root.real(kVictim).c_str(), root.real(kOvistaTmp).c_str()), 0);
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(viewgeo_ovista_context_save(ctx.get()), -1);
    EXPECT_EQ(root.read(kVictim), kPrecious);
    EXPECT_EQ(root.read(kOvistaConf), "[lens_charac]\nfield_angle = 120.000000\n");
}

TEST(Hardening, NewFileOpenRefusesADirectory) {
    TempRoot root;
    root.make_dir("/etc/viewgeo/remoteptz.conf.new");
    EXPECT_EQ(fs::fopen_new_for_write("/etc/viewgeo/remoteptz.conf.new"), nullptr);
}

TEST(Hardening, NewFileOpenTruncatesAnOrdinaryLeftover) {
    TempRoot root;
    root.write(kOvistaTmp, "left behind by a failed write\n");
    FILE *file = fs::fopen_new_for_write(kOvistaTmp);
    ASSERT_NE(file, nullptr);
    std::fputs("new\n", file);
    EXPECT_EQ(fs::fclose(file), 0);
    EXPECT_EQ(root.read(kOvistaTmp), "new\n");
}

}  // namespace
