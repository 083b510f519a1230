// The pieces of the extension module and the record owners they share.
#pragma once

#include <cstdint>
#include <string>

#include <pybind11/pybind11.h>

#include "viewgeo.h"

namespace viewgeo_py {

namespace py = pybind11;

// Owns a view context, created and freed by the library.
struct Context {
    Context();
    ~Context();
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;
    viewgeo_context *c;
};

// Owns an overview context, created and freed by the library. `c` changes
// when a restore replaces the record.
struct OvistaContext {
    explicit OvistaContext(viewgeo_ovista_context *record) : c(record) {}
    ~OvistaContext();
    OvistaContext(const OvistaContext &) = delete;
    OvistaContext &operator=(const OvistaContext &) = delete;
    viewgeo_ovista_context *c;
};

// Shortest decimal text that reads back as the same float.
std::string float_text(float value);

// A Q16.16 word to degrees and back by the library's own rounding (the rule
// its float setters and getters use).
std::int32_t q16_from_degrees(float degrees);
float q16_to_degrees(std::int32_t word);

py::class_<Context> bind_context(py::module_ &m);
void bind_ovista(py::module_ &m);
void bind_utilities(py::module_ &m);
void bind_remote(py::module_ &m, py::class_<Context> &context);
#ifdef VIEWGEO_PY_TESTING
void bind_testing(py::module_ &m);
#endif

}  // namespace viewgeo_py
