// Aiming the remote camera: pixel to remote pan/tilt, span to zoom width.
#pragma once

#include <cstdint>

#include "remote/subview.h"
#include "viewgeo.h"

namespace viewgeo {

// Pixel to remote pan/tilt, as viewgeo_to_remote_ptz(); the lens model of a
// sub-view comes from `lens`, so repeated calls test the flag file once.
int to_remote_ptz(const viewgeo_context *ctx, SubviewLens &lens, std::int32_t *pan, std::int32_t *tilt,
                  std::int32_t x, std::int32_t y);

// Angular width across `width` pixels around (x, y), as
// viewgeo_to_remote_zoom().
std::int32_t to_remote_zoom(const viewgeo_context *ctx, std::int32_t x, std::int32_t y, std::int32_t width);

}  // namespace viewgeo
