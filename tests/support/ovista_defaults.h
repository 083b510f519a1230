// The overview record's defaults, written out independently of the library
// (centred circle of 585 pixels radius in a 1920 x 1080 picture, looking
// straight down, no compensation), for the tests to compare with and to
// start their own records from.
#pragma once

#include "viewgeo.h"

namespace viewgeo::testing {

inline viewgeo_ovista_context ovista_defaults() {
    viewgeo_ovista_context d{};
    d.center_x = 0.5f;
    d.center_y = 0.5f;
    d.field_angle = 99.0f;
    d.radius_x = 0.3046875f;
    d.radius_y = 0.541666687f;
    d.center_pan = 0.0f;
    d.center_tilt = -90.0f;
    return d;
}

}  // namespace viewgeo::testing
