// Stand-ins for the library's array conversions while include/viewgeo.h does
// not declare them: loops over the single-point functions, so the results
// are their bits. Delete this file when the library exports the array forms
// (python/CMakeLists.txt then leaves it out by itself).
#include "array_forms.h"

extern "C" {

void viewgeo_to_pixel_f_array(const viewgeo_context *ctx, size_t n, const float *pan, const float *tilt, int32_t *x, int32_t *y) {
    for (size_t i = 0; i < n; ++i) viewgeo_to_pixel_f(ctx, &x[i], &y[i], pan[i], tilt[i]);
}

void viewgeo_to_ptz_f_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, float *pan, float *tilt) {
    for (size_t i = 0; i < n; ++i) viewgeo_to_ptz_f(ctx, &pan[i], &tilt[i], x[i], y[i]);
}

void viewgeo_to_ptz_f_rel_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, float *pan, float *tilt) {
    for (size_t i = 0; i < n; ++i) viewgeo_to_ptz_f_rel(ctx, &pan[i], &tilt[i], x[i], y[i]);
}

void viewgeo_to_pixel_x_array(const viewgeo_context *ctx, size_t n, const int32_t *pan, const int32_t *tilt, int32_t *x, int32_t *y) {
    for (size_t i = 0; i < n; ++i) viewgeo_to_pixel_x(ctx, &x[i], &y[i], pan[i], tilt[i]);
}

void viewgeo_to_ptz_x_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, int32_t *pan, int32_t *tilt) {
    for (size_t i = 0; i < n; ++i) viewgeo_to_ptz_x(ctx, &pan[i], &tilt[i], x[i], y[i]);
}

void viewgeo_to_ptz_x_rel_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, int32_t *pan, int32_t *tilt) {
    for (size_t i = 0; i < n; ++i) viewgeo_to_ptz_x_rel(ctx, &pan[i], &tilt[i], x[i], y[i]);
}

void viewgeo_ovista_to_ptz_f_array(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, size_t n, const int *x, const int *y, float *pan, float *tilt) {
    for (size_t i = 0; i < n; ++i) viewgeo_ovista_to_ptz_f(octx, vctx, &pan[i], &tilt[i], x[i], y[i]);
}

void viewgeo_ovista_to_pixel_f_array(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, size_t n, const float *pan, const float *tilt, int *x, int *y) {
    for (size_t i = 0; i < n; ++i) viewgeo_ovista_to_pixel_f(octx, vctx, pan[i], tilt[i], &x[i], &y[i]);
}

}  // extern "C"
