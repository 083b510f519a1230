// The short-lived context of a sub-view. It is made as
// viewgeo_context_create() makes one (same lens model from the flag file,
// dewarp 0, rotation 0, derived vertical field, empty misalignment state)
// but without reading the misalignment data: the projection never uses it,
// and reading it for each of up to 151 evaluations of a search would cost
// far more than the projections themselves.
#include "core/context.h"
#include "remote/subview.h"

namespace viewgeo {

std::int32_t SubviewLens::projection_type() {
    if (!known_) {
        type_ = default_projection_type();
        known_ = true;
    }
    return type_;
}

ContextPtr new_subview_context(SubviewLens &lens) { return ContextPtr(allocate_context(lens.projection_type())); }

}  // namespace viewgeo
