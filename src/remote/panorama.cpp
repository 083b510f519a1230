// A pixel of a spherical (equirectangular) panorama to a remote pan/tilt.
#include <cmath>

#include "core/angles.h"
#include "core/q16.h"
#include "remote/cartesian.h"
#include "viewgeo.h"

namespace viewgeo {

void panorama_spherical_to_remote_ptz(const viewgeo_context *ctx, float *pan, float *tilt, std::int32_t x,
                                      std::int32_t y) {
    // Angles proportional to the offset from the centre; the stored
    // vertical field is used whether or not it was set.
    const float hh = q16_to_float(ctx->horiz_fov) * 0.5f;
    const float a = static_cast<float>(x) * (hh / (static_cast<float>(ctx->pic_width) * 0.5f)) - hh;
    *pan = a;
    const float hv = q16_to_float(ctx->vert_fov) * 0.5f;
    const float e = static_cast<float>(y) * (-hv / (static_cast<float>(ctx->pic_height) * 0.5f)) + hv;
    *tilt = e;

    // The panorama direction as a vector.
    float vx = 0.0f;
    float vy = 0.0f;
    float vz = 0.0f;
    ptz_to_cartesian(a, e, &vx, &vy, &vz);
    const double dx = static_cast<double>(vx);
    const double dy = static_cast<double>(vy);
    const double dz = static_cast<double>(vz);

    // Turned about the y axis by the context's tilt.
    const double t = static_cast<double>(-q16_to_float(ctx->tilt) * kDegToRadF);
    const double s = std::sin(t);
    const double c = std::cos(t);
    const float z1 = static_cast<float>(-s * dx + c * dz);
    *tilt = static_cast<float>(std::asin(static_cast<double>(z1)) * kRadToDegD);
    const float x1 = static_cast<float>(dx * c + dz * s);

    // Then about the vertical axis by its pan.
    const double p = static_cast<double>(q16_to_float(ctx->pan) * kDegToRadF);
    const double sp = std::sin(p);
    const double cp = std::cos(p);
    const double x1d = static_cast<double>(x1);
    const float x2 = static_cast<float>(x1d * cp - dy * sp);
    const float y2 = static_cast<float>(x1d * sp + dy * cp);
    *pan = static_cast<float>(std::atan2(static_cast<double>(y2), static_cast<double>(x2)) * kRadToDegD);
}

}  // namespace viewgeo

extern "C" VIEWGEO_API void viewgeo_panorama_spherical_to_remote_ptz(const viewgeo_context *ctx, float *pan,
                                                                     float *tilt, int32_t x, int32_t y) {
    viewgeo::panorama_spherical_to_remote_ptz(ctx, pan, tilt, x, y);
}
