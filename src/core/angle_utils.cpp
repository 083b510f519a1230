// Pan distances, great-circle angles and pan wrapping.
#include "core/angle_utils.h"

#include <cmath>

#include "core/q16.h"
#include "fixmath/fixmath.h"
#include "viewgeo.h"

namespace viewgeo {

float pan_delta_f(float pan_a, float pan_b) {
    float lo = pan_a;
    float hi = pan_b;
    if (pan_a > pan_b) {
        lo = pan_b;
        hi = pan_a;
    }
    const float d = hi - lo;
    if (d <= 180.0f) return d;
    // The short way round, across +-180. Only one turn is folded.
    const float below = lo + 180.0f;
    const float above = 180.0f - hi;
    return below + above;
}

q16 pan_delta_x(q16 pan_a, q16 pan_b) {
    // Differences wrap in 32 bits, like the sums of every Q16.16 calculation.
    if (pan_a <= pan_b) {
        const q16 d = wrap_sub(pan_b, pan_a);
        if (d <= kQ16Deg180) return d;
        return wrap_add(wrap_sub(pan_a, pan_b), kQ16Deg360);
    }
    const q16 d = wrap_sub(pan_a, pan_b);
    if (d <= kQ16Deg180) return d;
    return wrap_add(wrap_sub(pan_b, pan_a), kQ16Deg360);
}

float great_circle_f(float pan_a, float tilt_a, float pan_b, float tilt_b) {
    const float dp = pan_delta_f(pan_a, pan_b);
    // The angles are formed in single precision, their cosines and sines in
    // double.
    const float ta = tilt_a * kDegToRadF;
    const float tb = tilt_b * kDegToRadF;
    const float pr = dp * kDegToRadF;
    const double s_a = std::sin(static_cast<double>(ta));
    const double c_a = std::cos(static_cast<double>(ta));
    const double s_b = std::sin(static_cast<double>(tb));
    const double c_b = std::cos(static_cast<double>(tb));
    const double c_p = std::cos(static_cast<double>(pr));
    // Not clamped to [-1, 1]: two (nearly) identical directions can round
    // just above 1 and give NaN, as they always have.
    const double m = c_a * c_b;
    const double cos_angle = m * c_p + s_a * s_b;
    const double deg = std::acos(cos_angle) * kRadToDegD;
    return static_cast<float>(deg);
}

q16 great_circle_x(q16 pan_a, q16 tilt_a, q16 pan_b, q16 tilt_b) {
    const q16 dp = pan_delta_x(pan_a, pan_b);
    const fixmath::SinCos a = fixmath::sincosx(q16_deg_to_rad(tilt_a));
    const fixmath::SinCos b = fixmath::sincosx(q16_deg_to_rad(tilt_b));
    const q16 c_p = fixmath::cosx(q16_deg_to_rad(dp), 16);
    const q16 m = q16_mul(a.cos, b.cos);
    const q16 n = q16_mul(a.sin, b.sin);
    // The sum can stray a few units past +-1.0; the arc cosine clamps it.
    return q16_rad_to_deg(fixmath::acosx(wrap_add(q16_mul(c_p, m), n), 16));
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_API float viewgeo_get_pan_delta(float pan_a, float pan_b) {
    return pan_delta_f(pan_a, pan_b);
}

VIEWGEO_API int32_t viewgeo_get_pan_delta_x(int32_t pan_a, int32_t pan_b) {
    return pan_delta_x(pan_a, pan_b);
}

VIEWGEO_API float viewgeo_get_great_circle(float pan_a, float tilt_a, float pan_b, float tilt_b) {
    return great_circle_f(pan_a, tilt_a, pan_b, tilt_b);
}

VIEWGEO_API int32_t viewgeo_get_great_circle_x(int32_t pan_a, int32_t tilt_a, int32_t pan_b, int32_t tilt_b) {
    return great_circle_x(pan_a, tilt_a, pan_b, tilt_b);
}

VIEWGEO_API float viewgeo_wrap_pan(float pan) { return wrap_pan(pan); }

}  // extern "C"
