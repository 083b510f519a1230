// Time per call of the angle and zoom utilities, float and Q16.16 forms.
#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "viewgeo.h"

namespace {

// A small ring of realistic inputs, so that no call sees constants and the
// branches of the pan fold are taken both ways.
constexpr std::size_t kInputs = 64;

struct Inputs {
    std::array<float, kInputs> pan{};
    std::array<float, kInputs> tilt{};
    std::array<float, kInputs> fov{};
    std::array<float, kInputs> zoom{};
    std::array<std::int32_t, kInputs> pan_x{};
    std::array<std::int32_t, kInputs> tilt_x{};
    std::array<std::int32_t, kInputs> fov_x{};
    std::array<std::int32_t, kInputs> zoom_x{};

    Inputs() {
        for (std::size_t i = 0; i < kInputs; ++i) {
            const auto k = static_cast<std::int32_t>(i);
            pan_x[i] = (k * 47 % 360 - 180) * 0x10000 + k * 977;
            tilt_x[i] = (k * 29 % 170 - 85) * 0x10000 + k * 331;
            fov_x[i] = (2 + k * 13 % 120) * 0x10000 + k * 1231;
            zoom_x[i] = 0x10000 + k * 0x5000;
            pan[i] = static_cast<float>(pan_x[i]) / 65536.0f;
            tilt[i] = static_cast<float>(tilt_x[i]) / 65536.0f;
            fov[i] = static_cast<float>(fov_x[i]) / 65536.0f;
            zoom[i] = static_cast<float>(zoom_x[i]) / 65536.0f;
        }
    }
};

const Inputs &inputs() {
    static const Inputs in;
    return in;
}

std::size_t next(std::size_t i) { return (i + 1) % kInputs; }

void BM_PanDelta(benchmark::State &state) {
    const Inputs &in = inputs();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(viewgeo_get_pan_delta(in.pan[i], in.pan[kInputs - 1 - i]));
        i = next(i);
    }
}
BENCHMARK(BM_PanDelta);

void BM_PanDeltaX(benchmark::State &state) {
    const Inputs &in = inputs();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(viewgeo_get_pan_delta_x(in.pan_x[i], in.pan_x[kInputs - 1 - i]));
        i = next(i);
    }
}
BENCHMARK(BM_PanDeltaX);

void BM_GreatCircle(benchmark::State &state) {
    const Inputs &in = inputs();
    std::size_t i = 0;
    for (auto _ : state) {
        const std::size_t j = kInputs - 1 - i;
        benchmark::DoNotOptimize(viewgeo_get_great_circle(in.pan[i], in.tilt[i], in.pan[j], in.tilt[j]));
        i = next(i);
    }
}
BENCHMARK(BM_GreatCircle);

void BM_GreatCircleX(benchmark::State &state) {
    const Inputs &in = inputs();
    std::size_t i = 0;
    for (auto _ : state) {
        const std::size_t j = kInputs - 1 - i;
        benchmark::DoNotOptimize(viewgeo_get_great_circle_x(in.pan_x[i], in.tilt_x[i], in.pan_x[j], in.tilt_x[j]));
        i = next(i);
    }
}
BENCHMARK(BM_GreatCircleX);

void BM_ZoomMagnification(benchmark::State &state) {
    const Inputs &in = inputs();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(viewgeo_get_zoom_magnification(in.fov_x[i], in.fov_x[kInputs - 1 - i]));
        i = next(i);
    }
}
BENCHMARK(BM_ZoomMagnification);

void BM_ZoomFov(benchmark::State &state) {
    const Inputs &in = inputs();
    std::size_t i = 0;
    float a = 0.0f;
    float b = 0.0f;
    for (auto _ : state) {
        viewgeo_get_zoom_fov(in.zoom[i], in.fov[i], in.zoom[kInputs - 1 - i], &a, &b);
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        i = next(i);
    }
}
BENCHMARK(BM_ZoomFov);

void BM_ZoomFovX(benchmark::State &state) {
    const Inputs &in = inputs();
    std::size_t i = 0;
    std::int32_t a = 0;
    std::int32_t b = 0;
    for (auto _ : state) {
        viewgeo_get_zoom_fov_x(in.zoom_x[i], in.fov_x[i], in.zoom_x[kInputs - 1 - i], &a, &b);
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        i = next(i);
    }
}
BENCHMARK(BM_ZoomFovX);

void BM_WrapPan(benchmark::State &state) {
    const Inputs &in = inputs();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(viewgeo_wrap_pan(in.pan[i] * 2.0f));
        i = next(i);
    }
}
BENCHMARK(BM_WrapPan);

}  // namespace
