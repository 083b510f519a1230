// The C names of the fixed-point primitives, for tests and benchmarks.
#include "fixmath/viewgeo_fx.h"

#include "fixmath/fixmath.h"

extern "C" std::int32_t viewgeo_fx_sinx(std::int32_t x, int frac) { return viewgeo::fixmath::sinx(x, frac); }
extern "C" std::int32_t viewgeo_fx_cosx(std::int32_t x, int frac) { return viewgeo::fixmath::cosx(x, frac); }
extern "C" std::int32_t viewgeo_fx_sqrtx(std::int32_t x, int frac) { return viewgeo::fixmath::sqrtx(x, frac); }
extern "C" std::int32_t viewgeo_fx_acosx(std::int32_t x, int frac) { return viewgeo::fixmath::acosx(x, frac); }

// 2^-n for n = 0..32, exact in single precision.
extern "C" const float viewgeo_fx_xtof_tab[33] = {
    0x1p-0f,  0x1p-1f,  0x1p-2f,  0x1p-3f,  0x1p-4f,  0x1p-5f,  0x1p-6f,  0x1p-7f,  0x1p-8f,
    0x1p-9f,  0x1p-10f, 0x1p-11f, 0x1p-12f, 0x1p-13f, 0x1p-14f, 0x1p-15f, 0x1p-16f, 0x1p-17f,
    0x1p-18f, 0x1p-19f, 0x1p-20f, 0x1p-21f, 0x1p-22f, 0x1p-23f, 0x1p-24f, 0x1p-25f, 0x1p-26f,
    0x1p-27f, 0x1p-28f, 0x1p-29f, 0x1p-30f, 0x1p-31f, 0x1p-32f,
};
