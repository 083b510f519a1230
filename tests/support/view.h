// The contexts a test owns, shared by the tests instead of each file wrapping
// the C calls on its own. Create a View after the test's TempRoot, so that
// the context is made below it.
#pragma once

#include <cstdint>
#include <memory>

#include "viewgeo.h"

namespace viewgeo::testing {

// Whole degrees as a Q16.16 word (the shift done unsigned, so negative
// degrees are defined too).
constexpr std::int32_t deg(int d) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(d) << 16); }

struct ViewDeleter {
    void operator()(viewgeo_context *ctx) const { viewgeo_context_delete(ctx); }
};
// Sole owner of a context; moves, never copies.
using ViewPtr = std::unique_ptr<viewgeo_context, ViewDeleter>;

// A context made as callers make one (viewgeo_context_create), or null when
// that fails.
class View {
public:
    View() : ctx_(viewgeo_context_create()) {}

    viewgeo_context *get() const { return ctx_.get(); }
    viewgeo_context *operator->() const { return ctx_.get(); }
    explicit operator bool() const { return ctx_ != nullptr; }

private:
    ViewPtr ctx_;
};

// A w x h picture with the given fields of view (Q16.16 degrees), looking at
// (pan, tilt) in Q16.16 degrees.
inline View view_of(std::int32_t hfov, std::int32_t vfov, std::int32_t pan, std::int32_t tilt, std::int32_t w = 1920,
                    std::int32_t h = 1080) {
    View v;
    viewgeo_set_pic_dim(v.get(), w, h);
    viewgeo_set_horiz_fov_x(v.get(), hfov);
    viewgeo_set_vert_fov_x(v.get(), vfov);
    viewgeo_set_pantilt_x(v.get(), pan, tilt);
    return v;
}

// The two outputs of a projection, read back as one value. Each call below
// starts them at -12345, a value none of the tests' views gives, so that an
// output the projection leaves unwritten shows.
struct PixelOut {
    std::int32_t x;
    std::int32_t y;
};
template <typename T>
struct PanTiltOut {
    T pan;
    T tilt;
};
using PanTiltOutF = PanTiltOut<float>;
using PanTiltOutX = PanTiltOut<std::int32_t>;

// Runs `project` on the two outputs of an Out, both started at -12345.
template <typename Out, typename Project>
Out outputs_of(Project project) {
    Out out{-12345, -12345};
    auto &[first, second] = out;
    project(&first, &second);
    return out;
}

inline PixelOut pixel_of_f(const viewgeo_context &ctx, float pan, float tilt) {
    return outputs_of<PixelOut>([&](auto *x, auto *y) { viewgeo_to_pixel_f(&ctx, x, y, pan, tilt); });
}
inline PixelOut pixel_of_x(const viewgeo_context &ctx, std::int32_t pan, std::int32_t tilt) {
    return outputs_of<PixelOut>([&](auto *x, auto *y) { viewgeo_to_pixel_x(&ctx, x, y, pan, tilt); });
}
inline PanTiltOutF ptz_of_f(const viewgeo_context &ctx, std::int32_t x, std::int32_t y) {
    return outputs_of<PanTiltOutF>([&](auto *pan, auto *tilt) { viewgeo_to_ptz_f(&ctx, pan, tilt, x, y); });
}
inline PanTiltOutF ptz_rel_of_f(const viewgeo_context &ctx, std::int32_t x, std::int32_t y) {
    return outputs_of<PanTiltOutF>([&](auto *pan, auto *tilt) { viewgeo_to_ptz_f_rel(&ctx, pan, tilt, x, y); });
}
inline PanTiltOutX ptz_of_x(const viewgeo_context &ctx, std::int32_t x, std::int32_t y) {
    return outputs_of<PanTiltOutX>([&](auto *pan, auto *tilt) { viewgeo_to_ptz_x(&ctx, pan, tilt, x, y); });
}
inline PanTiltOutX ptz_rel_of_x(const viewgeo_context &ctx, std::int32_t x, std::int32_t y) {
    return outputs_of<PanTiltOutX>([&](auto *pan, auto *tilt) { viewgeo_to_ptz_x_rel(&ctx, pan, tilt, x, y); });
}

// Sole owner of an overview context.
struct OvistaDeleter {
    void operator()(viewgeo_ovista_context *ctx) const { viewgeo_ovista_context_delete(ctx); }
};
using OvistaPtr = std::unique_ptr<viewgeo_ovista_context, OvistaDeleter>;

}  // namespace viewgeo::testing
