// Conversions between pan/tilt directions (degrees) and vectors.
#pragma once

namespace viewgeo {

// Unit vector of a direction: +x toward pan 0 at tilt 0, +y toward pan 90,
// +z up.
void ptz_to_cartesian(float pan, float tilt, float *x, float *y, float *z);
// Direction of a vector of any length; -1 with the outputs untouched for a
// zero or NaN length, else 0.
int cartesian_to_ptz(float x, float y, float z, float *pan, float *tilt);

}  // namespace viewgeo
