// Overview pixel to PTZ pan/tilt and back, for the equidistant fisheye: the
// angle from the lens axis grows linearly with the distance from the centre
// of the circle. Single precision (the float functions of libm) unless a
// comment says double.
#include <bit>
#include <cstdint>
#include <math.h>
#include <type_traits>

#include "core/angles.h"
#include "core/projection_view.h"
#include "core/q16.h"
#include "ovista/compensators.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

// The overview picture and camera, prepared once per call: the picture size
// from the view context, the circle's centre and radius in pixels, and the
// overview context's values the point stages read, copied so that writing a
// result cannot change them between points.
struct OverviewView {
    float w;
    float centre_x;  // w * center_x and h * center_y
    float centre_y;
    float radius;  // w * radius_x: only the width-based radius is used
    float radius_x;
    float field_angle;
    float rotation;  // the whole degrees as float, as the sum with the pan takes them
    bool mirror;
    float center_pan;
    float center_tilt;
    viewgeo_ovista_compensator pan_comp;
    viewgeo_ovista_compensator tilt_comp;
    viewgeo_ovista_compensator x_comp;
    viewgeo_ovista_compensator y_comp;
};

OverviewView prepare_overview_view(const viewgeo_ovista_context &o, const viewgeo_context &vctx) {
    const float w = static_cast<float>(vctx.pic_width);
    const float h = static_cast<float>(vctx.pic_height);
    return {w,
            w * o.center_x,
            h * o.center_y,
            w * o.radius_x,
            o.radius_x,
            o.field_angle,
            static_cast<float>(o.rotation),
            o.mirror != 0,
            o.center_pan,
            o.center_tilt,
            o.pan_comp,
            o.tilt_comp,
            o.x_comp,
            o.y_comp};
}

// a when c holds, otherwise b, chosen by a mask of the bits.
template <class F>
F pick(bool c, F a, F b) {
    using U = std::conditional_t<sizeof(F) == 8, std::uint64_t, std::uint32_t>;
    const U m = U{0} - static_cast<U>(c);
    return std::bit_cast<F>(static_cast<U>((std::bit_cast<U>(a) & m) | (std::bit_cast<U>(b) & ~m)));
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
    // The value of each quadrant, picked by masks: the quadrants of
    // neighbouring points are unrelated, so a choice by jumps would mostly
    // be mispredicted. Below the centre the angle is pi - at, or at - pi
    // left of it, in double; the operands are picked, so that there is one
    // subtraction.
    const bool left = (code & 1) != 0;
    const double at_d = at;
    const float from_pi = static_cast<float>(pick(left, at_d, kPiD) - pick(left, kPiD, at_d));
    return pick(code >= 2, from_pi, pick(left, -at, at));
}

// Pan/tilt of an overview pixel relative to the overview axis.
VIEWGEO_POINT_STAGE PanTiltF relative_direction_of_pixel(const OverviewView &view, int x, int y) {
    // Offset from the circle's centre, positive left of and above it.
    const float dx = view.centre_x - static_cast<float>(x);
    const float dy = view.centre_y - static_cast<float>(y);
    // Direction around the axis.
    const float a = direction(dx, dy);
    float p = a * kOvistaRadToDegF;
    // Angle from the axis, proportional to the distance from the centre.
    const float r = sqrtf(dx * dx + dy * dy);
    float t = (r * view.field_angle) / view.radius;
    // Both corrections at the absolute pan before either is applied.
    const float g = p + view.center_pan;
    p += correction(view.pan_comp, g);
    t += correction(view.tilt_comp, g);
    return {p, t};
}

// Absolute PTZ pan/tilt of an overview pixel: the relative direction plus
// the axis, the pan wrapped once, the tilt not at all.
VIEWGEO_POINT_STAGE PanTiltF direction_of_pixel(const OverviewView &view, int x, int y) {
    const PanTiltF rel = relative_direction_of_pixel(view, x, y);
    return {wrap_pan(rel.pan + view.center_pan), rel.tilt + view.center_tilt};
}

// Overview pixel of a PTZ direction.
VIEWGEO_POINT_STAGE Pixel pixel_of_direction(const OverviewView &view, float pan, float tilt) {
    // Picture rotation; only a sum above 180 is wrapped, kept as calibrated.
    float p = view.rotation + pan;
    if (p > 180.0f) p -= 360.0f;
    // A mirrored picture reverses the pan sense.
    if (view.mirror) p = -p;
    // Direction around the axis, radians, through double.
    const float a = static_cast<float>(static_cast<double>(p - view.center_pan) * kDegToRadD);
    // Angle from the axis.
    const float t = tilt - view.center_tilt;
    // The axis itself: the truncated centre, no correction.
    if (a == 0.0f && t == 0.0f) return {trunc_to_int32(view.centre_x), trunc_to_int32(view.centre_y)};
    // Offset from the centre in pixels.
    const float r = ((t * view.radius_x) * view.w) / view.field_angle;
    const float dx = sinf(a) * r;
    const float dy = -cosf(a) * r;
    // Corrections at the rotated, mirrored pan.
    const float ex = correction(view.x_comp, p);
    const float ey = correction(view.y_comp, p);
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
    project_each([octx, vctx] { return prepare_overview_view(*octx, *vctx); }, n, x, y, pan, tilt, direction_of_pixel);
}

VIEWGEO_API void viewgeo_ovista_to_pixel_f_array(const viewgeo_ovista_context *octx, const viewgeo_context *vctx,
                                                 size_t n, const float *pan, const float *tilt, int *x, int *y) {
    project_each([octx, vctx] { return prepare_overview_view(*octx, *vctx); }, n, pan, tilt, x, y, pixel_of_direction);
}

}  // extern "C"
