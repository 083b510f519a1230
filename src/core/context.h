// Making a view context: the one place that gives a new record its initial
// state, for viewgeo_context_create() and for the library's own short-lived
// contexts.
#pragma once

#include <cstdint>
#include <memory>

#include "viewgeo.h"

namespace viewgeo {

// The lens model a new context gets: 1 when the flag file
// /usr/share/viewgeo/viewgeo_projection.conf exists, otherwise 2.
std::int32_t default_projection_type();

// A new record with the initial state of a created context and the given
// lens model, without reading the misalignment data. Null when out of memory.
viewgeo_context *allocate_context(std::int32_t projection_type);

// Frees a context and the misalignment data it holds.
void free_context(viewgeo_context *ctx);

// Owner of one of the library's own short-lived contexts.
struct ContextDeleter {
    void operator()(viewgeo_context *ctx) const { free_context(ctx); }
};
using ContextPtr = std::unique_ptr<viewgeo_context, ContextDeleter>;

// A vertical field of view (Q16.16 degrees) set explicitly, so that it is no
// longer derived from the horizontal one.
inline void set_vert_fov(viewgeo_context &ctx, std::int32_t fov) {
    ctx.vert_fov = fov;
    ctx.vert_fov_set = true;
}

// The view's direction given in float degrees, kept as Q16.16.
void set_pantilt_f(viewgeo_context &ctx, float pan, float tilt);

}  // namespace viewgeo
