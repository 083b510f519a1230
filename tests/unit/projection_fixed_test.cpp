// The Q16.16 projections: worked examples with exact numbers, agreement with
// an ideal double-precision camera model, round trips, symmetries and
// defined results for input a caller should never pass.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <initializer_list>
#include <limits>

#include "core/q16.h"
#include "support/view.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

constexpr std::int32_t kSine = 0;
constexpr std::int32_t kEquidistant = 1;
constexpr std::int32_t kRectilinear = 2;
constexpr std::int32_t kLensModels[] = {kSine, kEquidistant, kRectilinear};
constexpr std::int32_t kRotations[] = {0, 90, 180, 270, 360};

// Degrees as the nearest Q16.16 word (test inputs only).
q16 deg(double d) { return static_cast<q16>(std::llround(d * 65536.0)); }
double degrees_of(q16 w) { return static_cast<double>(w) / 65536.0; }

using Pixel = testing::PixelOut;
using Direction = testing::PanTiltOutX;
using testing::pixel_of_x;
using testing::ptz_of_x;
using testing::ptz_rel_of_x;

// A view with every field a projection reads set explicitly; no file is
// involved, unlike viewgeo_context_create().
viewgeo_context make_view(double hfov, std::int32_t width, std::int32_t height, std::int32_t lens = kRectilinear,
                          double pan = 0.0, double tilt = 0.0, std::int32_t rotation = 0) {
    viewgeo_context ctx{};
    viewgeo_set_horiz_fov_x(&ctx, deg(hfov));
    viewgeo_set_pic_dim(&ctx, width, height);
    viewgeo_set_projection_type(&ctx, lens);
    viewgeo_set_pantilt_x(&ctx, deg(pan), deg(tilt));
    viewgeo_set_pic_rot(&ctx, rotation);
    viewgeo_set_dewarp_status(&ctx, 0);
    return ctx;
}

q16 vertical_fov(const viewgeo_context &ctx) {
    std::int32_t v = 0;
    viewgeo_get_vert_fov_x(&ctx, &v);
    return v;
}

// ---------------------------------------------------------------------------
// An ideal camera in double precision, written from the geometry rather than
// from the code: a unit ray turned by the pan offset and the camera tilt,
// mapped through the lens model. Only for directions in front of the camera
// and rotation 0. The fixed-point forms should agree with it up to their
// Q16.16 quantisation, the 1144 degrees-to-radians factor (0.016 % large)
// and the small-angle rule (sine kept for tangent below 0.1 rad).

double ideal_g(std::int32_t lens, double a) {
    if (lens == kSine) return std::sin(a);
    if (lens == kEquidistant) return a;
    return std::tan(a);
}
double ideal_g_inverse(std::int32_t lens, double r) {
    if (lens == kSine) return std::asin(r);
    if (lens == kEquidistant) return r;
    return std::atan(r);
}
constexpr double kPi = 3.14159265358979323846;
double rad(double d) { return d * kPi / 180.0; }

struct IdealPixel {
    double x;
    double y;
};

IdealPixel ideal_pixel(const viewgeo_context &ctx, double pan, double tilt) {
    const double d = rad(pan - degrees_of(ctx.pan));
    const double t = rad(tilt);
    const double c = rad(degrees_of(ctx.tilt));
    const double x = std::sin(d) * std::cos(t);
    const double fwd = std::cos(d) * std::cos(t);
    const double z = fwd * std::cos(c) + std::sin(t) * std::sin(c);
    const double y = std::sin(t) * std::cos(c) - fwd * std::sin(c);
    const double rho = std::hypot(x, y);
    const double theta = std::atan2(rho, z);
    const double scale = rho == 0.0 ? 0.0 : ideal_g(ctx.projection_type, theta) / rho;
    const double gh = ideal_g(ctx.projection_type, rad(degrees_of(ctx.horiz_fov) / 2.0));
    const double gv = ideal_g(ctx.projection_type, rad(degrees_of(vertical_fov(ctx)) / 2.0));
    const double u = x * scale / gh;
    const double v = y * scale / gv;
    return {(u / 2.0 + 0.5) * ctx.pic_width, (0.5 - v / 2.0) * ctx.pic_height};
}

struct IdealDirection {
    double pan;
    double tilt;
};

IdealDirection ideal_direction(const viewgeo_context &ctx, double px, double py) {
    const double u = 2.0 * (px / ctx.pic_width - 0.5);
    const double v = 2.0 * (0.5 - py / ctx.pic_height);
    const double gx = u * ideal_g(ctx.projection_type, rad(degrees_of(ctx.horiz_fov) / 2.0));
    const double gy = v * ideal_g(ctx.projection_type, rad(degrees_of(vertical_fov(ctx)) / 2.0));
    const double r = std::hypot(gx, gy);
    const double theta = ideal_g_inverse(ctx.projection_type, r);
    const double x = r == 0.0 ? 0.0 : gx / r * std::sin(theta);
    const double y = r == 0.0 ? 0.0 : gy / r * std::sin(theta);
    const double z = std::cos(theta);
    const double c = rad(degrees_of(ctx.tilt));
    const double fwd = z * std::cos(c) - y * std::sin(c);
    const double up = z * std::sin(c) + y * std::cos(c);
    return {degrees_of(ctx.pan) + std::atan2(x, fwd) * 180.0 / kPi, std::asin(up) * 180.0 / kPi};
}

// ---------------------------------------------------------------------------
// Worked examples.

TEST(PixelX, CurrentDirectionLandsOnCentrePixelForEveryLensModel) {
    for (const std::int32_t lens : kLensModels) {
        const viewgeo_context ctx = make_view(60.0, 1920, 1080, lens);
        const Pixel p = pixel_of_x(ctx, 0, 0);
        EXPECT_EQ(p.x, 960) << "lens " << lens;
        EXPECT_EQ(p.y, 540) << "lens " << lens;
    }
}

TEST(PtzX, CentrePixelGivesCurrentPositionForEveryLensModel) {
    for (const std::int32_t lens : kLensModels) {
        const viewgeo_context ctx = make_view(60.0, 1920, 1080, lens);
        const Direction d = ptz_of_x(ctx, 960, 540);
        EXPECT_EQ(d.pan, 0) << "lens " << lens;
        EXPECT_EQ(d.tilt, 0) << "lens " << lens;
    }
}

TEST(PixelX, ZeroHorizontalFovWritesCentreAsQ16WhateverTheDirection) {
    const viewgeo_context ctx = make_view(0.0, 1920, 1080);
    for (const q16 pan : {0, deg(45.0), deg(-170.0), INT32_MIN}) {
        for (const q16 tilt : {0, deg(-60.0), INT32_MAX}) {
            const Pixel p = pixel_of_x(ctx, pan, tilt);
            EXPECT_EQ(p.x, 62914560);  // 960.0 as Q16.16
            EXPECT_EQ(p.y, 35389440);  // 540.0 as Q16.16
        }
    }
}

TEST(PixelX, ZeroVerticalFovAloneAlsoGivesTheQ16Centre) {
    viewgeo_context ctx = make_view(60.0, 1920, 1080);
    viewgeo_set_vert_fov_x(&ctx, 0);
    const Pixel p = pixel_of_x(ctx, deg(10.0), deg(5.0));
    EXPECT_EQ(p.x, 62914560);
    EXPECT_EQ(p.y, 35389440);
}

TEST(PixelX, ZeroFovCentreIsNotRotated) {
    // The degenerate centre is written before any rotation would apply.
    for (const std::int32_t rotation : {90, 180, 270, 45}) {
        const viewgeo_context ctx = make_view(0.0, 1920, 1080, kRectilinear, 0.0, 0.0, rotation);
        const Pixel p = pixel_of_x(ctx, deg(3.0), 0);
        EXPECT_EQ(p.x, 62914560) << rotation;
        EXPECT_EQ(p.y, 35389440) << rotation;
    }
}

TEST(PtzX, ZeroFovReturnsContextWordsUnchanged) {
    viewgeo_context ctx = make_view(0.0, 1920, 1080, kRectilinear);
    viewgeo_set_pantilt_x(&ctx, 0x7FFFFFFF, -123457);
    const Direction d = ptz_of_x(ctx, 10, 20);
    EXPECT_EQ(d.pan, 0x7FFFFFFF);
    EXPECT_EQ(d.tilt, -123457);
}

TEST(PixelX, NormalisedCoordinateBeyondTenGivesTenPictureWidths) {
    // 89 degrees off a 2 degree view: u is about 3270 picture half-widths.
    const viewgeo_context ctx = make_view(2.0, 1920, 1080);
    const Pixel right = pixel_of_x(ctx, deg(89.0), 0);
    EXPECT_EQ(right.x, 19200);
    EXPECT_EQ(right.y, 540);
    const Pixel left = pixel_of_x(ctx, deg(-89.0), 0);
    EXPECT_EQ(left.x, -19200);
    EXPECT_EQ(left.y, 540);
}

TEST(PixelX, VerticalCoordinateIsClampedToTenPictureHeights) {
    // Camera on the horizon, 2 degree view, target 60 degrees up.
    const viewgeo_context ctx = make_view(2.0, 1920, 1080);
    EXPECT_EQ(pixel_of_x(ctx, 0, deg(60.0)).y, -10 * 1080);
    EXPECT_EQ(pixel_of_x(ctx, 0, deg(-60.0)).y, 10 * 1080);
}

TEST(PixelX, PanOffsetIsClampedTo89DegreesBelowThirtyDegreesTilt) {
    const viewgeo_context ctx = make_view(60.0, 1920, 1080);
    const Pixel clamped = pixel_of_x(ctx, deg(120.0), deg(10.0));
    const Pixel at89 = pixel_of_x(ctx, deg(89.0), deg(10.0));
    EXPECT_EQ(clamped.x, at89.x);
    EXPECT_EQ(clamped.y, at89.y);
    const Pixel clamped_left = pixel_of_x(ctx, deg(-120.0), deg(10.0));
    const Pixel at_minus89 = pixel_of_x(ctx, deg(-89.0), deg(10.0));
    EXPECT_EQ(clamped_left.x, at_minus89.x);
    EXPECT_EQ(clamped_left.y, at_minus89.y);
}

TEST(PixelX, PanOffsetIsNotClampedAtThirtyDegreesTilt) {
    const viewgeo_context ctx = make_view(60.0, 1920, 1080);
    for (const q16 tilt : {0x1E0000, -0x1E0000}) {
        const Pixel unclamped = pixel_of_x(ctx, deg(120.0), tilt);
        const Pixel at89 = pixel_of_x(ctx, deg(89.0), tilt);
        // 89 degrees off a 60 degree view hits the +10 guard; the 120 degree
        // target, behind the camera, folds back to a finite column.
        EXPECT_EQ(at89.x, 19200);
        EXPECT_LT(unclamped.x, 19200) << tilt;
    }
}

TEST(PixelX, PanOffsetIsClampedOneUnitInsideThirtyDegrees) {
    const viewgeo_context ctx = make_view(60.0, 1920, 1080);
    for (const q16 tilt : {-0x1DFFFF, 0x1DFFFF}) {
        const Pixel clamped = pixel_of_x(ctx, deg(120.0), tilt);
        const Pixel at89 = pixel_of_x(ctx, deg(89.0), tilt);
        EXPECT_EQ(clamped.x, at89.x) << tilt;
        EXPECT_EQ(clamped.y, at89.y) << tilt;
    }
}

TEST(PixelX, OffsetOfExactly180IsTakenAsMinus180AndMinus180AsPlus180) {
    // Both wrap to the same direction; the clamp then sends +180 to the left
    // edge (-89) and -180 to the right edge (+89).
    const viewgeo_context ctx = make_view(60.0, 1920, 1080);
    const Pixel plus180 = pixel_of_x(ctx, deg(180.0), 0);
    const Pixel minus180 = pixel_of_x(ctx, deg(-180.0), 0);
    EXPECT_EQ(plus180.x, pixel_of_x(ctx, deg(-89.0), 0).x);
    EXPECT_EQ(minus180.x, pixel_of_x(ctx, deg(89.0), 0).x);
}

// Linear mode for dewarped pictures: 90 x 50 degrees over 1920 x 1080, camera
// at pan 30, tilt 0.
viewgeo_context dewarped_view() {
    viewgeo_context ctx = make_view(90.0, 1920, 1080, kRectilinear, 30.0, 0.0);
    viewgeo_set_vert_fov_x(&ctx, deg(50.0));
    viewgeo_set_dewarp_status(&ctx, 1);
    return ctx;
}

TEST(PtzXRel, DewarpedRightEdgeIsHalfTheFieldMinusTheContextPan) {
    const Direction d = ptz_rel_of_x(dewarped_view(), 1920, 540);
    EXPECT_EQ(d.pan, deg(15.0));  // 45.0 minus the context pan of 30.0
    EXPECT_EQ(d.tilt, 0);
}

TEST(PtzXRel, DewarpedRowBelowThePictureIsFoldedBackIntoIt) {
    const viewgeo_context ctx = dewarped_view();
    const Direction d = ptz_rel_of_x(ctx, 960, 1500);
    // Row 1500 is read as 1500 % 1080 = 420: 420/1080 as Q16.16 rounds to
    // 25486, times 50.0 is 1274300; 25.0 - that is 364100 (5.5557 degrees).
    EXPECT_EQ(d.tilt, 364100);
    EXPECT_EQ(d.pan, deg(-30.0));  // centre column, minus the context pan
    const Direction row420 = ptz_rel_of_x(ctx, 960, 420);
    EXPECT_EQ(d.pan, row420.pan);
    EXPECT_EQ(d.tilt, row420.tilt);
}

TEST(PtzXRel, DewarpedColumnRightOfThePictureIsClampedNotFolded) {
    const viewgeo_context ctx = dewarped_view();
    const Direction beyond = ptz_rel_of_x(ctx, 3000, 540);
    const Direction edge = ptz_rel_of_x(ctx, 1920, 540);
    EXPECT_EQ(beyond.pan, edge.pan);
    EXPECT_EQ(beyond.tilt, edge.tilt);
}

TEST(PtzXRel, DewarpedModeIgnoresAZeroFieldOfView) {
    viewgeo_context ctx = dewarped_view();
    viewgeo_set_horiz_fov_x(&ctx, 0);
    viewgeo_set_vert_fov_x(&ctx, 0);
    const Direction d = ptz_rel_of_x(ctx, 100, 900);
    EXPECT_EQ(d.pan, deg(-30.0));  // offset 0, minus the context pan
    EXPECT_EQ(d.tilt, 0);
}

// A dewarped view whose full field is `hfov` x `vfov`, camera at `pan`.
viewgeo_context dewarped_view(double hfov, double vfov, double pan) {
    viewgeo_context ctx = make_view(hfov, 1920, 1080, kRectilinear, pan, 0.0);
    viewgeo_set_vert_fov_x(&ctx, deg(vfov));
    viewgeo_set_dewarp_status(&ctx, 1);
    return ctx;
}

TEST(PtzXRel, RelativePanOf725IsWrittenAs5) {
    // Right edge of a 360 degree field: +180; the context pan -545 makes 725.
    EXPECT_EQ(ptz_rel_of_x(dewarped_view(360.0, 50.0, -545.0), 1920, 540).pan, deg(5.0));
}

TEST(PtzXRel, RelativePanOfMinus725IsWrittenAsMinus5) {
    EXPECT_EQ(ptz_rel_of_x(dewarped_view(360.0, 50.0, 545.0), 0, 540).pan, deg(-5.0));
}

TEST(PtzXRel, RelativePanOfExactly360Stays360) {
    EXPECT_EQ(ptz_rel_of_x(dewarped_view(360.0, 50.0, -360.0), 960, 540).pan, deg(360.0));
    EXPECT_EQ(ptz_rel_of_x(dewarped_view(360.0, 50.0, 360.0), 960, 540).pan, deg(-360.0));
    // One unit more is reduced.
    viewgeo_context ctx = dewarped_view(360.0, 50.0, 0.0);
    viewgeo_set_pantilt_x(&ctx, -deg(360.0) - 1, 0);
    EXPECT_EQ(ptz_rel_of_x(ctx, 960, 540).pan, 1);
}

TEST(PtzXRel, RelativePanIsReducedAsOftenAsNeeded) {
    // 180 - (-905) = 1085: three turns too many become 5.
    EXPECT_EQ(ptz_rel_of_x(dewarped_view(360.0, 50.0, -905.0), 1920, 540).pan, deg(5.0));
    EXPECT_EQ(ptz_rel_of_x(dewarped_view(360.0, 50.0, 905.0), 0, 540).pan, deg(-5.0));
}

TEST(PtzXRel, RelativeTiltIsReducedOnItsOwn) {
    // A 1450 degree vertical field: the top row is +725, the bottom -725.
    const viewgeo_context ctx = dewarped_view(90.0, 1450.0, 0.0);
    const Direction top = ptz_rel_of_x(ctx, 960, 0);
    EXPECT_EQ(top.tilt, deg(5.0));
    EXPECT_EQ(top.pan, 0);
    EXPECT_EQ(ptz_rel_of_x(ctx, 960, 1080).tilt, deg(-5.0));
}

TEST(PtzXRel, LinearPanOffsetWrapsOnceIntoHalfATurn) {
    // A 720 degree field: the right edge is +360 and the left edge -360,
    // each wrapped once to 0; a quarter of the width is exactly -180, kept.
    const viewgeo_context ctx = dewarped_view(720.0, 50.0, 0.0);
    EXPECT_EQ(ptz_rel_of_x(ctx, 1920, 540).pan, 0);
    EXPECT_EQ(ptz_rel_of_x(ctx, 0, 540).pan, 0);
    EXPECT_EQ(ptz_rel_of_x(ctx, 480, 540).pan, deg(-180.0));  // exactly -180 is kept
}

TEST(PtzXRel, WithoutDewarpFollowsTheAbsoluteProjection) {
    for (const std::int32_t status : {0, 2, -1}) {
        viewgeo_context ctx = make_view(60.0, 1920, 1080, kRectilinear, 30.0, 10.0);
        viewgeo_set_dewarp_status(&ctx, status);
        for (const Pixel p : {Pixel{0, 0}, Pixel{960, 540}, Pixel{1700, 200}}) {
            const Direction abs = ptz_of_x(ctx, p.x, p.y);
            const Direction rel = ptz_rel_of_x(ctx, p.x, p.y);
            EXPECT_EQ(rel.pan, abs.pan - deg(30.0));
            EXPECT_EQ(rel.tilt, abs.tilt - deg(10.0));
        }
    }
}

TEST(PtzXRel, CentreGivesNoMovement) {
    for (const std::int32_t lens : kLensModels) {
        const viewgeo_context ctx = make_view(45.0, 1280, 720, lens, -100.0, -30.0);
        const Direction d = ptz_rel_of_x(ctx, 640, 360);
        // On the axis the pan offset is exactly 0. The camera tilt goes to
        // radians by the factor 1144, 0.016 % more than pi/180, and comes
        // back by the exact 180/pi: -30 degrees reads back about 0.0047
        // degree (310 units) further down, plus rounding.
        EXPECT_EQ(d.pan, 0) << lens;
        EXPECT_LE(d.tilt, 0) << lens;
        EXPECT_GE(d.tilt, -(310 + 64)) << lens;
    }
}

// ---------------------------------------------------------------------------
// Agreement with the ideal camera.

TEST(PixelX, AgreesWithIdealCameraWithinAPixel) {
    const double cameras[][2] = {{0.0, 0.0}, {30.0, 20.0}, {-150.0, -45.0}, {170.0, 60.0}};
    for (const std::int32_t lens : kLensModels) {
        for (const auto &cam : cameras) {
            const viewgeo_context ctx = make_view(60.0, 1920, 1080, lens, cam[0], cam[1]);
            double worst = 0.0;
            for (double dp = -25.0; dp <= 25.0; dp += 5.0) {
                for (double dt = -15.0; dt <= 15.0; dt += 5.0) {
                    const double pan = cam[0] + dp;
                    const double tilt = cam[1] + dt;
                    const Pixel p = pixel_of_x(ctx, deg(pan), deg(tilt));
                    const IdealPixel ideal = ideal_pixel(ctx, pan, tilt);
                    worst = std::max({worst, std::fabs(p.x - ideal.x), std::fabs(p.y - ideal.y)});
                }
            }
            // Truncation to whole pixels alone gives up to 1; the 1144
            // factor and the Q16.16 lens values add a few tenths.
            EXPECT_LT(worst, 2.0) << "lens " << lens << " camera " << cam[0] << "," << cam[1];
        }
    }
}

TEST(PtzX, AgreesWithIdealCameraWithinATwentiethOfADegree) {
    const double cameras[][2] = {{0.0, 0.0}, {30.0, 20.0}, {-150.0, -45.0}, {170.0, 60.0}};
    for (const std::int32_t lens : kLensModels) {
        for (const auto &cam : cameras) {
            const viewgeo_context ctx = make_view(60.0, 1920, 1080, lens, cam[0], cam[1]);
            double worst = 0.0;
            for (std::int32_t x = 0; x <= 1920; x += 160) {
                for (std::int32_t y = 0; y <= 1080; y += 120) {
                    const Direction d = ptz_of_x(ctx, x, y);
                    const IdealDirection ideal = ideal_direction(ctx, x, y);
                    double dpan = degrees_of(d.pan) - ideal.pan;
                    dpan -= 360.0 * std::round(dpan / 360.0);
                    worst = std::max({worst, std::fabs(dpan), std::fabs(degrees_of(d.tilt) - ideal.tilt)});
                }
            }
            // 0.016 % of up to 60 degrees from the 1144 factor, plus Q16.16
            // rounding of the ray: well under 0.05 degrees.
            EXPECT_LT(worst, 0.05) << "lens " << lens << " camera " << cam[0] << "," << cam[1];
        }
    }
}

// ---------------------------------------------------------------------------
// Agreement with the single-precision forms. Both carry the same geometry;
// the Q16.16 form turns degrees into radians by 1144 (0.016 % more than
// pi/180) and rounds the ray to 2^-16, so they differ by hundredths of a
// degree. Directions are compared on the sphere: a ray passing the zenith or
// nadir may come out of one form as (pan, -98.6) and of the other as
// (pan + 180, -81.4), the same direction.

double angle_between(double pan_a, double tilt_a, double pan_b, double tilt_b) {
    const double a[3] = {std::cos(rad(tilt_a)) * std::sin(rad(pan_a)), std::sin(rad(tilt_a)),
                         std::cos(rad(tilt_a)) * std::cos(rad(pan_a))};
    const double b[3] = {std::cos(rad(tilt_b)) * std::sin(rad(pan_b)), std::sin(rad(tilt_b)),
                         std::cos(rad(tilt_b)) * std::cos(rad(pan_b))};
    const double cross = std::hypot(a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]);
    return std::atan2(cross, a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) * 180.0 / kPi;
}

// Largest angle between the two forms' directions over a grid of pixels.
double worst_ptz_disagreement(const viewgeo_context &ctx) {
    double worst = 0.0;
    for (std::int32_t x = 0; x <= ctx.pic_width; x += 64) {
        for (std::int32_t y = 0; y <= ctx.pic_height; y += 60) {
            const Direction fixed = ptz_of_x(ctx, x, y);
            float pan = 0.0f;
            float tilt = 0.0f;
            viewgeo_to_ptz_f(&ctx, &pan, &tilt, x, y);
            worst = std::max(worst, angle_between(degrees_of(fixed.pan), degrees_of(fixed.tilt), pan, tilt));
        }
    }
    return worst;
}

TEST(ProjectionX, FixedAndFloatPtzAgreeWithinThreeHundredthsOfADegree) {
    const double cameras[][2] = {{0.0, 0.0}, {30.0, 20.0}, {-150.0, -45.0}, {170.0, 60.0}};
    for (const double fov : {60.0, 2.0}) {
        for (const std::int32_t lens : kLensModels) {
            for (const auto &cam : cameras) {
                const viewgeo_context ctx = make_view(fov, 1920, 1080, lens, cam[0], cam[1]);
                // Measured up to 0.019 degree (60 degree view, camera tilt 60).
                EXPECT_LT(worst_ptz_disagreement(ctx), 0.03)
                    << "fov " << fov << " lens " << lens << " camera " << cam[0] << "," << cam[1];
            }
        }
    }
}

TEST(ProjectionX, FixedAndFloatPtzAgreeWithinAThirdOfADegreeForSteepOrWideViews) {
    // Near the pole the sine of the camera tilt comes from a coarse Q16.16
    // sqrt(1 - cos^2), and at the edge of a wide sine-lens view asin works
    // near 1 where it magnifies rounding: measured up to 0.30 degree.
    double worst = 0.0;
    for (const double fov : {60.0, 120.0}) {
        for (const std::int32_t lens : kLensModels) {
            for (const double tilt : {-80.0, 89.0, 45.0}) {
                worst = std::max(worst, worst_ptz_disagreement(make_view(fov, 1920, 1080, lens, 15.0, tilt)));
            }
        }
    }
    RecordProperty("worst_degrees_x1000", static_cast<int>(worst * 1000.0));
    EXPECT_LT(worst, 0.35);
}

TEST(ProjectionX, FixedAndFloatPixelsAgreeWithinTwoPixels) {
    const double cameras[][2] = {{0.0, 0.0}, {30.0, 20.0}, {-150.0, -45.0}, {170.0, 60.0}, {0.0, -80.0}};
    for (const double fov : {60.0, 2.0, 120.0}) {
        for (const std::int32_t lens : kLensModels) {
            for (const auto &cam : cameras) {
                const viewgeo_context ctx = make_view(fov, 1920, 1080, lens, cam[0], cam[1]);
                std::int32_t worst = 0;
                for (std::int32_t x = 0; x <= 1920; x += 64) {
                    for (std::int32_t y = 0; y <= 1080; y += 60) {
                        const Direction d = ptz_of_x(ctx, x, y);
                        const Pixel fixed = pixel_of_x(ctx, d.pan, d.tilt);
                        Pixel single{};
                        viewgeo_to_pixel_f(&ctx, &single.x, &single.y, q16_to_float(d.pan), q16_to_float(d.tilt));
                        worst = std::max({worst, std::abs(fixed.x - single.x), std::abs(fixed.y - single.y)});
                    }
                }
                EXPECT_LE(worst, 2) << "fov " << fov << " lens " << lens << " camera " << cam[0] << "," << cam[1];
            }
        }
    }
}

// ---------------------------------------------------------------------------
// Properties.

// Largest pixel error of pixel -> pan/tilt -> pixel over a grid of the
// delivered picture.
std::int32_t round_trip_error(const viewgeo_context &ctx, std::int32_t step) {
    const bool turned = ctx.pic_rot == 90 || ctx.pic_rot == 270;
    const std::int32_t w = turned ? ctx.pic_height : ctx.pic_width;
    const std::int32_t h = turned ? ctx.pic_width : ctx.pic_height;
    std::int32_t worst = 0;
    for (std::int32_t x = 0; x <= w; x += step) {
        for (std::int32_t y = 0; y <= h; y += step) {
            const Direction d = ptz_of_x(ctx, x, y);
            const Pixel back = pixel_of_x(ctx, d.pan, d.tilt);
            worst = std::max({worst, std::abs(back.x - x), std::abs(back.y - y)});
        }
    }
    return worst;
}

TEST(ProjectionX, PixelToPtzToPixelRoundTripsWithinAPixelForModerateTilts) {
    const double cameras[][2] = {{0.0, 0.0}, {30.0, 20.0}, {-150.0, -45.0}, {170.0, 60.0}, {-60.0, -60.0}};
    for (const std::int32_t lens : kLensModels) {
        for (const std::int32_t rotation : kRotations) {
            for (const auto &cam : cameras) {
                const viewgeo_context ctx = make_view(60.0, 1920, 1080, lens, cam[0], cam[1], rotation);
                EXPECT_LE(round_trip_error(ctx, 48), 1)
                    << "lens " << lens << " rotation " << rotation << " camera " << cam[0] << "," << cam[1];
            }
        }
    }
}

TEST(ProjectionX, SteepViewsRoundTripWithinAFewPixels) {
    // Looking almost straight up or down, rays near the pole turn a Q16.16
    // unit of the ray into a large change of pan, and the sine of the camera
    // tilt comes from a square root of 1 - cos^2 that is coarse near 1:
    // measured up to 10 pixels of a 1920 wide picture.
    std::int32_t worst = 0;
    for (const std::int32_t lens : kLensModels) {
        for (const std::int32_t rotation : {0, 90}) {
            for (const double tilt : {80.0, -80.0, 89.0, -89.5}) {
                const viewgeo_context ctx = make_view(60.0, 1920, 1080, lens, 25.0, tilt, rotation);
                worst = std::max(worst, round_trip_error(ctx, 32));
            }
        }
    }
    RecordProperty("worst_pixels", worst);
    EXPECT_LE(worst, 12);
}

TEST(ProjectionX, NarrowViewNearTheHorizonRoundTripsLessPrecisely) {
    // At 2 degrees a pixel is 0.001 degree, 68 Q16.16 units. The sine of the
    // camera tilt is taken as sqrt(1 - cos^2) of a Q16.16 cosine, which near
    // tilt 0 moves in coarse steps (cos 0.5 degree is 65533.5 units), so the
    // rows of a narrow view near the horizon come back tens of pixels off:
    // measured 50 at tilt 0.5.
    std::int32_t worst = 0;
    for (const std::int32_t lens : kLensModels) {
        for (const double tilt : {0.0, 0.5, -1.0, 3.0, 20.0, 60.0}) {
            const viewgeo_context ctx = make_view(2.0, 1920, 1080, lens, 10.0, tilt);
            worst = std::max(worst, round_trip_error(ctx, 60));
        }
    }
    RecordProperty("worst_pixels", worst);
    EXPECT_LE(worst, 64);
}

TEST(ProjectionX, CentrePixelGivesTheCameraDirection) {
    const double cameras[][2] = {{0.0, 0.0}, {30.0, 20.0}, {-150.0, -45.0}, {170.0, 60.0}, {-179.0, 89.0}};
    for (const std::int32_t lens : kLensModels) {
        for (const auto &cam : cameras) {
            const viewgeo_context ctx = make_view(50.0, 1280, 720, lens, cam[0], cam[1]);
            const Direction d = ptz_of_x(ctx, 640, 360);
            EXPECT_EQ(d.pan, ctx.pan) << lens;  // on the axis X is 0, so no pan offset
            // The tilt goes to radians by 1144 (0.016 % more than pi/180),
            // through cos, sqrt(1 - cos^2) and asin, and back by the exact
            // 180/pi: off by 0.016 % of the tilt plus a few rounding units.
            const double tolerance = 0.00016 * std::fabs(cam[1]) + 0.005;
            EXPECT_NEAR(degrees_of(d.tilt), cam[1], tolerance) << lens << " " << cam[1];
        }
    }
}

TEST(ProjectionX, CameraDirectionLandsOnTheCentrePixel) {
    const double cameras[][2] = {{0.0, 0.0}, {30.0, 20.0}, {-150.0, -45.0}, {170.0, 60.0}};
    for (const std::int32_t lens : kLensModels) {
        for (const auto &cam : cameras) {
            const viewgeo_context ctx = make_view(50.0, 1280, 720, lens, cam[0], cam[1]);
            const Pixel p = pixel_of_x(ctx, ctx.pan, ctx.tilt);
            EXPECT_NEAR(p.x, 640, 1) << lens;
            EXPECT_NEAR(p.y, 360, 1) << lens;
        }
    }
}

TEST(PixelX, DependsOnlyOnThePanDifference) {
    const viewgeo_context a = make_view(60.0, 1920, 1080, kRectilinear, 0.0, 15.0);
    const viewgeo_context b = make_view(60.0, 1920, 1080, kRectilinear, 100.0, 15.0);
    for (double dp = -40.0; dp <= 40.0; dp += 4.0) {
        for (const double tilt : {-20.0, 0.0, 31.0}) {
            const Pixel pa = pixel_of_x(a, deg(dp), deg(tilt));
            const Pixel pb = pixel_of_x(b, deg(100.0) + deg(dp), deg(tilt));
            EXPECT_EQ(pa.x, pb.x);
            EXPECT_EQ(pa.y, pb.y);
        }
    }
}

TEST(PixelX, MirroredPanMirrorsTheColumn) {
    for (const std::int32_t lens : kLensModels) {
        const viewgeo_context ctx = make_view(60.0, 1920, 1080, lens, 0.0, 10.0);
        for (double dp = 1.0; dp <= 30.0; dp += 1.0) {
            const Pixel right = pixel_of_x(ctx, deg(dp), deg(4.0));
            const Pixel left = pixel_of_x(ctx, deg(-dp), deg(4.0));
            EXPECT_EQ(right.y, left.y);
            // Flooring makes the mirror pixel one short at most.
            EXPECT_GE(right.x + left.x, 1919);
            EXPECT_LE(right.x + left.x, 1920);
            EXPECT_GT(right.x, 960);
        }
    }
}

// The mirror test of the other direction: it reads like the one above on
// purpose.
TEST(PtzX, MirroredColumnMirrorsThePan) {
    for (const std::int32_t lens : kLensModels) {
        const viewgeo_context ctx = make_view(60.0, 1920, 1080, lens, 0.0, 10.0);
        for (std::int32_t dx = 40; dx <= 960; dx += 40) {
            const Direction right = ptz_of_x(ctx, 960 + dx, 300);
            const Direction left = ptz_of_x(ctx, 960 - dx, 300);
            // The rounding multiply rounds halves upwards, so the mirrored
            // ray can differ by a unit in a few Q16.16 products; one unit
            // of a ray component is about 57 units of an angle in degrees.
            EXPECT_LE(std::abs(right.tilt - left.tilt), 256) << dx;
            EXPECT_LE(std::abs(right.pan + left.pan), 128) << dx;
            EXPECT_GT(right.pan, 0);
        }
    }
}

// The mirror test of the other axis, alike on purpose.
TEST(PixelX, TiltMirroredAboutTheHorizonMirrorsTheRow) {
    for (const std::int32_t lens : kLensModels) {
        const viewgeo_context ctx = make_view(60.0, 1920, 1080, lens);
        for (double t = 1.0; t <= 16.0; t += 1.5) {
            const Pixel up = pixel_of_x(ctx, deg(7.0), deg(t));
            const Pixel down = pixel_of_x(ctx, deg(7.0), deg(-t));
            EXPECT_EQ(up.x, down.x);
            EXPECT_GE(up.y + down.y, 1079);
            EXPECT_LE(up.y + down.y, 1080);
            EXPECT_LT(up.y, 540);
        }
    }
}

TEST(PtzX, PanGrowsAlongARowAndTiltFallsDownAColumn) {
    for (const std::int32_t lens : kLensModels) {
        const viewgeo_context ctx = make_view(70.0, 1920, 1080, lens, 45.0, -20.0);
        q16 last_pan = INT32_MIN;
        for (std::int32_t x = 0; x <= 1920; x += 16) {
            const q16 pan = ptz_of_x(ctx, x, 700).pan;
            EXPECT_GE(pan, last_pan) << x;
            last_pan = pan;
        }
        q16 last_tilt = INT32_MAX;
        for (std::int32_t y = 0; y <= 1080; y += 16) {
            const q16 tilt = ptz_of_x(ctx, 1500, y).tilt;
            EXPECT_LE(tilt, last_tilt) << y;
            last_tilt = tilt;
        }
    }
}

TEST(PixelX, Rotation180TurnsThePixelAboutTheCentre) {
    const viewgeo_context upright = make_view(60.0, 1920, 1080);
    const viewgeo_context turned = make_view(60.0, 1920, 1080, kRectilinear, 0.0, 0.0, 180);
    for (const double pan : {-20.0, 3.0, 25.0}) {
        const Pixel a = pixel_of_x(upright, deg(pan), deg(8.0));
        const Pixel b = pixel_of_x(turned, deg(pan), deg(8.0));
        EXPECT_EQ(b.x, 1920 - a.x);
        EXPECT_EQ(b.y, 1080 - a.y);
    }
}

TEST(PixelX, Rotation90And270TurnThePictureAQuarter) {
    const viewgeo_context upright = make_view(60.0, 1920, 1080);
    const viewgeo_context r90 = make_view(60.0, 1920, 1080, kRectilinear, 0.0, 0.0, 90);
    const viewgeo_context r270 = make_view(60.0, 1920, 1080, kRectilinear, 0.0, 0.0, 270);
    const Pixel a = pixel_of_x(upright, deg(20.0), deg(10.0));
    const Pixel b = pixel_of_x(r90, deg(20.0), deg(10.0));
    const Pixel c = pixel_of_x(r270, deg(20.0), deg(10.0));
    EXPECT_EQ(b.x, 1080 - a.y);
    EXPECT_EQ(b.y, a.x);
    EXPECT_EQ(c.x, a.y);
    EXPECT_EQ(c.y, 1920 - a.x);
}

TEST(ProjectionX, Rotation360BehavesAs0) {
    const viewgeo_context r0 = make_view(60.0, 1920, 1080, kSine, 10.0, 5.0, 0);
    const viewgeo_context r360 = make_view(60.0, 1920, 1080, kSine, 10.0, 5.0, 360);
    const Pixel a = pixel_of_x(r0, deg(25.0), deg(-3.0));
    const Pixel b = pixel_of_x(r360, deg(25.0), deg(-3.0));
    EXPECT_EQ(a.x, b.x);
    EXPECT_EQ(a.y, b.y);
    const Direction da = ptz_of_x(r0, 300, 900);
    const Direction db = ptz_of_x(r360, 300, 900);
    EXPECT_EQ(da.pan, db.pan);
    EXPECT_EQ(da.tilt, db.tilt);
}

TEST(ProjectionX, UnknownRotationGivesPixelZeroAndReadsPixelZero) {
    for (const std::int32_t rotation : {45, -90, 1, 720, INT32_MIN}) {
        const viewgeo_context odd = make_view(60.0, 1920, 1080, kRectilinear, 10.0, 5.0, rotation);
        const viewgeo_context upright = make_view(60.0, 1920, 1080, kRectilinear, 10.0, 5.0, 0);
        const Pixel p = pixel_of_x(odd, deg(12.0), deg(6.0));
        EXPECT_EQ(p.x, 0);
        EXPECT_EQ(p.y, 0);
        const Direction d = ptz_of_x(odd, 1500, 100);
        const Direction corner = ptz_of_x(upright, 0, 0);
        EXPECT_EQ(d.pan, corner.pan);
        EXPECT_EQ(d.tilt, corner.tilt);
    }
}

TEST(PtzX, PixelsRightOfOrBelowThePictureAreClampedToTheEdge) {
    const viewgeo_context ctx = make_view(60.0, 1920, 1080, kEquidistant, 5.0, 5.0);
    const Direction edge = ptz_of_x(ctx, 1920, 1080);
    const Direction beyond = ptz_of_x(ctx, 5000, 90000);
    EXPECT_EQ(beyond.pan, edge.pan);
    EXPECT_EQ(beyond.tilt, edge.tilt);
    // Left of the picture is not clamped: the pan keeps falling.
    EXPECT_LT(ptz_of_x(ctx, -200, 540).pan, ptz_of_x(ctx, 0, 540).pan);
}

TEST(PtzX, CameraPastTheZenithReadsThePictureUpsideDown) {
    // Tilt 100 looks backwards at an effective tilt of 80: the top row of
    // the picture is nearer the horizon behind, the bottom row past the
    // zenith, and the picture's right is the world's left.
    const viewgeo_context ctx = make_view(40.0, 1280, 720, kRectilinear, 0.0, 100.0);
    const Direction centre = ptz_of_x(ctx, 640, 360);
    EXPECT_NEAR(degrees_of(centre.tilt), 100.0, 0.02);
    const Direction right = ptz_of_x(ctx, 1000, 360);
    EXPECT_LT(right.pan, 0);
    const Direction top = ptz_of_x(ctx, 640, 0);
    EXPECT_GT(degrees_of(top.tilt), 100.0);
}

TEST(PtzX, RayBehindTheCameraGivesTiltPast90AndPanWithin90) {
    // A 170 degree equidistant view looking 60 degrees up: the top rows look
    // back over the zenith.
    const viewgeo_context ctx = make_view(170.0, 1920, 1080, kEquidistant, 20.0, 60.0);
    const Direction d = ptz_of_x(ctx, 1200, 0);
    EXPECT_GT(degrees_of(d.tilt), 90.0);
    EXPECT_LT(std::fabs(degrees_of(d.pan) - 20.0), 90.0);
}

TEST(PtzX, PanIsWrappedIntoHalfATurnOnce) {
    const viewgeo_context ctx = make_view(60.0, 1920, 1080, kRectilinear, 175.0, 0.0);
    const Direction right = ptz_of_x(ctx, 1920, 540);  // 175 + 30 = 205 -> -155
    EXPECT_NEAR(degrees_of(right.pan), -155.0, 0.05);
    const viewgeo_context ctx2 = make_view(60.0, 1920, 1080, kRectilinear, -175.0, 0.0);
    EXPECT_NEAR(degrees_of(ptz_of_x(ctx2, 0, 540).pan), 155.0, 0.05);
}

// ---------------------------------------------------------------------------
// Input a caller should never pass: defined results, no trap.

TEST(PixelX, FieldOfViewWhoseLensValueRoundsToZeroMapsToTheCentreLine) {
    // One unit of horizontal field: its half in radians rounds to 0, so the
    // lens value is 0 and the column quotient is taken as 0.
    viewgeo_context ctx = make_view(0.0, 1920, 1080);
    viewgeo_set_horiz_fov_x(&ctx, 1);
    viewgeo_set_vert_fov_x(&ctx, deg(30.0));
    const Pixel p = pixel_of_x(ctx, deg(10.0), 0);
    EXPECT_EQ(p.x, 960);
    EXPECT_EQ(p.y, 540);
}

TEST(PtzX, ZeroPictureWidthReadsEveryColumnAsTheLeftEdge) {
    viewgeo_context zero = make_view(60.0, 0, 1080);
    viewgeo_context normal = make_view(60.0, 1920, 1080);
    viewgeo_set_vert_fov_x(&zero, deg(34.0));
    viewgeo_set_vert_fov_x(&normal, deg(34.0));
    for (const std::int32_t x : {-5, 0, 700, INT32_MAX}) {
        const Direction d = ptz_of_x(zero, x, 200);
        const Direction edge = ptz_of_x(normal, 0, 200);
        EXPECT_EQ(d.pan, edge.pan) << x;
        EXPECT_EQ(d.tilt, edge.tilt) << x;
    }
}

TEST(PtzXRel, DewarpedZeroHeightWithARowBelowReadsTheTopRow) {
    viewgeo_context ctx = dewarped_view();
    viewgeo_set_pic_dim(&ctx, 1920, 0);
    const Direction d = ptz_rel_of_x(ctx, 960, 77);
    EXPECT_EQ(d.tilt, deg(25.0));  // half the vertical field, no quotient
    EXPECT_EQ(d.pan, deg(-30.0));
}

TEST(PtzXRel, DewarpedFoldUsesTheLow16BitsOfTheHeightAsSigned) {
    const viewgeo_context normal = dewarped_view();
    const Direction row420 = ptz_rel_of_x(normal, 960, 420);
    // 0x10000 + 1080: the fold sees 1080, and 66616 * 65536 wraps to 1080.0.
    viewgeo_context wide = dewarped_view();
    viewgeo_set_pic_dim(&wide, 1920, 0x10000 + 1080);
    const Direction folded = ptz_rel_of_x(wide, 960, 1500);
    EXPECT_EQ(folded.tilt, row420.tilt);
    // Low 16 bits negative (0x10000 - 1080 reads as -1080): every row is
    // folded toward it, and as Q16.16 the height is -1080.0 too, so every row
    // is then clamped to it: the whole picture reads as one row.
    viewgeo_context negative = dewarped_view();
    viewgeo_set_pic_dim(&negative, 1920, 0x10000 - 1080);
    const Direction bottom = ptz_rel_of_x(negative, 960, 1500);
    for (const std::int32_t y : {-40000, -1, 0, 419, 1499, INT32_MAX}) {
        EXPECT_EQ(ptz_rel_of_x(negative, 960, y).tilt, bottom.tilt) << y;
    }
}

TEST(ProjectionX, ExtremeWordsGiveDefinedResults) {
    // Under the sanitizer build any overflow or division by zero here stops
    // the test; the bounds below hold whatever the words.
    const std::int32_t words[] = {INT32_MIN, INT32_MIN + 1, -1, 0, 1, INT32_MAX};
    const std::int32_t sizes[] = {INT32_MIN, -1080, 0, 1, 1080, 32768, 65536, INT32_MAX};
    for (const std::int32_t lens : kLensModels) {
        for (const std::int32_t a : words) {
            for (const std::int32_t size : sizes) {
                for (const std::int32_t dewarp : {0, 1}) {
                    viewgeo_context ctx = make_view(60.0, size, 1080, lens);
                    viewgeo_set_pantilt_x(&ctx, a, a);
                    viewgeo_set_horiz_fov_x(&ctx, a == 0 ? deg(60.0) : a);
                    viewgeo_set_dewarp_status(&ctx, dewarp);
                    for (const std::int32_t b : words) {
                        const Direction rel = ptz_rel_of_x(ctx, a, b);
                        EXPECT_LE(std::abs(static_cast<std::int64_t>(rel.pan)), deg(360.0));
                        EXPECT_LE(std::abs(static_cast<std::int64_t>(rel.tilt)), deg(360.0));
                        const Direction abs = ptz_of_x(ctx, b, a);
                        (void)abs;
                        const Pixel p = pixel_of_x(ctx, a, b);
                        // Rotation 0: at most ten picture widths either way,
                        // while ten widths still fit the Q16.16 product.
                        const std::int32_t width = pixels_to_q16(size) >> 16;
                        if (vertical_fov(ctx) != 0 && ctx.horiz_fov != 0 && std::abs(width) <= 3000) {
                            EXPECT_LE(std::abs(p.x), 10 * std::abs(width));
                            EXPECT_LE(std::abs(p.y), 10 * 1080);
                        }
                    }
                }
            }
        }
    }
}

TEST(PixelX, HugeContextTiltDoesNotTrap) {
    viewgeo_context ctx = make_view(60.0, 1920, 1080, kSine);
    viewgeo_set_pantilt_x(&ctx, INT32_MAX, INT32_MIN);
    const Pixel p = pixel_of_x(ctx, INT32_MIN, INT32_MAX);
    EXPECT_LE(std::abs(p.x), 19200);
    EXPECT_LE(std::abs(p.y), 10800);
}

}  // namespace
}  // namespace viewgeo
