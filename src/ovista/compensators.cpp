// The quadrant of a pixel offset and the polynomial corrections of the
// overview camera. The order of the single-precision operations is kept
// exactly: stored compensator coefficients were fitted with it.
#include "ovista/compensators.h"

namespace viewgeo {

int movement_dir(int dx, int dy) {
    if (dy == 0) return 4;
    // dx = 0 counts with the negative offsets, on purpose.
    const bool left = dx >= 1;
    if (dy > 0) return left ? 1 : 0;
    return left ? 3 : 2;
}

float quadratic(float x, float a, float b, float c) {
    const float xx = x * x;
    return (xx * a + x * b) + c;
}

float cubic(float x, float a, float b, float c, float d) {
    const float s = x * x;
    return (((s * x) * a + s * b) + x * c) + d;
}

float correction(const viewgeo_ovista_compensator &comp, float x) {
    switch (comp.type) {
        case 1: return quadratic(x, comp.A, comp.B, comp.C);
        case 2: return cubic(x, comp.A, comp.B, comp.C, comp.D);
        default: return 0.0f;
    }
}

}  // namespace viewgeo

extern "C" {

VIEWGEO_API int ovista_get_movement_dir(int dx, int dy) { return viewgeo::movement_dir(dx, dy); }

VIEWGEO_API float compensate_quadr(float x, float a, float b, float c) { return viewgeo::quadratic(x, a, b, c); }

VIEWGEO_API float compensate_cubic(float x, float a, float b, float c, float d) {
    return viewgeo::cubic(x, a, b, c, d);
}

VIEWGEO_API float compensate_error(const viewgeo_ovista_compensator *comp, float x) {
    return viewgeo::correction(*comp, x);
}

}  // extern "C"
