#include "numpy_args.h"

#include <algorithm>
#include <limits>
#include <string>

namespace viewgeo_py {

namespace {

py::module_ numpy() { return py::module_::import("numpy"); }

std::string dtype_name(const py::array &a) { return py::str(a.dtype()).cast<std::string>(); }

const char *kind_text(Kind kind) {
    switch (kind) {
    case Kind::Pixel: return "whole pixels (integers)";
    case Kind::Word: return "Q16.16 words (integers)";
    case Kind::Real:
    case Kind::Precise: return "real numbers";
    }
    return "";
}

// The argument as a NumPy array of its own type, checked against its kind.
py::array checked_array(const Arg &arg) {
    py::array a;
    try {
        a = numpy().attr("asarray")(arg.value);
    } catch (py::error_already_set &) {
        throw py::type_error(std::string(arg.name) + ": expected " + kind_text(arg.kind) + ", got " +
                             py::str(py::type::of(arg.value)).cast<std::string>());
    }
    const char k = a.dtype().kind();
    // NumPy reads an empty list as float64; without elements it holds no
    // fraction, so it is as good as an empty array of integers.
    const bool integer = k == 'i' || k == 'u' || (k == 'f' && a.size() == 0);
    const bool real = arg.kind == Kind::Real || arg.kind == Kind::Precise;
    if (real ? !(integer || k == 'f') : !integer) {
        std::string hint;
        if (!real && k == 'f')
            hint = arg.kind == Kind::Word ? " (convert degrees with viewgeo.to_q16)" : " (round them first, e.g. numpy.rint(...).astype(int))";
        throw py::type_error(std::string(arg.name) + ": expected " + kind_text(arg.kind) + ", got dtype " +
                             dtype_name(a) + hint);
    }
    if (integer && !real && a.size() > 0 &&
        (a.itemsize() > 4 || (k == 'u' && a.itemsize() == 4))) {
        // Compared as Python integers, which hold any 64-bit value exactly.
        const py::int_ low(a.attr("min")()), high(a.attr("max")());
        if (low < py::int_(std::numeric_limits<std::int32_t>::min()) ||
            high > py::int_(std::numeric_limits<std::int32_t>::max()))
            throw py::value_error(std::string(arg.name) + ": values must lie within the 32-bit signed range [-2147483648, 2147483647]");
    }
    return a;
}

}  // namespace

Broadcast::Broadcast(std::initializer_list<Arg> args) {
    std::vector<py::array> checked;
    checked.reserve(args.size());
    for (const Arg &arg : args) checked.push_back(checked_array(arg));

    // The common case, arrays of the library's type and one shape, in C
    // order: taken as they are, without a call into NumPy.
    bool ready = true;
    for (std::size_t i = 0; i < checked.size() && ready; ++i) {
        const Kind kind = args.begin()[i].kind;
        const bool right_type = kind == Kind::Real      ? py::isinstance<py::array_t<float>>(checked[i])
                                : kind == Kind::Precise ? py::isinstance<py::array_t<double>>(checked[i])
                                                        : py::isinstance<py::array_t<std::int32_t>>(checked[i]);
        ready = right_type && (checked[i].flags() & py::array::c_style) != 0 &&
                checked[i].ndim() == checked[0].ndim() &&
                std::equal(checked[i].shape(), checked[i].shape() + checked[i].ndim(), checked[0].shape());
    }
    py::list broadcast;
    if (!ready) {
        py::tuple all(checked.size());
        for (std::size_t i = 0; i < checked.size(); ++i) all[i] = checked[i];
        try {
            broadcast = numpy().attr("broadcast_arrays")(*all);
        } catch (py::error_already_set &) {
            std::string text;
            for (std::size_t i = 0; i < checked.size(); ++i) {
                text += (i == 0 ? "" : ", ") + std::string(args.begin()[i].name) + " " +
                        py::str(py::tuple(checked[i].attr("shape"))).cast<std::string>();
            }
            throw py::value_error("shapes do not broadcast together: " + text);
        }
    }
    for (std::size_t i = 0; i < checked.size(); ++i) {
        if (ready) {
            arrays_.push_back(checked[i]);
            continue;
        }
        const Kind kind = args.begin()[i].kind;
        py::object dtype = kind == Kind::Real      ? numpy().attr("float32")
                           : kind == Kind::Precise ? numpy().attr("float64")
                                                   : numpy().attr("int32");
        // asarray, unlike ascontiguousarray, keeps a 0-d array 0-d.
        arrays_.push_back(numpy().attr("asarray")(broadcast[i], py::arg("dtype") = dtype, py::arg("order") = "C"));
    }
    const py::array &first = arrays_.front();
    shape_.assign(first.shape(), first.shape() + first.ndim());
    size_ = static_cast<std::size_t>(first.size());
    scalar_ = first.ndim() == 0;
}

py::object Broadcast::result(const py::array &out) const {
    if (scalar_) return out[py::tuple()];
    return out;
}

std::int32_t int32_arg(py::handle value, const char *name) {
    if (!py::isinstance<py::int_>(value) && !py::hasattr(value, "__index__"))
        throw py::type_error(std::string(name) + ": expected an integer, got " +
                             py::str(py::type::of(value)).cast<std::string>());
    if (py::isinstance<py::bool_>(value))
        throw py::type_error(std::string(name) + ": expected an integer, got bool");
    py::int_ number = py::reinterpret_steal<py::int_>(PyNumber_Index(value.ptr()));
    if (!number) throw py::error_already_set();
    const py::int_ low(std::numeric_limits<std::int32_t>::min()), high(std::numeric_limits<std::int32_t>::max());
    if (number < low || number > high)
        throw py::value_error(std::string(name) + ": must lie within [-2147483648, 2147483647]");
    return number.cast<std::int32_t>();
}

}  // namespace viewgeo_py
