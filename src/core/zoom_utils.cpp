// Zoom magnification and the field of view after a zoom factor.
#include "core/zoom_utils.h"

#include <cmath>
#include <cstdint>

#include "core/angles.h"
#include "core/q16.h"
#include "fixmath/fixmath.h"
#include "viewgeo.h"

namespace viewgeo {

namespace {


// 2 atan(t) in Q16.16 degrees for a Q16.16 tangent. The arc tangent is taken
// in single precision; the conversion back and the scaling stay in Q16.16.
q16 double_atan_deg_x(q16 t) {
    const float tf = q16_to_float(t);
    const float at = std::atan(tf);
    const q16 rad = q16_from_float(at);
    return q16_mul(q16_rad_to_deg(rad), kQ16Two);
}

}  // namespace

q16 zoom_magnification_x(q16 fov_a, q16 fov_b) {
    // Half angles in radians by the one-product factor pi/360.
    const fixmath::SinCos a = fixmath::sincosx(q16_mul(fov_a, kQ16HalfDegToRad));
    const fixmath::SinCos b = fixmath::sincosx(q16_mul(fov_b, kQ16HalfDegToRad));
    // tan b / tan a as (s_b c_a) / (c_b s_a): one division instead of three.
    const q16 num = q16_mul(b.cos, a.sin);
    const q16 den = q16_mul(b.sin, a.cos);
    // A zero fov_a (num 0) is the caller's mistake; the division saturates.
    return q16_div(den, num);
}

void zoom_fov_f(float zoom_a, float fov, float zoom_b, float &fov_a_out, float &fov_b_out) {
    // Single precision throughout. A zero zoom gives an infinite tangent and
    // so 180 degrees; the caller is expected not to pass one.
    const float half = (fov * 0.5f) * kDegToRadF;
    const float t = std::tan(half) / zoom_a;
    fov_a_out = std::atan(t) * kTwoRadToDegF;
    const float tb = t / zoom_b;
    fov_b_out = std::atan(tb) * kTwoRadToDegF;
}

void zoom_fov_x(q16 zoom_a, q16 fov, q16 zoom_b, q16 &fov_a_out, q16 &fov_b_out) {
    // Half the field of view in radians: halved first, then converted.
    const q16 h = q16_div(fov, kQ16Two);
    const auto [s, c] = fixmath::sincosx(q16_deg_to_rad(h));
    // A field of view of half a turn has no tangent; 0 is what it has
    // always given.
    const q16 t = c == 0 ? 0 : q16_div(s, c);
    // A zero zoom saturates the tangent, which gives about 180 degrees, as
    // the float form's infinite one does.
    const q16 u = q16_div(t, zoom_a);
    const q16 w = q16_div(u, zoom_b);
    fov_a_out = double_atan_deg_x(u);
    fov_b_out = double_atan_deg_x(w);
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_API int32_t viewgeo_get_zoom_magnification(int32_t fov_a, int32_t fov_b) {
    return zoom_magnification_x(fov_a, fov_b);
}

VIEWGEO_API void viewgeo_get_zoom_fov(float zoom_a, float fov, float zoom_b, float *fov_a_out,
                                      float *fov_b_out) {
    zoom_fov_f(zoom_a, fov, zoom_b, *fov_a_out, *fov_b_out);
}

VIEWGEO_API void viewgeo_get_zoom_fov_x(int32_t zoom_a, int32_t fov, int32_t zoom_b, int32_t *fov_a_out,
                                        int32_t *fov_b_out) {
    zoom_fov_x(zoom_a, fov, zoom_b, *fov_a_out, *fov_b_out);
}

}  // extern "C"
