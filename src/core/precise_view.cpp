// The precise projections of the main camera: the ideal version of the
// bit-exact model in double precision. A ray at angle theta off the optical
// axis lands at g(theta)/g(F) of the half picture along its direction from
// the centre (g = sin, identity or tan by projection_type, F the half field),
// the axis meets the picture at (width/2, height/2), and the picture
// rotation turns continuous coordinates. There is no small-angle shortcut
// and no fixed-point step, so the two directions are exact inverses.
#include "core/precise_view.h"

#include <cmath>
#include <cstdint>

#include "core/lens_model.h"
#include "core/precise_angle.h"
#include "viewgeo.h"

namespace viewgeo::precise {
namespace {

constexpr double kQ16Scale = 1.0 / 65536.0;  // a Q16.16 word as its exact value

// Lens value g(F) of a half field given by its sine and cosine; the caller
// has checked that the lens sees that far.
double lens_of(std::int32_t lens, SinCos half, double half_radians) {
    if (lens == kLensSine) return half.s;
    if (lens == kLensEquidistant) return half_radians;
    return half.s / half.c;
}

// Whether a lens sees a half field of `half_deg` degrees.
bool half_field_valid(std::int32_t lens, double half_deg) {
    if (!(half_deg > 0.0)) return false;
    if (lens == kLensSine) return half_deg <= 90.0;
    if (lens == kLensEquidistant) return half_deg <= 180.0;
    return half_deg < 90.0;
}

bool rotation_known(std::int32_t rot) { return rot == 0 || rot == 90 || rot == 180 || rot == 270 || rot == 360; }

}  // namespace

bool read_view(const viewgeo_context &ctx, View *view) {
    if (ctx.pic_width <= 0 || ctx.pic_height <= 0 || !rotation_known(ctx.pic_rot)) return false;
    const std::int32_t lens = ctx.projection_type;
    const double half_h = static_cast<double>(ctx.horiz_fov) * kQ16Scale * 0.5;
    if (!half_field_valid(lens, half_h)) return false;
    const SinCos h = sincos_deg(half_h);
    const double width = static_cast<double>(ctx.pic_width);
    const double height = static_cast<double>(ctx.pic_height);

    double g_v;
    if (ctx.vert_fov_set) {
        const double half_v = static_cast<double>(ctx.vert_fov) * kQ16Scale * 0.5;
        if (!half_field_valid(lens, half_v)) return false;
        g_v = lens_of(lens, sincos_deg(half_v), half_v * kDegToRad);
    } else {
        // tan(F_v) = height / width * tan(F_h), written through the sine and
        // cosine so that it carries on past a horizontal field of 180 degrees
        // (equidistant lenses), where the tangent changes sign.
        const double up = height * h.s;
        const double across = width * h.c;
        if (lens == kLensSine) {
            g_v = up / std::sqrt(up * up + across * across);
        } else if (lens == kLensEquidistant) {
            g_v = arc_tangent(up, across);
        } else {
            g_v = up / across;
        }
    }

    view->width = width;
    view->height = height;
    view->g_h = lens_of(lens, h, half_h * kDegToRad);
    view->g_v = g_v;
    view->lens = lens;
    view->rotation = ctx.pic_rot;
    view->pan = reduce_deg(static_cast<double>(ctx.pan) * kQ16Scale);
    view->tilt = sincos_deg(static_cast<double>(ctx.tilt) * kQ16Scale);
    return true;
}

bool view_direction_to_pixel(const View &view, double pan, double tilt, PixelD *pixel) {
    if (!std::isfinite(pan) || !std::isfinite(tilt)) return false;
    const Ray ray = direction_to_ray(sincos_deg(pan - view.pan), sincos_deg(tilt), view.tilt);

    // Normalised picture coordinates, -1 to +1 across the picture, v upwards.
    double u;
    double v;
    if (view.lens == kLensSine) {
        if (!(ray.z > 0.0)) return false;  // 90 degrees or more off the axis
        u = ray.x / view.g_h;
        v = ray.y / view.g_v;
    } else if (view.lens == kLensEquidistant) {
        const double off = std::sqrt(ray.x * ray.x + ray.y * ray.y);
        double per_sine = 1.0;  // theta / sin(theta), 1 on the axis
        if (off > 0.0) {
            per_sine = arc_tangent(off, ray.z) / off;
        } else if (ray.z < 0.0) {
            return false;  // straight behind: every point of the rim
        }
        u = ray.x * per_sine / view.g_h;
        v = ray.y * per_sine / view.g_v;
    } else {
        if (!(ray.z > 0.0)) return false;
        u = ray.x / ray.z / view.g_h;
        v = ray.y / ray.z / view.g_v;
    }

    const double px = (0.5 + 0.5 * u) * view.width;
    const double py = (0.5 - 0.5 * v) * view.height;
    switch (view.rotation) {
        case 90: *pixel = {view.height - py, px}; break;
        case 180: *pixel = {view.width - px, view.height - py}; break;
        case 270: *pixel = {py, view.width - px}; break;
        default: *pixel = {px, py}; break;  // 0 and 360
    }
    return true;
}

bool view_pixel_to_direction(const View &view, double x, double y, double *pan, double *tilt) {
    if (!std::isfinite(x) || !std::isfinite(y)) return false;
    double px = x;
    double py = y;
    switch (view.rotation) {
        case 90: px = y; py = view.height - x; break;
        case 180: px = view.width - x; py = view.height - y; break;
        case 270: px = view.width - y; py = x; break;
        default: break;  // 0 and 360
    }
    // Half the normalised coordinates, so that nothing finite overflows here.
    const double u_half = px / view.width - 0.5;
    const double v_half = 0.5 - py / view.height;

    Ray ray;
    if (view.lens == kLensSine || view.lens == kLensEquidistant) {
        const double a = 2.0 * u_half * view.g_h;
        const double b = 2.0 * v_half * view.g_v;
        // A square overflowing to infinity is beyond either rim, as it should.
        const double rho = std::sqrt(a * a + b * b);
        if (view.lens == kLensSine) {
            if (!(rho <= 1.0)) return false;  // beyond the rim
            ray = {a, b, std::sqrt((1.0 - rho) * (1.0 + rho))};
        } else {
            if (!(rho <= kPi)) return false;  // past straight behind
            const double per_rho = rho > 0.0 ? std::sin(rho) / rho : 1.0;
            ray = {a * per_rho, b * per_rho, std::cos(rho)};
        }
    } else {
        // The pinhole ray (u g_h, v g_v, 1), halved. Pixels some 1e300
        // picture widths off the picture would overflow: scaled down first.
        double a = u_half * view.g_h;
        double b = v_half * view.g_v;
        double z = 0.5;
        const double m = std::fmax(std::fabs(a), std::fabs(b));
        if (!(m < 1.0e150)) {
            constexpr double kDown = 0x1p-600;
            a = (u_half * kDown) * view.g_h;
            b = (v_half * kDown) * view.g_v;
            z = 0.5 * kDown;
        }
        ray = {a, b, z};
    }

    const Direction dir = ray_to_direction(ray, view.tilt);
    *pan = wrap_half_turn(view.pan + dir.pan_offset);
    *tilt = dir.tilt;
    return true;
}

}  // namespace viewgeo::precise

using namespace viewgeo::precise;

extern "C" {

VIEWGEO_API int viewgeo_to_pixel_d(const viewgeo_context *ctx, double pan, double tilt, double *x, double *y) {
    View view;
    PixelD pixel;
    const bool answered = read_view(*ctx, &view) && view_direction_to_pixel(view, pan, tilt, &pixel);
    if (answered) {
        *x = pixel.x;
        *y = pixel.y;
    }
    return answer(answered, x, y);
}

VIEWGEO_API int viewgeo_to_ptz_d(const viewgeo_context *ctx, double x, double y, double *pan, double *tilt) {
    View view;
    return answer(read_view(*ctx, &view) && view_pixel_to_direction(view, x, y, pan, tilt), pan, tilt);
}

}  // extern "C"
