// The extension module viewgeo._viewgeo; the package viewgeo re-exports it.
#include "binding.h"

PYBIND11_MODULE(_viewgeo, m) {
    m.doc() = R"doc(
Camera geometry for a pan-tilt-zoom camera: pixels <-> pan/tilt in float32
degrees and Q16.16 words, the head's misalignment correction, the remote
PTZ camera and the fisheye overview camera. Every conversion takes scalars
or NumPy arrays of any shape (broadcast together) and returns arrays of
that shape, the same bits as the library's C functions.
)doc";
    // The version of the library actually loaded.
    m.attr("__version__") = viewgeo_version();
    auto context = viewgeo_py::bind_context(m);
    viewgeo_py::bind_remote(m, context);
    viewgeo_py::bind_ovista(m);
    viewgeo_py::bind_utilities(m);
#ifdef VIEWGEO_PY_TESTING
    viewgeo_py::bind_testing(m);
#endif
}
