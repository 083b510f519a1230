#include "core/angles.h"
#include "core/q16.h"
#include "viewgeo.h"

// The angle factors as callers see them, the library's own: 0x00000478,
// 0x3C8EFA35, 0x00394BB8 and 0x42652EE1.
extern "C" {
const int32_t dtor_x = viewgeo::kQ16DegToRad;
const float dtor_f = viewgeo::kDegToRadF;
const int32_t rtod_x = viewgeo::kQ16RadToDeg;
const float rtod_f = viewgeo::kRadToDegF;
}
