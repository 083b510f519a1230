// Precise directions on the sphere: the angle between two pan/tilt
// directions and the conversions to and from vectors, in double precision.
#include <cmath>

#include "core/precise_angle.h"
#include "viewgeo.h"

namespace viewgeo::precise {
namespace {

// The angle between two directions, degrees in [0, 180], from the cross
// product's length (its sine) and the dot product (its cosine) of the two
// unit vectors: within 45 degrees of 0 or 180 the arc sine of the cross
// product, which keeps every digit there where an arc cosine loses half;
// in between the arc cosine of the dot product, which is as well
// conditioned there. Either argument then stays within about 0.71, and one
// arc sine or arc cosine costs less than a two-argument arc tangent.
double great_circle(double pan_a, double tilt_a, double pan_b, double tilt_b) {
    const SinCos a = sincos_deg(tilt_a);
    const SinCos b = sincos_deg(tilt_b);
    const SinCos dp = sincos_deg(pan_b - pan_a);
    const double cross_east = b.c * dp.s;
    const double cross_north = a.c * b.s - a.s * b.c * dp.c;
    const double cross_squared = cross_east * cross_east + cross_north * cross_north;
    const double dot = a.s * b.s + a.c * b.c * dp.c;
    // Within 45 degrees of 0 or 180 the dot product is the larger of the
    // two; compared as squares, so that the square root is taken only where
    // the arc sine needs it. A NaN fails the test and stays NaN.
    if (dot * dot > cross_squared) {
        const double near_end = std::asin(std::sqrt(cross_squared));
        return (dot > 0.0 ? near_end : kPi - near_end) * kRadToDeg;
    }
    return std::acos(dot) * kRadToDeg;
}

int cartesian_to_ptz(double x, double y, double z, double *pan, double *tilt) {
    // Huge and tiny vectors are scaled by their largest component first, so
    // that their squares neither overflow nor vanish.
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) return answer(false, pan, tilt);
    const double ax = std::fabs(x);
    const double ay = std::fabs(y);
    const double az = std::fabs(z);
    const double mxy = ax > ay ? ax : ay;
    const double m = mxy > az ? mxy : az;
    if (m == 0.0) return answer(false, pan, tilt);
    double sx = x;
    double sy = y;
    double sz = z;
    if (!(m > 1.0e-100 && m < 1.0e100)) {
        sx = x / m;
        sy = y / m;
        sz = z / m;
    }
    const double level = std::sqrt(sx * sx + sy * sy);
    *tilt = arc_tangent(sz, level) * kRadToDeg;
    // Straight up or down has pan 0; -180 (from a negative zero y) is +180.
    const double p = level == 0.0 ? 0.0 : arc_tangent(sy, sx) * kRadToDeg;
    *pan = p == -180.0 ? 180.0 : p;
    return 0;
}

}  // namespace
}  // namespace viewgeo::precise

using namespace viewgeo::precise;

extern "C" {

VIEWGEO_API double viewgeo_get_great_circle_d(double pan_a, double tilt_a, double pan_b, double tilt_b) {
    return great_circle(pan_a, tilt_a, pan_b, tilt_b);
}

VIEWGEO_API void viewgeo_ptz_to_cartesian_d(double pan, double tilt, double *x, double *y, double *z) {
    const SinCos p = sincos_deg(pan);
    const SinCos t = sincos_deg(tilt);
    *x = t.c * p.c;
    *y = t.c * p.s;
    *z = t.s;
}

VIEWGEO_API int viewgeo_cartesian_to_ptz_d(double x, double y, double z, double *pan, double *tilt) {
    return cartesian_to_ptz(x, y, z, pan, tilt);
}

}  // extern "C"
