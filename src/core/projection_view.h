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

// Writes the two halves of a single point's result through the caller's
// pointers.
template <class R, class A, class B>
void store(const R &result, A *a, B *b) {
    const auto [first, second] = result;
    *a = first;
    *b = second;
}

// Runs the point stage `point(view, a[i], b[i])` for i < n and writes the
// two halves of each result to out_a[i] and out_b[i]. Both inputs of a point
// are read before its outputs are written. n = 0 touches no pointer. A
// single point takes the path of a single-point call, without the loop's
// set-up, so that an array of one costs no more than that call.
template <class View, class In, class OutA, class OutB, class Point>
void project_each(const View &view, std::size_t n, const In *a, const In *b, OutA *out_a, OutB *out_b,
                  Point point) {
    if (n == 1) {
        store(point(view, *a, *b), out_a, out_b);
        return;
    }
    for (std::size_t i = 0; i < n; ++i) store(point(view, a[i], b[i]), &out_a[i], &out_b[i]);
}

}  // namespace viewgeo
