// The misalignment text compiler on arbitrary texts. The input holds the
// mechanical text, a NUL, the optical text, a NUL, then raw words for the
// rotation step counts and the queries run on the compiled table. The
// result is checked against a model of the same scans (numbers read as the
// C library reads them, integers beyond the int range saturated):
// 0 exactly when both texts scan, one entry per ";"-separated piece, each
// entry from its piece and the halved mechanical offset.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "misalignment_exercise.h"
#include "viewgeo.h"

namespace {

using viewgeo::fuzzing::Words;

struct Piece {
    float zoom;
    int pan;
    int tilt;
};

// An integer read as "%d" reads it (blanks, a sign, digits), except that
// text beyond the int range saturates, as the library's reader documents.
bool scan_int(const char *&at, int &out) {
    char *after = nullptr;
    const long long v = std::strtoll(at, &after, 10);
    if (after == at) return false;
    out = v > INT32_MAX ? INT32_MAX : v < INT32_MIN ? INT32_MIN : static_cast<int>(v);
    at = after;
    return true;
}

// "pan,tilt" as the mechanical text holds it.
bool scan_pair(const char *at, int &pan, int &tilt) {
    if (!scan_int(at, pan) || *at != ',') return false;
    ++at;
    return scan_int(at, tilt);
}

// Cuts at every ";", keeping empty pieces; false when a piece does not scan.
bool scan_pieces(const std::string &text, std::vector<Piece> &pieces) {
    std::size_t start = 0;
    for (;;) {
        const std::size_t cut = text.find(';', start);
        const std::string piece = text.substr(start, cut == std::string::npos ? std::string::npos : cut - start);
        Piece p{};
        int used = 0;
        if (std::sscanf(piece.c_str(), "%f%n", &p.zoom, &used) != 1 || piece[static_cast<std::size_t>(used)] != ',') return false;
        if (!scan_pair(piece.c_str() + used + 1, p.pan, p.tilt)) return false;
        pieces.push_back(p);
        if (cut == std::string::npos) return true;
        start = cut + 1;
    }
}

// Round half away from zero in single precision, then truncation; only
// where the sum fits an int32 (elsewhere the compiler saturates, which the
// fixed-point tests cover).
bool expected_zoom(float z, std::int32_t *out) {
    const float p = z * 65536.0f;
    const float h = z > 0.0f ? 0.5f : -0.5f;
    const float s = p + h;
    if (!(std::fabs(s) < 2147483648.0f)) return false;
    *out = static_cast<std::int32_t>(s);
    return true;
}

std::int32_t shifted_steps(int half, int optical) {
    const std::uint32_t d = static_cast<std::uint32_t>(half) - static_cast<std::uint32_t>(optical);
    return static_cast<std::int32_t>(d << 16);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    viewgeo::fuzzing::use_private_root();  // no data file: create loads nothing
    const char *begin = reinterpret_cast<const char *>(data);
    const char *end = begin + size;
    const char *nul = static_cast<const char *>(std::memchr(begin, '\0', size));
    const std::string mech(begin, nul == nullptr ? end : nul);
    const char *opt_begin = nul == nullptr ? end : nul + 1;
    const char *nul2 = static_cast<const char *>(std::memchr(opt_begin, '\0', static_cast<std::size_t>(end - opt_begin)));
    const std::string opt(opt_begin, nul2 == nullptr ? end : nul2);
    const char *words_begin = nul2 == nullptr ? end : nul2 + 1;
    Words words(reinterpret_cast<const std::uint8_t *>(words_begin), static_cast<std::size_t>(end - words_begin));

    viewgeo_context *ctx = viewgeo_context_create();
    FUZZ_CHECK(ctx != nullptr);
    // Start from a compiled table, so "left untouched" can be seen.
    ctx->mo_mech_offset = strdup("0,0");
    ctx->mo_opt_offset = strdup("1,0,0;100,0,0");
    FUZZ_CHECK(viewgeo_set_misalignment_data(ctx) == 0 && ctx->mo_count == 2);
    std::free(ctx->mo_mech_offset);
    std::free(ctx->mo_opt_offset);
    ctx->mo_mech_offset = strdup(mech.c_str());
    ctx->mo_opt_offset = strdup(opt.c_str());
    ctx->mo_state = 1;  // loaded: the queries below do not look for the file
    ctx->pan_rotation_steps = words.next();
    ctx->tilt_rotation_steps = words.next();

    const int result = viewgeo_set_misalignment_data(ctx);

    int mech_pan = 0;
    int mech_tilt = 0;
    std::vector<Piece> pieces;
    if (mech.empty() && opt.empty()) {
        FUZZ_CHECK(result == 0 && ctx->mo_table == nullptr && ctx->mo_count == 0);
    } else if (!scan_pair(mech.c_str(), mech_pan, mech_tilt)) {
        FUZZ_CHECK(result == -1 && ctx->mo_count == 2);  // the old table stays
    } else if (!scan_pieces(opt, pieces)) {
        FUZZ_CHECK(result == -1 && ctx->mo_table == nullptr && ctx->mo_count == 0);
    } else {
        FUZZ_CHECK(result == 0);
        FUZZ_CHECK(ctx->mo_count == static_cast<std::int32_t>(pieces.size()));
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const viewgeo_misalignment_entry &e = ctx->mo_table[i];
            std::int32_t zoom = 0;
            if (expected_zoom(pieces[i].zoom, &zoom)) FUZZ_CHECK(e.zoom == zoom);
            FUZZ_CHECK(e.pan_steps == shifted_steps(mech_pan / 2, pieces[i].pan));
            FUZZ_CHECK(e.tilt_steps == shifted_steps(mech_tilt / 2, pieces[i].tilt));
        }
    }

    viewgeo::fuzzing::exercise_misalignment(ctx, words);
    viewgeo_context_delete(ctx);
    return 0;
}
