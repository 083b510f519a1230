// The projections between pixels and pan/tilt, single precision and Q16.16,
// and the view context's derived values.
#include "conformance.h"
#include "families.h"

namespace conformance {
namespace {

// A direction near the view (so that most of them land in the picture),
// otherwise anywhere.
float near(Rng &rng, std::int32_t centre_x, std::int32_t fov_x, float lo, float hi) {
    if (rng.chance(70)) {
        const float centre = static_cast<float>(centre_x) / 65536.0f;
        const float spread = static_cast<float>(fov_x) / 65536.0f;
        return centre + rng.uniform(-spread, spread);
    }
    return rng.angle(lo, hi);
}

std::int32_t near_x(Rng &rng, std::int32_t centre_x, std::int32_t fov_x, float lo, float hi) {
    if (rng.chance(70)) {
        const std::int32_t spread = fov_x > 0 && fov_x < 0x1680000 ? fov_x : 0x5A0000;
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(centre_x) +
                                         static_cast<std::uint32_t>(rng.range(-spread, spread)));
    }
    return rng.angle_x(lo, hi);
}

// View words plus a pan/tilt pair.
Words sample_direction_f(Rng &rng) {
    Words in;
    sample_view(rng, in);
    in.push_back(bits(near(rng, int_of(in[0]), int_of(in[2]), -180.0f, 180.0f)));
    in.push_back(bits(near(rng, int_of(in[1]), int_of(in[2]), -90.0f, 90.0f)));
    return in;
}

Words sample_direction_x(Rng &rng) {
    Words in;
    sample_view(rng, in);
    in.push_back(word(near_x(rng, int_of(in[0]), int_of(in[2]), -180.0f, 180.0f)));
    in.push_back(word(near_x(rng, int_of(in[1]), int_of(in[2]), -90.0f, 90.0f)));
    return in;
}

// View words plus a pixel.
Words sample_pixel_args(Rng &rng) {
    Words in;
    sample_view(rng, in);
    in.push_back(word(sample_pixel(rng, int_of(in[5]))));
    in.push_back(word(sample_pixel(rng, int_of(in[6]))));
    return in;
}

Words view_only(Rng &rng) {
    Words in;
    sample_view(rng, in);
    return in;
}

constexpr std::size_t kA = kViewWords;  // first argument after the view
constexpr std::size_t kB = kViewWords + 1;

std::int32_t argument(std::uint32_t w, std::int32_t) { return int_of(w); }
float argument(std::uint32_t w, float) { return from_bits(w); }

// A projection's array form on the vector's view and point.
template <class In, class Out>
Words through_view_array(const Words &in,
                         void (*array)(const viewgeo_context *, std::size_t, const In *, const In *, Out *, Out *)) {
    const viewgeo_context ctx = view_of(in, 0);
    return through_array<In, Out, Out>(argument(in[kA], In{}), argument(in[kB], In{}),
                                       [&](std::size_t n, const In *a, const In *b, Out *out_a, Out *out_b) {
                                           array(&ctx, n, a, b, out_a, out_b);
                                       });
}

}  // namespace

Family projection_float_family() {
    return {"projection_float",
            "pixel <-> pan/tilt in single precision: view words, then the arguments",
            {
                {"to_pixel_f", "iiiiiiiiiiff", "ii",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     std::int32_t x = 0, y = 0;
                     viewgeo_to_pixel_f(&ctx, &x, &y, from_bits(in[kA]), from_bits(in[kB]));
                     return Words{word(x), word(y)};
                 },
                 sample_direction_f, 1500,
                 [](const Words &in) { return through_view_array(in, viewgeo_to_pixel_f_array); }},
                {"to_ptz_f", "iiiiiiiiiiii", "ff",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     float pan = 0.0f, tilt = 0.0f;
                     viewgeo_to_ptz_f(&ctx, &pan, &tilt, int_of(in[kA]), int_of(in[kB]));
                     return Words{bits(pan), bits(tilt)};
                 },
                 sample_pixel_args, 1500,
                 [](const Words &in) { return through_view_array(in, viewgeo_to_ptz_f_array); }},
                {"to_ptz_f_rel", "iiiiiiiiiiii", "ff",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     float pan = 0.0f, tilt = 0.0f;
                     viewgeo_to_ptz_f_rel(&ctx, &pan, &tilt, int_of(in[kA]), int_of(in[kB]));
                     return Words{bits(pan), bits(tilt)};
                 },
                 sample_pixel_args, 1500,
                 [](const Words &in) { return through_view_array(in, viewgeo_to_ptz_f_rel_array); }},
            }};
}

Family projection_fixed_family() {
    return {"projection_fixed",
            "pixel <-> pan/tilt in Q16.16: view words, then the arguments",
            {
                {"to_pixel_x", "iiiiiiiiiiii", "ii",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     std::int32_t x = 0, y = 0;
                     viewgeo_to_pixel_x(&ctx, &x, &y, int_of(in[kA]), int_of(in[kB]));
                     return Words{word(x), word(y)};
                 },
                 sample_direction_x, 1500,
                 [](const Words &in) { return through_view_array(in, viewgeo_to_pixel_x_array); }},
                {"to_ptz_x", "iiiiiiiiiiii", "ii",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     std::int32_t pan = 0, tilt = 0;
                     viewgeo_to_ptz_x(&ctx, &pan, &tilt, int_of(in[kA]), int_of(in[kB]));
                     return Words{word(pan), word(tilt)};
                 },
                 sample_pixel_args, 1500,
                 [](const Words &in) { return through_view_array(in, viewgeo_to_ptz_x_array); }},
                {"to_ptz_x_rel", "iiiiiiiiiiii", "ii",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     std::int32_t pan = 0, tilt = 0;
                     viewgeo_to_ptz_x_rel(&ctx, &pan, &tilt, int_of(in[kA]), int_of(in[kB]));
                     return Words{word(pan), word(tilt)};
                 },
                 sample_pixel_args, 1500,
                 [](const Words &in) { return through_view_array(in, viewgeo_to_ptz_x_rel_array); }},
            }};
}

Family view_family() {
    return {"view",
            "the view context's conversions and derived vertical field of view",
            {
                {"set_pantilt_f", "ff", "ii",
                 [](const Words &in) {
                     viewgeo_context ctx{};
                     viewgeo_set_pantilt_f(&ctx, from_bits(in[0]), from_bits(in[1]));
                     std::int32_t pan = 0, tilt = 0;
                     viewgeo_get_pantilt_x(&ctx, &pan, &tilt);
                     return Words{word(pan), word(tilt)};
                 },
                 [](Rng &rng) {
                     return Words{bits(rng.angle(-180.0f, 180.0f)), bits(rng.chance(10) ? rng.any_float() : rng.angle(-400.0f, 400.0f))};
                 },
                 1000},
                {"set_horiz_fov_f", "f", "i",
                 [](const Words &in) {
                     viewgeo_context ctx{};
                     viewgeo_set_horiz_fov_f(&ctx, from_bits(in[0]));
                     std::int32_t fov = 0;
                     viewgeo_get_horiz_fov_x(&ctx, &fov);
                     return Words{word(fov)};
                 },
                 [](Rng &rng) { return Words{bits(rng.angle(0.0f, 180.0f))}; }, 500},
                {"get_pantilt_f", "ii", "ff",
                 [](const Words &in) {
                     viewgeo_context ctx{};
                     viewgeo_set_pantilt_x(&ctx, int_of(in[0]), int_of(in[1]));
                     float pan = 0.0f, tilt = 0.0f;
                     viewgeo_get_pantilt_f(&ctx, &pan, &tilt);
                     return Words{bits(pan), bits(tilt)};
                 },
                 [](Rng &rng) { return Words{word(rng.angle_x(-180.0f, 180.0f)), word(static_cast<std::int32_t>(rng.u32()))}; },
                 500},
                {"get_vert_fov_f", "iiiiiiiiii", "f",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     float fov = 0.0f;
                     viewgeo_get_vert_fov_f(&ctx, &fov);
                     return Words{bits(fov)};
                 },
                 view_only, 800},
                {"get_vert_fov_x", "iiiiiiiiii", "i",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     std::int32_t fov = 0;
                     viewgeo_get_vert_fov_x(&ctx, &fov);
                     return Words{word(fov)};
                 },
                 view_only, 800},
            }};
}

}  // namespace conformance
