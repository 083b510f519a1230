// The ranges the tool accepts, why a file operation or the output failed,
// and the version of the library the tool runs with.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "session.h"

namespace viewgeo::tool {
namespace {

std::string bound(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

}  // namespace

void check_range(const std::string &option, double value, double low, double high, bool open_low, bool open_high,
                 bool raw) {
    if (raw) return;
    const bool above = open_low ? value > low : value >= low;
    const bool below = open_high ? value < high : value <= high;
    if (std::isfinite(value) && above && below) return;
    throw InvalidInput(option, "must be a finite number in " + std::string(open_low ? "(" : "[") + bound(low) + ", " +
                                   bound(high) + (open_high ? ")" : "]") + ", got " + bound(value));
}

void check_pan(const std::string &option, double value, bool raw) {
    check_range(option, value, -360.0, 360.0, false, false, raw);
}

void check_tilt(const std::string &option, double value, bool raw) {
    check_range(option, value, -180.0, 180.0, false, false, raw);
}

void check_finite(const std::string &option, double value) {
    if (!std::isfinite(value)) throw InvalidInput(option, "must be a finite number, got " + bound(value));
}

std::string out_of_range(const std::string &type, std::string_view text) {
    return "number out of range for " + type + ", got '" + std::string(text) + "'";
}

void check_channel(const std::string &option, int value, bool raw) {
    if (raw || (value > -100000 && value < 1000000)) return;
    throw InvalidInput(option, "must be a channel number from -99999 to 999999, got " + std::to_string(value));
}

// Why the library's last file operation failed: its own account (step, path
// and the system's reason) or, when it has none, the system's reason still in
// errno right after the call.
std::string failure_reason() {
    const int error = errno;
    const char *library = viewgeo_last_error();
    if (library != nullptr && library[0] != '\0') return library;
    if (error == 0) return "";
    return std::strerror(error);
}

FileError file_failure(const std::string &what) {
    const std::string reason = failure_reason();
    return FileError(what + (reason.empty() ? " (see the system log)" : ": " + reason));
}

FileError output_failure(int error) {
    return FileError(std::string("cannot write standard output") + (error > 0 ? std::string(": ") + std::strerror(error) : ""));
}

std::string tool_version() { return viewgeo_version(); }

}  // namespace viewgeo::tool
