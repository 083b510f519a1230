// From a remote pan/tilt back to the pixel of the main picture it looks at.
#include <cstdint>

#include "core/angles.h"
#include "core/projection_fixed.h"
#include "core/q16.h"
#include "core/vert_fov.h"
#include "fixmath/fixmath.h"
#include "remote/remote_calibration.h"
#include "remote/remote_pointing.h"
#include "remote/remote_to_pixel.h"
#include "remote/subview.h"
#include "viewgeo.h"

namespace viewgeo {

namespace {

constexpr int kMaxEvaluations = 151;
// One tenth and nine tenths as Q16.16 factors.
constexpr q16 kOneTenth = 6554;
constexpr q16 kNineTenths = 58982;

// A start coordinate outside [0, size] moves to a tenth inside the picture.
std::int32_t clamp_start(std::int32_t p, std::int32_t size) {
    if (p < 0) return q16_mul(pixels_to_q16(size), kOneTenth) >> 16;
    if (p > size) return q16_mul(pixels_to_q16(size), kNineTenths) >> 16;
    return p;
}

int fail(std::int32_t *x, std::int32_t *y) {
    *x = -1;
    *y = -1;
    return -1;
}

}  // namespace

int search_wide(viewgeo_context *ctx, SubviewLens &lens, std::int32_t *x_out, std::int32_t *y_out, q16 pan,
                q16 tilt, int *evaluations_out) {
    if (evaluations_out != nullptr) *evaluations_out = 0;
    // The rotation is dropped for the search and only a half turn is applied
    // to the result; the context keeps rotation 0, as callers expect.
    const std::int32_t rotation = ctx->pic_rot;
    ctx->pic_rot = 0;
    const q16 vf = vertical_fov_x(*ctx);
    const q16 hf = ctx->horiz_fov;
    const std::int32_t width = ctx->pic_width;
    const std::int32_t height = ctx->pic_height;

    // Pan difference from the centre, within one turn.
    const q16 d = pan_offset(pan, ctx->pan);

    // First guess: angles proportional to pixels. The row uses the height as
    // a plain integer, which puts it at 0 or -1; the search corrects it.
    const q16 hh = q16_div(hf, kQ16Two);
    if (hh == 0) return fail(x_out, y_out);
    std::int32_t x = q16_mul(wrap_add(q16_div(d, hh), kQ16One), pixels_to_q16(width / 2)) >> 16;
    const q16 hv = q16_div(vf, kQ16Two);
    if (hv == 0) return fail(x_out, y_out);
    std::int32_t y = q16_mul(wrap_add(q16_div(wrap_sub(ctx->tilt, tilt), hv), kQ16One), height) >> 16;
    x = clamp_start(x, width);
    y = clamp_start(y, height);

    bool restarted = false;
    int evaluations = 0;
    for (;;) {
        q16 rp = 0;
        q16 rt = 0;
        if (evaluations_out != nullptr) *evaluations_out = evaluations + 1;
        if (to_remote_ptz(ctx, lens, &rp, &rt, x, y) != 0) return fail(x_out, y_out);
        q16 dp = wrap_sub(pan, rp);
        // Deliberately one-sided: an error in [180, 181) stays as it is.
        if ((dp >> 16) < -180) {
            dp = wrap_add(dp, kQ16Deg360);
        } else if ((dp >> 16) >= 181) {
            dp = wrap_sub(dp, kQ16Deg360);
        }
        const q16 dt = wrap_sub(tilt, rt);
        const q16 ep = fixmath::sqrtx(q16_mul(dp, dp), 16);
        const q16 et = fixmath::sqrtx(q16_mul(dt, dt), 16);
        if (ep < kQ16Half && et < kQ16Half) break;
        // Two pixels per degree of error; an error of exactly 0.5 moves nothing.
        if (ep > kQ16Half) x = wrap_add(pixels_to_q16(x), q16_div(dp, kQ16Half)) >> 16;
        if (et > kQ16Half) y = wrap_sub(pixels_to_q16(y), q16_div(dt, kQ16Half)) >> 16;
        if (x < 0 || x > width || y > height || y < 0) {
            if (restarted) return fail(x_out, y_out);
            restarted = true;
            x = width / 2;
            y = height / 2;
        }
        if (++evaluations >= kMaxEvaluations) return fail(x_out, y_out);
    }
    if (rotation == 180) {
        x = wrap_sub(width, x);
        y = wrap_sub(height, y);
    }
    *x_out = x;
    *y_out = y;
    return 0;
}

int remote_to_pixel(viewgeo_context *ctx, std::int32_t *x, std::int32_t *y, q16 pan, q16 tilt, int channel) {
    // The channel's centre stays in the context afterwards.
    if (get_remote_center(ctx, channel) != 0) return -1;
    if (q16_to_float(ctx->horiz_fov) < 100.0f) {
        const Pixel pixel = pixel_of_direction_x(prepare_pixel_view_x(*ctx), pan, tilt);
        *x = pixel.x;
        *y = pixel.y;
        return 0;
    }
    SubviewLens lens;
    return search_wide(ctx, lens, x, y, pan, tilt, nullptr);
}

}  // namespace viewgeo

extern "C" VIEWGEO_API int viewgeo_remote_to_pixel(viewgeo_context *ctx, int32_t *x, int32_t *y, int32_t pan,
                                                   int32_t tilt, int channel) {
    return viewgeo::remote_to_pixel(ctx, x, y, pan, tilt, channel);
}
