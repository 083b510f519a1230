// The misalignment loader on an arbitrary data file, as another process
// could leave it: the context must come out loaded (1) with texts that
// compile, or failed (2), and its table must be safe to query.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "fuzz_support.h"
#include "misalignment_exercise.h"
#include "viewgeo.h"

namespace {

constexpr const char *kDataFile = "/var/run/ptz/mo_data_file";

std::size_t pieces_in(const char *text) {
    std::size_t n = 1;
    for (const char *c = text; *c != '\0'; ++c) n += *c == ';' ? 1 : 0;
    return n;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    viewgeo::fuzzing::use_private_root();
    viewgeo::fuzzing::write_file(kDataFile, data, size);

    viewgeo_context *ctx = viewgeo_context_create();
    FUZZ_CHECK(ctx != nullptr);
    FUZZ_CHECK(ctx->mo_state == 1 || ctx->mo_state == 2);
    if (ctx->mo_state == 1) {
        FUZZ_CHECK(ctx->mo_mech_offset != nullptr && ctx->mo_opt_offset != nullptr);
        int pan = 0;
        int tilt = 0;
        FUZZ_CHECK(std::sscanf(ctx->mo_mech_offset, "%d,%d", &pan, &tilt) == 2);
        // Both texts were checked before they were kept, so they compile.
        FUZZ_CHECK(ctx->mo_table != nullptr);
        FUZZ_CHECK(ctx->mo_count == static_cast<std::int32_t>(pieces_in(ctx->mo_opt_offset)));
    } else {
        FUZZ_CHECK(ctx->mo_table == nullptr && ctx->mo_count == 0);
    }
    // The file is read once: a changed file is not noticed.
    const std::int32_t state = ctx->mo_state;
    viewgeo::fuzzing::remove_file(kDataFile);
    viewgeo::fuzzing::Words words(data, size);
    viewgeo::fuzzing::exercise_misalignment(ctx, words);
    FUZZ_CHECK(ctx->mo_state == state);
    viewgeo_context_delete(ctx);
    return 0;
}
