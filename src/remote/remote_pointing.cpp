// Aiming the remote camera at a pixel or a span of the main picture.
#include "core/context.h"
#include "core/projection_fixed.h"
#include "core/q16.h"
#include "remote/remote_pointing.h"
#include "remote/subview.h"
#include "viewgeo.h"

namespace viewgeo {

int to_remote_ptz(const viewgeo_context *ctx, SubviewLens &lens, std::int32_t *pan, std::int32_t *tilt,
                  std::int32_t x, std::int32_t y) {
    if (q16_to_float(ctx->horiz_fov) < 100.0f) {
        const PanTiltX direction = direction_of_pixel_x(prepare_direction_view_x(*ctx), x, y);
        *pan = direction.pan;
        *tilt = direction.tilt;
    } else {
        // A wide picture is projected through a narrower view centred on
        // the same direction with a corner on the pixel.
        const ContextPtr sub = new_subview_context(lens);
        if (sub == nullptr) return -1;
        const SubviewSpan across = subview_span(x, ctx->pic_width);
        const SubviewSpan down = subview_span(y, ctx->pic_height);
        std::int32_t hf = 0;
        std::int32_t vf = 0;
        get_subview_fov(ctx, &hf, &vf, across.size, down.size, x, y);
        sub->pan = ctx->pan;
        sub->tilt = ctx->tilt;
        sub->pic_rot = ctx->pic_rot;
        sub->pic_width = across.size;
        sub->pic_height = down.size;
        sub->horiz_fov = hf;
        set_vert_fov(*sub, vf);
        const PanTiltX direction = direction_of_pixel_x(prepare_direction_view_x(*sub), across.corner, down.corner);
        *pan = direction.pan;
        *tilt = direction.tilt;
    }
    // Past the nadir: fold the tilt back and look the other way.
    if (q16_to_float(*tilt) < -90.0f) {
        *tilt = wrap_sub(kQ16MinusDeg180, *tilt);
        *pan = q16_to_float(*pan) < 0.0f ? wrap_add(*pan, kQ16Deg180) : wrap_sub(*pan, kQ16Deg180);
    }
    return 0;
}

std::int32_t to_remote_zoom(const viewgeo_context *ctx, std::int32_t x, std::int32_t y, std::int32_t width) {
    const std::int32_t half = width / 2;
    const std::int32_t xl = wrap_sub(x, half);
    const std::int32_t xr = wrap_add(x, half);
    const SubviewSpan down = subview_span(y, ctx->pic_height);
    std::int32_t h1 = 0;
    std::int32_t h2 = 0;
    std::int32_t unused = 0;
    get_subview_fov(ctx, &h1, &unused, subview_span(xl, ctx->pic_width).size, down.size, xl, y);
    get_subview_fov(ctx, &h2, &unused, subview_span(xr, ctx->pic_width).size, down.size, xr, y);
    // Half-angles from the centre column, negative on its left; the zoom
    // width is the distance between them.
    const std::int32_t centre = ctx->pic_width / 2;
    if (xl < centre) h1 = wrap_neg(h1);
    if (xr < centre) h2 = wrap_neg(h2);
    const q16 a = q16_div(h1, kQ16Two);
    const q16 b = q16_div(h2, kQ16Two);
    q16 r = wrap_sub(a, b);
    if (q16_to_float(r) < 0.0f) r = wrap_sub(b, a);
    return r;
}

}  // namespace viewgeo

extern "C" {

VIEWGEO_API int viewgeo_to_remote_ptz(const viewgeo_context *ctx, int32_t *pan, int32_t *tilt, int32_t x, int32_t y) {
    viewgeo::SubviewLens lens;
    return viewgeo::to_remote_ptz(ctx, lens, pan, tilt, x, y);
}

VIEWGEO_API int32_t viewgeo_to_remote_zoom(const viewgeo_context *ctx, int32_t x, int32_t y, int32_t width) {
    return viewgeo::to_remote_zoom(ctx, x, y, width);
}

}  // extern "C"
