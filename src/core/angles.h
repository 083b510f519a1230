// The angle rules every calculation shares: the conversion factors between
// degrees and radians with their exact bits, the once-only pan wrap, the pan
// offset of a target from the camera and the tilt of a ray behind the
// camera. Each is written here only; the exported factors (dtor_f, rtod_f,
// and dtor_x, rtod_x from the Q16.16 factors of core/q16.h) are defined from
// these.
//
// The factors are those the stored calibrations were made with, not the
// correctly rounded values where the two differ: do not "improve" them.
#pragma once

#include <bit>
#include <cstdint>

#include "core/q16.h"

namespace viewgeo {

// pi/180 rounded to single precision (bits 0x3C8EFA35).
inline constexpr float kDegToRadF = std::bit_cast<float>(0x3C8EFA35u);
// 180/pi rounded to single precision (bits 0x42652EE1), as a float and held
// as a double: the double steps multiply by the float factor widened, not by
// 180/pi in double.
inline constexpr float kRadToDegF = std::bit_cast<float>(0x42652EE1u);
inline constexpr double kRadToDegD = static_cast<double>(kRadToDegF);
// 360/pi rounded to single precision (bits 0x42E52EE1), as a float and held
// as a double: the vertical field and the zoom utilities double a half angle
// with one product.
inline constexpr float kTwoRadToDegF = std::bit_cast<float>(0x42E52EE1u);
inline constexpr double kTwoRadToDegD = static_cast<double>(kTwoRadToDegF);
static_assert(kTwoRadToDegD == 114.59156036376953);
// 180/pi one unit in the last place below kRadToDegF (bits 0x42652EE0): the
// overview camera's calibrations were made with this one, so its projections
// use it and only it.
inline constexpr float kOvistaRadToDegF = std::bit_cast<float>(0x42652EE0u);
// pi and pi/2 rounded to single precision (bits 0x40490FDB, 0x3FC90FDB).
inline constexpr float kPiF = std::bit_cast<float>(0x40490FDBu);
inline constexpr float kHalfPiF = std::bit_cast<float>(0x3FC90FDBu);
static_assert(kHalfPiF == 1.57079637f);
// pi, pi/2 and 2 pi correctly rounded to double, where a step works in double
// precision (bits 0x400921FB54442D18, 0x3FF921FB54442D18, 0x401921FB54442D18).
inline constexpr double kPiD = std::bit_cast<double>(0x400921FB54442D18u);
inline constexpr double kHalfPiD = std::bit_cast<double>(0x3FF921FB54442D18u);
inline constexpr double kTwoPiD = std::bit_cast<double>(0x401921FB54442D18u);
static_assert(kPiD == 3.141592653589793 && kHalfPiD == 1.5707963267948966 && kTwoPiD == 6.283185307179586);
// pi/180 and 180/pi correctly rounded to double (bits 0x3F91DF46A2529D39,
// 0x404CA5DC1A63C1F8), for the steps that convert in double precision: the
// overview's rotation and the precise (_d) forms. Unlike kRadToDegD this is
// not the float factor widened; pi * kRadToDegDouble is exactly 180.0.
inline constexpr double kDegToRadD = std::bit_cast<double>(0x3F91DF46A2529D39u);
inline constexpr double kRadToDegDouble = std::bit_cast<double>(0x404CA5DC1A63C1F8u);
static_assert(kDegToRadD == 0.017453292519943295 && kRadToDegDouble == 57.29577951308232);

// A pan in degrees brought towards [-180, 180] by at most one turn; +-180
// itself stays. Values beyond +-540 stay outside on purpose: callers only
// ever pass a pan that is at most one turn off.
constexpr float wrap_pan(float pan) {
    if (pan > 180.0f) return pan - 360.0f;
    if (pan < -180.0f) return pan + 360.0f;
    return pan;
}
// The same on Q16.16 degrees, in wrapping arithmetic.
constexpr q16 wrap_pan(q16 pan) {
    if (pan > kQ16Deg180) return wrap_sub(pan, kQ16Deg360);
    if (pan < kQ16MinusDeg180) return wrap_add(pan, kQ16Deg360);
    return pan;
}

// Offset of a target pan from the camera pan in degrees, brought into
// [-180, 180] the short way round: an offset of exactly +180 becomes -180
// and one of exactly -180 stays +180. The float and fixed-point projections
// and the remote search share this asymmetry, so that all of them agree.
// The float form measures both pans from -180, as stored calibrations expect.
constexpr float pan_offset(float pan, float camera_pan) {
    const float a = pan + 180.0f;
    const float b = camera_pan + 180.0f;
    if (a > b) {
        const float d = a - b;
        return d >= 180.0f ? -(360.0f - d) : d;
    }
    const float e = b - a;
    return e >= 180.0f ? 360.0f - e : -e;
}
// The same on Q16.16 degrees, in wrapping arithmetic.
constexpr q16 pan_offset(q16 pan, q16 camera_pan) {
    if (camera_pan < pan) {
        const q16 d = wrap_sub(pan, camera_pan);
        return d >= kQ16Deg180 ? wrap_sub(d, kQ16Deg360) : d;
    }
    const q16 e = wrap_sub(camera_pan, pan);
    return e < kQ16Deg180 ? wrap_neg(e) : wrap_sub(kQ16Deg360, e);
}

// The tilt of a ray behind the camera, given as a tilt past the zenith or
// nadir (so that the pan offset stays within +-90) rather than as a pan
// turned by 180 degrees: positions stored by callers are in this form.
// `tilt` is the ray's own tilt in [-90, 90], `up` its upward component in the
// level frame and `camera_tilt` the camera's tilt in degrees; a level camera
// keeps the mirrored tilt as it is.
constexpr float tilt_behind_camera(float tilt, float up, float camera_tilt) {
    const float mirrored = tilt < 0.0f ? -180.0f - tilt : 180.0f - tilt;
    if (camera_tilt > 0.0f && up < 0.0f) return mirrored + 360.0f;
    if (camera_tilt < 0.0f && up >= 0.0f) return mirrored - 360.0f;
    return mirrored;
}

}  // namespace viewgeo
