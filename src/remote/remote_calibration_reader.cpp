// Reading a channel's remote calibration: the group reader and the two
// public queries built on it.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/fs.h"
#include "platform/inikit.h"
#include "platform/paths.h"
#include "remote/remote_calibration.h"
#include "viewgeo.h"

namespace viewgeo {

namespace {
// "channel_" and at most six characters of number.
constexpr std::size_t kGroupNameSize = 15;
}  // namespace

int load_remote_channel(int channel, float *center_pan, float *center_tilt, int *calibration_status,
                        int *auto_calibrated) {
    char group[kGroupNameSize];
    const int needed = std::snprintf(group, sizeof group, "channel_%d", channel);
    // A name that does not fit reports "found" without reading anything;
    // kept as it is for compatibility with existing callers.
    if (needed < 0 || static_cast<std::size_t>(needed) >= sizeof group) return 1;

    if (!inikit_opencfg(platform::kRemoteConfigPath)) return 0;
    bool have_pan = false;
    bool have_tilt = false;
    bool have_status = false;
    bool have_auto = false;
    while (const inikit_entry *entry = inikit_getcfg()) {
        if (entry->group == nullptr || entry->key == nullptr) continue;
        if (std::strcmp(entry->group, group) != 0) continue;
        const char *key = entry->key;
        if (std::strcmp(key, "center_pan") == 0) {
            if (scan_float(entry->value, center_pan)) have_pan = true;
        } else if (std::strcmp(key, "center_tilt") == 0) {
            if (scan_float(entry->value, center_tilt)) have_tilt = true;
        } else if (std::strcmp(key, "calibration_status") == 0) {
            if (scan_int(entry->value, calibration_status)) have_status = true;
        } else if (std::strcmp(key, "auto_calibrated") == 0) {
            if (scan_int(entry->value, auto_calibrated)) have_auto = true;
        }
        if (have_pan && have_tilt && have_status && have_auto) {
            inikit_closecfg();
            return 1;
        }
    }
    inikit_closecfg();
    return 0;
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_API int viewgeo_get_remote_center(viewgeo_context *ctx, int channel) {
    struct stat st;
    if (platform::fs::stat(platform::kRemoteConfigPath, &st) != 0) return -1;
    // Start at 0: a channel without a group name reports success unread.
    float pan = 0.0f;
    float tilt = 0.0f;
    int status = 0;
    int automatic = 0;
    if (load_remote_channel(channel, &pan, &tilt, &status, &automatic) == 0) return -1;
    viewgeo_set_pantilt_f(ctx, pan, tilt);
    return 0;
}

VIEWGEO_API viewgeo_remote_calibration *viewgeo_get_remote_calibrated(int channel) {
    struct stat st;
    if (platform::fs::stat(platform::kRemoteConfigPath, &st) != 0) return nullptr;
    float pan = 0.0f;
    float tilt = 0.0f;
    int status = 0;
    int automatic = 0;
    if (load_remote_channel(channel, &pan, &tilt, &status, &automatic) == 0) return nullptr;
    auto *record = static_cast<viewgeo_remote_calibration *>(std::malloc(sizeof(viewgeo_remote_calibration)));
    if (record == nullptr) return nullptr;
    record->calibration_status = status;
    record->auto_calibrated = automatic;
    return record;
}

}  // extern "C"
