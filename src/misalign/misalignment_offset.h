// The misalignment offset of the head at a zoom and tilt, in degrees.
#pragma once

#include "core/q16.h"
#include "viewgeo.h"

namespace viewgeo {

struct PanTiltOffset {
    q16 pan;
    q16 tilt;
};

// Offset in Q16.16 degrees for a zoom (table unit, Q16.16) and a tilt
// (Q16.16 degrees). Loads the data file first while it is still missing
// (mo_state 0), so it may write the context.
PanTiltOffset misalignment_offset(viewgeo_context &ctx, q16 zoom, q16 tilt);

}  // namespace viewgeo
