// Zoom magnification and the field of view after a zoom factor.
#include "core/zoom_utils.h"

#include <cmath>

#include "core/q16.h"
#include "viewgeo.h"

namespace viewgeo {

namespace {

// 360/pi rounded to single precision; the float form multiplies by it in
// single precision.
constexpr float kTwoRadToDegF = static_cast<float>(kTwoRadToDegD);
static_assert(static_cast<double>(kTwoRadToDegF) == kTwoRadToDegD);

}  // namespace

void zoom_fov_f(float zoom_a, float fov, float zoom_b, float &fov_a_out, float &fov_b_out) {
    // Single precision throughout. A zero zoom gives an infinite tangent and
    // so 180 degrees; the caller is expected not to pass one.
    const float half = (fov * 0.5f) * kDegToRadF;
    const float t = std::tan(half) / zoom_a;
    fov_a_out = std::atan(t) * kTwoRadToDegF;
    const float tb = t / zoom_b;
    fov_b_out = std::atan(tb) * kTwoRadToDegF;
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_API void viewgeo_get_zoom_fov(float zoom_a, float fov, float zoom_b, float *fov_a_out,
                                      float *fov_b_out) {
    zoom_fov_f(zoom_a, fov, zoom_b, *fov_a_out, *fov_b_out);
}

}  // extern "C"
