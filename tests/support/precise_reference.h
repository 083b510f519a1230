// Independent references for the precise (_d) tests: directions as vectors
// and the angle between them in long double, written without the library's
// helpers, and a recorder of the largest error a test measures.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

namespace viewgeo::testing {

inline constexpr long double kPiL = 3.141592653589793238462643383279502884L;

struct VecL {
    long double x;
    long double y;
    long double z;
};

inline long double radians_l(long double deg) { return deg * kPiL / 180.0L; }
inline long double degrees_l(long double rad) { return rad * 180.0L / kPiL; }

// +x toward pan 0 at tilt 0, +y toward pan 90, +z up.
inline VecL vec_of(long double pan, long double tilt) {
    const long double p = radians_l(pan);
    const long double t = radians_l(tilt);
    return {std::cos(t) * std::cos(p), std::cos(t) * std::sin(p), std::sin(t)};
}

inline long double dot(const VecL &a, const VecL &b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline VecL cross(const VecL &a, const VecL &b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline long double norm(const VecL &a) { return std::sqrt(dot(a, a)); }

// Angle between two vectors in degrees, accurate near 0 and 180.
inline long double angle_between(const VecL &a, const VecL &b) {
    return degrees_l(std::atan2(norm(cross(a, b)), dot(a, b)));
}
inline long double angle_between(double pan_a, double tilt_a, double pan_b, double tilt_b) {
    return angle_between(vec_of(pan_a, tilt_a), vec_of(pan_b, tilt_b));
}

// The largest error of a sweep; printed and recorded as a test property,
// the numbers the header states.
class MaxError {
public:
    void add(long double err) {
        ++count_;
        if (err > max_) max_ = err;
    }
    long double max() const { return max_; }
    long count() const { return count_; }
    void report(const char *what, const char *unit) const {
        ::testing::Test::RecordProperty(what, std::to_string(static_cast<double>(max_)));
        std::printf("[ max error] %s: %.3g %s over %ld cases\n", what, static_cast<double>(max_), unit, count_);
    }

private:
    long double max_ = 0.0L;
    long count_ = 0;
};

}  // namespace viewgeo::testing
