// The array forms of the projections: element i of the outputs has exactly
// the bits the single-point function gives for element i of the inputs, over
// random views (every lens model, known and unknown rotations, derived and
// stored vertical fields, zero fields, zero and odd picture sizes, dewarp on
// and off, cameras past the pole) and random inputs (inside and outside the
// picture, NaN, infinities, the int32 extremes). Compared with memcmp on the
// whole output arrays, single against array on this target.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

#include "viewgeo.h"

namespace {

constexpr std::size_t kCounts[] = {0, 1, 2, 7, 4096};
constexpr int kViews = 40;

class Draw {
public:
    explicit Draw(std::uint32_t seed) : gen_(seed) {}

    int pick(int n) { return static_cast<int>(gen_() % static_cast<std::uint32_t>(n)); }
    bool chance(int percent) { return pick(100) < percent; }
    float uniform(float lo, float hi) { return std::uniform_real_distribution<float>(lo, hi)(gen_); }
    std::int32_t range(std::int32_t lo, std::int32_t hi) { return std::uniform_int_distribution<std::int32_t>(lo, hi)(gen_); }
    std::int32_t any_word() { return static_cast<std::int32_t>(gen_()); }

    // An angle in degrees: mostly ordinary, sometimes a value that no
    // calculation expects.
    float angle(float lo, float hi) {
        switch (pick(20)) {
            case 0: return std::numeric_limits<float>::quiet_NaN();
            case 1: return -std::numeric_limits<float>::quiet_NaN();
            case 2: return std::numeric_limits<float>::infinity();
            case 3: return -std::numeric_limits<float>::infinity();
            case 4: return uniform(-1e6f, 1e6f);
            case 5: return pick(2) == 0 ? 180.0f : -180.0f;
            default: return uniform(lo, hi);
        }
    }
    // The same as a Q16.16 word.
    std::int32_t angle_x(float lo, float hi) {
        switch (pick(20)) {
            case 0: return INT32_MIN;
            case 1: return INT32_MAX;
            case 2: return any_word();
            default: return static_cast<std::int32_t>(uniform(lo, hi) * 65536.0f);
        }
    }
    // A pixel column or row of a picture dimension: mostly inside the
    // picture, sometimes outside it or at the int32 extremes.
    std::int32_t pixel(std::int32_t size) {
        const std::int32_t s = size > 0 && size < 100000 ? size : 1920;
        switch (pick(20)) {
            case 0: return INT32_MIN;
            case 1: return INT32_MAX;
            case 2: return range(-3 * s, 3 * s);
            case 3: return s / 2;
            default: return range(0, s);
        }
    }

private:
    std::mt19937 gen_;
};

viewgeo_context random_view(Draw &d) {
    viewgeo_context c{};
    c.pan = d.angle_x(-180.0f, 180.0f);
    c.tilt = d.chance(15) ? d.angle_x(-180.0f, 180.0f) : d.angle_x(-90.0f, 30.0f);
    c.horiz_fov = d.chance(10) ? 0 : d.angle_x(0.5f, 120.0f);
    c.vert_fov_set = d.chance(40);
    c.vert_fov = d.chance(10) ? 0 : d.angle_x(0.5f, 90.0f);
    static const std::int32_t kSizes[][2] = {{1920, 1080}, {1281, 721}, {704, 576}, {0, 0}, {1, 1}, {0, 1080}, {40000, 3}};
    const auto &size = kSizes[d.pick(7)];
    c.pic_width = size[0];
    c.pic_height = size[1];
    static const std::int32_t kRotations[] = {0, 90, 180, 270, 360, 45, -90};
    c.pic_rot = kRotations[d.pick(7)];
    static const std::int32_t kLenses[] = {0, 1, 2, 3, -1};
    c.projection_type = kLenses[d.pick(5)];
    static const std::int32_t kDewarp[] = {0, 1, 2};
    c.dewarp_status = kDewarp[d.pick(3)];
    return c;
}

template <class T>
bool same_bits(const std::vector<T> &a, const std::vector<T> &b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

// The single-point function over every element, and the array form once,
// on the same inputs; both pairs of outputs must have the same bits.
template <class In, class Out, class Single, class Array>
void expect_array_matches_single(std::size_t n, const std::vector<In> &a, const std::vector<In> &b, Single single,
                                 Array array, const char *what) {
    std::vector<Out> one_a(n), one_b(n), all_a(n), all_b(n);
    for (std::size_t i = 0; i < n; ++i) single(a[i], b[i], &one_a[i], &one_b[i]);
    array(n, a.data(), b.data(), all_a.data(), all_b.data());
    EXPECT_TRUE(same_bits(one_a, all_a)) << what << ", n = " << n;
    EXPECT_TRUE(same_bits(one_b, all_b)) << what << ", n = " << n;
}

// The same for a projection of the PTZ view, whose single-point form takes
// the outputs first and the inputs last.
template <class In, class Out>
void expect_view_array_matches(const viewgeo_context *ctx, std::size_t n, const std::vector<In> &a,
                               const std::vector<In> &b, void (*single)(const viewgeo_context *, Out *, Out *, In, In),
                               void (*array)(const viewgeo_context *, std::size_t, const In *, const In *, Out *, Out *),
                               const char *what) {
    expect_array_matches_single<In, Out>(
        n, a, b, [&](In x, In y, Out *p, Out *q) { single(ctx, p, q, x, y); },
        [&](std::size_t k, const In *x, const In *y, Out *p, Out *q) { array(ctx, k, x, y, p, q); }, what);
}

TEST(ProjectionArray, EveryElementHasTheBitsOfTheSinglePointCall) {
    Draw d(20261123u);
    for (int view = 0; view < kViews; ++view) {
        const viewgeo_context ctx = random_view(d);
        SCOPED_TRACE(::testing::Message() << "view " << view << ": pan " << ctx.pan << " tilt " << ctx.tilt << " hfov "
                                          << ctx.horiz_fov << " vfov " << ctx.vert_fov << (ctx.vert_fov_set ? " set" : " derived")
                                          << " size " << ctx.pic_width << "x" << ctx.pic_height << " rot " << ctx.pic_rot
                                          << " lens " << ctx.projection_type << " dewarp " << ctx.dewarp_status);
        for (const std::size_t n : kCounts) {
            std::vector<float> pan_f(n), tilt_f(n);
            std::vector<std::int32_t> pan_x(n), tilt_x(n), px(n), py(n);
            for (std::size_t i = 0; i < n; ++i) {
                pan_f[i] = d.angle(-180.0f, 180.0f);
                tilt_f[i] = d.angle(-90.0f, 90.0f);
                pan_x[i] = d.angle_x(-180.0f, 180.0f);
                tilt_x[i] = d.angle_x(-90.0f, 90.0f);
                px[i] = d.pixel(ctx.pic_width);
                py[i] = d.pixel(ctx.pic_height);
            }
            expect_view_array_matches(&ctx, n, pan_f, tilt_f, viewgeo_to_pixel_f, viewgeo_to_pixel_f_array, "to_pixel_f");
            expect_view_array_matches(&ctx, n, px, py, viewgeo_to_ptz_f, viewgeo_to_ptz_f_array, "to_ptz_f");
            expect_view_array_matches(&ctx, n, px, py, viewgeo_to_ptz_f_rel, viewgeo_to_ptz_f_rel_array, "to_ptz_f_rel");
            expect_view_array_matches(&ctx, n, pan_x, tilt_x, viewgeo_to_pixel_x, viewgeo_to_pixel_x_array, "to_pixel_x");
            expect_view_array_matches(&ctx, n, px, py, viewgeo_to_ptz_x, viewgeo_to_ptz_x_array, "to_ptz_x");
            expect_view_array_matches(&ctx, n, px, py, viewgeo_to_ptz_x_rel, viewgeo_to_ptz_x_rel_array, "to_ptz_x_rel");
        }
    }
}

viewgeo_ovista_compensator random_compensator(Draw &d) {
    static const int kTypes[] = {0, 1, 2, 3, -1};
    return {kTypes[d.pick(5)], d.uniform(-2e-5f, 2e-5f), d.uniform(-2e-3f, 2e-3f), d.uniform(-0.2f, 0.2f),
            d.uniform(-3.0f, 3.0f)};
}

viewgeo_ovista_context random_overview(Draw &d) {
    viewgeo_ovista_context o{};
    o.center_x = d.uniform(0.4f, 0.6f);
    o.center_y = d.uniform(0.4f, 0.6f);
    o.field_angle = d.chance(10) ? 0.0f : d.uniform(60.0f, 120.0f);
    o.radius_x = d.chance(10) ? 0.0f : d.uniform(0.2f, 0.5f);
    o.radius_y = d.uniform(0.3f, 0.6f);
    o.rotation = d.chance(50) ? 0 : d.range(-1000, 1000);
    o.mirror = d.chance(70) ? 0 : d.range(-2, 2);
    o.pan_comp = random_compensator(d);
    o.tilt_comp = random_compensator(d);
    o.x_comp = random_compensator(d);
    o.y_comp = random_compensator(d);
    o.center_pan = d.angle(-180.0f, 180.0f);
    o.center_tilt = d.chance(50) ? -90.0f : d.angle(-180.0f, 180.0f);
    return o;
}

TEST(ProjectionArray, OverviewElementsHaveTheBitsOfTheSinglePointCall) {
    Draw d(7u);
    for (int view = 0; view < kViews; ++view) {
        const viewgeo_ovista_context o = random_overview(d);
        viewgeo_context v{};
        static const std::int32_t kSizes[][2] = {{1920, 1080}, {2048, 2048}, {1281, 721}, {0, 0}};
        const auto &size = kSizes[d.pick(4)];
        viewgeo_set_pic_dim(&v, size[0], size[1]);
        SCOPED_TRACE(::testing::Message() << "overview view " << view);
        for (const std::size_t n : kCounts) {
            std::vector<float> pan(n), tilt(n);
            std::vector<int> x(n), y(n);
            for (std::size_t i = 0; i < n; ++i) {
                // Now and then exactly the axis, where the centre is returned.
                const bool axis = d.chance(5);
                pan[i] = axis ? o.center_pan : d.angle(-180.0f, 180.0f);
                tilt[i] = axis ? o.center_tilt : d.angle(-90.0f, 90.0f);
                x[i] = d.pixel(size[0]);
                y[i] = d.pixel(size[1]);
            }
            const viewgeo_ovista_context *oc = &o;
            const viewgeo_context *vc = &v;
            expect_array_matches_single<int, float>(
                n, x, y, [oc, vc](int px, int py, float *p, float *t) { viewgeo_ovista_to_ptz_f(oc, vc, p, t, px, py); },
                [oc, vc](std::size_t k, const int *px, const int *py, float *p, float *t) {
                    viewgeo_ovista_to_ptz_f_array(oc, vc, k, px, py, p, t);
                },
                "viewgeo_ovista_to_ptz_f");
            expect_array_matches_single<float, int>(
                n, pan, tilt, [oc, vc](float p, float t, int *px, int *py) { viewgeo_ovista_to_pixel_f(oc, vc, p, t, px, py); },
                [oc, vc](std::size_t k, const float *p, const float *t, int *px, int *py) {
                    viewgeo_ovista_to_pixel_f_array(oc, vc, k, p, t, px, py);
                },
                "viewgeo_ovista_to_pixel_f");
        }
    }
}

TEST(ProjectionArray, ZeroPointsReadAndWriteNoArray) {
    viewgeo_context ctx{};
    viewgeo_set_pic_dim(&ctx, 1920, 1080);
    viewgeo_set_horiz_fov_f(&ctx, 60.0f);
    viewgeo_ovista_context o{};
    // Null arrays with n = 0: any access would fault here or under the
    // sanitizers.
    viewgeo_to_pixel_f_array(&ctx, 0, nullptr, nullptr, nullptr, nullptr);
    viewgeo_to_ptz_f_array(&ctx, 0, nullptr, nullptr, nullptr, nullptr);
    viewgeo_to_ptz_f_rel_array(&ctx, 0, nullptr, nullptr, nullptr, nullptr);
    viewgeo_to_pixel_x_array(&ctx, 0, nullptr, nullptr, nullptr, nullptr);
    viewgeo_to_ptz_x_array(&ctx, 0, nullptr, nullptr, nullptr, nullptr);
    viewgeo_to_ptz_x_rel_array(&ctx, 0, nullptr, nullptr, nullptr, nullptr);
    viewgeo_ovista_to_ptz_f_array(&o, &ctx, 0, nullptr, nullptr, nullptr, nullptr);
    viewgeo_ovista_to_pixel_f_array(&o, &ctx, 0, nullptr, nullptr, nullptr, nullptr);
    // Real arrays with n = 0 keep what they hold.
    const float in_f[1] = {1.0f};
    const std::int32_t in_x[1] = {5};
    const int in_i[1] = {5};
    std::int32_t out_x[2] = {-7, -7};
    float out_f[2] = {-7.0f, -7.0f};
    int out_i[2] = {-7, -7};
    viewgeo_to_pixel_f_array(&ctx, 0, in_f, in_f, &out_x[0], &out_x[1]);
    viewgeo_to_pixel_x_array(&ctx, 0, in_x, in_x, &out_x[0], &out_x[1]);
    viewgeo_to_ptz_x_array(&ctx, 0, in_x, in_x, &out_x[0], &out_x[1]);
    viewgeo_to_ptz_x_rel_array(&ctx, 0, in_x, in_x, &out_x[0], &out_x[1]);
    viewgeo_to_ptz_f_array(&ctx, 0, in_x, in_x, &out_f[0], &out_f[1]);
    viewgeo_to_ptz_f_rel_array(&ctx, 0, in_x, in_x, &out_f[0], &out_f[1]);
    viewgeo_ovista_to_ptz_f_array(&o, &ctx, 0, in_i, in_i, &out_f[0], &out_f[1]);
    viewgeo_ovista_to_pixel_f_array(&o, &ctx, 0, in_f, in_f, &out_i[0], &out_i[1]);
    EXPECT_EQ(out_x[0], -7);
    EXPECT_EQ(out_x[1], -7);
    EXPECT_EQ(out_f[0], -7.0f);
    EXPECT_EQ(out_f[1], -7.0f);
    EXPECT_EQ(out_i[0], -7);
    EXPECT_EQ(out_i[1], -7);
}

TEST(ProjectionArray, ZeroPointsReadNoContext) {
    // With n = 0 every pointer may be null, the contexts too: no view is
    // made, so nothing is read. A read through one would end the child
    // process by a signal (or a sanitizer's report) instead of the exit.
    EXPECT_EXIT(
        {
            viewgeo_to_pixel_f_array(nullptr, 0, nullptr, nullptr, nullptr, nullptr);
            viewgeo_to_ptz_f_array(nullptr, 0, nullptr, nullptr, nullptr, nullptr);
            viewgeo_to_ptz_f_rel_array(nullptr, 0, nullptr, nullptr, nullptr, nullptr);
            viewgeo_to_pixel_x_array(nullptr, 0, nullptr, nullptr, nullptr, nullptr);
            viewgeo_to_ptz_x_array(nullptr, 0, nullptr, nullptr, nullptr, nullptr);
            viewgeo_to_ptz_x_rel_array(nullptr, 0, nullptr, nullptr, nullptr, nullptr);
            viewgeo_ovista_to_ptz_f_array(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr);
            viewgeo_ovista_to_pixel_f_array(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(ProjectionArray, AChangedContextIsReadAfreshOnTheNextCall) {
    viewgeo_context ctx{};
    viewgeo_set_pic_dim(&ctx, 1920, 1080);
    viewgeo_set_horiz_fov_f(&ctx, 60.0f);
    viewgeo_set_pantilt_f(&ctx, 10.0f, -20.0f);
    viewgeo_set_projection_type(&ctx, 2);
    const std::int32_t x[2] = {100, 1500};
    const std::int32_t y[2] = {900, 200};
    float pan[2], tilt[2];
    viewgeo_to_ptz_f_array(&ctx, 2, x, y, pan, tilt);
    // Another camera position and zoom: the next call must follow them.
    viewgeo_set_pantilt_f(&ctx, -50.0f, -40.0f);
    viewgeo_set_horiz_fov_f(&ctx, 20.0f);
    viewgeo_to_ptz_f_array(&ctx, 2, x, y, pan, tilt);
    for (int i = 0; i < 2; ++i) {
        float p = 0.0f, t = 0.0f;
        viewgeo_to_ptz_f(&ctx, &p, &t, x[i], y[i]);
        EXPECT_EQ(pan[i], p) << i;
        EXPECT_EQ(tilt[i], t) << i;
    }
    // Pixel 100 is left of the new camera pan, pixel 1500 right of it.
    EXPECT_LT(pan[0], -50.0f);
    EXPECT_GT(pan[1], -50.0f);
}

}  // namespace
