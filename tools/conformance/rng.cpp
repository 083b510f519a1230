// The deterministic generator and the input samplers shared by the families.
#include <bit>
#include <cmath>

#include "conformance.h"

namespace conformance {

std::uint32_t bits(float f) { return std::bit_cast<std::uint32_t>(f); }
float from_bits(std::uint32_t w) { return std::bit_cast<float>(w); }

std::uint64_t Rng::next() {
    state_ += 0x9E3779B97F4A7C15ull;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

std::int32_t Rng::range(std::int32_t lo, std::int32_t hi) {
    const std::uint64_t span = static_cast<std::uint64_t>(static_cast<std::int64_t>(hi) - lo) + 1;
    return static_cast<std::int32_t>(lo + static_cast<std::int64_t>(next() % span));
}

float Rng::uniform(float lo, float hi) {
    // 53 random bits as a double in [0, 1).
    const double u = static_cast<double>(next() >> 11) * 0x1.0p-53;
    const double v = static_cast<double>(lo) + (static_cast<double>(hi) - static_cast<double>(lo)) * u;
    return static_cast<float>(v);
}

float Rng::any_float() { return from_bits(u32()); }

float Rng::angle(float lo, float hi) {
    static const float kSpecial[] = {0.0f, -0.0f, 0.5f, -0.5f, 1.0f, 30.0f, -30.0f, 85.0f, -85.0f,
                                     89.0f, -89.0f, 90.0f, -90.0f, 95.0f, -95.0f, 180.0f, -180.0f,
                                     270.0f, -270.0f, 360.0f, -360.0f, 540.0f, -540.0f, 1e-6f};
    static const float kWild[] = {NAN, -NAN, INFINITY, -INFINITY, 1e30f, -1e30f, 40000.0f, -40000.0f};
    const int r = range(0, 99);
    if (r < 86) return uniform(lo, hi);
    if (r < 94) return pick(kSpecial);
    if (r < 97) return uniform(lo, hi) + from_bits(bits(1.0f) + static_cast<std::uint32_t>(range(-3, 3))) - 1.0f;
    if (r < 99) return pick(kWild);
    return any_float();
}

std::int32_t Rng::angle_x(float lo, float hi) {
    const int r = range(0, 99);
    if (r < 93) {
        const float a = angle(lo, hi);
        // Only finite angles well inside the word's range become words here.
        if (std::isfinite(a) && std::fabs(a) < 30000.0f) {
            return static_cast<std::int32_t>(std::lround(static_cast<double>(a) * 65536.0));
        }
        return static_cast<std::int32_t>(u32());
    }
    if (r < 97) return static_cast<std::int32_t>(std::lround(static_cast<double>(uniform(lo, hi)) * 65536.0)) + range(-2, 2);
    return static_cast<std::int32_t>(u32());
}

}  // namespace conformance
