// The short-lived context of a sub-view. It is made as
// viewgeo_context_create() makes one (same lens model from the flag file,
// dewarp 0, rotation 0, derived vertical field, empty misalignment state)
// but without reading the misalignment data: the projection never uses it,
// and reading it for each of up to 151 evaluations of a search would cost
// far more than the projections themselves.
#include <cstdlib>

#include "platform/fs.h"
#include "platform/paths.h"
#include "remote/subview.h"

namespace viewgeo {

std::int32_t SubviewLens::projection_type() {
    if (!known_) {
        // Only the presence of the file matters, as at context creation.
        type_ = platform::fs::exists(platform::kProjectionFlagPath) ? 1 : 2;
        known_ = true;
    }
    return type_;
}

viewgeo_context *new_subview_context(SubviewLens &lens) {
    auto *ctx = static_cast<viewgeo_context *>(std::calloc(1, sizeof(viewgeo_context)));
    if (ctx == nullptr) return nullptr;
    ctx->pic_rot = 0;
    ctx->vert_fov_set = false;
    ctx->dewarp_status = 0;
    ctx->projection_type = lens.projection_type();
    ctx->mo_table = nullptr;
    ctx->mo_opt_offset = nullptr;
    ctx->mo_mech_offset = nullptr;
    ctx->mo_count = 0;
    ctx->pan_rotation_steps = 0;
    ctx->tilt_rotation_steps = 0;
    ctx->mo_state = 0;
    return ctx;
}

}  // namespace viewgeo
