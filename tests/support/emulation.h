// Whether the suite runs under qemu user-mode emulation (the cross-built
// suite, whose test presets set VIEWGEO_UNDER_EMULATION). Forked children
// and threads work there as on the target, provided the emulator loads the
// cross compiler's own C library (cmake/toolchains/debian-cross.cmake), so
// no test needs to skip; a test may use this to shorten a long sweep.
#pragma once

#include <cstdlib>

namespace viewgeo::testing {

inline bool under_user_mode_emulation() { return std::getenv("VIEWGEO_UNDER_EMULATION") != nullptr; }

}  // namespace viewgeo::testing
