// The main-camera views the projection benchmarks run on: 1024 views with
// pans anywhere, tilts within +-80 degrees, horizontal fields 2 to 90
// degrees, 1920 x 1080, 1280 x 720 and 704 x 576 pictures, a quarter of them
// turned by 180; each with a pixel inside the picture and a direction that
// is visible in it (the direction of another pixel). Which lenses appear is
// the caller's choice.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "viewgeo.h"

namespace viewgeo::bench {

struct ViewCase {
    viewgeo_context ctx;
    std::int32_t x;  // a pixel inside the picture
    std::int32_t y;
    float pan;  // a direction visible in it
    float tilt;
};

// `lens(gen)` gives each view's projection type from the same generator, so
// a seed and a lens rule always give the same views.
template <class LensOf>
std::vector<ViewCase> make_view_cases(std::uint32_t seed, LensOf lens) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<float> pan(-180.0f, 180.0f), tilt(-80.0f, 80.0f), fov(2.0f, 90.0f);
    const std::int32_t sizes[][2] = {{1920, 1080}, {1280, 720}, {704, 576}};
    std::vector<ViewCase> out;
    for (int i = 0; i < 1024; ++i) {
        ViewCase c{};
        const auto &s = sizes[gen() % 3];
        viewgeo_set_pantilt_f(&c.ctx, pan(gen), tilt(gen));
        viewgeo_set_horiz_fov_f(&c.ctx, fov(gen));
        viewgeo_set_pic_dim(&c.ctx, s[0], s[1]);
        viewgeo_set_projection_type(&c.ctx, static_cast<std::int32_t>(lens(gen)));
        viewgeo_set_pic_rot(&c.ctx, gen() % 4 == 0 ? 180 : 0);
        c.x = static_cast<std::int32_t>(gen() % static_cast<std::uint32_t>(s[0]));
        c.y = static_cast<std::int32_t>(gen() % static_cast<std::uint32_t>(s[1]));
        viewgeo_to_ptz_f(&c.ctx, &c.pan, &c.tilt, static_cast<std::int32_t>(gen() % static_cast<std::uint32_t>(s[0])),
                         static_cast<std::int32_t>(gen() % static_cast<std::uint32_t>(s[1])));
        out.push_back(c);
    }
    return out;
}

}  // namespace viewgeo::bench
