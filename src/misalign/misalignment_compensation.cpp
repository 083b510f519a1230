// Applying the misalignment offset to a pan/tilt direction: plain addition
// near the horizon and at the zenith, a rotation on the sphere elsewhere.
// The mixture of single and double precision is what stored calibrations
// were made with and is kept exactly.
#include <bit>
#include <cmath>
#include <math.h>

#include "core/angles.h"
#include "core/q16.h"
#include "misalign/misalignment_compensation.h"
#include "misalign/misalignment_offset.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

// Offsets smaller than this (degrees) leave the direction as it is.
constexpr float kNegligible = 0.01f;
// Tilt band (degrees) around the horizon and the zenith where the offset is
// simply added.
constexpr float kAdditiveBand = 0.5f;
// The sine of the new latitude stays off the poles.
constexpr float kMaxSinLatitude = 0.999f;

struct Direction {
    float pan;
    float tilt;
};

// The direction (P, T) moved by the offset (dp, dt), all degrees: the
// offset is a rotation of the camera frame, which the spherical triangle
// between the pole, the old and the new direction resolves.
Direction rotate(float P, float T, float dp, float dt) {
    const float r = kDegToRadF;
    const float Pr = P * r;
    const float dpr = dp * r;
    const float dtr = dt * r;
    // Co-latitude of the direction.
    const float c = static_cast<float>(kHalfPiD - static_cast<double>(T * r));
    float s = ::cosf(dtr) * ::cosf(c) * ::cosf(dpr) + ::sinf(dtr) * ::sinf(c);
    if (s > kMaxSinLatitude) {
        s = kMaxSinLatitude;
    } else if (s < -kMaxSinLatitude) {
        s = -kMaxSinLatitude;
    }
    const float lat = ::asinf(s);
    const float q = (::sinf(dtr) - ::sinf(c) * s) / (::cosf(c) * ::cosf(lat));
    // Azimuth at the new direction; q strays outside [-1, 1] by rounding.
    float A;
    if (q > 1.0f) {
        A = 0.0f;
    } else if (q < -1.0f) {
        A = kPiF;
    } else {
        A = static_cast<float>(std::acos(static_cast<double>(q)));
    }
    const double dpr_d = static_cast<double>(dpr);
    if (dpr_d > 0.0 && dpr_d < kPiD) A = static_cast<float>(kTwoPiD - static_cast<double>(A));
    const float pan_rad = static_cast<float>(static_cast<double>(Pr + A) - kPiD);
    return {pan_rad * kRadToDegF, lat * kRadToDegF};
}

Direction compensate(float P, float T, float dp, float dt) {
    Direction out;
    if (std::fabs(T) < kAdditiveBand) {
        out = {P + dp, T + dt};
    } else if (std::fabs(std::fabs(T) - 180.0f) < kAdditiveBand) {
        out = {(P + 180.0f) - dp, -(T + 180.0f) - dt};
    } else {
        out = rotate(P, T, dp, dt);
    }
    out.pan = wrap_pan(out.pan);
    out.tilt = wrap_pan(out.tilt);  // the same once-only wrap, applied to the tilt
    // Keep the answer on the same side of the zenith as the input: a pan that
    // turned by more than 90 degrees went over the pole. The pan is not
    // wrapped again afterwards.
    const float d = out.pan - P;
    if (std::fabs(wrap_pan(d)) > 90.0f) {
        out.pan = d > 0.0f ? out.pan - 180.0f : out.pan + 180.0f;
        out.tilt = -180.0f - out.tilt;
    }
    return out;
}

}  // namespace

PanTiltX compensate_misalignment(viewgeo_context &ctx, q16 zoom, bool add, q16 pan, q16 tilt) {
    PanTiltOffset offset = misalignment_offset(ctx, zoom, tilt);
    if (!add) offset = {wrap_neg(offset.pan), wrap_neg(offset.tilt)};
    const float P = q16_to_float(pan);
    const float T = q16_to_float(tilt);
    const float dp = q16_to_float(offset.pan);
    const float dt = q16_to_float(offset.tilt);
    Direction out{P, T};
    // Written back through the float form: above 128 degrees that can move a
    // word by one unit, kept as stored positions expect.
    if (!(-kNegligible < dp && dp < kNegligible && -kNegligible < dt && dt < kNegligible)) {
        out = compensate(P, T, dp, dt);
    }
    return {q16_from_float(out.pan), q16_from_float(out.tilt)};
}

}  // namespace viewgeo

extern "C" VIEWGEO_API int32_t viewgeo_compensate_misalignment_offset(viewgeo_context *ctx, int32_t zoom, int add,
                                                                      int32_t pan, int32_t tilt, int32_t *pan_out,
                                                                      int32_t *tilt_out) {
    const viewgeo::PanTiltX out = viewgeo::compensate_misalignment(*ctx, zoom, add != 0, pan, tilt);
    *pan_out = out.pan;
    *tilt_out = out.tilt;
    return out.tilt;
}
