// From a remote pan/tilt back to the pixel of the main picture.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "core/q16.h"
#include "fixmath/viewgeo_fx.h"
#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

// The root, the view and deg() of the test support.
using namespace testing;

constexpr const char *kConf = "/etc/viewgeo/remoteptz.conf";

// Channel 1 looks at pan 20, tilt -10 from the picture centre.
void write_channel_one(const TempRoot &root) {
    root.write(kConf, "[channel_1]\ncenter_pan = 20.0\ncenter_tilt = -10.0\ncalibration_status = 1\n"
                      "auto_calibrated = 0\n");
}

// The main picture; its pan/tilt is replaced by the channel's centre.
View main_view(q16 hfov, q16 vfov, std::int32_t w = 1920, std::int32_t h = 1080) {
    return testing::view_of(hfov, vfov, deg(77), deg(7), w, h);
}

// The search written out from its description, with 64-bit integers where
// the library wraps (no value here comes near the limits): the start guess,
// the clamps, the two-pixels-per-degree steps, one restart from the centre,
// at most 151 evaluations. Expects the context to hold the centre already.
struct SearchResult {
    int status;
    std::int32_t x, y;
    int evaluations;
    bool restarted;
};

SearchResult reference_search(const viewgeo_context *ctx, q16 pan, q16 tilt) {
    const std::int64_t W = ctx->pic_width, H = ctx->pic_height;
    q16 vf = 0, hf = 0;
    viewgeo_get_vert_fov_x(ctx, &vf);
    viewgeo_get_horiz_fov_x(ctx, &hf);
    std::int64_t d = std::int64_t(pan) - ctx->pan;
    if (ctx->pan < pan) {
        if (d >= 180 * 65536) d -= 360 * 65536;
    } else if (std::int64_t(ctx->pan) - pan >= 180 * 65536) {
        d += 360 * 65536;
    }
    const q16 hh = q16_div(hf, 2 * 65536);
    const q16 hv = q16_div(vf, 2 * 65536);
    if (hh == 0 || hv == 0) return {-1, -1, -1, 0, false};
    std::int64_t x = std::int64_t(q16_mul(q16_div(q16(d), hh) + 65536, q16((W / 2) * 65536))) >> 16;
    std::int64_t y = std::int64_t(q16_mul(q16_div(ctx->tilt - tilt, hv) + 65536, q16(H))) >> 16;
    if (x < 0) x = std::int64_t(q16_mul(q16(W * 65536), 6554)) >> 16;
    if (x > W) x = std::int64_t(q16_mul(q16(W * 65536), 58982)) >> 16;
    if (y < 0) y = std::int64_t(q16_mul(q16(H * 65536), 6554)) >> 16;
    if (y > H) y = std::int64_t(q16_mul(q16(H * 65536), 58982)) >> 16;
    bool restarted = false;
    for (int n = 1; n <= 151; ++n) {
        q16 rp = 0, rt = 0;
        viewgeo_to_remote_ptz(ctx, &rp, &rt, std::int32_t(x), std::int32_t(y));
        std::int64_t dp = std::int64_t(pan) - rp;
        if ((dp >> 16) < -180) {
            dp += 360 * 65536;
        } else if ((dp >> 16) >= 181) {
            dp -= 360 * 65536;
        }
        const std::int64_t dt = std::int64_t(tilt) - rt;
        const q16 ep = viewgeo_fx_sqrtx(q16_mul(q16(dp), q16(dp)), 16);
        const q16 et = viewgeo_fx_sqrtx(q16_mul(q16(dt), q16(dt)), 16);
        if (ep < 0x8000 && et < 0x8000) return {0, std::int32_t(x), std::int32_t(y), n, restarted};
        if (ep > 0x8000) x = (x * 65536 + q16_div(q16(dp), 0x8000)) >> 16;
        if (et > 0x8000) y = (y * 65536 - q16_div(q16(dt), 0x8000)) >> 16;
        if (x < 0 || x > W || y > H || y < 0) {
            if (restarted) return {-1, -1, -1, n, true};
            restarted = true;
            x = W / 2;
            y = H / 2;
        }
    }
    return {-1, -1, -1, 151, restarted};
}

// Both errors of a found pixel are below half a degree.
void expect_within_half_degree(const viewgeo_context *ctx, std::int32_t x, std::int32_t y, q16 pan, q16 tilt) {
    q16 rp = 0, rt = 0;
    viewgeo_to_remote_ptz(ctx, &rp, &rt, x, y);
    EXPECT_LT(std::abs(pan - rp), 0x8000) << x << "," << y;
    EXPECT_LT(std::abs(tilt - rt), 0x8000) << x << "," << y;
}

TEST(RemoteToPixel, ChannelWithoutGroupFailsAndTouchesNothing) {
    TempRoot root;
    write_channel_one(root);
    const View c = main_view(deg(120), deg(70));
    viewgeo_set_pic_rot(c.get(), 180);
    std::int32_t x = 11, y = 22;
    EXPECT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, deg(20), deg(-10), 2), -1);
    EXPECT_EQ(x, 11);
    EXPECT_EQ(y, 22);
    EXPECT_EQ(c.get()->pan, deg(77));
    EXPECT_EQ(c.get()->tilt, deg(7));
    EXPECT_EQ(c.get()->pic_rot, 180);
}

TEST(RemoteToPixel, MissingFileFails) {
    TempRoot root;
    const View c = main_view(deg(60), deg(35));
    std::int32_t x = 11, y = 22;
    EXPECT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, deg(20), deg(-10), 1), -1);
    EXPECT_EQ(x, 11);
    EXPECT_EQ(y, 22);
}

TEST(RemoteToPixel, NarrowViewIsTheFixedPointProjectionFromTheCentre) {
    TempRoot root;
    write_channel_one(root);
    const View c = main_view(deg(60), deg(35));
    viewgeo_set_pic_rot(c.get(), 90);
    for (auto [pan, tilt] : {std::pair{deg(20), deg(-10)}, {deg(35), deg(0)}, {deg(5), deg(-25)}}) {
        std::int32_t x = 0, y = 0, want_x = 0, want_y = 0;
        EXPECT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, pan, tilt, 1), 0);
        EXPECT_EQ(c.get()->pan, deg(20));
        EXPECT_EQ(c.get()->tilt, deg(-10));
        viewgeo_to_pixel_x(c.get(), &want_x, &want_y, pan, tilt);
        EXPECT_EQ(x, want_x);
        EXPECT_EQ(y, want_y);
    }
    EXPECT_EQ(c.get()->pic_rot, 90);  // only the wide path resets it
}

TEST(RemoteToPixel, NarrowViewWithZeroFieldGivesTheQ16Centre) {
    TempRoot root;
    write_channel_one(root);
    const View c = main_view(0, 0);
    std::int32_t x = 0, y = 0;
    EXPECT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, deg(20), deg(-10), 1), 0);
    EXPECT_EQ(x, 1920 * 32768);
    EXPECT_EQ(y, 1080 * 32768);
}

TEST(RemoteToPixel, WideViewTargetAtTheCentreStopsWithinHalfADegree) {
    TempRoot root;
    write_channel_one(root);
    const View c = main_view(deg(120), deg(70));
    std::int32_t x = -5, y = -5;
    EXPECT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, deg(20), deg(-10), 1), 0);
    EXPECT_EQ(c.get()->pan, deg(20));
    EXPECT_EQ(c.get()->tilt, deg(-10));
    const SearchResult want = reference_search(c.get(), deg(20), deg(-10));
    ASSERT_EQ(want.status, 0);
    EXPECT_EQ(x, want.x);
    EXPECT_EQ(y, want.y);
    // The start row is 0; the search climbs down until the tilt error is
    // below 0.5 degrees, a few rows short of the centre row.
    EXPECT_EQ(x, 960);
    EXPECT_LT(y, 540);
    EXPECT_GT(y, 500);
    expect_within_half_degree(c.get(), x, y, deg(20), deg(-10));
}

TEST(RemoteToPixel, WideViewFindsTargetsAcrossThePicture) {
    TempRoot root;
    write_channel_one(root);
    const View c = main_view(deg(120), deg(70));
    ASSERT_EQ(viewgeo_get_remote_center(c.get(), 1), 0);
    for (int px = 100; px < 1920; px += 200) {
        for (int py = 100; py < 1080; py += 150) {
            q16 pan = 0, tilt = 0;
            ASSERT_EQ(viewgeo_to_remote_ptz(c.get(), &pan, &tilt, px, py), 0);
            std::int32_t x = 0, y = 0;
            ASSERT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, pan, tilt, 1), 0) << px << "," << py;
            const SearchResult want = reference_search(c.get(), pan, tilt);
            EXPECT_EQ(x, want.x) << px << "," << py;
            EXPECT_EQ(y, want.y) << px << "," << py;
            expect_within_half_degree(c.get(), x, y, pan, tilt);
            // Half a degree is about 8 pixels at 0.0625 degrees per pixel,
            // more where the sub-view widens.
            EXPECT_NEAR(x, px, 20) << px << "," << py;
            EXPECT_NEAR(y, py, 20) << px << "," << py;
        }
    }
}

TEST(RemoteToPixel, WideViewSetsRotationZeroAndMirrorsAHalfTurn) {
    TempRoot root;
    write_channel_one(root);
    const q16 pan = deg(45), tilt = deg(-20);
    std::int32_t x0 = 0, y0 = 0;
    {
        const View c = main_view(deg(120), deg(70));
        ASSERT_EQ(viewgeo_remote_to_pixel(c.get(), &x0, &y0, pan, tilt, 1), 0);
    }
    for (int rot : {90, 180, 270, 360}) {
        const View c = main_view(deg(120), deg(70));
        viewgeo_set_pic_rot(c.get(), rot);
        std::int32_t x = 0, y = 0;
        ASSERT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, pan, tilt, 1), 0);
        EXPECT_EQ(c.get()->pic_rot, 0) << rot;
        if (rot == 180) {
            EXPECT_EQ(x, 1920 - x0);
            EXPECT_EQ(y, 1080 - y0);
        } else {
            EXPECT_EQ(x, x0) << rot;
            EXPECT_EQ(y, y0) << rot;
        }
    }
}

TEST(RemoteToPixel, TargetOutsideThePictureFailsAfterOneRestart) {
    TempRoot root;
    write_channel_one(root);
    const View c = main_view(deg(120), deg(70));
    viewgeo_set_pic_rot(c.get(), 180);
    std::int32_t x = 0, y = 0;
    // 150 degrees to the side of a 120-degree view.
    EXPECT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, deg(170), deg(-10), 1), -1);
    EXPECT_EQ(x, -1);
    EXPECT_EQ(y, -1);
    EXPECT_EQ(c.get()->pan, deg(20));
    EXPECT_EQ(c.get()->pic_rot, 0);
    const SearchResult want = reference_search(c.get(), deg(170), deg(-10));
    EXPECT_EQ(want.status, -1);
    EXPECT_TRUE(want.restarted);
    EXPECT_LT(want.evaluations, 151);
}

// Reads like the test above on purpose: another way the search fails,
// checked the same way against the reference search.
TEST(RemoteToPixel, SearchThatNeverSettlesFailsAfter151Evaluations) {
    TempRoot root;
    write_channel_one(root);
    const View c = main_view(deg(120), deg(70));
    std::int32_t x = 0, y = 0;
    // Inside the picture, but the fixed steps of two pixels per degree do
    // not bring both errors below half a degree within 151 evaluations.
    EXPECT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, deg(42), deg(-35), 1), -1);
    EXPECT_EQ(x, -1);
    EXPECT_EQ(y, -1);
    const SearchResult want = reference_search(c.get(), deg(42), deg(-35));
    EXPECT_EQ(want.status, -1);
    EXPECT_EQ(want.evaluations, 151);
}

TEST(RemoteToPixel, TargetFarBelowFails) {
    TempRoot root;
    write_channel_one(root);
    const View c = main_view(deg(120), deg(70));
    std::int32_t x = 0, y = 0;
    EXPECT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, deg(20), deg(-85), 1), -1);
    EXPECT_EQ(x, -1);
    EXPECT_EQ(y, -1);
}

TEST(RemoteToPixel, ZeroVerticalFieldFailsOnTheWidePath) {
    TempRoot root;
    write_channel_one(root);
    const View c = main_view(deg(120), 0);
    viewgeo_set_pic_rot(c.get(), 270);
    std::int32_t x = 0, y = 0;
    EXPECT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, deg(20), deg(-10), 1), -1);
    EXPECT_EQ(x, -1);
    EXPECT_EQ(y, -1);
    EXPECT_EQ(c.get()->pic_rot, 0);
}

TEST(RemoteToPixel, PanDifferenceIsTakenAcrossTheHalfTurn) {
    TempRoot root;
    // Centre at pan 170: a target at -175 is 15 degrees to the right.
    root.write(kConf, "[channel_3]\ncenter_pan = 170\ncenter_tilt = 0\ncalibration_status = 1\n"
                      "auto_calibrated = 1\n");
    const View c = main_view(deg(120), deg(70));
    std::int32_t x = 0, y = 0;
    ASSERT_EQ(viewgeo_remote_to_pixel(c.get(), &x, &y, deg(-175), deg(5), 3), 0);
    EXPECT_GT(x, 960);
    const SearchResult want = reference_search(c.get(), deg(-175), deg(5));
    EXPECT_EQ(x, want.x);
    EXPECT_EQ(y, want.y);
    q16 rp = 0, rt = 0;
    viewgeo_to_remote_ptz(c.get(), &rp, &rt, x, y);
    const q16 err = wrap_sub(deg(-175), rp);
    EXPECT_LT(std::abs(err >> 16 < -180 ? err + deg(360) : err), 0x8000);
}

}  // namespace
}  // namespace viewgeo
