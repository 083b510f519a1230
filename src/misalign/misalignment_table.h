// The zoom-keyed misalignment table compiled from a context's two
// calibration texts.
#pragma once

#include "viewgeo.h"

namespace viewgeo {

// Compiles ctx.mo_opt_offset against ctx.mo_mech_offset into ctx.mo_table.
// Two empty texts clear the table. 0, or -1 when a text is null or does not
// scan (the table is then gone, unless the mechanical text was the bad one).
int set_misalignment_data(viewgeo_context &ctx);

}  // namespace viewgeo
