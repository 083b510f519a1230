// Reading and writing the overview configuration file: the internals behind
// load_conf, save_conf and their group helpers, and the one table of the
// file's groups and keys that both directions use.
#pragma once

#include <cstdio>

#include "viewgeo.h"

namespace viewgeo {

// A float field of the context and its key.
struct OvistaContextKey {
    const char *key;
    float viewgeo_ovista_context::*field;
};
// A float coefficient of a compensator and its key.
struct OvistaCompensatorKey {
    const char *key;
    float viewgeo_ovista_compensator::*field;
};
// A compensator group and the compensator it holds.
struct OvistaCompensatorGroup {
    const char *name;
    viewgeo_ovista_compensator viewgeo_ovista_context::*compensator;
};

// The file, in the order it is written: "[common]", "[lens_charac]", then
// the four compensator groups, each "type" (an integer) then A to D.
inline constexpr const char *kOvistaCommonGroup = "common";
inline constexpr OvistaContextKey kOvistaCommonKeys[] = {
    {"ovista_center_pan", &viewgeo_ovista_context::center_pan},
    {"ovista_center_tilt", &viewgeo_ovista_context::center_tilt},
};
inline constexpr const char *kOvistaLensGroup = "lens_charac";
inline constexpr OvistaContextKey kOvistaLensKeys[] = {
    {"center_x", &viewgeo_ovista_context::center_x},       {"center_y", &viewgeo_ovista_context::center_y},
    {"radius_x", &viewgeo_ovista_context::radius_x},       {"radius_y", &viewgeo_ovista_context::radius_y},
    {"field_angle", &viewgeo_ovista_context::field_angle},
};
inline constexpr const char *kOvistaTypeKey = "type";
inline constexpr OvistaCompensatorKey kOvistaCoefficientKeys[] = {
    {"A", &viewgeo_ovista_compensator::A},
    {"B", &viewgeo_ovista_compensator::B},
    {"C", &viewgeo_ovista_compensator::C},
    {"D", &viewgeo_ovista_compensator::D},
};
inline constexpr OvistaCompensatorGroup kOvistaCompensatorGroups[] = {
    {"pan_comp", &viewgeo_ovista_context::pan_comp},
    {"tilt_comp", &viewgeo_ovista_context::tilt_comp},
    {"x_comp", &viewgeo_ovista_context::x_comp},
    {"y_comp", &viewgeo_ovista_context::y_comp},
};

// The log line of a file that could not be loaded (its path).
inline constexpr const char *kOvistaLoadFailed = "Failed to load viewgeo_ovista_context at %s.";

void load_ovista_conf(viewgeo_ovista_context **ctx, const char *path);
void load_ovista_common(viewgeo_ovista_context *ctx, const char *key, const char *value);
void load_ovista_lens(viewgeo_ovista_context *ctx, const char *key, const char *value);
void load_ovista_compensator(viewgeo_ovista_compensator *comp, const char *key, const char *value);

// Writes the context to `path` under the lock of its directory.
int save_ovista_conf(const viewgeo_ovista_context *ctx, const char *path);
int save_ovista_common(const viewgeo_ovista_context *ctx, std::FILE *stream);
int save_ovista_lens(const viewgeo_ovista_context *ctx, std::FILE *stream);
int save_ovista_compensator(const viewgeo_ovista_compensator *comp, const char *group, std::FILE *stream);
int save_ovista_float(std::FILE *stream, const char *key, float value);

// viewgeo_ovista_context_restore().
int restore_ovista_conf(viewgeo_ovista_context **ctx);

#ifdef VIEWGEO_TEST_SEAM
// Test build only: the next save finds no memory for its temporary name.
void fail_next_temp_name_allocation();
#endif

}  // namespace viewgeo
