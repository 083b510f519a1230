// Overview pixel to PTZ pan/tilt and back, for the equidistant fisheye: the
// angle from the lens axis grows linearly with the distance from the centre
// of the circle. Single precision (the float functions of libm) unless a
// comment says double.
#include <cstdint>
#include <math.h>

#include "core/angles.h"
#include "core/projection_view.h"
#include "core/q16.h"
#include "ovista/compensators.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

// The overview picture, prepared once per call: its size from the view
// context and the circle's centre and radius in pixels.
struct OverviewView {
    const viewgeo_ovista_context &o;
    float w;
    float h;
    float centre_x;  // w * center_x and h * center_y
    float centre_y;
    float radius;  // w * radius_x: only the width-based radius is used
};

OverviewView prepare_overview_view(const viewgeo_ovista_context &o, const viewgeo_context &vctx) {
    const float w = static_cast<float>(vctx.pic_width);
    const float h = static_cast<float>(vctx.pic_height);
    return {o, w, h, w * o.center_x, h * o.center_y, w * o.radius_x};
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

// Pan/tilt of an overview pixel relative to the overview axis.
PanTiltF relative_direction_of_pixel(const OverviewView &view, int x, int y) {
    const viewgeo_ovista_context &o = view.o;
    // Offset from the circle's centre, positive left of and above it.
    const float dx = view.centre_x - static_cast<float>(x);
    const float dy = view.centre_y - static_cast<float>(y);
    // Direction around the axis.
    const float a = direction(dx, dy);
    float p = a * kOvistaRadToDegF;
    // Angle from the axis, proportional to the distance from the centre.
    const float r = sqrtf(dx * dx + dy * dy);
    float t = (r * o.field_angle) / view.radius;
    // Both corrections at the absolute pan before either is applied.
    const float g = p + o.center_pan;
    p += correction(o.pan_comp, g);
    t += correction(o.tilt_comp, g);
    return {p, t};
}

// Absolute PTZ pan/tilt of an overview pixel: the relative direction plus
// the axis, the pan wrapped once, the tilt not at all.
PanTiltF direction_of_pixel(const OverviewView &view, int x, int y) {
    const PanTiltF rel = relative_direction_of_pixel(view, x, y);
    return {wrap_pan(rel.pan + view.o.center_pan), rel.tilt + view.o.center_tilt};
}

// Overview pixel of a PTZ direction.
Pixel pixel_of_direction(const OverviewView &view, float pan, float tilt) {
    const viewgeo_ovista_context &o = view.o;
    // Picture rotation; only a sum above 180 is wrapped, kept as calibrated.
    float p = static_cast<float>(o.rotation) + pan;
    if (p > 180.0f) p -= 360.0f;
    // A mirrored picture reverses the pan sense.
    if (o.mirror != 0) p = -p;
    // Direction around the axis, radians, through double.
    const float a = static_cast<float>(static_cast<double>(p - o.center_pan) * kDegToRadD);
    // Angle from the axis.
    const float t = tilt - o.center_tilt;
    // The axis itself: the truncated centre, no correction.
    if (a == 0.0f && t == 0.0f) return {trunc_to_int32(view.centre_x), trunc_to_int32(view.centre_y)};
    // Offset from the centre in pixels.
    const float r = ((t * o.radius_x) * view.w) / o.field_angle;
    const float dx = sinf(a) * r;
    const float dy = -cosf(a) * r;
    // Corrections at the rotated, mirrored pan.
    const float ex = correction(o.x_comp, p);
    const float ey = correction(o.y_comp, p);
    // Halves away from zero; out-of-range values saturate.
    return {trunc_to_int32(roundf((view.centre_x + dx) + ex)), trunc_to_int32(roundf((view.centre_y + dy) + ey))};
}

}  // namespace
}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_API void viewgeo_ovista_to_ptz_f_rel(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, float *pan,
                                             float *tilt, int x, int y) {
    store(relative_direction_of_pixel(prepare_overview_view(*octx, *vctx), x, y), pan, tilt);
}

VIEWGEO_API void viewgeo_ovista_to_ptz_f(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, float *pan,
                                         float *tilt, int x, int y) {
    store(direction_of_pixel(prepare_overview_view(*octx, *vctx), x, y), pan, tilt);
}

VIEWGEO_API void viewgeo_ovista_to_pixel_f(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, float pan,
                                           float tilt, int *x, int *y) {
    store(pixel_of_direction(prepare_overview_view(*octx, *vctx), pan, tilt), x, y);
}

VIEWGEO_API void viewgeo_ovista_to_ptz_f_array(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, size_t n,
                                               const int *x, const int *y, float *pan, float *tilt) {
    project_each(prepare_overview_view(*octx, *vctx), n, x, y, pan, tilt, direction_of_pixel);
}

VIEWGEO_API void viewgeo_ovista_to_pixel_f_array(const viewgeo_ovista_context *octx, const viewgeo_context *vctx,
                                                 size_t n, const float *pan, const float *tilt, int *x, int *y) {
    project_each(prepare_overview_view(*octx, *vctx), n, pan, tilt, x, y, pixel_of_direction);
}

}  // extern "C"
