// The families of calculations, one constructor each.
#pragma once

#include "conformance.h"

namespace conformance {

Family projection_float_family();
Family projection_fixed_family();
Family view_family();
Family utilities_family();
Family misalignment_family();
Family overview_family();
Family remote_family();
#ifdef VIEWGEO_TEST_SEAM
// Reads files: only in the tool built on the test copy of the library.
Family readers_family();
#endif

}  // namespace conformance
