// The misalignment offset and compensation, from calibration texts set in the
// context (never from the data file: the context is marked as loaded).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "conformance.h"
#include "families.h"

namespace conformance {
namespace {

// The calibration as words: the number of optical entries (1 to 4), four
// entries of zoom (float), pan and tilt steps, the mechanical pan and tilt
// steps, and the motor steps per pan and per tilt turn.
constexpr std::size_t kEntries = 4;
constexpr std::size_t kCalibrationWords = 1 + 3 * kEntries + 4;
const std::string kCalibrationKinds = "i" "fii" "fii" "fii" "fii" "iiii";

void sample_calibration(Rng &rng, Words &out) {
    static const std::int32_t kTurnSteps[] = {36000, 102400, 144000, 360000, 4096, 0};
    const std::int32_t n = rng.range(1, static_cast<std::int32_t>(kEntries));
    out.push_back(word(n));
    float zoom = rng.uniform(1.0f, 3.0f);
    for (std::size_t i = 0; i < kEntries; ++i) {
        // Ascending zoom keys, sometimes a repeated one.
        out.push_back(bits(zoom));
        out.push_back(word(rng.range(-600, 600)));
        out.push_back(word(rng.range(-600, 600)));
        if (!rng.chance(5)) zoom += rng.uniform(0.5f, 12.0f);
    }
    out.push_back(word(rng.range(-2000, 2000)));
    out.push_back(word(rng.range(-2000, 2000)));
    out.push_back(word(rng.chance(97) ? rng.pick(kTurnSteps) : rng.range(1, 1000000)));
    out.push_back(word(rng.chance(97) ? rng.pick(kTurnSteps) : rng.range(1, 1000000)));
}

char *copy_of(const std::string &text) {
    char *copy = static_cast<char *>(std::malloc(text.size() + 1));
    if (copy != nullptr) std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

// A context holding the calibration texts compiled into its table; the
// return value of the compilation goes to *status.
viewgeo_context *calibrated(const Words &in, std::int32_t *status) {
    auto *ctx = static_cast<viewgeo_context *>(std::calloc(1, sizeof(viewgeo_context)));
    if (ctx == nullptr) std::abort();
    std::string optical;
    const std::size_t n = in[0];
    for (std::size_t i = 0; i < n; ++i) {
        char piece[64];
        std::snprintf(piece, sizeof piece, "%s%.9g,%d,%d", i == 0 ? "" : ";",
                      static_cast<double>(from_bits(in[1 + 3 * i])), int_of(in[2 + 3 * i]), int_of(in[3 + 3 * i]));
        optical += piece;
    }
    char mechanical[32];
    std::snprintf(mechanical, sizeof mechanical, "%d,%d", int_of(in[1 + 3 * kEntries]), int_of(in[2 + 3 * kEntries]));
    ctx->mo_opt_offset = copy_of(optical);
    ctx->mo_mech_offset = copy_of(mechanical);
    ctx->pan_rotation_steps = in[3 + 3 * kEntries];
    ctx->tilt_rotation_steps = in[4 + 3 * kEntries];
    *status = viewgeo_set_misalignment_data(ctx);
    ctx->mo_state = 1;
    return ctx;
}

std::int32_t zoom_arg(Rng &rng) {
    if (rng.chance(5)) return rng.pick({0, 0x10000, 0x7FFFFFFF, -0x10000});
    return rng.range(0, 50 * 0x10000);
}

std::int32_t tilt_arg(Rng &rng) {
    // Dense around the poles, where the offset is zeroed and faded.
    if (rng.chance(30)) return rng.range(-115 * 0x10000, -65 * 0x10000);
    if (rng.chance(10)) return rng.range(80 * 0x10000, 100 * 0x10000);
    return rng.angle_x(-180.0f, 180.0f);
}

}  // namespace

Family misalignment_family() {
    return {"misalignment",
            "calibration words (entries; 4 x zoom, pan, tilt; mechanical pan, tilt; turn steps), then the arguments",
            {
                {"misalignment_offset", kCalibrationKinds + "ii", "iii",
                 [](const Words &in) {
                     std::int32_t status = 0;
                     viewgeo_context *ctx = calibrated(in, &status);
                     std::int32_t pan = 0, tilt = 0;
                     viewgeo_get_misalignment_offset(ctx, int_of(in[kCalibrationWords]), int_of(in[kCalibrationWords + 1]), &pan, &tilt);
                     viewgeo_context_delete(ctx);
                     return Words{word(status), word(pan), word(tilt)};
                 },
                 [](Rng &rng) {
                     Words in;
                     sample_calibration(rng, in);
                     in.push_back(word(zoom_arg(rng)));
                     in.push_back(word(tilt_arg(rng)));
                     return in;
                 },
                 1500},
                {"compensate_misalignment", kCalibrationKinds + "iiii", "iiii",
                 [](const Words &in) {
                     std::int32_t status = 0;
                     viewgeo_context *ctx = calibrated(in, &status);
                     std::int32_t pan = 0, tilt = 0;
                     const std::int32_t r = viewgeo_compensate_misalignment_offset(
                         ctx, int_of(in[kCalibrationWords]), int_of(in[kCalibrationWords + 1]),
                         int_of(in[kCalibrationWords + 2]), int_of(in[kCalibrationWords + 3]), &pan, &tilt);
                     viewgeo_context_delete(ctx);
                     return Words{word(status), word(pan), word(tilt), word(r)};
                 },
                 [](Rng &rng) {
                     Words in;
                     sample_calibration(rng, in);
                     in.push_back(word(zoom_arg(rng)));
                     in.push_back(word(rng.chance(50) ? 1 : 0));
                     in.push_back(word(rng.angle_x(-180.0f, 180.0f)));
                     in.push_back(word(tilt_arg(rng)));
                     return in;
                 },
                 1500},
            }};
}

}  // namespace conformance
