#include "misalign/misalignment_text.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace viewgeo {

bool scan_mechanical_offset(const char *text, int *pan, int *tilt) {
    return std::sscanf(text, "%d,%d", pan, tilt) == 2;
}

bool scan_optical_piece(const char *piece, float *zoom, int *pan, int *tilt) {
    return std::sscanf(piece, "%f,%d,%d", zoom, pan, tilt) == 3;
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
