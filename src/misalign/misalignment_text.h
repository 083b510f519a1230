// The two calibration texts of the misalignment data:
//   mechanical offset "pan,tilt"            (motor steps, "%d,%d")
//   optical offset    "zoom,pan,tilt;..."   (each piece "%f,%d,%d")
#pragma once

#include <string_view>

namespace viewgeo {

// Scans a mechanical-offset text; false unless two numbers convert.
bool scan_mechanical_offset(const char *text, int *pan, int *tilt);

// Scans one optical piece; false unless three values convert.
bool scan_optical_piece(const char *piece, float *zoom, int *pan, int *tilt);

// Calls visit(piece) for each ";"-separated piece of `text`, in order,
// keeping empty pieces (so "a;" has the pieces "a" and ""). Stops and returns
// false as soon as visit returns false.
template <typename Visit>
bool for_each_optical_piece(std::string_view text, Visit visit) {
    for (;;) {
        const std::size_t cut = text.find(';');
        if (!visit(text.substr(0, cut))) return false;
        if (cut == std::string_view::npos) return true;
        text.remove_prefix(cut + 1);
    }
}

}  // namespace viewgeo
