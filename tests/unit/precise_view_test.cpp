// The precise projections of the main camera (viewgeo_to_pixel_d,
// viewgeo_to_ptz_d): round trips over random views, an independent pinhole
// camera, the bit-exact float forms where they make no approximation, poles
// and the failures. Random draws come from fixed seeds.
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "support/precise_reference.h"
#include "viewgeo.h"

namespace {

using viewgeo::testing::angle_between;
using viewgeo::testing::MaxError;
using viewgeo::testing::radians_l;
using viewgeo::testing::VecL;

std::int32_t word(double degrees) { return static_cast<std::int32_t>(std::lround(degrees * 65536.0)); }

viewgeo_context camera(double pan, double tilt, double hfov, std::int32_t width = 1920, std::int32_t height = 1080,
                       std::int32_t lens = 2, std::int32_t rot = 0) {
    viewgeo_context c{};
    c.pan = word(pan);
    c.tilt = word(tilt);
    c.horiz_fov = word(hfov);
    c.pic_width = width;
    c.pic_height = height;
    c.projection_type = lens;
    c.pic_rot = rot;
    return c;
}

struct Sizes {
    std::int32_t w;
    std::int32_t h;
};
constexpr Sizes kSizes[] = {{3840, 2160}, {1920, 1080}, {1280, 720}, {704, 576}, {1080, 1920}, {641, 479}};
constexpr std::int32_t kRotations[] = {0, 90, 180, 270, 360};

// A random view: every lens, rotation and size; fields 0.5 to 170 degrees;
// the vertical field derived or (one in four) stored; camera tilts anywhere,
// one in four exactly at a pole or one word beside it.
viewgeo_context random_view(std::mt19937_64 &gen) {
    std::uniform_real_distribution<double> fov(0.5, 170.0), pan(-180.0, 180.0), tilt(-90.0, 90.0);
    const Sizes s = kSizes[gen() % 6];
    viewgeo_context c = camera(pan(gen), tilt(gen), fov(gen), s.w, s.h, static_cast<std::int32_t>(gen() % 3),
                               kRotations[gen() % 5]);
    if (gen() % 4 == 0) {
        const std::int32_t pole = (gen() % 2 == 0 ? 1 : -1) * 0x5A0000;
        c.tilt = pole + static_cast<std::int32_t>(gen() % 3) - 1;  // exactly, or one word either side
    }
    if (gen() % 4 == 0) {
        c.vert_fov = word(fov(gen));
        c.vert_fov_set = true;
    }
    return c;
}

// Pixels all over the rotated picture: corners, edge midpoints, the centre,
// random points inside and random points up to a quarter picture outside.
std::vector<std::pair<double, double>> pixels_of(const viewgeo_context &c, std::mt19937_64 &gen) {
    const bool turned = c.pic_rot == 90 || c.pic_rot == 270;
    const double w = turned ? c.pic_height : c.pic_width;
    const double h = turned ? c.pic_width : c.pic_height;
    std::vector<std::pair<double, double>> out = {{0, 0},         {w, 0},         {0, h},     {w, h},     {w / 2, h / 2},
                                                  {w / 2, 0},     {0, h / 2},     {w, h / 2}, {w / 2, h}, {1, 1},
                                                  {w - 1, h - 1}, {w / 2 + 0.5, h / 2 - 0.25}};
    std::uniform_real_distribution<double> in_x(0.0, w), in_y(0.0, h), out_x(-0.25 * w, 1.25 * w),
        out_y(-0.25 * h, 1.25 * h);
    for (int i = 0; i < 12; ++i) out.emplace_back(in_x(gen), in_y(gen));
    for (int i = 0; i < 4; ++i) out.emplace_back(out_x(gen), out_y(gen));
    return out;
}

bool is_nan_pair(double a, double b) { return std::isnan(a) && std::isnan(b); }

TEST(PreciseView, PixelToDirectionToPixelReturnsThePixelOverRandomViews) {
    std::mt19937_64 gen(1601);
    MaxError err;
    int unanswered = 0;
    for (int view = 0; view < 3000; ++view) {
        const viewgeo_context c = random_view(gen);
        for (const auto &[x, y] : pixels_of(c, gen)) {
            double pan = 0.0, tilt = 0.0;
            if (viewgeo_to_ptz_d(&c, x, y, &pan, &tilt) != 0) {
                // Only a sine lens has pixels beyond its rim within a quarter
                // picture of the picture (equidistant fields stay below 180).
                EXPECT_EQ(c.projection_type, 0);
                EXPECT_TRUE(is_nan_pair(pan, tilt));
                ++unanswered;
                continue;
            }
            ASSERT_GT(pan, -180.0);
            ASSERT_LE(pan, 180.0);
            ASSERT_GE(tilt, -90.0);
            ASSERT_LE(tilt, 90.0);
            double bx = 0.0, by = 0.0;
            ASSERT_EQ(viewgeo_to_pixel_d(&c, pan, tilt, &bx, &by), 0) << x << "," << y;
            err.add(std::fmax(std::fabs(bx - x), std::fabs(by - y)));
        }
    }
    err.report("pixel_direction_pixel_px", "px");
    EXPECT_GT(err.count(), 80000);
    EXPECT_LT(unanswered, err.count() / 10);
    EXPECT_LT(err.max(), 1e-7L);
}

TEST(PreciseView, DirectionToPixelToDirectionReturnsTheDirectionOverRandomViews) {
    std::mt19937_64 gen(1602);
    std::uniform_real_distribution<double> pan_any(-180.0, 180.0);
    MaxError err;
    for (int view = 0; view < 3000; ++view) {
        const viewgeo_context c = random_view(gen);
        std::vector<std::pair<double, double>> dirs;
        for (const auto &[x, y] : pixels_of(c, gen)) {
            double pan = 0.0, tilt = 0.0;
            if (viewgeo_to_ptz_d(&c, x, y, &pan, &tilt) == 0) dirs.emplace_back(pan, tilt);
        }
        // The poles and directions within 1e-6 degrees of them, with any
        // pan, wherever they are visible; and a pan a turn away.
        const double p = pan_any(gen);
        for (double t : {90.0, -90.0, 90.0 - 1e-6, -90.0 + 1e-6, 90.0 - 1e-7, -90.0 + 1e-9}) dirs.emplace_back(p, t);
        if (!dirs.empty()) dirs.emplace_back(dirs.front().first + 360.0, dirs.front().second);
        for (const auto &[pan, tilt] : dirs) {
            double x = 0.0, y = 0.0;
            if (viewgeo_to_pixel_d(&c, pan, tilt, &x, &y) != 0) {
                EXPECT_TRUE(is_nan_pair(x, y));
                continue;
            }
            double bp = 0.0, bt = 0.0;
            ASSERT_EQ(viewgeo_to_ptz_d(&c, x, y, &bp, &bt), 0);
            err.add(angle_between(pan, tilt, bp, bt));
        }
    }
    err.report("direction_pixel_direction_deg", "degrees");
    EXPECT_GT(err.count(), 80000);
    EXPECT_LT(err.max(), 1e-9L);
}

// A pinhole camera written out here: basis vectors of the camera in the
// world, focal length in pixels from the horizontal field, square pixels.
struct Pinhole {
    VecL forward, right, up;
    long double focal, cx, cy;
    explicit Pinhole(const viewgeo_context &c) {
        const long double p = radians_l(c.pan / 65536.0L);
        const long double t = radians_l(c.tilt / 65536.0L);
        forward = {std::cos(t) * std::cos(p), std::cos(t) * std::sin(p), std::sin(t)};
        right = {-std::sin(p), std::cos(p), 0.0L};
        up = {-std::sin(t) * std::cos(p), -std::sin(t) * std::sin(p), std::cos(t)};
        cx = c.pic_width / 2.0L;
        cy = c.pic_height / 2.0L;
        focal = cx / std::tan(radians_l(c.horiz_fov / 65536.0L / 2.0L));
    }
    // False behind the camera.
    bool project(const VecL &d, long double *x, long double *y) const {
        using viewgeo::testing::dot;
        const long double z = dot(d, forward);
        if (!(z > 0.0L)) return false;
        *x = cx + focal * dot(d, right) / z;
        *y = cy - focal * dot(d, up) / z;
        return true;
    }
    VecL ray(long double x, long double y) const {
        const long double a = x - cx, b = cy - y;
        return {focal * forward.x + a * right.x + b * up.x, focal * forward.y + a * right.y + b * up.y,
                focal * forward.z + a * right.z + b * up.z};
    }
};

TEST(PreciseView, RectilinearLensIsAPinholeCameraWithSquarePixels) {
    std::mt19937_64 gen(1603);
    std::uniform_real_distribution<double> fov(0.5, 170.0), pan(-180.0, 180.0), tilt(-90.0, 90.0);
    MaxError to_pixel, to_direction;
    for (int view = 0; view < 2000; ++view) {
        const Sizes s = kSizes[gen() % 6];
        viewgeo_context c = camera(pan(gen), tilt(gen), fov(gen), s.w, s.h);
        if (view % 8 == 0) c.tilt = (view % 16 == 0 ? 1 : -1) * 0x5A0000;
        const Pinhole pin(c);
        std::uniform_real_distribution<double> px(0.0, s.w), py(0.0, s.h);
        for (int i = 0; i < 20; ++i) {
            const long double x = px(gen), y = py(gen);
            const VecL r = pin.ray(x, y);
            const double pan_r = static_cast<double>(std::atan2(r.y, r.x) * 180.0L / viewgeo::testing::kPiL);
            const double tilt_r = static_cast<double>(std::atan2(r.z, std::hypot(r.x, r.y)) * 180.0L /
                                                      viewgeo::testing::kPiL);
            // Direction to pixel, against the pinhole's own projection of the
            // same (rounded) direction.
            long double ex = 0, ey = 0;
            ASSERT_TRUE(pin.project(viewgeo::testing::vec_of(pan_r, tilt_r), &ex, &ey));
            double gx = 0.0, gy = 0.0;
            ASSERT_EQ(viewgeo_to_pixel_d(&c, pan_r, tilt_r, &gx, &gy), 0);
            to_pixel.add(std::fmax(std::fabs(gx - ex), std::fabs(gy - ey)));
            // Pixel to direction, projected back by the pinhole.
            double dp = 0.0, dt = 0.0;
            ASSERT_EQ(viewgeo_to_ptz_d(&c, static_cast<double>(x), static_cast<double>(y), &dp, &dt), 0);
            long double bx = 0, by = 0;
            ASSERT_TRUE(pin.project(viewgeo::testing::vec_of(dp, dt), &bx, &by));
            to_direction.add(std::fmax(std::fabs(bx - x), std::fabs(by - y)));
        }
    }
    to_pixel.report("pinhole_to_pixel_px", "px");
    to_direction.report("pinhole_to_ptz_px", "px");
    EXPECT_LT(to_pixel.max(), 1e-6L);
    EXPECT_LT(to_direction.max(), 1e-6L);
}

// Against the bit-exact float forms where none of their approximations is
// in play: the ray more than 0.1 rad and less than 85 degrees off the axis,
// directions within 85 degrees of level, the camera tilted 5 to 80 degrees
// up or down, fields of 2 to 120 degrees, directions they do not
// clamp. Both get the same float direction and the same whole pixel.
TEST(PreciseView, TruncatedPixelIsTheFloatFormsPixelOrItsNeighbourAtACellBoundary) {
    std::mt19937_64 gen(1604);
    std::uniform_real_distribution<double> fov(2.0, 120.0), pan(-180.0, 180.0), tilt(5.0, 80.0), frac(0.0, 1.0);
    MaxError boundary_dist, angle_diff;
    long compared = 0, neighbours = 0;
    for (int view = 0; view < 3000; ++view) {
        const Sizes s = kSizes[gen() % 5];
        const viewgeo_context c = camera(pan(gen), (gen() % 2 ? 1 : -1) * tilt(gen), fov(gen), s.w, s.h,
                                         static_cast<std::int32_t>(gen() % 3), kRotations[gen() % 5]);
        const bool turned = c.pic_rot == 90 || c.pic_rot == 270;
        const std::int32_t w = turned ? c.pic_height : c.pic_width, h = turned ? c.pic_width : c.pic_height;
        for (int i = 0; i < 20; ++i) {
            const std::int32_t ix = static_cast<std::int32_t>(gen() % static_cast<std::uint32_t>(w));
            const std::int32_t iy = static_cast<std::int32_t>(gen() % static_cast<std::uint32_t>(h));
            double p = 0.0, t = 0.0;
            if (viewgeo_to_ptz_d(&c, ix, iy, &p, &t) != 0) continue;  // beyond a sine lens's rim
            const double off_axis = static_cast<double>(angle_between(p, t, c.pan / 65536.0, c.tilt / 65536.0));
            // (The float forms take the angle off the axis as the arc sine of
            // its sine, so beyond 90 degrees, which equidistant lenses see,
            // they fold it back: kept well below that.)
            if (off_axis * 3.141592653589793 / 180.0 <= 0.11 || off_axis > 85.0 || std::fabs(t) > 85.0) continue;
            // Pixel to direction: the same whole pixel in both.
            float fp = 0.0f, ft = 0.0f;
            viewgeo_to_ptz_f(&c, &fp, &ft, ix, iy);
            angle_diff.add(angle_between(p, t, fp, ft));
            // Direction to pixel: the float direction of a point inside the
            // cell (a whole pixel's own direction would land on a boundary).
            double q = 0.0, u = 0.0;
            if (viewgeo_to_ptz_d(&c, ix + frac(gen), iy + frac(gen), &q, &u) != 0) continue;
            const float sp = static_cast<float>(q), st = static_cast<float>(u);
            const double pan_off = std::remainder(sp - c.pan / 65536.0, 360.0);
            if (std::fabs(st) < 30.0f && std::fabs(pan_off) > 89.0) continue;
            double x = 0.0, y = 0.0;
            ASSERT_EQ(viewgeo_to_pixel_d(&c, sp, st, &x, &y), 0);
            std::int32_t fx = 0, fy = 0;
            viewgeo_to_pixel_f(&c, &fx, &fy, sp, st);
            ++compared;
            // The float forms rotate the whole pixel, so a coordinate the
            // rotation flips is the far corner of the cell: one more.
            const bool flip_x = c.pic_rot == 90 || c.pic_rot == 180;
            const bool flip_y = c.pic_rot == 180 || c.pic_rot == 270;
            for (const auto &[v, f, flipped] : {std::tuple{x, fx, flip_x}, std::tuple{y, fy, flip_y}}) {
                const double expect = flipped ? std::ceil(v) : std::trunc(v);
                if (expect == f) continue;
                ++neighbours;
                ASSERT_EQ(std::fabs(expect - f), 1.0) << v << " " << f << " rot " << c.pic_rot << " lens " << c.projection_type << " fov " << c.horiz_fov / 65536.0 << " tilt " << c.tilt / 65536.0 << " dir " << sp << "," << st << " pan " << c.pan / 65536.0 << " size " << c.pic_width;
                boundary_dist.add(std::fabs(v - std::round(v)));
            }
        }
    }
    boundary_dist.report("float_forms_neighbour_boundary_px", "px from the cell boundary");
    angle_diff.report("float_forms_to_ptz_deg", "degrees");
    std::printf("[ compared ] %ld pixels, %ld coordinates in the neighbouring cell\n", compared, neighbours);
    EXPECT_GT(compared, 20000);
    EXPECT_LT(boundary_dist.max(), 2e-3L);
    EXPECT_LT(angle_diff.max(), 2e-4L);
}

TEST(PreciseView, CentreOfTheAxisIsTheMiddleOfThePictureForEveryLensAndRotation) {
    for (std::int32_t lens : {0, 1, 2}) {
        for (std::int32_t rot : kRotations) {
            const viewgeo_context c = camera(33.0, -21.5, 47.0, 1921, 1081, lens, rot);
            const bool turned = rot == 90 || rot == 270;
            double x = 0.0, y = 0.0;
            ASSERT_EQ(viewgeo_to_pixel_d(&c, 33.0, -21.5, &x, &y), 0);
            EXPECT_DOUBLE_EQ(x, (turned ? 1081 : 1921) / 2.0);
            EXPECT_DOUBLE_EQ(y, (turned ? 1921 : 1081) / 2.0);
            double pan = 0.0, tilt = 0.0;
            ASSERT_EQ(viewgeo_to_ptz_d(&c, x, y, &pan, &tilt), 0);
            EXPECT_NEAR(pan, 33.0, 1e-12);
            EXPECT_NEAR(tilt, -21.5, 1e-12);
        }
    }
}

TEST(PreciseView, HalfFieldLandsOnTheEdgeAndRotationTurnsContinuousCoordinates) {
    // Rectilinear, 90 degrees across: pan 45 at tilt 0 is the right edge.
    const viewgeo_context c = camera(0.0, 0.0, 90.0, 1920, 1080);
    double x = 0.0, y = 0.0;
    ASSERT_EQ(viewgeo_to_pixel_d(&c, 45.0, 0.0, &x, &y), 0);
    EXPECT_NEAR(x, 1920.0, 1e-9);
    EXPECT_NEAR(y, 540.0, 1e-9);
    // 180: (width - x, height - y); 90: (height - y, x); 270: (y, width - x).
    const std::pair<std::int32_t, std::pair<double, double>> turned[] = {
        {180, {0.0, 540.0}}, {90, {540.0, 1920.0}}, {270, {540.0, 0.0}}};
    for (const auto &[rot, expect] : turned) {
        const viewgeo_context r = camera(0.0, 0.0, 90.0, 1920, 1080, 2, rot);
        ASSERT_EQ(viewgeo_to_pixel_d(&r, 45.0, 0.0, &x, &y), 0);
        EXPECT_NEAR(x, expect.first, 1e-9) << rot;
        EXPECT_NEAR(y, expect.second, 1e-9) << rot;
    }
    // Equidistant: the angle grows linearly, 15 of 45 degrees is a third.
    const viewgeo_context e = camera(0.0, 0.0, 90.0, 1920, 1080, 1);
    ASSERT_EQ(viewgeo_to_pixel_d(&e, 15.0, 0.0, &x, &y), 0);
    EXPECT_NEAR(x, 960.0 + 320.0, 1e-9);
    // Sine: sin 30 / sin 45 of the half picture.
    const viewgeo_context s = camera(0.0, 0.0, 90.0, 1920, 1080, 0);
    ASSERT_EQ(viewgeo_to_pixel_d(&s, 30.0, 0.0, &x, &y), 0);
    EXPECT_NEAR(x, 960.0 + 960.0 * 0.5 / std::sqrt(0.5), 1e-9);
}

TEST(PreciseView, StoredVerticalFieldIsUsedAndTheDerivedOneFollowsTheTangentRule) {
    viewgeo_context c = camera(0.0, 0.0, 60.0, 1920, 1080);
    // Derived: tan(F_v) = 1080/1920 tan 30, so the top edge is at the tilt
    // whose tangent is that.
    const double top = std::atan(0.5625 * std::tan(30.0 * M_PI / 180.0)) * 180.0 / M_PI;
    double x = 0.0, y = 0.0;
    ASSERT_EQ(viewgeo_to_pixel_d(&c, 0.0, top, &x, &y), 0);
    EXPECT_NEAR(y, 0.0, 1e-9);
    c.vert_fov = word(20.0);
    c.vert_fov_set = true;
    ASSERT_EQ(viewgeo_to_pixel_d(&c, 0.0, 10.0, &x, &y), 0);
    EXPECT_NEAR(y, 0.0, 1e-9);
}

TEST(PreciseView, CameraAtAPoleAnswersEveryPixelAndThePoleTakesTheCameraPan) {
    for (std::int32_t pole : {0x5A0000, -0x5A0000}) {
        for (std::int32_t lens : {0, 1, 2}) {
            viewgeo_context c = camera(-123.25, 0.0, 100.0, 1920, 1080, lens);
            c.tilt = pole;
            for (int gx = 0; gx <= 16; ++gx) {
                for (int gy = 0; gy <= 9; ++gy) {
                    double pan = 0.0, tilt = 0.0;
                    if (lens == 0 && (gx == 0 || gx == 16) && (gy == 0 || gy == 9)) continue;  // beyond the rim
                    ASSERT_EQ(viewgeo_to_ptz_d(&c, gx * 120.0, gy * 120.0, &pan, &tilt), 0) << gx << "," << gy;
                    EXPECT_GT(pan, -180.0);
                    EXPECT_LE(pan, 180.0);
                    EXPECT_LE(std::fabs(tilt), 90.0);
                }
            }
            double pan = 0.0, tilt = 0.0;
            ASSERT_EQ(viewgeo_to_ptz_d(&c, 960.0, 540.0, &pan, &tilt), 0);
            EXPECT_EQ(pan, -123.25);
            EXPECT_EQ(tilt, pole / 65536.0);
            // Picture up looking down is the camera's pan: the top edge's
            // middle lies toward it (looking up, away from it).
            ASSERT_EQ(viewgeo_to_ptz_d(&c, 960.0, 0.0, &pan, &tilt), 0);
            EXPECT_NEAR(pan, pole < 0 ? -123.25 : 56.75, 1e-9);
        }
    }
}

TEST(PreciseView, DirectionsNearLevelAndNearThePoleAreNotSnapped) {
    // A camera 0.01 degrees above level: a direction 0.005 degrees above
    // level at its pan is below the centre by half the tilt difference.
    const viewgeo_context c = camera(0.0, 0.01, 2.0, 3840, 2160);
    const double camera_tilt = c.tilt / 65536.0;  // the word nearest 0.01
    double x = 0.0, y = 0.0;
    ASSERT_EQ(viewgeo_to_pixel_d(&c, 0.0, 0.005, &x, &y), 0);
    const double focal = 1920.0 / std::tan(1.0 * M_PI / 180.0);
    EXPECT_NEAR(y, 1080.0 + focal * std::tan((camera_tilt - 0.005) * M_PI / 180.0), 1e-6);
    EXPECT_GT(y, 1089.0);
    // A direction 0.3 degrees from the zenith comes back as such.
    const viewgeo_context up = camera(10.0, 80.0, 30.0);
    ASSERT_EQ(viewgeo_to_pixel_d(&up, 10.0, 89.7, &x, &y), 0);
    double pan = 0.0, tilt = 0.0;
    ASSERT_EQ(viewgeo_to_ptz_d(&up, x, y, &pan, &tilt), 0);
    EXPECT_NEAR(tilt, 89.7, 1e-12);
    EXPECT_NEAR(pan, 10.0, 1e-9);
}

TEST(PreciseView, NoAnswerGivesMinusOneAndNaN) {
    const double inf = std::numeric_limits<double>::infinity();
    const viewgeo_context good = camera(0.0, 0.0, 60.0);
    struct Bad {
        const char *what;
        viewgeo_context c;
    };
    std::vector<Bad> bad = {{"zero field", camera(0, 0, 0)},        {"zero width", camera(0, 0, 60, 0, 1080)},
                            {"zero height", camera(0, 0, 60, 1920, 0)}, {"rotation 45", camera(0, 0, 60, 1920, 1080, 2, 45)},
                            {"rectilinear 180", camera(0, 0, 180)},     {"sine 190", camera(0, 0, 190, 1920, 1080, 0)},
                            {"negative field", camera(0, 0, -10)}};
    bad.push_back({"zero stored vertical field", good});
    bad.back().c.vert_fov = 0;
    bad.back().c.vert_fov_set = true;
    for (const Bad &b : bad) {
        double x = 1.0, y = 1.0, pan = 1.0, tilt = 1.0;
        EXPECT_EQ(viewgeo_to_pixel_d(&b.c, 0.0, 0.0, &x, &y), -1) << b.what;
        EXPECT_TRUE(is_nan_pair(x, y)) << b.what;
        EXPECT_EQ(viewgeo_to_ptz_d(&b.c, 960.0, 540.0, &pan, &tilt), -1) << b.what;
        EXPECT_TRUE(is_nan_pair(pan, tilt)) << b.what;
    }
    double x = 1.0, y = 1.0, pan = 1.0, tilt = 1.0;
    for (double v : {std::nan(""), inf, -inf}) {
        EXPECT_EQ(viewgeo_to_pixel_d(&good, v, 0.0, &x, &y), -1);
        EXPECT_EQ(viewgeo_to_pixel_d(&good, 0.0, v, &x, &y), -1);
        EXPECT_EQ(viewgeo_to_ptz_d(&good, v, 0.0, &pan, &tilt), -1);
        EXPECT_EQ(viewgeo_to_ptz_d(&good, 0.0, v, &pan, &tilt), -1);
        EXPECT_TRUE(is_nan_pair(pan, tilt));
    }
    // Outside the lens's domain: 90 degrees off the axis for rectilinear and
    // sine, straight behind for equidistant; beyond the sine lens's rim.
    for (std::int32_t lens : {0, 2}) {
        const viewgeo_context c = camera(0.0, 0.0, 60.0, 1920, 1080, lens);
        EXPECT_EQ(viewgeo_to_pixel_d(&c, 90.0, 0.0, &x, &y), -1);
        EXPECT_EQ(viewgeo_to_pixel_d(&c, 180.0, 10.0, &x, &y), -1);
        EXPECT_TRUE(is_nan_pair(x, y));
        EXPECT_EQ(viewgeo_to_pixel_d(&c, 89.0, 0.0, &x, &y), 0);
    }
    const viewgeo_context fish = camera(0.0, 0.0, 60.0, 1920, 1080, 1);
    EXPECT_EQ(viewgeo_to_pixel_d(&fish, 180.0, 0.0, &x, &y), -1);
    EXPECT_EQ(viewgeo_to_pixel_d(&fish, 179.0, 0.0, &x, &y), 0);
    EXPECT_NEAR(x, 960.0 + 960.0 * 179.0 / 30.0, 1e-9);
    const viewgeo_context sine = camera(0.0, 0.0, 60.0, 1920, 1080, 0);
    // Exactly the rim (sin 30 rounds a little low, and the rim is where a
    // pixel's angle is most sensitive: a few 1e-7 degrees short of 90).
    EXPECT_EQ(viewgeo_to_ptz_d(&sine, 960.0 + 1920.0, 540.0, &pan, &tilt), 0);
    EXPECT_NEAR(pan, 90.0, 1e-5);
    EXPECT_EQ(viewgeo_to_ptz_d(&sine, 960.0 + 1921.0, 540.0, &pan, &tilt), -1);
    EXPECT_TRUE(is_nan_pair(pan, tilt));
    // Far off the picture of a rectilinear lens is still answered.
    EXPECT_EQ(viewgeo_to_ptz_d(&good, 1e300, 540.0, &pan, &tilt), 0);
    EXPECT_NEAR(pan, 90.0, 1e-9);
    EXPECT_NEAR(tilt, 0.0, 1e-9);
}

TEST(PreciseView, DewarpStatusDoesNotChangeThePreciseForms) {
    viewgeo_context c = camera(12.0, -30.0, 60.0);
    double x0 = 0.0, y0 = 0.0, x1 = 0.0, y1 = 0.0, p0 = 0.0, t0 = 0.0, p1 = 0.0, t1 = 0.0;
    ASSERT_EQ(viewgeo_to_pixel_d(&c, 20.0, -25.0, &x0, &y0), 0);
    ASSERT_EQ(viewgeo_to_ptz_d(&c, 100.0, 900.0, &p0, &t0), 0);
    c.dewarp_status = 1;
    ASSERT_EQ(viewgeo_to_pixel_d(&c, 20.0, -25.0, &x1, &y1), 0);
    ASSERT_EQ(viewgeo_to_ptz_d(&c, 100.0, 900.0, &p1, &t1), 0);
    EXPECT_EQ(x0, x1);
    EXPECT_EQ(y0, y1);
    EXPECT_EQ(p0, p1);
    EXPECT_EQ(t0, t1);
}

}  // namespace
