// The overview context's defaults, from which every load of its configuration starts.
#pragma once

#include "viewgeo.h"

namespace viewgeo {

// Writes every default: centred circle of 0.3046875 x width (0.541666687 x
// height) radius whose rim is 99 degrees off the axis, no rotation or
// mirror, four zeroed compensators, axis at pan 0 looking straight down.
void set_context_to_default(viewgeo_ovista_context *ctx);

}  // namespace viewgeo
