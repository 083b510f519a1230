#include "platform/value_scan.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace viewgeo {

const char *scan_int_prefix(const char *text, int *out) {
    if (text == nullptr) return nullptr;
    char *end = nullptr;
    const int saved = errno;
    // long long holds every value up to its own saturation, which lies far
    // outside the int range, so one clamp serves every target.
    const long long value = std::strtoll(text, &end, 10);
    errno = saved;
    if (end == text) return nullptr;
    *out = value > INT32_MAX ? INT32_MAX : value < INT32_MIN ? INT32_MIN : static_cast<int>(value);
    return end;
}

const char *scan_float_prefix(const char *text, float *out) {
    if (text == nullptr) return nullptr;
    char *end = nullptr;
    const int saved = errno;
    const float value = std::strtof(text, &end);
    errno = saved;
    if (end == text) return nullptr;
    *out = value;
    return end;
}

const char *scan_float_field(const char *text, float *out) {
    if (text == nullptr) return nullptr;
    float value = 0.0f;
    int used = 0;
    const int saved = errno;
    const int converted = std::sscanf(text, "%f%n", &value, &used);
    errno = saved;
    if (converted != 1) return nullptr;
    *out = value;
    return text + used;
}

bool scan_int(const char *text, int *out) { return scan_int_prefix(text, out) != nullptr; }

bool scan_float(const char *text, float *out) { return scan_float_prefix(text, out) != nullptr; }

}  // namespace viewgeo
