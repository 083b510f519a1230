// Reading and writing the overview configuration file: the internals behind
// load_conf, save_conf and their group helpers.
#pragma once

#include <cstdio>

#include "viewgeo.h"

namespace viewgeo {

void load_ovista_conf(viewgeo_ovista_context **ctx, const char *path);
void load_ovista_common(viewgeo_ovista_context *ctx, const char *key, const char *value);
void load_ovista_lens(viewgeo_ovista_context *ctx, const char *key, const char *value);
void load_ovista_compensator(viewgeo_ovista_compensator *comp, const char *key, const char *value);

int save_ovista_conf(const viewgeo_ovista_context *ctx, const char *path);
int save_ovista_common(const viewgeo_ovista_context *ctx, std::FILE *stream);
int save_ovista_lens(const viewgeo_ovista_context *ctx, std::FILE *stream);
int save_ovista_compensator(const viewgeo_ovista_compensator *comp, const char *group, std::FILE *stream);
int save_ovista_float(std::FILE *stream, const char *key, float value);

#ifdef VIEWGEO_TEST_SEAM
// Test build only: the next save finds no memory for its temporary name.
void fail_next_temp_name_allocation();
#endif

}  // namespace viewgeo
