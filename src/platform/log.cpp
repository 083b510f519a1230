#include "platform/log.h"

#include <cstdarg>
#include <cstdio>
#include <syslog.h>

namespace viewgeo::platform {

#ifdef VIEWGEO_TEST_SEAM

std::vector<std::string> &captured_log() {
    static std::vector<std::string> lines;
    return lines;
}

void log_error(const char *format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    captured_log().emplace_back(text);
}

#else

void log_error(const char *format, ...) {
    va_list args;
    va_start(args, format);
    vsyslog(LOG_ERR, format, args);
    va_end(args);
}

#endif

}  // namespace viewgeo::platform
