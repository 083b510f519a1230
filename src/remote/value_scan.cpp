// Number conversions for values read from the calibration file. They
// behave as sscanf "%f" / "%d" on well-formed text, but stay defined on
// out-of-range numbers, which the file may hold.
#include <cerrno>
#include <cstdint>
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
    const long long value = std::strtoll(text, &end, 10);
    errno = saved;
    if (end == text) return false;
    // Out-of-range text saturates, as "%d" reads it on the 32-bit camera
    // (and as the overview file's integers are read); the same on every
    // target.
    *out = value > INT32_MAX ? INT32_MAX : value < INT32_MIN ? INT32_MIN : static_cast<int>(value);
    return true;
}

}  // namespace viewgeo
