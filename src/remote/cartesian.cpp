// Pan/tilt directions and vectors: +x toward pan 0 at tilt 0, +y toward pan
// 90, +z up. The single-precision angle products and the double
// trigonometry are those the panorama mapping was calibrated with.
#include <bit>
#include <cmath>

#include "core/angles.h"
#include "core/q16.h"
#include "remote/cartesian.h"
#include "viewgeo.h"

namespace viewgeo {

void ptz_to_cartesian(float pan, float tilt, float *x, float *y, float *z) {
    // Angle from the zenith and azimuth, both rounded to single precision
    // before widening, so tilt 0 gives a theta just above pi/2.
    const double theta = static_cast<double>((90.0f - tilt) * kDegToRadF);
    const double phi = static_cast<double>(pan * kDegToRadF);
    const double sin_theta = std::sin(theta);
    const double cos_theta = std::cos(theta);
    const double sin_phi = std::sin(phi);
    const double cos_phi = std::cos(phi);
    *x = static_cast<float>(sin_theta * cos_phi);
    *y = static_cast<float>(sin_theta * sin_phi);
    *z = static_cast<float>(cos_theta);
}

int cartesian_to_ptz(float x, float y, float z, float *pan, float *tilt) {
    const float r = std::sqrt((x * x + y * y) + z * z);  // single precision
    if (!(r > 0.0f)) return -1;                           // zero length or NaN
    const double theta = std::acos(static_cast<double>(z / r));
    const float azimuth = static_cast<float>(std::atan2(static_cast<double>(y), static_cast<double>(x)));
    *pan = azimuth * kRadToDegF;
    *tilt = 90.0f - static_cast<float>(theta) * kRadToDegF;
    return 0;
}

}  // namespace viewgeo

extern "C" {

VIEWGEO_API void viewgeo_ptz_to_cartesian_f(float pan, float tilt, float *x, float *y, float *z) {
    viewgeo::ptz_to_cartesian(pan, tilt, x, y, z);
}

VIEWGEO_API int viewgeo_cartesian_to_ptz_f(float x, float y, float z, float *pan, float *tilt) {
    return viewgeo::cartesian_to_ptz(x, y, z, pan, tilt);
}

}  // extern "C"
