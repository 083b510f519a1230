#include "file_errors.h"

#include <cerrno>
#include <cstring>

#include "viewgeo.h"

namespace viewgeo_py {

void begin_file_call() { errno = 0; }

std::string file_error_reason(int errno_after, int *code) {
    *code = errno_after;
    // The library's own account: step, path and the system's reason.
    const char *reason = viewgeo_last_error();
    if (reason != nullptr && reason[0] != '\0') return reason;
    // No system error: the file was read but lacked what was asked for, or
    // its contents did not convert.
    if (errno_after == 0) return "the file is missing what was asked for or cannot be used";
    return std::strerror(errno_after);
}

void raise_file_error(const std::string &what, const char *path, int errno_after) {
    int code = 0;
    const std::string reason = file_error_reason(errno_after, &code);
    py::object os_error = py::module_::import("builtins").attr("OSError");
    py::object error = code != 0 ? os_error(code, what + ": " + reason, path)
                                 : os_error(what + ": " + reason + " (" + path + ")");
    // OSError(errno, ...) is already the subclass for that errno
    // (FileNotFoundError, PermissionError, ...).
    PyErr_SetObject(reinterpret_cast<PyObject *>(Py_TYPE(error.ptr())), error.ptr());
    throw py::error_already_set();
}

}  // namespace viewgeo_py
