// The precise (double-precision) model of the main camera's view, read from
// a view context: the ideal version of what the bit-exact projections
// compute, with continuous pixel coordinates.
#pragma once

#include <cstdint>

#include "core/precise_angle.h"
#include "viewgeo.h"

namespace viewgeo::precise {

struct View {
    double width;   // unrotated picture, pixels
    double height;
    double g_h;     // lens value of the horizontal and vertical half fields
    double g_v;
    std::int32_t lens;      // projection_type
    std::int32_t rotation;  // 0, 90, 180, 270 or 360
    double pan;             // camera pan, degrees in [-180, 180]
    SinCos tilt;            // camera tilt
};

// Reads the view from the context: its Q16.16 pan, tilt and fields taken as
// exact values, the vertical field as stored or derived from the aspect.
// False for a degenerate view: a picture size or field that is not positive,
// a field the lens cannot see (rectilinear 180 degrees or more, sine more
// than 180, equidistant more than 360), an unknown rotation.
bool read_view(const viewgeo_context &ctx, View *view);

struct PixelD {
    double x;
    double y;
};

// Pixel (continuous, rotated picture) of a direction; false outside the
// lens's domain or for a non-finite input.
bool view_direction_to_pixel(const View &view, double pan, double tilt, PixelD *pixel);
// Direction of a pixel; false beyond the lens's rim or for a non-finite input.
bool view_pixel_to_direction(const View &view, double x, double y, double *pan, double *tilt);

}  // namespace viewgeo::precise
