// Number conversions for values read from the calibration file. They
// behave as sscanf "%f" / "%d" on well-formed text, but stay defined on
// out-of-range numbers, which the file may hold.
#include <cerrno>
#include <cstdlib>

#include "remote/remote_calibration.h"

namespace viewgeo {

bool scan_float(const char *text, float *out) {
    if (text == nullptr) return false;
    char *end = nullptr;
    const float value = std::strtof(text, &end);
    if (end == text) return false;
    *out = value;
    return true;
}

bool scan_int(const char *text, int *out) {
    if (text == nullptr) return false;
    char *end = nullptr;
    const int saved = errno;
    const long value = std::strtol(text, &end, 10);
    errno = saved;
    if (end == text) return false;
    *out = static_cast<int>(value);  // modulo 2^32, as "%d" stores it
    return true;
}

}  // namespace viewgeo
