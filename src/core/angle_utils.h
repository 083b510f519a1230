// Angles between pan positions and pan/tilt directions, and the wrapping of
// a pan into one turn. Pure functions; no context.
#pragma once

#include "core/angles.h"
#include "core/q16.h"

namespace viewgeo {

// Unsigned distance between two pans in degrees, folded by one turn only.
float pan_delta_f(float pan_a, float pan_b);
q16 pan_delta_x(q16 pan_a, q16 pan_b);

// Angle in degrees between two pan/tilt directions (spherical law of cosines).
float great_circle_f(float pan_a, float tilt_a, float pan_b, float tilt_b);
q16 great_circle_x(q16 pan_a, q16 tilt_a, q16 pan_b, q16 tilt_b);

}  // namespace viewgeo
