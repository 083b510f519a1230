// The Q16.16 projections between pan/tilt directions and pixels of the
// picture. Same geometry as the single-precision forms, with the products,
// sums, sines, cosines and square roots carried in Q16.16; each as a view
// stage (the prepared view) and a point stage, see core/projection_view.h.
#pragma once

#include <cstdint>

#include "core/projection_view.h"
#include "core/q16.h"
#include "viewgeo.h"

namespace viewgeo {

// The view, prepared for finding the pixels of directions. The centre of a
// degenerate view is a Q16.16 value, see pixel_of_direction_x.
struct PixelViewX : PixelViewCommon<q16> {
    q16 camera_pan;
    q16 camera_tilt_cos;  // fixed-point cosine and sine of the camera tilt
    q16 camera_tilt_sin;
    Q16Divisor lens_half_h_divisor;  // the lens values as divisors of the ray
    Q16Divisor lens_half_v_divisor;
};
PixelViewX prepare_pixel_view_x(const viewgeo_context &ctx);
// Gives the divisors of a prepared view their reciprocals, for the array
// forms; the point stages divide with or without them to the same bits.
void prepare_for_many_points(PixelViewX &view);
// Pixel where the direction (pan, tilt) appears, Q16.16 degrees in. A zero
// field of view gives the picture centre as a Q16.16 value instead.
VIEWGEO_POINT_STAGE Pixel pixel_of_direction_x(const PixelViewX &view, q16 pan, q16 tilt);

// The view, prepared for finding the directions of pixels.
// The picture size is in Q16.16.
struct DirectionViewX : DirectionViewCommon<q16> {
    float camera_tilt_f;  // the camera tilt as float, for the tests made in float
    q16 lens_half_h;      // lens values of the half fields of view
    q16 lens_half_v;
    Q16Divisor width_divisor;  // the picture size as divisors of the pixel
    Q16Divisor height_divisor;
};
DirectionViewX prepare_direction_view_x(const viewgeo_context &ctx);
void prepare_for_many_points(DirectionViewX &view);
// Absolute pan/tilt (Q16.16 degrees) that brings pixel (x, y) to the centre.
VIEWGEO_POINT_STAGE PanTiltX direction_of_pixel_x(const DirectionViewX &view, std::int32_t x, std::int32_t y);

// The view, prepared for the linear mode of dewarped pictures.
struct LinearViewX {
    q16 camera_tilt;
    q16 horiz_fov;
    q16 vert_fov;
    q16 half_horiz_fov;  // each field times one half
    q16 half_vert_fov;
    std::int32_t fold_height;  // the height rows past the bottom are folded by
    q16 width;                 // picture size in Q16.16
    q16 height;
    Q16Divisor width_divisor;  // the same as divisors of the pixel
    Q16Divisor height_divisor;
    Picture picture;
};

// The view, prepared for finding the movements that centre pixels: linear
// for dewarped pictures, otherwise through the direction of the pixel. Only
// the view of the mode in use is prepared.
struct MovementViewX {
    bool linear;
    q16 camera_pan;
    q16 camera_tilt;
    LinearViewX linear_view;
    DirectionViewX direction_view;
};
MovementViewX prepare_movement_view_x(const viewgeo_context &ctx);
void prepare_for_many_points(MovementViewX &view);
// The same as a movement from the context's pan/tilt, each reduced to
// [-360, 360]; linear in the pixel when dewarp_status is 1.
VIEWGEO_POINT_STAGE PanTiltX movement_of_pixel_x(const MovementViewX &view, std::int32_t x, std::int32_t y);

}  // namespace viewgeo
