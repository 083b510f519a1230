// Overview pixel to PTZ pan/tilt and back, for the equidistant fisheye: the
// angle from the lens axis grows linearly with the distance from the centre
// of the circle. Single precision (the float functions of libm) unless a
// step says double.
#include <bit>
#include <cstdint>
#include <math.h>

#include "core/angle_utils.h"
#include "core/q16.h"
#include "ovista/compensators.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

// 180/pi one unit in the last place below the 0x42652EE1 of the other
// conversions; the overview calibrations were made with this one.
constexpr float kOvistaRadToDeg = std::bit_cast<float>(0x42652EE0u);
constexpr float kHalfPiF = 1.57079637f;
constexpr double kDegToRadD = 0.017453292519943295;

struct PictureSize {
    float w;
    float h;
};

PictureSize picture_size(const viewgeo_context *vctx) {
    int32_t width = 0;
    int32_t height = 0;
    viewgeo_get_pic_dim(vctx, &width, &height);
    return {static_cast<float>(width), static_cast<float>(height)};
}

// Direction of the offset around the axis, radians: 0 straight up in the
// picture, growing clockwise.
float direction(float dx, float dy) {
    // The quadrant comes from the truncated offsets, so a point less than one
    // pixel left of the centre counts as not left; kept as calibrated.
    const int code = movement_dir(trunc_to_int32(dx), trunc_to_int32(dy));
    if (code == 4) {
        if (dx < 0.0f) return kHalfPiF;
        if (dx > 0.0f) return -kHalfPiF;
        return 0.0f;
    }
    const float q = fabsf(dx / dy);
    const float at = atanf(q);
    switch (code) {
        case 0: return at;
        case 1: return -at;
        case 2: return static_cast<float>(kPiD - static_cast<double>(at));
        default: return static_cast<float>(static_cast<double>(at) - kPiD);
    }
}

void ovista_pixel_to_relative(const viewgeo_ovista_context &o, const viewgeo_context *vctx, float *pan, float *tilt,
                              int x, int y) {
    const PictureSize pic = picture_size(vctx);
    // 1. offset from the circle's centre, positive left of and above it
    const float dx = pic.w * o.center_x - static_cast<float>(x);
    const float dy = pic.h * o.center_y - static_cast<float>(y);
    // 2.-4. direction around the axis
    const float a = direction(dx, dy);
    float p = a * kOvistaRadToDeg;
    // 5. angle from the axis; only the width-based radius is used
    const float r = sqrtf(dx * dx + dy * dy);
    float t = (r * o.field_angle) / (pic.w * o.radius_x);
    // 6. both corrections at the absolute pan before either is applied
    const float g = p + o.center_pan;
    p += correction(o.pan_comp, g);
    t += correction(o.tilt_comp, g);
    *pan = p;
    *tilt = t;
}

void ovista_ptz_to_pixel(const viewgeo_ovista_context &o, const viewgeo_context *vctx, float pan, float tilt, int *x,
                         int *y) {
    const PictureSize pic = picture_size(vctx);
    // 1. rotation; only a sum above 180 is wrapped, kept as calibrated
    float p = static_cast<float>(o.rotation) + pan;
    if (p > 180.0f) p -= 360.0f;
    // 2. a mirrored picture reverses the pan sense
    if (o.mirror != 0) p = -p;
    // 3. direction around the axis, radians, through double
    const float a = static_cast<float>(static_cast<double>(p - o.center_pan) * kDegToRadD);
    // 4. angle from the axis
    const float t = tilt - o.center_tilt;
    // 5. the axis itself: the truncated centre, no correction
    if (a == 0.0f && t == 0.0f) {
        *x = trunc_to_int32(pic.w * o.center_x);
        *y = trunc_to_int32(pic.h * o.center_y);
        return;
    }
    // 6. offset from the centre in pixels
    const float r = ((t * o.radius_x) * pic.w) / o.field_angle;
    const float dx = sinf(a) * r;
    const float dy = -cosf(a) * r;
    // 7. corrections at the rotated, mirrored pan
    const float ex = correction(o.x_comp, p);
    const float ey = correction(o.y_comp, p);
    // 8. halves away from zero; out-of-range values saturate
    *x = trunc_to_int32(roundf((pic.w * o.center_x + dx) + ex));
    *y = trunc_to_int32(roundf((pic.h * o.center_y + dy) + ey));
}

}  // namespace
}  // namespace viewgeo

extern "C" {

VIEWGEO_API void viewgeo_ovista_to_ptz_f_rel(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, float *pan,
                                             float *tilt, int x, int y) {
    viewgeo::ovista_pixel_to_relative(*octx, vctx, pan, tilt, x, y);
}

VIEWGEO_API void viewgeo_ovista_to_ptz_f(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, float *pan,
                                         float *tilt, int x, int y) {
    float p = 0.0f;
    float t = 0.0f;
    viewgeo::ovista_pixel_to_relative(*octx, vctx, &p, &t, x, y);
    *pan = viewgeo::wrap_pan(p + octx->center_pan);
    *tilt = t + octx->center_tilt;
}

VIEWGEO_API void viewgeo_ovista_to_pixel_f(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, float pan,
                                           float tilt, int *x, int *y) {
    viewgeo::ovista_ptz_to_pixel(*octx, vctx, pan, tilt, x, y);
}

}  // extern "C"
