#include "misalign/misalignment_text.h"

#include <cstdlib>
#include <cstring>

#include "platform/value_scan.h"

namespace viewgeo {

namespace {

// After a number, the "," that must follow it: the rest of the text after
// the comma, or null.
const char *after_comma(const char *at) { return at != nullptr && *at == ',' ? at + 1 : nullptr; }

}  // namespace

bool scan_mechanical_offset(const char *text, int *pan, int *tilt) {
    const char *at = after_comma(scan_int_prefix(text, pan));
    return at != nullptr && scan_int_prefix(at, tilt) != nullptr;
}

bool scan_optical_piece(const char *piece, float *zoom, int *pan, int *tilt) {
    const char *at = after_comma(scan_float_field(piece, zoom));
    at = at != nullptr ? after_comma(scan_int_prefix(at, pan)) : nullptr;
    return at != nullptr && scan_int_prefix(at, tilt) != nullptr;
}

char *cut_piece(char **rest) {
    char *piece = *rest;
    if (piece == nullptr) return nullptr;
    char *cut = std::strchr(piece, ';');
    if (cut == nullptr) {
        *rest = nullptr;
    } else {
        *cut = '\0';
        *rest = cut + 1;
    }
    return piece;
}

bool optical_text_scans(const char *text) {
    char *copy = strdup(text);
    if (copy == nullptr) return false;
    bool ok = true;
    char *rest = copy;
    while (ok && rest != nullptr) {
        const char *piece = cut_piece(&rest);
        float zoom;
        int pan;
        int tilt;
        ok = scan_optical_piece(piece, &zoom, &pan, &tilt);
    }
    std::free(copy);
    return ok;
}

}  // namespace viewgeo
