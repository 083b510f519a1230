// The precise great circle and cartesian conversions, against long-double
// references written here. Random draws come from fixed seeds.
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "support/precise_reference.h"
#include "viewgeo.h"

namespace {

using viewgeo::testing::angle_between;
using viewgeo::testing::degrees_l;
using viewgeo::testing::MaxError;
using viewgeo::testing::radians_l;

// Haversine in long double. Near 180 degrees its arc sine loses digits, so
// there it is taken as 180 minus the (small, accurate) angle to the
// antipode of b.
long double haversine(long double pan_a, long double tilt_a, long double pan_b, long double tilt_b) {
    const auto hav = [](long double pa, long double ta, long double pb, long double tb) {
        const long double sp = std::sin(radians_l(tb - ta) / 2.0L);
        const long double sl = std::sin(radians_l(pb - pa) / 2.0L);
        const long double h = sp * sp + std::cos(radians_l(ta)) * std::cos(radians_l(tb)) * sl * sl;
        return degrees_l(2.0L * std::asin(std::sqrt(std::fmin(h, 1.0L))));
    };
    const long double d = hav(pan_a, tilt_a, pan_b, tilt_b);
    if (d <= 90.0L) return d;
    return 180.0L - hav(pan_a, tilt_a, pan_b + 180.0L, -tilt_b);
}

TEST(PreciseGreatCircle, AgreesWithALongDoubleHaversineTo1e12Degrees) {
    std::mt19937_64 gen(1611);
    std::uniform_real_distribution<double> pan(-180.0, 180.0), tilt(-90.0, 90.0), unit(0.0, 1.0);
    MaxError err;
    for (int i = 0; i < 80000; ++i) {
        const double pa = pan(gen), ta = tilt(gen);
        double pb = pan(gen), tb = tilt(gen);
        switch (i % 4) {
            case 1:  // nearby: 1e-10 to 1 degree away
                pb = pa + std::pow(10.0, -10.0 * unit(gen)) * (unit(gen) - 0.5);
                tb = std::fmax(-90.0, std::fmin(90.0, ta + std::pow(10.0, -10.0 * unit(gen)) * (unit(gen) - 0.5)));
                break;
            case 2:  // nearly opposite
                pb = pa + 180.0 + std::pow(10.0, -10.0 * unit(gen)) * (unit(gen) - 0.5);
                tb = -ta + std::pow(10.0, -10.0 * unit(gen)) * (unit(gen) - 0.5);
                break;
            default: break;
        }
        const double got = viewgeo_get_great_circle_d(pa, ta, pb, tb);
        ASSERT_GE(got, 0.0);
        ASSERT_LE(got, 180.0);
        err.add(std::fabs(got - haversine(pa, ta, pb, tb)));
    }
    err.report("great_circle_deg", "degrees");
    EXPECT_LT(err.max(), 1e-12L);
}

TEST(PreciseGreatCircle, IdenticalDirectionsGiveExactlyZero) {
    std::mt19937_64 gen(1612);
    std::uniform_real_distribution<double> pan(-1000.0, 1000.0), tilt(-90.0, 90.0);
    for (int i = 0; i < 100000; ++i) {
        const double p = pan(gen), t = tilt(gen);
        ASSERT_EQ(viewgeo_get_great_circle_d(p, t, p, t), 0.0) << p << " " << t;
    }
    // The same direction written differently: a turn apart, any pan at a pole.
    EXPECT_EQ(viewgeo_get_great_circle_d(10.0, 20.0, 370.0, 20.0), 0.0);
    EXPECT_EQ(viewgeo_get_great_circle_d(-180.0, -5.0, 180.0, -5.0), 0.0);
    EXPECT_EQ(viewgeo_get_great_circle_d(12.0, 90.0, -77.0, 90.0), 0.0);
    EXPECT_EQ(viewgeo_get_great_circle_d(12.0, -90.0, 150.0, -90.0), 0.0);
}

TEST(PreciseGreatCircle, AntipodesGiveExactly180) {
    std::mt19937_64 gen(1613);
    std::uniform_real_distribution<double> tilt(-90.0, 90.0);
    for (int i = 0; i < 100000; ++i) {
        // Pans on the Q16.16 grid, so that pan + 180 is exact.
        const double p = static_cast<double>(static_cast<std::int32_t>(gen() % 23592960u) - 11796480) / 65536.0;
        const double t = tilt(gen);
        ASSERT_EQ(viewgeo_get_great_circle_d(p, t, p + 180.0, -t), 180.0) << p << " " << t;
    }
    EXPECT_EQ(viewgeo_get_great_circle_d(33.0, 90.0, -101.0, -90.0), 180.0);
    EXPECT_EQ(viewgeo_get_great_circle_d(0.0, 0.0, 90.0, 0.0), 90.0);
}

TEST(PreciseGreatCircle, NonFiniteInputGivesNaN) {
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(std::isnan(viewgeo_get_great_circle_d(std::nan(""), 0.0, 0.0, 0.0)));
    EXPECT_TRUE(std::isnan(viewgeo_get_great_circle_d(0.0, inf, 0.0, 0.0)));
    EXPECT_TRUE(std::isnan(viewgeo_get_great_circle_d(0.0, 0.0, -inf, 0.0)));
}

TEST(PreciseCartesian, MultiplesOf90DegreesGiveExactAxes) {
    double x = 1.0, y = 1.0, z = 1.0;
    viewgeo_ptz_to_cartesian_d(0.0, 0.0, &x, &y, &z);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, 0.0);
    EXPECT_EQ(z, 0.0);
    viewgeo_ptz_to_cartesian_d(90.0, 0.0, &x, &y, &z);
    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(y, 1.0);
    viewgeo_ptz_to_cartesian_d(-37.0, 90.0, &x, &y, &z);
    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(y, 0.0);
    EXPECT_EQ(z, 1.0);
    viewgeo_ptz_to_cartesian_d(180.0, -90.0, &x, &y, &z);
    EXPECT_EQ(z, -1.0);
}

TEST(PreciseCartesian, VectorsAgreeWithLongDoubleAndComeBackAsTheDirection) {
    std::mt19937_64 gen(1614);
    std::uniform_real_distribution<double> pan(-180.0, 180.0), tilt(-90.0, 90.0), scale(-300.0, 300.0);
    MaxError vec_err, back_err;
    for (int i = 0; i < 100000; ++i) {
        const double p = pan(gen);
        double t = tilt(gen);
        if (i % 10 == 0) t = (i % 20 == 0 ? 90.0 : -90.0) - std::copysign(std::pow(10.0, -(i % 9)), t) * 1e-3;
        double x = 0.0, y = 0.0, z = 0.0;
        viewgeo_ptz_to_cartesian_d(p, t, &x, &y, &z);
        const viewgeo::testing::VecL ref = viewgeo::testing::vec_of(p, t);
        vec_err.add(std::fmax(std::fabs(x - ref.x), std::fmax(std::fabs(y - ref.y), std::fabs(z - ref.z))));
        // Any length: scaled by a power of ten up to 1e+-300.
        const double k = std::pow(10.0, std::trunc(scale(gen)));
        double bp = 0.0, bt = 0.0;
        ASSERT_EQ(viewgeo_cartesian_to_ptz_d(x * k, y * k, z * k, &bp, &bt), 0);
        ASSERT_GT(bp, -180.0);
        ASSERT_LE(bp, 180.0);
        ASSERT_LE(std::fabs(bt), 90.0);
        back_err.add(angle_between(p, t, bp, bt));
    }
    vec_err.report("to_cartesian_component", "(unit vector components)");
    back_err.report("cartesian_round_trip_deg", "degrees");
    // Where long double arithmetic is no wider than double (32-bit ARM, or a
    // memory checker's emulation of the x87 unit), the reference carries
    // rounding errors of its own; the bound then allows them.
    const volatile long double one = 1.0L;
    const bool extended = one + std::numeric_limits<long double>::epsilon() != one &&
                          std::numeric_limits<long double>::digits > 53;
    const long double component_bound = extended ? 4e-16L : 1e-15L;
    EXPECT_LT(vec_err.max(), component_bound);
    EXPECT_LT(back_err.max(), 1e-12L);
}

TEST(PreciseCartesian, PolesAxesAndSignsAreDefined) {
    double pan = 1.0, tilt = 1.0;
    ASSERT_EQ(viewgeo_cartesian_to_ptz_d(0.0, 0.0, 5.0, &pan, &tilt), 0);
    EXPECT_EQ(pan, 0.0);
    EXPECT_EQ(tilt, 90.0);
    ASSERT_EQ(viewgeo_cartesian_to_ptz_d(-0.0, -0.0, -2.0, &pan, &tilt), 0);
    EXPECT_EQ(pan, 0.0);
    EXPECT_EQ(tilt, -90.0);
    ASSERT_EQ(viewgeo_cartesian_to_ptz_d(-1.0, -0.0, 0.0, &pan, &tilt), 0);
    EXPECT_EQ(pan, 180.0);  // never -180
    ASSERT_EQ(viewgeo_cartesian_to_ptz_d(0.0, -1.0, 0.0, &pan, &tilt), 0);
    EXPECT_EQ(pan, -90.0);
    // Huge and subnormal vectors keep their direction.
    ASSERT_EQ(viewgeo_cartesian_to_ptz_d(1e308, 1e308, 0.0, &pan, &tilt), 0);
    EXPECT_NEAR(pan, 45.0, 1e-13);
    EXPECT_EQ(tilt, 0.0);
    const double tiny = std::numeric_limits<double>::denorm_min();
    ASSERT_EQ(viewgeo_cartesian_to_ptz_d(tiny, 0.0, tiny, &pan, &tilt), 0);
    EXPECT_EQ(pan, 0.0);
    EXPECT_NEAR(tilt, 45.0, 1e-13);
    // 0.01 degrees from the zenith stays 0.01 degrees from it.
    double x = 0.0, y = 0.0, z = 0.0;
    viewgeo_ptz_to_cartesian_d(20.0, 89.99, &x, &y, &z);
    ASSERT_EQ(viewgeo_cartesian_to_ptz_d(x, y, z, &pan, &tilt), 0);
    EXPECT_NEAR(tilt, 89.99, 1e-12);
    EXPECT_NEAR(pan, 20.0, 1e-9);
}

TEST(PreciseCartesian, ZeroOrNonFiniteVectorGivesMinusOneAndNaN) {
    const double inf = std::numeric_limits<double>::infinity();
    const double bad[][3] = {{0.0, 0.0, 0.0}, {-0.0, 0.0, -0.0}, {std::nan(""), 1.0, 0.0}, {1.0, inf, 0.0},
                             {0.0, 0.0, -inf}, {1.0, 1.0, std::nan("")}};
    for (const auto &v : bad) {
        double pan = 1.0, tilt = 1.0;
        EXPECT_EQ(viewgeo_cartesian_to_ptz_d(v[0], v[1], v[2], &pan, &tilt), -1);
        EXPECT_TRUE(std::isnan(pan));
        EXPECT_TRUE(std::isnan(tilt));
    }
    double x = 0.0, y = 0.0, z = 0.0;
    viewgeo_ptz_to_cartesian_d(std::nan(""), 0.0, &x, &y, &z);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y));
}

}  // namespace
