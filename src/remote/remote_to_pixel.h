// From a remote pan/tilt back to a pixel of the main picture.
#pragma once

#include <cstdint>

#include "remote/subview.h"
#include "viewgeo.h"

namespace viewgeo {

// The search of a wide picture (horizontal field of 100 degrees or more),
// with the channel's centre already in the context's pan/tilt: at most 151
// evaluations of the forward mapping until pan and tilt are both within
// half a degree of the target. Sets the context's pic_rot to 0 and leaves it
// so. 0 with the pixel, or -1 with x = y = -1. `evaluations`, when not null,
// receives the number of forward mappings made.
int search_wide(viewgeo_context *ctx, SubviewLens &lens, std::int32_t *x, std::int32_t *y, std::int32_t pan,
                std::int32_t tilt, int *evaluations);

// As viewgeo_remote_to_pixel().
int remote_to_pixel(viewgeo_context *ctx, std::int32_t *x, std::int32_t *y, std::int32_t pan, std::int32_t tilt,
                    int channel);

}  // namespace viewgeo
