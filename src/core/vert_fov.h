// The vertical field of view of a context: as set, or derived from the
// horizontal one and the picture's aspect.
#pragma once

#include "viewgeo.h"

namespace viewgeo {

// Vertical field of view in degrees (single precision).
float vertical_fov_f(const viewgeo_context &ctx);

}  // namespace viewgeo
