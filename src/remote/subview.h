// The narrower view that stands in for a wide main picture when the remote
// camera is aimed: its size, its fields of view, and the short-lived
// context that carries it through the fixed-point projection.
#pragma once

#include <cstdint>

#include "core/context.h"
#include "viewgeo.h"

namespace viewgeo {

// Size of the sub-view along one axis, for a pixel position p in a picture
// of `size` pixels, and the pixel's coordinate in it: the sub-view is
// centred on the picture centre with a corner on the pixel.
struct SubviewSpan {
    std::int32_t size;
    std::int32_t corner;
};
SubviewSpan subview_span(std::int32_t p, std::int32_t size);

// Fields of view (Q16.16 degrees) of an sw x sh sub-view around pixel
// (x, y): the main view's degrees per pixel, widened away from the centre
// row and column to follow the lens distortion. Always 0.
int get_subview_fov(const viewgeo_context *ctx, std::int32_t *hfov, std::int32_t *vfov, std::int32_t sw,
                    std::int32_t sh, std::int32_t x, std::int32_t y);

// The lens model a new context gets. Looked up once and then reused, so a
// search that projects many sub-views tests the flag file only once.
class SubviewLens {
public:
    std::int32_t projection_type();

private:
    bool known_ = false;
    std::int32_t type_ = 0;
};

// A new context for a sub-view, as viewgeo_context_create() would make it
// but without reading the misalignment data, which the projection does not
// use. Null when out of memory.
ContextPtr new_subview_context(SubviewLens &lens);

}  // namespace viewgeo
