#include "platform/last_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "viewgeo.h"

namespace viewgeo::platform {
namespace {

// A plain buffer: trivially destroyed, so a thread may end at any time. A
// message longer than it is cut, never overrun.
constexpr std::size_t kMessageSize = 320;
thread_local char message[kMessageSize];

}  // namespace

void set_last_error(const char *step, const char *path, const char *reason) {
    std::snprintf(message, sizeof message, "%s %s: %s", step, path, reason);
}

void set_last_error(const char *step, const char *path) {
    const int saved = errno;
    char reason[128];
    // The GNU form returns the text, which need not be the buffer.
    const char *text = strerror_r(saved, reason, sizeof reason);
    set_last_error(step, path, text);
    errno = saved;
}

void clear_last_error() { message[0] = '\0'; }

const char *last_error() { return message; }

}  // namespace viewgeo::platform

extern "C" VIEWGEO_API const char *viewgeo_last_error(void) { return viewgeo::platform::last_error(); }
