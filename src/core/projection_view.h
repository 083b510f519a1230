// What the projections between pixels and pan/tilt directions share: the
// pixel and direction types, and the way a projection runs over many points
// of one view.
//
// Each projection is two stages. The view stage computes, once per call,
// everything that depends only on the view context (fields of view, the lens
// values of the half fields, the camera tilt's sine and cosine, the picture
// size); its result is a small prepared view held on the caller's stack. The
// point stage reads the prepared view and one point. A single-point call is
// one view stage and one point stage; an array call is one view stage and n
// point stages, so both give the same bits by construction. Nothing is kept
// between calls: a caller may change the context between any two of them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/q16.h"
#include "viewgeo.h"

// Marks a point stage. It is compiled once and called from both the
// single-point and the array entry points: a copy inlined into each could be
// scheduled differently, and where two NaNs meet in a sum the operand order
// the compiler picks decides which NaN, and so which sign, survives. One
// copy gives the two entry points the same bits for every input.
#if defined(__clang__)
#define VIEWGEO_POINT_STAGE [[gnu::noinline]]
#else
#define VIEWGEO_POINT_STAGE [[gnu::noipa]]
#endif

namespace viewgeo {

// A whole pixel of the picture, origin top left, y downwards.
struct Pixel {
    std::int32_t x;
    std::int32_t y;
};

// A pan/tilt direction or movement in degrees, single precision.
struct PanTiltF {
    float pan;
    float tilt;
};

// The same in Q16.16 degrees.
struct PanTiltX {
    q16 pan;
    q16 tilt;
};

// The picture a view delivers and the lens model it was taken with, as the
// point stages read them.
struct Picture {
    std::int32_t width;
    std::int32_t height;
    std::int32_t rot;
    std::int32_t lens;  // projection_type
};

inline Picture picture_of(const viewgeo_context &ctx) {
    return {ctx.pic_width, ctx.pic_height, ctx.pic_rot, ctx.projection_type};
}

// What the views prepared for finding pixels hold in both arithmetics,
// beside the camera's own values; Lens is the type of the lens values.
template <class Lens>
struct PixelViewCommon {
    bool degenerate;  // a zero field of view: every direction maps to the centre
    Pixel centre;     // that centre
    Lens lens_half_h;  // lens values of the half fields of view
    Lens lens_half_v;
    Picture picture;
};

// Ends the view stage of a pixel view from its vertical and horizontal
// fields of view: a zero one has no geometry and leaves only the centre
// `centre_of()` every direction maps to; otherwise the lens values
// `lens_of(field)` of the two half fields.
template <class Lens, class Field, class CentreOf, class LensOf>
void finish_pixel_view(PixelViewCommon<Lens> &view, Field vfov, Field hfov, CentreOf centre_of, LensOf lens_of) {
    view.degenerate = vfov == 0 || hfov == 0;
    if (view.degenerate) {
        view.centre = centre_of();
        return;
    }
    view.lens_half_h = lens_of(hfov);
    view.lens_half_v = lens_of(vfov);
}

// The same for the views prepared for finding directions; Angle is the
// type of their angles and sizes.
template <class Angle>
struct DirectionViewCommon {
    Angle camera_pan;
    Angle camera_tilt;
    bool degenerate;  // a zero field of view: every pixel gives the camera's direction
    bool over_pole;   // camera tilt past the zenith or nadir: the picture is upside down
    Angle width;      // picture size
    Angle height;
    Angle effective_tilt_cos;  // cosine and sine of the tilt the picture is read about
    Angle effective_tilt_sin;
    Picture picture;
};

// Writes the two halves of a single point's result through the caller's
// pointers.
template <class R, class A, class B>
void store(const R &result, A *a, B *b) {
    const auto [first, second] = result;
    *a = first;
    *b = second;
}

// Prepares a view for the point stages of many points: work that costs more
// than it saves at one point, such as the reciprocals of the divisors every
// point shares. The float views have nothing to prepare; the Q16.16 views
// overload this.
template <class View>
void prepare_for_many_points(View &) {}

// A copy of the view, prepared for many points.
template <class View>
View prepared_for_many_points(View view) {
    prepare_for_many_points(view);
    return view;
}

// Points from which an array call prepares its view for many points: a
// prepared Q16.16 divisor costs about three of the divisions it replaces
// on a processor without a divide instruction, and each is used once per
// point.
inline constexpr std::size_t kManyPoints = 4;

// The loop of project_each below, for two points or more: a function of its
// own, so that the one-point path pays none of its set-up (the registers it
// keeps across the points).
template <class Prepare, class In, class OutA, class OutB, class Point>
[[gnu::noinline]] void project_many(Prepare prepare, std::size_t n, const In *a, const In *b, OutA *out_a, OutB *out_b,
                                    Point point) {
    const auto view = n >= kManyPoints ? prepared_for_many_points(prepare()) : prepare();
    for (std::size_t i = 0; i < n; ++i) store(point(view, a[i], b[i]), &out_a[i], &out_b[i]);
}

// Runs the point stage `point(view, a[i], b[i])` for i < n on the view that
// `prepare()` makes, and writes the two halves of each result to out_a[i]
// and out_b[i]. Both inputs of a point are read before its outputs are
// written. n = 0 touches no pointer and makes no view. A single point takes
// the path of a single-point call, the view made and the point stage run in
// place, so that an array of one costs no more than that call; from
// kManyPoints on, the points run on a view prepared for many points. Each
// gives the bits of the single-point call.
template <class Prepare, class In, class OutA, class OutB, class Point>
void project_each(Prepare prepare, std::size_t n, const In *a, const In *b, OutA *out_a, OutB *out_b, Point point) {
    if (n == 1) {
        store(point(prepare(), *a, *b), out_a, out_b);
    } else if (n != 0) {
        project_many(prepare, n, a, b, out_a, out_b, point);
    }
}

}  // namespace viewgeo

// The six C entry points of one arithmetic, written once for both: S is the
// suffix of its names (f single precision, x Q16.16) and Angle the type of
// its angles. Each prepares the view of the context once and runs the
// point stage on the one point or on every element of the arrays, so the
// single-point and array forms give the same bits. Used inside extern "C"
// with the stages of namespace viewgeo in scope.
#define VIEWGEO_PROJECTION_ENTRY_POINTS(S, Angle)                                                                      \
    VIEWGEO_API void viewgeo_to_pixel_##S(const viewgeo_context *ctx, int32_t *x, int32_t *y, Angle pan, Angle tilt) { \
        store(pixel_of_direction_##S(prepare_pixel_view_##S(*ctx), pan, tilt), x, y);                                   \
    }                                                                                                                  \
    VIEWGEO_API void viewgeo_to_ptz_##S(const viewgeo_context *ctx, Angle *pan, Angle *tilt, int32_t x, int32_t y) {   \
        store(direction_of_pixel_##S(prepare_direction_view_##S(*ctx), x, y), pan, tilt);                               \
    }                                                                                                                  \
    VIEWGEO_API void viewgeo_to_ptz_##S##_rel(const viewgeo_context *ctx, Angle *pan, Angle *tilt, int32_t x,          \
                                              int32_t y) {                                                             \
        store(movement_of_pixel_##S(prepare_movement_view_##S(*ctx), x, y), pan, tilt);                                 \
    }                                                                                                                  \
    VIEWGEO_API void viewgeo_to_pixel_##S##_array(const viewgeo_context *ctx, size_t n, const Angle *pan,              \
                                                  const Angle *tilt, int32_t *x, int32_t *y) {                         \
        project_each([ctx] { return prepare_pixel_view_##S(*ctx); }, n,                                                \
                     pan, tilt, x, y, pixel_of_direction_##S);                                                         \
    }                                                                                                                  \
    VIEWGEO_API void viewgeo_to_ptz_##S##_array(const viewgeo_context *ctx, size_t n, const int32_t *x,                \
                                                const int32_t *y, Angle *pan, Angle *tilt) {                           \
        project_each([ctx] { return prepare_direction_view_##S(*ctx); }, n,                                            \
                     x, y, pan, tilt, direction_of_pixel_##S);                                                         \
    }                                                                                                                  \
    VIEWGEO_API void viewgeo_to_ptz_##S##_rel_array(const viewgeo_context *ctx, size_t n, const int32_t *x,            \
                                                    const int32_t *y, Angle *pan, Angle *tilt) {                       \
        project_each([ctx] { return prepare_movement_view_##S(*ctx); }, n,                                             \
                     x, y, pan, tilt, movement_of_pixel_##S);                                                          \
    }
