// The misalignment offset: the table interpolated at the zoom, turned from
// motor steps into degrees, and faded out towards the nadir.
#include "misalign/misalignment_offset.h"

#include <cstdint>

#include "misalign/misalignment_loader.h"

namespace viewgeo {
namespace {

// Tilt limits of the zero band around each pole and of the fade below the
// horizon, in Q16.16 degrees.
constexpr q16 kDeg5 = 5 * kQ16One;
constexpr q16 kDeg15 = 15 * kQ16One;
constexpr q16 kDeg70 = 70 * kQ16One;
constexpr q16 kDeg85 = 85 * kQ16One;
constexpr q16 kDeg95 = 95 * kQ16One;
constexpr q16 kDeg110 = 110 * kQ16One;

// Where the zoom falls in the table: between two entries, or clamped to one.
struct TableSpan {
    const viewgeo_misalignment_entry *lower;
    const viewgeo_misalignment_entry *upper;  // null: `lower` holds as it is
};

// Finds the segment for `zoom` (signed comparisons). Below the first key a
// table of two entries extrapolates along its only segment and a longer one
// along its last; above the last key the last entry holds. The asymmetry is
// how stored calibrations were made and is kept.
TableSpan find_span(const viewgeo_misalignment_entry *table, std::int32_t count, q16 zoom) {
    if (count == 1) return {&table[0], nullptr};  // a single entry is constant
    if (count == 2) {
        if (zoom > table[1].zoom) return {&table[1], nullptr};
        return {&table[0], &table[1]};
    }
    for (std::int32_t i = 0; i <= count - 3; ++i) {
        if (table[i].zoom <= zoom && zoom < table[i + 1].zoom) return {&table[i], &table[i + 1]};
    }
    if (zoom > table[count - 1].zoom) return {&table[count - 1], nullptr};
    return {&table[count - 2], &table[count - 1]};
}

// Linear interpolation between two Q16.16 offsets by the position u of
// the zoom in the segment; wrapping sums, as the 32-bit words they are.
q16 interpolate(q16 o0, q16 o1, q16 u) { return wrap_add(o0, q16_mul(wrap_sub(o1, o0), u)); }

// Motor steps (Q16.16) to degrees (Q16.16) for an axis of `steps` per turn.
// A turn of no steps has no meaningful offset: zero.
q16 steps_to_degrees(q16 offset, std::uint32_t steps) {
    if (steps == 0) return 0;
    const float d = (q16_to_float(offset) * 360.0f) / static_cast<float>(steps);
    return q16_from_float(d);
}

// Near the poles the offset is zero within 5 degrees (both ends inclusive)
// and, below the horizon only, rises linearly from 5 to 20 degrees off the
// nadir. The zenith side keeps a hard edge; the head's calibration expects
// exactly this and it is kept.
bool in_zero_band(q16 tilt) {
    return (tilt >= -kDeg95 && tilt <= -kDeg85) || (tilt >= kDeg85 && tilt <= kDeg95);
}
bool in_fade(q16 tilt) { return tilt > -kDeg110 && tilt < -kDeg70; }
// (|tilt + 90| - 5) / 15, rounded as every Q16.16 quotient.
q16 fade_factor(q16 tilt) {
    const q16 from_nadir = wrap_add(tilt, kQ16Deg90);  // within +-20 degrees here
    const q16 distance = from_nadir < 0 ? -from_nadir : from_nadir;
    return q16_div(wrap_sub(distance, kDeg5), kDeg15);
}

}  // namespace

PanTiltOffset misalignment_offset(viewgeo_context &ctx, q16 zoom, q16 tilt) {
    if (ctx.mo_state == 0) load_misalignment_data(&ctx);
    if (ctx.mo_state != 1 || ctx.mo_count <= 0 || ctx.mo_table == nullptr) return {0, 0};

    const TableSpan span = find_span(ctx.mo_table, ctx.mo_count, zoom);
    q16 pan_steps = span.lower->pan_steps;
    q16 tilt_steps = span.lower->tilt_steps;
    if (span.upper != nullptr) {
        const q16 width = wrap_sub(span.upper->zoom, span.lower->zoom);
        // Two entries with the same key: the later one holds, as it does at
        // a zoom equal to the last key.
        const q16 u = width == 0 ? kQ16One : q16_div(wrap_sub(zoom, span.lower->zoom), width);
        pan_steps = interpolate(span.lower->pan_steps, span.upper->pan_steps, u);
        tilt_steps = interpolate(span.lower->tilt_steps, span.upper->tilt_steps, u);
    }

    PanTiltOffset offset{steps_to_degrees(pan_steps, ctx.pan_rotation_steps),
                         steps_to_degrees(tilt_steps, ctx.tilt_rotation_steps)};
    if (in_zero_band(tilt)) return {0, 0};
    if (in_fade(tilt)) {
        const q16 f = fade_factor(tilt);
        offset.pan = q16_mul(offset.pan, f);
        offset.tilt = q16_mul(offset.tilt, f);
    }
    return offset;
}

}  // namespace viewgeo

extern "C" VIEWGEO_API void viewgeo_get_misalignment_offset(viewgeo_context *ctx, int32_t zoom, int32_t tilt,
                                                            int32_t *pan_offset, int32_t *tilt_offset) {
    const viewgeo::PanTiltOffset offset = viewgeo::misalignment_offset(*ctx, zoom, tilt);
    *pan_offset = offset.pan;
    *tilt_offset = offset.tilt;
}
