// Every calculation fed raw bit patterns: NaN of either sign, infinities,
// subnormals, INT32_MIN/MAX words, zero sizes, unknown rotations and lens
// types. The sanitizers watch the arithmetic (signed overflow, float to int
// conversions out of range, shifts); the target checks that every output is
// written and that each call gives the same bits twice.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fuzz_support.h"
#include "viewgeo.h"

namespace {

using viewgeo::fuzzing::Words;

// Two calls, outputs pre-filled with different patterns: equal results mean
// the call wrote every output and depends on nothing but its inputs.
template <typename T, typename Call>
void twice(Call call) {
    T a1, a2, b1, b2;
    std::memset(&a1, 0x55, sizeof a1);
    std::memset(&a2, 0x55, sizeof a2);
    std::memset(&b1, 0xAA, sizeof b1);
    std::memset(&b2, 0xAA, sizeof b2);
    call(&a1, &a2);
    call(&b1, &b2);
    FUZZ_CHECK(std::memcmp(&a1, &b1, sizeof a1) == 0);
    FUZZ_CHECK(std::memcmp(&a2, &b2, sizeof a2) == 0);
}

template <typename T>
bool same_bits(T a, T b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void set_up_view(viewgeo_context *ctx, Words &w) {
    const std::uint32_t how = w.next();
    if (how & 1) {
        viewgeo_set_pantilt_f(ctx, w.next_float(), w.next_float());
        viewgeo_set_horiz_fov_f(ctx, w.next_float());
    } else {
        viewgeo_set_pantilt_x(ctx, w.next_int(), w.next_int());
        viewgeo_set_horiz_fov_x(ctx, w.next_int());
    }
    if (how & 2) viewgeo_set_vert_fov_f(ctx, w.next_float());
    if (how & 4) viewgeo_set_vert_fov_x(ctx, w.next_int());
    // Sizes and rotations mostly in the usual range, sometimes raw.
    const std::int32_t width = w.next_int();
    const std::int32_t height = w.next_int();
    if (how & 8) {
        viewgeo_set_pic_dim(ctx, width, height);
    } else {
        viewgeo_set_pic_dim(ctx, width & 0xFFF, height & 0xFFF);
    }
    const std::int32_t rot = w.next_int();
    viewgeo_set_pic_rot(ctx, (how & 16) ? rot : static_cast<std::int32_t>((rot & 7u) * 90u % 450u));
    const std::int32_t lens = w.next_int();
    viewgeo_set_projection_type(ctx, (how & 32) ? lens : lens & 3);
    viewgeo_set_dewarp_status(ctx, (how & 64) ? w.next_int() : static_cast<std::int32_t>(how >> 7 & 1));

    float f = 0.0f;
    std::int32_t x = 0;
    viewgeo_get_vert_fov_f(ctx, &f);
    viewgeo_get_vert_fov_x(ctx, &x);
    viewgeo_get_horiz_fov_f(ctx, &f);
    float pan = 0.0f;
    float tilt = 0.0f;
    viewgeo_get_pantilt_f(ctx, &pan, &tilt);
}

void projections(const viewgeo_context *ctx, Words &w) {
    const float pan = w.next_float();
    const float tilt = w.next_float();
    const std::int32_t px = w.next_int();
    const std::int32_t py = w.next_int();
    const std::int32_t qpan = w.next_int();
    const std::int32_t qtilt = w.next_int();
    twice<std::int32_t>([&](std::int32_t *x, std::int32_t *y) { viewgeo_to_pixel_f(ctx, x, y, pan, tilt); });
    twice<float>([&](float *p, float *t) { viewgeo_to_ptz_f(ctx, p, t, px, py); });
    twice<float>([&](float *p, float *t) { viewgeo_to_ptz_f_rel(ctx, p, t, px, py); });
    twice<std::int32_t>([&](std::int32_t *x, std::int32_t *y) { viewgeo_to_pixel_x(ctx, x, y, qpan, qtilt); });
    twice<std::int32_t>([&](std::int32_t *p, std::int32_t *t) { viewgeo_to_ptz_x(ctx, p, t, px, py); });
    twice<std::int32_t>([&](std::int32_t *p, std::int32_t *t) { viewgeo_to_ptz_x_rel(ctx, p, t, px, py); });
}

// Reads its words like projections() above, on purpose: one per argument.
void utilities(Words &w) {
    const float a = w.next_float();
    const float b = w.next_float();
    const float c = w.next_float();
    const float d = w.next_float();
    const std::int32_t p = w.next_int();
    const std::int32_t q = w.next_int();
    const std::int32_t r = w.next_int();
    const std::int32_t s = w.next_int();
    FUZZ_CHECK(same_bits(viewgeo_get_pan_delta(a, b), viewgeo_get_pan_delta(a, b)));
    FUZZ_CHECK(viewgeo_get_pan_delta_x(p, q) == viewgeo_get_pan_delta_x(p, q));
    FUZZ_CHECK(same_bits(viewgeo_get_great_circle(a, b, c, d), viewgeo_get_great_circle(a, b, c, d)));
    FUZZ_CHECK(viewgeo_get_great_circle_x(p, q, r, s) == viewgeo_get_great_circle_x(p, q, r, s));
    FUZZ_CHECK(viewgeo_get_zoom_magnification(p, q) == viewgeo_get_zoom_magnification(p, q));
    twice<float>([&](float *fa, float *fb) { viewgeo_get_zoom_fov(a, b, c, fa, fb); });
    twice<std::int32_t>([&](std::int32_t *fa, std::int32_t *fb) { viewgeo_get_zoom_fov_x(p, q, r, fa, fb); });
    const float wrapped = viewgeo_wrap_pan(a);
    FUZZ_CHECK(same_bits(wrapped, viewgeo_wrap_pan(a)));
    if (a >= -540.0f && a <= 540.0f) FUZZ_CHECK(wrapped >= -180.0f && wrapped <= 180.0f);
}

void overview(const viewgeo_context *vctx, Words &w) {
    viewgeo_ovista_context oc;
    std::memset(&oc, 0, sizeof oc);
    oc.center_x = w.next_float();
    oc.center_y = w.next_float();
    oc.field_angle = w.next_float();
    oc.radius_x = w.next_float();
    oc.radius_y = w.next_float();
    oc.rotation = w.next_int();
    oc.mirror = w.next_int();
    for (viewgeo_ovista_compensator *comp : {&oc.pan_comp, &oc.tilt_comp, &oc.x_comp, &oc.y_comp}) {
        comp->type = w.next_int() & 3;
        comp->A = w.next_float();
        comp->B = w.next_float();
        comp->C = w.next_float();
        comp->D = w.next_float();
        const float x = w.next_float();
        FUZZ_CHECK(same_bits(compensate_error(comp, x), compensate_error(comp, x)));
        (void)compensate_quadr(x, comp->A, comp->B, comp->C);
        (void)compensate_cubic(x, comp->A, comp->B, comp->C, comp->D);
    }
    oc.center_pan = w.next_float();
    oc.center_tilt = w.next_float();
    const int dir = ovista_get_movement_dir(w.next_int(), w.next_int());
    FUZZ_CHECK(dir >= 0 && dir <= 4);

    const int x = w.next_int();
    const int y = w.next_int();
    const float pan = w.next_float();
    const float tilt = w.next_float();
    twice<float>([&](float *p, float *t) { viewgeo_ovista_to_ptz_f_rel(&oc, vctx, p, t, x, y); });
    twice<float>([&](float *p, float *t) { viewgeo_ovista_to_ptz_f(&oc, vctx, p, t, x, y); });
    twice<int>([&](int *px, int *py) { viewgeo_ovista_to_pixel_f(&oc, vctx, pan, tilt, px, py); });
}

void remote(viewgeo_context *ctx, Words &w) {
    const std::int32_t x = w.next_int();
    const std::int32_t y = w.next_int();
    const std::int32_t width = w.next_int();
    twice<std::int32_t>([&](std::int32_t *p, std::int32_t *t) { viewgeo_to_remote_ptz(ctx, p, t, x, y); });
    FUZZ_CHECK(viewgeo_to_remote_zoom(ctx, x, y, width) == viewgeo_to_remote_zoom(ctx, x, y, width));
    twice<float>([&](float *p, float *t) { viewgeo_panorama_spherical_to_remote_ptz(ctx, p, t, x, y); });

    const float pan = w.next_float();
    const float tilt = w.next_float();
    float v[3];
    viewgeo_ptz_to_cartesian_f(pan, tilt, &v[0], &v[1], &v[2]);
    float back_pan = 0.0f;
    float back_tilt = 0.0f;
    viewgeo_cartesian_to_ptz_f(v[0], v[1], v[2], &back_pan, &back_tilt);
    viewgeo_cartesian_to_ptz_f(w.next_float(), w.next_float(), w.next_float(), &back_pan, &back_tilt);

    // Without a calibration file this fails before it projects; with the
    // channel's group missing as well. Either way it must stay defined.
    std::int32_t px = 0;
    std::int32_t py = 0;
    viewgeo_remote_to_pixel(ctx, &px, &py, w.next_int(), w.next_int(), static_cast<int>(w.next() & 3u));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    viewgeo::fuzzing::use_private_root();  // no data file, no projection flag
    Words w(data, size);
    viewgeo_context *ctx = viewgeo_context_create();
    FUZZ_CHECK(ctx != nullptr);
    set_up_view(ctx, w);
    projections(ctx, w);
    utilities(w);
    overview(ctx, w);
    remote(ctx, w);
    viewgeo_context_delete(ctx);
    return 0;
}
