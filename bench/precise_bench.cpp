// Each precise (_d) form beside its bit-exact single-precision twin (_f),
// on the same inputs: 1024 main-camera views (all three lenses, tilts
// within +-80 degrees, horizontal fields 2 to 90 degrees, three picture
// sizes, a quarter turned by 180) with pixels inside the picture and
// directions visible in it; 1024 direction pairs and vectors; 1024 overview
// pixels and directions of the default fisheye looking straight down.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "core/precise_angle.h"
#include "ovista/context.h"
#include "view_cases.h"
#include "viewgeo.h"

namespace {

using viewgeo::bench::ViewCase;

// All three lenses alike.
const std::vector<ViewCase> &view_cases() {
    static const std::vector<ViewCase> all =
        viewgeo::bench::make_view_cases(1616u, [](std::mt19937 &gen) { return gen() % 3; });
    return all;
}

struct SphereCase {
    float pan_a, tilt_a, pan_b, tilt_b;
    float x, y, z;  // a unit vector
};

const std::vector<SphereCase> &sphere_cases() {
    static const std::vector<SphereCase> all = [] {
        std::mt19937 gen(1617u);
        std::uniform_real_distribution<float> pan(-180.0f, 180.0f), tilt(-90.0f, 90.0f);
        std::vector<SphereCase> out;
        for (int i = 0; i < 1024; ++i) {
            SphereCase c{pan(gen), tilt(gen), pan(gen), tilt(gen), 0.0f, 0.0f, 0.0f};
            viewgeo_ptz_to_cartesian_f(pan(gen), tilt(gen), &c.x, &c.y, &c.z);
            out.push_back(c);
        }
        return out;
    }();
    return all;
}

struct OvistaCase {
    int x, y;
    float pan, tilt;
};

struct Overview {
    viewgeo_ovista_context o;
    viewgeo_context v;
};

const Overview &overview() {
    static const Overview ov = [] {
        Overview out{};
        viewgeo::set_context_to_default(&out.o);
        viewgeo_set_pic_dim(&out.v, 1920, 1080);
        return out;
    }();
    return ov;
}

const std::vector<OvistaCase> &ovista_cases() {
    static const std::vector<OvistaCase> all = [] {
        std::mt19937 gen(1618u);
        std::uniform_real_distribution<float> pan(-180.0f, 180.0f), tilt(-90.0f, 0.0f);
        std::vector<OvistaCase> out;
        for (int i = 0; i < 1024; ++i) {
            out.push_back({static_cast<int>(400 + gen() % 1120), static_cast<int>(gen() % 1080), pan(gen), tilt(gen)});
        }
        return out;
    }();
    return all;
}

// One benchmark per form: `call` gets the case and keeps its results alive.
template <class Cases, class Call>
void run(benchmark::State &state, const Cases &cases, Call call) {
    std::size_t i = 0;
    for (auto _ : state) call(cases[i++ & 1023]);
}

void BM_PreciseTwin_ToPixel_F(benchmark::State &state) {
    run(state, view_cases(), [](const ViewCase &c) {
        std::int32_t x, y;
        viewgeo_to_pixel_f(&c.ctx, &x, &y, c.pan, c.tilt);
        benchmark::DoNotOptimize(x);
        benchmark::DoNotOptimize(y);
    });
}
void BM_PreciseTwin_ToPixel_D(benchmark::State &state) {
    run(state, view_cases(), [](const ViewCase &c) {
        double x, y;
        benchmark::DoNotOptimize(viewgeo_to_pixel_d(&c.ctx, c.pan, c.tilt, &x, &y));
        benchmark::DoNotOptimize(x);
        benchmark::DoNotOptimize(y);
    });
}
void BM_PreciseTwin_ToPtz_F(benchmark::State &state) {
    run(state, view_cases(), [](const ViewCase &c) {
        float pan, tilt;
        viewgeo_to_ptz_f(&c.ctx, &pan, &tilt, c.x, c.y);
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    });
}
void BM_PreciseTwin_ToPtz_D(benchmark::State &state) {
    run(state, view_cases(), [](const ViewCase &c) {
        double pan, tilt;
        benchmark::DoNotOptimize(viewgeo_to_ptz_d(&c.ctx, c.x, c.y, &pan, &tilt));
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    });
}
void BM_PreciseTwin_GreatCircle_F(benchmark::State &state) {
    run(state, sphere_cases(), [](const SphereCase &c) {
        benchmark::DoNotOptimize(viewgeo_get_great_circle(c.pan_a, c.tilt_a, c.pan_b, c.tilt_b));
    });
}
void BM_PreciseTwin_GreatCircle_D(benchmark::State &state) {
    run(state, sphere_cases(), [](const SphereCase &c) {
        benchmark::DoNotOptimize(viewgeo_get_great_circle_d(c.pan_a, c.tilt_a, c.pan_b, c.tilt_b));
    });
}
void BM_PreciseTwin_PtzToCartesian_F(benchmark::State &state) {
    run(state, sphere_cases(), [](const SphereCase &c) {
        float x, y, z;
        viewgeo_ptz_to_cartesian_f(c.pan_a, c.tilt_a, &x, &y, &z);
        benchmark::DoNotOptimize(x);
        benchmark::DoNotOptimize(y);
        benchmark::DoNotOptimize(z);
    });
}
void BM_PreciseTwin_PtzToCartesian_D(benchmark::State &state) {
    run(state, sphere_cases(), [](const SphereCase &c) {
        double x, y, z;
        viewgeo_ptz_to_cartesian_d(c.pan_a, c.tilt_a, &x, &y, &z);
        benchmark::DoNotOptimize(x);
        benchmark::DoNotOptimize(y);
        benchmark::DoNotOptimize(z);
    });
}
void BM_PreciseTwin_CartesianToPtz_F(benchmark::State &state) {
    run(state, sphere_cases(), [](const SphereCase &c) {
        float pan, tilt;
        benchmark::DoNotOptimize(viewgeo_cartesian_to_ptz_f(c.x, c.y, c.z, &pan, &tilt));
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    });
}
void BM_PreciseTwin_CartesianToPtz_D(benchmark::State &state) {
    run(state, sphere_cases(), [](const SphereCase &c) {
        double pan, tilt;
        benchmark::DoNotOptimize(viewgeo_cartesian_to_ptz_d(c.x, c.y, c.z, &pan, &tilt));
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    });
}
void BM_PreciseTwin_OvistaToPtz_F(benchmark::State &state) {
    const Overview &ov = overview();
    run(state, ovista_cases(), [&ov](const OvistaCase &c) {
        float pan, tilt;
        viewgeo_ovista_to_ptz_f(&ov.o, &ov.v, &pan, &tilt, c.x, c.y);
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    });
}
void BM_PreciseTwin_OvistaToPtz_D(benchmark::State &state) {
    const Overview &ov = overview();
    run(state, ovista_cases(), [&ov](const OvistaCase &c) {
        double pan, tilt;
        benchmark::DoNotOptimize(viewgeo_ovista_to_ptz_d(&ov.o, &ov.v, c.x, c.y, &pan, &tilt));
        benchmark::DoNotOptimize(pan);
        benchmark::DoNotOptimize(tilt);
    });
}
void BM_PreciseTwin_OvistaToPixel_F(benchmark::State &state) {
    const Overview &ov = overview();
    run(state, ovista_cases(), [&ov](const OvistaCase &c) {
        int x, y;
        viewgeo_ovista_to_pixel_f(&ov.o, &ov.v, c.pan, c.tilt, &x, &y);
        benchmark::DoNotOptimize(x);
        benchmark::DoNotOptimize(y);
    });
}
void BM_PreciseTwin_OvistaToPixel_D(benchmark::State &state) {
    const Overview &ov = overview();
    run(state, ovista_cases(), [&ov](const OvistaCase &c) {
        double x, y;
        benchmark::DoNotOptimize(viewgeo_ovista_to_pixel_d(&ov.o, &ov.v, c.pan, c.tilt, &x, &y));
        benchmark::DoNotOptimize(x);
        benchmark::DoNotOptimize(y);
    });
}

// The overview's floors: the maths calls each form cannot do without on the
// same cases, and nothing else. Looking straight down the precise forms take
// one sine and cosine of degrees (to a pixel) or one arc tangent and square
// root (to a direction) in double precision; the float forms take sinf and
// cosf, or atanf and sqrtf.
void BM_PreciseTwin_OvistaToPixel_F_Floor(benchmark::State &state) {
    run(state, ovista_cases(), [](const OvistaCase &c) {
        const float a = c.pan * viewgeo::kDegToRadF;
        benchmark::DoNotOptimize(std::sin(a));
        benchmark::DoNotOptimize(std::cos(a));
    });
}
void BM_PreciseTwin_OvistaToPixel_D_Floor(benchmark::State &state) {
    run(state, ovista_cases(), [](const OvistaCase &c) {
        const viewgeo::precise::SinCos k = viewgeo::precise::sincos_deg(c.pan);
        benchmark::DoNotOptimize(k.s);
        benchmark::DoNotOptimize(k.c);
    });
}
void BM_PreciseTwin_OvistaToPtz_F_Floor(benchmark::State &state) {
    run(state, ovista_cases(), [](const OvistaCase &c) {
        const float dx = 960.0f - static_cast<float>(c.x);
        const float dy = 540.0f - static_cast<float>(c.y);
        benchmark::DoNotOptimize(std::atan(std::fabs(dx / dy)));
        benchmark::DoNotOptimize(std::sqrt(dx * dx + dy * dy));
    });
}
void BM_PreciseTwin_OvistaToPtz_D_Floor(benchmark::State &state) {
    run(state, ovista_cases(), [](const OvistaCase &c) {
        const double dx = static_cast<double>(c.x) - 960.0;
        const double dy = static_cast<double>(c.y) - 540.0;
        benchmark::DoNotOptimize(viewgeo::precise::arc_tangent(dx, -dy));
        benchmark::DoNotOptimize(std::sqrt(dx * dx + dy * dy));
    });
}

BENCHMARK(BM_PreciseTwin_ToPixel_F);
BENCHMARK(BM_PreciseTwin_ToPixel_D);
BENCHMARK(BM_PreciseTwin_ToPtz_F);
BENCHMARK(BM_PreciseTwin_ToPtz_D);
BENCHMARK(BM_PreciseTwin_GreatCircle_F);
BENCHMARK(BM_PreciseTwin_GreatCircle_D);
BENCHMARK(BM_PreciseTwin_PtzToCartesian_F);
BENCHMARK(BM_PreciseTwin_PtzToCartesian_D);
BENCHMARK(BM_PreciseTwin_CartesianToPtz_F);
BENCHMARK(BM_PreciseTwin_CartesianToPtz_D);
BENCHMARK(BM_PreciseTwin_OvistaToPtz_F);
BENCHMARK(BM_PreciseTwin_OvistaToPtz_D);
BENCHMARK(BM_PreciseTwin_OvistaToPixel_F);
BENCHMARK(BM_PreciseTwin_OvistaToPixel_D);
BENCHMARK(BM_PreciseTwin_OvistaToPtz_F_Floor);
BENCHMARK(BM_PreciseTwin_OvistaToPtz_D_Floor);
BENCHMARK(BM_PreciseTwin_OvistaToPixel_F_Floor);
BENCHMARK(BM_PreciseTwin_OvistaToPixel_D_Floor);

}  // namespace
