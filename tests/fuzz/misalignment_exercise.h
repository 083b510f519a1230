// Runs the offset query and the compensation of a context's misalignment
// table at zooms and positions taken from the input, under the sanitizers:
// any table the texts can compile to (unsorted keys, equal keys, extreme
// words) must give defined arithmetic.
#pragma once

#include <cstdint>

#include "fuzz_support.h"
#include "viewgeo.h"

namespace viewgeo::fuzzing {

inline void exercise_misalignment(viewgeo_context *ctx, Words &words) {
    for (int i = 0; i < 4; ++i) {
        const std::int32_t zoom = words.next_int();
        const std::int32_t pan = words.next_int();
        const std::int32_t tilt = words.next_int();
        std::int32_t pan_offset = 0x7EADBEEF;
        std::int32_t tilt_offset = 0x7EADBEEF;
        viewgeo_get_misalignment_offset(ctx, zoom, tilt, &pan_offset, &tilt_offset);
        std::int32_t again_pan = 0;
        std::int32_t again_tilt = 0;
        viewgeo_get_misalignment_offset(ctx, zoom, tilt, &again_pan, &again_tilt);
        FUZZ_CHECK(pan_offset == again_pan && tilt_offset == again_tilt);  // written, and deterministic
        if (ctx->mo_count == 0) FUZZ_CHECK(pan_offset == 0 && tilt_offset == 0);

        std::int32_t pan_out = 0;
        std::int32_t tilt_out = 0;
        const std::int32_t returned = viewgeo_compensate_misalignment_offset(ctx, zoom, i & 1, pan, tilt, &pan_out, &tilt_out);
        FUZZ_CHECK(returned == tilt_out);
    }
}

}  // namespace viewgeo::fuzzing
