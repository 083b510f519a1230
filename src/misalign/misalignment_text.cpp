#include "misalign/misalignment_text.h"

#include <cstdio>

namespace viewgeo {

bool scan_mechanical_offset(const char *text, int *pan, int *tilt) {
    return std::sscanf(text, "%d,%d", pan, tilt) == 2;
}

bool scan_optical_piece(const char *piece, float *zoom, int *pan, int *tilt) {
    return std::sscanf(piece, "%f,%d,%d", zoom, pan, tilt) == 3;
}

}  // namespace viewgeo
