// The overview context record, its defaults and its accessors.
#include <bit>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "platform/log.h"
#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace {

using viewgeo::testing::TempRoot;

using viewgeo::testing::OvistaPtr;

void expect_no_correction(const viewgeo_ovista_compensator &comp) {
    EXPECT_EQ(comp.type, 0);
    EXPECT_EQ(comp.A, 0.0f);
    EXPECT_EQ(comp.B, 0.0f);
    EXPECT_EQ(comp.C, 0.0f);
    EXPECT_EQ(comp.D, 0.0f);
}

TEST(OvistaContextLayout, FieldsKeepTheirOrderAndTypes) {
    EXPECT_EQ(sizeof(viewgeo_ovista_compensator), 20u);
    EXPECT_EQ(offsetof(viewgeo_ovista_compensator, type), 0u);
    EXPECT_EQ(offsetof(viewgeo_ovista_compensator, A), 4u);
    EXPECT_EQ(offsetof(viewgeo_ovista_compensator, D), 16u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, center_x), 0u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, center_y), 4u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, field_angle), 8u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, radius_x), 12u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, radius_y), 16u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, rotation), 20u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, mirror), 24u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, pan_comp), 28u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, tilt_comp), 48u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, x_comp), 68u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, y_comp), 88u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, center_pan), 108u);
    EXPECT_EQ(offsetof(viewgeo_ovista_context, center_tilt), 112u);
    EXPECT_EQ(sizeof(viewgeo_ovista_context), 116u);
}

TEST(OvistaContext, CreateWithoutConfigurationGivesDefaults) {
    TempRoot root;
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->center_x, 0.5f);
    EXPECT_EQ(ctx->center_y, 0.5f);
    EXPECT_EQ(ctx->field_angle, 99.0f);
    EXPECT_EQ(ctx->radius_x, 0.3046875f);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(ctx->radius_y), 0x3F0AAAABu);
    EXPECT_EQ(ctx->rotation, 0);
    EXPECT_EQ(ctx->mirror, 0);
    expect_no_correction(ctx->pan_comp);
    expect_no_correction(ctx->tilt_comp);
    expect_no_correction(ctx->x_comp);
    expect_no_correction(ctx->y_comp);
    EXPECT_EQ(ctx->center_pan, 0.0f);
    EXPECT_EQ(ctx->center_tilt, -90.0f);
    EXPECT_TRUE(viewgeo::platform::captured_log().empty());
}

TEST(OvistaContext, DefaultCircleIs585PixelsIn1920By1080) {
    TempRoot root;
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->radius_x * 1920.0f, 585.0f);
    EXPECT_NEAR(ctx->radius_y * 1080.0f, 585.0f, 1e-4f);  // 0.541666687 is 585/1080 rounded
}

TEST(OvistaContext, CreateOverlaysTheConfigurationFile) {
    TempRoot root;
    root.write("/etc/viewgeo/ovista.conf", "[common]\novista_center_pan = 12.5\n[y_comp]\ntype = 2\nD = -4.25\n");
    OvistaPtr ctx(viewgeo_ovista_context_create());
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->center_pan, 12.5f);
    EXPECT_EQ(ctx->center_tilt, -90.0f);
    EXPECT_EQ(ctx->y_comp.type, 2);
    EXPECT_EQ(ctx->y_comp.D, -4.25f);
    EXPECT_EQ(ctx->field_angle, 99.0f);
}

TEST(OvistaContext, CreateGivesNullWhenTheFileExistsButCannotBeRead) {
    TempRoot root;
    root.make_dir("/etc/viewgeo/ovista.conf");  // present, but no readable text
    EXPECT_EQ(viewgeo_ovista_context_create(), nullptr);
    ASSERT_EQ(viewgeo::platform::captured_log().size(), 1u);
    EXPECT_EQ(viewgeo::platform::captured_log()[0], "Failed to load viewgeo_ovista_context at /etc/viewgeo/ovista.conf.");
}

TEST(OvistaContext, DeleteAcceptsNull) {
    viewgeo_ovista_context_delete(nullptr);
    SUCCEED();  // reaching here without a fault is the behaviour under test
}

TEST(OvistaContext, LensCharacteristicsComeBackInArgumentOrder) {
    viewgeo_ovista_context ctx{};
    viewgeo_set_lens_characteristics(&ctx, 0.1f, 0.2f, 0.3f, 0.4f, 120.0f);
    // The record keeps its own order: field_angle before the radii.
    EXPECT_EQ(ctx.center_x, 0.1f);
    EXPECT_EQ(ctx.center_y, 0.2f);
    EXPECT_EQ(ctx.radius_x, 0.3f);
    EXPECT_EQ(ctx.radius_y, 0.4f);
    EXPECT_EQ(ctx.field_angle, 120.0f);
    float cx = 0, cy = 0, rx = 0, ry = 0, fa = 0;
    viewgeo_get_lens_characteristics(&ctx, &cx, &cy, &rx, &ry, &fa);
    EXPECT_EQ(cx, 0.1f);
    EXPECT_EQ(cy, 0.2f);
    EXPECT_EQ(rx, 0.3f);
    EXPECT_EQ(ry, 0.4f);
    EXPECT_EQ(fa, 120.0f);
}

TEST(OvistaContext, AnglesAreStoredUnvalidated) {
    viewgeo_ovista_context ctx{};
    viewgeo_set_ovista_angles(&ctx, 720.5f, -270.0f);
    float pan = 0, tilt = 0;
    viewgeo_get_ovista_angles(&ctx, &pan, &tilt);
    EXPECT_EQ(pan, 720.5f);
    EXPECT_EQ(tilt, -270.0f);
    EXPECT_EQ(ctx.center_pan, 720.5f);
    EXPECT_EQ(ctx.center_tilt, -270.0f);
}

TEST(OvistaContext, RotationAndMirrorAreStoredAsGiven) {
    viewgeo_ovista_context ctx{};
    ptz_set_ovista_rotation(&ctx, -725);
    ptz_set_ovista_mirror(&ctx, 42);
    EXPECT_EQ(ctx.rotation, -725);
    EXPECT_EQ(ctx.mirror, 42);
}

TEST(OvistaContext, CompensatorIndexSelectsPanTiltXY) {
    viewgeo_ovista_context ctx{};
    viewgeo_ovista_compensator viewgeo_ovista_context::*const fields[] = {
        &viewgeo_ovista_context::pan_comp, &viewgeo_ovista_context::tilt_comp, &viewgeo_ovista_context::x_comp,
        &viewgeo_ovista_context::y_comp};
    for (int which = 0; which < 4; ++which) {
        const float base = static_cast<float>(which) * 10.0f;
        viewgeo_set_ovista_compensator(&ctx, which, which + 1, base + 1, base + 2, base + 3, base + 4);
    }
    for (int which = 0; which < 4; ++which) {
        const float base = static_cast<float>(which) * 10.0f;
        const viewgeo_ovista_compensator &comp = ctx.*fields[which];
        EXPECT_EQ(comp.type, which + 1);
        EXPECT_EQ(comp.A, base + 1);
        EXPECT_EQ(comp.B, base + 2);
        EXPECT_EQ(comp.C, base + 3);
        EXPECT_EQ(comp.D, base + 4);
        int type = -1;
        float a = 0, b = 0, c = 0, d = 0;
        EXPECT_EQ(viewgeo_get_ovista_compensator(&ctx, which, &type, &a, &b, &c, &d), which + 1);
        EXPECT_EQ(type, which + 1);
        EXPECT_EQ(a, base + 1);
        EXPECT_EQ(b, base + 2);
        EXPECT_EQ(c, base + 3);
        EXPECT_EQ(d, base + 4);
    }
}

TEST(OvistaContext, CompensatorGetterReturnsAnyStoredType) {
    viewgeo_ovista_context ctx{};
    viewgeo_set_ovista_compensator(&ctx, 2, -7, 0, 0, 0, 0);
    int type = 0;
    float a, b, c, d;
    EXPECT_EQ(viewgeo_get_ovista_compensator(&ctx, 2, &type, &a, &b, &c, &d), -7);
    EXPECT_EQ(type, -7);
}

#ifndef NDEBUG
TEST(OvistaContextDeathTest, CompensatorIndexOutsideZeroToThreeStopsADebugBuild) {
    viewgeo_ovista_context ctx{};
    int type;
    float a, b, c, d;
    EXPECT_DEATH(viewgeo_set_ovista_compensator(&ctx, 4, 1, 1, 1, 1, 1), "compensator index");
    EXPECT_DEATH(viewgeo_set_ovista_compensator(&ctx, -1, 1, 1, 1, 1, 1), "compensator index");
    EXPECT_DEATH(viewgeo_get_ovista_compensator(&ctx, 4, &type, &a, &b, &c, &d), "compensator index");
}
#else
TEST(OvistaContext, CompensatorIndexOutsideZeroToThreeChangesNothingInARelease) {
    viewgeo_ovista_context ctx{};
    viewgeo_set_ovista_compensator(&ctx, 4, 1, 1, 1, 1, 1);
    viewgeo_set_ovista_compensator(&ctx, -1, 1, 1, 1, 1, 1);
    expect_no_correction(ctx.pan_comp);
    expect_no_correction(ctx.tilt_comp);
    expect_no_correction(ctx.x_comp);
    expect_no_correction(ctx.y_comp);
    EXPECT_EQ(ctx.center_pan, 0.0f);
    EXPECT_EQ(ctx.center_tilt, 0.0f);
    int type = 9;
    float a = 9, b = 9, c = 9, d = 9;
    EXPECT_EQ(viewgeo_get_ovista_compensator(&ctx, 4, &type, &a, &b, &c, &d), 0);
    EXPECT_EQ(type, 9);
    EXPECT_EQ(a, 9.0f);
}
#endif

}  // namespace
