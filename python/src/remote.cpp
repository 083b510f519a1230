// The remote PTZ camera: its calibration store and the mappings between the
// main view and it. The calibration file is read through the library's one
// process-wide parser cursor, so these run with the GIL held: no two reads
// can overlap.
#include <cerrno>
#include <cstdlib>
#include <string>

#include <pybind11/numpy.h>

#include "binding.h"
#include "file_errors.h"
#include "numpy_args.h"

namespace viewgeo_py {

namespace {

constexpr const char *kRemoteConfig = "/etc/viewgeo/remoteptz.conf";

std::string channel_text(int channel) { return "channel " + std::to_string(channel); }

// The pointing and zoom functions divide by the picture size.
void check_picture(const viewgeo_context &c) {
    if (c.pic_width == 0 || c.pic_height == 0)
        throw py::value_error("the picture size must not be 0 (set pic_size first)");
}

py::tuple to_remote_ptz(const Context &s, py::handle x, py::handle y) {
    check_picture(*s.c);
    const Broadcast args{{x, Kind::Pixel, "x"}, {y, Kind::Pixel, "y"}};
    py::array_t<std::int32_t> pan = args.output<std::int32_t>(), tilt = args.output<std::int32_t>();
    std::int32_t *p = pan.mutable_data(), *t = tilt.mutable_data();
    const std::int32_t *xs = args.data<std::int32_t>(0), *ys = args.data<std::int32_t>(1);
    for (std::size_t i = 0; i < args.size(); ++i)
        if (viewgeo_to_remote_ptz(s.c, &p[i], &t[i], xs[i], ys[i]) != 0) throw std::bad_alloc();
    return py::make_tuple(args.result(pan), args.result(tilt));
}

py::object to_remote_zoom(const Context &s, py::handle x, py::handle y, py::handle width) {
    check_picture(*s.c);
    const Broadcast args{{x, Kind::Pixel, "x"}, {y, Kind::Pixel, "y"}, {width, Kind::Pixel, "width"}};
    py::array_t<std::int32_t> out = args.output<std::int32_t>();
    std::int32_t *o = out.mutable_data();
    const std::int32_t *xs = args.data<std::int32_t>(0), *ys = args.data<std::int32_t>(1), *ws = args.data<std::int32_t>(2);
    const viewgeo_context view = *s.c;
    {
        py::gil_scoped_release release;
        for (std::size_t i = 0; i < args.size(); ++i) o[i] = viewgeo_to_remote_zoom(&view, xs[i], ys[i], ws[i]);
    }
    return args.result(out);
}

py::tuple remote_to_pixel(Context &s, py::handle pan, py::handle tilt, int channel) {
    check_picture(*s.c);
    const Broadcast args{{pan, Kind::Word, "pan"}, {tilt, Kind::Word, "tilt"}};
    py::array_t<std::int32_t> x = args.output<std::int32_t>(), y = args.output<std::int32_t>();
    py::array_t<bool> found = args.output<bool>();
    std::int32_t *xs = x.mutable_data(), *ys = y.mutable_data();
    bool *f = found.mutable_data();
    const std::int32_t *p = args.data<std::int32_t>(0), *t = args.data<std::int32_t>(1);
    for (std::size_t i = 0; i < args.size(); ++i) {
        xs[i] = ys[i] = 0x7FFFFFFF;
        begin_file_call();
        const int status = viewgeo_remote_to_pixel(s.c, &xs[i], &ys[i], p[i], t[i], channel);
        const int saved = errno;
        // Untouched outputs: the centre could not be read.
        if (status != 0 && xs[i] == 0x7FFFFFFF && ys[i] == 0x7FFFFFFF)
            raise_file_error("cannot read the remote centre of " + channel_text(channel), kRemoteConfig, saved);
        f[i] = status == 0;
    }
    return py::make_tuple(args.result(x), args.result(y), args.result(found));
}

py::object panorama_to_remote_ptz(const Context &s, py::handle x, py::handle y) {
    const Broadcast args{{x, Kind::Pixel, "x"}, {y, Kind::Pixel, "y"}};
    py::array_t<float> pan = args.output<float>(), tilt = args.output<float>();
    float *p = pan.mutable_data(), *t = tilt.mutable_data();
    const std::int32_t *xs = args.data<std::int32_t>(0), *ys = args.data<std::int32_t>(1);
    const viewgeo_context view = *s.c;
    {
        py::gil_scoped_release release;
        for (std::size_t i = 0; i < args.size(); ++i) viewgeo_panorama_spherical_to_remote_ptz(&view, &p[i], &t[i], xs[i], ys[i]);
    }
    return py::make_tuple(args.result(pan), args.result(tilt));
}

}  // namespace

void bind_remote(py::module_ &m, py::class_<Context> &cls) {
    m.def("set_remote_center", [](int channel, float center_pan, float center_tilt, int calibration_status, int auto_calibrated) {
        begin_file_call();
        const int status = viewgeo_set_remote_center(channel, center_pan, center_tilt, calibration_status, auto_calibrated);
        const int saved = errno;
        if (status != 0) raise_file_error("cannot store the remote centre of " + channel_text(channel), kRemoteConfig, saved);
    }, py::arg("channel"), py::arg("center_pan"), py::arg("center_tilt"), py::arg("calibration_status") = 0,
       py::arg("auto_calibrated") = 0, R"doc(
Stores the remote centre (degrees, written with six decimals) and the two
flags of `channel` in /etc/viewgeo/remoteptz.conf, rewritten atomically
(every other group kept byte for byte). OSError with the reason on failure.
)doc");
    m.def("get_remote_calibrated", [](int channel) {
        begin_file_call();
        viewgeo_remote_calibration *record = viewgeo_get_remote_calibrated(channel);
        const int saved = errno;
        if (record == nullptr) raise_file_error("cannot read the calibration of " + channel_text(channel), kRemoteConfig, saved);
        const py::tuple flags = py::make_tuple(record->calibration_status, record->auto_calibrated);
        std::free(record);
        return flags;
    }, py::arg("channel"), R"doc(
(calibration_status, auto_calibrated) of `channel` from
/etc/viewgeo/remoteptz.conf. OSError when the file is missing or the
channel's group lacks one of its four keys.
)doc");

    cls.def("get_remote_center", [](Context &s, int channel) {
        begin_file_call();
        const int status = viewgeo_get_remote_center(s.c, channel);
        const int saved = errno;
        if (status != 0) raise_file_error("cannot read the remote centre of " + channel_text(channel), kRemoteConfig, saved);
        float pan = 0.0f, tilt = 0.0f;
        viewgeo_get_pantilt_f(s.c, &pan, &tilt);
        return py::make_tuple(pan, tilt);
    }, py::arg("channel"), R"doc(
Reads the remote centre of `channel` from /etc/viewgeo/remoteptz.conf into
this context's pan and tilt and returns them (degrees). OSError (context
untouched) when the file is missing or the channel's group is incomplete.
)doc");
    cls.def("get_remote_fov", [](Context &s) {
        check_picture(*s.c);
        begin_file_call();
        const int status = viewgeo_get_remote_fov(s.c);
        const int saved = errno;
        if (status != 0) raise_file_error("cannot read the remote field of view ([lens_fov] vfov)", kRemoteConfig, saved);
        float h = 0.0f, v = 0.0f;
        viewgeo_get_horiz_fov_f(s.c, &h);
        viewgeo_get_vert_fov_f(s.c, &v);
        return py::make_tuple(h, v);
    }, R"doc(
Loads the remote lens's vertical field of view from the calibration file
into vert_fov and sets horiz_fov to it times pic_width / pic_height; returns
(horiz_fov, vert_fov) in degrees. ValueError for a zero picture size,
OSError when the file is missing or holds no valid vfov.
)doc");
    cls.def("to_remote_ptz", &to_remote_ptz, py::arg("x"), py::arg("y"), R"doc(
Remote pan/tilt (int32 Q16.16 words) that looks at pixel (x, y) of the main
picture (arrays broadcast). The context holds the remote centre as its
pan/tilt (see get_remote_center). From a 100-degree horizontal field on, a
narrower sub-view is projected. The remote mappings read the stored
vertical field of view, not one derived from the aspect: to keep the
derived one, store it (ctx.vert_fov_q16 = ctx.vert_fov_q16). ValueError for
a zero picture size.
)doc");
    cls.def("to_remote_zoom", &to_remote_zoom, py::arg("x"), py::arg("y"), py::arg("width"), R"doc(
Angular width (int32 Q16.16 degrees, >= 0) the main view sees across `width`
pixels centred on (x, y); arrays broadcast. Pictures with a diagonal above
about 3620 pixels wrap in the intermediate sums. ValueError for a zero
picture size.
)doc");
    cls.def("remote_to_pixel", &remote_to_pixel, py::arg("pan"), py::arg("tilt"), py::arg("channel"), R"doc(
Pixel (x, y) of the main picture that the remote camera sees at pan/tilt
(int32 Q16.16 words, arrays broadcast) on `channel`, and `found`, a bool
array: False (x = y = -1) where the search did not find the direction.
Loads the channel's centre into this context's pan/tilt (and, from a
100-degree field on, sets pic_rot to 0). Reads the stored vertical field of
view, as to_remote_ptz does. OSError when the centre cannot be
read; ValueError for a zero picture size.
)doc");
    cls.def("panorama_spherical_to_remote_ptz", &panorama_to_remote_ptz, py::arg("x"), py::arg("y"), R"doc(
Remote pan/tilt (float32 degrees, pan in (-180, 180], tilt in [-90, 90]) of
pixel (x, y) of a spherical (equirectangular) panorama described by this
context; arrays broadcast.
)doc");
}

}  // namespace viewgeo_py
