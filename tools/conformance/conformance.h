// Conformance vectors: the library's calculations on recorded inputs, with
// the outputs they must give bit for bit on every target.
//
// A family is a group of exported calculations. Each calculation has a name,
// the kinds of its input and output words ('i' a signed 32-bit integer, 'f'
// the bits of a float, 't' a text: inputs only), a function computing the outputs through the public
// interface, and a sampler that draws inputs from a deterministic generator. The
// same table serves the generator (draw, compute, print) and the check (read,
// compute, compare), so a new family is one new file and one line in
// families.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "viewgeo.h"

namespace conformance {

using Words = std::vector<std::uint32_t>;

// Small deterministic generator (splitmix64): the vectors must not depend on
// the standard library's distributions, which differ between releases.
class Rng {
public:
    explicit Rng(std::uint64_t state) : state_(state) {}
    std::uint64_t next();
    std::uint32_t u32() { return static_cast<std::uint32_t>(next() >> 32); }
    // Integer in [lo, hi].
    std::int32_t range(std::int32_t lo, std::int32_t hi);
    // Float in [lo, hi), drawn in double and rounded once.
    float uniform(float lo, float hi);
    // True with probability percent / 100.
    bool chance(int percent) { return range(0, 99) < percent; }
    template <typename T, std::size_t N>
    T pick(const T (&options)[N]) {
        return options[static_cast<std::size_t>(range(0, static_cast<std::int32_t>(N) - 1))];
    }
    // An angle in degrees: mostly uniform in [lo, hi], sometimes a value on a
    // boundary of the calculations, rarely NaN, an infinity or a huge value.
    float angle(float lo, float hi);
    // The same as a Q16.16 word; rarely an arbitrary word.
    std::int32_t angle_x(float lo, float hi);
    // A float of arbitrary bits (every class: NaN, infinities, subnormals).
    float any_float();

private:
    std::uint64_t state_;
};

std::uint32_t bits(float f);
float from_bits(std::uint32_t w);
inline std::uint32_t word(std::int32_t i) { return static_cast<std::uint32_t>(i); }
inline std::int32_t int_of(std::uint32_t w) { return static_cast<std::int32_t>(w); }
inline std::uint32_t word_of(float f) { return bits(f); }
inline std::uint32_t word_of(std::int32_t i) { return word(i); }
// A text word ('t') is the index of its text in one table of the process:
// the calculations read the text back with text_of().
std::uint32_t text_word(const std::string &text);
const std::string &text_of(std::uint32_t w);

struct Calculation {
    std::string name;     // unique over all families
    std::string inputs;   // kinds of the input words
    std::string outputs;  // kinds of the output words
    std::function<Words(const Words &)> compute;
    std::function<Words(Rng &)> sample;
    int count;  // vectors to generate
    // The calculation's array form, for those that have one: the point of
    // the inputs as every element of one array of kArrayCopies, and the
    // outputs of each element one after another. Each must have the bits of
    // `compute`.
    std::function<Words(const Words &)> compute_array = {};
};

inline constexpr std::size_t kArrayCopies = 3;

// Runs an array form on kArrayCopies copies of the point (a, b) and returns
// the outputs of each element, as compute_array does.
template <class In, class OutA, class OutB, class Array>
Words through_array(In a, In b, Array array) {
    In in_a[kArrayCopies], in_b[kArrayCopies];
    OutA out_a[kArrayCopies] = {};
    OutB out_b[kArrayCopies] = {};
    for (std::size_t i = 0; i < kArrayCopies; ++i) {
        in_a[i] = a;
        in_b[i] = b;
    }
    array(kArrayCopies, in_a, in_b, out_a, out_b);
    Words out;
    for (std::size_t i = 0; i < kArrayCopies; ++i) {
        out.push_back(word_of(out_a[i]));
        out.push_back(word_of(out_b[i]));
    }
    return out;
}

struct Family {
    std::string name;
    std::string description;
    std::vector<Calculation> calculations;
};

// Every family, in a fixed order.
const std::vector<Family> &families();

// The view context of the PTZ camera as ten input words: pan, tilt, horizontal
// and vertical field of view (Q16.16), vertical-field-set flag, picture width
// and height, picture rotation, lens model, dewarp flag.
constexpr int kViewWords = 10;
void sample_view(Rng &rng, Words &out);
// The context those words describe, starting at in[at]; no misalignment data.
viewgeo_context view_of(const Words &in, std::size_t at);
// A pixel column or row for a picture dimension: mostly inside or near the
// picture, sometimes its centre or a corner, rarely far outside.
std::int32_t sample_pixel(Rng &rng, std::int32_t size);

}  // namespace conformance
