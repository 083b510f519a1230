// Compiling the two calibration texts into the zoom-keyed table.
#include "misalign/misalignment_table.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/q16.h"
#include "misalign/misalignment_text.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

// Whole motor steps as Q16.16, wrapping like the 32-bit shift it stands for.
q16 steps_to_q16(int half_mechanical, int optical) {
    return pixels_to_q16(wrap_sub(half_mechanical, optical));
}

void clear_table(viewgeo_context &ctx) {
    std::free(ctx.mo_table);
    ctx.mo_table = nullptr;
    ctx.mo_count = 0;
}

// Appends one entry, growing the array one entry at a time; false when the
// array cannot grow.
bool append_entry(viewgeo_misalignment_entry *&table, std::int32_t &count, const viewgeo_misalignment_entry &entry) {
    if (count == INT32_MAX) return false;
    auto *grown = static_cast<viewgeo_misalignment_entry *>(
        std::realloc(table, (static_cast<std::size_t>(count) + 1) * sizeof *table));
    if (grown == nullptr) return false;
    table = grown;
    table[count] = entry;
    ++count;
    return true;
}

// Compiles the optical text (cut in place) against the halved mechanical
// offset; the new array, or false with nothing allocated.
bool compile_pieces(char *optical, int half_pan, int half_tilt, viewgeo_misalignment_entry *&table, std::int32_t &count) {
    table = nullptr;
    count = 0;
    char *rest = optical;
    while (rest != nullptr) {
        const char *piece = cut_piece(&rest);
        float zoom = 0.0f;
        int pan = 0;
        int tilt = 0;
        if (!scan_optical_piece(piece, &zoom, &pan, &tilt) ||
            !append_entry(table, count, {q16_from_float(zoom), steps_to_q16(half_pan, pan), steps_to_q16(half_tilt, tilt)})) {
            std::free(table);
            table = nullptr;
            count = 0;
            return false;
        }
    }
    return true;
}

}  // namespace

int set_misalignment_data(viewgeo_context &ctx) {
    if (ctx.mo_opt_offset == nullptr || ctx.mo_mech_offset == nullptr) return -1;
    char *optical = strdup(ctx.mo_opt_offset);  // cut into pieces below
    if (optical == nullptr) return -1;
    if (optical[0] == '\0' && ctx.mo_mech_offset[0] == '\0') {
        std::free(optical);
        clear_table(ctx);
        return 0;
    }
    int mech_pan = 0;
    int mech_tilt = 0;
    if (!scan_mechanical_offset(ctx.mo_mech_offset, &mech_pan, &mech_tilt)) {
        std::free(optical);
        return -1;
    }
    // The table holds half the mechanical offset (truncated toward zero); the
    // calibration that writes the file measures it that way.
    const int half_pan = mech_pan / 2;
    const int half_tilt = mech_tilt / 2;

    // From here on a failure leaves the context without a table.
    clear_table(ctx);
    viewgeo_misalignment_entry *table = nullptr;
    std::int32_t count = 0;
    const bool ok = compile_pieces(optical, half_pan, half_tilt, table, count);
    std::free(optical);
    if (!ok) return -1;
    ctx.mo_table = table;
    ctx.mo_count = count;
    return 0;
}

}  // namespace viewgeo

extern "C" VIEWGEO_API int viewgeo_set_misalignment_data(viewgeo_context *ctx) {
    return viewgeo::set_misalignment_data(*ctx);
}
