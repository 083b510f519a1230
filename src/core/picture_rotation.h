// The rotation of the delivered picture: from the unrotated pixel to the one
// written out, and back. Integer arithmetic, wrapping like the 32-bit
// firmware; rotations other than 0, 90, 180, 270 and 360 map to (0, 0).
#pragma once

#include <cstdint>

#include "core/projection_view.h"
#include "core/q16.h"

namespace viewgeo {

// n halved with truncation toward zero, then doubled: 180 degrees turns about
// the even centre, so odd sizes lose their last column or row.
constexpr std::int32_t even_size(std::int32_t n) { return (n / 2) * 2; }

// From the unrotated pixel (px, py) to the pixel of the rotated picture.
constexpr Pixel rotate_into_picture(std::int32_t rot, std::int32_t px, std::int32_t py, std::int32_t width,
                                        std::int32_t height) {
    switch (rot) {
        case 0:
        case 360: return {px, py};
        case 90: return {wrap_sub(height, py), px};
        case 180: return {wrap_sub(even_size(width), px), wrap_sub(even_size(height), py)};
        case 270: return {py, wrap_sub(width, px)};
        default: return {0, 0};
    }
}

// From a pixel (x, y) of the rotated picture back to the unrotated one.
constexpr Pixel rotate_out_of_picture(std::int32_t rot, std::int32_t x, std::int32_t y, std::int32_t width,
                                          std::int32_t height) {
    switch (rot) {
        case 0:
        case 360: return {x, y};
        case 90: return {y, wrap_sub(height, x)};
        case 180: return {wrap_sub(even_size(width), x), wrap_sub(even_size(height), y)};
        case 270: return {wrap_sub(width, y), x};
        default: return {0, 0};
    }
}

}  // namespace viewgeo
