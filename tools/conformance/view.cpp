// The PTZ camera's view as input words, drawn like the views cameras use.
#include <cmath>

#include "conformance.h"

namespace conformance {
namespace {

std::int32_t q16_of(float degrees) {
    return static_cast<std::int32_t>(std::lround(static_cast<double>(degrees) * 65536.0));
}

struct Size {
    std::int32_t w;
    std::int32_t h;
};

}  // namespace

void sample_view(Rng &rng, Words &out) {
    static const Size kSizes[] = {{1920, 1080}, {1280, 720}, {704, 576}, {640, 480},
                                  {352, 288},   {1080, 1920}, {3840, 2160}, {800, 600}};
    static const std::int32_t kRotations[] = {0, 90, 180, 270, 360};
    static const std::int32_t kOddRotations[] = {45, -90, 1, 450};

    const std::int32_t pan = rng.angle_x(-180.0f, 180.0f);
    const std::int32_t tilt = rng.chance(88) ? rng.angle_x(-90.0f, 90.0f) : rng.angle_x(-180.0f, 180.0f);

    std::int32_t hfov = 0;
    const int f = rng.range(0, 99);
    if (f < 82) {
        hfov = q16_of(rng.uniform(0.5f, 120.0f));
    } else if (f < 86) {
        hfov = 0;
    } else if (f < 91) {
        hfov = rng.pick({1, q16_of(180.0f), q16_of(360.0f), q16_of(100.0f), q16_of(0.01f)});
    } else if (f < 96) {
        hfov = q16_of(rng.uniform(120.0f, 359.0f));
    } else {
        hfov = -q16_of(rng.uniform(0.5f, 120.0f));
    }
    const bool vfov_set = rng.chance(20);
    const std::int32_t vfov = vfov_set ? (rng.chance(95) ? q16_of(rng.uniform(0.3f, 100.0f)) : 0) : 0;

    Size size = rng.pick(kSizes);
    const int s = rng.range(0, 99);
    if (s < 10) {
        size = {rng.range(1, 4000), rng.range(1, 4000)};
    } else if (s < 12) {
        size.w = 0;
    } else if (s < 14) {
        size.h = 0;
    } else if (s < 15) {
        size = {rng.range(32768, 70000), rng.range(32768, 70000)};
    }
    const std::int32_t rotation = rng.chance(96) ? rng.pick(kRotations) : rng.pick(kOddRotations);
    const std::int32_t lens = rng.chance(95) ? rng.range(0, 2) : rng.pick({7, -1});
    const std::int32_t dewarp = rng.chance(12) ? 1 : 0;

    for (std::int32_t v : {pan, tilt, hfov, vfov, static_cast<std::int32_t>(vfov_set), size.w, size.h,
                           rotation, lens, dewarp}) {
        out.push_back(word(v));
    }
}

viewgeo_context view_of(const Words &in, std::size_t at) {
    viewgeo_context ctx{};
    ctx.pan = int_of(in[at + 0]);
    ctx.tilt = int_of(in[at + 1]);
    ctx.horiz_fov = int_of(in[at + 2]);
    ctx.vert_fov = int_of(in[at + 3]);
    ctx.vert_fov_set = in[at + 4] != 0;
    ctx.pic_width = int_of(in[at + 5]);
    ctx.pic_height = int_of(in[at + 6]);
    ctx.pic_rot = int_of(in[at + 7]);
    ctx.projection_type = int_of(in[at + 8]);
    ctx.dewarp_status = int_of(in[at + 9]);
    return ctx;
}

std::int32_t sample_pixel(Rng &rng, std::int32_t size) {
    const int r = rng.range(0, 99);
    const std::int32_t s = size > 0 && size < 100000 ? size : 1920;
    if (r < 85) return rng.range(-s / 4, s + s / 4);
    if (r < 90) return s / 2;
    if (r < 95) return rng.pick({0, s - 1, s, -1});
    return rng.range(-100000, 100000);
}

}  // namespace conformance
