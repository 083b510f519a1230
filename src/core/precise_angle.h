// Double-precision building blocks of the precise (_d) geometry: sines and
// cosines of angles in degrees with exact reduction, the arc tangent of a
// quotient, pan wrapping into (-180, 180], and the turn between a camera's
// own frame and pan/tilt directions. Everything here is the ideal model in
// double precision; the bit-exact forms keep their own constants and never
// use these.
#pragma once

#include <bit>
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
inline constexpr double kHalfPi = kHalfPiD;
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

// 1.5 * 2^52: a double of magnitude below 2^51 plus this lies in [2^52, 2^53),
// where the spacing of doubles is 1, so the sum is rounded to a whole number
// (ties to even, in the default rounding mode) and its low bits hold it.
inline constexpr double kRoundingShift = 6755399441055744.0;

// Nearest integer of v (ties to even), for |v| below 2^51.
inline double nearest_integer(double v) { return (v + kRoundingShift) - kRoundingShift; }

// c0 + c1 z + ... + c7 z^7, in pairs and powers of z^2 (Estrin's scheme):
// no longer a chain of eight products and sums one after another, which
// keeps a call's latency short; the terms beyond c1 are too small here for
// the order of the sums to matter.
inline double series8(const double (&c)[8], double z) {
    const double z2 = z * z;
    const double lo = (c[0] + c[1] * z) + z2 * (c[2] + c[3] * z);
    const double hi = (c[4] + c[5] * z) + z2 * (c[6] + c[7] * z);
    return lo + (z2 * z2) * hi;
}

// Sine and cosine of an angle of at most a quarter of pi radians either
// way, by their Taylor series: the first left-out terms are below 2e-19 of
// the result there, and the results were measured within 0.8 units in the
// last place of the true sine and cosine. This is the part of the
// library's sine and cosine that remains once the angle is reduced, which
// sincos_deg does exactly itself; plain double arithmetic, so every target
// gives the same bits. 0 gives exactly 0 and 1.
inline SinCos sincos_quarter(double r) {
    static constexpr double kSine[8] = {-1.0 / 6.0,          1.0 / 120.0,          -1.0 / 5040.0,
                                        1.0 / 362880.0,      -1.0 / 39916800.0,    1.0 / 6227020800.0,
                                        -1.0 / 1307674368000.0, 1.0 / 355687428096000.0};
    static constexpr double kCosine[8] = {1.0 / 24.0,         -1.0 / 720.0,         1.0 / 40320.0,
                                          -1.0 / 3628800.0,   1.0 / 479001600.0,    -1.0 / 87178291200.0,
                                          1.0 / 20922789888000.0, -1.0 / 6402373705728000.0};
    const double r2 = r * r;
    // 1 - r^2/2 is rounded once more than it needs to be; the difference of
    // 1 and the rounded value minus r^2/2 is that rounding, exactly, and goes
    // back in with the small terms.
    const double half = 0.5 * r2;
    const double head = 1.0 - half;
    const double tail = ((1.0 - head) - half) + (r2 * r2) * series8(kCosine, r2);
    return {r + (r * r2) * series8(kSine, r2), head + tail};
}

// v with its sign turned when `turn` is 1 (bit operations, so that a
// random quadrant costs no mispredicted branch).
inline double turn_sign(double v, std::uint64_t turn) {
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(v) ^ (turn << 63));
}

// Sine and cosine of an angle in degrees. The angle is first reduced
// exactly to about [-45, 45] around a nearest multiple of 90 (the difference
// of two close doubles is exact; the quotient by 90 is a product with its
// reciprocal, which can only pick the other neighbour where both are 45
// away), so multiples of 90 give exact 0 and +-1 and large angles lose
// nothing to a rounded pi. A NaN or infinity gives NaN.
inline SinCos sincos_deg(double degrees) {
    constexpr double kPerQuarterTurn = 1.0 / 90.0;
    double d = degrees;
    // Beyond 2^51 quarter turns the quadrant count would not fit; a whole
    // number of turns is removed first (exactly).
    if (!(std::fabs(d) < 1.0e15)) d = std::remainder(d, 360.0);
    const double shifted = d * kPerQuarterTurn + kRoundingShift;
    const double q = shifted - kRoundingShift;
    const SinCos k = sincos_quarter((d - q * 90.0) * kDegToRad);
    // The low bits of the shifted sum are q + 2^51, so its last two bits are
    // the quadrant q mod 4, negative q included; no conversion of q to an
    // integer, which a NaN angle would make undefined (its outputs are NaN
    // whatever the quadrant).
    const std::uint64_t quadrant = std::bit_cast<std::uint64_t>(shifted);
    // Quadrants 1 and 3 swap sine and cosine, by a mask of the bits; 2 and 3
    // turn the sine's sign, 1 and 2 the cosine's.
    const std::uint64_t swap = std::uint64_t{0} - (quadrant & 1);
    const std::uint64_t s = std::bit_cast<std::uint64_t>(k.s);
    const std::uint64_t c = std::bit_cast<std::uint64_t>(k.c);
    const double first = std::bit_cast<double>((s & ~swap) | (c & swap));
    const double second = std::bit_cast<double>((c & ~swap) | (s & swap));
    return {turn_sign(first, (quadrant >> 1) & 1), turn_sign(second, ((quadrant + 1) >> 1) & 1)};
}

// The angle of the point (x, y), radians in [-pi, pi], with the signs and
// zeros of std::atan2 (a negative zero x counts as the left half plane).
// The smaller of |x| and |y| over the larger is at most 1, where one arc
// tangent of the quotient is accurate; the octant then adds a right angle
// or a half turn, so the axes and the half turn come out exact. On the host
// this is measurably cheaper than std::atan2. Finite arguments only (two
// infinities have no quotient); NaN gives NaN.
inline double arc_tangent(double y, double x) {
    const double ax = std::fabs(x);
    const double ay = std::fabs(y);
    const bool steep = ay > ax;
    const double small = steep ? ax : ay;
    const double large = steep ? ay : ax;
    const double t = std::atan(large == 0.0 ? 0.0 : small / large);
    double a = steep ? kHalfPi - t : t;
    if (std::signbit(x)) a = kPi - a;
    return std::copysign(a, y);
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
    if (std::fabs(deg) <= 180.0) return deg;
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
    double tilt = arc_tangent(up, level) * kRadToDeg;
    // The arc tangent stays within +-pi/2 here; the clamp guards the last bit
    // of the conversion to degrees.
    if (tilt > 90.0) tilt = 90.0;
    if (tilt < -90.0) tilt = -90.0;
    const double pan_offset = level == 0.0 ? 0.0 : arc_tangent(ray.x, forward) * kRadToDeg;
    return {pan_offset, tilt};
}

}  // namespace viewgeo::precise
