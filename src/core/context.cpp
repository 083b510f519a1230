// The view context: creation, deletion and the parameter accessors.
#include <cmath>
#include <cstdlib>

#include "core/context.h"
#include "core/angles.h"
#include "core/q16.h"
#include "core/vert_fov.h"
#include "misalign/misalignment_loader.h"
#include "platform/fs.h"
#include "platform/paths.h"
#include "viewgeo.h"

namespace viewgeo {

float vertical_fov_f(const viewgeo_context &ctx) {
    if (ctx.vert_fov_set) return q16_to_float(ctx.vert_fov);
    // The mixture of single and double precision below is what stored
    // calibrations were made with and is kept exactly.
    const float h = q16_to_float(ctx.horiz_fov);
    const float a = (h * 0.5f) * kDegToRadF;
    const double t = std::tan(static_cast<double>(a));
    const float aspect = static_cast<float>(ctx.pic_height) / static_cast<float>(ctx.pic_width);
    const double r = static_cast<double>(aspect);
    const double v = std::atan(r * t) * kTwoRadToDegD;
    return static_cast<float>(v);
}

std::int32_t vertical_fov_x(const viewgeo_context &ctx) {
    return ctx.vert_fov_set ? ctx.vert_fov : q16_from_float(vertical_fov_f(ctx));
}

std::int32_t default_projection_type() {
    // Only the presence of this file matters; its contents are never read.
    return platform::fs::exists(platform::kProjectionFlagPath) ? 1 : 2;
}

viewgeo_context *allocate_context(std::int32_t projection_type) {
    auto *ctx = static_cast<viewgeo_context *>(std::calloc(1, sizeof(viewgeo_context)));
    if (ctx == nullptr) return nullptr;
    // Every field zero, false or null: rotation 0, the vertical field derived
    // from the aspect, dewarp 0, no misalignment data and none read yet. The
    // fields a caller must set before projecting are zeros too, so a
    // forgotten setter gives zeros rather than leftover memory.
    *ctx = viewgeo_context{};
    ctx->projection_type = projection_type;
    return ctx;
}

void free_context(viewgeo_context *ctx) {
    // As free() does: a cleanup path may hand over a creation that failed.
    if (ctx == nullptr) return;
    std::free(ctx->mo_table);
    std::free(ctx->mo_opt_offset);
    std::free(ctx->mo_mech_offset);
    std::free(ctx);
}

void set_pantilt_f(viewgeo_context &ctx, float pan, float tilt) {
    ctx.pan = q16_from_float(pan);
    ctx.tilt = q16_from_float(tilt);
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_API viewgeo_context *viewgeo_context_create(void) {
    viewgeo_context *ctx = allocate_context(default_projection_type());
    if (ctx == nullptr) return nullptr;
    load_misalignment_data(ctx);
    return ctx;
}

VIEWGEO_API void viewgeo_context_delete(viewgeo_context *ctx) { free_context(ctx); }

VIEWGEO_API void viewgeo_set_pantilt_f(viewgeo_context *ctx, float pan, float tilt) { set_pantilt_f(*ctx, pan, tilt); }

VIEWGEO_API void viewgeo_get_pantilt_f(const viewgeo_context *ctx, float *pan, float *tilt) {
    *pan = q16_to_float(ctx->pan);
    *tilt = q16_to_float(ctx->tilt);
}

VIEWGEO_API void viewgeo_set_pantilt_x(viewgeo_context *ctx, int32_t pan, int32_t tilt) {
    ctx->pan = pan;
    ctx->tilt = tilt;
}

VIEWGEO_API void viewgeo_get_pantilt_x(const viewgeo_context *ctx, int32_t *pan, int32_t *tilt) {
    *pan = ctx->pan;
    *tilt = ctx->tilt;
}

VIEWGEO_API void viewgeo_set_horiz_fov_f(viewgeo_context *ctx, float fov) { ctx->horiz_fov = q16_from_float(fov); }

VIEWGEO_API void viewgeo_get_horiz_fov_f(const viewgeo_context *ctx, float *fov) { *fov = q16_to_float(ctx->horiz_fov); }

VIEWGEO_API void viewgeo_set_horiz_fov_x(viewgeo_context *ctx, int32_t fov) { ctx->horiz_fov = fov; }

VIEWGEO_API void viewgeo_get_horiz_fov_x(const viewgeo_context *ctx, int32_t *fov) { *fov = ctx->horiz_fov; }

VIEWGEO_API void viewgeo_set_vert_fov_f(viewgeo_context *ctx, float fov) { set_vert_fov(*ctx, q16_from_float(fov)); }

VIEWGEO_API void viewgeo_set_vert_fov_x(viewgeo_context *ctx, int32_t fov) { set_vert_fov(*ctx, fov); }

VIEWGEO_API void viewgeo_get_vert_fov_f(const viewgeo_context *ctx, float *fov) { *fov = vertical_fov_f(*ctx); }

VIEWGEO_API void viewgeo_get_vert_fov_x(const viewgeo_context *ctx, int32_t *fov) {
    *fov = vertical_fov_x(*ctx);
}

VIEWGEO_API void viewgeo_set_projection_type(viewgeo_context *ctx, int32_t type) { ctx->projection_type = type; }

VIEWGEO_API void viewgeo_set_dewarp_status(viewgeo_context *ctx, int32_t status) { ctx->dewarp_status = status; }

VIEWGEO_API void viewgeo_set_pic_dim(viewgeo_context *ctx, int32_t width, int32_t height) {
    ctx->pic_width = width;
    ctx->pic_height = height;
}

VIEWGEO_API void viewgeo_get_pic_dim(const viewgeo_context *ctx, int32_t *width, int32_t *height) {
    *width = ctx->pic_width;
    *height = ctx->pic_height;
}

VIEWGEO_API void viewgeo_set_pic_rot(viewgeo_context *ctx, int32_t rotation) { ctx->pic_rot = rotation; }

}  // extern "C"
