// Loading the head's misalignment data file into a view context.
#pragma once

#include "viewgeo.h"

namespace viewgeo {

// Reads /var/run/ptz/mo_data_file into the context and compiles it. A missing
// file changes nothing (mo_state stays 0, so a later offset query tries
// again); a readable one that holds at least one of the two offset texts
// (one that scans) sets mo_state to 1; an unreadable one, or one without
// either text, to 2. Problems go to the system log as "Failed to load
// misalignment data at <path>.".
void load_misalignment_data(viewgeo_context *ctx);

}  // namespace viewgeo
