// The views and inputs of the array-form measurements, and each of the
// eight projections as a single-point loop and as one array call, shared by
// the benchmark (projection_array_bench.cpp) and the instruction counter
// (array_instructions.cpp), so that both run the same work.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "ovista/context.h"
#include "viewgeo.h"

namespace viewgeo::bench {

inline constexpr int kViews = 16;
inline constexpr std::size_t kMaxPoints = 1024;
inline constexpr unsigned long long kDrawsPerPoint = 4;  // two pixels: one as it is, one for a direction

// Views as the camera uses them (mostly rectilinear, 1920 x 1080, fields
// from 2 to 60 degrees, tilts from -55 to 0, vertical field derived), and
// for each view points inside the picture and directions visible in it.
struct View {
    viewgeo_context ctx;
    viewgeo_ovista_context overview;
    std::vector<float> pan_f, tilt_f;
    std::vector<std::int32_t> pan_x, tilt_x, x, y;
};

// The views with the first `points` inputs of each; the random draws of the
// inputs left out are skipped, so that every view and input is the same
// whatever the count. Without `directions` only the pixels are made, not
// the directions, which take a projection each.
inline std::vector<View> make_views(std::size_t points, bool directions = true) {
    std::mt19937 gen(4242u);
    std::uniform_real_distribution<float> pan(-180.0f, 180.0f), tilt(-55.0f, 0.0f), fov(2.0f, 60.0f);
    std::vector<View> out(kViews);
    for (View &v : out) {
        v.ctx = viewgeo_context{};
        // Drawn in a fixed order (the tilt first, as the earlier measurements
        // on the host had it), so that every target runs the same views.
        const float camera_tilt = tilt(gen);
        viewgeo_set_pantilt_f(&v.ctx, pan(gen), camera_tilt);
        viewgeo_set_horiz_fov_f(&v.ctx, fov(gen));
        viewgeo_set_pic_dim(&v.ctx, 1920, 1080);
        viewgeo_set_projection_type(&v.ctx, gen() % 8 == 0 ? 1 : 2);
        viewgeo_set_pic_rot(&v.ctx, gen() % 4 == 0 ? 180 : 0);
        viewgeo::set_context_to_default(&v.overview);
        v.overview.pan_comp = {1, 0.0f, 0.001f, 0.1f, 0.0f};
        v.overview.y_comp = {2, 1e-6f, 0.0f, 0.01f, 0.5f};
        for (std::size_t i = 0; i < points; ++i) {
            const auto px = static_cast<std::int32_t>(gen() % 1920u);
            const auto py = static_cast<std::int32_t>(gen() % 1080u);
            v.x.push_back(px);
            v.y.push_back(py);
            float p = 0.0f, t = 0.0f;
            // The row first, for the same reason.
            const auto dy = static_cast<std::int32_t>(gen() % 1080u);
            const auto dx = static_cast<std::int32_t>(gen() % 1920u);
            if (!directions) continue;
            viewgeo_to_ptz_f(&v.ctx, &p, &t, dx, dy);
            v.pan_f.push_back(p);
            v.tilt_f.push_back(t);
            std::int32_t pw = 0, tw = 0;
            viewgeo_to_ptz_x(&v.ctx, &pw, &tw, px, py);
            v.pan_x.push_back(pw);
            v.tilt_x.push_back(tw);
        }
        gen.discard(kDrawsPerPoint * (kMaxPoints - points));
    }
    return out;
}

inline const std::vector<View> &views() {
    static const std::vector<View> all = make_views(kMaxPoints);
    return all;
}

// Every projection as a single-point loop and as one array call over the
// first n inputs of a view, the views taken in turn.
template <class In, class Out>
struct Form {
    void (*single)(const View &, In, In, Out *, Out *);
    void (*array)(const View &, std::size_t, const In *, const In *, Out *, Out *);
};

// The first n inputs of a view through the form, point by point or in one
// array call.
template <class In, class Out>
void project(const Form<In, Out> &form, bool array, const View &v, std::size_t n, const In *a, const In *b, Out *out_a,
             Out *out_b) {
    if (array) {
        form.array(v, n, a, b, out_a, out_b);
    } else {
        for (std::size_t i = 0; i < n; ++i) form.single(v, a[i], b[i], &out_a[i], &out_b[i]);
    }
}

// The projections of the PTZ view, whose single-point forms take the
// outputs first and the inputs last, as template arguments.
template <class In, class Out, void (*Single)(const viewgeo_context *, Out *, Out *, In, In),
          void (*Array)(const viewgeo_context *, std::size_t, const In *, const In *, Out *, Out *)>
constexpr Form<In, Out> view_form() {
    return {[](const View &v, In a, In b, Out *p, Out *q) { Single(&v.ctx, p, q, a, b); },
            [](const View &v, std::size_t n, const In *a, const In *b, Out *p, Out *q) { Array(&v.ctx, n, a, b, p, q); }};
}

inline const auto kToPixelF = view_form<float, std::int32_t, viewgeo_to_pixel_f, viewgeo_to_pixel_f_array>();
inline const auto kToPtzF = view_form<std::int32_t, float, viewgeo_to_ptz_f, viewgeo_to_ptz_f_array>();
inline const auto kToPtzFRel = view_form<std::int32_t, float, viewgeo_to_ptz_f_rel, viewgeo_to_ptz_f_rel_array>();
inline const auto kToPixelX = view_form<std::int32_t, std::int32_t, viewgeo_to_pixel_x, viewgeo_to_pixel_x_array>();
inline const auto kToPtzX = view_form<std::int32_t, std::int32_t, viewgeo_to_ptz_x, viewgeo_to_ptz_x_array>();
inline const auto kToPtzXRel = view_form<std::int32_t, std::int32_t, viewgeo_to_ptz_x_rel, viewgeo_to_ptz_x_rel_array>();
inline const Form<std::int32_t, float> kOvistaToPtzF{
    [](const View &v, std::int32_t x, std::int32_t y, float *p, float *t) {
        viewgeo_ovista_to_ptz_f(&v.overview, &v.ctx, p, t, x, y);
    },
    [](const View &v, std::size_t n, const std::int32_t *x, const std::int32_t *y, float *p, float *t) {
        viewgeo_ovista_to_ptz_f_array(&v.overview, &v.ctx, n, x, y, p, t);
    }};
inline const Form<float, std::int32_t> kOvistaToPixelF{
    [](const View &v, float p, float t, std::int32_t *x, std::int32_t *y) {
        viewgeo_ovista_to_pixel_f(&v.overview, &v.ctx, p, t, x, y);
    },
    [](const View &v, std::size_t n, const float *p, const float *t, std::int32_t *x, std::int32_t *y) {
        viewgeo_ovista_to_pixel_f_array(&v.overview, &v.ctx, n, p, t, x, y);
    }};

}  // namespace viewgeo::bench
