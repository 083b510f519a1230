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
    SinCos rotation;       // picture rotation
    double mirror;         // -1 mirrored, +1 not
    double axis_pan;       // [-180, 180]
    SinCos axis_tilt;
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
    f->rotation = sincos_deg(static_cast<double>(o.rotation));
    f->mirror = o.mirror != 0 ? -1.0 : 1.0;
    f->axis_pan = reduce_deg(static_cast<double>(o.center_pan));
    f->axis_tilt = sincos_deg(static_cast<double>(o.center_tilt));
    return true;
}

bool pixel_to_direction(const Fisheye &f, double x, double y, double *pan, double *tilt) {
    if (!std::isfinite(x) || !std::isfinite(y)) return false;
    const double right = x - f.center_x;
    const double down = y - f.center_y;
    // A square overflowing to infinity is far past the back of the lens.
    const double r = std::sqrt(right * right + down * down);
    const double angle = r / f.px_per_degree;  // from the axis, degrees
    if (!(angle <= 180.0)) return false;       // past straight behind
    Ray ray{0.0, 0.0, 1.0};
    if (r > 0.0) {
        // Picture direction (sine and cosine of the clockwise angle from up),
        // mirrored back, then turned back by the rotation.
        const double s_pic = f.mirror * right / r;
        const double c_pic = -down / r;
        const double s_dir = s_pic * f.rotation.c - c_pic * f.rotation.s;
        const double c_dir = c_pic * f.rotation.c + s_pic * f.rotation.s;
        const SinCos off = sincos_deg(angle);
        ray = {off.s * s_dir, off.s * c_dir, off.c};
    }
    const Direction dir = ray_to_direction(ray, f.axis_tilt);
    *pan = wrap_half_turn(f.axis_pan + dir.pan_offset);
    *tilt = dir.tilt;
    return true;
}

bool direction_to_pixel(const Fisheye &f, double pan, double tilt, double *x, double *y) {
    if (!std::isfinite(pan) || !std::isfinite(tilt)) return false;
    const Ray ray = direction_to_ray(sincos_deg(pan - f.axis_pan), sincos_deg(tilt), f.axis_tilt);
    const double off = std::sqrt(ray.x * ray.x + ray.y * ray.y);
    double right = 0.0;
    double down = 0.0;
    if (off > 0.0) {
        const double r = std::atan2(off, ray.z) * kRadToDeg * f.px_per_degree;
        const double s_dir = ray.x / off;
        const double c_dir = ray.y / off;
        const double s_pic = f.mirror * (s_dir * f.rotation.c + c_dir * f.rotation.s);
        const double c_pic = c_dir * f.rotation.c - s_dir * f.rotation.s;
        right = r * s_pic;
        down = -r * c_pic;
    } else if (ray.z < 0.0) {
        return false;  // straight behind: every point of the 180-degree circle
    }
    *x = f.center_x + right;
    *y = f.center_y + down;
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
