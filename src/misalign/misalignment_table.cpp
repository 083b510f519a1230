// Compiling the two calibration texts into the zoom-keyed table.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/q16.h"
#include "misalign/misalignment_text.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

// Whole motor steps as Q16.16, wrapping like the 32-bit shift it stands for.
q16 steps_to_q16(int half_mechanical, int optical) {
    return pixels_to_q16(wrap_sub(half_mechanical, optical));
}

}  // namespace
}  // namespace viewgeo

using namespace viewgeo;

extern "C" VIEWGEO_API int viewgeo_set_misalignment_data(viewgeo_context *ctx) {
    if (ctx->mo_opt_offset == nullptr || ctx->mo_mech_offset == nullptr) return -1;
    const std::string optical = ctx->mo_opt_offset;
    if (optical.empty() && ctx->mo_mech_offset[0] == '\0') {
        std::free(ctx->mo_table);
        ctx->mo_table = nullptr;
        ctx->mo_count = 0;
        return 0;
    }
    int mech_pan = 0;
    int mech_tilt = 0;
    if (!scan_mechanical_offset(ctx->mo_mech_offset, &mech_pan, &mech_tilt)) return -1;
    // The table holds half the mechanical offset; the calibration that writes
    // the file measures it that way.
    const int half_pan = mech_pan / 2;
    const int half_tilt = mech_tilt / 2;

    std::free(ctx->mo_table);
    ctx->mo_table = nullptr;
    ctx->mo_count = 0;

    viewgeo_misalignment_entry *table = nullptr;
    std::int32_t count = 0;
    const bool ok = for_each_optical_piece(optical, [&](std::string_view piece_view) {
        const std::string piece(piece_view);
        float zoom = 0.0f;
        int pan = 0;
        int tilt = 0;
        if (!scan_optical_piece(piece.c_str(), &zoom, &pan, &tilt)) return false;
        auto *grown = static_cast<viewgeo_misalignment_entry *>(
            std::realloc(table, (static_cast<std::size_t>(count) + 1) * sizeof *table));
        if (grown == nullptr) return false;
        table = grown;
        table[count] = {q16_from_float(zoom), steps_to_q16(half_pan, pan), steps_to_q16(half_tilt, tilt)};
        ++count;
        return true;
    });
    if (!ok) {
        std::free(table);
        return -1;
    }
    ctx->mo_table = table;
    ctx->mo_count = count;
    return 0;
}
