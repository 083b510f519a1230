// The remote-camera commands: a channel's calibration in the file, and the
// mappings between the main picture and the remote camera.
#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "cli/tool_test.h"
#include "support/temp_root.h"
#include "viewgeo.h"

namespace viewgeo::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char *kConf = "/etc/viewgeo/remoteptz.conf";
// The main camera of these tests; its pan/tilt come from the channel.
constexpr const char *kMain = " --size 1920x1080 --hfov 60 --lens rectilinear";
constexpr const char *kWide = " --size 1920x1080 --hfov 120 --lens rectilinear";

std::string q16_text(std::int32_t word) {
    char text[64];
    std::snprintf(text, sizeof text, "%.6f (Q16.16 %d)", static_cast<double>(static_cast<float>(word) / 65536.0f),
                  static_cast<int>(word));
    return text;
}

// The main camera of the tests, with the remote centre 10, -20 as its pan/tilt.
// The vertical field is the one derived from the aspect, stored.
viewgeo_context *main_view(float hfov) {
    viewgeo_context *ctx = viewgeo_context_create();
    viewgeo_set_pic_dim(ctx, 1920, 1080);
    viewgeo_set_horiz_fov_f(ctx, hfov);
    std::int32_t vfov = 0;
    viewgeo_get_vert_fov_x(ctx, &vfov);
    viewgeo_set_vert_fov_x(ctx, vfov);
    viewgeo_set_projection_type(ctx, 2);
    viewgeo_set_pantilt_f(ctx, 10.0f, -20.0f);
    return ctx;
}

class Remote : public ToolTest {
protected:
    void SetUp() override {
        root_.write(kConf, "[lens_fov]\nvfov = 40\n[channel_3]\ncenter_pan = 10.000000\ncenter_tilt = -20.000000\n"
                           "calibration_status = 1\nauto_calibrated = 0\n");
    }
};

TEST_F(Remote, SetCenterWritesTheChannelGroupAndKeepsTheRest) {
    const ToolResult r = run("remote set-center 5 12.5 -30.25 --status 2 --auto 1");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out,
              "channel 5  center_pan 12.500000  center_tilt -30.250000  calibration_status 2  auto_calibrated 1  "
              "saved /etc/viewgeo/remoteptz.conf\n");
    const std::string file = root_.read(kConf);
    EXPECT_THAT(file, HasSubstr("[channel_5]\ncenter_pan = 12.500000\ncenter_tilt = -30.250000\n"
                                "calibration_status = 2\nauto_calibrated = 1\n"));
    EXPECT_THAT(file, StartsWith("[lens_fov]\nvfov = 40\n[channel_3]\ncenter_pan = 10.000000\n"));
}

TEST_F(Remote, SetCenterFlagsDefaultToZeroAndJsonIsOneObject) {
    const ToolResult r = run("--json remote set-center 3 -1 2");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "{\"channel\": 3, \"center_pan\": -1, \"center_tilt\": 2, \"calibration_status\": 0, "
                     "\"auto_calibrated\": 0, \"saved\": \"/etc/viewgeo/remoteptz.conf\"}\n");
    EXPECT_THAT(root_.read(kConf), HasSubstr("[channel_3]\ncenter_pan = -1.000000\ncenter_tilt = 2.000000\n"
                                             "calibration_status = 0\nauto_calibrated = 0\n"));
}

TEST_F(Remote, SetCenterIntoAMissingDirectoryCannotWrite) {
    root_.remove(kConf);
    root_.remove("/etc/viewgeo");
    expect_error(run("remote set-center 1 0 0"), "cannot write /etc/viewgeo/remoteptz.conf", 1);
}

TEST_F(Remote, GetCenterReadsWhatSetCenterWrote) {
    ASSERT_EQ(run("remote set-center 7 -45.5 12.25 --status 3 --auto 1").status, 0);
    const ToolResult r = run("remote get-center 7");
    EXPECT_EQ(r.status, 0) << r.err;
    // -45.5 and 12.25 are whole Q16.16 words: -2981888 and 802816.
    EXPECT_EQ(r.out, "channel 7  center_pan -45.500000 (Q16.16 -2981888)  center_tilt 12.250000 (Q16.16 802816)  "
                     "calibration_status 3  auto_calibrated 1\n");
    EXPECT_EQ(run("--json remote get-center 3").out,
              "{\"channel\": 3, \"center_pan\": 10, \"center_pan_q16\": 655360, \"center_tilt\": -20, "
              "\"center_tilt_q16\": -1310720, \"calibration_status\": 1, \"auto_calibrated\": 0}\n");
}

TEST_F(Remote, MissingChannelIsAnErrorNamingIt) {
    for (const char *command : {"remote get-center 4", "remote point 4 1 2", "remote to-pixel 4 10 -20"}) {
        SCOPED_TRACE(command);
        expect_error(run(command), "channel 4", 1);
        EXPECT_THAT(run(command).err, HasSubstr("[channel_4]"));
    }
}

TEST_F(Remote, IncompleteChannelGroupIsAnError) {
    root_.write(kConf, "[channel_3]\ncenter_pan = 10\ncenter_tilt = -20\ncalibration_status = 1\n");
    expect_error(run("remote get-center 3"), "[channel_3]", 1);
    expect_error(run("remote point 3 960 540" + std::string(kMain)), "[channel_3]", 1);
}

TEST_F(Remote, MissingOrUnreadableFileIsAnError) {
    root_.remove(kConf);
    expect_error(run("remote get-center 3"), "no calibration file /etc/viewgeo/remoteptz.conf", 1);
    root_.make_dir(kConf);
    expect_error(run("remote get-center 3"), "/etc/viewgeo/remoteptz.conf", 1);
    expect_error(run("remote set-center 3 1 2"), "cannot write /etc/viewgeo/remoteptz.conf", 1);
}

TEST_F(Remote, GarbageFileHasNoChannel) {
    root_.write(kConf, std::string("\x7f" "ELF\x02\x01", 6) + std::string(3, '\0') + "\n[channel_3\ncenter_pan=x\n");
    expect_error(run("remote get-center 3"), "[channel_3]", 1);
}

TEST_F(Remote, PointGivesTheQ16ProjectionFromTheChannelsCentre) {
    viewgeo_context *ctx = main_view(60.0f);
    std::int32_t pan = 0, tilt = 0;
    viewgeo_to_ptz_x(ctx, &pan, &tilt, 1200, 300);
    viewgeo_context_delete(ctx);
    const ToolResult r = run("remote point 3 1200 300" + std::string(kMain));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "pan " + q16_text(pan) + "  tilt " + q16_text(tilt) + kLensText);
    // The picture centre looks along the remote centre (to the fixed-point
    // projection's precision).
    const ToolResult centre = run("--json remote point 3 960 540" + std::string(kMain));
    float centre_pan = 0.0f, centre_tilt = 0.0f;
    ASSERT_EQ(std::sscanf(centre.out.c_str(), "{\"pan\": %f, \"pan_q16\": %*d, \"tilt\": %f", &centre_pan,
                          &centre_tilt),
              2)
        << centre.out;
    EXPECT_NEAR(centre_pan, 10.0f, 0.01f);
    EXPECT_NEAR(centre_tilt, -20.0f, 0.01f);
}

TEST_F(Remote, PointOnAWidePictureAgreesWithTheLibrary) {
    viewgeo_context *ctx = main_view(120.0f);
    std::int32_t pan = 0, tilt = 0;
    ASSERT_EQ(viewgeo_to_remote_ptz(ctx, &pan, &tilt, 100, 900), 0);
    viewgeo_context_delete(ctx);
    EXPECT_EQ(run("remote point 3 100 900" + std::string(kWide)).out,
              "pan " + q16_text(pan) + "  tilt " + q16_text(tilt) + kLensText);
}

TEST_F(Remote, ZoomGivesTheSpanAcrossTheWidth) {
    viewgeo_context *ctx = main_view(60.0f);
    const std::int32_t span = viewgeo_to_remote_zoom(ctx, 960, 540, 200);
    viewgeo_context_delete(ctx);
    EXPECT_EQ(run("remote zoom 960 540 200" + std::string(kMain)).out, "span " + q16_text(span) + "\n");
    EXPECT_EQ(run("remote zoom 960 540 0" + std::string(kMain)).out, "span 0.000000 (Q16.16 0)\n");
    EXPECT_EQ(run("--json remote zoom 100 100 0").out, "{\"span\": 0, \"span_q16\": 0}\n");
}

TEST_F(Remote, ToPixelFindsTheRemotePositionInTheMainPicture) {
    // The remote centre itself is the picture centre.
    EXPECT_EQ(run("remote to-pixel 3 10 -20" + std::string(kMain)).out, std::string("x 960  y 540") + kLensText);
    viewgeo_context *ctx = main_view(60.0f);
    std::int32_t x = 0, y = 0;
    viewgeo_to_pixel_x(ctx, &x, &y, 15 * 65536, -25 * 65536);
    viewgeo_context_delete(ctx);
    EXPECT_EQ(run("--json remote to-pixel 3 15 -25" + std::string(kMain)).out,
              "{\"x\": " + std::to_string(x) + ", \"y\": " + std::to_string(y) + kLensJson);
    // The wide picture's search stops within half a degree of the target, a
    // few rows short of the centre row as it comes down from row 0.
    ctx = main_view(120.0f);
    ASSERT_EQ(viewgeo_remote_to_pixel(ctx, &x, &y, 10 * 65536, -20 * 65536, 3), 0);
    viewgeo_context_delete(ctx);
    EXPECT_EQ(x, 960);
    EXPECT_GT(y, 500);
    EXPECT_LE(y, 540);
    EXPECT_EQ(run("remote to-pixel 3 10 -20" + std::string(kWide)).out,
              "x " + std::to_string(x) + "  y " + std::to_string(y) + kLensText);
}

TEST_F(Remote, ToPixelOutsideTheWidePictureIsNotFound) {
    expect_error(run("remote to-pixel 3 -170 60" + std::string(kWide)), "not found in the main picture", 1);
}

TEST_F(Remote, PanoramaTurnsThePictureDirectionByTheCamera) {
    // The centre of a panorama looking along pan 30, tilt 10 is that direction.
    const ToolResult r = run("remote panorama 960 540 --size 1920x1080 --hfov 360 --pan 30 --tilt 10");
    EXPECT_EQ(r.status, 0) << r.err;
    float pan = 0.0f, tilt = 0.0f;
    ASSERT_EQ(std::sscanf(r.out.c_str(), "pan %f  tilt %f", &pan, &tilt), 2) << r.out;
    EXPECT_NEAR(pan, 30.0f, 1e-4f);
    EXPECT_NEAR(tilt, 10.0f, 1e-4f);
    // With tilt 0 the left edge of a 360-degree panorama is 180 degrees round.
    const ToolResult edge = run("--json remote panorama 0 540 --size 1920x1080 --hfov 360 --vfov 180 --pan 30");
    EXPECT_EQ(edge.status, 0) << edge.err;
    EXPECT_THAT(edge.out, StartsWith("{\"pan\": -150"));
}

TEST_F(Remote, BatchAnswersOneLinePerQuery) {
    const ToolResult r = run("--json batch", "remote get-center 3\nremote get-center 9\nremote zoom 1 1 0\n");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "{\"channel\": 3, \"center_pan\": 10, \"center_pan_q16\": 655360, \"center_tilt\": -20, "
                     "\"center_tilt_q16\": -1310720, \"calibration_status\": 1, \"auto_calibrated\": 0}\n"
                     "{\"error\": \"cannot read channel 9 from /etc/viewgeo/remoteptz.conf (no complete [channel_9] "
                     "group, or the file cannot be read)\", \"line\": 2}\n{\"span\": 0, \"span_q16\": 0}\n");
    EXPECT_THAT(r.err, StartsWith("viewgeo: line 2: "));
    EXPECT_THAT(r.err, HasSubstr("channel 9"));
    EXPECT_EQ(count_lines(r.err), 1);
}

TEST_F(Remote, BatchSetThenGet) {
    const ToolResult r = run("batch", "remote set-center 8 1.5 -2.5\nremote get-center 8\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "channel 8  center_pan 1.500000  center_tilt -2.500000  calibration_status 0  auto_calibrated 0  "
                     "saved /etc/viewgeo/remoteptz.conf\n"
                     "channel 8  center_pan 1.500000 (Q16.16 98304)  center_tilt -2.500000 (Q16.16 -163840)  "
                     "calibration_status 0  auto_calibrated 0\n");
}

class RemoteBadArguments : public Remote, public ::testing::WithParamInterface<BadArgs> {};

TEST_P(RemoteBadArguments, GiveOneLineNamingTheArgumentAndFail) {
    expect_error(run(GetParam().args), GetParam().named);
    EXPECT_THAT(root_.read(kConf), StartsWith("[lens_fov]\nvfov = 40\n[channel_3]\n")) << "file unchanged";
}

// Rows of data, alike in shape to the overview tool's table on purpose.
INSTANTIATE_TEST_SUITE_P(
    Remote, RemoteBadArguments,
    ::testing::Values(BadArgs{"remote", "subcommand"}, BadArgs{"remote bogus", "bogus"},
                      BadArgs{"remote set-center 3 1", "tilt"}, BadArgs{"remote set-center three 1 2", "channel"},
                      BadArgs{"remote set-center 3 east 2", "pan"}, BadArgs{"remote set-center 3 1 2 --status x", "--status"},
                      BadArgs{"remote set-center 3 1 2 --auto", "--auto"}, BadArgs{"remote get-center", "channel"},
                      BadArgs{"remote get-center 3 4", "4"}, BadArgs{"remote point 3 1", "y"},
                      BadArgs{"remote point 3 1 2 --pan 5", "--pan"}, BadArgs{"remote point 3 1 2 --size 1x", "--size"},
                      BadArgs{"remote point 3 1 2 --lens fisheye", "--lens"}, BadArgs{"remote zoom 1 2", "width"},
                      BadArgs{"remote zoom 1 2 -5", "width"}, BadArgs{"remote to-pixel 3 10", "tilt"},
                      BadArgs{"remote to-pixel 3 10 low", "tilt"}, BadArgs{"remote panorama 1", "y"},
                      BadArgs{"remote panorama 1 2 --hfov x", "--hfov"}),
    case_name<BadArgs>);

TEST_F(Remote, EverySubcommandHasHelp) {
    for (const char *command : {"remote", "remote set-center", "remote get-center", "remote point", "remote zoom",
                                "remote to-pixel", "remote panorama"}) {
        const ToolResult r = run(std::string(command) + " --help");
        EXPECT_EQ(r.status, 0) << command;
        EXPECT_THAT(r.out, HasSubstr("Usage")) << command;
    }
}

}  // namespace
}  // namespace viewgeo::testing
