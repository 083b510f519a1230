// The rounding divide by a prepared divisor: for every divisor and every
// dividend, q16_div(a, q16_prepared_divisor(b)) has the bits of q16_div(a, b),
// and both have the bits of the signed 64-bit division the rounding divide
// is defined by (written out here on its own, so that a change to the
// shared rule cannot go unnoticed). Checked over every class of divisor
// (units, powers of two, small odd numbers, the int32 extremes, every
// picture size in Q16.16, lens values, random words) with the dividends
// where the quotient changes and millions of random pairs.
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "core/q16.h"

namespace viewgeo {
namespace {

// a * 65536 +- |b|/2 (the correction with the dividend's sign), divided by b
// with truncation, the low 32 bits kept; a zero divisor saturates.
q16 defining_division(q16 a, q16 b) {
    if (b == 0) return a > 0 ? INT32_MAX : (a < 0 ? INT32_MIN : 0);
    const std::int64_t bb = b;
    const std::int64_t half = (bb < 0 ? -bb : bb) / 2;
    const std::int64_t n = static_cast<std::int64_t>(a) * 65536 + (a >= 0 ? half : -half);
    return static_cast<q16>(static_cast<std::uint64_t>(n / bb));
}

// Counts the dividends of one divisor where the three divisions disagree;
// reports the first few.
class Checker {
public:
    explicit Checker(q16 b) : b_(b), prepared_(q16_prepared_divisor(b)), plain_(q16_divisor(b)) {}

    void check(q16 a) {
        ++checked_;
        const q16 expected = defining_division(a, b_);
        const q16 shared = q16_div(a, b_);
        const q16 prepared = q16_div(a, prepared_);
        const q16 plain = q16_div(a, plain_);
        if (shared == expected && prepared == expected && plain == expected) return;
        if (++mismatches_ <= 5) {
            ADD_FAILURE() << a << " / " << b_ << ": expected " << expected << ", q16_div " << shared << ", prepared "
                          << prepared << ", plain divisor " << plain;
        }
    }
    // The extremes, the dividends around small multiples of the divisor and
    // their halves, and those where the rounded quotient steps from q - 1
    // to q for quotients across the whole range.
    void check_edges() {
        for (const q16 a : {0, 1, -1, 2, -2, 0x8000, -0x8000, 0x10000, -0x10000, INT32_MAX, INT32_MAX - 1, INT32_MIN,
                            INT32_MIN + 1, INT32_MIN + 2}) {
            check(a);
        }
        for (std::int64_t k = -4; k <= 4; ++k) {
            for (const std::int64_t at : {k * b_, k * b_ + b_ / 2}) {
                for (std::int64_t step = -1; step <= 1; ++step) check(static_cast<q16>(static_cast<std::uint32_t>(at + step)));
            }
        }
        const std::int64_t d = b_ < 0 ? -static_cast<std::int64_t>(b_) : b_;
        const std::int64_t largest_quotient = ((std::int64_t{1} << 47) + d / 2) / d;
        for (int bits = 0; bits < 48; ++bits) {
            for (const std::int64_t q : {std::int64_t{1} << bits, (std::int64_t{1} << bits) + 1, (std::int64_t{3} << bits) / 2}) {
                if (q > largest_quotient) continue;
                // |a| * 65536 + d/2 reaches q * d at |a| = (q * d - d/2) / 65536.
                const std::int64_t at = (q * d - d / 2) / 65536;
                for (std::int64_t step = -1; step <= 1; ++step) {
                    const std::int64_t magnitude = at + step;
                    if (magnitude > 0x80000000LL) continue;
                    if (magnitude < 0x80000000LL) check(static_cast<q16>(magnitude));
                    check(static_cast<q16>(static_cast<std::uint32_t>(-magnitude)));
                }
            }
        }
    }

    long checked() const { return checked_; }
    long mismatches() const { return mismatches_; }

private:
    q16 b_;
    Q16Divisor prepared_;
    Q16Divisor plain_;
    long checked_ = 0;
    long mismatches_ = 0;
};

// floor(n * m / 2^48) by schoolbook multiplication in 16-bit digits.
std::uint64_t product_over_2_48(std::uint64_t n, std::uint64_t m) {
    std::uint64_t digits[8] = {};
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) digits[i + j] += ((n >> (16 * i)) & 0xFFFF) * ((m >> (16 * j)) & 0xFFFF);
    }
    for (int k = 0; k < 7; ++k) {
        digits[k + 1] += digits[k] >> 16;
        digits[k] &= 0xFFFF;
    }
    return digits[3] | (digits[4] << 16) | (digits[5] << 32) | (digits[6] << 48);
}

void expect_exact_for_edges(q16 b) {
    Checker c(b);
    c.check_edges();
    EXPECT_EQ(c.mismatches(), 0) << "divisor " << b << ", " << c.checked() << " dividends";
}

TEST(Q16Divisor, ProductByHalvesAndWideProductAreTheExactProduct) {
    // Dividends below 2^48 and reciprocals up to 2^49, the extremes of each
    // half and random values.
    std::vector<std::uint64_t> ns = {0, 1, 0xFFFFFFFFu, 0x100000000u, (std::uint64_t{1} << 47) + (1u << 30),
                                     (std::uint64_t{1} << 48) - 1};
    std::vector<std::uint64_t> ms = {1, 0xFFFFFFFFu, (std::uint64_t{1} << 48) + 1, (std::uint64_t{1} << 49) - 1,
                                     std::uint64_t{1} << 49, 375299968947542u};
    std::mt19937_64 gen(48u);
    for (int i = 0; i < 2000; ++i) {
        ns.push_back(gen() >> (16 + gen() % 48));
        ms.push_back(gen() >> (15 + gen() % 49));
    }
    long mismatches = 0;
    for (const std::uint64_t n : ns) {
        for (const std::uint64_t m : ms) {
            const std::uint64_t expected = product_over_2_48(n, m);
            if (mul_shift_48_by_halves(n, m) != expected || mul_shift_48(n, m) != expected) {
                if (++mismatches <= 5) ADD_FAILURE() << n << " * " << m << ": expected " << expected;
            }
        }
    }
    EXPECT_EQ(mismatches, 0);
}

TEST(Q16Divisor, PlainDivisorDividesAsTheSharedDivide) {
    EXPECT_EQ(q16_divisor(0x30000).reciprocal, 0u);
    EXPECT_EQ(q16_div(0x10000, q16_divisor(0x30000)), 21845);
    EXPECT_EQ(q16_div(-0x10000, q16_divisor(0x30000)), -21845);
}

TEST(Q16Divisor, ZeroDivisorHasNoReciprocalAndSaturates) {
    const Q16Divisor zero = q16_prepared_divisor(0);
    EXPECT_EQ(zero.reciprocal, 0u);
    EXPECT_EQ(q16_div(0x10000, zero), INT32_MAX);
    EXPECT_EQ(q16_div(-1, zero), INT32_MIN);
    EXPECT_EQ(q16_div(0, zero), 0);
}

TEST(Q16Divisor, ReciprocalIsTheNextIntegerAboveTwoToTheFortyEightPlusLOverD) {
    EXPECT_EQ(q16_prepared_divisor(1).reciprocal, (std::uint64_t{1} << 48) + 1);
    EXPECT_EQ(q16_prepared_divisor(1).shift, 0);
    EXPECT_EQ(q16_prepared_divisor(-0x10000).reciprocal, (std::uint64_t{1} << 48) + 1);
    EXPECT_EQ(q16_prepared_divisor(-0x10000).shift, 16);
    // 2^50 / 3 = 375299968947541.33
    EXPECT_EQ(q16_prepared_divisor(3).reciprocal, 375299968947542u);
    EXPECT_EQ(q16_prepared_divisor(3).shift, 2);
    // Near the largest: 2^79 / (2^30 + 1) = 2^49 - 2^19 + 0.0005.
    EXPECT_EQ(q16_prepared_divisor(0x40000001).reciprocal, 562949952897025u);
    EXPECT_EQ(q16_prepared_divisor(0x40000001).shift, 31);
    EXPECT_EQ(q16_prepared_divisor(INT32_MIN).reciprocal, (std::uint64_t{1} << 48) + 1);
    EXPECT_EQ(q16_prepared_divisor(INT32_MIN).shift, 31);
}

TEST(Q16Divisor, QuotientsBeyond32BitsKeepTheirLowWord) {
    // 0x7FFFFFFF * 65536 = 0x7FFFFFFF0000: the word 0xFFFF0000.
    EXPECT_EQ(q16_div(INT32_MAX, q16_prepared_divisor(1)), -0x10000);
    EXPECT_EQ(q16_div(INT32_MAX, q16_prepared_divisor(-1)), 0x10000);
    // 2^47 / 1 and / -1: the word 0.
    EXPECT_EQ(q16_div(INT32_MIN, q16_prepared_divisor(1)), 0);
    EXPECT_EQ(q16_div(INT32_MIN, q16_prepared_divisor(-1)), 0);
    // (0x12345 * 65536 + 1) / 3 = 0x61170000 rounded, within 32 bits.
    EXPECT_EQ(q16_div(0x12345, q16_prepared_divisor(3)), 0x61170000);
}

TEST(Q16Divisor, HalvesRoundAwayFromZeroWithTheDividendsSign) {
    // 1 / 2 in Q16.16 is half a unit of 2^-16: one unit away from zero.
    EXPECT_EQ(q16_div(1, q16_prepared_divisor(0x20000)), 1);
    EXPECT_EQ(q16_div(-1, q16_prepared_divisor(0x20000)), -1);
    EXPECT_EQ(q16_div(1, q16_prepared_divisor(-0x20000)), -1);
    EXPECT_EQ(q16_div(-1, q16_prepared_divisor(-0x20000)), 1);
    EXPECT_EQ(q16_div(0x40000000, q16_prepared_divisor(INT32_MIN)), -0x8000);
    EXPECT_EQ(q16_div(-0x40000000, q16_prepared_divisor(INT32_MIN)), 0x8000);
}

TEST(Q16Divisor, SmallAndExtremeDivisorsDivideExactly) {
    for (const q16 b : {1, -1, 2, -2, 3, -3, 5, 7, -7, 9, 10, 11, 13, 641, 0x8000, 0x10000, 0x20000, 0x30000, 0xA0000,
                        INT32_MAX, INT32_MAX - 1, -INT32_MAX, INT32_MIN, INT32_MIN + 1, 0x40000000, 0x40000001, 0x3FFFFFFF}) {
        expect_exact_for_edges(b);
    }
}

TEST(Q16Divisor, PowersOfTwoAndTheirNeighboursDivideExactly) {
    for (int k = 0; k < 31; ++k) {
        const q16 p = static_cast<q16>(1u << k);
        for (const q16 b : {p, static_cast<q16>(p - 1), static_cast<q16>(p + 1)}) {
            if (b == 0) continue;
            expect_exact_for_edges(b);
            expect_exact_for_edges(wrap_neg(b));
        }
    }
    expect_exact_for_edges(INT32_MIN);
}

TEST(Q16Divisor, EveryPictureSizeDividesExactly) {
    // Sizes 1 to 65535 pixels in Q16.16; from 32768 on the word wraps
    // negative, as a picture size does in the projections.
    long checked = 0;
    long mismatches = 0;
    for (std::int32_t size = 1; size <= 65535; ++size) {
        const q16 b = pixels_to_q16(size);
        Checker c(b);
        // A pixel of the picture and just beyond it, as the projections
        // divide, and the dividends around the quotient steps near 1.
        for (const std::int32_t x : {0, 1, size / 2, size - 1, size, size + 1}) c.check(pixels_to_q16(x));
        for (std::int64_t step = -2; step <= 2; ++step) {
            c.check(static_cast<q16>(static_cast<std::uint32_t>(b + step)));
            c.check(static_cast<q16>(static_cast<std::uint32_t>(b / 2 + step)));
        }
        checked += c.checked();
        mismatches += c.mismatches();
    }
    EXPECT_EQ(mismatches, 0) << checked << " dividends";
}

TEST(Q16Divisor, LensValuesDivideExactly) {
    // The lens values of half fields of view from 0.01 to 89.99 degrees:
    // tan, sin and the angle itself in radians, rounded to Q16.16.
    for (int centi = 1; centi < 9000; centi += 7) {
        const double rad = centi / 100.0 * 3.14159265358979323846 / 180.0;
        for (const double lens : {std::tan(rad), std::sin(rad), rad}) {
            const auto b = static_cast<q16>(std::lround(lens * 65536.0));
            if (b == 0) continue;
            expect_exact_for_edges(b);
        }
    }
}

TEST(Q16Divisor, RandomWordsDivideExactly) {
    std::mt19937_64 gen(20261124u);
    // Random divisors of every width with their edge dividends.
    for (int i = 0; i < 2000; ++i) {
        const auto b = static_cast<q16>(static_cast<std::uint32_t>(gen()) >> (gen() % 32));
        if (b == 0) continue;
        expect_exact_for_edges(b);
        expect_exact_for_edges(wrap_neg(b));
    }
    // Random pairs: both words of every width, both signs.
    long checked = 0;
    long mismatches = 0;
    for (int i = 0; i < 4000000; ++i) {
        const std::uint64_t r = gen();
        const auto b = static_cast<q16>(static_cast<std::int32_t>(r >> 32) >> (r % 32));
        const auto a = static_cast<q16>(static_cast<std::int32_t>(r) >> ((r >> 5) % 32));
        Checker c(b);
        c.check(a);
        checked += c.checked();
        mismatches += c.mismatches();
    }
    EXPECT_EQ(mismatches, 0) << checked << " pairs";
}

TEST(Q16Divisor, OneDivisorDividesManyRandomDividendsExactly) {
    std::mt19937_64 gen(7u);
    for (const q16 b : {3, 7, 0x7800000, 0x4380000, -0x4380000, 73015, INT32_MAX, INT32_MIN}) {
        Checker c(b);
        for (int i = 0; i < 250000; ++i) c.check(static_cast<q16>(static_cast<std::uint32_t>(gen())));
        EXPECT_EQ(c.mismatches(), 0) << "divisor " << b << ", " << c.checked() << " dividends";
    }
}

}  // namespace
}  // namespace viewgeo
