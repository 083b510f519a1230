// The fixed-point maths primitives against the correctly rounded value,
// round(f(x / 65536) * 65536), computed in long double.
//
// The sweeps visit every input of their range. Under an emulator that is
// slow, so the environment variable VIEWGEO_SWEEP_STRIDE (a positive whole
// number, default 1) makes each sweep visit only every stride-th input; the
// checks themselves are unchanged. The largest error found is printed and
// recorded as the test property "max_error_units".
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "fixmath/fixmath.h"
#include "fixmath/viewgeo_fx.h"

namespace {

constexpr int kFrac = 16;
constexpr std::int32_t kOne = 0x10000;
// pi * 65536 = 205887.416 and pi / 2 * 65536 = 102943.708, rounded.
constexpr std::int32_t kPiQ16 = 205887;
constexpr std::int32_t kHalfPiQ16 = 102944;

std::int64_t sweep_stride() {
    const char* text = std::getenv("VIEWGEO_SWEEP_STRIDE");
    if (text == nullptr) {
        return 1;
    }
    char* end = nullptr;
    const long long stride = std::strtoll(text, &end, 10);
    return (end != text && *end == '\0' && stride > 0) ? stride : 1;
}

std::int64_t rounded_q16(long double v) { return std::llround(v * 65536.0L); }

long double from_q16(std::int64_t x) { return static_cast<long double>(x) / 65536.0L; }

// Largest |ours - reference| seen, with the input where it happened.
class ErrorTracker {
public:
    void add(std::int64_t x, std::int64_t ours, std::int64_t reference) {
        const std::int64_t e = ours > reference ? ours - reference : reference - ours;
        ++count_;
        if (e > max_) {
            max_ = e;
            worst_ = x;
        }
    }
    std::int64_t max() const { return max_; }
    std::int64_t worst() const { return worst_; }
    void report(const char* what) const {
        ::testing::Test::RecordProperty("max_error_units", std::to_string(max_));
        std::printf("[ max error] %s: %lld unit(s) of 2^-16 over %lld inputs (worst at %lld)\n",
                    what, static_cast<long long>(max_), static_cast<long long>(count_),
                    static_cast<long long>(worst_));
    }

private:
    std::int64_t max_ = 0;
    std::int64_t worst_ = 0;
    std::int64_t count_ = 0;
};

// 8 pi in Q16.16: 1647099.3, so every word in [-1647100, 1647100] is swept.
constexpr std::int64_t kEightPiQ16 = 1647100;

// ---------------------------------------------------------------- sine

TEST(FixedPointSine, WithinOneUnitOfRoundedSineForEveryInputWithinEightPi) {
    ErrorTracker err;
    const std::int64_t stride = sweep_stride();
    for (std::int64_t x = -kEightPiQ16; x <= kEightPiQ16; x += stride) {
        const std::int32_t ours = viewgeo_fx_sinx(static_cast<std::int32_t>(x), kFrac);
        err.add(x, ours, rounded_q16(std::sin(from_q16(x))));
        ASSERT_LE(ours, kOne) << "x = " << x;
        ASSERT_GE(ours, -kOne) << "x = " << x;
    }
    err.report("viewgeo_fx_sinx within 8 pi");
    EXPECT_LE(err.max(), 1) << "worst at x = " << err.worst();
}

TEST(FixedPointSine, PeriodicForAnyInt32Argument) {
    // Far arguments reduce modulo 2 pi without losing the phase.
    std::mt19937 gen(20240611u);
    ErrorTracker err;
    const std::int64_t draws = std::max<std::int64_t>(1000, 2000000 / sweep_stride());
    for (std::int64_t i = 0; i < draws; ++i) {
        const std::int32_t x = static_cast<std::int32_t>(gen());
        err.add(x, viewgeo_fx_sinx(x, kFrac), rounded_q16(std::sin(from_q16(x))));
    }
    err.report("viewgeo_fx_sinx, random int32");
    EXPECT_LE(err.max(), 1) << "worst at x = " << err.worst();
}

TEST(FixedPointSine, WorkedValues) {
    EXPECT_EQ(viewgeo_fx_sinx(0, kFrac), 0);
    EXPECT_EQ(viewgeo_fx_sinx(1, kFrac), 1);    // sin(2^-16) * 65536 = 0.99999999996
    EXPECT_EQ(viewgeo_fx_sinx(-1, kFrac), -1);
    EXPECT_EQ(viewgeo_fx_sinx(kHalfPiQ16, kFrac), kOne);  // 65535.9999993
    // 205887 is just below pi: sin = 0.416 units, so 0.
    EXPECT_EQ(viewgeo_fx_sinx(kPiQ16, kFrac), 0);
    EXPECT_EQ(viewgeo_fx_sinx(-kHalfPiQ16, kFrac), -kOne);
    EXPECT_EQ(viewgeo_fx_sinx(kOne, kFrac), 55147);   // sin 1 = 0.841470985: 55146.64
    EXPECT_EQ(viewgeo_fx_sinx(34315, kFrac), 32768);  // nearest word to pi/6: 32768.37
    // The extremes of int32: -32768 and 32767.99998 rad.
    EXPECT_EQ(viewgeo_fx_sinx(INT32_MAX, kFrac), 60808);  // 60807.62
    EXPECT_EQ(viewgeo_fx_sinx(INT32_MIN, kFrac), -60808);  // -60807.99
}

TEST(FixedPointSine, IsOddForEveryInputWithinEightPi) {
    const std::int64_t stride = sweep_stride();
    for (std::int64_t x = 0; x <= kEightPiQ16; x += stride) {
        const std::int32_t v = static_cast<std::int32_t>(x);
        ASSERT_EQ(viewgeo_fx_sinx(-v, kFrac), -viewgeo_fx_sinx(v, kFrac)) << "x = " << x;
    }
}

TEST(FixedPointSine, NonDecreasingFromMinusHalfPiToHalfPi) {
    const std::int64_t stride = sweep_stride();
    std::int32_t previous = viewgeo_fx_sinx(-kHalfPiQ16, kFrac);
    for (std::int64_t x = -kHalfPiQ16 + stride; x <= kHalfPiQ16; x += stride) {
        const std::int32_t current = viewgeo_fx_sinx(static_cast<std::int32_t>(x), kFrac);
        ASSERT_GE(current, previous) << "x = " << x;
        previous = current;
    }
}

// -------------------------------------------------------------- cosine

// The cosine's sweep, alike on purpose to the sine's above.
TEST(FixedPointCosine, WithinOneUnitOfRoundedCosineForEveryInputWithinEightPi) {
    ErrorTracker err;
    const std::int64_t stride = sweep_stride();
    for (std::int64_t x = -kEightPiQ16; x <= kEightPiQ16; x += stride) {
        const std::int32_t ours = viewgeo_fx_cosx(static_cast<std::int32_t>(x), kFrac);
        err.add(x, ours, rounded_q16(std::cos(from_q16(x))));
        ASSERT_LE(ours, kOne) << "x = " << x;
        ASSERT_GE(ours, -kOne) << "x = " << x;
    }
    err.report("viewgeo_fx_cosx within 8 pi");
    EXPECT_LE(err.max(), 1) << "worst at x = " << err.worst();
}

TEST(FixedPointCosine, PeriodicForAnyInt32Argument) {
    std::mt19937 gen(7u);
    ErrorTracker err;
    const std::int64_t draws = std::max<std::int64_t>(1000, 2000000 / sweep_stride());
    for (std::int64_t i = 0; i < draws; ++i) {
        const std::int32_t x = static_cast<std::int32_t>(gen());
        err.add(x, viewgeo_fx_cosx(x, kFrac), rounded_q16(std::cos(from_q16(x))));
    }
    err.report("viewgeo_fx_cosx, random int32");
    EXPECT_LE(err.max(), 1) << "worst at x = " << err.worst();
}

TEST(FixedPointCosine, WorkedValues) {
    EXPECT_EQ(viewgeo_fx_cosx(0, kFrac), kOne);
    EXPECT_EQ(viewgeo_fx_cosx(1, kFrac), kOne);           // 65535.99999
    EXPECT_EQ(viewgeo_fx_cosx(kHalfPiQ16, kFrac), 0);     // -0.29 units
    EXPECT_EQ(viewgeo_fx_cosx(kPiQ16, kFrac), -kOne);     // -65535.999999
    EXPECT_EQ(viewgeo_fx_cosx(-kPiQ16, kFrac), -kOne);
    EXPECT_EQ(viewgeo_fx_cosx(411775, kFrac), kOne);      // nearest word to 2 pi
    EXPECT_EQ(viewgeo_fx_cosx(kOne, kFrac), 35409);       // cos 1 = 0.540302306: 35409.25
    EXPECT_EQ(viewgeo_fx_cosx(68629, kFrac), 32768);      // nearest word to pi/3: 32768.12
    EXPECT_EQ(viewgeo_fx_cosx(INT32_MAX, kFrac), 24442);  // 24441.78
    EXPECT_EQ(viewgeo_fx_cosx(INT32_MIN, kFrac), 24441);  // 24440.85
}

TEST(FixedPointCosine, IsEvenForEveryInputWithinEightPi) {
    const std::int64_t stride = sweep_stride();
    for (std::int64_t x = 0; x <= kEightPiQ16; x += stride) {
        const std::int32_t v = static_cast<std::int32_t>(x);
        ASSERT_EQ(viewgeo_fx_cosx(-v, kFrac), viewgeo_fx_cosx(v, kFrac)) << "x = " << x;
    }
}

TEST(FixedPointSineCosine, SquaresSumToOneWithinTheRounding) {
    // With s = S + e1 and c = C + e2 in units of 2^-16, |e| <= 1.5 (half a
    // unit of rounding plus the unit allowed) and S^2 + C^2 = 2^32:
    // s^2 + c^2 - 2^32 = 2 S e1 + 2 C e2 + e1^2 + e2^2, at most
    // 3 * 65536 * sqrt 2 + 4.5 = 278046 in units of 2^-32.
    const std::int64_t stride = sweep_stride();
    for (std::int64_t x = -kEightPiQ16; x <= kEightPiQ16; x += 97 * stride) {
        const std::int64_t s = viewgeo_fx_sinx(static_cast<std::int32_t>(x), kFrac);
        const std::int64_t c = viewgeo_fx_cosx(static_cast<std::int32_t>(x), kFrac);
        const std::int64_t deviation = s * s + c * c - (std::int64_t{1} << 32);
        ASSERT_LE(std::llabs(deviation), 278046) << "x = " << x;
    }
}

// The pair, made with one reduction of the angle, is the sine and the
// cosine word for word; the sweeps above hold for it through these.
::testing::AssertionResult pair_is_sine_and_cosine(std::int32_t x) {
    const viewgeo::fixmath::SinCos sc = viewgeo::fixmath::sincosx(x);
    const std::int32_t s = viewgeo_fx_sinx(x, kFrac);
    const std::int32_t c = viewgeo_fx_cosx(x, kFrac);
    if (sc.sin == s && sc.cos == c) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "x = " << x << ": pair (" << sc.sin << ", " << sc.cos << "), sine " << s
                                         << ", cosine " << c;
}

TEST(FixedPointSineCosine, PairIsTheSineAndTheCosineOfTheAngle) {
    const std::int64_t stride = sweep_stride();
    for (std::int64_t x = -kEightPiQ16; x <= kEightPiQ16; x += stride) {
        ASSERT_TRUE(pair_is_sine_and_cosine(static_cast<std::int32_t>(x)));
    }
    // Far arguments, where the phase wraps, and the extremes.
    std::mt19937 gen(20261124u);
    const std::int64_t draws = std::max<std::int64_t>(1000, 2000000 / stride);
    for (std::int64_t i = 0; i < draws; ++i) ASSERT_TRUE(pair_is_sine_and_cosine(static_cast<std::int32_t>(gen())));
    for (const std::int32_t x : {INT32_MIN, INT32_MIN + 1, -1, 0, 1, INT32_MAX - 1, INT32_MAX}) {
        ASSERT_TRUE(pair_is_sine_and_cosine(x));
    }
}

// --------------------------------------------------------- square root

TEST(FixedPointSqrt, WithinOneUnitOfRoundedRootFromMinusSixteenToTwo) {
    ErrorTracker err;
    const std::int64_t stride = sweep_stride();
    for (std::int64_t x = -16 * kOne; x <= 2 * kOne; x += stride) {
        const long double exact = x < 0 ? 0.0L : std::sqrt(from_q16(x));
        err.add(x, viewgeo_fx_sqrtx(static_cast<std::int32_t>(x), kFrac), rounded_q16(exact));
    }
    err.report("viewgeo_fx_sqrtx on [-16, 2]");
    EXPECT_LE(err.max(), 1) << "worst at x = " << err.worst();
}

TEST(FixedPointSqrt, WithinOneUnitOfRoundedRootOverAllPositiveInt32) {
    // A stride of 4099 (prime, so every low-bit pattern is met) visits
    // about 524000 words spread over the whole range, and the top word.
    ErrorTracker err;
    const std::int64_t stride = 4099 * sweep_stride();
    for (std::int64_t x = 0; x <= INT32_MAX; x += stride) {
        err.add(x, viewgeo_fx_sqrtx(static_cast<std::int32_t>(x), kFrac),
                rounded_q16(std::sqrt(from_q16(x))));
    }
    err.add(INT32_MAX, viewgeo_fx_sqrtx(INT32_MAX, kFrac), rounded_q16(std::sqrt(from_q16(INT32_MAX))));
    err.report("viewgeo_fx_sqrtx over int32, strided");
    EXPECT_LE(err.max(), 1) << "worst at x = " << err.worst();
}

TEST(FixedPointSqrt, WorkedValues) {
    EXPECT_EQ(viewgeo_fx_sqrtx(0, kFrac), 0);
    EXPECT_EQ(viewgeo_fx_sqrtx(kOne, kFrac), kOne);
    EXPECT_EQ(viewgeo_fx_sqrtx(0x4000, kFrac), 0x8000);   // sqrt 0.25 = 0.5
    EXPECT_EQ(viewgeo_fx_sqrtx(0x40000, kFrac), 0x20000);  // sqrt 4 = 2
    EXPECT_EQ(viewgeo_fx_sqrtx(0x20000, kFrac), 92682);   // sqrt 2 * 65536 = 92681.90
    EXPECT_EQ(viewgeo_fx_sqrtx(1, kFrac), 256);           // sqrt(2^-16) = 2^-8
    EXPECT_EQ(viewgeo_fx_sqrtx(2, kFrac), 362);           // 256 sqrt 2 = 362.04
    EXPECT_EQ(viewgeo_fx_sqrtx(INT32_MAX, kFrac), 11863283);  // sqrt(2^47 - 2^16) = 11863283.2
}

TEST(FixedPointSqrt, NegativeArgumentGivesZero) {
    EXPECT_EQ(viewgeo_fx_sqrtx(-1, kFrac), 0);
    EXPECT_EQ(viewgeo_fx_sqrtx(-3, kFrac), 0);  // rounding noise below 0
    EXPECT_EQ(viewgeo_fx_sqrtx(-kOne, kFrac), 0);
    EXPECT_EQ(viewgeo_fx_sqrtx(INT32_MIN, kFrac), 0);
}

TEST(FixedPointSqrt, SquareOfRootReturnsTheWordForEveryWordUpToOne) {
    // round(sqrt(x)) squared and rounded lands back within one unit for
    // x in [0, 1]: the root's half-unit error doubles at most to about
    // one unit after squaring (2 * sqrt(x) * 0.5 <= 1).
    const std::int64_t stride = sweep_stride();
    for (std::int64_t x = 0; x <= kOne; x += stride) {
        const std::int64_t r = viewgeo_fx_sqrtx(static_cast<std::int32_t>(x), kFrac);
        const std::int64_t back = (r * r + 0x8000) >> 16;
        ASSERT_LE(std::llabs(back - x), 1) << "x = " << x;
    }
}

TEST(FixedPointSqrt, NonDecreasingFromZeroToTwo) {
    const std::int64_t stride = sweep_stride();
    std::int32_t previous = viewgeo_fx_sqrtx(0, kFrac);
    for (std::int64_t x = stride; x <= 2 * kOne; x += stride) {
        const std::int32_t current = viewgeo_fx_sqrtx(static_cast<std::int32_t>(x), kFrac);
        ASSERT_GE(current, previous) << "x = " << x;
        previous = current;
    }
}

TEST(FixedPointSqrt, OtherFractionBitsKeepTheSameFormatInAndOut) {
    // round(sqrt(x * 2^frac)): sqrt 0.25 = 0.5 in Q30, sqrt 4 = 2 in Q0.
    EXPECT_EQ(viewgeo_fx_sqrtx(1 << 28, 30), 1 << 29);
    EXPECT_EQ(viewgeo_fx_sqrtx(4, 0), 2);
    EXPECT_EQ(viewgeo_fx_sqrtx(2, 0), 1);  // 1.414
    EXPECT_EQ(viewgeo_fx_sqrtx(3, 0), 2);  // 1.732
    EXPECT_EQ(viewgeo_fx_sqrtx(1 << 30, 30), 1 << 30);
    // Unsupported counts of fraction bits give 0.
    EXPECT_EQ(viewgeo_fx_sqrtx(kOne, 31), 0);
    EXPECT_EQ(viewgeo_fx_sqrtx(kOne, -1), 0);
}

// ---------------------------------------------------------- arc cosine

TEST(FixedPointAcos, WithinOneUnitOfRoundedArcCosineFromMinusToPlusOnePointZeroOne) {
    // 1.01 * 65536 = 66191.4; beyond +-1 the reference is that of the clamped
    // argument.
    ErrorTracker err;
    const std::int64_t stride = sweep_stride();
    for (std::int64_t x = -66191; x <= 66191; x += stride) {
        const std::int64_t clamped = std::clamp<std::int64_t>(x, -kOne, kOne);
        const std::int32_t ours = viewgeo_fx_acosx(static_cast<std::int32_t>(x), kFrac);
        err.add(x, ours, rounded_q16(std::acos(from_q16(clamped))));
        ASSERT_GE(ours, 0) << "x = " << x;
        ASSERT_LE(ours, kPiQ16) << "x = " << x;
    }
    err.report("viewgeo_fx_acosx on [-1.01, 1.01]");
    EXPECT_LE(err.max(), 1) << "worst at x = " << err.worst();
}

TEST(FixedPointAcos, WorkedValues) {
    EXPECT_EQ(viewgeo_fx_acosx(kOne, kFrac), 0);
    EXPECT_EQ(viewgeo_fx_acosx(-kOne, kFrac), kPiQ16);     // pi * 65536 = 205887.42
    EXPECT_EQ(viewgeo_fx_acosx(0, kFrac), kHalfPiQ16);     // 102943.71
    EXPECT_EQ(viewgeo_fx_acosx(0x8000, kFrac), 68629);     // pi/3 * 65536 = 68629.14
    EXPECT_EQ(viewgeo_fx_acosx(-0x8000, kFrac), 137258);   // 2 pi/3 * 65536 = 137258.28
    EXPECT_EQ(viewgeo_fx_acosx(46341, kFrac), 51472);      // ~ sqrt(1/2): 51471.78
}

TEST(FixedPointAcos, ClampsArgumentsBeyondOne) {
    EXPECT_EQ(viewgeo_fx_acosx(kOne + 1, kFrac), 0);
    EXPECT_EQ(viewgeo_fx_acosx(kOne + 3, kFrac), 0);
    EXPECT_EQ(viewgeo_fx_acosx(INT32_MAX, kFrac), 0);
    EXPECT_EQ(viewgeo_fx_acosx(-kOne - 1, kFrac), kPiQ16);
    EXPECT_EQ(viewgeo_fx_acosx(-kOne - 3, kFrac), kPiQ16);
    EXPECT_EQ(viewgeo_fx_acosx(INT32_MIN, kFrac), kPiQ16);
}

TEST(FixedPointAcos, NonIncreasingFromMinusOneToOne) {
    const std::int64_t stride = sweep_stride();
    std::int32_t previous = viewgeo_fx_acosx(-kOne, kFrac);
    for (std::int64_t x = -kOne + stride; x <= kOne; x += stride) {
        const std::int32_t current = viewgeo_fx_acosx(static_cast<std::int32_t>(x), kFrac);
        ASSERT_LE(current, previous) << "x = " << x;
        previous = current;
    }
}

TEST(FixedPointAcos, MirrorsToPiMinusTheAngleWithinOneUnit) {
    // acos(-x) = pi - acos(x); each side rounds separately, and pi itself is
    // 0.42 units above 205887, so the two may differ by one.
    const std::int64_t stride = sweep_stride();
    for (std::int64_t x = 0; x <= kOne; x += stride) {
        const std::int32_t v = static_cast<std::int32_t>(x);
        const std::int32_t sum = viewgeo_fx_acosx(v, kFrac) + viewgeo_fx_acosx(-v, kFrac);
        ASSERT_LE(std::abs(sum - kPiQ16), 1) << "x = " << x;
    }
}

TEST(FixedPointAcos, InvertsTheCosineWithinTheSlopeOfTheCurve) {
    // acos(cos t) = t for t in [0, pi]. cos is rounded to half a unit (plus
    // the allowed unit); acos magnifies that by 1/sin t, so only angles with
    // sin t >= 1/4 are compared (asin 1/4 = 0.25268 rad = 16559.7 units),
    // within 1 + 1.5 * 4 = 7 units.
    const std::int64_t stride = sweep_stride();
    for (std::int64_t t = 16560; t <= kPiQ16 - 16560; t += 3 * stride) {
        const std::int32_t c = viewgeo_fx_cosx(static_cast<std::int32_t>(t), kFrac);
        ASSERT_LE(std::llabs(viewgeo_fx_acosx(c, kFrac) - t), 7) << "t = " << t;
    }
}

}  // namespace
