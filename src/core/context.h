// Making a view context: the one place that gives a new record its initial
// state, for viewgeo_context_create() and for the library's own short-lived
// contexts.
#pragma once

#include <cstdint>

#include "viewgeo.h"

namespace viewgeo {

// The lens model a new context gets: 1 when the flag file
// /usr/share/viewgeo/viewgeo_projection.conf exists, otherwise 2.
std::int32_t default_projection_type();

// A new record with the initial state of a created context and the given
// lens model, without reading the misalignment data. Null when out of memory.
viewgeo_context *allocate_context(std::int32_t projection_type);

}  // namespace viewgeo
