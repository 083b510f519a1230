// Applying the misalignment offset to a pan/tilt direction.
#pragma once

#include "core/projection_fixed.h"
#include "core/q16.h"
#include "viewgeo.h"

namespace viewgeo {

// The direction (Q16.16 degrees) moved by the offset at `zoom` and `tilt`,
// added or, when `add` is false, taken away. Pan and tilt come back wrapped
// once towards [-180, 180]; a direction that went over the zenith is turned
// back to the side it came from. Loads the misalignment data first while it
// is still missing, so it may write the context.
PanTiltX compensate_misalignment(viewgeo_context &ctx, q16 zoom, bool add, q16 pan, q16 tilt);

}  // namespace viewgeo
