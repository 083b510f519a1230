// The precise overview projections: the equidistant fisheye around a
// rigidly turned axis, checked with long-double vectors written here, with
// rotation and mirror both ways. Random draws come from fixed seeds.
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "support/ovista_defaults.h"
#include "support/precise_reference.h"
#include "viewgeo.h"

namespace {

using viewgeo::testing::angle_between;
using viewgeo::testing::MaxError;
using viewgeo::testing::VecL;

viewgeo_ovista_context fisheye(float center_pan = 0.0f, float center_tilt = -90.0f, int rotation = 0, int mirror = 0) {
    viewgeo_ovista_context o = viewgeo::testing::ovista_defaults();
    o.rotation = rotation;
    o.mirror = mirror;
    o.center_pan = center_pan;
    o.center_tilt = center_tilt;
    return o;
}

viewgeo_context picture(std::int32_t w = 1920, std::int32_t h = 1080) {
    viewgeo_context v{};
    v.pic_width = w;
    v.pic_height = h;
    return v;
}

// Signed angle (degrees) from a to b around the unit axis, right-handed in
// the coordinates' own algebra.
long double azimuth_step(const VecL &axis, const VecL &a, const VecL &b) {
    using viewgeo::testing::cross;
    using viewgeo::testing::dot;
    const auto across = [&](const VecL &v) {
        const long double k = dot(v, axis);
        return VecL{v.x - k * axis.x, v.y - k * axis.y, v.z - k * axis.z};
    };
    const VecL pa = across(a), pb = across(b);
    return viewgeo::testing::degrees_l(std::atan2(dot(axis, cross(pa, pb)), dot(pa, pb)));
}

TEST(PreciseOvista, StraightDownAgreesWithTheFloatFormWithoutCompensators) {
    const viewgeo_context v = picture();
    MaxError err;
    for (float cp : {0.0f, 35.0f, -120.0f}) {
        const viewgeo_ovista_context o = fisheye(cp);
        for (int x = 380; x <= 1540; x += 29) {
            for (int y = 0; y <= 1080; y += 27) {
                if (std::abs(x - 960) < 2 || std::abs(y - 540) < 2) continue;  // its quadrant rule near the axes
                float fp = 0.0f, ft = 0.0f;
                viewgeo_ovista_to_ptz_f(&o, &v, &fp, &ft, x, y);
                double p = 0.0, t = 0.0;
                ASSERT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, x, y, &p, &t), 0);
                err.add(angle_between(p, t, fp, ft));
                int fx = 0, fy = 0;
                viewgeo_ovista_to_pixel_f(&o, &v, static_cast<float>(p), static_cast<float>(t), &fx, &fy);
                EXPECT_EQ(fx, x);
                EXPECT_EQ(fy, y);
            }
        }
    }
    err.report("ovista_vs_float_deg", "degrees");
    EXPECT_LT(err.max(), 1e-3L);
}

TEST(PreciseOvista, TiltedAxisAngleFromTheAxisIsTheEquidistantRadiusAngle) {
    std::mt19937_64 gen(1621);
    std::uniform_real_distribution<double> pan(-180.0, 180.0), tilt(-90.0, 90.0), x(0.0, 1920.0), y(0.0, 1080.0);
    const viewgeo_context v = picture();
    MaxError err;
    for (int i = 0; i < 20000; ++i) {
        const viewgeo_ovista_context o = fisheye(static_cast<float>(pan(gen)), static_cast<float>(tilt(gen)),
                                                 static_cast<int>(gen() % 720) - 360, static_cast<int>(gen() % 2));
        const double px = x(gen), py = y(gen);
        double p = 0.0, t = 0.0;
        const double r = std::hypot(px - 960.0, py - 540.0);
        const long double expect = r * 99.0L / (1920.0L * 0.3046875L);
        if (expect > 179.999L) {  // the corners lie past the back of the lens
            EXPECT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, px, py, &p, &t), expect > 180.001L ? -1 : 0);
            continue;
        }
        ASSERT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, px, py, &p, &t), 0);
        err.add(std::fabs(angle_between(p, t, o.center_pan, o.center_tilt) - expect));
    }
    err.report("ovista_axis_angle_deg", "degrees");
    EXPECT_LT(err.max(), 1e-9L);
}

TEST(PreciseOvista, EqualPictureAngleStepsAreEqualAzimuthStepsAndMirrorFlipsTheirSense) {
    std::mt19937_64 gen(1622);
    std::uniform_real_distribution<double> pan(-180.0, 180.0), tilt(-90.0, 90.0), radius(5.0, 580.0),
        start(0.0, 360.0);
    const viewgeo_context v = picture();
    MaxError err;
    for (int i = 0; i < 500; ++i) {
        const float cp = static_cast<float>(pan(gen)), ct = static_cast<float>(tilt(gen));
        const int rot = static_cast<int>(gen() % 720) - 360;
        const double r = radius(gen), a0 = start(gen), step = 7.5;
        const VecL axis = viewgeo::testing::vec_of(cp, ct);
        for (int mirror : {0, 1}) {
            const viewgeo_ovista_context o = fisheye(cp, ct, rot, mirror);
            VecL prev{};
            for (int k = 0; k <= 48; ++k) {
                const double a = (a0 + k * step) * M_PI / 180.0;  // clockwise from picture up
                double p = 0.0, t = 0.0;
                ASSERT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, 960.0 + r * std::sin(a), 540.0 - r * std::cos(a), &p, &t), 0);
                const VecL d = viewgeo::testing::vec_of(p, t);
                if (k > 0) {
                    // Clockwise in the picture is negative about the axis in
                    // the vector algebra (pan grows from +x toward +y); the
                    // mirror reverses it.
                    const long double expect = mirror ? step : -step;
                    err.add(std::fabs(azimuth_step(axis, prev, d) - expect));
                }
                prev = d;
            }
        }
    }
    err.report("ovista_azimuth_step_deg", "degrees");
    EXPECT_LT(err.max(), 1e-9L);
}

TEST(PreciseOvista, RoundTripsWithRotationAndMirror) {
    std::mt19937_64 gen(1623);
    std::uniform_real_distribution<double> pan(-180.0, 180.0), tilt(-90.0, 90.0), frac(0.3, 0.7), unit(0.0, 1.0);
    const viewgeo_context v = picture(1920, 1080);
    MaxError pixel_err, dir_err;
    for (int i = 0; i < 20000; ++i) {
        viewgeo_ovista_context o = fisheye(static_cast<float>(pan(gen)), static_cast<float>(tilt(gen)),
                                           static_cast<int>(gen() % 1440) - 720, static_cast<int>(gen() % 3));
        if (i % 10 == 0) o.center_tilt = i % 20 == 0 ? 90.0f : -90.0f;
        o.center_x = static_cast<float>(frac(gen));
        o.center_y = static_cast<float>(frac(gen));
        o.field_angle = static_cast<float>(60.0 + 120.0 * unit(gen));
        o.radius_x = static_cast<float>(0.2 + 0.2 * unit(gen));
        // A pixel up to 170 degrees off the axis.
        const double r = 170.0 / o.field_angle * 1920.0 * o.radius_x * unit(gen), a = 2.0 * M_PI * unit(gen);
        const double x = 1920.0 * o.center_x + r * std::sin(a), y = 1080.0 * o.center_y - r * std::cos(a);
        double p = 0.0, t = 0.0, bx = 0.0, by = 0.0;
        ASSERT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, x, y, &p, &t), 0);
        ASSERT_GT(p, -180.0);
        ASSERT_LE(p, 180.0);
        ASSERT_LE(std::fabs(t), 90.0);
        ASSERT_EQ(viewgeo_ovista_to_pixel_d(&o, &v, p, t, &bx, &by), 0);
        pixel_err.add(std::fmax(std::fabs(bx - x), std::fabs(by - y)));
        // And a direction through a pixel and back.
        const double dp = pan(gen), dt = tilt(gen);
        if (viewgeo_ovista_to_pixel_d(&o, &v, dp, dt, &bx, &by) != 0) continue;
        double p2 = 0.0, t2 = 0.0;
        ASSERT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, bx, by, &p2, &t2), 0);
        dir_err.add(angle_between(dp, dt, p2, t2));
    }
    pixel_err.report("ovista_pixel_round_trip_px", "px");
    dir_err.report("ovista_direction_round_trip_deg", "degrees");
    EXPECT_LT(pixel_err.max(), 1e-7L);
    EXPECT_LT(dir_err.max(), 1e-9L);
}

TEST(PreciseOvista, RotationAppliesInBothDirectionsSoPanComesBack) {
    const viewgeo_context v = picture();
    const viewgeo_ovista_context o = fisheye(0.0f, -90.0f, 30);
    double x = 0.0, y = 0.0, pan = 0.0, tilt = 0.0;
    ASSERT_EQ(viewgeo_ovista_to_pixel_d(&o, &v, 20.0, -50.0, &x, &y), 0);
    ASSERT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, x, y, &pan, &tilt), 0);
    EXPECT_NEAR(pan, 20.0, 1e-12);
    EXPECT_NEAR(tilt, -50.0, 1e-12);
    // Pan 20 turned by 30 lands where pan 50 does without rotation.
    double x0 = 0.0, y0 = 0.0;
    const viewgeo_ovista_context plain = fisheye();
    ASSERT_EQ(viewgeo_ovista_to_pixel_d(&plain, &v, 50.0, -50.0, &x0, &y0), 0);
    EXPECT_NEAR(x, x0, 1e-9);
    EXPECT_NEAR(y, y0, 1e-9);
}

TEST(PreciseOvista, AxisAtTilt0SeesTheZenithAtPictureUp) {
    const viewgeo_context v = picture();
    const viewgeo_ovista_context o = fisheye(40.0f, 0.0f);
    double pan = 0.0, tilt = 0.0;
    ASSERT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, 960.0, 540.0, &pan, &tilt), 0);
    EXPECT_NEAR(pan, 40.0, 1e-12);
    EXPECT_NEAR(tilt, 0.0, 1e-12);
    // 90 degrees off the axis straight up the picture: the zenith.
    const double r90 = 90.0 / 99.0 * 1920.0 * 0.3046875;
    ASSERT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, 960.0, 540.0 - r90, &pan, &tilt), 0);
    EXPECT_NEAR(tilt, 90.0, 1e-9);
    // ... and to the right: pan 130 at tilt 0.
    ASSERT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, 960.0 + r90, 540.0, &pan, &tilt), 0);
    EXPECT_NEAR(pan, 130.0, 1e-9);
    EXPECT_NEAR(tilt, 0.0, 1e-9);
}

TEST(PreciseOvista, NoAnswerGivesMinusOneAndNaN) {
    const viewgeo_context v = picture();
    const double inf = std::numeric_limits<double>::infinity();
    viewgeo_ovista_context bad[5] = {fisheye(), fisheye(), fisheye(), fisheye(), fisheye()};
    bad[0].field_angle = 0.0f;
    bad[1].radius_x = 0.0f;
    bad[2].center_x = std::numeric_limits<float>::quiet_NaN();
    bad[3].center_tilt = std::numeric_limits<float>::infinity();
    bad[4].field_angle = -99.0f;
    for (const auto &o : bad) {
        double a = 1.0, b = 1.0;
        EXPECT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, 100.0, 100.0, &a, &b), -1);
        EXPECT_TRUE(std::isnan(a) && std::isnan(b));
        EXPECT_EQ(viewgeo_ovista_to_pixel_d(&o, &v, 10.0, -60.0, &a, &b), -1);
        EXPECT_TRUE(std::isnan(a) && std::isnan(b));
    }
    const viewgeo_ovista_context o = fisheye();
    const viewgeo_context empty = picture(0, 1080);
    double a = 1.0, b = 1.0;
    EXPECT_EQ(viewgeo_ovista_to_ptz_d(&o, &empty, 100.0, 100.0, &a, &b), -1);
    EXPECT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, inf, 100.0, &a, &b), -1);
    EXPECT_EQ(viewgeo_ovista_to_pixel_d(&o, &v, 0.0, std::nan(""), &a, &b), -1);
    // Straight behind the axis has no single pixel; just before it does.
    EXPECT_EQ(viewgeo_ovista_to_pixel_d(&o, &v, 0.0, 90.0, &a, &b), -1);
    EXPECT_TRUE(std::isnan(a) && std::isnan(b));
    EXPECT_EQ(viewgeo_ovista_to_pixel_d(&o, &v, 0.0, 89.0, &a, &b), 0);
    // More than 180 degrees from the axis is past the back.
    const double r180 = 180.0 / 99.0 * 1920.0 * 0.3046875;
    EXPECT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, 960.0 + r180 - 1e-6, 540.0, &a, &b), 0);
    EXPECT_EQ(viewgeo_ovista_to_ptz_d(&o, &v, 960.0 + r180 + 1.0, 540.0, &a, &b), -1);
    EXPECT_TRUE(std::isnan(a) && std::isnan(b));
}

}  // namespace
