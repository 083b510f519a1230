// The C++ layer: owners release what the C interface allocates, value types
// carry exactly the words and floats of the C calls, and reads that can fail
// come back empty.
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <type_traits>

#include "support/temp_root.h"
#include "viewgeo.hpp"

namespace {

using viewgeo::cpp::Compensator;
using viewgeo::cpp::Context;
using viewgeo::cpp::Lens;
using viewgeo::cpp::OvistaCompensator;
using viewgeo::cpp::OvistaContext;
using viewgeo::cpp::OvistaLens;
using viewgeo::cpp::PanTilt;
using viewgeo::cpp::PanTiltQ16;
using viewgeo::cpp::Pixel;
using viewgeo::cpp::Q16;
using viewgeo::testing::TempRoot;

constexpr const char *kOvistaConf = "/etc/viewgeo/ovista.conf";
constexpr const char *kOvistaBak = "/etc/viewgeo/ovista.bak";

Context camera() {
    Context ctx;
    ctx.set_picture(1920, 1080).set_horiz_fov(60.0f).set_pantilt(PanTilt{10.0f, -20.0f}).set_lens(Lens::Rectilinear);
    return ctx;
}

Context overview_picture() {
    Context view;
    view.set_picture(1920, 1080);
    return view;
}

TEST(CxxQ16, ConvertsExplicitlyByTheLibrarysRounding) {
    static_assert(!std::is_convertible_v<float, Q16>, "no implicit conversion from float");
    static_assert(!std::is_convertible_v<Q16, float>, "no implicit conversion to float");
    EXPECT_EQ(Q16::from_float(1.5f).raw(), 98304);
    EXPECT_EQ(Q16::from_float(180.0f).raw(), 0xB40000);
    // Halves round away from zero: 0.5 / 65536 is half a word.
    EXPECT_EQ(Q16::from_float(-1.0f / 131072.0f).raw(), -1);
    EXPECT_EQ(Q16::from_raw(-0x10000).raw(), -65536);
    EXPECT_EQ(static_cast<float>(Q16::from_raw(0x8000)), 0.5f);
    EXPECT_EQ(static_cast<float>(Q16::from_raw(-0x1C0000)), -28.0f);
}

TEST(CxxQ16, RoundTripsEveryWholeAndHalfDegree) {
    for (int half_degrees = -720; half_degrees <= 720; ++half_degrees) {
        const Q16 q = Q16::from_raw(half_degrees * 0x8000);
        EXPECT_EQ(Q16::from_float(static_cast<float>(q)), q) << half_degrees;
    }
}

TEST(CxxContext, SettersAndGettersAgreeWithTheCInterface) {
    TempRoot root;
    Context ctx = camera();
    EXPECT_EQ(ctx.pantilt(), (PanTilt{10.0f, -20.0f}));
    EXPECT_EQ(ctx.pantilt_q16(), (PanTiltQ16{Q16::from_raw(10 * 65536), Q16::from_raw(-20 * 65536)}));
    EXPECT_EQ(ctx.picture_size(), (Pixel{1920, 1080}));
    EXPECT_EQ(ctx.horiz_fov(), 60.0f);
    float vfov = 0.0f;
    viewgeo_get_vert_fov_f(ctx.get(), &vfov);
    EXPECT_EQ(ctx.vert_fov(), vfov);
    ctx.set_vert_fov(Q16::from_raw(34 * 65536));
    EXPECT_EQ(ctx.vert_fov(), 34.0f);
    EXPECT_EQ(ctx.vert_fov_q16().raw(), 34 * 65536);
    EXPECT_EQ(ctx.get()->projection_type, 2);
}

TEST(CxxContext, ProjectionsGiveTheBitsOfTheCCalls) {
    TempRoot root;
    const Context ctx = camera();
    for (const Pixel pixel : {Pixel{0, 0}, Pixel{1200, 300}, Pixel{960, 540}, Pixel{1919, 1079}}) {
        float pan = 0.0f, tilt = 0.0f;
        viewgeo_to_ptz_f(ctx.get(), &pan, &tilt, pixel.x, pixel.y);
        EXPECT_EQ(ctx.to_ptz(pixel), (PanTilt{pan, tilt}));
        viewgeo_to_ptz_f_rel(ctx.get(), &pan, &tilt, pixel.x, pixel.y);
        EXPECT_EQ(ctx.to_ptz_rel(pixel), (PanTilt{pan, tilt}));
        std::int32_t pan_x = 0, tilt_x = 0;
        viewgeo_to_ptz_x(ctx.get(), &pan_x, &tilt_x, pixel.x, pixel.y);
        EXPECT_EQ(ctx.to_ptz_q16(pixel), (PanTiltQ16{Q16::from_raw(pan_x), Q16::from_raw(tilt_x)}));
        viewgeo_to_ptz_x_rel(ctx.get(), &pan_x, &tilt_x, pixel.x, pixel.y);
        EXPECT_EQ(ctx.to_ptz_rel_q16(pixel), (PanTiltQ16{Q16::from_raw(pan_x), Q16::from_raw(tilt_x)}));
    }
    std::int32_t x = 0, y = 0;
    viewgeo_to_pixel_f(ctx.get(), &x, &y, 15.0f, -25.0f);
    EXPECT_EQ(ctx.to_pixel(PanTilt{15.0f, -25.0f}), (Pixel{x, y}));
    viewgeo_to_pixel_x(ctx.get(), &x, &y, 15 * 65536, -25 * 65536);
    EXPECT_EQ(ctx.to_pixel(PanTiltQ16{Q16::from_raw(15 * 65536), Q16::from_raw(-25 * 65536)}), (Pixel{x, y}));
}

TEST(CxxContext, CentreOfPictureGivesTheCameraPositionAndBack) {
    TempRoot root;
    const Context ctx = camera();
    // Zero to single-precision rounding of the rotation by the camera's tilt.
    const PanTilt rel = ctx.to_ptz_rel(Pixel{960, 540});
    EXPECT_NEAR(rel.pan, 0.0f, 1e-5f);
    EXPECT_NEAR(rel.tilt, 0.0f, 1e-5f);
    EXPECT_EQ(ctx.to_pixel(PanTilt{10.0f, -20.0f}), (Pixel{960, 540}));
}

TEST(CxxContext, PixelToPanTiltAndBackReturnsThePixel) {
    TempRoot root;
    const Context ctx = camera();
    for (int x = 100; x < 1920; x += 300) {
        for (int y = 100; y < 1080; y += 250) {
            const Pixel back = ctx.to_pixel(ctx.to_ptz(Pixel{x, y}));
            EXPECT_LE(std::abs(back.x - x), 1) << x << "," << y;
            EXPECT_LE(std::abs(back.y - y), 1) << x << "," << y;
        }
    }
}

TEST(CxxContext, MisalignmentTextsThatDoNotScanAreReported) {
    TempRoot root;
    Context ctx;
    EXPECT_FALSE(ctx.set_misalignment_data("1,0,0;", "0,0", 10, 10));
    ASSERT_TRUE(ctx.set_misalignment_data("1,-10,0;100,-10,0", "0,0", 1000, 1000));
    // 10 of 1000 steps a turn: 3.6 degrees, 235929.6 rounded to a word.
    const PanTiltQ16 offset = ctx.misalignment_offset(Q16::from_raw(65536), Q16::from_raw(0));
    EXPECT_EQ(offset.pan.raw(), 235930);
    EXPECT_EQ(offset.tilt.raw(), 0);
}

TEST(CxxUtilities, AgreeWithTheCFunctions) {
    EXPECT_EQ(viewgeo::cpp::pan_delta(170.0f, -170.0f), 20.0f);
    EXPECT_EQ(viewgeo::cpp::pan_delta(Q16::from_raw(170 * 65536), Q16::from_raw(-170 * 65536)).raw(), 20 * 65536);
    EXPECT_EQ(viewgeo::cpp::wrap_pan(270.0f), -90.0f);
    EXPECT_EQ(viewgeo::cpp::great_circle(PanTilt{0, 0}, PanTilt{90, 0}), viewgeo_get_great_circle(0, 0, 90, 0));
    EXPECT_EQ(viewgeo::cpp::zoom_magnification(Q16::from_raw(30 * 65536), Q16::from_raw(60 * 65536)).raw(),
              viewgeo_get_zoom_magnification(30 * 65536, 60 * 65536));
    float a = 0, b = 0;
    viewgeo_get_zoom_fov(2.0f, 60.0f, 2.0f, &a, &b);
    EXPECT_EQ(viewgeo::cpp::zoom_fov(2.0f, 60.0f, 2.0f).after_a, a);
    EXPECT_EQ(viewgeo::cpp::zoom_fov(2.0f, 60.0f, 2.0f).after_b, b);
}

TEST(CxxOvista, MissingFileGivesTheDefaults) {
    TempRoot root;
    const std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    EXPECT_EQ(ctx->axis(), (PanTilt{0.0f, -90.0f}));
    EXPECT_EQ(ctx->lens(), (OvistaLens{0.5f, 0.5f, 0.3046875f, 0.541666687f, 99.0f}));
    EXPECT_EQ(ctx->rotation(), 0);
    EXPECT_FALSE(ctx->mirror());
    for (int i = 0; i < 4; ++i) EXPECT_EQ(ctx->compensator(static_cast<OvistaCompensator>(i)), Compensator{});
}

TEST(CxxOvista, UnreadableFileGivesNothing) {
    TempRoot root;
    root.make_dir(kOvistaConf);  // exists, but cannot be read as a file
    EXPECT_FALSE(OvistaContext::load().has_value());
}

TEST(CxxOvista, ReadsTheFile) {
    TempRoot root;
    root.write(kOvistaConf, "[lens_charac]\nfield_angle = 120\n[y_comp]\ntype = 2\nD = 1.5\n");
    const std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    EXPECT_EQ(ctx->lens().field_angle, 120.0f);
    EXPECT_EQ(ctx->lens().radius_x, 0.3046875f);
    EXPECT_EQ(ctx->compensator(OvistaCompensator::Y), (Compensator{2, 0.0f, 0.0f, 0.0f, 1.5f}));
}

TEST(CxxOvista, SettersChangeTheRecord) {
    TempRoot root;
    std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    ctx->set_axis(PanTilt{45.0f, -80.0f})
        .set_lens(OvistaLens{0.25f, 0.75f, 0.125f, 0.5f, 90.0f})
        .set_rotation(180)
        .set_mirror(true)
        .set_compensator(OvistaCompensator::Tilt, Compensator{1, 0.5f, 0.25f, 2.0f, 0.0f});
    const viewgeo_ovista_context *raw = ctx->get();
    EXPECT_EQ(raw->center_pan, 45.0f);
    EXPECT_EQ(raw->center_tilt, -80.0f);
    EXPECT_EQ(raw->center_x, 0.25f);
    EXPECT_EQ(raw->center_y, 0.75f);
    EXPECT_EQ(raw->radius_x, 0.125f);
    EXPECT_EQ(raw->radius_y, 0.5f);
    EXPECT_EQ(raw->field_angle, 90.0f);
    EXPECT_EQ(raw->rotation, 180);
    EXPECT_EQ(raw->mirror, 1);
    EXPECT_EQ(raw->tilt_comp.type, 1);
    EXPECT_EQ(raw->tilt_comp.C, 2.0f);
    EXPECT_EQ(ctx->axis(), (PanTilt{45.0f, -80.0f}));
    EXPECT_EQ(ctx->lens(), (OvistaLens{0.25f, 0.75f, 0.125f, 0.5f, 90.0f}));
}

TEST(CxxOvista, ProjectionsFollowTheEquidistantFisheye) {
    TempRoot root;
    const std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    const Context view = overview_picture();
    // Default circle: centre (960, 540), 585 pixels for 99 degrees. 195 pixels
    // straight up is 195 x 99 / 585 = 33 degrees from the axis at pan 0.
    EXPECT_EQ(ctx->to_ptz_rel(view, Pixel{960, 345}), (PanTilt{0.0f, 33.0f}));
    EXPECT_EQ(ctx->to_ptz(view, Pixel{960, 345}), (PanTilt{0.0f, -57.0f}));
    // The centre is the axis, looking straight down.
    EXPECT_EQ(ctx->to_ptz(view, Pixel{960, 540}), (PanTilt{0.0f, -90.0f}));
    EXPECT_EQ(ctx->to_pixel(view, PanTilt{0.0f, -90.0f}), (Pixel{960, 540}));
    // 585 pixels right of the centre: pan 90, the full 99 degrees off the axis.
    const PanTilt right = ctx->to_ptz_rel(view, Pixel{1545, 540});
    EXPECT_NEAR(right.pan, 90.0f, 1e-4f);
    EXPECT_EQ(right.tilt, 99.0f);
}

TEST(CxxOvista, ProjectionsGiveTheBitsOfTheCCalls) {
    TempRoot root;
    std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    ctx->set_axis(PanTilt{30.0f, -85.0f}).set_rotation(90).set_mirror(true);
    const Context view = overview_picture();
    for (const Pixel p : {Pixel{100, 200}, Pixel{1500, 900}, Pixel{961, 540}}) {
        float pan = 0.0f, tilt = 0.0f;
        viewgeo_ovista_to_ptz_f(ctx->get(), view.get(), &pan, &tilt, p.x, p.y);
        EXPECT_EQ(ctx->to_ptz(view, p), (PanTilt{pan, tilt}));
        viewgeo_ovista_to_ptz_f_rel(ctx->get(), view.get(), &pan, &tilt, p.x, p.y);
        EXPECT_EQ(ctx->to_ptz_rel(view, p), (PanTilt{pan, tilt}));
    }
    int x = 0, y = 0;
    viewgeo_ovista_to_pixel_f(ctx->get(), view.get(), 40.0f, -50.0f, &x, &y);
    EXPECT_EQ(ctx->to_pixel(view, PanTilt{40.0f, -50.0f}), (Pixel{x, y}));
}

TEST(CxxOvista, MirrorReversesThePanSenseTowardsPixels) {
    TempRoot root;
    std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    const Context view = overview_picture();
    const Pixel plain = ctx->to_pixel(view, PanTilt{-30.0f, -60.0f});
    ctx->set_mirror(true);
    EXPECT_EQ(ctx->to_pixel(view, PanTilt{30.0f, -60.0f}), plain);
}

TEST(CxxOvista, SaveThenLoadGivesTheSameValues) {
    TempRoot root;
    std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    ctx->set_axis(PanTilt{12.5f, -70.25f}).set_rotation(90);
    ctx->set_compensator(OvistaCompensator::X, Compensator{2, 0.125f, -0.5f, 3.0f, 4.0f});
    ASSERT_TRUE(ctx->save());
    const std::optional<OvistaContext> again = OvistaContext::load();
    ASSERT_TRUE(again.has_value());
    EXPECT_EQ(again->axis(), (PanTilt{12.5f, -70.25f}));
    EXPECT_EQ(again->compensator(OvistaCompensator::X), (Compensator{2, 0.125f, -0.5f, 3.0f, 4.0f}));
    EXPECT_EQ(again->rotation(), 0) << "rotation is not saved";
}

TEST(CxxOvista, SaveIntoAMissingDirectoryFails) {
    TempRoot root;
    std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    root.remove("/etc/viewgeo");
    EXPECT_FALSE(ctx->save());
    EXPECT_FALSE(ctx->backup());
}

TEST(CxxOvista, RestoreReplacesTheContextByTheBackup) {
    TempRoot root;
    std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    ctx->set_axis(PanTilt{5.0f, -60.0f});
    ASSERT_TRUE(ctx->backup());
    ctx->set_axis(PanTilt{100.0f, -10.0f});
    ASSERT_TRUE(ctx->save());
    const viewgeo_ovista_context *before = ctx->get();
    ASSERT_TRUE(ctx->restore());
    EXPECT_NE(ctx->get(), before);
    EXPECT_EQ(ctx->axis(), (PanTilt{5.0f, -60.0f}));
    EXPECT_EQ(OvistaContext::load()->axis(), (PanTilt{5.0f, -60.0f}));
}

TEST(CxxOvista, RestoreWithoutBackupGoesBackToTheDefaults) {
    TempRoot root;
    std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    ctx->set_axis(PanTilt{100.0f, -10.0f});
    ASSERT_FALSE(root.exists(kOvistaBak));
    EXPECT_TRUE(ctx->restore());
    EXPECT_EQ(ctx->axis(), (PanTilt{0.0f, -90.0f}));
    EXPECT_TRUE(root.exists(kOvistaConf));
}

TEST(CxxOvista, UnreadableBackupLeavesTheContextAsItWas) {
    TempRoot root;
    std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    ctx->set_axis(PanTilt{100.0f, -10.0f});
    root.make_dir(kOvistaBak);
    const viewgeo_ovista_context *before = ctx->get();
    EXPECT_FALSE(ctx->restore());
    EXPECT_EQ(ctx->get(), before);
    EXPECT_EQ(ctx->axis(), (PanTilt{100.0f, -10.0f}));
}

TEST(CxxOvista, OwnersMoveWithoutDoubleRelease) {
    TempRoot root;
    std::optional<OvistaContext> ctx = OvistaContext::load();
    ASSERT_TRUE(ctx.has_value());
    const viewgeo_ovista_context *raw = ctx->get();
    OvistaContext moved = std::move(*ctx);
    EXPECT_EQ(moved.get(), raw);
    Context a;
    viewgeo_context *raw_view = a.get();
    Context b = std::move(a);
    EXPECT_EQ(b.get(), raw_view);
}

constexpr const char *kRemoteConf = "/etc/viewgeo/remoteptz.conf";

TEST(CxxRemote, CentreAndFlagsAreEmptyWithoutTheFile) {
    TempRoot root;
    EXPECT_FALSE(viewgeo::cpp::remote_center(3).has_value());
    EXPECT_FALSE(viewgeo::cpp::remote_calibration(3).has_value());
    Context ctx = camera();
    EXPECT_FALSE(ctx.load_remote_center(3));
    EXPECT_EQ(ctx.pantilt(), (PanTilt{10.0f, -20.0f})) << "context untouched";
}

TEST(CxxRemote, ReadsBackWhatWasStored) {
    TempRoot root;
    ASSERT_TRUE(viewgeo::cpp::set_remote_center(3, PanTilt{12.5f, -30.25f}, 2, 1));
    const std::optional<PanTiltQ16> centre = viewgeo::cpp::remote_center(3);
    ASSERT_TRUE(centre.has_value());
    // 12.5 x 65536 and -30.25 x 65536, exact words.
    EXPECT_EQ(centre->pan.raw(), 819200);
    EXPECT_EQ(centre->tilt.raw(), -1982464);
    EXPECT_EQ(viewgeo::cpp::remote_calibration(3), (viewgeo::cpp::RemoteCalibration{2, 1}));
    EXPECT_FALSE(viewgeo::cpp::remote_center(4).has_value());
    EXPECT_FALSE(viewgeo::cpp::remote_calibration(4).has_value());
}

TEST(CxxRemote, StoringIntoAMissingDirectoryFails) {
    TempRoot root;
    root.remove("/etc/viewgeo");
    EXPECT_FALSE(viewgeo::cpp::set_remote_center(1, PanTilt{0.0f, 0.0f}, 0, 0));
}

TEST(CxxRemote, PointingAndBackAgreeWithTheCCalls) {
    TempRoot root;
    ASSERT_TRUE(viewgeo::cpp::set_remote_center(3, PanTilt{10.0f, -20.0f}, 1, 0));
    Context ctx = camera();
    ctx.set_pantilt(PanTilt{0.0f, 0.0f});
    ASSERT_TRUE(ctx.load_remote_center(3));
    EXPECT_EQ(ctx.pantilt(), (PanTilt{10.0f, -20.0f}));
    std::int32_t pan = 0, tilt = 0;
    ASSERT_EQ(viewgeo_to_remote_ptz(ctx.get(), &pan, &tilt, 1200, 300), 0);
    EXPECT_EQ(ctx.to_remote_ptz(Pixel{1200, 300}), (PanTiltQ16{Q16::from_raw(pan), Q16::from_raw(tilt)}));
    EXPECT_EQ(ctx.to_remote_zoom(Pixel{960, 540}, 0).raw(), 0);
    EXPECT_EQ(ctx.to_remote_zoom(Pixel{960, 540}, 200).raw(), viewgeo_to_remote_zoom(ctx.get(), 960, 540, 200));
    // The remote centre is the picture centre.
    EXPECT_EQ(ctx.remote_to_pixel(PanTiltQ16{Q16::from_raw(10 * 65536), Q16::from_raw(-20 * 65536)}, 3),
              (Pixel{960, 540}));
    EXPECT_FALSE(ctx.remote_to_pixel(PanTiltQ16{}, 4).has_value()) << "no such channel";
}

TEST(CxxRemote, PositionOutsideTheWidePictureIsNotFound) {
    TempRoot root;
    ASSERT_TRUE(viewgeo::cpp::set_remote_center(3, PanTilt{10.0f, -20.0f}, 1, 0));
    Context ctx = camera();
    ctx.set_horiz_fov(120.0f).set_vert_fov(70.0f);
    EXPECT_FALSE(ctx.remote_to_pixel(PanTiltQ16{Q16::from_raw(-170 * 65536), Q16::from_raw(60 * 65536)}, 3));
}

TEST(CxxRemote, RemoteLensFieldOfViewScalesLinearlyWithTheAspect) {
    TempRoot root;
    Context ctx = camera();
    EXPECT_FALSE(ctx.load_remote_fov());
    root.write(kRemoteConf, "[lens_fov]\nvfov = 40.0\n");
    ASSERT_TRUE(ctx.load_remote_fov());
    // 40 degrees, and 40 x 1920/1080 through the Q16.16 aspect word 116508.
    EXPECT_EQ(ctx.vert_fov_q16().raw(), 2621440);
    std::int32_t hfov = 0;
    viewgeo_get_horiz_fov_x(ctx.get(), &hfov);
    EXPECT_EQ(hfov, 4660320);
}

TEST(CxxRemote, PanoramaCentreIsTheCameraDirection) {
    TempRoot root;
    Context ctx = camera();
    ctx.set_horiz_fov(360.0f).set_vert_fov(180.0f).set_pantilt(PanTilt{30.0f, 10.0f});
    const PanTilt pt = ctx.panorama_to_remote_ptz(Pixel{960, 540});
    EXPECT_NEAR(pt.pan, 30.0f, 1e-4f);
    EXPECT_NEAR(pt.tilt, 10.0f, 1e-4f);
}

TEST(CxxCartesian, ConvertsBothWays) {
    const viewgeo::cpp::Vector3 x = viewgeo::cpp::ptz_to_cartesian(PanTilt{0.0f, 0.0f});
    EXPECT_NEAR(x.x, 1.0f, 1e-7f);
    EXPECT_NEAR(x.y, 0.0f, 1e-7f);
    EXPECT_NEAR(x.z, 0.0f, 1e-7f);
    EXPECT_FALSE(viewgeo::cpp::cartesian_to_ptz(viewgeo::cpp::Vector3{}).has_value());
    const std::optional<PanTilt> back = viewgeo::cpp::cartesian_to_ptz(viewgeo::cpp::Vector3{-1.0f, 0.0f, 0.0f});
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(back->pan, 180.0f);
    EXPECT_NEAR(back->tilt, 0.0f, 1e-5f);
    for (float pan = -170.0f; pan < 180.0f; pan += 20.0f) {
        for (float tilt = -80.0f; tilt <= 80.0f; tilt += 20.0f) {
            const std::optional<PanTilt> round = viewgeo::cpp::cartesian_to_ptz(viewgeo::cpp::ptz_to_cartesian(PanTilt{pan, tilt}));
            ASSERT_TRUE(round.has_value());
            EXPECT_NEAR(round->pan, pan, 1e-3f);
            EXPECT_NEAR(round->tilt, tilt, 1e-3f);
        }
    }
}

}  // namespace
