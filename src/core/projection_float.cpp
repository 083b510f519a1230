// The single-precision projections between pan/tilt directions and pixels.
//
// The mixture of float and double below is what the stored calibrations and
// the other programs of the camera were made with; every intermediate keeps
// its precision and order of operations on purpose. Transcendental functions
// are always the double-precision ones applied to a widened float.
#include "core/projection_float.h"

#include <cmath>
#include <cstdint>

#include "core/lens_model.h"
#include "core/picture_rotation.h"
#include "core/angles.h"
#include "core/q16.h"
#include "core/vert_fov.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

// Where the angle off the optical axis is small enough that the ray is used
// as it is, without the lens model (radians).
constexpr float kSmallAngle = 0.1f;

struct SinCos {
    double s;
    double c;
};

// Sine and cosine of an angle in degrees: the conversion to radians in
// float, the functions in double.
SinCos sin_cos_deg(float degrees) {
    const float radians = degrees * kDegToRadF;
    const double r = static_cast<double>(radians);
    return {std::sin(r), std::cos(r)};
}

}  // namespace

PixelViewF prepare_pixel_view_f(const viewgeo_context &ctx) {
    PixelViewF view{};
    view.camera_pan = q16_to_float(ctx.pan);
    const SinCos cam = sin_cos_deg(q16_to_float(ctx.tilt));
    view.camera_tilt_sin = cam.s;
    view.camera_tilt_cos = cam.c;
    view.camera_tilt_sin_negated = -cam.s;
    view.picture = picture_of(ctx);
    finish_pixel_view(
        view, vertical_fov_f(ctx), q16_to_float(ctx.horiz_fov),
        // The centre of the unrotated picture.
        [&] {
            const double cx = static_cast<double>(ctx.pic_width) * 0.5;
            const double cy = static_cast<double>(ctx.pic_height) * 0.5;
            return Pixel{static_cast<std::int32_t>(cx), static_cast<std::int32_t>(cy)};
        },
        // The half field in radians.
        [&](float fov) { return lens_value(ctx.projection_type, (fov * 0.5f) * kDegToRadF); });
    return view;
}

// A point stage (see VIEWGEO_POINT_STAGE): the view stage's values reach it
// only as loads from the prepared view (see the negated sine below).
Pixel pixel_of_direction_f(const PixelViewF &view, float pan, float tilt) {
    if (view.degenerate) return view.centre;

    // Pan offset of the target from the camera.
    float d = pan_offset(pan, view.camera_pan);

    // Near the horizon keep the offset in front of the camera; 30 degrees or
    // more above or below it, the offset is used as it is.
    if (std::fabs(tilt) < 30.0f) {
        if (d < -89.0f) {
            d = -89.0f;
        } else if (d > 89.0f) {
            d = 89.0f;
        }
    }

    // The target as a unit vector in the camera's level frame.
    const SinCos off = sin_cos_deg(d);
    const SinCos tgt = sin_cos_deg(tilt);
    float x = static_cast<float>(off.s * tgt.c);
    const double p = static_cast<double>(static_cast<float>(off.c * tgt.c));
    const double t = static_cast<double>(static_cast<float>(tgt.s));

    // Turned by the camera tilt: Z along the optical axis, Y upwards. The
    // negated sine is read from the prepared view rather than negated here:
    // written here, the negation may be moved onto the product, which gives
    // the same number but flips the sign of a NaN p. Read as a value, it lets
    // Y carry p's NaN as Z does, so that the lens step below, which then
    // meets a NaN in both Y / s and g, sees two NaNs of one sign, whichever
    // operand the processor keeps.
    const float z = static_cast<float>(p * view.camera_tilt_cos + t * view.camera_tilt_sin);
    float y = static_cast<float>(view.camera_tilt_sin_negated * p + view.camera_tilt_cos * t);

    // Sine of the angle off the optical axis, and the angle.
    const float zz = z * z;
    const float s = static_cast<float>(std::sqrt(1.0 - static_cast<double>(zz)));
    const float theta = static_cast<float>(std::asin(static_cast<double>(s)));

    // Lens model: move the ray's image from sin(theta) to g(theta) from the
    // centre. Close to the axis the ray is used as it is.
    if (!(theta < kSmallAngle)) {
        const float g = lens_value(view.picture.lens, theta);
        x = (x / s) * g;
        y = (y / s) * g;
    }

    // Normalised by the lens value of the half fields of view.
    const float u = x / view.lens_half_h;

    // Pixel of the unrotated picture.
    const float u_half = u * 0.5f;
    const float v_half = y / view.lens_half_v * 0.5f;
    const double px_d = (static_cast<double>(u_half) + 0.5) * static_cast<double>(view.picture.width);
    const double py_d = (0.5 - static_cast<double>(v_half)) * static_cast<double>(view.picture.height);

    // To whole pixels through float, truncating toward zero (values out of
    // the int32 range saturate).
    const std::int32_t px = trunc_to_int32(static_cast<float>(px_d));
    const std::int32_t py = trunc_to_int32(static_cast<float>(py_d));

    // Into the delivered picture's rotation.
    return rotate_into_picture(view.picture.rot, px, py, view.picture.width, view.picture.height);
}

DirectionViewF prepare_direction_view_f(const viewgeo_context &ctx) {
    DirectionViewF view{};
    view.camera_tilt = q16_to_float(ctx.tilt);
    view.camera_pan = q16_to_float(ctx.pan);
    view.picture = picture_of(ctx);
    // Fields of view; a zero one leaves the camera where it is.
    const float v_fov = vertical_fov_f(ctx);
    const float h_fov = q16_to_float(ctx.horiz_fov);
    view.degenerate = v_fov == 0.0f || h_fov == 0.0f;
    if (view.degenerate) return view;

    view.width = static_cast<float>(ctx.pic_width);
    view.height = static_cast<float>(ctx.pic_height);

    // Over the pole the picture is read upside down about the effective tilt.
    const float t_c = view.camera_tilt;
    float t_e = t_c;
    view.over_pole = std::fabs(t_c) > 90.0f;
    if (view.over_pole) t_e = t_c > 90.0f ? 180.0f - t_c : -180.0f - t_c;

    // Half fields of view in radians, and the ray's scale of the lens model.
    const float half_h = (h_fov * 0.5f) * kDegToRadF;
    const float half_v = (v_fov * 0.5f) * kDegToRadF;
    view.scale_h = lens_value(ctx.projection_type, half_h);
    view.scale_v = lens_value(ctx.projection_type, half_v);

    // Cosine and sine of the effective tilt; the sine from the cosine.
    const float c_t = static_cast<float>(std::cos(static_cast<double>(t_e * kDegToRadF)));
    float s_t = std::sqrt(1.0f - c_t * c_t);
    if (t_e < 0.0f) s_t = -s_t;
    view.effective_tilt_cos = c_t;
    view.effective_tilt_sin = s_t;
    return view;
}

PanTiltF direction_of_pixel_f(const DirectionViewF &view, std::int32_t x, std::int32_t y) {
    const float t_c = view.camera_tilt;
    if (view.degenerate) return {view.camera_pan, t_c};

    // Back to the unrotated picture, in integers, then as float.
    const Pixel un = rotate_out_of_picture(view.picture.rot, x, y, view.picture.width, view.picture.height);
    float fx = static_cast<float>(un.x);
    float fy = static_cast<float>(un.y);

    // Clamp to the right and bottom edges only; pixels left of or above the
    // picture are used as they are, as stored positions expect.
    if (view.width < fx) fx = view.width;
    if (view.height < fy) fy = view.height;

    // Normalised picture coordinates, -1 to +1, v upwards; upside down over
    // the pole.
    const double u_half = static_cast<double>(fx / view.width) - 0.5;
    float u = static_cast<float>(u_half + u_half);
    const double v_half = 0.5 - static_cast<double>(fy / view.height);
    float v = static_cast<float>(v_half + v_half);
    if (view.over_pole) {
        u = -u;
        v = -v;
    }

    // The ray in the camera frame and its angle off the optical axis, by the
    // inverse of the lens model.
    float ray_x;
    float ray_y;
    float r;
    float theta;
    if (view.picture.lens == kLensSine) {
        ray_x = view.scale_h * u;
        ray_y = view.scale_v * v;
        r = std::sqrt(ray_x * ray_x + ray_y * ray_y);
        theta = static_cast<float>(std::asin(static_cast<double>(r)));
    } else if (view.picture.lens == kLensEquidistant) {
        ray_x = view.scale_h * u;
        ray_y = v * view.scale_v;
        r = std::sqrt(ray_y * ray_y + ray_x * ray_x);
        theta = r;
    } else {
        ray_x = view.scale_h * u;
        ray_y = view.scale_v * v;
        r = std::sqrt(ray_x * ray_x + ray_y * ray_y);
        theta = static_cast<float>(std::atan(static_cast<double>(r)));
    }

    // Unit ray: C along the optical axis. Close to the axis the picture
    // coordinates are used as the sideways components directly.
    float c;
    if (theta >= kSmallAngle) {
        const float s = static_cast<float>(std::sin(static_cast<double>(theta)));
        c = std::sqrt(1.0f - s * s);
        ray_x = (s * ray_x) / r;
        ray_y = (s * ray_y) / r;
    } else {
        const float xx = ray_x * ray_x;
        const float yy = ray_y * ray_y;
        c = static_cast<float>(std::sqrt((1.0 - static_cast<double>(xx)) - static_cast<double>(yy)));
    }

    // Tilt the ray up into the level frame: N forward, E upwards.
    const float c_t = view.effective_tilt_cos;
    const float s_t = view.effective_tilt_sin;
    const float n = c * c_t - ray_y * s_t;
    const float e = c * s_t + ray_y * c_t;

    // Tilt of the ray.
    float tilt_out = static_cast<float>(std::asin(static_cast<double>(e)) * kRadToDegD);

    // Pan offset of the ray; straight sideways is +-90, straight up or down
    // no offset at all. (N = 0 with X != 0 divides to an infinity, whose arc
    // tangent is the +-90 wanted.)
    float q = 0.0f;
    if (n != 0.0f || ray_x != 0.0f) {
        q = static_cast<float>(std::atan(static_cast<double>(ray_x / n)) * kRadToDegD);
    }

    // Behind the camera: express the direction as a tilt past the zenith or
    // nadir with the pan offset kept within +-90, not as a pan turned by 180
    // degrees. Positions stored by callers are in this form. (The camera
    // tilt comes from a Q16.16 word and is never NaN, so a view not over the
    // pole is level.)
    if (view.over_pole ? n >= 0.0f : n < 0.0f) tilt_out = tilt_behind_camera(tilt_out, e, t_c);

    // Absolute pan, wrapped once into [-180, 180].
    return {wrap_pan(view.camera_pan + q), tilt_out};
}

MovementViewF prepare_movement_view_f(const viewgeo_context &ctx) {
    return {prepare_direction_view_f(ctx), static_cast<float>(ctx.tilt)};
}

PanTiltF movement_of_pixel_f(const MovementViewF &view, std::int32_t x, std::int32_t y) {
    // Absolute direction of the pixel, and the movement from the camera.
    const PanTiltF dir = direction_of_pixel_f(view.direction, x, y);
    const float dp = dir.pan - view.direction.camera_pan;
    const float dt = dir.tilt - view.direction.camera_tilt;

    // One turn off at most, no wrap into +-180.
    float pan_out = dp;
    if (dp > 360.0f) {
        pan_out = dp - 360.0f;
    } else if (dp < -360.0f) {
        pan_out = dp + 360.0f;
    }

    // With the pan wrapped upwards the tilt is taken from the camera's tilt
    // word as a plain number, not scaled to degrees. Odd, but callers rely on
    // exactly this value, so it is kept.
    float tilt_out = dt;
    if (dt > 360.0f) {
        tilt_out = dt - 360.0f;
    } else if (dp < -360.0f) {
        tilt_out = (dir.tilt - view.tilt_word) + 360.0f;
    }
    return {pan_out, tilt_out};
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_PROJECTION_ENTRY_POINTS(f, float)

}  // extern "C"
