// Size and fields of view of the sub-view around a pixel of a wide picture.
#include "core/q16.h"
#include "fixmath/fixmath.h"
#include "remote/subview.h"

namespace viewgeo {

SubviewSpan subview_span(std::int32_t p, std::int32_t size) {
    const std::int32_t d = wrap_sub(wrap_add(p, p), size);
    // At the centre the span would be empty; 3 keeps it projectable.
    if (d == 0) return {3, 3};
    if (d > 0) return {d, d};
    return {wrap_neg(d), 0};
}

int get_subview_fov(const viewgeo_context *ctx, std::int32_t *hfov, std::int32_t *vfov, std::int32_t sw,
                    std::int32_t sh, std::int32_t x, std::int32_t y) {
    const q16 w = pixels_to_q16(ctx->pic_width);
    const q16 h = pixels_to_q16(ctx->pic_height);
    // Tenths keep the squares below within Q16.16 for pictures up to about
    // 3620 pixels across the diagonal; larger ones wrap.
    const q16 w10 = q16_div(w, kQ16Ten);
    const q16 h10 = q16_div(h, kQ16Ten);
    const q16 w20 = q16_div(w10, kQ16Two);
    const q16 h20 = q16_div(h10, kQ16Two);
    const q16 x10 = q16_div(pixels_to_q16(x), kQ16Ten);
    const q16 y10 = q16_div(pixels_to_q16(y), kQ16Ten);
    const q16 dx = wrap_sub(w20, x10);
    const q16 dy = wrap_sub(h20, y10);
    // Distance from the pixel's column foot to the centre, over the height,
    // and from its row end to the centre, over the width.
    const q16 r1 = fixmath::sqrtx(wrap_add(q16_mul(dx, dx), q16_mul(h20, h20)), 16);
    const q16 r2 = fixmath::sqrtx(wrap_add(q16_mul(dy, dy), q16_mul(w20, w20)), 16);
    const q16 q1 = q16_div(r1, h10);
    const q16 q2 = q16_div(r2, w10);
    // The horizontal factor follows the row and the vertical one the column:
    // this cross-coupling is what the stored calibrations were made with.
    const q16 tw = q16_mul(wrap_add(q2, kQ16Half), pixels_to_q16(sw));
    const q16 th = q16_mul(wrap_add(q1, kQ16Half), pixels_to_q16(sh));
    // The stored vertical field, whether or not it was ever set.
    *hfov = q16_mul(q16_div(ctx->horiz_fov, w), tw);
    *vfov = q16_mul(q16_div(ctx->vert_fov, h), th);
    return 0;
}

}  // namespace viewgeo
