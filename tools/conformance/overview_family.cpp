// The overview camera: movement compensators and the projections between
// fisheye pixels and PTZ pan/tilt.
#include <string>

#include "conformance.h"
#include "families.h"

namespace conformance {
namespace {

// The overview record as words: centre x and y, field angle, radius x and y
// (floats), rotation and mirror, four compensators of type and A to D, the
// axis pan and tilt (floats); then the picture width and height of the view.
const std::string kCompensatorKinds = "iffff";
const std::string kOverviewKinds = "fffffii" + kCompensatorKinds + kCompensatorKinds + kCompensatorKinds +
                                   kCompensatorKinds + "ff" + "ii";
constexpr std::size_t kOverviewWords = 7 + 4 * 5 + 2 + 2;

// Small coefficients, as a calibration of a few degrees or pixels gives.
void sample_compensator(Rng &rng, Words &out) {
    const int r = rng.range(0, 99);
    const std::int32_t type = r < 40 ? 0 : r < 68 ? 1 : r < 96 ? 2 : rng.pick({3, -1});
    out.push_back(word(type));
    out.push_back(bits(rng.uniform(-2e-5f, 2e-5f)));
    out.push_back(bits(rng.uniform(-2e-3f, 2e-3f)));
    out.push_back(bits(rng.uniform(-0.2f, 0.2f)));
    out.push_back(bits(rng.uniform(-3.0f, 3.0f)));
}

void sample_overview(Rng &rng, Words &out) {
    const bool standard = rng.chance(30);
    out.push_back(bits(standard ? 0.5f : rng.uniform(0.4f, 0.6f)));
    out.push_back(bits(standard ? 0.5f : rng.uniform(0.4f, 0.6f)));
    out.push_back(bits(standard ? 99.0f : rng.chance(97) ? rng.uniform(60.0f, 120.0f) : rng.pick({0.0f, 180.0f})));
    out.push_back(bits(standard ? 0.3046875f : rng.chance(97) ? rng.uniform(0.2f, 0.5f) : 0.0f));
    out.push_back(bits(standard ? 0.541666687f : rng.uniform(0.3f, 0.6f)));
    out.push_back(word(rng.chance(60) ? 0 : rng.chance(80) ? rng.range(-180, 360) : rng.range(-1000, 1000)));
    out.push_back(word(rng.chance(70) ? 0 : rng.pick({1, -1, 2})));
    for (int i = 0; i < 4; ++i) sample_compensator(rng, out);
    out.push_back(bits(standard ? 0.0f : rng.angle(-180.0f, 180.0f)));
    out.push_back(bits(standard ? -90.0f : rng.chance(80) ? rng.uniform(-95.0f, -30.0f) : rng.angle(-180.0f, 180.0f)));
    static const std::int32_t kWidths[] = {1920, 2048, 2560, 1280, 0};
    const std::int32_t w = rng.chance(97) ? rng.pick(kWidths) : rng.range(1, 5000);
    out.push_back(word(w));
    out.push_back(word(w == 2048 || w == 2560 ? w : w * 9 / 16));
}

viewgeo_ovista_compensator compensator_of(const Words &in, std::size_t at) {
    return {int_of(in[at]), from_bits(in[at + 1]), from_bits(in[at + 2]), from_bits(in[at + 3]), from_bits(in[at + 4])};
}

viewgeo_ovista_context overview_of(const Words &in) {
    viewgeo_ovista_context o{};
    o.center_x = from_bits(in[0]);
    o.center_y = from_bits(in[1]);
    o.field_angle = from_bits(in[2]);
    o.radius_x = from_bits(in[3]);
    o.radius_y = from_bits(in[4]);
    o.rotation = int_of(in[5]);
    o.mirror = int_of(in[6]);
    o.pan_comp = compensator_of(in, 7);
    o.tilt_comp = compensator_of(in, 12);
    o.x_comp = compensator_of(in, 17);
    o.y_comp = compensator_of(in, 22);
    o.center_pan = from_bits(in[27]);
    o.center_tilt = from_bits(in[28]);
    return o;
}

viewgeo_context picture_of(const Words &in) {
    viewgeo_context v{};
    viewgeo_set_pic_dim(&v, int_of(in[29]), int_of(in[30]));
    return v;
}

Words sample_overview_pixel(Rng &rng) {
    Words in;
    sample_overview(rng, in);
    const std::int32_t w = int_of(in[29]) > 0 ? int_of(in[29]) : 1920;
    const std::int32_t h = int_of(in[30]) > 0 ? int_of(in[30]) : 1080;
    if (rng.chance(5)) {
        // The exact centre, where the direction is undefined.
        in.push_back(word(static_cast<std::int32_t>(static_cast<float>(w) * from_bits(in[0]))));
        in.push_back(word(static_cast<std::int32_t>(static_cast<float>(h) * from_bits(in[1]))));
    } else {
        in.push_back(word(sample_pixel(rng, w)));
        in.push_back(word(sample_pixel(rng, h)));
    }
    return in;
}

Words sample_overview_direction(Rng &rng) {
    Words in;
    sample_overview(rng, in);
    const float pan = from_bits(in[27]);
    const float tilt = from_bits(in[28]);
    if (rng.chance(5)) {
        in.push_back(bits(pan));
        in.push_back(bits(tilt));
    } else if (rng.chance(60)) {
        in.push_back(bits(rng.angle(-180.0f, 180.0f)));
        in.push_back(bits(tilt + rng.uniform(0.0f, 100.0f)));
    } else {
        in.push_back(bits(rng.angle(-180.0f, 180.0f)));
        in.push_back(bits(rng.angle(-90.0f, 90.0f)));
    }
    return in;
}

float small(Rng &rng, float limit) { return rng.chance(97) ? rng.uniform(-limit, limit) : rng.angle(-1e3f, 1e3f); }

}  // namespace

Family overview_family() {
    return {"overview",
            "compensators; projections with overview words (circle, rotation, mirror, 4 compensators, axis, picture size)",
            {
                {"compensate_quadr", "ffff", "f",
                 [](const Words &in) {
                     return Words{bits(compensate_quadr(from_bits(in[0]), from_bits(in[1]), from_bits(in[2]), from_bits(in[3])))};
                 },
                 [](Rng &rng) { return Words{bits(rng.angle(-180.0f, 180.0f)), bits(small(rng, 1e-3f)), bits(small(rng, 0.1f)), bits(small(rng, 5.0f))}; },
                 500},
                {"compensate_cubic", "fffff", "f",
                 [](const Words &in) {
                     return Words{bits(compensate_cubic(from_bits(in[0]), from_bits(in[1]), from_bits(in[2]), from_bits(in[3]), from_bits(in[4])))};
                 },
                 [](Rng &rng) {
                     return Words{bits(rng.angle(-180.0f, 180.0f)), bits(small(rng, 1e-5f)), bits(small(rng, 1e-3f)),
                                  bits(small(rng, 0.1f)), bits(small(rng, 5.0f))};
                 },
                 500},
                {"compensate_error", "iffff" "f", "f",
                 [](const Words &in) {
                     const viewgeo_ovista_compensator c = compensator_of(in, 0);
                     return Words{bits(compensate_error(&c, from_bits(in[5])))};
                 },
                 [](Rng &rng) {
                     Words in;
                     sample_compensator(rng, in);
                     in.push_back(bits(rng.angle(-180.0f, 180.0f)));
                     return in;
                 },
                 500},
                {"movement_dir", "ii", "i",
                 [](const Words &in) { return Words{word(ovista_get_movement_dir(int_of(in[0]), int_of(in[1])))}; },
                 [](Rng &rng) {
                     return Words{word(rng.chance(20) ? rng.range(-1, 1) : rng.range(-1000, 1000)),
                                  word(rng.chance(20) ? rng.range(-1, 1) : rng.range(-1000, 1000))};
                 },
                 300},
                {"ovista_to_ptz_f_rel", kOverviewKinds + "ii", "ff",
                 [](const Words &in) {
                     const viewgeo_ovista_context o = overview_of(in);
                     const viewgeo_context v = picture_of(in);
                     float pan = 0.0f, tilt = 0.0f;
                     viewgeo_ovista_to_ptz_f_rel(&o, &v, &pan, &tilt, int_of(in[kOverviewWords]), int_of(in[kOverviewWords + 1]));
                     return Words{bits(pan), bits(tilt)};
                 },
                 sample_overview_pixel, 1200},
                {"ovista_to_ptz_f", kOverviewKinds + "ii", "ff",
                 [](const Words &in) {
                     const viewgeo_ovista_context o = overview_of(in);
                     const viewgeo_context v = picture_of(in);
                     float pan = 0.0f, tilt = 0.0f;
                     viewgeo_ovista_to_ptz_f(&o, &v, &pan, &tilt, int_of(in[kOverviewWords]), int_of(in[kOverviewWords + 1]));
                     return Words{bits(pan), bits(tilt)};
                 },
                 sample_overview_pixel, 1200,
                 [](const Words &in) {
                     const viewgeo_ovista_context o = overview_of(in);
                     const viewgeo_context v = picture_of(in);
                     return through_array<int, float, float>(
                         int_of(in[kOverviewWords]), int_of(in[kOverviewWords + 1]),
                         [&](std::size_t n, const int *x, const int *y, float *pan, float *tilt) {
                             viewgeo_ovista_to_ptz_f_array(&o, &v, n, x, y, pan, tilt);
                         });
                 }},
                {"ovista_to_pixel_f", kOverviewKinds + "ff", "ii",
                 [](const Words &in) {
                     const viewgeo_ovista_context o = overview_of(in);
                     const viewgeo_context v = picture_of(in);
                     int x = 0, y = 0;
                     viewgeo_ovista_to_pixel_f(&o, &v, from_bits(in[kOverviewWords]), from_bits(in[kOverviewWords + 1]), &x, &y);
                     return Words{word(x), word(y)};
                 },
                 sample_overview_direction, 1200,
                 [](const Words &in) {
                     const viewgeo_ovista_context o = overview_of(in);
                     const viewgeo_context v = picture_of(in);
                     return through_array<float, int, int>(
                         from_bits(in[kOverviewWords]), from_bits(in[kOverviewWords + 1]),
                         [&](std::size_t n, const float *pan, const float *tilt, int *x, int *y) {
                             viewgeo_ovista_to_pixel_f_array(&o, &v, n, pan, tilt, x, y);
                         });
                 }},
            }};
}

}  // namespace conformance
