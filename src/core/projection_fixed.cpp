// The Q16.16 projections between pan/tilt directions and pixels. They follow
// the single-precision projections stage by stage, but carry products, sums,
// sines, cosines and square roots in Q16.16 and fall back to float or double
// only for asin, atan and the lens functions. Every rounding is part of the
// results that stored calibrations and the remote-camera code depend on.
#include "core/projection_fixed.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/lens_model.h"
#include "core/picture_rotation.h"
#include "core/angles.h"
#include "core/q16.h"
#include "core/vert_fov.h"
#include "fixmath/fixmath.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

constexpr int kFrac = 16;  // fraction bits passed to the fixed-point maths

// 30.0 degrees less one unit: the pan offset is clamped for tilts within it.
constexpr q16 kClampTiltLimit = 0x1DFFFF;

// The rounding divide for the divisors a caller can make zero through the
// context (a zero or wrapped picture size, a field of view so small that its
// lens value rounds to 0). The firmware never checked them; a zero quotient
// is the defined stand-in here, so such a view maps to its centre line.
q16 div_or_zero(q16 a, const Q16Divisor &b) { return b.value == 0 ? 0 : q16_div(a, b); }

// Lens value of half a field of view: the field halved by the rounding
// divide, to radians by the rounding multiply, then g in floating point.
q16 half_fov_lens_value(std::int32_t projection_type, q16 fov) {
    const q16 half_rad = q16_mul(q16_div(fov, kQ16Two), kQ16DegToRad);
    return q16_from_float(lens_value(projection_type, q16_to_float(half_rad)));
}

// Inverse of the lens model: the angle off the axis (radians) of a ray that
// lands at normalised distance r from the centre.
float lens_angle(std::int32_t projection_type, float r) {
    if (projection_type == kLensSine) return static_cast<float>(std::asin(static_cast<double>(r)));
    if (projection_type == kLensEquidistant) return r;
    return static_cast<float>(std::atan(static_cast<double>(r)));
}

q16 sin_x(q16 rad) { return fixmath::sinx(rad, kFrac); }
q16 cos_x(q16 rad) { return fixmath::cosx(rad, kFrac); }
q16 sqrt_x(q16 v) { return fixmath::sqrtx(v, kFrac); }

// Brings a relative angle into [-360, 360] by whole turns, as often as needed.
// Neither loop can overflow: each step moves the value toward zero.
q16 reduce_to_one_turn(q16 a) {
    while (a > kQ16Deg360) a -= kQ16Deg360;
    while (a < -kQ16Deg360) a += kQ16Deg360;
    return a;
}

// Folds a linear-mode row past the bottom into the picture; the remainder
// takes the sign of the row. A zero height leaves no row to fold into; the
// top row stands in.
std::int32_t fold_row(std::int32_t iy, std::int32_t fold_height) {
    if (iy <= fold_height) return iy;
    return fold_height == 0 ? 0 : iy % fold_height;
}

LinearViewX prepare_linear_view_x(const viewgeo_context &ctx) {
    LinearViewX view{};
    view.camera_tilt = ctx.tilt;
    // Both fields of view, no zero test.
    view.vert_fov = vertical_fov_x(ctx);
    view.horiz_fov = ctx.horiz_fov;
    view.half_horiz_fov = q16_mul(view.horiz_fov, kQ16Half);
    view.half_vert_fov = q16_mul(view.vert_fov, kQ16Half);
    // Rows are folded by the low 16 bits of pic_height as a signed number.
    view.fold_height = static_cast<std::int16_t>(static_cast<std::uint16_t>(ctx.pic_height));
    view.width = pixels_to_q16(ctx.pic_width);
    view.height = pixels_to_q16(ctx.pic_height);
    view.width_divisor = q16_divisor(view.width);
    view.height_divisor = q16_divisor(view.height);
    view.picture = picture_of(ctx);
    return view;
}

void prepare_for_many_points(LinearViewX &view) {
    view.width_divisor = q16_prepared_divisor(view.width);
    view.height_divisor = q16_prepared_divisor(view.height);
}

// Linear mode for dewarped pictures: angles proportional to the pixel.
PanTiltX linear_direction_of_pixel_x(const LinearViewX &view, std::int32_t x, std::int32_t y) {
    // Undo the picture rotation. Only the row is folded; the column is only
    // clamped, from above, like the row.
    const Pixel unrotated = rotate_out_of_picture(view.picture.rot, x, y, view.picture.width, view.picture.height);
    const std::int32_t iy = fold_row(unrotated.y, view.fold_height);
    const q16 fx = std::min(pixels_to_q16(unrotated.x), view.width);
    const q16 fy = std::min(pixels_to_q16(iy), view.height);
    // Horizontal offset from the centre in proportion to the field of view,
    // wrapped once. The context pan is deliberately not added, though the
    // relative result subtracts it; kept as the firmware has it.
    const q16 p = wrap_pan(wrap_sub(q16_mul(view.horiz_fov, div_or_zero(fx, view.width_divisor)), view.half_horiz_fov));
    // Vertical offset, upwards, plus the context tilt.
    const q16 t =
        wrap_add(wrap_sub(view.half_vert_fov, q16_mul(view.vert_fov, div_or_zero(fy, view.height_divisor))), view.camera_tilt);
    return {p, t};
}

}  // namespace

PixelViewX prepare_pixel_view_x(const viewgeo_context &ctx) {
    PixelViewX view{};
    view.camera_pan = ctx.pan;
    const auto [sc, cc] = fixmath::sincosx(q16_deg_to_rad(ctx.tilt));
    view.camera_tilt_cos = cc;
    view.camera_tilt_sin = sc;
    view.picture = picture_of(ctx);
    finish_pixel_view(
        view, vertical_fov_x(ctx), ctx.horiz_fov,
        // The centre as a Q16.16 value, not shifted down to whole pixels and
        // not rotated: callers rely on this form, so it is kept.
        [&] { return Pixel{q16_mul(pixels_to_q16(ctx.pic_width), kQ16Half), q16_mul(pixels_to_q16(ctx.pic_height), kQ16Half)}; },
        [&](q16 fov) { return half_fov_lens_value(ctx.projection_type, fov); });
    view.lens_half_h_divisor = q16_divisor(view.lens_half_h);
    view.lens_half_v_divisor = q16_divisor(view.lens_half_v);
    return view;
}

void prepare_for_many_points(PixelViewX &view) {
    if (view.degenerate) return;
    view.lens_half_h_divisor = q16_prepared_divisor(view.lens_half_h);
    view.lens_half_v_divisor = q16_prepared_divisor(view.lens_half_v);
}

Pixel pixel_of_direction_x(const PixelViewX &view, q16 pan, q16 tilt) {
    if (view.degenerate) return view.centre;
    // Pan offset of the target from the camera, within [-180, 180].
    q16 d = pan_offset(pan, view.camera_pan);
    // Near the horizon keep the offset within +-89 degrees, so that points
    // behind the camera do not land in the picture. The offset's float form
    // lies beyond +-89 exactly when the word lies beyond +-89 degrees, and
    // within them the word comes back unchanged from float, so the clamp is
    // taken on the word: no float arithmetic, which is a software routine on
    // processors without an FPU.
    if (tilt >= -kClampTiltLimit && tilt <= kClampTiltLimit) d = std::clamp(d, -kQ16Deg89, kQ16Deg89);
    // The target on the unit sphere, about the camera's pan.
    const auto [sd, cd] = fixmath::sincosx(q16_deg_to_rad(d));
    const auto [st, ct] = fixmath::sincosx(q16_deg_to_rad(tilt));
    const q16 p = q16_mul(cd, ct);
    q16 x = q16_mul(sd, ct);
    // Tilted into the camera frame: Z along the optical axis, Y upwards.
    const q16 cc = view.camera_tilt_cos;
    const q16 sc = view.camera_tilt_sin;
    const q16 z = wrap_add(q16_mul(p, cc), q16_mul(st, sc));
    q16 y = wrap_sub(q16_mul(st, cc), q16_mul(p, sc));
    // Sine of the angle off the axis, and the angle in radians.
    const q16 s = sqrt_x(wrap_sub(kQ16One, q16_mul(z, z)));
    const float s_f = q16_to_float(s);
    const q16 theta = q16_from_float(static_cast<float>(std::asin(static_cast<double>(s_f))));
    // Lens model: small-angle rule, otherwise rescale the ray to the lens
    // value of its angle. S = 0 (on the axis) keeps the ray as it is.
    if (!(theta < kQ16SmallAngle || s == 0)) {
        const q16 g = q16_from_float(lens_value(view.picture.lens, q16_to_float(theta)));
        x = q16_mul(g, q16_div(x, s));
        y = q16_mul(g, q16_div(y, s));
    }
    // Normalised picture coordinates.
    const q16 u = div_or_zero(x, view.lens_half_h_divisor);
    const q16 v = div_or_zero(y, view.lens_half_v_divisor);
    // Fractions of the picture size from the top-left corner, kept within
    // +-10 so that the following product cannot overflow.
    const q16 cx = std::clamp(wrap_add(q16_div(u, kQ16Two), kQ16Half), -kQ16Ten, kQ16Ten);
    const q16 cy = std::clamp(wrap_sub(kQ16Half, q16_div(v, kQ16Two)), -kQ16Ten, kQ16Ten);
    // Whole pixels; the shift rounds toward minus infinity.
    const std::int32_t px = q16_mul(pixels_to_q16(view.picture.width), cx) >> 16;
    const std::int32_t py = q16_mul(pixels_to_q16(view.picture.height), cy) >> 16;
    // Into the delivered picture's rotation.
    return rotate_into_picture(view.picture.rot, px, py, view.picture.width, view.picture.height);
}

DirectionViewX prepare_direction_view_x(const viewgeo_context &ctx) {
    DirectionViewX view{};
    view.camera_pan = ctx.pan;
    view.camera_tilt = ctx.tilt;
    view.picture = picture_of(ctx);
    // Fields of view; a zero one keeps the camera where it is.
    const q16 vfov = vertical_fov_x(ctx);
    const q16 hfov = ctx.horiz_fov;
    view.degenerate = vfov == 0 || hfov == 0;
    if (view.degenerate) return view;
    view.width = pixels_to_q16(ctx.pic_width);
    view.height = pixels_to_q16(ctx.pic_height);
    view.width_divisor = q16_divisor(view.width);
    view.height_divisor = q16_divisor(view.height);
    // Past the zenith or nadir the picture is upside down about the mirrored
    // tilt. The magnitude test is in float, the sign test on the word.
    const q16 t_c = ctx.tilt;
    view.camera_tilt_f = q16_to_float(t_c);
    view.over_pole = std::fabs(view.camera_tilt_f) > 90.0f;
    q16 t_e = t_c;
    if (view.over_pole) t_e = t_c < kQ16Deg90 + 1 ? wrap_sub(kQ16MinusDeg180, t_c) : wrap_sub(kQ16Deg180, t_c);
    // The effective tilt's cosine, and its sine taken from it.
    const q16 c_t = cos_x(q16_deg_to_rad(t_e));
    q16 s_t = sqrt_x(wrap_sub(kQ16One, q16_mul(c_t, c_t)));
    if (t_e < 0) s_t = wrap_neg(s_t);
    view.effective_tilt_cos = c_t;
    view.effective_tilt_sin = s_t;
    // Lens values of the half fields of view.
    view.lens_half_h = half_fov_lens_value(ctx.projection_type, hfov);
    view.lens_half_v = half_fov_lens_value(ctx.projection_type, vfov);
    return view;
}

void prepare_for_many_points(DirectionViewX &view) {
    if (view.degenerate) return;
    view.width_divisor = q16_prepared_divisor(view.width);
    view.height_divisor = q16_prepared_divisor(view.height);
}

PanTiltX direction_of_pixel_x(const DirectionViewX &view, std::int32_t x, std::int32_t y) {
    if (view.degenerate) return {view.camera_pan, view.camera_tilt};
    // Undo the picture rotation, then to Q16.16, clamped from above only; a
    // pixel left of or above the picture is kept.
    const Pixel unrotated = rotate_out_of_picture(view.picture.rot, x, y, view.picture.width, view.picture.height);
    const q16 fx = std::min(pixels_to_q16(unrotated.x), view.width);
    const q16 fy = std::min(pixels_to_q16(unrotated.y), view.height);
    // Normalised coordinates, -1 to +1, v upwards; upside down over the pole.
    q16 u = q16_mul(wrap_sub(div_or_zero(fx, view.width_divisor), kQ16Half), kQ16Two);
    q16 v = q16_mul(wrap_sub(kQ16Half, div_or_zero(fy, view.height_divisor)), kQ16Two);
    if (view.over_pole) {
        u = wrap_neg(u);
        v = wrap_neg(v);
    }
    // The ray's offset in the picture plane and its angle off the axis, by
    // the inverse of the lens model.
    q16 rx = q16_mul(view.lens_half_h, u);
    q16 ry = q16_mul(view.lens_half_v, v);
    const q16 r2 = wrap_add(q16_mul(ry, ry), q16_mul(rx, rx));
    const q16 r = sqrt_x(r2);
    const q16 theta = q16_from_float(lens_angle(view.picture.lens, q16_to_float(r)));
    // The ray on the unit sphere; C is its component along the axis.
    q16 c = 0;
    if (theta >= kQ16SmallAngle && r != 0) {
        const q16 s = sin_x(theta);
        c = sqrt_x(wrap_sub(kQ16One, q16_mul(s, s)));
        rx = q16_div(q16_mul(rx, s), r);
        ry = q16_div(q16_mul(ry, s), r);
    } else {
        c = sqrt_x(wrap_sub(kQ16One, r2));
    }
    // Tilted out of the camera frame: N forward and level, E upwards.
    const q16 c_t = view.effective_tilt_cos;
    const q16 s_t = view.effective_tilt_sin;
    const q16 n = wrap_sub(q16_mul(c_t, c), q16_mul(s_t, ry));
    const q16 e = wrap_add(q16_mul(c, s_t), q16_mul(c_t, ry));
    // Tilt of the ray.
    const float e_f = q16_to_float(e);
    float tilt_out = static_cast<float>(std::asin(static_cast<double>(e_f)) * kRadToDegD);
    // Pan offset of the ray; a ray straight up or down keeps the pan. N and
    // X as floats are zero, or negative, exactly when their words are, so
    // the tests read the words: no float comparison, which is a software
    // routine on processors without an FPU. Their float forms share the
    // exact factor 2^-16, so their ratio is the ratio of the words as floats:
    // two float multiplications fewer.
    q16 pan_out = view.camera_pan;
    if (n != 0 || rx != 0) {
        const float ratio = static_cast<float>(rx) / static_cast<float>(n);
        const float q = static_cast<float>(std::atan(static_cast<double>(ratio)) * kRadToDegD);
        pan_out = wrap_add(view.camera_pan, q16_from_float(q));
    }
    // A ray behind the camera is expressed as a tilt past the zenith or
    // nadir with the pan offset kept within +-90, not as a pan turned by 180.
    if (view.over_pole ? n >= 0 : n < 0) tilt_out = tilt_behind_camera(tilt_out, e_f, view.camera_tilt_f);
    return {wrap_pan(pan_out), q16_from_float(tilt_out)};
}

// The view of the mode in use is built in place; the other is only cleared.
MovementViewX prepare_movement_view_x(const viewgeo_context &ctx) {
    if (ctx.dewarp_status == 1) return {true, ctx.pan, ctx.tilt, prepare_linear_view_x(ctx), {}};
    return {false, ctx.pan, ctx.tilt, {}, prepare_direction_view_x(ctx)};
}

void prepare_for_many_points(MovementViewX &view) {
    if (view.linear) {
        prepare_for_many_points(view.linear_view);
    } else {
        prepare_for_many_points(view.direction_view);
    }
}

PanTiltX movement_of_pixel_x(const MovementViewX &view, std::int32_t x, std::int32_t y) {
    // The absolute direction of the pixel, linear for dewarped pictures.
    const PanTiltX absolute = view.linear ? linear_direction_of_pixel_x(view.linear_view, x, y)
                                          : direction_of_pixel_x(view.direction_view, x, y);
    // Differences from the camera, each brought into [-360, 360] on its own;
    // no wrap into +-180.
    return {reduce_to_one_turn(wrap_sub(absolute.pan, view.camera_pan)),
            reduce_to_one_turn(wrap_sub(absolute.tilt, view.camera_tilt))};
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_PROJECTION_ENTRY_POINTS(x, int32_t)

}  // extern "C"
