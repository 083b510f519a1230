// Precise overview projections: the ideal equidistant fisheye in double
// precision. The angle from the lens axis is r * field_angle / (width *
// radius_x) for a point r pixels from the circle's centre, and the
// direction around the axis is the picture angle, 0 straight up and growing
// clockwise, turned back by the rotation and mirrored back. Looking straight
// down, picture up is the pan of the axis; any other axis is the same camera
// turned rigidly up about the horizontal axis across its pan, so that an
// axis at tilt 0 sees the zenith at picture up. The compensators are not
// applied: they absorb the residuals of the bit-exact forms' flat model.
#include <cmath>
#include <cstdint>

#include "core/precise_angle.h"
#include "viewgeo.h"

namespace viewgeo::precise {
namespace {

struct Fisheye {
    double center_x;       // circle centre, pixels
    double center_y;
    double px_per_degree;  // width * radius_x / field_angle
    double rotation;       // picture rotation, degrees in [-180, 180]
    double mirror;         // -1 mirrored, +1 not
    double axis_pan;       // [-180, 180]
    SinCos axis_tilt;
    bool straight_down;    // axis at tilt -90 (or a whole number of turns from it)
};

bool read_fisheye(const viewgeo_ovista_context &o, const viewgeo_context &v, Fisheye *f) {
    if (v.pic_width <= 0 || v.pic_height <= 0) return false;
    const double width = static_cast<double>(v.pic_width);
    const double height = static_cast<double>(v.pic_height);
    const double field = static_cast<double>(o.field_angle);
    const double radius = static_cast<double>(o.radius_x);
    if (!(field > 0.0) || !(radius > 0.0) || !std::isfinite(field) || !std::isfinite(radius)) return false;
    if (!std::isfinite(o.center_x) || !std::isfinite(o.center_y) || !std::isfinite(o.center_pan) ||
        !std::isfinite(o.center_tilt)) {
        return false;
    }
    const double scale = width * radius / field;
    if (!(scale > 0.0) || !std::isfinite(scale)) return false;
    f->center_x = width * static_cast<double>(o.center_x);
    f->center_y = height * static_cast<double>(o.center_y);
    f->px_per_degree = scale;
    f->rotation = reduce_deg(static_cast<double>(o.rotation));
    f->mirror = o.mirror != 0 ? -1.0 : 1.0;
    f->axis_pan = reduce_deg(static_cast<double>(o.center_pan));
    // The common mounting needs no sine; otherwise the reduction is exact, so
    // the cosine is exactly 0 only at a multiple of 90 degrees.
    f->axis_tilt = o.center_tilt == -90.0f ? SinCos{-1.0, 0.0} : sincos_deg(static_cast<double>(o.center_tilt));
    f->straight_down = f->axis_tilt.c == 0.0 && f->axis_tilt.s < 0.0;
    return true;
}

// A direction as the lens sees it: the angle from its axis, degrees in
// [0, 180], and the direction around the axis, degrees clockwise from the
// vertical plane of the axis pan (pan growing), before the picture's
// rotation and mirror.
struct AxisOffset {
    double angle;
    double around;
};

// The lens part of the model: the picture angle (0 straight up, growing
// clockwise) is the direction around the axis turned by the rotation and
// then mirrored, and the distance from the circle's centre grows with the
// angle from the axis.
bool offset_of_pixel(const Fisheye &f, double x, double y, AxisOffset *off) {
    if (!std::isfinite(x) || !std::isfinite(y)) return false;
    const double right = x - f.center_x;
    const double down = y - f.center_y;
    // A square overflowing to infinity is far past the back of the lens.
    const double r = std::sqrt(right * right + down * down);
    off->angle = r / f.px_per_degree;
    if (!(off->angle <= 180.0)) return false;  // past straight behind
    off->around = r > 0.0 ? wrap_half_turn(arc_tangent(f.mirror * right, -down) * kRadToDeg - f.rotation) : 0.0;
    return true;
}

void pixel_of_offset(const Fisheye &f, const AxisOffset &off, double *x, double *y) {
    const SinCos pic = sincos_deg(off.around + f.rotation);
    const double r = off.angle * f.px_per_degree;
    *x = f.center_x + f.mirror * (r * pic.s);
    *y = f.center_y - r * pic.c;
}

// The turn between the lens and pan/tilt. Looking straight down, the angle
// from the axis is the tilt above -90 and the direction around it is the
// pan offset, with no arithmetic beyond a sum; any other axis goes through
// the rigid turn of the camera's own frame.
void direction_of_offset(const Fisheye &f, const AxisOffset &off, double *pan, double *tilt) {
    Direction dir;
    if (f.straight_down) {
        // Straight down and straight up have the axis pan.
        const bool pole = off.angle == 0.0 || off.angle == 180.0;
        dir = {pole ? 0.0 : off.around, off.angle - 90.0};
    } else {
        const SinCos a = sincos_deg(off.angle);
        const SinCos b = sincos_deg(off.around);
        dir = ray_to_direction({a.s * b.s, a.s * b.c, a.c}, f.axis_tilt);
    }
    *pan = wrap_half_turn(f.axis_pan + dir.pan_offset);
    *tilt = dir.tilt;
}

bool offset_of_direction(const Fisheye &f, double pan, double tilt, AxisOffset *off) {
    if (!std::isfinite(pan) || !std::isfinite(tilt)) return false;
    if (f.straight_down) {
        double t = tilt;
        double p = pan - f.axis_pan;
        if (std::fabs(t) > 90.0) {
            // Over the pole: the same direction at the opposite pan.
            t = reduce_deg(t);
            if (t > 90.0) {
                t = 180.0 - t;
                p += 180.0;
            } else if (t < -90.0) {
                t = -180.0 - t;
                p += 180.0;
            }
        }
        if (t == 90.0) return false;  // straight behind: every point of the 180-degree circle
        *off = {t + 90.0, p};
        return true;
    }
    const Ray ray = direction_to_ray(sincos_deg(pan - f.axis_pan), sincos_deg(tilt), f.axis_tilt);
    const double side = std::sqrt(ray.x * ray.x + ray.y * ray.y);
    if (side == 0.0 && ray.z < 0.0) return false;
    *off = {arc_tangent(side, ray.z) * kRadToDeg, side > 0.0 ? arc_tangent(ray.x, ray.y) * kRadToDeg : 0.0};
    return true;
}

bool pixel_to_direction(const Fisheye &f, double x, double y, double *pan, double *tilt) {
    AxisOffset off;
    if (!offset_of_pixel(f, x, y, &off)) return false;
    direction_of_offset(f, off, pan, tilt);
    return true;
}

bool direction_to_pixel(const Fisheye &f, double pan, double tilt, double *x, double *y) {
    AxisOffset off;
    if (!offset_of_direction(f, pan, tilt, &off)) return false;
    pixel_of_offset(f, off, x, y);
    return true;
}

}  // namespace
}  // namespace viewgeo::precise

using namespace viewgeo::precise;

extern "C" {

VIEWGEO_API int viewgeo_ovista_to_ptz_d(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, double x,
                                        double y, double *pan, double *tilt) {
    Fisheye f;
    return answer(read_fisheye(*octx, *vctx, &f) && pixel_to_direction(f, x, y, pan, tilt), pan, tilt);
}

VIEWGEO_API int viewgeo_ovista_to_pixel_d(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, double pan,
                                          double tilt, double *x, double *y) {
    Fisheye f;
    return answer(read_fisheye(*octx, *vctx, &f) && direction_to_pixel(f, pan, tilt, x, y), x, y);
}

}  // extern "C"
