// The single-precision projections between pan/tilt directions and pixels
// of the picture a view context describes.
#pragma once

#include <cstdint>

#include "viewgeo.h"

namespace viewgeo {

struct PanTiltF {
    float pan;
    float tilt;
};

struct PixelXY {
    std::int32_t x;
    std::int32_t y;
};

// Pixel where the direction (pan, tilt) in degrees appears.
PixelXY direction_to_pixel_f(const viewgeo_context &ctx, float pan, float tilt);
// Absolute pan/tilt in degrees that brings pixel (x, y) to the centre.
PanTiltF pixel_to_direction_f(const viewgeo_context &ctx, std::int32_t x, std::int32_t y);
// The same as a movement from the context's pan/tilt.
PanTiltF pixel_to_movement_f(const viewgeo_context &ctx, std::int32_t x, std::int32_t y);

}  // namespace viewgeo
