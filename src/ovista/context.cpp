// The overview context: creation, deletion, defaults and the accessors.
#include "ovista/context.h"

#include <bit>
#include <cassert>
#include <cstdlib>

#include "ovista/config.h"
#include "platform/paths.h"

namespace viewgeo {
namespace {

// 0.541666687 = 585 / 1080 rounded to single precision.
constexpr float kDefaultRadiusY = std::bit_cast<float>(0x3F0AAAABu);

constexpr viewgeo_ovista_compensator kNoCorrection = {0, 0.0f, 0.0f, 0.0f, 0.0f};

// Indices 0 to 3 name pan, tilt, x and y. Anything else is the caller's
// error: debug builds stop here, release builds get null and do nothing.
template <typename Context>
auto *compensator_at(Context *ctx, int which) {
    assert(which >= 0 && which <= 3 && "compensator index must be 0 to 3");
    switch (which) {
        case 0: return &ctx->pan_comp;
        case 1: return &ctx->tilt_comp;
        case 2: return &ctx->x_comp;
        case 3: return &ctx->y_comp;
        default: return static_cast<decltype(&ctx->pan_comp)>(nullptr);
    }
}

}  // namespace

void set_context_to_default(viewgeo_ovista_context *ctx) {
    ctx->center_x = 0.5f;
    ctx->center_y = 0.5f;
    ctx->field_angle = 99.0f;
    ctx->radius_x = 0.3046875f;
    ctx->radius_y = kDefaultRadiusY;
    ctx->rotation = 0;
    ctx->mirror = 0;
    ctx->pan_comp = kNoCorrection;
    ctx->tilt_comp = kNoCorrection;
    ctx->x_comp = kNoCorrection;
    ctx->y_comp = kNoCorrection;
    ctx->center_pan = 0.0f;
    ctx->center_tilt = -90.0f;
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_API viewgeo_ovista_context *viewgeo_ovista_context_create(void) {
    viewgeo_ovista_context *ctx = nullptr;
    load_ovista_conf(&ctx, platform::kOvistaConfigPath);
    return ctx;
}

VIEWGEO_API void viewgeo_ovista_context_delete(viewgeo_ovista_context *ctx) { std::free(ctx); }

VIEWGEO_API void viewgeo_set_ovista_angles(viewgeo_ovista_context *ctx, float center_pan, float center_tilt) {
    ctx->center_pan = center_pan;
    ctx->center_tilt = center_tilt;
}

VIEWGEO_API void viewgeo_get_ovista_angles(const viewgeo_ovista_context *ctx, float *center_pan, float *center_tilt) {
    *center_pan = ctx->center_pan;
    *center_tilt = ctx->center_tilt;
}

VIEWGEO_API void ptz_set_ovista_rotation(viewgeo_ovista_context *ctx, int rotation) { ctx->rotation = rotation; }

VIEWGEO_API void ptz_set_ovista_mirror(viewgeo_ovista_context *ctx, int mirror) { ctx->mirror = mirror; }

VIEWGEO_API void viewgeo_set_lens_characteristics(viewgeo_ovista_context *ctx, float center_x, float center_y, float radius_x,
                                                  float radius_y, float field_angle) {
    ctx->center_x = center_x;
    ctx->center_y = center_y;
    ctx->radius_x = radius_x;
    ctx->radius_y = radius_y;
    ctx->field_angle = field_angle;
}

VIEWGEO_API void viewgeo_get_lens_characteristics(const viewgeo_ovista_context *ctx, float *center_x, float *center_y,
                                                  float *radius_x, float *radius_y, float *field_angle) {
    *center_x = ctx->center_x;
    *center_y = ctx->center_y;
    *radius_x = ctx->radius_x;
    *radius_y = ctx->radius_y;
    *field_angle = ctx->field_angle;
}

VIEWGEO_API void viewgeo_set_ovista_compensator(viewgeo_ovista_context *ctx, int which, int type, float A, float B, float C,
                                                float D) {
    viewgeo_ovista_compensator *comp = compensator_at(ctx, which);
    if (comp == nullptr) return;
    *comp = {type, A, B, C, D};
}

VIEWGEO_API int viewgeo_get_ovista_compensator(const viewgeo_ovista_context *ctx, int which, int *type, float *A, float *B,
                                               float *C, float *D) {
    const viewgeo_ovista_compensator *comp = compensator_at(ctx, which);
    if (comp == nullptr) return 0;
    *type = comp->type;
    *A = comp->A;
    *B = comp->B;
    *C = comp->C;
    *D = comp->D;
    return comp->type;
}

}  // extern "C"
