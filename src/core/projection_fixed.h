// The Q16.16 projections between pan/tilt directions and pixels of the
// picture. Same geometry as the single-precision forms, with the products,
// sums, sines, cosines and square roots carried in Q16.16.
#pragma once

#include <cstdint>

#include "core/picture_rotation.h"
#include "core/q16.h"
#include "viewgeo.h"

namespace viewgeo {

struct PanTiltX {
    q16 pan;
    q16 tilt;
};

// Pixel where the direction (pan, tilt) appears, Q16.16 degrees in. A zero
// field of view gives the picture centre as a Q16.16 value instead.
PixelPair pixel_of_direction_x(const viewgeo_context &ctx, q16 pan, q16 tilt);
// Absolute pan/tilt (Q16.16 degrees) that brings pixel (x, y) to the centre.
PanTiltX direction_of_pixel_x(const viewgeo_context &ctx, std::int32_t x, std::int32_t y);
// The same as a movement from the context's pan/tilt, each reduced to
// [-360, 360]; linear in the pixel when dewarp_status is 1.
PanTiltX movement_to_pixel_x(const viewgeo_context &ctx, std::int32_t x, std::int32_t y);

}  // namespace viewgeo
