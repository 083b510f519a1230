// Double-precision building blocks of the precise (_d) geometry: sines and
// cosines of angles in degrees with exact reduction, pan wrapping into
// (-180, 180], and the turn between a camera's own frame and pan/tilt
// directions. Everything here is the ideal model in double precision; the
// bit-exact forms keep their own constants and never use these.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "core/angles.h"

namespace viewgeo::precise {

// pi/180 and 180/pi correctly rounded to double (pi * kRadToDeg is exactly
// 180.0, pi/2 * kRadToDeg exactly 90.0), and pi.
inline constexpr double kDegToRad = kDegToRadD;
inline constexpr double kRadToDeg = kRadToDegDouble;
inline constexpr double kPi = kPiD;
// What a precise form writes to its outputs when it has no answer.
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The result of a precise form with two outputs: 0, or -1 with both
// outputs NaN when there is no answer.
inline int answer(bool answered, double *a, double *b) {
    if (answered) return 0;
    *a = kNaN;
    *b = kNaN;
    return -1;
}

struct SinCos {
    double s;
    double c;
};

// Nearest integer of v (ties to even), for |v| below 2^51: adding and
// removing 1.5 * 2^52 leaves no fraction bits, in the default rounding mode.
inline double nearest_integer(double v) {
    constexpr double kShift = 6755399441055744.0;  // 1.5 * 2^52
    return (v + kShift) - kShift;
}

// Sine and cosine of an angle in degrees. The angle is first reduced
// exactly to [-45, 45] about the nearest multiple of 90 (the difference of
// two close doubles is exact), so multiples of 90 give exact 0 and +-1 and
// large angles lose nothing to a rounded pi. A NaN or infinity gives NaN.
inline SinCos sincos_deg(double degrees) {
    double d = degrees;
    // Beyond 2^51 quarter turns the quadrant count would not fit; a whole
    // number of turns is removed first (exactly).
    if (!(std::fabs(d) < 1.0e15)) d = std::remainder(d, 360.0);
    const double q = nearest_integer(d / 90.0);
    const double r = (d - q * 90.0) * kDegToRad;
    // A whole number of quarter turns (a level camera, a pole, no rotation)
    // needs no library call.
    const double s = r == 0.0 ? r : std::sin(r);
    const double c = r == 0.0 ? 1.0 : std::cos(r);
    // q is a whole number within +-2^51 here (NaN only for a NaN angle, whose
    // outputs are NaN whatever the quadrant), so the cast is defined.
    const std::int64_t quadrant = std::isnan(q) ? 0 : static_cast<std::int64_t>(q);
    switch (quadrant & 3) {
        case 0: return {s, c};
        case 1: return {c, -s};
        case 2: return {-s, -c};
        default: return {-c, s};
    }
}

// An angle of at most a turn and a half off (|deg| <= 540) brought into
// (-180, 180].
inline double wrap_half_turn(double deg) {
    if (deg > 180.0) return deg - 360.0;
    if (deg <= -180.0) return deg + 360.0;
    return deg;
}

// Any finite angle brought into [-180, 180] exactly (the difference of two
// close doubles is exact, as in sincos_deg).
inline double reduce_deg(double deg) {
    if (!(std::fabs(deg) < 1.0e15)) return std::remainder(deg, 360.0);
    return deg - nearest_integer(deg / 360.0) * 360.0;
}

// A ray in a camera's own frame: x to the right of the picture, y up the
// picture, z along the optical axis. Its length does not matter.
struct Ray {
    double x;
    double y;
    double z;
};

// The direction (pan offset from the camera's pan, tilt) as a unit ray in
// the frame of a camera whose axis is tilted by `axis_tilt` (sine and cosine
// of the angles). The camera is turned about its horizontal right-hand
// axis only, so picture up is the vertical plane of its pan.
inline Ray direction_to_ray(SinCos pan_offset, SinCos tilt, SinCos axis_tilt) {
    const double sideways = pan_offset.s * tilt.c;
    const double forward = pan_offset.c * tilt.c;
    const double up = tilt.s;
    return {sideways, up * axis_tilt.c - forward * axis_tilt.s, forward * axis_tilt.c + up * axis_tilt.s};
}

struct Direction {
    double pan_offset;  // degrees from the camera's pan, [-180, 180]
    double tilt;        // degrees, [-90, 90]
};

// The inverse of direction_to_ray for a ray of any length. Straight up or
// down has no pan of its own: it gets the camera's pan (offset 0).
inline Direction ray_to_direction(const Ray &ray, SinCos axis_tilt) {
    const double forward = ray.z * axis_tilt.c - ray.y * axis_tilt.s;
    const double up = ray.z * axis_tilt.s + ray.y * axis_tilt.c;
    const double level = std::sqrt(forward * forward + ray.x * ray.x);
    double tilt = std::atan2(up, level) * kRadToDeg;
    // atan2 stays within +-pi/2 here; the clamp guards the last bit of the
    // conversion to degrees.
    if (tilt > 90.0) tilt = 90.0;
    if (tilt < -90.0) tilt = -90.0;
    const double pan_offset = level == 0.0 ? 0.0 : std::atan2(ray.x, forward) * kRadToDeg;
    return {pan_offset, tilt};
}

}  // namespace viewgeo::precise
