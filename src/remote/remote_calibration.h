// The per-channel calibration of the remote camera in
// /etc/viewgeo/remoteptz.conf: the reader shared by the remote functions,
// the writer, and the rule both use to tell which group names a channel.
#pragma once

#include <string_view>

#include "platform/value_scan.h"
#include "viewgeo.h"

namespace viewgeo {

// Reads the four keys of the channel's groups (every group
// group_names_channel() takes for it). 1 when all four were read, 0
// otherwise (outputs already read stay written). A channel whose canonical
// group name "channel_<channel>" needs 15 characters or more gives 1 at once
// without reading the file or touching the outputs; kept as callers of
// stored calibrations expect it. Keeps no state between calls: any number of
// threads may read at once.
int load_remote_channel(int channel, float *center_pan, float *center_tilt, int *calibration_status,
                        int *auto_calibrated);

// viewgeo_get_remote_center() and viewgeo_get_remote_calibrated().
int get_remote_center(viewgeo_context *ctx, int channel);
viewgeo_remote_calibration *get_remote_calibrated(int channel);

// Rewrites the file with the channel's centre and flags; 0 or -1, as
// viewgeo_set_remote_center().
int set_remote_center(int channel, float center_pan, float center_tilt, int calibration_status, int auto_calibrated);

// True when the group `name` (brackets and surrounding blanks removed) is
// one of the channel's: "channel_" then a number scanned as an integer
// (blanks and a sign allowed, saturated to the int range), whatever follows
// it, so "channel_01" and "channel_1x" both name channel 1. The writer and
// the readers both judge groups with this.
bool group_names_channel(std::string_view name, int channel);

#ifdef VIEWGEO_TEST_SEAM
// Test build only: the next rewrite runs out of memory while it reads the
// old file.
void fail_next_remote_store_allocation();
#endif

}  // namespace viewgeo
