// A pixel of a spherical panorama to a remote pan/tilt.
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>

#include "viewgeo.h"

namespace {

constexpr std::int32_t deg(int d) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(d) << 16); }

struct Panorama {
    viewgeo_context *ctx = viewgeo_context_create();
    Panorama(std::int32_t pan, std::int32_t tilt, std::int32_t hfov, std::int32_t vfov, std::int32_t w = 4000,
             std::int32_t h = 2000) {
        viewgeo_set_pic_dim(ctx, w, h);
        viewgeo_set_horiz_fov_x(ctx, hfov);
        viewgeo_set_vert_fov_x(ctx, vfov);
        viewgeo_set_pantilt_x(ctx, pan, tilt);
    }
    ~Panorama() { viewgeo_context_delete(ctx); }
};

// The mapping written out from its steps: single-precision angles, the
// vector from the exported conversion, double rotations rounded to single
// precision after each step.
void reference(const viewgeo_context *ctx, std::int32_t x, std::int32_t y, float *pan, float *tilt) {
    const float q = 1.0f / 65536.0f;
    const float d = 0.017453292f;         // bits 0x3C8EFA35
    const double k = 57.295780181884766;  // 57.29578f widened
    const float hh = static_cast<float>(ctx->horiz_fov) * q * 0.5f;
    const float a = static_cast<float>(x) * (hh / (static_cast<float>(ctx->pic_width) * 0.5f)) - hh;
    const float hv = static_cast<float>(ctx->vert_fov) * q * 0.5f;
    const float e = static_cast<float>(y) * (-hv / (static_cast<float>(ctx->pic_height) * 0.5f)) + hv;
    float vx, vy, vz;
    viewgeo_ptz_to_cartesian_f(a, e, &vx, &vy, &vz);
    const float t = static_cast<float>(ctx->tilt) * q;
    const double ang_t = static_cast<double>(-t * d);
    const double s = std::sin(ang_t), c = std::cos(ang_t);
    const float z1 = static_cast<float>(-s * vx + c * vz);
    *tilt = static_cast<float>(std::asin(static_cast<double>(z1)) * k);
    const float x1 = static_cast<float>(vx * c + vz * s);
    const double ang_p = static_cast<double>(static_cast<float>(ctx->pan) * q * d);
    const double sp = std::sin(ang_p), cp = std::cos(ang_p);
    const float x2 = static_cast<float>(x1 * cp - vy * sp);
    const float y2 = static_cast<float>(x1 * sp + vy * cp);
    *pan = static_cast<float>(std::atan2(static_cast<double>(y2), static_cast<double>(x2)) * k);
}

TEST(PanoramaToRemote, CentrePixelMapsToTheContextsPanAndTilt) {
    Panorama p(deg(30), deg(10), deg(360), deg(180));
    float pan = 0.0f, tilt = 0.0f;
    viewgeo_panorama_spherical_to_remote_ptz(p.ctx, &pan, &tilt, 2000, 1000);
    float want_pan, want_tilt;
    reference(p.ctx, 2000, 1000, &want_pan, &want_tilt);
    EXPECT_EQ(pan, want_pan);
    EXPECT_EQ(tilt, want_tilt);
    // Single-precision vector components: a few 1e-6 degrees.
    EXPECT_NEAR(pan, 30.0f, 2e-5f);
    EXPECT_NEAR(tilt, 10.0f, 2e-5f);
}

TEST(PanoramaToRemote, LeftEdgeOfAFullTurnLooksBehind) {
    for (int context_pan : {-150, -30, 0, 45, 120}) {
        Panorama p(deg(context_pan), 0, deg(360), deg(180));
        float pan = 0.0f, tilt = 0.0f;
        viewgeo_panorama_spherical_to_remote_ptz(p.ctx, &pan, &tilt, 0, 1000);
        float want = static_cast<float>(context_pan) + 180.0f;
        if (want > 180.0f) want -= 360.0f;
        EXPECT_NEAR(pan, want, 2e-5f) << context_pan;
        EXPECT_NEAR(tilt, 0.0f, 2e-5f) << context_pan;
        float ref_pan, ref_tilt;
        reference(p.ctx, 0, 1000, &ref_pan, &ref_tilt);
        EXPECT_EQ(pan, ref_pan);
        EXPECT_EQ(tilt, ref_tilt);
    }
}

TEST(PanoramaToRemote, MatchesItsStepsAcrossThePicture) {
    Panorama p(deg(-70) + 12345, deg(25) - 777, deg(200), deg(100), 1920, 960);
    for (int x = 0; x <= 1920; x += 160) {
        for (int y = 0; y <= 960; y += 120) {
            float pan, tilt, want_pan, want_tilt;
            viewgeo_panorama_spherical_to_remote_ptz(p.ctx, &pan, &tilt, x, y);
            reference(p.ctx, x, y, &want_pan, &want_tilt);
            EXPECT_EQ(pan, want_pan) << x << "," << y;
            EXPECT_EQ(tilt, want_tilt) << x << "," << y;
            EXPECT_GT(pan, -180.0f);
            EXPECT_LE(pan, 180.0f);
            EXPECT_GE(tilt, -90.0f);
            EXPECT_LE(tilt, 90.0f);
        }
    }
}

TEST(PanoramaToRemote, WithoutTiltPanAndTiltAreLinearInThePixel) {
    // No rotation about y: the panorama angles pass straight through, the
    // context's pan is added.
    Panorama p(deg(10), 0, deg(360), deg(180), 3600, 1800);
    float pan, tilt;
    viewgeo_panorama_spherical_to_remote_ptz(p.ctx, &pan, &tilt, 2700, 450);
    // x 2700 of 3600: +90 degrees; y 450 of 1800: +45 degrees.
    EXPECT_NEAR(pan, 100.0f, 1e-4f);
    EXPECT_NEAR(tilt, 45.0f, 1e-4f);
}

TEST(PanoramaToRemote, UsesTheStoredVerticalFieldEvenWhenNotSet) {
    Panorama p(0, 0, deg(360), deg(180));
    p.ctx->vert_fov_set = false;  // the derived field would differ
    float pan, tilt;
    viewgeo_panorama_spherical_to_remote_ptz(p.ctx, &pan, &tilt, 2000, 500);
    EXPECT_NEAR(tilt, 45.0f, 1e-4f);
}

TEST(PanoramaToRemote, TopRowIsTheZenithWhenTheFieldIsAHalfTurn) {
    Panorama p(deg(50), deg(0), deg(360), deg(180));
    float pan, tilt;
    viewgeo_panorama_spherical_to_remote_ptz(p.ctx, &pan, &tilt, 1234, 0);
    EXPECT_NEAR(tilt, 90.0f, 1e-2f);  // asin near 1 amplifies the rounding
}

TEST(PanoramaToRemote, ZeroPictureSizeGivesNoCrash) {
    Panorama p(0, 0, deg(90), deg(60), 0, 0);
    float pan = 1.0f, tilt = 1.0f;
    // Degrees per pixel are infinite: pixel 10 is an infinite angle, whose
    // sine is NaN, and pixel 0 is 0 * inf, NaN at once.
    viewgeo_panorama_spherical_to_remote_ptz(p.ctx, &pan, &tilt, 10, 10);
    EXPECT_TRUE(std::isnan(pan));
    EXPECT_TRUE(std::isnan(tilt));
    pan = tilt = 1.0f;
    viewgeo_panorama_spherical_to_remote_ptz(p.ctx, &pan, &tilt, 0, 0);
    EXPECT_TRUE(std::isnan(pan));
    EXPECT_TRUE(std::isnan(tilt));
}

}  // namespace
