// The vertical field of view of a context: as set, or derived from the
// horizontal one and the picture's aspect.
#pragma once

#include <cstdint>

#include "viewgeo.h"

namespace viewgeo {

// Vertical field of view in degrees (single precision).
float vertical_fov_f(const viewgeo_context &ctx);
// The same in Q16.16: the value set, or the derived one converted.
std::int32_t vertical_fov_x(const viewgeo_context &ctx);

}  // namespace viewgeo
