#include <bit>

#include "viewgeo.h"

// The angle factors as callers see them. The values are those the stored
// calibrations were made with; do not "improve" them.
extern "C" {
const int32_t dtor_x = 1144;       // 0x00000478
const float dtor_f = std::bit_cast<float>(0x3C8EFA35u);
const int32_t rtod_x = 3754936;    // 0x00394BB8
const float rtod_f = std::bit_cast<float>(0x42652EE1u);
}
