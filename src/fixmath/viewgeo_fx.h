/* The fixed-point primitives of fixmath/fixmath.h under C names, for tests
 * and benchmarks. They are not part of the public interface: the shared
 * library does not export them, and include/viewgeo.h does not declare
 * them. Conventions as in fixmath/fixmath.h. */
#ifndef VIEWGEO_FIXMATH_VIEWGEO_FX_H
#define VIEWGEO_FIXMATH_VIEWGEO_FX_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

int32_t viewgeo_fx_sinx(int32_t x, int frac);
int32_t viewgeo_fx_cosx(int32_t x, int frac);
int32_t viewgeo_fx_sqrtx(int32_t x, int frac);
int32_t viewgeo_fx_acosx(int32_t x, int frac);

/* Conversion factors: entry n holds 2^-n, for n = 0 to 32. */
extern const float viewgeo_fx_xtof_tab[33];

#ifdef __cplusplus
}
#endif

#endif
