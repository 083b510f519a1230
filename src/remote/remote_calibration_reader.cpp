// Reading a channel's remote calibration: the group reader and the two
// public queries built on it.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/context.h"
#include "platform/fs.h"
#include "platform/inikit.h"
#include "platform/last_error.h"
#include "platform/paths.h"
#include "remote/remote_calibration.h"
#include "viewgeo.h"

namespace viewgeo {

namespace {
// "channel_" and at most six characters of number.
constexpr std::size_t kGroupNameSize = 15;
constexpr std::string_view kChannelPrefix = "channel_";

// The file must be there; 0, or -1 with the reason recorded.
int check_store_exists() {
    struct stat st;
    if (platform::fs::stat(platform::kRemoteConfigPath, &st) == 0) return 0;
    platform::set_last_error("stat", platform::kRemoteConfigPath);
    return -1;
}

// The channel's centre and flags, as the two public queries need them; 0
// or -1.
int read_channel(int channel, float &pan, float &tilt, int &status, int &automatic) {
    platform::clear_last_error();
    if (check_store_exists() != 0) return -1;
    // Start at 0: a channel without a group name reports success unread.
    pan = 0.0f;
    tilt = 0.0f;
    status = 0;
    automatic = 0;
    return load_remote_channel(channel, &pan, &tilt, &status, &automatic) != 0 ? 0 : -1;
}

}  // namespace

bool group_names_channel(std::string_view name, int channel) {
    if (!name.starts_with(kChannelPrefix)) return false;
    const std::string number(name.substr(kChannelPrefix.size()));
    int scanned = 0;
    return scan_int(number.c_str(), &scanned) && scanned == channel;
}

int load_remote_channel(int channel, float *center_pan, float *center_tilt, int *calibration_status,
                        int *auto_calibrated) {
    char group[kGroupNameSize];
    const int needed = std::snprintf(group, sizeof group, "channel_%d", channel);
    // A name that does not fit reports "found" without reading anything;
    // kept as it is for compatibility with existing callers.
    if (needed < 0 || static_cast<std::size_t>(needed) >= sizeof group) return 1;

    platform::clear_last_error();
    const InikitHandle parser(inikit_new());
    if (parser == nullptr || !inikit_load_cfg(parser.get(), platform::kRemoteConfigPath)) {
        platform::set_last_error("read", platform::kRemoteConfigPath);
        return 0;
    }
    bool have_pan = false;
    bool have_tilt = false;
    bool have_status = false;
    bool have_auto = false;
    while (const inikit_entry *entry = inikit_get_next_cfg(parser.get())) {
        if (entry->group == nullptr || entry->key == nullptr) continue;
        if (!group_names_channel(entry->group, channel)) continue;
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
        if (have_pan && have_tilt && have_status && have_auto) return 1;
    }
    return 0;
}

int get_remote_center(viewgeo_context *ctx, int channel) {
    float pan;
    float tilt;
    int status;
    int automatic;
    if (read_channel(channel, pan, tilt, status, automatic) != 0) return -1;
    set_pantilt_f(*ctx, pan, tilt);
    return 0;
}

viewgeo_remote_calibration *get_remote_calibrated(int channel) {
    float pan;
    float tilt;
    int status;
    int automatic;
    if (read_channel(channel, pan, tilt, status, automatic) != 0) return nullptr;
    auto *record = static_cast<viewgeo_remote_calibration *>(std::malloc(sizeof(viewgeo_remote_calibration)));
    if (record == nullptr) return nullptr;
    record->calibration_status = status;
    record->auto_calibrated = automatic;
    return record;
}

}  // namespace viewgeo

extern "C" {

VIEWGEO_API int viewgeo_get_remote_center(viewgeo_context *ctx, int channel) {
    return viewgeo::get_remote_center(ctx, channel);
}

VIEWGEO_API viewgeo_remote_calibration *viewgeo_get_remote_calibrated(int channel) {
    return viewgeo::get_remote_calibrated(channel);
}

}  // extern "C"
