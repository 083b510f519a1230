// Failed file operations become Python's OSError. The reason comes from one
// place, file_error_reason(): the library's own account of the failure, or
// the system's text for errno when the library gives none.
#pragma once

#include <string>

#include <pybind11/pybind11.h>

namespace viewgeo_py {

namespace py = pybind11;

// Marks the start of a library call whose failure is to be reported.
void begin_file_call();
// The reason of the library call that just failed: the library's own text
// when it gives one, otherwise the system's text for errno as the call left
// it. `errno_after` must be read right after the call. `*code` gets the
// errno value for OSError (0 when there is none).
std::string file_error_reason(int errno_after, int *code);

// Raises OSError(errno, "<what>: <reason>", path) for the call that just
// failed (OSError("<what>: <reason> (<path>)") when there is no errno).
[[noreturn]] void raise_file_error(const std::string &what, const char *path, int errno_after);

}  // namespace viewgeo_py
