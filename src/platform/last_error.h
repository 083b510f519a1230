// The reason of the last failed file operation, per thread, for
// viewgeo_last_error(): "<step> <path>: <reason>", for example
// "rename /etc/viewgeo/remoteptz.conf.new: Read-only file system". Paths are
// the logical ones of paths.h. Every library call that reads or writes a
// file clears it when it starts, so after the call it is empty exactly when
// none of the call's file operations failed.
#pragma once

namespace viewgeo::platform {

// Records `step` on `path` with the system's text for the current errno;
// errno is left as it was.
void set_last_error(const char *step, const char *path);
// Records `step` on `path` with a reason of the library's own.
void set_last_error(const char *step, const char *path, const char *reason);
void clear_last_error();
// The calling thread's message; "" when none is recorded.
const char *last_error();

}  // namespace viewgeo::platform
