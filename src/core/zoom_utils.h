// Magnification between two fields of view and the field of view after a
// zoom factor. Pure functions; no context.
#pragma once

#include "core/q16.h"

namespace viewgeo {

// tan(fov_b / 2) / tan(fov_a / 2), fields in Q16.16 degrees.
q16 zoom_magnification_x(q16 fov_a, q16 fov_b);

// Field of view (degrees) after zoom factor zoom_a, and after zoom_a and
// then zoom_b: 2 atan(tan(fov / 2) / zoom).
void zoom_fov_f(float zoom_a, float fov, float zoom_b, float &fov_a_out, float &fov_b_out);
void zoom_fov_x(q16 zoom_a, q16 fov, q16 zoom_b, q16 &fov_a_out, q16 &fov_b_out);

}  // namespace viewgeo
