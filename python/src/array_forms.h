// The library's array conversions: n points in one call, the same bits as
// the single-point functions. The binding calls nothing else for its array
// conversions.
//
// Until include/viewgeo.h declares them, array_forms.cpp defines them here as
// plain loops over the single-point functions (python/CMakeLists.txt picks
// that file only while the header lacks them). Once the library has them,
// array_forms.cpp and the declarations below are deleted and every call goes
// straight to the library.
#pragma once

#include <cstddef>
#include <cstdint>

#include "viewgeo.h"

#ifndef VIEWGEO_PY_LIBRARY_ARRAY_FORMS
extern "C" {
void viewgeo_to_pixel_f_array(const viewgeo_context *ctx, size_t n, const float *pan, const float *tilt, int32_t *x, int32_t *y);
void viewgeo_to_ptz_f_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, float *pan, float *tilt);
void viewgeo_to_ptz_f_rel_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, float *pan, float *tilt);
void viewgeo_to_pixel_x_array(const viewgeo_context *ctx, size_t n, const int32_t *pan, const int32_t *tilt, int32_t *x, int32_t *y);
void viewgeo_to_ptz_x_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, int32_t *pan, int32_t *tilt);
void viewgeo_to_ptz_x_rel_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, int32_t *pan, int32_t *tilt);
void viewgeo_ovista_to_ptz_f_array(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, size_t n, const int *x, const int *y, float *pan, float *tilt);
void viewgeo_ovista_to_pixel_f_array(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, size_t n, const float *pan, const float *tilt, int *x, int *y);
}
#endif
