// Module-level functions: the Q16.16 conversions, the angle and zoom
// utilities and the Cartesian conversions. All pure; the loops run with the
// GIL released.
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include <pybind11/numpy.h>

#include "binding.h"
#include "numpy_args.h"

namespace viewgeo_py {

std::string float_text(float value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
    char text[32];
    for (int digits = 1; digits <= 9; ++digits) {
        std::snprintf(text, sizeof text, "%.*g", digits, static_cast<double>(value));
        if (std::strtof(text, nullptr) == value) break;
    }
    // Python's own spelling of that number ("10.0", "0.3046875").
    return py::repr(py::float_(std::strtod(text, nullptr))).cast<std::string>();
}

std::int32_t q16_from_degrees(float degrees) {
    // The library's rounding, through a record on the stack that is never
    // created: the setter stores exactly that word.
    viewgeo_context probe{};
    viewgeo_set_horiz_fov_f(&probe, degrees);
    return probe.horiz_fov;
}

float q16_to_degrees(std::int32_t word) {
    viewgeo_context probe{};
    viewgeo_set_horiz_fov_x(&probe, word);
    float degrees = 0.0f;
    viewgeo_get_horiz_fov_f(&probe, &degrees);
    return degrees;
}

namespace {

// One output per point of the broadcast arguments, computed by `point(i)`
// with the GIL released.
template <typename Out, typename Point>
py::object each_point(const Broadcast &args, Point point) {
    py::array_t<Out> out = args.output<Out>();
    Out *o = out.mutable_data();
    {
        py::gil_scoped_release release;
        for (std::size_t i = 0; i < args.size(); ++i) o[i] = point(i);
    }
    return args.result(out);
}

// Several outputs per point: `point(i, outputs...)` writes them.
template <typename Out, std::size_t N, typename Point>
py::tuple each_point_n(const Broadcast &args, Point point) {
    py::tuple result(N);
    std::array<py::array_t<Out>, N> outs;
    std::array<Out *, N> ptr{};
    for (std::size_t k = 0; k < N; ++k) {
        outs[k] = args.output<Out>();
        ptr[k] = outs[k].mutable_data();
    }
    {
        py::gil_scoped_release release;
        for (std::size_t i = 0; i < args.size(); ++i) point(i, ptr);
    }
    for (std::size_t k = 0; k < N; ++k) result[k] = args.result(outs[k]);
    return result;
}

}  // namespace

void bind_utilities(py::module_ &m) {
    m.attr("dtor_x") = dtor_x;
    m.attr("dtor_f") = dtor_f;
    m.attr("rtod_x") = rtod_x;
    m.attr("rtod_f") = rtod_f;

    m.def("to_q16", [](py::handle degrees) {
        const Broadcast a{{degrees, Kind::Real, "degrees"}};
        const float *d = a.data<float>(0);
        return each_point<std::int32_t>(a, [&](std::size_t i) { return q16_from_degrees(d[i]); });
    }, py::arg("degrees"), R"doc(
Degrees (float32) to Q16.16 words (int32) by the library's rounding: the word
its float setters store. Values beyond the Q16.16 range (+-32768) saturate.
)doc");
    m.def("from_q16", [](py::handle words) {
        const Broadcast a{{words, Kind::Word, "words"}};
        const std::int32_t *w = a.data<std::int32_t>(0);
        return each_point<float>(a, [&](std::size_t i) { return q16_to_degrees(w[i]); });
    }, py::arg("words"), "Q16.16 words (int32) to float32 degrees by the library's conversion (w / 65536).");

    m.def("pan_delta", [](py::handle pan_a, py::handle pan_b, bool fixed) -> py::object {
        if (fixed) {
            const Broadcast a{{pan_a, Kind::Word, "pan_a"}, {pan_b, Kind::Word, "pan_b"}};
            const std::int32_t *x = a.data<std::int32_t>(0), *y = a.data<std::int32_t>(1);
            return each_point<std::int32_t>(a, [&](std::size_t i) { return viewgeo_get_pan_delta_x(x[i], y[i]); });
        }
        const Broadcast a{{pan_a, Kind::Real, "pan_a"}, {pan_b, Kind::Real, "pan_b"}};
        const float *x = a.data<float>(0), *y = a.data<float>(1);
        return each_point<float>(a, [&](std::size_t i) { return viewgeo_get_pan_delta(x[i], y[i]); });
    }, py::arg("pan_a"), py::arg("pan_b"), py::kw_only(), py::arg("fixed") = false, R"doc(
Unsigned distance between two pans (degrees, or Q16.16 words with
fixed=True): the difference folded once across +-180, so in [0, 180] for
pans less than 360 apart (more gives a negative value). Arrays broadcast.
)doc");

    m.def("great_circle", [](py::handle pan_a, py::handle tilt_a, py::handle pan_b, py::handle tilt_b, bool fixed, bool precise) -> py::object {
        if (precise) {
            if (fixed) throw py::value_error("precise=True has no fixed form");
            const Broadcast a{{pan_a, Kind::Precise, "pan_a"}, {tilt_a, Kind::Precise, "tilt_a"}, {pan_b, Kind::Precise, "pan_b"}, {tilt_b, Kind::Precise, "tilt_b"}};
            const double *p = a.data<double>(0), *t = a.data<double>(1), *q = a.data<double>(2), *u = a.data<double>(3);
            return each_point<double>(a, [&](std::size_t i) { return viewgeo_get_great_circle_d(p[i], t[i], q[i], u[i]); });
        }
        if (fixed) {
            const Broadcast a{{pan_a, Kind::Word, "pan_a"}, {tilt_a, Kind::Word, "tilt_a"}, {pan_b, Kind::Word, "pan_b"}, {tilt_b, Kind::Word, "tilt_b"}};
            const std::int32_t *p = a.data<std::int32_t>(0), *t = a.data<std::int32_t>(1), *q = a.data<std::int32_t>(2), *u = a.data<std::int32_t>(3);
            return each_point<std::int32_t>(a, [&](std::size_t i) { return viewgeo_get_great_circle_x(p[i], t[i], q[i], u[i]); });
        }
        const Broadcast a{{pan_a, Kind::Real, "pan_a"}, {tilt_a, Kind::Real, "tilt_a"}, {pan_b, Kind::Real, "pan_b"}, {tilt_b, Kind::Real, "tilt_b"}};
        const float *p = a.data<float>(0), *t = a.data<float>(1), *q = a.data<float>(2), *u = a.data<float>(3);
        return each_point<float>(a, [&](std::size_t i) { return viewgeo_get_great_circle(p[i], t[i], q[i], u[i]); });
    }, py::arg("pan_a"), py::arg("tilt_a"), py::arg("pan_b"), py::arg("tilt_b"), py::kw_only(), py::arg("fixed") = false, py::arg("precise") = false, R"doc(
Angle in [0, 180] degrees between two pan/tilt directions (degrees, or Q16.16
words with fixed=True). The cosine is not clamped: identical directions give
0, about 1e-6 or NaN. Arrays broadcast.
precise=True: float64 degrees in and out, from the arc tangent of the cross
and dot products: exactly 0 for identical directions, exactly 180 for
antipodes, NaN for a non-finite input. Not with fixed.
)doc");

    m.def("zoom_magnification", [](py::handle fov_a, py::handle fov_b) {
        const Broadcast a{{fov_a, Kind::Word, "fov_a"}, {fov_b, Kind::Word, "fov_b"}};
        const std::int32_t *x = a.data<std::int32_t>(0), *y = a.data<std::int32_t>(1);
        return each_point<std::int32_t>(a, [&](std::size_t i) { return viewgeo_get_zoom_magnification(x[i], y[i]); });
    }, py::arg("fov_a"), py::arg("fov_b"), R"doc(
tan(fov_b / 2) / tan(fov_a / 2) as Q16.16 words, above 65536 (1.0) when fov_b
is wider. Fields are Q16.16 words of degrees (see to_q16). fov_a 0 gives
INT32_MAX (INT32_MIN for a negative quotient, 0 for 0 / 0). Arrays broadcast.
)doc");

    m.def("zoom_fov", [](py::handle zoom_a, py::handle fov, py::handle zoom_b, bool fixed) -> py::tuple {
        if (fixed) {
            const Broadcast a{{zoom_a, Kind::Word, "zoom_a"}, {fov, Kind::Word, "fov"}, {zoom_b, Kind::Word, "zoom_b"}};
            const std::int32_t *x = a.data<std::int32_t>(0), *f = a.data<std::int32_t>(1), *y = a.data<std::int32_t>(2);
            return each_point_n<std::int32_t, 2>(a, [&](std::size_t i, std::array<std::int32_t *, 2> &o) {
                viewgeo_get_zoom_fov_x(x[i], f[i], y[i], &o[0][i], &o[1][i]);
            });
        }
        const Broadcast a{{zoom_a, Kind::Real, "zoom_a"}, {fov, Kind::Real, "fov"}, {zoom_b, Kind::Real, "zoom_b"}};
        const float *x = a.data<float>(0), *f = a.data<float>(1), *y = a.data<float>(2);
        return each_point_n<float, 2>(a, [&](std::size_t i, std::array<float *, 2> &o) {
            viewgeo_get_zoom_fov(x[i], f[i], y[i], &o[0][i], &o[1][i]);
        });
    }, py::arg("zoom_a"), py::arg("fov"), py::arg("zoom_b"), py::kw_only(), py::arg("fixed") = false, R"doc(
Fields of view (degrees) after zoom factor zoom_a, 2 atan(tan(fov / 2) /
zoom_a), and after zoom_a then zoom_b: returns (fov_a, fov_b). With
fixed=True every value is a Q16.16 word. Zoom factors must not be 0 (a zero
one gives about 180 degrees, or NaN with a zero field). Arrays broadcast.
)doc");

    m.def("wrap_pan", [](py::handle pan) {
        const Broadcast a{{pan, Kind::Real, "pan"}};
        const float *p = a.data<float>(0);
        return each_point<float>(a, [&](std::size_t i) { return viewgeo_wrap_pan(p[i]); });
    }, py::arg("pan"), "Pan (degrees) brought into [-180, 180] by one turn at most; beyond +-540 it stays outside.");

    m.def("ptz_to_cartesian", [](py::handle pan, py::handle tilt, bool precise) {
        if (precise) {
            const Broadcast a{{pan, Kind::Precise, "pan"}, {tilt, Kind::Precise, "tilt"}};
            const double *p = a.data<double>(0), *t = a.data<double>(1);
            return each_point_n<double, 3>(a, [&](std::size_t i, std::array<double *, 3> &o) {
                viewgeo_ptz_to_cartesian_d(p[i], t[i], &o[0][i], &o[1][i], &o[2][i]);
            });
        }
        const Broadcast a{{pan, Kind::Real, "pan"}, {tilt, Kind::Real, "tilt"}};
        const float *p = a.data<float>(0), *t = a.data<float>(1);
        return each_point_n<float, 3>(a, [&](std::size_t i, std::array<float *, 3> &o) {
            viewgeo_ptz_to_cartesian_f(p[i], t[i], &o[0][i], &o[1][i], &o[2][i]);
        });
    }, py::arg("pan"), py::arg("tilt"), py::kw_only(), py::arg("precise") = false, R"doc(
Unit vector (x, y, z) of the direction pan/tilt (degrees): +x toward pan 0
at tilt 0, +y toward pan 90, +z up. float32 results of double products.
precise=True: float64 in and out; multiples of 90 degrees give exact 0 and
+-1, a non-finite input NaN components.
)doc");
    m.def("cartesian_to_ptz", [](py::handle x, py::handle y, py::handle z, bool precise) {
        if (precise) {
            const Broadcast a{{x, Kind::Precise, "x"}, {y, Kind::Precise, "y"}, {z, Kind::Precise, "z"}};
            const double *px = a.data<double>(0), *py_ = a.data<double>(1), *pz = a.data<double>(2);
            return each_point_n<double, 2>(a, [&](std::size_t i, std::array<double *, 2> &o) {
                // The library writes NaN itself where it has no answer.
                viewgeo_cartesian_to_ptz_d(px[i], py_[i], pz[i], &o[0][i], &o[1][i]);
            });
        }
        const Broadcast a{{x, Kind::Real, "x"}, {y, Kind::Real, "y"}, {z, Kind::Real, "z"}};
        const float *px = a.data<float>(0), *py_ = a.data<float>(1), *pz = a.data<float>(2);
        return each_point_n<float, 2>(a, [&](std::size_t i, std::array<float *, 2> &o) {
            if (viewgeo_cartesian_to_ptz_f(px[i], py_[i], pz[i], &o[0][i], &o[1][i]) != 0) {
                o[0][i] = std::numeric_limits<float>::quiet_NaN();
                o[1][i] = std::numeric_limits<float>::quiet_NaN();
            }
        });
    }, py::arg("x"), py::arg("y"), py::arg("z"), py::kw_only(), py::arg("precise") = false, R"doc(
Pan (degrees, (-180, 180]) and tilt (degrees, [-90, 90]) of the vector
(x, y, z), which need not be of unit length. A vector of length 0 or NaN
gives NaN for both. Arrays broadcast.
precise=True: float64 in and out, vectors of any length (huge and subnormal
ones included); pan 0 straight up or down.
)doc");
}

}  // namespace viewgeo_py
