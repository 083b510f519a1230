// viewgeo.hpp - a header-only C++ layer over the C interface of viewgeo.h.
//
// RAII owners for the contexts, small value types for directions and pixels,
// and a Q16.16 value type whose conversions are explicit. Every call goes to
// the C functions, so results are the same bits as from C. Needs C++20
// (defaulted comparisons): -std=c++20, or CMAKE_CXX_STANDARD 20, which the
// CMake package does not set for its users.
#ifndef VIEWGEO_HPP
#define VIEWGEO_HPP

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "viewgeo.h"

// The C++ layer has a namespace of its own: the library's internals use
// `viewgeo`, and a program linked to the static library must never see two
// different functions under one name.
namespace viewgeo::cpp {

// A Q16.16 fixed-point number: the word w stands for w / 65536.
class Q16 {
public:
    constexpr Q16() = default;
    // The word as it stands (no scaling).
    static constexpr Q16 from_raw(std::int32_t word) {
        Q16 q;
        q.word_ = word;
        return q;
    }
    // Rounded to the nearest word by the library's own rule (the one its float
    // setters use), through a context on the stack that is never created.
    static Q16 from_float(float value) {
        viewgeo_context probe{};
        viewgeo_set_horiz_fov_f(&probe, value);
        return from_raw(probe.horiz_fov);
    }
    constexpr std::int32_t raw() const { return word_; }
    // The word as float by the library's own conversion (its getters' rule).
    explicit operator float() const {
        viewgeo_context probe{};
        viewgeo_set_horiz_fov_x(&probe, word_);
        float value = 0.0f;
        viewgeo_get_horiz_fov_f(&probe, &value);
        return value;
    }
    constexpr bool operator==(const Q16 &) const = default;

private:
    std::int32_t word_ = 0;
};

// A direction in degrees (tilt positive up).
struct PanTilt {
    float pan = 0.0f;
    float tilt = 0.0f;
    bool operator==(const PanTilt &) const = default;
};

// A direction in Q16.16 degrees.
struct PanTiltQ16 {
    Q16 pan;
    Q16 tilt;
    bool operator==(const PanTiltQ16 &) const = default;
};

// A pixel: origin top-left, y down.
struct Pixel {
    std::int32_t x = 0;
    std::int32_t y = 0;
    bool operator==(const Pixel &) const = default;
};

// Lens models of the view context.
enum class Lens : std::int32_t { Sine = 0, Equidistant = 1, Rectilinear = 2 };

// Owns a viewgeo_context. Creation reads the lens-model flag file and the
// misalignment data like viewgeo_context_create(); it throws std::bad_alloc
// when the library is out of memory.
class Context {
public:
    Context() : ctx_(viewgeo_context_create()) {
        if (!ctx_) throw std::bad_alloc();
    }

    viewgeo_context *get() { return ctx_.get(); }
    const viewgeo_context *get() const { return ctx_.get(); }

    // Parameters.
    Context &set_pantilt(PanTilt pt) {
        viewgeo_set_pantilt_f(get(), pt.pan, pt.tilt);
        return *this;
    }
    Context &set_pantilt(PanTiltQ16 pt) {
        viewgeo_set_pantilt_x(get(), pt.pan.raw(), pt.tilt.raw());
        return *this;
    }
    PanTilt pantilt() const {
        PanTilt pt;
        viewgeo_get_pantilt_f(get(), &pt.pan, &pt.tilt);
        return pt;
    }
    PanTiltQ16 pantilt_q16() const {
        std::int32_t pan = 0, tilt = 0;
        viewgeo_get_pantilt_x(get(), &pan, &tilt);
        return {Q16::from_raw(pan), Q16::from_raw(tilt)};
    }
    Context &set_horiz_fov(float degrees) {
        viewgeo_set_horiz_fov_f(get(), degrees);
        return *this;
    }
    Context &set_horiz_fov(Q16 degrees) {
        viewgeo_set_horiz_fov_x(get(), degrees.raw());
        return *this;
    }
    float horiz_fov() const {
        float fov = 0.0f;
        viewgeo_get_horiz_fov_f(get(), &fov);
        return fov;
    }
    // Once set, the vertical field of view no longer follows the aspect.
    Context &set_vert_fov(float degrees) {
        viewgeo_set_vert_fov_f(get(), degrees);
        return *this;
    }
    Context &set_vert_fov(Q16 degrees) {
        viewgeo_set_vert_fov_x(get(), degrees.raw());
        return *this;
    }
    float vert_fov() const {
        float fov = 0.0f;
        viewgeo_get_vert_fov_f(get(), &fov);
        return fov;
    }
    Q16 vert_fov_q16() const {
        std::int32_t fov = 0;
        viewgeo_get_vert_fov_x(get(), &fov);
        return Q16::from_raw(fov);
    }
    Context &set_picture(std::int32_t width, std::int32_t height) {
        viewgeo_set_pic_dim(get(), width, height);
        return *this;
    }
    Pixel picture_size() const {
        Pixel size;
        viewgeo_get_pic_dim(get(), &size.x, &size.y);
        return size;
    }
    Context &set_rotation(std::int32_t degrees) {
        viewgeo_set_pic_rot(get(), degrees);
        return *this;
    }
    Context &set_lens(Lens lens) {
        viewgeo_set_projection_type(get(), static_cast<std::int32_t>(lens));
        return *this;
    }
    Context &set_dewarp(bool dewarped) {
        viewgeo_set_dewarp_status(get(), dewarped ? 1 : 0);
        return *this;
    }

    // Projections, single precision.
    Pixel to_pixel(PanTilt direction) const {
        Pixel p;
        viewgeo_to_pixel_f(get(), &p.x, &p.y, direction.pan, direction.tilt);
        return p;
    }
    PanTilt to_ptz(Pixel pixel) const {
        PanTilt pt;
        viewgeo_to_ptz_f(get(), &pt.pan, &pt.tilt, pixel.x, pixel.y);
        return pt;
    }
    PanTilt to_ptz_rel(Pixel pixel) const {
        PanTilt pt;
        viewgeo_to_ptz_f_rel(get(), &pt.pan, &pt.tilt, pixel.x, pixel.y);
        return pt;
    }

    // Projections, Q16.16.
    Pixel to_pixel(PanTiltQ16 direction) const {
        Pixel p;
        viewgeo_to_pixel_x(get(), &p.x, &p.y, direction.pan.raw(), direction.tilt.raw());
        return p;
    }
    PanTiltQ16 to_ptz_q16(Pixel pixel) const {
        std::int32_t pan = 0, tilt = 0;
        viewgeo_to_ptz_x(get(), &pan, &tilt, pixel.x, pixel.y);
        return {Q16::from_raw(pan), Q16::from_raw(tilt)};
    }
    PanTiltQ16 to_ptz_rel_q16(Pixel pixel) const {
        std::int32_t pan = 0, tilt = 0;
        viewgeo_to_ptz_x_rel(get(), &pan, &tilt, pixel.x, pixel.y);
        return {Q16::from_raw(pan), Q16::from_raw(tilt)};
    }

    // Replaces the misalignment data by the given texts (optical
    // "zoom,pan,tilt;...", mechanical "pan,tilt", motor steps) and step counts,
    // as if loaded from the data file. False when a text does not compile.
    bool set_misalignment_data(const std::string &optical, const std::string &mechanical,
                               std::uint32_t pan_rotation_steps, std::uint32_t tilt_rotation_steps) {
        viewgeo_context *ctx = get();
        char *opt = copy_text(optical);
        char *mech = copy_text(mechanical);
        if (opt == nullptr || mech == nullptr) {
            std::free(opt);
            std::free(mech);
            throw std::bad_alloc();
        }
        std::free(ctx->mo_opt_offset);
        std::free(ctx->mo_mech_offset);
        ctx->mo_opt_offset = opt;
        ctx->mo_mech_offset = mech;
        ctx->pan_rotation_steps = pan_rotation_steps;
        ctx->tilt_rotation_steps = tilt_rotation_steps;
        ctx->mo_state = 1;  // loaded: the data file is not consulted any more
        return viewgeo_set_misalignment_data(ctx) == 0;
    }

    // Misalignment of the head (may read the data file on first use).
    PanTiltQ16 misalignment_offset(Q16 zoom, Q16 tilt) {
        std::int32_t pan_offset = 0, tilt_offset = 0;
        viewgeo_get_misalignment_offset(get(), zoom.raw(), tilt.raw(), &pan_offset, &tilt_offset);
        return {Q16::from_raw(pan_offset), Q16::from_raw(tilt_offset)};
    }
    PanTiltQ16 compensate_misalignment(Q16 zoom, bool add, PanTiltQ16 position) {
        std::int32_t pan = 0, tilt = 0;
        viewgeo_compensate_misalignment_offset(get(), zoom.raw(), add ? 1 : 0, position.pan.raw(),
                                               position.tilt.raw(), &pan, &tilt);
        return {Q16::from_raw(pan), Q16::from_raw(tilt)};
    }

    // Remote camera. The calibration file /etc/viewgeo/remoteptz.conf is
    // read again on every call; reads keep no shared state, so they may run
    // at once in any threads, each with its own Context.

    // Puts the remote centre of `channel` into this context's pan/tilt.
    // False (context unchanged) when the file or the channel's group is
    // missing or incomplete.
    bool load_remote_center(int channel) { return viewgeo_get_remote_center(get(), channel) == 0; }
    // Loads the remote lens's field of view into this context (vertical as
    // stored, horizontal scaled by the aspect). False when the picture size
    // is 0 or the file holds no valid vfov.
    bool load_remote_fov() { return viewgeo_get_remote_fov(get()) == 0; }
    // Remote pan/tilt that looks at `pixel`; this context holds the remote
    // centre as its pan/tilt. Empty when out of memory.
    std::optional<PanTiltQ16> to_remote_ptz(Pixel pixel) const {
        std::int32_t pan = 0, tilt = 0;
        if (viewgeo_to_remote_ptz(get(), &pan, &tilt, pixel.x, pixel.y) != 0) return std::nullopt;
        return PanTiltQ16{Q16::from_raw(pan), Q16::from_raw(tilt)};
    }
    // Angular width (degrees, >= 0) seen across `width` pixels centred on `pixel`.
    Q16 to_remote_zoom(Pixel pixel, std::int32_t width) const {
        return Q16::from_raw(viewgeo_to_remote_zoom(get(), pixel.x, pixel.y, width));
    }
    // Pixel that the remote camera on `channel` sees at `position`. Loads the
    // channel's centre into this context's pan/tilt (left there); on the
    // wide path the rotation becomes 0. Empty when the centre cannot be read
    // or the position is not found in the picture.
    std::optional<Pixel> remote_to_pixel(PanTiltQ16 position, int channel) {
        Pixel p;
        if (viewgeo_remote_to_pixel(get(), &p.x, &p.y, position.pan.raw(), position.tilt.raw(), channel) != 0)
            return std::nullopt;
        return p;
    }
    // Remote pan/tilt of `pixel` of the spherical panorama this context describes.
    PanTilt panorama_to_remote_ptz(Pixel pixel) const {
        PanTilt pt;
        viewgeo_panorama_spherical_to_remote_ptz(get(), &pt.pan, &pt.tilt, pixel.x, pixel.y);
        return pt;
    }

private:
    // A malloc'd copy: the context frees its texts with free().
    static char *copy_text(const std::string &text) {
        char *copy = static_cast<char *>(std::malloc(text.size() + 1));
        if (copy != nullptr) std::memcpy(copy, text.c_str(), text.size() + 1);
        return copy;
    }

    struct Deleter {
        void operator()(viewgeo_context *ctx) const { viewgeo_context_delete(ctx); }
    };
    std::unique_ptr<viewgeo_context, Deleter> ctx_;
};

// Remote camera calibration of one channel, as stored.
struct RemoteCalibration {
    int status = 0;
    int auto_calibrated = 0;
    bool operator==(const RemoteCalibration &) const = default;
};

// Stores the remote centre (degrees) and the two flags of `channel`; false
// when the file cannot be rewritten.
inline bool set_remote_center(int channel, PanTilt centre, int status, int auto_calibrated) {
    return viewgeo_set_remote_center(channel, centre.pan, centre.tilt, status, auto_calibrated) == 0;
}
// The remote centre of `channel` (rounded to Q16.16 as a context holds it),
// read through a temporary Context (whose creation reads its own files);
// empty when the file or the channel's group is missing or incomplete.
inline std::optional<PanTiltQ16> remote_center(int channel) {
    Context ctx;
    if (!ctx.load_remote_center(channel)) return std::nullopt;
    return ctx.pantilt_q16();
}
// The calibration flags of `channel`; empty on the same failures.
inline std::optional<RemoteCalibration> remote_calibration(int channel) {
    viewgeo_remote_calibration *raw = viewgeo_get_remote_calibrated(channel);
    if (raw == nullptr) return std::nullopt;
    const RemoteCalibration calibration{raw->calibration_status, raw->auto_calibrated};
    std::free(raw);
    return calibration;
}

// A direction as a vector: +x toward pan 0 at tilt 0, +y toward pan 90, +z up.
struct Vector3 {
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
    bool operator==(const Vector3 &) const = default;
};
inline Vector3 ptz_to_cartesian(PanTilt direction) {
    Vector3 v;
    viewgeo_ptz_to_cartesian_f(direction.pan, direction.tilt, &v.x, &v.y, &v.z);
    return v;
}
// Empty for the zero vector (or one whose length is not a number).
inline std::optional<PanTilt> cartesian_to_ptz(Vector3 v) {
    PanTilt pt;
    if (viewgeo_cartesian_to_ptz_f(v.x, v.y, v.z, &pt.pan, &pt.tilt) != 0) return std::nullopt;
    return pt;
}

// Lens characteristics of the overview camera: centre and radii as fractions
// of the picture width (x) and height (y), field_angle in degrees from the
// axis at radius_x.
struct OvistaLens {
    float center_x = 0.0f;
    float center_y = 0.0f;
    float radius_x = 0.0f;
    float radius_y = 0.0f;
    float field_angle = 0.0f;
    bool operator==(const OvistaLens &) const = default;
};

// The four movement compensators of the overview camera.
enum class OvistaCompensator : int { Pan = 0, Tilt = 1, X = 2, Y = 3 };

// A polynomial correction: type 1 quadratic, 2 cubic, anything else none.
struct Compensator {
    int type = 0;
    float a = 0.0f;
    float b = 0.0f;
    float c = 0.0f;
    float d = 0.0f;
    bool operator==(const Compensator &) const = default;
};

// Owns a viewgeo_ovista_context, the overview (fisheye) camera beside the
// PTZ camera. The picture size of its projections comes from a Context.
class OvistaContext {
public:
    // Reads /etc/viewgeo/ovista.conf over the defaults (a missing file gives
    // the defaults). Empty when the file exists but cannot be read, or when
    // the library is out of memory.
    static std::optional<OvistaContext> load() {
        viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
        if (ctx == nullptr) return std::nullopt;
        return OvistaContext(ctx);
    }

    viewgeo_ovista_context *get() { return ctx_.get(); }
    const viewgeo_ovista_context *get() const { return ctx_.get(); }

    // PTZ pan/tilt (degrees) of the overview camera's axis.
    OvistaContext &set_axis(PanTilt axis) {
        viewgeo_set_ovista_angles(get(), axis.pan, axis.tilt);
        return *this;
    }
    PanTilt axis() const {
        PanTilt pt;
        viewgeo_get_ovista_angles(get(), &pt.pan, &pt.tilt);
        return pt;
    }
    OvistaContext &set_lens(const OvistaLens &lens) {
        viewgeo_set_lens_characteristics(get(), lens.center_x, lens.center_y, lens.radius_x, lens.radius_y,
                                         lens.field_angle);
        return *this;
    }
    OvistaLens lens() const {
        OvistaLens l;
        viewgeo_get_lens_characteristics(get(), &l.center_x, &l.center_y, &l.radius_x, &l.radius_y,
                                         &l.field_angle);
        return l;
    }
    // Rotation (whole degrees) and mirroring are never saved to the file.
    OvistaContext &set_rotation(int degrees) {
        ptz_set_ovista_rotation(get(), degrees);
        return *this;
    }
    int rotation() const { return get()->rotation; }
    OvistaContext &set_mirror(bool mirrored) {
        ptz_set_ovista_mirror(get(), mirrored ? 1 : 0);
        return *this;
    }
    bool mirror() const { return get()->mirror != 0; }
    OvistaContext &set_compensator(OvistaCompensator which, const Compensator &comp) {
        viewgeo_set_ovista_compensator(get(), static_cast<int>(which), comp.type, comp.a, comp.b, comp.c, comp.d);
        return *this;
    }
    Compensator compensator(OvistaCompensator which) const {
        Compensator comp;
        viewgeo_get_ovista_compensator(get(), static_cast<int>(which), &comp.type, &comp.a, &comp.b, &comp.c,
                                       &comp.d);
        return comp;
    }

    // Projections; `view` gives the overview picture's size.
    PanTilt to_ptz(const Context &view, Pixel pixel) const {
        PanTilt pt;
        viewgeo_ovista_to_ptz_f(get(), view.get(), &pt.pan, &pt.tilt, pixel.x, pixel.y);
        return pt;
    }
    PanTilt to_ptz_rel(const Context &view, Pixel pixel) const {
        PanTilt pt;
        viewgeo_ovista_to_ptz_f_rel(get(), view.get(), &pt.pan, &pt.tilt, pixel.x, pixel.y);
        return pt;
    }
    Pixel to_pixel(const Context &view, PanTilt direction) const {
        Pixel p;
        viewgeo_ovista_to_pixel_f(get(), view.get(), direction.pan, direction.tilt, &p.x, &p.y);
        return p;
    }

    // The configuration files; false on failure (details in the system log).
    bool save() const { return viewgeo_ovista_context_save(get()) == 0; }
    bool backup() const { return viewgeo_ovista_context_backup(get()) == 0; }
    // Replaces this context by the backup (defaults when there is none) and
    // saves it as the working file. False when the backup cannot be read
    // (this context unchanged) or when the save failed (context replaced).
    bool restore() {
        viewgeo_ovista_context *ctx = ctx_.get();
        const int result = viewgeo_ovista_context_restore(&ctx);
        if (ctx != ctx_.get()) {
            (void)ctx_.release();  // already freed by the library
            ctx_.reset(ctx);
        }
        return result == 0;
    }

private:
    explicit OvistaContext(viewgeo_ovista_context *ctx) : ctx_(ctx) {}

    struct Deleter {
        void operator()(viewgeo_ovista_context *ctx) const { viewgeo_ovista_context_delete(ctx); }
    };
    std::unique_ptr<viewgeo_ovista_context, Deleter> ctx_;
};

// Utilities.
inline float pan_delta(float pan_a, float pan_b) { return viewgeo_get_pan_delta(pan_a, pan_b); }
inline Q16 pan_delta(Q16 pan_a, Q16 pan_b) { return Q16::from_raw(viewgeo_get_pan_delta_x(pan_a.raw(), pan_b.raw())); }
inline float great_circle(PanTilt a, PanTilt b) { return viewgeo_get_great_circle(a.pan, a.tilt, b.pan, b.tilt); }
inline Q16 great_circle(PanTiltQ16 a, PanTiltQ16 b) {
    return Q16::from_raw(viewgeo_get_great_circle_x(a.pan.raw(), a.tilt.raw(), b.pan.raw(), b.tilt.raw()));
}
inline Q16 zoom_magnification(Q16 fov_a, Q16 fov_b) {
    return Q16::from_raw(viewgeo_get_zoom_magnification(fov_a.raw(), fov_b.raw()));
}
// Fields of view after zoom_a, and after zoom_a then zoom_b.
struct ZoomedFov {
    float after_a = 0.0f;
    float after_b = 0.0f;
};
inline ZoomedFov zoom_fov(float zoom_a, float fov, float zoom_b) {
    ZoomedFov out;
    viewgeo_get_zoom_fov(zoom_a, fov, zoom_b, &out.after_a, &out.after_b);
    return out;
}
inline float wrap_pan(float pan) { return viewgeo_wrap_pan(pan); }

}  // namespace viewgeo::cpp

#endif  // VIEWGEO_HPP
