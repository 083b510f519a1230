// Whether the suite runs under qemu user-mode emulation (the cross-built
// suite, whose test presets set VIEWGEO_UNDER_EMULATION). There a forked
// child, or any thread the program starts, dies of a segmentation fault, so
// the tests that need a second process or thread run on the host only; what
// they check is the host kernel's file semantics.
#pragma once

#include <cstdlib>

namespace viewgeo::testing {

inline bool under_user_mode_emulation() { return std::getenv("VIEWGEO_UNDER_EMULATION") != nullptr; }

}  // namespace viewgeo::testing
