// The single-precision projections between pan/tilt directions and pixels
// of the picture a view context describes, each as a view stage (the
// prepared view) and a point stage; see core/projection_view.h.
#pragma once

#include <cstdint>

#include "core/projection_view.h"
#include "viewgeo.h"

namespace viewgeo {

// The view, prepared for finding the pixels of directions. The centre of a
// degenerate view is given unrotated.
struct PixelViewF : PixelViewCommon<float> {
    float camera_pan;
    double camera_tilt_sin;  // double sine and cosine of the camera tilt
    double camera_tilt_cos;
    double camera_tilt_sin_negated;  // the sine with its sign flipped, see pixel_of_direction_f
};
PixelViewF prepare_pixel_view_f(const viewgeo_context &ctx);
// Pixel where the direction (pan, tilt) in degrees appears.
VIEWGEO_POINT_STAGE Pixel pixel_of_direction_f(const PixelViewF &view, float pan, float tilt);

// The view, prepared for finding the directions of pixels.
struct DirectionViewF : DirectionViewCommon<float> {
    float scale_h;  // lens value of the half fields of view, the ray's scale
    float scale_v;
};
DirectionViewF prepare_direction_view_f(const viewgeo_context &ctx);
// Absolute pan/tilt in degrees that brings pixel (x, y) to the centre.
VIEWGEO_POINT_STAGE PanTiltF direction_of_pixel_f(const DirectionViewF &view, std::int32_t x, std::int32_t y);

// The view, prepared for finding the movements that centre pixels.
struct MovementViewF {
    DirectionViewF direction;
    float tilt_word;  // the camera's tilt word as a plain number, see movement_of_pixel_f
};
MovementViewF prepare_movement_view_f(const viewgeo_context &ctx);
// The same as a movement from the context's pan/tilt.
VIEWGEO_POINT_STAGE PanTiltF movement_of_pixel_f(const MovementViewF &view, std::int32_t x, std::int32_t y);

}  // namespace viewgeo
