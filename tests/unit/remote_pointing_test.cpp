// Aiming the remote camera: pixel to remote pan/tilt, zoom width, and the
// remote lens's field of view from the calibration file.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>

#include "core/q16.h"
#include "remote/subview.h"
#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

using testing::TempRoot;
using testing::View;

constexpr const char *kConf = "/etc/viewgeo/remoteptz.conf";

using testing::deg;

// The main picture, looking at pan 20, tilt -10.
View main_view(q16 hfov, q16 vfov, std::int32_t w = 1920, std::int32_t h = 1080) {
    return testing::view_of(hfov, vfov, deg(20), deg(-10), w, h);
}

// The sub-view projection done the long way: a context made by
// viewgeo_context_create() and filled with the given sub-view.
void project_subview(const viewgeo_context *main, q16 hf, q16 vf, std::int32_t sw, std::int32_t sh,
                     std::int32_t cx, std::int32_t cy, q16 *pan, q16 *tilt) {
    viewgeo_context *sub = viewgeo_context_create();
    viewgeo_set_pantilt_x(sub, main->pan, main->tilt);
    viewgeo_set_pic_rot(sub, main->pic_rot);
    viewgeo_set_pic_dim(sub, sw, sh);
    viewgeo_set_horiz_fov_x(sub, hf);
    viewgeo_set_vert_fov_x(sub, vf);
    viewgeo_to_ptz_x(sub, pan, tilt, cx, cy);
    viewgeo_context_delete(sub);
}

// --- sub-view size and fields of view ----------------------------------

TEST(SubviewSpan, CentreGivesThreeWithTheCornerAtThree) {
    EXPECT_EQ(subview_span(960, 1920).size, 3);
    EXPECT_EQ(subview_span(960, 1920).corner, 3);
    EXPECT_EQ(subview_span(0, 0).size, 3);
}

TEST(SubviewSpan, RightOfCentreCornerIsTheFarEdge) {
    EXPECT_EQ(subview_span(961, 1920).size, 2);
    EXPECT_EQ(subview_span(961, 1920).corner, 2);
    EXPECT_EQ(subview_span(1920, 1920).size, 1920);
    EXPECT_EQ(subview_span(1920, 1920).corner, 1920);
}

TEST(SubviewSpan, LeftOfCentreCornerIsZero) {
    EXPECT_EQ(subview_span(959, 1920).size, 2);
    EXPECT_EQ(subview_span(959, 1920).corner, 0);
    EXPECT_EQ(subview_span(0, 1920).size, 1920);
    EXPECT_EQ(subview_span(0, 1920).corner, 0);
    // Odd sizes never reach the centre case.
    EXPECT_EQ(subview_span(540, 1081).size, 1);
    EXPECT_EQ(subview_span(540, 1081).corner, 0);
}

TEST(SubviewFov, CentrePixelScalesDegreesPerPixelByOne) {
    // 120 / 1920 = 67.5 / 1080 = 0.0625 degrees per pixel (4096), and on the
    // centre row and column both factors are 0.5 + 0.5.
    const View c = main_view(deg(120), deg(67) + 0x8000);
    q16 hf = 0, vf = 0;
    EXPECT_EQ(get_subview_fov(c.get(), &hf, &vf, 3, 3, 960, 540), 0);
    EXPECT_EQ(hf, 3 * 4096);
    EXPECT_EQ(vf, 3 * 4096);
}

TEST(SubviewFov, OffCentreFactorsFollowTheOtherAxis) {
    // x = 240: dx = 96 - 24 = 72 tenths, r1 = sqrt(72^2 + 54^2) = 90,
    //   q1 = 90 / 108 -> 54613.
    // y = 140: dy = 54 - 14 = 40 tenths, r2 = sqrt(40^2 + 96^2) = 104,
    //   q2 = 104 / 192 -> 35499.
    // tw = (35499 + 32768) * 1440 = 98304480, th = (54613 + 32768) * 800 =
    // 69904800; times 4096 / 65536.
    const View c = main_view(deg(120), deg(67) + 0x8000);
    q16 hf = 0, vf = 0;
    get_subview_fov(c.get(), &hf, &vf, 1440, 800, 240, 140);
    EXPECT_EQ(hf, 6144030);
    EXPECT_EQ(vf, 4369050);
}

TEST(SubviewFov, UsesTheStoredVerticalFieldEvenWhenNotSet) {
    const View c = main_view(deg(120), deg(67) + 0x8000);
    c.get()->vert_fov_set = false;  // the derived field would be about 80 degrees
    q16 hf = 0, vf = 0;
    get_subview_fov(c.get(), &hf, &vf, 3, 3, 960, 540);
    EXPECT_EQ(vf, 3 * 4096);
}

// --- pixel to remote pan/tilt ------------------------------------------

TEST(ToRemotePtz, BelowHundredDegreesIsThePlainProjection) {
    TempRoot root;
    for (q16 hfov : {deg(60), q16_from_float(99.99f), deg(100) - 1}) {
        const View c = main_view(hfov, deg(40));
        for (auto [x, y] : {std::pair{0, 0}, {960, 540}, {1500, 200}, {1919, 1079}}) {
            q16 pan = 0, tilt = 0, want_pan = 0, want_tilt = 0;
            EXPECT_EQ(viewgeo_to_remote_ptz(c.get(), &pan, &tilt, x, y), 0);
            viewgeo_to_ptz_x(c.get(), &want_pan, &want_tilt, x, y);
            EXPECT_EQ(pan, want_pan) << hfov << " " << x << "," << y;
            EXPECT_EQ(tilt, want_tilt) << hfov << " " << x << "," << y;
        }
    }
}

TEST(ToRemotePtz, FromHundredDegreesTheCentreUsesAThreeByThreeSubviewAtItsCorner) {
    TempRoot root;
    const View c = main_view(deg(120), deg(67) + 0x8000);
    q16 pan = 0, tilt = 0, want_pan = 0, want_tilt = 0;
    EXPECT_EQ(viewgeo_to_remote_ptz(c.get(), &pan, &tilt, 960, 540), 0);
    project_subview(c.get(), 3 * 4096, 3 * 4096, 3, 3, 3, 3, &want_pan, &want_tilt);
    EXPECT_EQ(pan, want_pan);
    EXPECT_EQ(tilt, want_tilt);
    // The corner of a 3 x 3 view of 0.1875 degrees is close to the centre.
    EXPECT_NEAR(pan, deg(20), 0.1 * 65536);
    EXPECT_NEAR(tilt, deg(-10), 0.1 * 65536);
}

TEST(ToRemotePtz, ExactlyHundredDegreesTakesTheSubview) {
    TempRoot root;
    const View c = main_view(deg(100), deg(60));
    q16 pan = 0, tilt = 0, plain_pan = 0, plain_tilt = 0, want_pan = 0, want_tilt = 0;
    EXPECT_EQ(viewgeo_to_remote_ptz(c.get(), &pan, &tilt, 240, 140), 0);
    q16 hf = 0, vf = 0;
    get_subview_fov(c.get(), &hf, &vf, 1440, 800, 240, 140);
    project_subview(c.get(), hf, vf, 1440, 800, 0, 0, &want_pan, &want_tilt);
    EXPECT_EQ(pan, want_pan);
    EXPECT_EQ(tilt, want_tilt);
    viewgeo_to_ptz_x(c.get(), &plain_pan, &plain_tilt, 240, 140);
    EXPECT_NE(pan, plain_pan);
}

// The sub-view context must project exactly as one from
// viewgeo_context_create(), whichever lens the flag file selects and
// whether or not misalignment data is present.
class ToRemotePtzWide : public ::testing::TestWithParam<std::pair<bool, bool>> {};

TEST_P(ToRemotePtzWide, MatchesASubviewMadeByContextCreation) {
    TempRoot root;
    const auto [flag, misalignment] = GetParam();
    if (flag) root.write("/usr/share/viewgeo/viewgeo_projection.conf", "");
    if (misalignment) {
        root.write("/var/run/ptz/mo_data_file", "PTZCAL_MECH_OFFSET=10,20\nPTZCAL_OPT_OFFSET=1,2,3\n"
                                                "PAN_ROTATION_STEPS=36000\nTILT_ROTATION_STEPS=36000\n");
    }
    for (int rot : {0, 90, 180, 270}) {
        const View c = main_view(deg(140), deg(80));
        viewgeo_set_pic_rot(c.get(), rot);
        for (int x = 0; x <= 1920; x += 240) {
            for (int y = 0; y <= 1080; y += 180) {
                q16 pan = 0, tilt = 0, want_pan = 0, want_tilt = 0;
                ASSERT_EQ(viewgeo_to_remote_ptz(c.get(), &pan, &tilt, x, y), 0);
                const SubviewSpan sx = subview_span(x, 1920);
                const SubviewSpan sy = subview_span(y, 1080);
                q16 hf = 0, vf = 0;
                get_subview_fov(c.get(), &hf, &vf, sx.size, sy.size, x, y);
                project_subview(c.get(), hf, vf, sx.size, sy.size, sx.corner, sy.corner, &want_pan, &want_tilt);
                if (q16_to_float(want_tilt) < -90.0f) continue;  // folded; covered below
                EXPECT_EQ(pan, want_pan) << rot << " " << x << "," << y;
                EXPECT_EQ(tilt, want_tilt) << rot << " " << x << "," << y;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(FlagAndMisalignment, ToRemotePtzWide,
                         ::testing::Values(std::pair{false, false}, std::pair{true, false}, std::pair{false, true},
                                           std::pair{true, true}));

TEST(ToRemotePtz, WidePathFollowsThePixelAcrossThePicture) {
    TempRoot root;
    const View c = main_view(deg(120), deg(70));
    // Pan grows to the right and tilt upwards, on the centre row and column.
    q16 last = INT32_MIN;
    for (int x = 0; x <= 1920; x += 120) {
        q16 pan = 0, tilt = 0;
        viewgeo_to_remote_ptz(c.get(), &pan, &tilt, x, 540);
        EXPECT_GT(pan, last) << x;
        last = pan;
    }
    last = INT32_MIN;
    for (int y = 1080; y >= 0; y -= 90) {
        q16 pan = 0, tilt = 0;
        viewgeo_to_remote_ptz(c.get(), &pan, &tilt, 960, y);
        EXPECT_GT(tilt, last) << y;
        last = tilt;
    }
}

// With a zero field of view the projection returns the context's pan/tilt,
// which isolates the fold past the nadir.
struct Fold {
    q16 pan_in, tilt_in, pan_out, tilt_out;
};

class ToRemotePtzNadir : public ::testing::TestWithParam<Fold> {};

TEST_P(ToRemotePtzNadir, FoldsTiltsBelowMinusNinetyOnBothPaths) {
    TempRoot root;
    const Fold f = GetParam();
    // Plain path: horizontal field 0.
    const View plain = main_view(0, 0);
    viewgeo_set_pantilt_x(plain.get(), f.pan_in, f.tilt_in);
    q16 pan = 0, tilt = 0;
    EXPECT_EQ(viewgeo_to_remote_ptz(plain.get(), &pan, &tilt, 100, 100), 0);
    EXPECT_EQ(pan, f.pan_out);
    EXPECT_EQ(tilt, f.tilt_out);
    // Wide path: the sub-view gets a zero vertical field.
    const View wide = main_view(deg(120), 0);
    viewgeo_set_pantilt_x(wide.get(), f.pan_in, f.tilt_in);
    EXPECT_EQ(viewgeo_to_remote_ptz(wide.get(), &pan, &tilt, 100, 100), 0);
    EXPECT_EQ(pan, f.pan_out);
    EXPECT_EQ(tilt, f.tilt_out);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ToRemotePtzNadir,
    ::testing::Values(Fold{deg(30), deg(-95), deg(-150), deg(-85)},   // pan turned by -180
                      Fold{deg(-30), deg(-95), deg(150), deg(-85)},   // pan turned by +180
                      Fold{0, deg(-95), deg(-180), deg(-85)},         // 0 counts as positive
                      Fold{deg(10), deg(-90), deg(10), deg(-90)},     // exactly -90 stays
                      Fold{deg(10), deg(-90) - 1, deg(-170), deg(-90) + 1},
                      Fold{deg(170), deg(-180), deg(-10), 0},
                      Fold{deg(10), deg(-89), deg(10), deg(-89)}));

TEST(ToRemotePtz, DoesNotChangeTheContext) {
    TempRoot root;
    const View c = main_view(deg(120), deg(70));
    viewgeo_set_pic_rot(c.get(), 180);
    const viewgeo_context before = *c.get();
    q16 pan = 0, tilt = 0;
    viewgeo_to_remote_ptz(c.get(), &pan, &tilt, 100, 900);
    EXPECT_EQ(c.get()->pan, before.pan);
    EXPECT_EQ(c.get()->tilt, before.tilt);
    EXPECT_EQ(c.get()->pic_rot, 180);
    EXPECT_EQ(c.get()->horiz_fov, before.horiz_fov);
}

// --- zoom width ---------------------------------------------------------

TEST(ToRemoteZoom, WidthZeroGivesZero) {
    const View c = main_view(deg(120), deg(67) + 0x8000);
    for (int x : {0, 500, 960, 1919}) EXPECT_EQ(viewgeo_to_remote_zoom(c.get(), x, 300, 0), 0) << x;
}

TEST(ToRemoteZoom, SpanAcrossTheCentreAddsBothHalves) {
    // Centre row: factor 1, so each side is 200 px * 0.0625 = 12.5 degrees;
    // halved and added: 12.5 degrees (819200).
    const View c = main_view(deg(120), deg(67) + 0x8000);
    EXPECT_EQ(viewgeo_to_remote_zoom(c.get(), 960, 540, 200), 819200);
}

TEST(ToRemoteZoom, SpanOnOneSideIsTheDifferenceOfTheHalves) {
    // xl = 1360: sub-view 800 px, 50 degrees; xr = 1560: 1200 px, 75 degrees.
    // (75 - 50) / 2 = 12.5 degrees.
    const View c = main_view(deg(120), deg(67) + 0x8000);
    EXPECT_EQ(viewgeo_to_remote_zoom(c.get(), 1460, 540, 200), 819200);
    // Mirrored on the left: -50 and -75, the same distance.
    EXPECT_EQ(viewgeo_to_remote_zoom(c.get(), 460, 540, 200), 819200);
}

TEST(ToRemoteZoom, OddWidthUsesTheTruncatedHalf) {
    const View c = main_view(deg(120), deg(67) + 0x8000);
    EXPECT_EQ(viewgeo_to_remote_zoom(c.get(), 960, 540, 201), 819200);
}

TEST(ToRemoteZoom, IsNeverNegativeAndGrowsWithTheWidth) {
    const View c = main_view(deg(90), deg(50));
    for (int x : {100, 700, 960, 1300}) {
        for (int y : {0, 300, 540, 1000}) {
            q16 last = 0;
            for (int w = 2; w <= 400; w += 2) {
                const q16 z = viewgeo_to_remote_zoom(c.get(), x, y, w);
                EXPECT_GE(z, last) << x << "," << y << " " << w;
                last = z;
            }
        }
    }
}

TEST(ToRemoteZoom, WidensAwayFromTheCentreRow) {
    // The horizontal factor grows with the distance of the row from the centre.
    const View c = main_view(deg(120), deg(67) + 0x8000);
    const q16 centre_row = viewgeo_to_remote_zoom(c.get(), 960, 540, 200);
    const q16 top_row = viewgeo_to_remote_zoom(c.get(), 960, 0, 200);
    EXPECT_GT(top_row, centre_row);
}

// --- remote lens field of view -----------------------------------------

TEST(RemoteFov, VfovFortyOnFullHdSetsBothFields) {
    TempRoot root;
    root.write(kConf, "[channel_1]\ncenter_pan = 1\n[lens_fov]\nvfov = 40.0\n");
    const View c = main_view(deg(10), deg(10));
    c.get()->vert_fov_set = false;
    EXPECT_EQ(viewgeo_get_remote_fov(c.get()), 0);
    EXPECT_EQ(c.get()->vert_fov, 2621440);
    EXPECT_TRUE(c.get()->vert_fov_set);
    // 40 * q16_div(1920, 1080) = 40 * 116508 = 4660320 (71.11083984375).
    EXPECT_EQ(c.get()->horiz_fov, 4660320);
}

TEST(RemoteFov, LastValidEntryWins) {
    TempRoot root;
    root.write(kConf, "[lens_fov]\nvfov = 30\nvfov = wide\n[other]\nvfov = 50\n[lens_fov]\nvfov = 25.5\nvfov = \n");
    const View c = main_view(deg(10), deg(10));
    EXPECT_EQ(viewgeo_get_remote_fov(c.get()), 0);
    EXPECT_EQ(c.get()->vert_fov, deg(25) + 0x8000);
}

TEST(RemoteFov, MissingEntryOrFileFailsAndLeavesTheContext) {
    TempRoot root;
    const View c = main_view(deg(10), deg(11));
    EXPECT_EQ(viewgeo_get_remote_fov(c.get()), -1);
    root.write(kConf, "[lens_fov]\nhfov = 40\nvfov = none\n[channel_1]\nvfov = 40\n");
    EXPECT_EQ(viewgeo_get_remote_fov(c.get()), -1);
    EXPECT_EQ(c.get()->horiz_fov, deg(10));
    EXPECT_EQ(c.get()->vert_fov, deg(11));
}

TEST(RemoteFov, ZeroPictureSizeFailsWithoutReading) {
    TempRoot root;
    root.write(kConf, "[lens_fov]\nvfov = 40.0\n");
    for (auto [w, h] : {std::pair{0, 1080}, {1920, 0}, {65536, 65536}, {3, 65536}}) {
        const View c = main_view(deg(10), deg(11), w, h);
        EXPECT_EQ(viewgeo_get_remote_fov(c.get()), -1) << w << "x" << h;
        EXPECT_EQ(c.get()->vert_fov, deg(11));
    }
}

TEST(RemoteFov, RoundsTheValueAsTheSettersDo) {
    TempRoot root;
    root.write(kConf, "[lens_fov]\nvfov = 33.3\n");
    const View c = main_view(deg(10), deg(10), 1280, 720);
    ASSERT_EQ(viewgeo_get_remote_fov(c.get()), 0);
    // 33.3f * 65536 = 2182348.8 -> 2182349; aspect 1280/720 -> 116508.
    EXPECT_EQ(c.get()->vert_fov, 2182349);
    EXPECT_EQ(c.get()->horiz_fov, q16_mul(2182349, 116508));
}

// A field of view no lens has counts as no value: the context keeps its own.
class RemoteFovOutOfRange : public ::testing::TestWithParam<const char *> {};

TEST_P(RemoteFovOutOfRange, IsNoValidVfov) {
    TempRoot root;
    root.write(kConf, std::string("[lens_fov]\nvfov = ") + GetParam() + "\n");
    const View c = main_view(deg(10), deg(10));
    const q16 vert = c.get()->vert_fov;
    const q16 horiz = c.get()->horiz_fov;
    EXPECT_EQ(viewgeo_get_remote_fov(c.get()), -1);
    EXPECT_EQ(c.get()->vert_fov, vert);
    EXPECT_EQ(c.get()->horiz_fov, horiz);
}

INSTANTIATE_TEST_SUITE_P(NonFiniteOrOutside0To180, RemoteFovOutOfRange,
                         ::testing::Values("nan", "-nan", "inf", "-inf", "infinity", "1e39", "1e30", "180", "180.5",
                                           "0", "-0", "-40", "1e-50"));

TEST(RemoteFov, ValidValuesBesideInvalidOnesAreTaken) {
    struct Case {
        const char *lines;
        q16 vfov;
    };
    // An invalid later value does not hide a valid one; just inside the
    // range is valid.
    const Case cases[] = {{"vfov = 40\nvfov = inf\n", deg(40)}, {"vfov = 179.99\nvfov = 180\n", q16_from_float(179.99f)}};
    for (const Case &k : cases) {
        SCOPED_TRACE(k.lines);
        TempRoot root;
        root.write(kConf, std::string("[lens_fov]\n") + k.lines);
        const View c = main_view(deg(10), deg(10));
        ASSERT_EQ(viewgeo_get_remote_fov(c.get()), 0);
        EXPECT_EQ(c.get()->vert_fov, k.vfov);
    }
}

}  // namespace
}  // namespace viewgeo
