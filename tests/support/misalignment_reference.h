// An independent, step-by-step model of the misalignment offset and its
// compensation, for the tests: plain 64-bit integer and explicit float and
// double arithmetic written out from the rules, sharing no code with the
// library (not even its Q16.16 helpers).
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <math.h>
#include <string>
#include <vector>

namespace viewgeo::testing {

struct RefEntry {
    std::int32_t zoom;
    std::int32_t pan_steps;
    std::int32_t tilt_steps;
};

struct RefOffset {
    std::int32_t pan;
    std::int32_t tilt;
};

inline std::int32_t ref_low32(std::int64_t v) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(v))); }
inline std::int32_t ref_sub32(std::int32_t a, std::int32_t b) { return ref_low32(static_cast<std::int64_t>(a) - b); }
inline std::int32_t ref_add32(std::int32_t a, std::int32_t b) { return ref_low32(static_cast<std::int64_t>(a) + b); }

// Word to float: converted to single precision, scaled by 2^-16 (exact).
inline float ref_to_float(std::int32_t w) { return static_cast<float>(w) / 65536.0f; }

// Float to word: v * 65536 and +-0.5 in single precision (the sign taken
// from v), truncated toward zero, saturated at the 32-bit limits.
inline std::int32_t ref_from_float(float v) {
    const float p = v * 65536.0f;
    const float s = p + (v > 0.0f ? 0.5f : -0.5f);
    if (std::isnan(s)) return std::signbit(s) ? INT32_MIN : INT32_MAX;
    const float t = std::trunc(s);
    if (t >= 2147483648.0f) return INT32_MAX;
    if (t < -2147483648.0f) return INT32_MIN;
    return static_cast<std::int32_t>(static_cast<std::int64_t>(t));
}

// a / b rounded half away from zero, on 64 bits: (a * 65536 +- |b|/2) / b.
inline std::int32_t ref_div(std::int32_t a, std::int32_t b) {
    const std::int64_t h = (b < 0 ? -static_cast<std::int64_t>(b) : static_cast<std::int64_t>(b)) / 2;
    const std::int64_t n = static_cast<std::int64_t>(a) * 65536 + (a >= 0 ? h : -h);
    return ref_low32(n / b);
}

// a * b rounded half up: ((a * b >> 15) + 1) >> 1 on 64 bits.
inline std::int32_t ref_mul(std::int32_t a, std::int32_t b) {
    const std::int64_t p = static_cast<std::int64_t>(a) * b;
    return ref_low32(((p >> 15) + 1) >> 1);
}

inline std::int32_t ref_steps_to_degrees(std::int32_t steps_q16, std::uint32_t per_turn) {
    if (per_turn == 0) return 0;
    const float x = ref_to_float(steps_q16);
    const float times = x * 360.0f;
    const float d = times / static_cast<float>(per_turn);
    return ref_from_float(d);
}

// The offset query on a loaded table.
inline RefOffset ref_offset(const std::vector<RefEntry> &t, std::uint32_t pan_turn, std::uint32_t tilt_turn,
                            std::int32_t zoom, std::int32_t tilt) {
    const long n = static_cast<long>(t.size());
    if (n == 0) return {0, 0};
    long lo = -1;
    long hi = -1;
    long fixed = -1;
    if (n == 1) {
        fixed = 0;
    } else if (n == 2) {
        if (zoom > t[1].zoom) fixed = 1;
        else lo = 0, hi = 1;
    } else {
        for (long i = 0; i + 3 <= n && lo < 0; ++i) {
            if (t[i].zoom <= zoom && zoom < t[i + 1].zoom) lo = i, hi = i + 1;
        }
        if (lo < 0) {
            if (zoom > t[n - 1].zoom) fixed = n - 1;
            else lo = n - 2, hi = n - 1;
        }
    }
    std::int32_t ps;
    std::int32_t ts;
    if (fixed >= 0) {
        ps = t[fixed].pan_steps;
        ts = t[fixed].tilt_steps;
    } else {
        const std::int32_t width = ref_sub32(t[hi].zoom, t[lo].zoom);
        const std::int32_t u = width == 0 ? 65536 : ref_div(ref_sub32(zoom, t[lo].zoom), width);
        ps = ref_add32(t[lo].pan_steps, ref_mul(ref_sub32(t[hi].pan_steps, t[lo].pan_steps), u));
        ts = ref_add32(t[lo].tilt_steps, ref_mul(ref_sub32(t[hi].tilt_steps, t[lo].tilt_steps), u));
    }
    RefOffset out{ref_steps_to_degrees(ps, pan_turn), ref_steps_to_degrees(ts, tilt_turn)};
    const std::int64_t T = tilt;
    const std::int64_t deg = 65536;
    if ((T >= -95 * deg && T <= -85 * deg) || (T >= 85 * deg && T <= 95 * deg)) return {0, 0};
    if (T > -110 * deg && T < -70 * deg) {
        const std::int64_t from_nadir = T + 90 * deg;
        const std::int64_t dist = from_nadir < 0 ? -from_nadir : from_nadir;
        const std::int32_t f = ref_div(static_cast<std::int32_t>(dist - 5 * deg), static_cast<std::int32_t>(15 * deg));
        out.pan = ref_mul(out.pan, f);
        out.tilt = ref_mul(out.tilt, f);
    }
    return out;
}

// The compensation of (pan, tilt) by an offset already taken (and negated
// for add = 0), all words Q16.16.
inline RefOffset ref_compensate(std::int32_t pan, std::int32_t tilt, std::int32_t op, std::int32_t ot) {
    const float P = ref_to_float(pan);
    const float T = ref_to_float(tilt);
    const float dp = ref_to_float(op);
    const float dt = ref_to_float(ot);
    if (dp > -0.01f && dp < 0.01f && dt > -0.01f && dt < 0.01f) return {ref_from_float(P), ref_from_float(T)};
    float Pn;
    float Tn;
    if (std::fabs(T) < 0.5f) {
        Pn = P + dp;
        Tn = T + dt;
    } else if (std::fabs(std::fabs(T) - 180.0f) < 0.5f) {
        const float t180 = T + 180.0f;
        Tn = -t180 - dt;
        const float p180 = P + 180.0f;
        Pn = p180 - dp;
    } else {
        const float r = std::bit_cast<float>(0x3C8EFA35u);
        const float Pr = P * r;
        const float dpr = dp * r;
        const float dtr = dt * r;
        const float Tr = T * r;
        const double c_d = 1.5707963267948966 - static_cast<double>(Tr);
        const float c = static_cast<float>(c_d);
        const float cdt = cosf(dtr);
        const float cc = cosf(c);
        const float cdp = cosf(dpr);
        const float sdt = sinf(dtr);
        const float sc = sinf(c);
        const float prod1 = cdt * cc;
        const float prod2 = prod1 * cdp;
        const float prod3 = sdt * sc;
        float s = prod2 + prod3;
        if (s > 0.999f) s = 0.999f;
        if (s < -0.999f) s = -0.999f;
        const float lat = asinf(s);
        const float num = sdt - sc * s;
        const float den = cc * cosf(lat);
        const float q = num / den;
        float A;
        if (q > 1.0f) {
            A = 0.0f;
        } else if (q >= -1.0f) {
            A = static_cast<float>(std::acos(static_cast<double>(q)));
        } else {
            A = 3.14159274f;
        }
        const double dpr_d = static_cast<double>(dpr);
        if (dpr_d > 0.0 && dpr_d < 3.141592653589793) {
            const double twopi_minus = 6.283185307179586 - static_cast<double>(A);
            A = static_cast<float>(twopi_minus);
        }
        const float sum = Pr + A;
        const double shifted = static_cast<double>(sum) - 3.141592653589793;
        const float pan_rad = static_cast<float>(shifted);
        const float k = std::bit_cast<float>(0x42652EE1u);
        Pn = pan_rad * k;
        Tn = lat * k;
    }
    if (Pn > 180.0f) Pn = Pn - 360.0f;
    else if (Pn < -180.0f) Pn = Pn + 360.0f;
    if (Tn > 180.0f) Tn = Tn - 360.0f;
    else if (Tn < -180.0f) Tn = Tn + 360.0f;
    const float d = Pn - P;
    float w = d;
    if (w > 180.0f) w = w - 360.0f;
    else if (w < -180.0f) w = w + 360.0f;
    if (std::fabs(w) > 90.0f) {
        if (d > 0.0f) Pn = Pn - 180.0f;
        else Pn = Pn + 180.0f;
        Tn = -180.0f - Tn;
    }
    return {ref_from_float(Pn), ref_from_float(Tn)};
}

// The words a data file's optical text compiles to (mechanical offset
// given in steps), for building reference tables next to the file.
inline std::vector<RefEntry> ref_table(const std::vector<std::vector<double>> &rows, int mech_pan, int mech_tilt) {
    std::vector<RefEntry> t;
    for (const auto &row : rows) {
        const float z = static_cast<float>(row[0]);
        const std::int64_t p = (mech_pan / 2) - static_cast<std::int64_t>(row[1]);
        const std::int64_t q = (mech_tilt / 2) - static_cast<std::int64_t>(row[2]);
        t.push_back({ref_from_float(z), ref_low32(p * 65536), ref_low32(q * 65536)});
    }
    return t;
}

}  // namespace viewgeo::testing
