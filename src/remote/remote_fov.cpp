// The remote lens's field of view, stored in the calibration file.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <sys/stat.h>

#include "core/context.h"
#include "core/q16.h"
#include "platform/fs.h"
#include "platform/inikit.h"
#include "platform/last_error.h"
#include "platform/paths.h"
#include "remote/remote_calibration.h"
#include "viewgeo.h"

namespace viewgeo {

namespace {

// A vertical field of view a lens can have: finite and strictly between 0
// and 180 degrees. Anything else (nan, inf, 1e39, a negative angle) would
// turn into a meaningless Q16.16 word, so it counts as no value.
bool is_valid_vfov(float degrees) { return std::isfinite(degrees) && degrees > 0.0f && degrees < 180.0f; }

}  // namespace

int get_remote_fov(viewgeo_context *ctx) {
    platform::clear_last_error();
    // The 32-bit product, wrapping as it always has.
    const auto area = static_cast<std::uint32_t>(ctx->pic_width) * static_cast<std::uint32_t>(ctx->pic_height);
    if (area == 0) return -1;
    // A height that is a multiple of 65536 pixels wraps to 0 in Q16.16 and
    // could not be divided by below.
    if (pixels_to_q16(ctx->pic_height) == 0) return -1;
    struct stat st;
    if (platform::fs::stat(platform::kRemoteConfigPath, &st) != 0) {
        platform::set_last_error("stat", platform::kRemoteConfigPath);
        return -1;
    }
    const InikitHandle parser(inikit_new());
    if (parser == nullptr || !inikit_load_cfg(parser.get(), platform::kRemoteConfigPath)) {
        platform::set_last_error("read", platform::kRemoteConfigPath);
        return -1;
    }
    bool found = false;
    q16 vfov = 0;
    while (const inikit_entry *entry = inikit_get_next_cfg(parser.get())) {
        if (entry->group == nullptr || entry->key == nullptr) continue;
        if (std::strcmp(entry->group, "lens_fov") != 0 || std::strcmp(entry->key, "vfov") != 0) continue;
        float value = 0.0f;
        if (!scan_float(entry->value, &value) || !is_valid_vfov(value)) continue;
        vfov = q16_from_float(value);  // the last valid entry wins
        found = true;
    }
    if (!found) return -1;
    set_vert_fov(*ctx, vfov);
    // Scaled linearly by the aspect, not by the tangent rule: the remote
    // calibrations were made this way.
    const q16 aspect = q16_div(pixels_to_q16(ctx->pic_width), pixels_to_q16(ctx->pic_height));
    ctx->horiz_fov = q16_mul(vfov, aspect);
    return 0;
}

}  // namespace viewgeo

extern "C" VIEWGEO_API int viewgeo_get_remote_fov(viewgeo_context *ctx) { return viewgeo::get_remote_fov(ctx); }
