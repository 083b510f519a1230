// viewgeo.OvistaContext and viewgeo.Compensator: the fisheye overview camera,
// its projections and its configuration file.
#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "binding.h"
#include "file_errors.h"
#include "numpy_args.h"

static_assert(sizeof(int) == sizeof(std::int32_t), "the overview projections take int pixels");

namespace viewgeo_py {

OvistaContext::~OvistaContext() { viewgeo_ovista_context_delete(c); }

namespace {

constexpr const char *kOvistaConfig = "/etc/viewgeo/ovista.conf";
constexpr const char *kOvistaBackup = "/etc/viewgeo/ovista.bak";

int compensator_index(py::handle which) {
    if (py::isinstance<py::str>(which)) {
        const std::string name = which.cast<std::string>();
        if (name == "pan") return 0;
        if (name == "tilt") return 1;
        if (name == "x") return 2;
        if (name == "y") return 3;
        throw py::value_error("compensator must be 'pan', 'tilt', 'x' or 'y' (or 0 to 3), got '" + name + "'");
    }
    const std::int32_t index = int32_arg(which, "which");
    if (index < 0 || index > 3) throw py::value_error("compensator index must be 0 (pan), 1 (tilt), 2 (x) or 3 (y), got " + std::to_string(index));
    return index;
}

viewgeo_ovista_compensator get_compensator(const OvistaContext &s, py::handle which) {
    viewgeo_ovista_compensator comp{};
    viewgeo_get_ovista_compensator(s.c, compensator_index(which), &comp.type, &comp.A, &comp.B, &comp.C, &comp.D);
    return comp;
}

void set_compensator(OvistaContext &s, py::handle which, const viewgeo_ovista_compensator &comp) {
    viewgeo_set_ovista_compensator(s.c, compensator_index(which), comp.type, comp.A, comp.B, comp.C, comp.D);
}

std::string compensator_repr(const viewgeo_ovista_compensator &c) {
    return "viewgeo.Compensator(type=" + std::to_string(c.type) + ", A=" + float_text(c.A) + ", B=" + float_text(c.B) +
           ", C=" + float_text(c.C) + ", D=" + float_text(c.D) + ")";
}

struct Lens {
    float center_x, center_y, radius_x, radius_y, field_angle;
};

Lens lens_of(const OvistaContext &s) {
    Lens l{};
    viewgeo_get_lens_characteristics(s.c, &l.center_x, &l.center_y, &l.radius_x, &l.radius_y, &l.field_angle);
    return l;
}

void set_lens(OvistaContext &s, const Lens &l) {
    viewgeo_set_lens_characteristics(s.c, l.center_x, l.center_y, l.radius_x, l.radius_y, l.field_angle);
}

// A property of the fisheye circle, read and written through the lens
// characteristics getter and setter.
template <float Lens::*Field>
void lens_property(py::class_<OvistaContext> &cls, const char *name, const char *doc) {
    cls.def_property(
        name, [](const OvistaContext &s) { return lens_of(s).*Field; },
        [](OvistaContext &s, float value) {
            Lens l = lens_of(s);
            l.*Field = value;
            set_lens(s, l);
        },
        doc);
}

std::string repr(const OvistaContext &s) {
    const viewgeo_ovista_context &c = *s.c;
    return "viewgeo.OvistaContext(center_pan=" + float_text(c.center_pan) + ", center_tilt=" + float_text(c.center_tilt) +
           ", center_x=" + float_text(c.center_x) + ", center_y=" + float_text(c.center_y) +
           ", radius_x=" + float_text(c.radius_x) + ", radius_y=" + float_text(c.radius_y) +
           ", field_angle=" + float_text(c.field_angle) + ", rotation=" + std::to_string(c.rotation) +
           ", mirror=" + (c.mirror != 0 ? "True" : "False") + ", pan_comp=" + compensator_repr(c.pan_comp) +
           ", tilt_comp=" + compensator_repr(c.tilt_comp) + ", x_comp=" + compensator_repr(c.x_comp) +
           ", y_comp=" + compensator_repr(c.y_comp) + ")";
}

// A file path is a str, bytes or any os.PathLike (pathlib.Path), as
// Python's own file functions take it.
using FilePath = std::optional<std::filesystem::path>;

std::unique_ptr<OvistaContext> create(const FilePath &path) {
    viewgeo_ovista_context *record = nullptr;
    begin_file_call();
    if (path) {
        load_conf(&record, path->c_str());
    } else {
        record = viewgeo_ovista_context_create();
    }
    const int saved = errno;
    if (record == nullptr) raise_file_error("cannot load the overview configuration", path ? path->c_str() : kOvistaConfig, saved);
    return std::make_unique<OvistaContext>(record);
}

void save(const OvistaContext &s, const FilePath &path) {
    begin_file_call();
    const int status = path ? save_conf(s.c, path->c_str()) : viewgeo_ovista_context_save(s.c);
    const int saved = errno;
    if (status != 0) raise_file_error("cannot save the overview configuration", path ? path->c_str() : kOvistaConfig, saved);
}

py::tuple to_ptz(const OvistaContext &s, const Context &view, py::handle x, py::handle y, bool relative,
                 bool precise) {
    const viewgeo_ovista_context overview = *s.c;
    const viewgeo_context picture = *view.c;
    if (precise) {
        if (relative) throw py::value_error("precise=True has no relative form");
        const Broadcast args{{x, Kind::Precise, "x"}, {y, Kind::Precise, "y"}};
        return precise_pair(args, [&](double a, double b, double *pan, double *tilt) {
            return viewgeo_ovista_to_ptz_d(&overview, &picture, a, b, pan, tilt);
        });
    }
    const Broadcast args{{x, Kind::Pixel, "x"}, {y, Kind::Pixel, "y"}};
    py::array_t<float> pan = args.output<float>(), tilt = args.output<float>();
    float *p = pan.mutable_data(), *t = tilt.mutable_data();
    const int *xs = args.data<int>(0), *ys = args.data<int>(1);
    {
        py::gil_scoped_release release;
        if (relative) {
            // The library has no array form of the relative direction.
            for (std::size_t i = 0; i < args.size(); ++i) viewgeo_ovista_to_ptz_f_rel(&overview, &picture, &p[i], &t[i], xs[i], ys[i]);
        } else {
            viewgeo_ovista_to_ptz_f_array(&overview, &picture, args.size(), xs, ys, p, t);
        }
    }
    return py::make_tuple(args.result(pan), args.result(tilt));
}

py::tuple to_pixel(const OvistaContext &s, const Context &view, py::handle pan, py::handle tilt, bool precise) {
    const viewgeo_ovista_context overview = *s.c;
    const viewgeo_context picture = *view.c;
    if (precise) {
        const Broadcast args{{pan, Kind::Precise, "pan"}, {tilt, Kind::Precise, "tilt"}};
        return precise_pair(args, [&](double p, double t, double *x, double *y) {
            return viewgeo_ovista_to_pixel_d(&overview, &picture, p, t, x, y);
        });
    }
    const Broadcast args{{pan, Kind::Real, "pan"}, {tilt, Kind::Real, "tilt"}};
    py::array_t<std::int32_t> x = args.output<std::int32_t>(), y = args.output<std::int32_t>();
    int *xs = x.mutable_data(), *ys = y.mutable_data();
    const float *p = args.data<float>(0), *t = args.data<float>(1);
    {
        py::gil_scoped_release release;
        viewgeo_ovista_to_pixel_f_array(&overview, &picture, args.size(), p, t, xs, ys);
    }
    return py::make_tuple(args.result(x), args.result(y));
}

}  // namespace

void bind_ovista(py::module_ &m) {
    py::class_<viewgeo_ovista_compensator> comp(m, "Compensator", R"doc(
A polynomial correction in an angle x (degrees): type 1 quadratic
A x^2 + B x + C, type 2 cubic A x^3 + B x^2 + C x + D, any other type none.
Coefficients are float32. A value type: reading OvistaContext.pan_comp gives
a copy; assign it back to change the context. copy.copy, copy.deepcopy and
pickle give equal Compensators.
)doc");
    comp.def(py::init([](std::int32_t type, float A, float B, float C, float D) {
                 return viewgeo_ovista_compensator{type, A, B, C, D};
             }),
             py::arg("type") = 0, py::arg("A") = 0.0f, py::arg("B") = 0.0f, py::arg("C") = 0.0f, py::arg("D") = 0.0f)
        .def_readwrite("type", &viewgeo_ovista_compensator::type, "1 quadratic, 2 cubic, other values no correction.")
        .def_readwrite("A", &viewgeo_ovista_compensator::A, "Coefficient of the highest power.")
        .def_readwrite("B", &viewgeo_ovista_compensator::B)
        .def_readwrite("C", &viewgeo_ovista_compensator::C)
        .def_readwrite("D", &viewgeo_ovista_compensator::D, "Constant term of the cubic; unused by the quadratic.")
        .def("__repr__", &compensator_repr)
        // An operator: against anything but a Compensator, NotImplemented
        // (so unequal), never TypeError.
        .def("__eq__", [](const viewgeo_ovista_compensator &a, const viewgeo_ovista_compensator &b) {
            return a.type == b.type && a.A == b.A && a.B == b.B && a.C == b.C && a.D == b.D;
        }, py::is_operator())
        // A value: copies, deep copies and pickles carry the five fields.
        .def("__copy__", [](const viewgeo_ovista_compensator &c) { return c; })
        .def("__deepcopy__", [](const viewgeo_ovista_compensator &c, py::handle) { return c; }, py::arg("memo"))
        .def(py::pickle(
            [](const viewgeo_ovista_compensator &c) { return py::make_tuple(c.type, c.A, c.B, c.C, c.D); },
            [](const py::tuple &t) {
                if (t.size() != 5) throw py::value_error("a Compensator's state is (type, A, B, C, D)");
                return viewgeo_ovista_compensator{t[0].cast<std::int32_t>(), t[1].cast<float>(), t[2].cast<float>(),
                                                  t[3].cast<float>(), t[4].cast<float>()};
            }))
        .def("__call__", [](const viewgeo_ovista_compensator &c, py::handle x) {
            const Broadcast args{{x, Kind::Real, "x"}};
            const viewgeo_ovista_compensator copy = c;
            py::array_t<float> out = args.output<float>();
            float *o = out.mutable_data();
            const float *in = args.data<float>(0);
            {
                py::gil_scoped_release release;
                for (std::size_t i = 0; i < args.size(); ++i) o[i] = compensate_error(&copy, in[i]);
            }
            return args.result(out);
        }, py::arg("x"), "The correction at angle x (degrees; arrays of any shape): degrees for pan/tilt, pixels for x/y.");
    comp.attr("__hash__") = py::none();

    py::class_<OvistaContext> cls(m, "OvistaContext", R"doc(
The fisheye overview camera beside the PTZ camera. Fractions are of the
overview picture's width or height (its size comes from the view Context
given to the projections). Defaults: a centred circle of radius 0.3046875
of the width (585 pixels in 1920 x 1080), 99 degrees at the circle, looking
straight down (center_tilt -90).

OvistaContext() reads /etc/viewgeo/ovista.conf (defaults when missing);
OvistaContext(path) loads that file instead (a str, bytes or os.PathLike
such as pathlib.Path). OSError when the file exists
but cannot be read. Reads of this file and of the remote calibration share
one parser: the GIL keeps them from overlapping.
)doc");
    cls.def(py::init(&create), py::arg("path") = py::none());
    cls.def("__repr__", &repr);
    cls.def_property(
        "center_pan", [](const OvistaContext &s) { float p, t; viewgeo_get_ovista_angles(s.c, &p, &t); return p; },
        [](OvistaContext &s, float v) { float p, t; viewgeo_get_ovista_angles(s.c, &p, &t); viewgeo_set_ovista_angles(s.c, v, t); },
        "PTZ pan of the overview camera's axis, degrees.");
    cls.def_property(
        "center_tilt", [](const OvistaContext &s) { float p, t; viewgeo_get_ovista_angles(s.c, &p, &t); return t; },
        [](OvistaContext &s, float v) { float p, t; viewgeo_get_ovista_angles(s.c, &p, &t); viewgeo_set_ovista_angles(s.c, p, v); },
        "PTZ tilt of the overview camera's axis, degrees (-90: straight down).");
    lens_property<&Lens::center_x>(cls, "center_x", "x of the fisheye centre, fraction of the width.");
    lens_property<&Lens::center_y>(cls, "center_y", "y of the fisheye centre, fraction of the height.");
    lens_property<&Lens::radius_x>(cls, "radius_x", "Circle radius, fraction of the width.");
    lens_property<&Lens::radius_y>(cls, "radius_y", "Circle radius, fraction of the height; stored and saved only.");
    lens_property<&Lens::field_angle>(cls, "field_angle", "Degrees from the lens axis seen at radius_x.");
    cls.def_property(
        "rotation", [](const OvistaContext &s) { return s.c->rotation; },
        [](OvistaContext &s, std::int32_t r) { ptz_set_ovista_rotation(s.c, r); },
        "Picture rotation, whole degrees, added to pan towards pixels; never saved.");
    cls.def_property(
        "mirror", [](const OvistaContext &s) { return s.c->mirror != 0; },
        [](OvistaContext &s, bool mirror) { ptz_set_ovista_mirror(s.c, mirror ? 1 : 0); },
        "True: picture mirrored, pan sense reversed towards pixels; never saved.");
    const char *names[] = {"pan_comp", "tilt_comp", "x_comp", "y_comp"};
    const char *docs[] = {"Degrees added to pan, pixel to PTZ (compensator 0).", "Degrees added to tilt, pixel to PTZ (compensator 1).",
                          "Pixels added to x, PTZ to pixel (compensator 2).", "Pixels added to y, PTZ to pixel (compensator 3)."};
    for (int i = 0; i < 4; ++i) {
        cls.def_property(
            names[i], [i](const OvistaContext &s) { return get_compensator(s, py::int_(i)); },
            [i](OvistaContext &s, const viewgeo_ovista_compensator &c) { set_compensator(s, py::int_(i), c); }, docs[i]);
    }
    cls.def("get_compensator", &get_compensator, py::arg("which"),
            "Compensator `which`: 'pan', 'tilt', 'x', 'y' or 0 to 3 (ValueError otherwise).");
    cls.def("set_compensator", &set_compensator, py::arg("which"), py::arg("compensator"),
            "Stores a Compensator as `which`: 'pan', 'tilt', 'x', 'y' or 0 to 3 (ValueError otherwise).");

    cls.def("to_ptz", &to_ptz, py::arg("view"), py::arg("x"), py::arg("y"), py::kw_only(), py::arg("relative") = false,
            py::arg("precise") = false, R"doc(
PTZ pan/tilt (float32 degrees) of overview pixel (x, y) (whole pixels,
arrays broadcast). The overview picture's size is view.pic_size. Absolute:
pan wrapped once into [-180, 180]; relative=True: relative to the overview
axis (pan 0 straight up in the picture, growing clockwise; tilt the angle
from the axis). A zero width, radius_x or field_angle gives inf or NaN.
precise=True: continuous pixels (any real dtype, taken as float64) to
float64 degrees by the double-precision fisheye model (rotation and mirror
included, compensators not applied), the exact inverse of
to_pixel(..., precise=True); NaN for both beyond 180 degrees from the axis,
for a non-positive size, radius or field angle, or a non-finite value. Not
with relative.
)doc");
    cls.def("to_pixel", &to_pixel, py::arg("view"), py::arg("pan"), py::arg("tilt"), py::kw_only(),
            py::arg("precise") = false, R"doc(
Overview pixel (x, y), int32, where the PTZ direction pan/tilt (degrees,
arrays broadcast) appears, rounded half away from zero; saturates to the
int32 range. Not the exact inverse of to_ptz.
precise=True: degrees taken as float64, float64 continuous pixels by the
double-precision model, the exact inverse of to_ptz(..., precise=True); NaN
for both straight behind the axis and for the records to_ptz cannot use.
)doc");
    cls.def("save", &save, py::arg("path") = py::none(), R"doc(
Writes the configuration atomically (through a ".tmp" sibling) to
/etc/viewgeo/ovista.conf, or to `path` (str, bytes or os.PathLike). Rotation and mirror are not saved.
OSError with the reason on failure.
)doc");
    cls.def("backup", [](const OvistaContext &s) {
        begin_file_call();
        const int status = viewgeo_ovista_context_backup(s.c);
        const int saved = errno;
        if (status != 0) raise_file_error("cannot save the overview backup", kOvistaBackup, saved);
    }, "Writes the configuration to the backup /etc/viewgeo/ovista.bak. OSError with the reason on failure.");
    cls.def("restore", [](OvistaContext &s) {
        begin_file_call();
        viewgeo_ovista_context *record = s.c;
        const int status = viewgeo_ovista_context_restore(&record);
        const int saved = errno;
        const bool replaced = record != s.c;
        s.c = record;
        if (status != 0 && replaced) raise_file_error("cannot save the restored overview configuration", kOvistaConfig, saved);
        if (status != 0) raise_file_error("cannot read the overview backup", kOvistaBackup, saved);
    }, R"doc(
Loads /etc/viewgeo/ovista.bak (defaults when missing) into this context,
replacing every field, and saves it as /etc/viewgeo/ovista.conf. OSError
when the backup cannot be read (context unchanged) or the save fails (the
context holds the backup's values all the same).
)doc");
}

}  // namespace viewgeo_py
