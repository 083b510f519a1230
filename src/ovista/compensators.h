// Quadrant code and polynomial corrections of the overview camera, defined
// here so that the projections inline them into their point stages. The
// order of the single-precision operations is kept exactly: stored
// compensator coefficients were fitted with it.
#pragma once

#include "viewgeo.h"

namespace viewgeo {

// 4 when dy is 0; 0/1 above the centre and 2/3 below, the odd codes for
// dx >= 1 (left of the centre).
inline int movement_dir(int dx, int dy) {
    if (dy == 0) return 4;
    // dx = 0 counts with the negative offsets, on purpose.
    // Summed rather than chosen by jumps: neighbouring points of a picture
    // often lie in different quadrants.
    const int left = dx >= 1 ? 1 : 0;
    const int below = dy < 0 ? 2 : 0;
    return below + left;
}

// ((x x) a + x b) + c, single precision.
inline float quadratic(float x, float a, float b, float c) {
    const float xx = x * x;
    return (xx * a + x * b) + c;
}

// (((s x) a + s b) + x c) + d with s = x x, single precision.
inline float cubic(float x, float a, float b, float c, float d) {
    const float s = x * x;
    return (((s * x) * a + s * b) + x * c) + d;
}

// The compensator's polynomial at x: type 1 quadratic, 2 cubic, else 0.
inline float correction(const viewgeo_ovista_compensator &comp, float x) {
    switch (comp.type) {
        case 1: return quadratic(x, comp.A, comp.B, comp.C);
        case 2: return cubic(x, comp.A, comp.B, comp.C, comp.D);
        default: return 0.0f;
    }
}

}  // namespace viewgeo
