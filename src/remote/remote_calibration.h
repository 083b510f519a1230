// The per-channel calibration of the remote camera in
// /etc/viewgeo/remoteptz.conf: the reader shared by the remote functions and
// the value scanners they use on the file's untrusted text.
#pragma once

namespace viewgeo {

// Reads the four keys of group "channel_<channel>". 1 when all four were
// read, 0 otherwise (outputs already read stay written). A channel whose
// group name needs 15 characters or more gives 1 at once without reading the
// file or touching the outputs; kept as callers of stored calibrations
// expect it. Uses the process-wide configuration cursor.
int load_remote_channel(int channel, float *center_pan, float *center_tilt, int *calibration_status,
                        int *auto_calibrated);

// Rewrites the file with the channel's centre and flags; 0 or -1, as
// viewgeo_set_remote_center().
int set_remote_center(int channel, float center_pan, float center_tilt, int calibration_status, int auto_calibrated);

// The "%f" and "%d" conversions of the file's values, defined for every
// input: false when nothing converts. An out-of-range integer is reduced the
// way the C library's "%d" stores it (the long result truncated to int).
bool scan_float(const char *text, float *out);
bool scan_int(const char *text, int *out);

}  // namespace viewgeo
