// Quadrant code and polynomial corrections of the overview camera.
#pragma once

#include "viewgeo.h"

namespace viewgeo {

// 4 when dy is 0; 0/1 above the centre and 2/3 below, the odd codes for
// dx >= 1 (left of the centre).
int movement_dir(int dx, int dy);
// ((x x) a + x b) + c, single precision.
float quadratic(float x, float a, float b, float c);
// (((s x) a + s b) + x c) + d with s = x x, single precision.
float cubic(float x, float a, float b, float c, float d);
// The compensator's polynomial at x: type 1 quadratic, 2 cubic, else 0.
float correction(const viewgeo_ovista_compensator &comp, float x);

}  // namespace viewgeo
