// The two calibration texts of the misalignment data:
//   mechanical offset "pan,tilt"            (motor steps, "%d,%d")
//   optical offset    "zoom,pan,tilt;..."   (each piece "%f,%d,%d")
// read as the C library's scanf reads those formats (blanks before a number
// skipped, anything after the last number ignored), except that an integer
// out of the 32-bit range saturates, the same on every target.
// Nothing here throws: the texts come through C entry points.
#pragma once

namespace viewgeo {

// Scans a mechanical-offset text; false unless two numbers convert.
bool scan_mechanical_offset(const char *text, int *pan, int *tilt);

// Scans one optical piece; false unless three values convert.
bool scan_optical_piece(const char *piece, float *zoom, int *pan, int *tilt);

// Cuts the next ";"-separated piece off *rest, in place: the ";" becomes a
// NUL, *rest moves past it, and after the last piece *rest becomes null.
// Empty pieces are kept ("a;" has the pieces "a" and ""), as the calibration
// writer's own reader does, so a trailing ";" makes a text fail to scan.
char *cut_piece(char **rest);

// True when every piece of an optical text scans (an empty text has one
// empty piece and fails). Works on a private copy; false when no copy can
// be made.
bool optical_text_scans(const char *text);

}  // namespace viewgeo
