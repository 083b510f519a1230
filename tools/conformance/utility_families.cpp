// The angle and zoom utilities, both forms.
#include <cmath>

#include "conformance.h"
#include "families.h"

namespace conformance {
namespace {

std::int32_t q16_of(float v) { return static_cast<std::int32_t>(std::lround(static_cast<double>(v) * 65536.0)); }

// A field of view in degrees: mostly a lens's, sometimes a boundary value.
float fov(Rng &rng) {
    if (rng.chance(85)) return rng.uniform(0.5f, 120.0f);
    return rng.angle(0.0f, 180.0f);
}

// A zoom factor: mostly 1 to 40, sometimes below 1, rarely 0 or negative.
float zoom(Rng &rng) {
    const int r = rng.range(0, 99);
    if (r < 80) return rng.uniform(1.0f, 40.0f);
    if (r < 92) return rng.uniform(0.01f, 1.0f);
    if (r < 96) return rng.pick({0.0f, 1.0f, -1.0f, 1e-5f});
    return rng.uniform(-40.0f, 0.0f);
}

std::int32_t zoom_x(Rng &rng) {
    if (rng.chance(3)) return rng.pick({0, 1, -1, 0x7FFFFFFF});
    return q16_of(zoom(rng));
}

std::int32_t fov_x(Rng &rng) {
    if (rng.chance(3)) return rng.pick({0, 1, -1, q16_of(360.0f), static_cast<std::int32_t>(0x80000000u)});
    return q16_of(std::isfinite(fov(rng)) ? rng.uniform(0.5f, 179.0f) : 90.0f);
}

}  // namespace

Family utilities_family() {
    return {"utilities",
            "pan distance, great circle, zoom magnification and field of view, pan wrap",
            {
                {"get_pan_delta", "ff", "f",
                 [](const Words &in) { return Words{bits(viewgeo_get_pan_delta(from_bits(in[0]), from_bits(in[1])))}; },
                 [](Rng &rng) { return Words{bits(rng.angle(-540.0f, 540.0f)), bits(rng.angle(-540.0f, 540.0f))}; }, 800},
                {"get_pan_delta_x", "ii", "i",
                 [](const Words &in) { return Words{word(viewgeo_get_pan_delta_x(int_of(in[0]), int_of(in[1])))}; },
                 [](Rng &rng) { return Words{word(rng.angle_x(-540.0f, 540.0f)), word(rng.angle_x(-540.0f, 540.0f))}; }, 800},
                {"get_great_circle", "ffff", "f",
                 [](const Words &in) {
                     return Words{bits(viewgeo_get_great_circle(from_bits(in[0]), from_bits(in[1]), from_bits(in[2]), from_bits(in[3])))};
                 },
                 [](Rng &rng) {
                     const float p = rng.angle(-180.0f, 180.0f);
                     const float t = rng.angle(-90.0f, 90.0f);
                     // Close pairs too: the unclamped cosine matters there.
                     if (rng.chance(25)) return Words{bits(p), bits(t), bits(p + rng.uniform(-0.01f, 0.01f)), bits(t + rng.uniform(-0.01f, 0.01f))};
                     if (rng.chance(5)) return Words{bits(p), bits(t), bits(p), bits(t)};
                     return Words{bits(p), bits(t), bits(rng.angle(-180.0f, 180.0f)), bits(rng.angle(-90.0f, 90.0f))};
                 },
                 800},
                {"get_great_circle_x", "iiii", "i",
                 [](const Words &in) {
                     return Words{word(viewgeo_get_great_circle_x(int_of(in[0]), int_of(in[1]), int_of(in[2]), int_of(in[3])))};
                 },
                 [](Rng &rng) {
                     const std::int32_t p = rng.angle_x(-180.0f, 180.0f);
                     const std::int32_t t = rng.angle_x(-90.0f, 90.0f);
                     if (rng.chance(25)) return Words{word(p), word(t), word(p + rng.range(-700, 700)), word(t + rng.range(-700, 700))};
                     return Words{word(p), word(t), word(rng.angle_x(-180.0f, 180.0f)), word(rng.angle_x(-90.0f, 90.0f))};
                 },
                 800},
                {"get_zoom_magnification", "ii", "i",
                 [](const Words &in) { return Words{word(viewgeo_get_zoom_magnification(int_of(in[0]), int_of(in[1])))}; },
                 [](Rng &rng) { return Words{word(fov_x(rng)), word(fov_x(rng))}; }, 800},
                {"get_zoom_fov", "fff", "ff",
                 [](const Words &in) {
                     float a = 0.0f, b = 0.0f;
                     viewgeo_get_zoom_fov(from_bits(in[0]), from_bits(in[1]), from_bits(in[2]), &a, &b);
                     return Words{bits(a), bits(b)};
                 },
                 [](Rng &rng) { return Words{bits(zoom(rng)), bits(fov(rng)), bits(zoom(rng))}; }, 800},
                {"get_zoom_fov_x", "iii", "ii",
                 [](const Words &in) {
                     std::int32_t a = 0, b = 0;
                     viewgeo_get_zoom_fov_x(int_of(in[0]), int_of(in[1]), int_of(in[2]), &a, &b);
                     return Words{word(a), word(b)};
                 },
                 [](Rng &rng) { return Words{word(zoom_x(rng)), word(fov_x(rng)), word(zoom_x(rng))}; }, 800},
                {"wrap_pan", "f", "f",
                 [](const Words &in) { return Words{bits(viewgeo_wrap_pan(from_bits(in[0])))}; },
                 [](Rng &rng) { return Words{bits(rng.angle(-720.0f, 720.0f))}; }, 1000},
            }};
}

}  // namespace conformance
