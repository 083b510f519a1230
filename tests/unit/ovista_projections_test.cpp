// Overview pixel to PTZ pan/tilt and back.
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <memory>

#include "support/ovista_defaults.h"
#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace {

using viewgeo::testing::TempRoot;

// 180/pi as the overview projections store it: bits 0x42652EE0.
const float kK = std::bit_cast<float>(0x42652EE0u);

// The defaults, written out independently of the library.
viewgeo_ovista_context defaults() { return viewgeo::testing::ovista_defaults(); }

class OvistaProjection : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(view_);
        viewgeo_set_pic_dim(view_.get(), 1920, 1080);
    }
    void picture(int w, int h) { viewgeo_set_pic_dim(view_.get(), w, h); }
    void rel(int x, int y, float *pan, float *tilt) { viewgeo_ovista_to_ptz_f_rel(&o_, view_.get(), pan, tilt, x, y); }
    void abs(int x, int y, float *pan, float *tilt) { viewgeo_ovista_to_ptz_f(&o_, view_.get(), pan, tilt, x, y); }
    void pixel(float pan, float tilt, int *x, int *y) { viewgeo_ovista_to_pixel_f(&o_, view_.get(), pan, tilt, x, y); }

    TempRoot root_;
    viewgeo::testing::View view_;
    viewgeo_ovista_context o_ = defaults();
};

TEST_F(OvistaProjection, CentreOfPictureGivesTheAxis) {
    float pan = 1, tilt = 1;
    rel(960, 540, &pan, &tilt);
    EXPECT_EQ(pan, 0.0f);
    EXPECT_EQ(tilt, 0.0f);
    abs(960, 540, &pan, &tilt);
    EXPECT_EQ(pan, 0.0f);
    EXPECT_EQ(tilt, -90.0f);
}

TEST_F(OvistaProjection, RimRightOfCentreIsPan90AtTheFieldAngle) {
    float pan = 0, tilt = 0;
    rel(1545, 540, &pan, &tilt);
    // pi/2 in single precision times 0x42652EE0 rounds to exactly 90.
    EXPECT_EQ(pan, 1.57079637f * kK);
    EXPECT_EQ(pan, 90.0f);
    // 585 * 99 / (1920 * 0.3046875) = 57915 / 585, all exact.
    EXPECT_EQ(tilt, 99.0f);
}

TEST_F(OvistaProjection, OnePixelRightOfCentreIsPan90) {
    float pan = 0, tilt = 0;
    rel(961, 540, &pan, &tilt);
    EXPECT_EQ(pan, 90.0f);
    EXPECT_EQ(tilt, 99.0f / 585.0f);
    rel(959, 540, &pan, &tilt);
    EXPECT_EQ(pan, -90.0f);
}

TEST_F(OvistaProjection, UpperLeftDiagonalIsCodeOneAndPanMinus45) {
    float pan = 0, tilt = 0;
    rel(959, 539, &pan, &tilt);
    // -atanf(1) = -0.785398185 (bits 0xBF490FDB) times 57.2957764 gives -45.
    EXPECT_EQ(pan, -45.0f);
    const float r = std::sqrt(2.0f);
    EXPECT_EQ(tilt, (r * 99.0f) / 585.0f);
}

TEST_F(OvistaProjection, QuadrantsBelowTheCentreGoThroughPi) {
    float pan = 0, tilt = 0;
    rel(1060, 640, &pan, &tilt);  // right and below: code 2
    EXPECT_EQ(pan, 135.0f);
    // sqrtf(20000) = 141.421356, times 99 / 585.
    EXPECT_EQ(tilt, (std::sqrt(20000.0f) * 99.0f) / 585.0f);
    rel(860, 640, &pan, &tilt);  // left and below: code 3
    EXPECT_EQ(pan, -135.0f);
    rel(1060, 440, &pan, &tilt);  // right and above: code 0
    EXPECT_EQ(pan, 45.0f);
    rel(960, 440, &pan, &tilt);  // straight up
    EXPECT_EQ(pan, 0.0f);
    rel(960, 640, &pan, &tilt);  // straight down: code 2 with q = 0
    EXPECT_EQ(pan, static_cast<float>(3.141592653589793) * kK);
}

TEST_F(OvistaProjection, LessThanOnePixelLeftStillCountsAsNotLeft) {
    picture(1921, 1080);  // centre x at 960.5
    float pan = 0, tilt = 0;
    rel(960, 539, &pan, &tilt);  // dx = 0.5 truncates to 0: code 0, not 1
    // atanf(0.5) = 0.463647604, times 57.2957764 = 26.5650501 (bits 0x41D48539).
    EXPECT_EQ(std::bit_cast<std::uint32_t>(pan), 0x41D48539u);
    EXPECT_GT(pan, 0.0f);
}

TEST_F(OvistaProjection, HalfPixelRowUsesTheSignOfTheUntruncatedOffset) {
    picture(1921, 1081);  // centre at (960.5, 540.5)
    float pan = 0, tilt = 0;
    rel(960, 540, &pan, &tilt);  // dy = 0.5 truncates to 0: code 4; dx = +0.5
    EXPECT_EQ(pan, -90.0f);
    rel(961, 540, &pan, &tilt);  // dx = -0.5
    EXPECT_EQ(pan, 90.0f);
}

TEST_F(OvistaProjection, OnlyTheWidthRadiusScalesTilt) {
    o_.radius_y = 0.01f;
    float pan = 0, tilt = 0;
    rel(960, 540 - 585, &pan, &tilt);
    EXPECT_EQ(tilt, 99.0f);
    o_.radius_x = 0.6093750f;  // twice the radius: half the angle
    rel(960, 540 - 585, &pan, &tilt);
    EXPECT_EQ(tilt, 49.5f);
}

TEST_F(OvistaProjection, BothCorrectionsAreEvaluatedAtTheSameAbsolutePan) {
    o_.center_pan = 10.0f;
    o_.pan_comp = {1, 0.0f, 1.0f, 0.0f, 0.0f};   // adds its argument
    o_.tilt_comp = {1, 0.0f, 2.0f, 0.5f, 0.0f};  // adds 2 g + 0.5
    float pan = 0, tilt = 0;
    rel(1545, 540, &pan, &tilt);
    const float g = 90.0f + 10.0f;
    EXPECT_EQ(pan, 90.0f + g);                 // 190, relative: no wrap here
    EXPECT_EQ(tilt, 99.0f + (g * 2.0f + 0.5f));  // 299.5, not taken at the corrected pan
    abs(1545, 540, &pan, &tilt);
    EXPECT_EQ(pan, 190.0f + 10.0f - 360.0f);
    EXPECT_EQ(tilt, 299.5f - 90.0f);
}

TEST_F(OvistaProjection, AbsolutePanIsWrappedOnceAndTiltNever) {
    o_.center_pan = 170.0f;
    o_.center_tilt = 100.0f;
    float pan = 0, tilt = 0;
    abs(1545, 540, &pan, &tilt);
    EXPECT_EQ(pan, -100.0f);  // 260 wrapped
    EXPECT_EQ(tilt, 199.0f);  // beyond 90, left as it is
    o_.center_pan = 500.0f;
    abs(1545, 540, &pan, &tilt);
    EXPECT_EQ(pan, 230.0f);  // 590 - 360: one step only
}

TEST_F(OvistaProjection, AxisDirectionGivesTheCentreThroughTheExactPath) {
    int x = 0, y = 0;
    pixel(0.0f, -90.0f, &x, &y);
    EXPECT_EQ(x, 960);
    EXPECT_EQ(y, 540);
}

TEST_F(OvistaProjection, ExactCentrePathTruncatesAndSkipsCorrections) {
    picture(1001, 601);  // centre (500.5, 300.5): truncated, not rounded
    o_.x_comp = {1, 0.0f, 0.0f, 7.0f, 0.0f};
    o_.y_comp = {1, 0.0f, 0.0f, -7.0f, 0.0f};
    int x = 0, y = 0;
    pixel(0.0f, -90.0f, &x, &y);
    EXPECT_EQ(x, 500);
    EXPECT_EQ(y, 300);
    // Mirroring pan 0 gives -0, which still takes the exact path.
    o_.mirror = 1;
    pixel(0.0f, -90.0f, &x, &y);
    EXPECT_EQ(x, 500);
    EXPECT_EQ(y, 300);
}

TEST_F(OvistaProjection, TiltOffTheAxisAtPanZeroIsStraightUp) {
    int x = 0, y = 0;
    pixel(0.0f, 9.0f, &x, &y);  // 99 degrees from the axis: the rim
    EXPECT_EQ(x, 960);
    EXPECT_EQ(y, 540 - 585);
}

TEST_F(OvistaProjection, PanMinus30AtTilt45FromTheAxis) {
    int x = 0, y = 0;
    // a = -30 * pi/180 in double, narrowed; r = 45 * 0.3046875 * 1920 / 99 =
    // 265.909088; dx = -132.954544, dy = -230.284027.
    pixel(-30.0f, -45.0f, &x, &y);
    EXPECT_EQ(x, 827);
    EXPECT_EQ(y, 310);
}

TEST_F(OvistaProjection, MirrorReversesThePanSense) {
    int mx = 0, my = 0, x = 0, y = 0;
    o_.mirror = 1;
    pixel(30.0f, -45.0f, &mx, &my);
    o_.mirror = 0;
    pixel(-30.0f, -45.0f, &x, &y);
    EXPECT_EQ(mx, x);
    EXPECT_EQ(my, y);
    EXPECT_EQ(x, 827);
}

TEST_F(OvistaProjection, MirrorIsASymmetryForEveryPan) {
    for (float pan = -179.0f; pan < 180.0f; pan += 3.5f) {
        int mx = 0, my = 0, x = 0, y = 0;
        o_.mirror = 7;
        pixel(pan, -30.0f, &mx, &my);
        o_.mirror = 0;
        pixel(-pan, -30.0f, &x, &y);
        EXPECT_EQ(mx, x) << pan;
        EXPECT_EQ(my, y) << pan;
    }
}

TEST_F(OvistaProjection, RotationWrapsOnlyAbove180) {
    // x compensator adding its argument shows the pan after rotation.
    o_.x_comp = {1, 0.0f, 1.0f, 0.0f, 0.0f};
    int x = 0, y = 0, rx = 0, ry = 0;
    o_.rotation = 170;
    pixel(20.0f, -90.0f + 50.0f, &rx, &ry);  // 190 becomes -170
    o_.rotation = 0;
    pixel(-170.0f, -90.0f + 50.0f, &x, &y);
    EXPECT_EQ(rx, x);
    EXPECT_EQ(ry, y);
    // -190 is left alone: geometrically 170, but the correction sees -190.
    o_.rotation = -170;
    pixel(-20.0f, -40.0f, &rx, &ry);
    o_.rotation = 0;
    pixel(170.0f, -40.0f, &x, &y);
    EXPECT_EQ(rx, x - 360);
    EXPECT_EQ(ry, y);
}

TEST_F(OvistaProjection, CorrectionsUseTheRotatedMirroredPanBeforeTheAxis) {
    o_.center_pan = 30.0f;
    o_.mirror = 1;
    o_.rotation = 10;
    o_.x_comp = {1, 0.0f, 0.0f, 0.0f, 0.0f};
    o_.y_comp = {1, 0.0f, 1.0f, 0.0f, 0.0f};  // adds p
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    pixel(20.0f, -40.0f, &x0, &y0);
    o_.y_comp = {0, 0.0f, 0.0f, 0.0f, 0.0f};
    pixel(20.0f, -40.0f, &x1, &y1);
    EXPECT_EQ(x0, x1);
    EXPECT_EQ(y0 - y1, -30);  // p = -(10 + 20)
}

TEST_F(OvistaProjection, PixelRoundTripsInsideTheCircle) {
    for (int y = 540 - 500; y <= 540 + 500; y += 37) {
        for (int x = 960 - 500; x <= 960 + 500; x += 41) {
            float pan = 0, tilt = 0;
            abs(x, y, &pan, &tilt);
            int bx = 0, by = 0;
            pixel(pan, tilt, &bx, &by);
            EXPECT_EQ(bx, x) << x << "," << y;
            EXPECT_EQ(by, y) << x << "," << y;
        }
    }
}

TEST_F(OvistaProjection, TiltGrowsWithDistanceFromTheCentre) {
    float last = -1.0f;
    for (int x = 960; x <= 1920; x += 16) {
        float pan = 0, tilt = 0;
        rel(x, 540, &pan, &tilt);
        EXPECT_GT(tilt, last) << x;
        last = tilt;
    }
}

TEST_F(OvistaProjection, ZeroWidthGivesInfiniteTiltWithoutFault) {
    picture(0, 1080);
    float pan = 0, tilt = 0;
    rel(10, 540, &pan, &tilt);
    EXPECT_EQ(tilt, std::numeric_limits<float>::infinity());
    EXPECT_EQ(pan, 90.0f);  // dx = 0 * 0.5 - 10: right of the centre
}

TEST_F(OvistaProjection, ZeroFieldAngleSaturatesThePixel) {
    o_.field_angle = 0.0f;
    int x = 0, y = 0;
    pixel(90.0f, -45.0f, &x, &y);  // r = +inf; dx = +inf, dy = -cos(a) * inf
    EXPECT_EQ(x, INT32_MAX);
    EXPECT_EQ(y, INT32_MAX);  // cos of pi/2 in single precision is negative
}

TEST_F(OvistaProjection, HugeTiltSaturatesThePixel) {
    int x = 0, y = 0;
    pixel(180.0f, 1e30f, &x, &y);
    EXPECT_EQ(x, INT32_MIN);  // sin of pi rounded to float is tiny and negative
    EXPECT_EQ(y, INT32_MAX);
}

TEST_F(OvistaProjection, NanConfigurationGivesDefinedPixels) {
    o_.field_angle = std::numeric_limits<float>::quiet_NaN();
    int x = 0, y = 0;
    pixel(10.0f, -45.0f, &x, &y);
    EXPECT_TRUE(x == INT32_MIN || x == INT32_MAX) << x;
    EXPECT_TRUE(y == INT32_MIN || y == INT32_MAX) << y;
    float pan = 0, tilt = 0;
    o_ = defaults();
    o_.center_y = std::numeric_limits<float>::quiet_NaN();
    rel(100, 100, &pan, &tilt);
    EXPECT_TRUE(std::isnan(pan));
    EXPECT_TRUE(std::isnan(tilt));
}

TEST_F(OvistaProjection, ExtremePixelsAndRotationsAreDefined) {
    float pan = 0, tilt = 0;
    rel(INT_MAX, INT_MIN, &pan, &tilt);  // far right and far above: near 45
    EXPECT_GT(pan, 44.9f);
    EXPECT_LT(pan, 45.1f);
    EXPECT_TRUE(std::isfinite(tilt));
    for (int rotation : {INT_MIN, INT_MAX}) {
        // Whatever the direction, 45 degrees off the axis lies on the circle
        // of radius 45 * 585 / 99 = 265.9 pixels.
        o_.rotation = rotation;
        int x = 0, y = 0;
        pixel(0.0f, -45.0f, &x, &y);
        EXPECT_LE(std::hypot(x - 960.0, y - 540.0), 266.5) << rotation;
        EXPECT_GE(std::hypot(x - 960.0, y - 540.0), 265.3) << rotation;
    }
}

}  // namespace
