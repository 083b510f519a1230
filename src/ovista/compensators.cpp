// The quadrant of a pixel offset and the polynomial corrections of the
// overview camera as exported functions.
#include "ovista/compensators.h"

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
