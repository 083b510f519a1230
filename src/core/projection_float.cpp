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

// Offset of the target pan from the camera pan, brought into [-180, 180].
// Exactly +180 becomes -180 and exactly -180 stays +180: an asymmetry the
// fixed-point form shares, kept so that both agree.
float pan_offset_f(float pan, float camera_pan) {
    const float a = pan + 180.0f;
    const float b = camera_pan + 180.0f;
    if (a > b) {
        float d = a - b;
        if (d >= 180.0f) d = -(360.0f - d);
        return d;
    }
    const float e = b - a;
    if (e >= 180.0f) return 360.0f - e;
    return -e;
}

}  // namespace

PixelXY direction_to_pixel_f(const viewgeo_context &ctx, float pan, float tilt) {
    // 1. Pan offset of the target from the camera.
    float d = pan_offset_f(pan, q16_to_float(ctx.pan));

    // 2. Near the horizon keep the offset in front of the camera; 30 degrees
    //    or more above or below it, the offset is used as it is.
    if (std::fabs(tilt) < 30.0f) {
        if (d < -89.0f) {
            d = -89.0f;
        } else if (d > 89.0f) {
            d = 89.0f;
        }
    }

    // 4, taken before 3. Sines and cosines of the pan offset, the target tilt
    //    and the camera tilt. They do not depend on the fields of view, so
    //    started first they overlap with the vertical field's derivation.
    const SinCos off = sin_cos_deg(d);
    const SinCos tgt = sin_cos_deg(tilt);
    const SinCos cam = sin_cos_deg(q16_to_float(ctx.tilt));

    // 3. Fields of view; a zero one leaves only the picture centre (15).
    const float v_fov = vertical_fov_f(ctx);
    const float h_fov = q16_to_float(ctx.horiz_fov);
    if (v_fov == 0.0f || h_fov == 0.0f) {
        // 15. Degenerate view: the centre of the unrotated picture.
        const double cx = static_cast<double>(ctx.pic_width) * 0.5;
        const double cy = static_cast<double>(ctx.pic_height) * 0.5;
        return {static_cast<std::int32_t>(cx), static_cast<std::int32_t>(cy)};
    }

    // 5. The target as a unit vector in the camera's level frame.
    float x = static_cast<float>(off.s * tgt.c);
    const double p = static_cast<double>(static_cast<float>(off.c * tgt.c));
    const double t = static_cast<double>(static_cast<float>(tgt.s));

    // 6. Turn it by the camera tilt: Z along the optical axis, Y upwards.
    const float z = static_cast<float>(p * cam.c + t * cam.s);
    float y = static_cast<float>((-cam.s) * p + cam.c * t);

    // 7. Sine of the angle off the optical axis.
    const float zz = z * z;
    const float s = static_cast<float>(std::sqrt(1.0 - static_cast<double>(zz)));

    // 8. The angle off the optical axis.
    const float theta = static_cast<float>(std::asin(static_cast<double>(s)));

    // 9. Half fields of view in radians.
    const float half_h = (h_fov * 0.5f) * kDegToRadF;
    const float half_v = (v_fov * 0.5f) * kDegToRadF;

    // 10. Lens model: move the ray's image from sin(theta) to g(theta) from
    //     the centre. Close to the axis the ray is used as it is.
    if (!(theta < kSmallAngle)) {
        const float g = lens_value(ctx.projection_type, theta);
        x = (x / s) * g;
        y = (y / s) * g;
    }

    // 11. Normalise by the lens value of the half fields of view.
    const float u = x / lens_value(ctx.projection_type, half_h);
    const float w = lens_value(ctx.projection_type, half_v);

    // 12. Pixel of the unrotated picture.
    const float u_half = u * 0.5f;
    const float v_half = y / w * 0.5f;
    const double px_d = (static_cast<double>(u_half) + 0.5) * static_cast<double>(ctx.pic_width);
    const double py_d = (0.5 - static_cast<double>(v_half)) * static_cast<double>(ctx.pic_height);

    // 13. To whole pixels through float, truncating toward zero (values out
    //     of the int32 range saturate).
    const std::int32_t px = trunc_to_int32(static_cast<float>(px_d));
    const std::int32_t py = trunc_to_int32(static_cast<float>(py_d));

    // 14. Into the delivered picture's rotation.
    const PixelPair out = rotate_into_picture(ctx.pic_rot, px, py, ctx.pic_width, ctx.pic_height);
    return {out.x, out.y};
}

PanTiltF pixel_to_direction_f(const viewgeo_context &ctx, std::int32_t x, std::int32_t y) {
    // 1. Camera position and fields of view; a zero field of view leaves the
    //    camera where it is.
    const float t_c = q16_to_float(ctx.tilt);
    const float p_c = q16_to_float(ctx.pan);
    const float v_fov = vertical_fov_f(ctx);
    const float h_fov = q16_to_float(ctx.horiz_fov);
    if (v_fov == 0.0f || h_fov == 0.0f) return {p_c, t_c};

    // 2. Back to the unrotated picture, in integers, then as float.
    const PixelPair un = rotate_out_of_picture(ctx.pic_rot, x, y, ctx.pic_width, ctx.pic_height);
    float fx = static_cast<float>(un.x);
    float fy = static_cast<float>(un.y);

    // 3. Clamp to the right and bottom edges only; pixels left of or above
    //    the picture are used as they are, as stored positions expect.
    const float width = static_cast<float>(ctx.pic_width);
    const float height = static_cast<float>(ctx.pic_height);
    if (width < fx) fx = width;
    if (height < fy) fy = height;

    // 4. Normalised picture coordinates, -1 to +1, v upwards.
    const double u_half = static_cast<double>(fx / width) - 0.5;
    float u = static_cast<float>(u_half + u_half);
    const double v_half = 0.5 - static_cast<double>(fy / height);
    float v = static_cast<float>(v_half + v_half);

    // 5. Over the pole: read the picture upside down about the effective tilt.
    float t_e = t_c;
    if (std::fabs(t_c) > 90.0f) {
        u = -u;
        v = -v;
        t_e = t_c > 90.0f ? 180.0f - t_c : -180.0f - t_c;
    }

    // 6. Half fields of view in radians.
    const float half_h = (h_fov * 0.5f) * kDegToRadF;
    const float half_v = (v_fov * 0.5f) * kDegToRadF;

    // 7. The ray in the camera frame and its angle off the optical axis.
    float ray_x;
    float ray_y;
    float r;
    float theta;
    if (ctx.projection_type == kLensSine) {
        ray_x = static_cast<float>(std::sin(static_cast<double>(half_h))) * u;
        ray_y = static_cast<float>(std::sin(static_cast<double>(half_v))) * v;
        r = std::sqrt(ray_x * ray_x + ray_y * ray_y);
        theta = static_cast<float>(std::asin(static_cast<double>(r)));
    } else if (ctx.projection_type == kLensEquidistant) {
        ray_x = half_h * u;
        ray_y = v * half_v;
        r = std::sqrt(ray_y * ray_y + ray_x * ray_x);
        theta = r;
    } else {
        ray_x = static_cast<float>(std::tan(static_cast<double>(half_h))) * u;
        ray_y = static_cast<float>(std::tan(static_cast<double>(half_v))) * v;
        r = std::sqrt(ray_x * ray_x + ray_y * ray_y);
        theta = static_cast<float>(std::atan(static_cast<double>(r)));
    }

    // 8. Unit ray: C along the optical axis. Close to the axis the picture
    //    coordinates are used as the sideways components directly.
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

    // 9. Cosine and sine of the effective tilt; the sine from the cosine.
    const float c_t = static_cast<float>(std::cos(static_cast<double>(t_e * kDegToRadF)));
    float s_t = std::sqrt(1.0f - c_t * c_t);
    if (t_e < 0.0f) s_t = -s_t;

    // 10. Tilt the ray up into the level frame: N forward, E upwards.
    const float n = c * c_t - ray_y * s_t;
    const float e = c * s_t + ray_y * c_t;

    // 11. Tilt of the ray.
    float tilt_out = static_cast<float>(std::asin(static_cast<double>(e)) * kRadToDegD);

    // 12. Pan offset of the ray; straight sideways is +-90, straight up or
    //     down no offset at all.
    //     (N = 0 with X != 0 divides to an infinity, whose arc tangent is
    //     the +-90 wanted.)
    float q = 0.0f;
    if (n != 0.0f || ray_x != 0.0f) {
        q = static_cast<float>(std::atan(static_cast<double>(ray_x / n)) * kRadToDegD);
    }

    // 13. Behind the camera: express the direction as a tilt past the zenith
    //     or nadir with the pan offset kept within +-90, not as a pan turned
    //     by 180 degrees. Positions stored by callers are in this form.
    const bool over_pole = std::fabs(t_c) > 90.0f;
    const bool level = std::fabs(t_c) <= 90.0f;
    if ((level && n < 0.0f) || (over_pole && n >= 0.0f)) {
        tilt_out = tilt_out < 0.0f ? -180.0f - tilt_out : 180.0f - tilt_out;
        if (t_c != 0.0f) {
            if (t_c > 0.0f && e < 0.0f) {
                tilt_out += 360.0f;
            } else if (t_c < 0.0f && e >= 0.0f) {
                tilt_out -= 360.0f;
            }
        }
    }

    // 14. Absolute pan, wrapped once into [-180, 180].
    float pan_out = p_c + q;
    if (pan_out > 180.0f) {
        pan_out -= 360.0f;
    } else if (pan_out < -180.0f) {
        pan_out += 360.0f;
    }

    // 15.
    return {pan_out, tilt_out};
}

PanTiltF pixel_to_movement_f(const viewgeo_context &ctx, std::int32_t x, std::int32_t y) {
    // 1. Camera position.
    const float p_c = q16_to_float(ctx.pan);
    const float t_c = q16_to_float(ctx.tilt);

    // 2. Absolute direction of the pixel.
    const PanTiltF dir = pixel_to_direction_f(ctx, x, y);

    // 3. Movement from the camera position.
    const float dp = dir.pan - p_c;
    const float dt = dir.tilt - t_c;

    // 4. One turn off at most, no wrap into +-180.
    float pan_out = dp;
    if (dp > 360.0f) {
        pan_out = dp - 360.0f;
    } else if (dp < -360.0f) {
        pan_out = dp + 360.0f;
    }

    // 5. With the pan wrapped upwards the tilt is taken from the camera's
    //    tilt word as a plain number, not scaled to degrees. Odd, but callers
    //    rely on exactly this value, so it is kept.
    float tilt_out = dt;
    if (dt > 360.0f) {
        tilt_out = dt - 360.0f;
    } else if (dp < -360.0f) {
        tilt_out = (dir.tilt - static_cast<float>(ctx.tilt)) + 360.0f;
    }
    return {pan_out, tilt_out};
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_API void viewgeo_to_pixel_f(const viewgeo_context *ctx, int32_t *x, int32_t *y, float pan, float tilt) {
    const PixelXY px = direction_to_pixel_f(*ctx, pan, tilt);
    *x = px.x;
    *y = px.y;
}

VIEWGEO_API void viewgeo_to_ptz_f(const viewgeo_context *ctx, float *pan, float *tilt, int32_t x, int32_t y) {
    const PanTiltF pt = pixel_to_direction_f(*ctx, x, y);
    *pan = pt.pan;
    *tilt = pt.tilt;
}

VIEWGEO_API void viewgeo_to_ptz_f_rel(const viewgeo_context *ctx, float *pan, float *tilt, int32_t x, int32_t y) {
    const PanTiltF pt = pixel_to_movement_f(*ctx, x, y);
    *pan = pt.pan;
    *tilt = pt.tilt;
}

}  // extern "C"
