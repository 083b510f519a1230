// The view context: creation defaults, the projection-type flag file, the
// parameter accessors and the derived vertical field of view.
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>

#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

using testing::TempRoot;
using testing::View;

constexpr const char *kProjectionFlag = "/usr/share/viewgeo/viewgeo_projection.conf";

// The field of view `hfov` (degrees) across a picture of width x height.
void set_field_and_picture(const View &c, float hfov, int32_t width, int32_t height) {
    viewgeo_set_horiz_fov_f(c.get(), hfov);
    viewgeo_set_pic_dim(c.get(), width, height);
}

// The vertical field of view as each getter gives it.
float vert_fov_f(const View &c) {
    float v = 0.0f;
    viewgeo_get_vert_fov_f(c.get(), &v);
    return v;
}

int32_t vert_fov_x(const View &c) {
    int32_t x = 0;
    viewgeo_get_vert_fov_x(c.get(), &x);
    return x;
}

// The derived vertical field of view written out step by step: half the
// horizontal field in radians in single precision, its tangent in double,
// the aspect in single precision, the arc tangent in double.
float reference_vertical_fov(int32_t horiz_fov, int32_t width, int32_t height) {
    const float h = static_cast<float>(horiz_fov) / 65536.0f;
    const float half = h * 0.5f;
    const float a = half * std::bit_cast<float>(0x3C8EFA35u);
    const double t = std::tan(static_cast<double>(a));
    const float fw = static_cast<float>(width);
    const float fh = static_cast<float>(height);
    const float ratio = fh / fw;
    const double rt = static_cast<double>(ratio) * t;
    const double v = std::atan(rt) * 114.59156036376953;
    return static_cast<float>(v);
}

TEST(ContextCreate, ProjectionTypeIsRectilinearWithoutTheFlagFile) {
    TempRoot root;
    const View c;
    ASSERT_NE(c.get(), nullptr);
    EXPECT_EQ(c.get()->projection_type, 2);
}

// Reads like the test above on purpose: the flag file is the only
// difference.
TEST(ContextCreate, ProjectionTypeIsEquidistantWhenTheFlagFileExistsEvenEmpty) {
    TempRoot root;
    root.write(kProjectionFlag, "");
    const View c;
    ASSERT_NE(c.get(), nullptr);
    EXPECT_EQ(c.get()->projection_type, 1);
}

TEST(ContextCreate, FlagFileContentsAreNeverRead) {
    TempRoot root;
    root.write(kProjectionFlag, "projection_type=2\n");
    const View c;
    EXPECT_EQ(c.get()->projection_type, 1);
}

TEST(ContextCreate, FlagFileIsLookedAtOnlyAtCreation) {
    TempRoot root;
    const View before;
    root.write(kProjectionFlag, "");
    EXPECT_EQ(before.get()->projection_type, 2);
    const View after;
    EXPECT_EQ(after.get()->projection_type, 1);
    root.remove(kProjectionFlag);
    EXPECT_EQ(after.get()->projection_type, 1);
}

TEST(ContextCreate, StartsWithNoMisalignmentDataAndPlainPicture) {
    TempRoot root;
    const View c;
    EXPECT_EQ(c.get()->pic_rot, 0);
    EXPECT_FALSE(c.get()->vert_fov_set);
    EXPECT_EQ(c.get()->dewarp_status, 0);
    EXPECT_EQ(c.get()->mo_table, nullptr);
    EXPECT_EQ(c.get()->mo_count, 0);
    EXPECT_EQ(c.get()->mo_opt_offset, nullptr);
    EXPECT_EQ(c.get()->mo_mech_offset, nullptr);
    EXPECT_EQ(c.get()->pan_rotation_steps, 0u);
    EXPECT_EQ(c.get()->tilt_rotation_steps, 0u);
    EXPECT_EQ(c.get()->mo_state, 0);
}

TEST(ContextDelete, AcceptsNullAsFreeDoes) {
    // A cleanup path may delete a context whose creation failed. A read
    // through the null pointer would end the child by a signal (or a
    // sanitizer's report) instead of the exit.
    EXPECT_EXIT(
        {
            viewgeo_context_delete(nullptr);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(ContextPanTilt, FloatSetterRoundsToTheNearestWord) {
    TempRoot root;
    const View c;
    viewgeo_set_pantilt_f(c.get(), 0.0f, -0.4f / 65536.0f);
    EXPECT_EQ(c.get()->pan, 0);
    EXPECT_EQ(c.get()->tilt, 0);
    viewgeo_set_pantilt_f(c.get(), 1.5f, -89.0f);
    EXPECT_EQ(c.get()->pan, 98304);
    EXPECT_EQ(c.get()->tilt, -5832704);
    viewgeo_set_pantilt_f(c.get(), 2.5f / 65536.0f, -2.5f / 65536.0f);
    EXPECT_EQ(c.get()->pan, 3);
    EXPECT_EQ(c.get()->tilt, -3);
    viewgeo_set_pantilt_f(c.get(), -0.0f, 0.6f / 65536.0f);
    EXPECT_EQ(c.get()->pan, 0);
    EXPECT_EQ(c.get()->tilt, 1);
}

TEST(ContextPanTilt, FixedAccessorsCopyTheWords) {
    TempRoot root;
    const View c;
    viewgeo_set_pantilt_x(c.get(), INT32_MIN, INT32_MAX);
    int32_t p = 0;
    int32_t t = 0;
    viewgeo_get_pantilt_x(c.get(), &p, &t);
    EXPECT_EQ(p, INT32_MIN);
    EXPECT_EQ(t, INT32_MAX);
    float pf = 0.0f;
    float tf = 0.0f;
    viewgeo_set_pantilt_x(c.get(), -0x8000, 0x10000);
    viewgeo_get_pantilt_f(c.get(), &pf, &tf);
    EXPECT_EQ(pf, -0.5f);
    EXPECT_EQ(tf, 1.0f);
}

TEST(ContextFieldOfView, HorizontalAccessors) {
    TempRoot root;
    const View c;
    viewgeo_set_horiz_fov_f(c.get(), 60.0f);
    int32_t x = 0;
    viewgeo_get_horiz_fov_x(c.get(), &x);
    EXPECT_EQ(x, 60 * 65536);
    viewgeo_set_horiz_fov_x(c.get(), 0x8000);
    float f = 0.0f;
    viewgeo_get_horiz_fov_f(c.get(), &f);
    EXPECT_EQ(f, 0.5f);
}

TEST(ContextVerticalFov, DerivedFromSixtyDegreesAndFullHdThroughSinglePrecisionSteps) {
    TempRoot root;
    const View c;
    set_field_and_picture(c, 60.0f, 1920, 1080);
    const float v = vert_fov_f(c);
    const float expected = reference_vertical_fov(60 * 65536, 1920, 1080);
    EXPECT_EQ(std::bit_cast<uint32_t>(v), std::bit_cast<uint32_t>(expected));
    // 2 atan(0.5625 tan 30 deg) = 35.98339 degrees, within float rounding.
    EXPECT_NEAR(v, 2.0 * std::atan(0.5625 * std::tan(M_PI / 6.0)) * 180.0 / M_PI, 1e-4);
    const int32_t x = vert_fov_x(c);
    // The float result to a word: v * 65536 + 0.5 truncated.
    EXPECT_EQ(x, static_cast<int32_t>(std::trunc(v * 65536.0f + 0.5f)));
    EXPECT_NEAR(x / 65536.0, 35.98339, 1e-4);
}

TEST(ContextVerticalFov, DerivedValueFollowsTheHorizontalFieldAndAspect) {
    TempRoot root;
    const View c;
    viewgeo_set_pic_dim(c.get(), 640, 480);
    for (int32_t fov : {1 * 65536, 45 * 65536, 90 * 65536, 120 * 65536 + 12345}) {
        viewgeo_set_horiz_fov_x(c.get(), fov);
        const float v = vert_fov_f(c);
        EXPECT_EQ(std::bit_cast<uint32_t>(v), std::bit_cast<uint32_t>(reference_vertical_fov(fov, 640, 480))) << fov;
    }
    // A square picture keeps the horizontal field (to float rounding).
    viewgeo_set_pic_dim(c.get(), 500, 500);
    viewgeo_set_horiz_fov_f(c.get(), 50.0f);
    const float v = vert_fov_f(c);
    EXPECT_NEAR(v, 50.0f, 1e-4);
}

TEST(ContextVerticalFov, ZeroWidthGivesAboutHalfATurn) {
    TempRoot root;
    const View c;
    set_field_and_picture(c, 60.0f, 0, 1080);
    const float v = vert_fov_f(c);
    // atan(inf) = pi/2, times 360/pi held in single precision.
    EXPECT_EQ(v, static_cast<float>(1.5707963267948966 * 114.59156036376953));
    EXPECT_NEAR(v, 180.0f, 1e-4);
}

TEST(ContextVerticalFov, EmptyPictureGivesNan) {
    TempRoot root;
    const View c;
    set_field_and_picture(c, 60.0f, 0, 0);
    const float v = vert_fov_f(c);
    EXPECT_TRUE(std::isnan(v));
    // The Q16.16 form saturates by the NaN's sign bit.
    const int32_t x = vert_fov_x(c);
    EXPECT_EQ(x, std::signbit(v) ? INT32_MIN : INT32_MAX);
}

TEST(ContextVerticalFov, ExplicitValueIsKeptForGood) {
    TempRoot root;
    const View c;
    set_field_and_picture(c, 60.0f, 1920, 1080);
    viewgeo_set_vert_fov_x(c.get(), 20 * 65536 + 1);
    EXPECT_TRUE(c.get()->vert_fov_set);
    set_field_and_picture(c, 90.0f, 100, 4000);
    const int32_t x = vert_fov_x(c);
    EXPECT_EQ(x, 20 * 65536 + 1);
    const float v = vert_fov_f(c);
    EXPECT_EQ(v, 20.0f + 1.0f / 65536.0f);
}

TEST(ContextVerticalFov, FloatSetterRoundsAndAlsoSticks) {
    TempRoot root;
    const View c;
    viewgeo_set_vert_fov_f(c.get(), 33.3f);
    EXPECT_EQ(vert_fov_x(c), 2182349);  // 33.3 * 65536 = 2182348.8
    viewgeo_set_horiz_fov_f(c.get(), 10.0f);
    EXPECT_EQ(vert_fov_x(c), 2182349);
}

TEST(ContextPicture, DimensionsAreStoredUnchecked) {
    TempRoot root;
    const View c;
    viewgeo_set_pic_dim(c.get(), -5, 0);
    int32_t w = 1;
    int32_t h = 1;
    viewgeo_get_pic_dim(c.get(), &w, &h);
    EXPECT_EQ(w, -5);
    EXPECT_EQ(h, 0);
    viewgeo_set_pic_rot(c.get(), 45);
    EXPECT_EQ(c.get()->pic_rot, 45);
    viewgeo_set_projection_type(c.get(), 7);
    EXPECT_EQ(c.get()->projection_type, 7);
    viewgeo_set_dewarp_status(c.get(), 1);
    EXPECT_EQ(c.get()->dewarp_status, 1);
}

}  // namespace
}  // namespace viewgeo
