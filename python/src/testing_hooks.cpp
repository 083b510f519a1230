// viewgeo._testing, in the test build of the package only: the test copy of
// the library's seams (file-system root, injected system-call failures,
// captured log) and the single-point C functions the array calls are
// checked against.
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "binding.h"
#include "platform/fs.h"
#include "platform/log.h"
#include "platform/paths.h"

namespace viewgeo_py {

namespace {

namespace fs = viewgeo::platform::fs;

fs::Op op_named(const std::string &name) {
    static const std::map<std::string, fs::Op> ops = {
        {"stat", fs::Op::Stat},       {"fopen", fs::Op::Fopen},     {"fopen_new", fs::Op::FopenNew},
        {"fflush", fs::Op::Fflush},   {"fsync", fs::Op::Fsync},     {"fclose", fs::Op::Fclose},
        {"print", fs::Op::Print},     {"chmod", fs::Op::Chmod},     {"chown", fs::Op::Chown},
        {"rename", fs::Op::Rename},   {"open_dir", fs::Op::OpenDir}, {"fsync_fd", fs::Op::FsyncFd},
        {"close_fd", fs::Op::CloseFd}, {"read_file", fs::Op::ReadFile}};
    const auto found = ops.find(name);
    if (found == ops.end()) throw py::value_error("unknown file-system call: " + name);
    return found->second;
}

template <typename T> const T *contiguous(const py::array_t<T> &a) {
    if ((a.flags() & py::array::c_style) == 0) throw py::value_error("expected a C-contiguous array");
    return a.data();
}

}  // namespace

void bind_testing(py::module_ &m) {
    py::module_ t = m.def_submodule("_testing", "Hooks of the test build; not part of the package's interface.");
    t.def("set_root", [](const std::string &root) { viewgeo::platform::set_test_root(root); },
          "Every path of the library resolves below `root` ('' restores the real paths).");
    t.def("inject_failure", [](const std::string &op, int err, int skip) { fs::inject_failure(op_named(op), err, skip); },
          py::arg("op"), py::arg("errno"), py::arg("skip") = 0);
    t.def("clear_failures", &fs::clear_failures);
    t.def("captured_log", [] { return viewgeo::platform::captured_log(); });
    t.def("clear_log", [] { viewgeo::platform::captured_log().clear(); });

    // The single-point functions, one call per point.
    t.def("point_to_ptz", [](const Context &s, std::int32_t x, std::int32_t y, bool relative, bool fixed) -> py::tuple {
        if (fixed) {
            std::int32_t p = 0, q = 0;
            (relative ? viewgeo_to_ptz_x_rel : viewgeo_to_ptz_x)(s.c, &p, &q, x, y);
            return py::make_tuple(p, q);
        }
        float p = 0.0f, q = 0.0f;
        (relative ? viewgeo_to_ptz_f_rel : viewgeo_to_ptz_f)(s.c, &p, &q, x, y);
        return py::make_tuple(p, q);
    }, py::arg("ctx"), py::arg("x"), py::arg("y"), py::arg("relative") = false, py::arg("fixed") = false);
    t.def("point_to_pixel_f", [](const Context &s, float pan, float tilt) {
        std::int32_t x = 0, y = 0;
        viewgeo_to_pixel_f(s.c, &x, &y, pan, tilt);
        return py::make_tuple(x, y);
    });
    t.def("point_to_pixel_x", [](const Context &s, std::int32_t pan, std::int32_t tilt) {
        std::int32_t x = 0, y = 0;
        viewgeo_to_pixel_x(s.c, &x, &y, pan, tilt);
        return py::make_tuple(x, y);
    });
    t.def("point_ovista_to_ptz", [](const OvistaContext &o, const Context &v, int x, int y, bool relative) {
        float p = 0.0f, q = 0.0f;
        (relative ? viewgeo_ovista_to_ptz_f_rel : viewgeo_ovista_to_ptz_f)(o.c, v.c, &p, &q, x, y);
        return py::make_tuple(p, q);
    }, py::arg("octx"), py::arg("view"), py::arg("x"), py::arg("y"), py::arg("relative") = false);
    t.def("point_ovista_to_pixel", [](const OvistaContext &o, const Context &v, float pan, float tilt) {
        int x = 0, y = 0;
        viewgeo_ovista_to_pixel_f(o.c, v.c, pan, tilt, &x, &y);
        return py::make_tuple(x, y);
    });

    // The double-precision single-point functions: (status, first, second),
    // the outputs as the library left them.
    t.def("point_to_ptz_d", [](const Context &s, double x, double y) {
        double p = 0.0, q = 0.0;
        const int status = viewgeo_to_ptz_d(s.c, x, y, &p, &q);
        return py::make_tuple(status, p, q);
    });
    t.def("point_to_pixel_d", [](const Context &s, double pan, double tilt) {
        double x = 0.0, y = 0.0;
        const int status = viewgeo_to_pixel_d(s.c, pan, tilt, &x, &y);
        return py::make_tuple(status, x, y);
    });
    t.def("point_ovista_to_ptz_d", [](const OvistaContext &o, const Context &v, double x, double y) {
        double p = 0.0, q = 0.0;
        const int status = viewgeo_ovista_to_ptz_d(o.c, v.c, x, y, &p, &q);
        return py::make_tuple(status, p, q);
    });
    t.def("point_ovista_to_pixel_d", [](const OvistaContext &o, const Context &v, double pan, double tilt) {
        double x = 0.0, y = 0.0;
        const int status = viewgeo_ovista_to_pixel_d(o.c, v.c, pan, tilt, &x, &y);
        return py::make_tuple(status, x, y);
    });

    // The array form called directly on ready buffers, with the GIL
    // released: what the binding's to_ptz is measured against.
    t.def("array_to_ptz_f", [](const Context &s, const py::array_t<std::int32_t> &x, const py::array_t<std::int32_t> &y,
                               py::array_t<float> &pan, py::array_t<float> &tilt) {
        const std::size_t n = static_cast<std::size_t>(x.size());
        if (y.size() != x.size() || pan.size() != x.size() || tilt.size() != x.size()) throw py::value_error("sizes differ");
        const std::int32_t *xs = contiguous(x), *ys = contiguous(y);
        float *p = pan.mutable_data(), *q = tilt.mutable_data();
        py::gil_scoped_release release;
        viewgeo_to_ptz_f_array(s.c, n, xs, ys, p, q);
    });
}

}  // namespace viewgeo_py
