// The lens models: where a ray at angle theta off the optical axis lands,
// as g(theta) relative to g(half field of view).
#pragma once

#include <cmath>
#include <cstdint>

namespace viewgeo {

enum : std::int32_t { kLensSine = 0, kLensEquidistant = 1 };  // anything else: rectilinear

// g(theta) for the context's projection_type: sin, identity or tan. The
// double-precision function of the widened angle, narrowed to float.
inline float lens_value(std::int32_t projection_type, float theta) {
    if (projection_type == kLensSine) return static_cast<float>(std::sin(static_cast<double>(theta)));
    if (projection_type == kLensEquidistant) return theta;
    return static_cast<float>(std::tan(static_cast<double>(theta)));
}

}  // namespace viewgeo
