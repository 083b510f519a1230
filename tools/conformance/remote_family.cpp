// The remote camera's pure calculations: pointing at a pixel and the zoom
// width (views narrower than 100 degrees: the wide path tests for the
// projection flag file, so its result would depend on the machine), the
// spherical panorama, and the cartesian conversions. The functions that read
// the calibration file are not here.
#include <cmath>

#include "conformance.h"
#include "families.h"

namespace conformance {
namespace {

constexpr std::size_t kA = kViewWords;

// A view narrower than 100 degrees (horizontal field below 0x640000).
Words narrow_view(Rng &rng) {
    Words in;
    sample_view(rng, in);
    const std::int32_t hfov = int_of(in[2]);
    if (hfov >= 0x640000 || hfov < 0) in[2] = word(rng.range(0x8000, 0x63FFFF));
    return in;
}

Words pixel_on(Words in, Rng &rng) {
    in.push_back(word(sample_pixel(rng, int_of(in[5]))));
    in.push_back(word(sample_pixel(rng, int_of(in[6]))));
    return in;
}

float unit_component(Rng &rng) {
    if (rng.chance(5)) return rng.pick({0.0f, -0.0f, 1.0f, -1.0f, 1e-30f, NAN, INFINITY});
    return rng.uniform(-2.0f, 2.0f);
}

}  // namespace

Family remote_family() {
    return {"remote",
            "remote pointing (views below 100 degrees), zoom width, spherical panorama, cartesian conversions",
            {
                {"to_remote_ptz", "iiiiiiiiiiii", "iii",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     std::int32_t pan = 0, tilt = 0;
                     const int r = viewgeo_to_remote_ptz(&ctx, &pan, &tilt, int_of(in[kA]), int_of(in[kA + 1]));
                     return Words{word(r), word(pan), word(tilt)};
                 },
                 [](Rng &rng) { return pixel_on(narrow_view(rng), rng); }, 1200},
                {"to_remote_zoom", "iiiiiiiiiiiii", "i",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     return Words{word(viewgeo_to_remote_zoom(&ctx, int_of(in[kA]), int_of(in[kA + 1]), int_of(in[kA + 2])))};
                 },
                 [](Rng &rng) {
                     Words in;
                     sample_view(rng, in);
                     // Picture sizes the function accepts: not 0, diagonal below 3620.
                     if (int_of(in[5]) <= 0 || int_of(in[5]) > 2500) in[5] = word(1920);
                     if (int_of(in[6]) <= 0 || int_of(in[6]) > 2500) in[6] = word(1080);
                     in = pixel_on(in, rng);
                     in.push_back(word(rng.chance(5) ? 0 : rng.range(1, int_of(in[5]))));
                     return in;
                 },
                 1000},
                {"panorama_spherical_to_remote_ptz", "iiiiiiiiiiii", "ff",
                 [](const Words &in) {
                     const viewgeo_context ctx = view_of(in, 0);
                     float pan = 0.0f, tilt = 0.0f;
                     viewgeo_panorama_spherical_to_remote_ptz(&ctx, &pan, &tilt, int_of(in[kA]), int_of(in[kA + 1]));
                     return Words{bits(pan), bits(tilt)};
                 },
                 [](Rng &rng) {
                     Words in;
                     sample_view(rng, in);
                     // Panoramas: wide fields, the vertical one stored.
                     if (rng.chance(80)) {
                         in[2] = word(rng.range(90 * 0x10000, 360 * 0x10000));
                         in[3] = word(rng.range(30 * 0x10000, 180 * 0x10000));
                     }
                     return pixel_on(in, rng);
                 },
                 1200},
                {"ptz_to_cartesian_f", "ff", "fff",
                 [](const Words &in) {
                     float x = 0.0f, y = 0.0f, z = 0.0f;
                     viewgeo_ptz_to_cartesian_f(from_bits(in[0]), from_bits(in[1]), &x, &y, &z);
                     return Words{bits(x), bits(y), bits(z)};
                 },
                 [](Rng &rng) { return Words{bits(rng.angle(-180.0f, 180.0f)), bits(rng.angle(-90.0f, 90.0f))}; }, 1000},
                {"cartesian_to_ptz_f", "fff", "iff",
                 [](const Words &in) {
                     float pan = -1.0f, tilt = -1.0f;  // kept when the vector has no direction
                     const int r = viewgeo_cartesian_to_ptz_f(from_bits(in[0]), from_bits(in[1]), from_bits(in[2]), &pan, &tilt);
                     return Words{word(r), bits(pan), bits(tilt)};
                 },
                 [](Rng &rng) { return Words{bits(unit_component(rng)), bits(unit_component(rng)), bits(unit_component(rng))}; }, 1000},
            }};
}

}  // namespace conformance
