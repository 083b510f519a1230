// Turning Python arguments (scalars, sequences, NumPy arrays of any shape)
// into contiguous arrays of the type the library takes, broadcast to one
// shape, and the results back into arrays of that shape.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

namespace viewgeo_py {

namespace py = pybind11;

// What an argument holds, and so which values it accepts.
enum class Kind {
    Pixel,   // whole pixels: any integer type, values within int32
    Word,    // Q16.16 words: any integer type, values within int32
    Real,    // degrees, factors, vector components: any real or integer type, taken as float32
    Precise, // the same, taken as float64 (continuous pixels too)
};

struct Arg {
    py::handle value;
    Kind kind;
    const char *name;
};

// The arguments of one call, converted and broadcast together.
class Broadcast {
public:
    explicit Broadcast(std::initializer_list<Arg> args);

    std::size_t size() const { return size_; }
    // Pointer to the elements of argument i (int32_t or float).
    template <typename T> const T *data(std::size_t i) const {
        return static_cast<const T *>(arrays_[i].data());
    }
    // A new output array of the common shape.
    template <typename T> py::array_t<T> output() const { return py::array_t<T>(shape_); }
    // The array as returned to the caller: a NumPy scalar when every
    // argument was a scalar, the array itself otherwise.
    py::object result(const py::array &out) const;

private:
    std::vector<py::array> arrays_;
    std::vector<py::ssize_t> shape_;
    std::size_t size_ = 0;
    bool scalar_ = false;
};

// Two float64 outputs per point of two float64 arguments, computed with the
// GIL released by `point(a, b, &first, &second)`, which returns the library's
// status: a point without an answer (status not 0) gives NaN in both.
template <typename Point>
py::tuple precise_pair(const Broadcast &args, Point point) {
    py::array_t<double> first = args.output<double>(), second = args.output<double>();
    double *f = first.mutable_data(), *s = second.mutable_data();
    const double *a = args.data<double>(0), *b = args.data<double>(1);
    {
        py::gil_scoped_release release;
        for (std::size_t i = 0; i < args.size(); ++i) {
            if (point(a[i], b[i], &f[i], &s[i]) != 0) {
                f[i] = std::numeric_limits<double>::quiet_NaN();
                s[i] = std::numeric_limits<double>::quiet_NaN();
            }
        }
    }
    return py::make_tuple(args.result(first), args.result(second));
}

// One scalar argument as an int32: TypeError when it is not an integer,
// ValueError when it lies outside the int32 range.
std::int32_t int32_arg(py::handle value, const char *name);

}  // namespace viewgeo_py
