// Reading the overview configuration file: format, defaults and untrusted text.
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>

#include "platform/log.h"
#include "support/ovista_defaults.h"
#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace {

using viewgeo::testing::TempRoot;

constexpr const char *kConf = "/etc/viewgeo/ovista.conf";
constexpr float kInf = std::numeric_limits<float>::infinity();

using viewgeo::testing::OvistaPtr;

// The defaults, written out independently of the library.
viewgeo_ovista_context defaults() { return viewgeo::testing::ovista_defaults(); }

void expect_same(const viewgeo_ovista_compensator &a, const viewgeo_ovista_compensator &b) {
    EXPECT_EQ(a.type, b.type);
    EXPECT_EQ(a.A, b.A);
    EXPECT_EQ(a.B, b.B);
    EXPECT_EQ(a.C, b.C);
    EXPECT_EQ(a.D, b.D);
}

// Field by field on purpose, so that a failure names the field.
void expect_same(const viewgeo_ovista_context &a, const viewgeo_ovista_context &b) {
    EXPECT_EQ(a.center_x, b.center_x);
    EXPECT_EQ(a.center_y, b.center_y);
    EXPECT_EQ(a.field_angle, b.field_angle);
    EXPECT_EQ(a.radius_x, b.radius_x);
    EXPECT_EQ(a.radius_y, b.radius_y);
    EXPECT_EQ(a.rotation, b.rotation);
    EXPECT_EQ(a.mirror, b.mirror);
    expect_same(a.pan_comp, b.pan_comp);
    expect_same(a.tilt_comp, b.tilt_comp);
    expect_same(a.x_comp, b.x_comp);
    expect_same(a.y_comp, b.y_comp);
    EXPECT_EQ(a.center_pan, b.center_pan);
    EXPECT_EQ(a.center_tilt, b.center_tilt);
}

OvistaPtr create_from(const TempRoot &root, const std::string &text) {
    root.write(kConf, text);
    return OvistaPtr(viewgeo_ovista_context_create());
}

TEST(OvistaConfigLoad, LensGroupAloneChangesOnlyFieldAngle) {
    TempRoot root;
    OvistaPtr ctx = create_from(root, "[lens_charac]\nfield_angle = 120\n");
    ASSERT_NE(ctx, nullptr);
    viewgeo_ovista_context expected = defaults();
    expected.field_angle = 120.0f;
    expect_same(*ctx, expected);
}

TEST(OvistaConfigLoad, ReadsEveryGroupAndKey) {
    TempRoot root;
    OvistaPtr ctx = create_from(root,
                                "[common]\novista_center_pan = -33.5\novista_center_tilt = -45.25\n"
                                "[lens_charac]\ncenter_x = 0.25\ncenter_y = 0.75\nradius_x = 0.125\n"
                                "radius_y = 0.375\nfield_angle = 95.5\n"
                                "[pan_comp]\ntype = 1\nA = 1\nB = 2\nC = 3\nD = 4\n"
                                "[tilt_comp]\ntype = 2\nA = -1\nB = -2\nC = -3\nD = -4\n"
                                "[x_comp]\ntype = 3\nA = 0.5\nB = 1.5\nC = 2.5\nD = 3.5\n"
                                "[y_comp]\ntype = -1\nA = 8\nB = 16\nC = 32\nD = 64\n");
    ASSERT_NE(ctx, nullptr);
    // Every field written out, like the defaults of the test support, on
    // purpose: the values this file gives.
    viewgeo_ovista_context expected{};
    expected.center_x = 0.25f;
    expected.center_y = 0.75f;
    expected.field_angle = 95.5f;
    expected.radius_x = 0.125f;
    expected.radius_y = 0.375f;
    expected.pan_comp = {1, 1, 2, 3, 4};
    expected.tilt_comp = {2, -1, -2, -3, -4};
    expected.x_comp = {3, 0.5f, 1.5f, 2.5f, 3.5f};
    expected.y_comp = {-1, 8, 16, 32, 64};
    expected.center_pan = -33.5f;
    expected.center_tilt = -45.25f;
    expect_same(*ctx, expected);
}

TEST(OvistaConfigLoad, NonNumericCompensatorTypeMeansNoCorrection) {
    TempRoot root;
    OvistaPtr ctx = create_from(root, "[x_comp]\ntype = quadratic\nA = 2\n");
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->x_comp.type, 0);
    EXPECT_EQ(ctx->x_comp.A, 2.0f);
}

TEST(OvistaConfigLoad, NonNumericTypeAfterAValidOneStillGivesZero) {
    TempRoot root;
    // The type is read into a value that starts at 0, not into the field.
    OvistaPtr ctx = create_from(root, "[x_comp]\ntype = 2\ntype = none\n");
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->x_comp.type, 0);
}

TEST(OvistaConfigLoad, UnconvertibleFloatKeepsThePreviousValue) {
    TempRoot root;
    OvistaPtr ctx = create_from(root,
                                "[lens_charac]\nfield_angle = wide\ncenter_x = 0.25\ncenter_x = ?\n"
                                "[common]\novista_center_tilt =\n");
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->field_angle, 99.0f);
    EXPECT_EQ(ctx->center_x, 0.25f);
    EXPECT_EQ(ctx->center_tilt, -90.0f);
}

TEST(OvistaConfigLoad, LeadingNumberOfAValueIsTaken) {
    TempRoot root;
    OvistaPtr ctx = create_from(root, "[lens_charac]\nfield_angle = 101.5deg\n[pan_comp]\ntype = 2nd\n");
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->field_angle, 101.5f);
    EXPECT_EQ(ctx->pan_comp.type, 2);
}

TEST(OvistaConfigLoad, NamesMatchExactlyAndCaseSensitively) {
    TempRoot root;
    OvistaPtr ctx = create_from(root,
                                "[Common]\novista_center_pan = 5\n[common]\nOvista_Center_Pan = 6\n"
                                "[lens]\nfield_angle = 7\n[lens_charac]\nfield_angle_deg = 8\n"
                                "[pan_comp]\na = 9\nTYPE = 1\n[z_comp]\ntype = 1\n");
    ASSERT_NE(ctx, nullptr);
    expect_same(*ctx, defaults());
}

TEST(OvistaConfigLoad, DuplicateKeysAndGroupsTakeTheLastValue) {
    TempRoot root;
    OvistaPtr ctx = create_from(root,
                                "[common]\novista_center_pan = 1\n[lens_charac]\nfield_angle = 80\n"
                                "[common]\novista_center_pan = 2\novista_center_pan = 3\n"
                                "[lens_charac]\nfield_angle = 90\n");
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->center_pan, 3.0f);
    EXPECT_EQ(ctx->field_angle, 90.0f);
}

TEST(OvistaConfigLoad, NanAndInfinityTextsGiveThoseValues) {
    TempRoot root;
    OvistaPtr ctx = create_from(root,
                                "[common]\novista_center_pan = nan\novista_center_tilt = -inf\n"
                                "[lens_charac]\ncenter_x = INF\ncenter_y = -NaN\nradius_x = infinity\n");
    ASSERT_NE(ctx, nullptr);
    EXPECT_TRUE(std::isnan(ctx->center_pan));
    EXPECT_EQ(ctx->center_tilt, -kInf);
    EXPECT_EQ(ctx->center_x, kInf);
    EXPECT_TRUE(std::isnan(ctx->center_y));
    EXPECT_EQ(ctx->radius_x, kInf);
}

TEST(OvistaConfigLoad, HugeNumbersSaturateInsteadOfOverflowing) {
    TempRoot root;
    OvistaPtr ctx = create_from(root,
                                "[common]\novista_center_pan = 1e999\novista_center_tilt = -1e40\n"
                                "[lens_charac]\nfield_angle = 1e-999\n"
                                "[pan_comp]\ntype = 99999999999999999999999\n"
                                "[tilt_comp]\ntype = -4294967297\n[x_comp]\ntype = 2147483647\n");
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->center_pan, kInf);
    EXPECT_EQ(ctx->center_tilt, -kInf);
    EXPECT_EQ(ctx->field_angle, 0.0f);
    EXPECT_EQ(ctx->pan_comp.type, INT32_MAX);
    EXPECT_EQ(ctx->tilt_comp.type, INT32_MIN);
    EXPECT_EQ(ctx->x_comp.type, INT32_MAX);
}

TEST(OvistaConfigLoad, GarbageGivesDefaults) {
    TempRoot root;
    std::string garbage = "\x01\x02[\xff\xfe]\n=\n==\n[]\nkey\n[common\novista_center_pan\n\t\r\n";
    for (int i = 0; i < 256; ++i) garbage.push_back(static_cast<char>((i * 37 + 11) & 0xFF));
    OvistaPtr ctx = create_from(root, garbage);
    ASSERT_NE(ctx, nullptr);
    expect_same(*ctx, defaults());
}

TEST(OvistaConfigLoad, EmptyFileGivesDefaults) {
    TempRoot root;
    OvistaPtr ctx = create_from(root, "");
    ASSERT_NE(ctx, nullptr);
    expect_same(*ctx, defaults());
    EXPECT_TRUE(viewgeo::platform::captured_log().empty());
}

TEST(OvistaConfigLoad, EntriesOfMissingGroupsKeepDefaults) {
    TempRoot root;
    OvistaPtr ctx = create_from(root, "ovista_center_pan = 5\nfield_angle = 7\ntype = 1\n");
    ASSERT_NE(ctx, nullptr);
    expect_same(*ctx, defaults());
}

TEST(OvistaConfigLoad, FileTooLargeForTheReaderGivesNull) {
    TempRoot root;
    std::string big = "[lens_charac]\n";
    while (big.size() <= 1024 * 1024) big += "; padding padding padding padding padding padding padding\n";
    root.write(kConf, big);
    EXPECT_EQ(viewgeo_ovista_context_create(), nullptr);
    ASSERT_EQ(viewgeo::platform::captured_log().size(), 1u);
    EXPECT_EQ(viewgeo::platform::captured_log()[0], "Failed to load viewgeo_ovista_context at /etc/viewgeo/ovista.conf.");
}

TEST(OvistaConfigLoad, LoadConfAllocatesWhenGivenNull) {
    TempRoot root;
    root.write("/etc/viewgeo/other.conf", "[common]\novista_center_tilt = 10\n");
    viewgeo_ovista_context *ctx = nullptr;
    load_conf(&ctx, "/etc/viewgeo/other.conf");
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->center_tilt, 10.0f);
    viewgeo_ovista_context_delete(ctx);
}

TEST(OvistaConfigLoad, LoadConfResetsAGivenContextToDefaultsFirst) {
    TempRoot root;
    root.write("/etc/viewgeo/other.conf", "[common]\novista_center_tilt = 10\n");
    auto *ctx = static_cast<viewgeo_ovista_context *>(std::malloc(sizeof(viewgeo_ovista_context)));
    ASSERT_NE(ctx, nullptr);
    *ctx = defaults();
    ctx->rotation = 90;
    ctx->mirror = 1;
    ctx->field_angle = 45.0f;
    ctx->pan_comp = {2, 1, 1, 1, 1};
    viewgeo_ovista_context *given = ctx;
    load_conf(&ctx, "/etc/viewgeo/other.conf");
    ASSERT_EQ(ctx, given);
    viewgeo_ovista_context expected = defaults();
    expected.center_tilt = 10.0f;
    expect_same(*ctx, expected);
    load_conf(&ctx, "/etc/viewgeo/missing.conf");
    ASSERT_EQ(ctx, given);
    expect_same(*ctx, defaults());
    viewgeo_ovista_context_delete(ctx);
}

TEST(OvistaConfigLoad, LoadConfFreesTheContextWhenTheFileCannotBeRead) {
    TempRoot root;
    root.make_dir("/etc/viewgeo/dir.conf");
    viewgeo_ovista_context *ctx = nullptr;
    load_conf(&ctx, "/etc/viewgeo/dir.conf");
    EXPECT_EQ(ctx, nullptr);
    ASSERT_EQ(viewgeo::platform::captured_log().size(), 1u);
    EXPECT_EQ(viewgeo::platform::captured_log()[0], "Failed to load viewgeo_ovista_context at /etc/viewgeo/dir.conf.");
}

TEST(OvistaConfigLoad, GroupLoadersTakeOneEntry) {
    viewgeo_ovista_context ctx = defaults();
    load_common_group(&ctx, "ovista_center_pan", "17.25");
    load_common_group(&ctx, "field_angle", "1");  // not a key of this group
    load_common_group(&ctx, "ovista_center_tilt", nullptr);
    load_lens_group(&ctx, "radius_y", "0.5");
    load_lens_group(&ctx, "ovista_center_tilt", "1");
    load_compensator(&ctx.tilt_comp, "type", "1");
    load_compensator(&ctx.tilt_comp, "C", "-2.5");
    load_compensator(&ctx.tilt_comp, "E", "7");
    load_compensator(&ctx.y_comp, "type", nullptr);
    viewgeo_ovista_context expected = defaults();
    expected.center_pan = 17.25f;
    expected.radius_y = 0.5f;
    expected.tilt_comp = {1, 0, 0, -2.5f, 0};
    expect_same(ctx, expected);
}

TEST(OvistaConfigLoad, NullTypeValueMeansNoCorrection) {
    viewgeo_ovista_compensator comp = {2, 1, 1, 1, 1};
    load_compensator(&comp, "type", nullptr);
    EXPECT_EQ(comp.type, 0);
}

TEST(OvistaFileExists, ReportsPresenceOfAFileOrDirectory) {
    TempRoot root;
    EXPECT_EQ(file_exists(kConf), 0);
    root.write(kConf, "");
    EXPECT_NE(file_exists(kConf), 0);
    EXPECT_NE(file_exists("/etc/viewgeo"), 0);
}

}  // namespace
