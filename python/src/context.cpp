// viewgeo.Context: the view of the PTZ camera, its parameters, projections
// and misalignment correction.
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "binding.h"
#include "numpy_args.h"

namespace viewgeo_py {

Context::Context() : c(viewgeo_context_create()) {
    if (c == nullptr) throw std::bad_alloc();
}

Context::~Context() { viewgeo_context_delete(c); }

namespace {

// Two outputs of one array conversion over the broadcast arguments, with the
// GIL released while the library works. The projections get a copy of the
// record, so a setter running in another thread meanwhile cannot change it
// under them (the copy shares the misalignment table, which they never read).
template <typename In, typename Out, typename Call>
py::tuple convert_pair(const Broadcast &args, Call call) {
    py::array_t<Out> first = args.output<Out>(), second = args.output<Out>();
    Out *first_out = first.mutable_data(), *second_out = second.mutable_data();
    const In *first_in = args.data<In>(0), *second_in = args.data<In>(1);
    {
        py::gil_scoped_release release;
        call(args.size(), first_in, second_in, first_out, second_out);
    }
    return py::make_tuple(args.result(first), args.result(second));
}

py::tuple to_ptz(const Context &self, py::handle x, py::handle y, bool relative, bool fixed, bool precise) {
    const viewgeo_context view = *self.c;
    if (precise) {
        if (relative || fixed) throw py::value_error("precise=True has no relative or fixed form");
        const Broadcast args{{x, Kind::Precise, "x"}, {y, Kind::Precise, "y"}};
        return precise_pair(args, [&](double a, double b, double *pan, double *tilt) {
            return viewgeo_to_ptz_d(&view, a, b, pan, tilt);
        });
    }
    const Broadcast args{{x, Kind::Pixel, "x"}, {y, Kind::Pixel, "y"}};
    if (fixed) {
        auto call = relative ? viewgeo_to_ptz_x_rel_array : viewgeo_to_ptz_x_array;
        return convert_pair<std::int32_t, std::int32_t>(args, [&](std::size_t n, const std::int32_t *a, const std::int32_t *b, std::int32_t *p, std::int32_t *t) {
            call(&view, n, a, b, p, t);
        });
    }
    auto call = relative ? viewgeo_to_ptz_f_rel_array : viewgeo_to_ptz_f_array;
    return convert_pair<std::int32_t, float>(args, [&](std::size_t n, const std::int32_t *a, const std::int32_t *b, float *p, float *t) {
        call(&view, n, a, b, p, t);
    });
}

py::tuple to_pixel(const Context &self, py::handle pan, py::handle tilt, bool fixed, bool precise) {
    const viewgeo_context view = *self.c;
    if (precise) {
        if (fixed) throw py::value_error("precise=True has no fixed form");
        const Broadcast args{{pan, Kind::Precise, "pan"}, {tilt, Kind::Precise, "tilt"}};
        return precise_pair(args, [&](double p, double t, double *x, double *y) {
            return viewgeo_to_pixel_d(&view, p, t, x, y);
        });
    }
    if (fixed) {
        const Broadcast args{{pan, Kind::Word, "pan"}, {tilt, Kind::Word, "tilt"}};
        return convert_pair<std::int32_t, std::int32_t>(args, [&](std::size_t n, const std::int32_t *p, const std::int32_t *t, std::int32_t *x, std::int32_t *y) {
            viewgeo_to_pixel_x_array(&view, n, p, t, x, y);
        });
    }
    const Broadcast args{{pan, Kind::Real, "pan"}, {tilt, Kind::Real, "tilt"}};
    return convert_pair<float, std::int32_t>(args, [&](std::size_t n, const float *p, const float *t, std::int32_t *x, std::int32_t *y) {
        viewgeo_to_pixel_f_array(&view, n, p, t, x, y);
    });
}

// Misalignment queries may load the data file into the context, so they run
// one point after the other with the GIL held: the context is theirs alone.
py::tuple misalignment_offset(Context &self, py::handle zoom, py::handle tilt) {
    const Broadcast args{{zoom, Kind::Word, "zoom"}, {tilt, Kind::Word, "tilt"}};
    py::array_t<std::int32_t> pan_out = args.output<std::int32_t>(), tilt_out = args.output<std::int32_t>();
    std::int32_t *p = pan_out.mutable_data(), *t = tilt_out.mutable_data();
    const std::int32_t *z = args.data<std::int32_t>(0), *tl = args.data<std::int32_t>(1);
    for (std::size_t i = 0; i < args.size(); ++i) viewgeo_get_misalignment_offset(self.c, z[i], tl[i], &p[i], &t[i]);
    return py::make_tuple(args.result(pan_out), args.result(tilt_out));
}

py::tuple compensate_misalignment(Context &self, py::handle zoom, py::handle pan, py::handle tilt, bool add) {
    const Broadcast args{{zoom, Kind::Word, "zoom"}, {pan, Kind::Word, "pan"}, {tilt, Kind::Word, "tilt"}};
    py::array_t<std::int32_t> pan_out = args.output<std::int32_t>(), tilt_out = args.output<std::int32_t>();
    std::int32_t *p = pan_out.mutable_data(), *t = tilt_out.mutable_data();
    const std::int32_t *z = args.data<std::int32_t>(0), *pn = args.data<std::int32_t>(1), *tl = args.data<std::int32_t>(2);
    for (std::size_t i = 0; i < args.size(); ++i)
        viewgeo_compensate_misalignment_offset(self.c, z[i], add ? 1 : 0, pn[i], tl[i], &p[i], &t[i]);
    return py::make_tuple(args.result(pan_out), args.result(tilt_out));
}

// The record's own copy of a text (malloc'd: viewgeo_context_delete frees it).
void replace_text(char *&field, const std::optional<std::string> &text) {
    char *copy = nullptr;
    if (text) {
        if (text->find('\0') != std::string::npos) throw py::value_error("the text must not contain NUL characters");
        copy = static_cast<char *>(std::malloc(text->size() + 1));
        if (copy == nullptr) throw std::bad_alloc();
        std::memcpy(copy, text->c_str(), text->size() + 1);
    }
    std::free(field);
    field = copy;
}

std::optional<std::string> text_of(const char *field) {
    if (field == nullptr) return std::nullopt;
    return std::string(field);
}

void check_rotation(std::int32_t rotation) {
    if (rotation != 0 && rotation != 90 && rotation != 180 && rotation != 270 && rotation != 360)
        throw py::value_error("pic_rot must be 0, 90, 180, 270 or 360 degrees, got " + std::to_string(rotation));
}

std::string repr(const Context &self) {
    const viewgeo_context &c = *self.c;
    float pan = 0.0f, tilt = 0.0f, hfov = 0.0f;
    viewgeo_get_pantilt_f(&c, &pan, &tilt);
    viewgeo_get_horiz_fov_f(&c, &hfov);
    std::string text = "viewgeo.Context(pan=" + float_text(pan) + ", tilt=" + float_text(tilt) +
                       ", horiz_fov=" + float_text(hfov);
    if (c.vert_fov_set) text += ", vert_fov=" + float_text(q16_to_degrees(c.vert_fov));
    text += ", pic_size=(" + std::to_string(c.pic_width) + ", " + std::to_string(c.pic_height) + ")" +
            ", pic_rot=" + std::to_string(c.pic_rot) + ", projection_type=" + std::to_string(c.projection_type) +
            ", dewarp_status=" + std::to_string(c.dewarp_status) + ")";
    return text;
}

void set_pic_size(Context &self, const std::pair<py::object, py::object> &size) {
    viewgeo_set_pic_dim(self.c, int32_arg(size.first, "pic_size[0]"), int32_arg(size.second, "pic_size[1]"));
}

}  // namespace

py::class_<Context> bind_context(py::module_ &m) {
    py::class_<Context> cls(m, "Context", R"doc(
The view of the PTZ camera: pan, tilt, fields of view, picture size and
rotation, lens model, and the head's misalignment data.

The record is created and freed by the library. Creating it tests for the
lens-model flag file (/usr/share/viewgeo/viewgeo_projection.conf: projection
type 1 when present, 2 otherwise) and loads /var/run/ptz/mo_data_file when
present. Pan, tilt, the horizontal field of view and the picture size start
at 0 and must be set before projecting; every keyword of the constructor
sets the property of that name.

Angles are degrees (tilt positive upwards) or, in the *_q16 properties and
with fixed=True, Q16.16 words (w / 65536 degrees). Pixels have their origin
at the top-left corner, y downwards.

A context is used by one thread at a time; the projections work on a copy
of the record with the GIL released.
)doc");
    cls.def(py::init([](std::optional<float> pan, std::optional<float> tilt, std::optional<float> horiz_fov,
                        std::optional<float> vert_fov, std::optional<std::pair<py::object, py::object>> pic_size,
                        std::optional<std::int32_t> pic_rot, std::optional<std::int32_t> projection_type,
                        std::optional<std::int32_t> dewarp_status) {
                if (pic_rot) check_rotation(*pic_rot);
                auto self = std::make_unique<Context>();
                viewgeo_set_pantilt_f(self->c, pan.value_or(0.0f), tilt.value_or(0.0f));
                if (horiz_fov) viewgeo_set_horiz_fov_f(self->c, *horiz_fov);
                if (vert_fov) viewgeo_set_vert_fov_f(self->c, *vert_fov);
                if (pic_size) set_pic_size(*self, *pic_size);
                if (pic_rot) viewgeo_set_pic_rot(self->c, *pic_rot);
                if (projection_type) viewgeo_set_projection_type(self->c, *projection_type);
                if (dewarp_status) viewgeo_set_dewarp_status(self->c, *dewarp_status);
                return self;
            }),
            py::kw_only(), py::arg("pan") = py::none(), py::arg("tilt") = py::none(), py::arg("horiz_fov") = py::none(),
            py::arg("vert_fov") = py::none(), py::arg("pic_size") = py::none(), py::arg("pic_rot") = py::none(),
            py::arg("projection_type") = py::none(), py::arg("dewarp_status") = py::none(),
            "Creates the context (see the class) and sets the given properties.");
    cls.def("__repr__", &repr);

    cls.def_property(
        "pan",
        [](const Context &s) { float p, t; viewgeo_get_pantilt_f(s.c, &p, &t); return p; },
        [](Context &s, float pan) { float p, t; viewgeo_get_pantilt_f(s.c, &p, &t); viewgeo_set_pantilt_f(s.c, pan, t); },
        "Pan in degrees (float32; stored as the nearest Q16.16 word).");
    cls.def_property(
        "tilt",
        [](const Context &s) { float p, t; viewgeo_get_pantilt_f(s.c, &p, &t); return t; },
        [](Context &s, float tilt) { float p, t; viewgeo_get_pantilt_f(s.c, &p, &t); viewgeo_set_pantilt_f(s.c, p, tilt); },
        "Tilt in degrees, positive upwards (float32; stored as the nearest Q16.16 word).");
    cls.def_property(
        "pan_q16", [](const Context &s) { std::int32_t p, t; viewgeo_get_pantilt_x(s.c, &p, &t); return p; },
        [](Context &s, py::handle word) { std::int32_t p, t; viewgeo_get_pantilt_x(s.c, &p, &t); viewgeo_set_pantilt_x(s.c, int32_arg(word, "pan_q16"), t); },
        "Pan as a Q16.16 word (int32, degrees * 65536).");
    cls.def_property(
        "tilt_q16", [](const Context &s) { std::int32_t p, t; viewgeo_get_pantilt_x(s.c, &p, &t); return t; },
        [](Context &s, py::handle word) { std::int32_t p, t; viewgeo_get_pantilt_x(s.c, &p, &t); viewgeo_set_pantilt_x(s.c, p, int32_arg(word, "tilt_q16")); },
        "Tilt as a Q16.16 word (int32, degrees * 65536).");
    cls.def_property(
        "horiz_fov", [](const Context &s) { float f; viewgeo_get_horiz_fov_f(s.c, &f); return f; },
        [](Context &s, float fov) { viewgeo_set_horiz_fov_f(s.c, fov); },
        "Horizontal field of view in degrees (0 gives the documented fallbacks of the projections).");
    cls.def_property(
        "horiz_fov_q16", [](const Context &s) { std::int32_t f; viewgeo_get_horiz_fov_x(s.c, &f); return f; },
        [](Context &s, py::handle word) { viewgeo_set_horiz_fov_x(s.c, int32_arg(word, "horiz_fov_q16")); },
        "Horizontal field of view as a Q16.16 word.");
    cls.def_property(
        "vert_fov", [](const Context &s) { float f; viewgeo_get_vert_fov_f(s.c, &f); return f; },
        [](Context &s, float fov) { viewgeo_set_vert_fov_f(s.c, fov); },
        "Vertical field of view in degrees: as set, or (until set) derived from the horizontal one and the "
        "picture's aspect, 2 atan(h/w tan(hfov/2)). A zero width gives about 180, a 0 x 0 picture NaN.");
    cls.def_property(
        "vert_fov_q16", [](const Context &s) { std::int32_t f; viewgeo_get_vert_fov_x(s.c, &f); return f; },
        [](Context &s, py::handle word) { viewgeo_set_vert_fov_x(s.c, int32_arg(word, "vert_fov_q16")); },
        "Vertical field of view as a Q16.16 word (as set or derived, see vert_fov).");
    cls.def_property_readonly("vert_fov_set", [](const Context &s) { return s.c->vert_fov_set; },
                              "True once a vertical field of view was set; False while it is derived from the aspect.");
    cls.def_property(
        "pic_width", [](const Context &s) { return s.c->pic_width; },
        [](Context &s, py::handle w) { viewgeo_set_pic_dim(s.c, int32_arg(w, "pic_width"), s.c->pic_height); },
        "Picture width in pixels (stored unchecked).");
    cls.def_property(
        "pic_height", [](const Context &s) { return s.c->pic_height; },
        [](Context &s, py::handle h) { viewgeo_set_pic_dim(s.c, s.c->pic_width, int32_arg(h, "pic_height")); },
        "Picture height in pixels (stored unchecked).");
    cls.def_property(
        "pic_size", [](const Context &s) { std::int32_t w, h; viewgeo_get_pic_dim(s.c, &w, &h); return py::make_tuple(w, h); },
        &set_pic_size, "Picture size (width, height) in pixels.");
    cls.def_property(
        "pic_rot", [](const Context &s) { return s.c->pic_rot; },
        [](Context &s, std::int32_t rotation) { check_rotation(rotation); viewgeo_set_pic_rot(s.c, rotation); },
        "Picture rotation in degrees: 0, 90, 180, 270 or 360 (anything else raises ValueError).");
    cls.def_property(
        "projection_type", [](const Context &s) { return s.c->projection_type; },
        [](Context &s, std::int32_t type) { viewgeo_set_projection_type(s.c, type); },
        "Lens model: 0 sine, 1 equidistant, any other value rectilinear (2 by convention).");
    cls.def_property(
        "dewarp_status", [](const Context &s) { return s.c->dewarp_status; },
        [](Context &s, std::int32_t status) { viewgeo_set_dewarp_status(s.c, status); },
        "Dewarp flag: 1 makes to_ptz(..., relative=True, fixed=True) map the picture linearly to angles.");

    cls.def_property(
        "mo_opt_offset", [](const Context &s) { return text_of(s.c->mo_opt_offset); },
        [](Context &s, const std::optional<std::string> &text) { replace_text(s.c->mo_opt_offset, text); },
        "Optical-offset text \"zoom,pan,tilt;...\" (zoom ascending, motor steps), or None. "
        "Takes effect through set_misalignment_data().");
    cls.def_property(
        "mo_mech_offset", [](const Context &s) { return text_of(s.c->mo_mech_offset); },
        [](Context &s, const std::optional<std::string> &text) { replace_text(s.c->mo_mech_offset, text); },
        "Mechanical-offset text \"pan,tilt\" (motor steps), or None. Takes effect through set_misalignment_data().");
    cls.def_property(
        "pan_rotation_steps", [](const Context &s) { return s.c->pan_rotation_steps; },
        [](Context &s, std::uint32_t steps) { s.c->pan_rotation_steps = steps; },
        "Motor steps per full pan turn (uint32; 0 gives a zero pan offset).");
    cls.def_property(
        "tilt_rotation_steps", [](const Context &s) { return s.c->tilt_rotation_steps; },
        [](Context &s, std::uint32_t steps) { s.c->tilt_rotation_steps = steps; },
        "Motor steps per full tilt turn (uint32; 0 gives a zero tilt offset).");
    cls.def_property(
        "mo_state", [](const Context &s) { return s.c->mo_state; },
        [](Context &s, std::int32_t state) {
            if (state < 0 || state > 2) throw py::value_error("mo_state must be 0 (not read), 1 (loaded) or 2 (failed)");
            s.c->mo_state = state;
        },
        "Misalignment data: 0 not read yet (the offset queries then read /var/run/ptz/mo_data_file), 1 loaded, 2 failed.");
    cls.def_property_readonly(
        "mo_table",
        [](const Context &s) {
            const std::int32_t count = s.c->mo_table != nullptr && s.c->mo_count > 0 ? s.c->mo_count : 0;
            py::array_t<std::int32_t> table({static_cast<py::ssize_t>(count), py::ssize_t{3}});
            std::int32_t *out = table.mutable_data();
            for (std::int32_t i = 0; i < count; ++i) {
                out[3 * i] = s.c->mo_table[i].zoom;
                out[3 * i + 1] = s.c->mo_table[i].pan_steps;
                out[3 * i + 2] = s.c->mo_table[i].tilt_steps;
            }
            return table;
        },
        "The compiled misalignment table, a copy: int32 array of shape (n, 3), rows (zoom, pan_steps, "
        "tilt_steps), all Q16.16.");
    cls.def(
        "set_misalignment_data",
        [](Context &s) {
            if (viewgeo_set_misalignment_data(s.c) != 0)
                throw py::value_error("the misalignment texts are missing or do not scan (mo_opt_offset "
                                      "\"zoom,pan,tilt;...\", mo_mech_offset \"pan,tilt\")");
        },
        "Compiles mo_opt_offset and mo_mech_offset into mo_table (two empty texts clear it). Touches no file. "
        "ValueError when a text is None or does not scan.");

    cls.def("to_ptz", &to_ptz, py::arg("x"), py::arg("y"), py::kw_only(), py::arg("relative") = false,
            py::arg("fixed") = false, py::arg("precise") = false, R"doc(
Pan/tilt that brings pixel (x, y) to the centre of the picture.

x, y: whole pixels (any integer dtype, values within int32), scalars or
arrays of any shape that broadcast together.
relative: False gives the absolute direction (pan in [-180, 180]); True the
movement from the current pan/tilt (fixed=True: each reduced to [-360, 360]).
fixed: False gives float32 degrees; True int32 Q16.16 words.
Returns (pan, tilt), arrays of the broadcast shape (NumPy scalars for
scalar arguments). A zero field of view gives the current pan/tilt; an
unknown rotation reads the pixel as (0, 0).
precise=True: continuous pixels (any real dtype, taken as float64) to
float64 degrees by the double-precision model, the exact inverse of
to_pixel(..., precise=True); NaN for both where there is no direction
(beyond the rim of a sine or equidistant lens). Not with relative or fixed.
)doc");
    cls.def("to_pixel", &to_pixel, py::arg("pan"), py::arg("tilt"), py::kw_only(), py::arg("fixed") = false,
            py::arg("precise") = false, R"doc(
Pixel where the direction (pan, tilt) appears.

pan, tilt: degrees (any real dtype, taken as float32), or with fixed=True
int32 Q16.16 words (any integer dtype within int32); scalars or arrays that
broadcast together.
Returns (x, y) int32 pixels of the broadcast shape. A zero field of view
gives the picture centre (fixed=True: as Q16.16 values, pic_width * 32768,
pic_height * 32768); fixed=True clamps normalised coordinates to +-10
picture sizes.
precise=True: degrees taken as float64, float64 continuous pixels of the
rotated picture by the double-precision model; NaN for both where the
direction has no pixel (90 degrees or more off the axis of a rectilinear or
sine lens, straight behind an equidistant one). Not with fixed.
)doc");
    cls.def("misalignment_offset", &misalignment_offset, py::arg("zoom"), py::arg("tilt"), R"doc(
Misalignment offset (pan_offset, tilt_offset), int32 Q16.16 degrees, at a
zoom (table unit, Q16.16 word) and a tilt (Q16.16 word); arrays broadcast.
Zero within 5 degrees of either pole and when no data is loaded. Reads
/var/run/ptz/mo_data_file while mo_state is 0.
)doc");
    cls.def("compensate_misalignment", &compensate_misalignment, py::arg("zoom"), py::arg("pan"), py::arg("tilt"),
            py::kw_only(), py::arg("add") = true, R"doc(
Applies the misalignment offset at `zoom` to pan/tilt (all int32 Q16.16
words; arrays broadcast): as it is with add=True, negated with add=False.
Returns (pan, tilt) words. May read the data file like misalignment_offset.
)doc");
    return cls;
}

}  // namespace viewgeo_py
