// Remote camera: pixel to remote pan/tilt and the search back from a remote
// pan/tilt to a pixel, with and without misalignment data on disk, set
// against the pure projection work of the same search.
//
// Files live in a private directory (the test build of the library resolves
// every path below it). Argument 0/1 of each benchmark: misalignment data
// file absent/present.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/paths.h"
#include "remote/remote_to_pixel.h"
#include "remote/subview.h"
#include "viewgeo.h"

namespace {

namespace fsys = std::filesystem;

constexpr std::int32_t deg(int d) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(d) << 16); }

// A private root with the calibration file and, on request, misalignment data.
class Files {
public:
    explicit Files(bool misalignment) {
        std::string pattern = (fsys::temp_directory_path() / "viewgeo-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        root_ = pattern;
        write("/etc/viewgeo/remoteptz.conf",
              "[channel_1]\ncenter_pan = 20.000000\ncenter_tilt = -10.000000\n"
              "calibration_status = 1\nauto_calibrated = 0\n[lens_fov]\nvfov = 40.0\n");
        if (misalignment) {
            write("/var/run/ptz/mo_data_file",
                  "PTZCAL_MECH_OFFSET=12,-7\n"
                  "PTZCAL_OPT_OFFSET=0,3,4;4096,5,6;8192,7,8;12288,9,10;16384,11,12\n"
                  "PAN_ROTATION_STEPS=36000\nTILT_ROTATION_STEPS=36000\n");
        }
        fsys::create_directories(root_ + "/usr/share/viewgeo");
        viewgeo::platform::set_test_root(root_);
    }
    ~Files() {
        viewgeo::platform::set_test_root("");
        std::error_code ignored;
        fsys::remove_all(root_, ignored);
    }

private:
    void write(const std::string &logical, const std::string &text) {
        fsys::create_directories(fsys::path(root_ + logical).parent_path());
        std::ofstream(root_ + logical) << text;
    }
    std::string root_;
};

// The main view: 1920 x 1080, narrow (60 degrees) or wide (120 degrees),
// holding the centre of channel 1.
viewgeo_context *main_view(bool wide) {
    viewgeo_context *ctx = viewgeo_context_create();
    viewgeo_set_pic_dim(ctx, 1920, 1080);
    viewgeo_set_horiz_fov_x(ctx, wide ? deg(120) : deg(60));
    viewgeo_set_vert_fov_x(ctx, wide ? deg(70) : deg(35));
    viewgeo_set_pantilt_x(ctx, deg(20), deg(-10));
    return ctx;
}

// Remote pointing across a row of the main picture.
void point_remote_camera(benchmark::State &state, bool wide) {
    Files files(state.range(0) != 0);
    viewgeo_context *ctx = main_view(wide);
    std::int32_t pan = 0, tilt = 0, x = 0;
    for (auto _ : state) {
        viewgeo_to_remote_ptz(ctx, &pan, &tilt, 300 + (x++ & 1023), 700);
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    }
    viewgeo_context_delete(ctx);
}

void BM_ToRemotePtzNarrow(benchmark::State &state) { point_remote_camera(state, false); }
BENCHMARK(BM_ToRemotePtzNarrow)->Arg(0)->Arg(1);

// One wide-path evaluation as the library does it: one test of the lens
// flag file, a sub-view context without misalignment data, the projection.
void BM_ToRemotePtzWide(benchmark::State &state) { point_remote_camera(state, true); }
BENCHMARK(BM_ToRemotePtzWide)->Arg(0)->Arg(1);

// The same evaluation with the sub-view made by viewgeo_context_create(),
// which also tests the flag file and reads the misalignment data: what each
// of the search's evaluations would cost that way.
void BM_ToRemotePtzWideThroughContextCreate(benchmark::State &state) {
    Files files(state.range(0) != 0);
    viewgeo_context *ctx = main_view(true);
    std::int32_t pan = 0, tilt = 0, x = 0;
    for (auto _ : state) {
        const std::int32_t px = 300 + (x++ & 1023);
        viewgeo_context *sub = viewgeo_context_create();
        const viewgeo::SubviewSpan sx = viewgeo::subview_span(px, 1920);
        const viewgeo::SubviewSpan sy = viewgeo::subview_span(700, 1080);
        std::int32_t hf = 0, vf = 0;
        viewgeo::get_subview_fov(ctx, &hf, &vf, sx.size, sy.size, px, 700);
        viewgeo_set_pantilt_x(sub, ctx->pan, ctx->tilt);
        viewgeo_set_pic_rot(sub, ctx->pic_rot);
        viewgeo_set_pic_dim(sub, sx.size, sy.size);
        viewgeo_set_horiz_fov_x(sub, hf);
        viewgeo_set_vert_fov_x(sub, vf);
        viewgeo_to_ptz_x(sub, &pan, &tilt, sx.corner, sy.corner);
        viewgeo_context_delete(sub);
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    }
    viewgeo_context_delete(ctx);
}
BENCHMARK(BM_ToRemotePtzWideThroughContextCreate)->Arg(0)->Arg(1);

void BM_RemoteToPixelNarrow(benchmark::State &state) {
    Files files(state.range(0) != 0);
    viewgeo_context *ctx = main_view(false);
    std::int32_t x = 0, y = 0;
    for (auto _ : state) {
        viewgeo_remote_to_pixel(ctx, &x, &y, deg(35), deg(-5), 1);
        benchmark::DoNotOptimize(x);
    }
    viewgeo_context_delete(ctx);
}
BENCHMARK(BM_RemoteToPixelNarrow)->Arg(0)->Arg(1);

// Targets of the wide search (centre pan 20, tilt -10, 120 x 70 degrees):
// a typical one (38 evaluations), the longest successful one of a 1-degree
// grid over the picture (72), one that never settles (all 151, then -1) and
// one outside the picture (5, leaving it twice).
struct Target {
    std::int32_t pan, tilt;
};
constexpr Target kTypical{deg(45), deg(-25)};
constexpr Target kLongest{deg(57), deg(-45)};
constexpr Target kExhausted{deg(42), deg(-35)};
constexpr Target kOutside{deg(170), deg(-10)};

void remote_to_pixel_wide(benchmark::State &state, Target target) {
    Files files(state.range(0) != 0);
    viewgeo_context *ctx = main_view(true);
    std::int32_t x = 0, y = 0;
    int evaluations = 0;
    {
        viewgeo::SubviewLens lens;
        viewgeo::search_wide(ctx, lens, &x, &y, target.pan, target.tilt, &evaluations);
    }
    for (auto _ : state) {
        viewgeo_remote_to_pixel(ctx, &x, &y, target.pan, target.tilt, 1);
        benchmark::DoNotOptimize(x);
    }
    state.counters["evaluations"] = evaluations;
    viewgeo_context_delete(ctx);
}

// The same search with the centre already in the context and the lens model
// known: no file access at all, only the projection work.
void search_projection_only(benchmark::State &state, Target target) {
    Files files(false);
    viewgeo_context *ctx = main_view(true);
    viewgeo::SubviewLens lens;
    std::int32_t x = 0, y = 0;
    int evaluations = 0;
    for (auto _ : state) {
        viewgeo::search_wide(ctx, lens, &x, &y, target.pan, target.tilt, &evaluations);
        benchmark::DoNotOptimize(x);
    }
    state.counters["evaluations"] = evaluations;
    viewgeo_context_delete(ctx);
}

void BM_RemoteToPixelWideTypical(benchmark::State &state) { remote_to_pixel_wide(state, kTypical); }
void BM_RemoteToPixelWideLongest(benchmark::State &state) { remote_to_pixel_wide(state, kLongest); }
void BM_RemoteToPixelWideExhausted(benchmark::State &state) { remote_to_pixel_wide(state, kExhausted); }
void BM_RemoteToPixelWideOutside(benchmark::State &state) { remote_to_pixel_wide(state, kOutside); }
void BM_SearchProjectionOnlyTypical(benchmark::State &state) { search_projection_only(state, kTypical); }
void BM_SearchProjectionOnlyLongest(benchmark::State &state) { search_projection_only(state, kLongest); }
void BM_SearchProjectionOnlyExhausted(benchmark::State &state) { search_projection_only(state, kExhausted); }
void BM_SearchProjectionOnlyOutside(benchmark::State &state) { search_projection_only(state, kOutside); }
BENCHMARK(BM_RemoteToPixelWideTypical)->Arg(0)->Arg(1);
BENCHMARK(BM_RemoteToPixelWideLongest)->Arg(0)->Arg(1);
BENCHMARK(BM_RemoteToPixelWideExhausted)->Arg(0)->Arg(1);
BENCHMARK(BM_RemoteToPixelWideOutside)->Arg(0)->Arg(1);
BENCHMARK(BM_SearchProjectionOnlyTypical);
BENCHMARK(BM_SearchProjectionOnlyLongest);
BENCHMARK(BM_SearchProjectionOnlyExhausted);
BENCHMARK(BM_SearchProjectionOnlyOutside);

// The file access of one query on its own: the centre read.
void BM_RemoteCenterRead(benchmark::State &state) {
    Files files(false);
    viewgeo_context *ctx = main_view(true);
    for (auto _ : state) benchmark::DoNotOptimize(viewgeo_get_remote_center(ctx, 1));
    viewgeo_context_delete(ctx);
}
BENCHMARK(BM_RemoteCenterRead);

}  // namespace
