// Reading the overview configuration file into a context.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ovista/config.h"
#include "ovista/context.h"
#include "platform/fs.h"
#include "platform/inikit.h"
#include "platform/log.h"

namespace viewgeo {
namespace {

// A float as "%f" reads it: the longest leading number (blanks skipped,
// also "nan", "inf", hexadecimal). Huge values become +-inf, never undefined.
bool read_float(const char *value, float *out) {
    if (value == nullptr) return false;
    char *end = nullptr;
    const int saved = errno;
    const float v = std::strtof(value, &end);
    errno = saved;
    if (end == value) return false;
    *out = v;
    return true;
}

// An integer as "%d" reads it into a value that starts at 0: text that does
// not convert gives 0; out-of-range text saturates instead of overflowing.
std::int32_t read_type(const char *value) {
    if (value == nullptr) return 0;
    char *end = nullptr;
    const int saved = errno;
    const long long v = std::strtoll(value, &end, 10);
    errno = saved;
    if (end == value) return 0;
    if (v > INT32_MAX) return INT32_MAX;
    if (v < INT32_MIN) return INT32_MIN;
    return static_cast<std::int32_t>(v);
}

bool is(const char *key, const char *name) { return std::strcmp(key, name) == 0; }

// A float field of the context and its key in the file.
struct NamedField {
    const char *name;
    float *field;
};
// Reads `value` into the field `key` names; other keys are ignored.
template <std::size_t N>
void take_float(const NamedField (&fields)[N], const char *key, const char *value) {
    for (const NamedField &f : fields) {
        if (is(key, f.name)) {
            read_float(value, f.field);
            return;
        }
    }
}

}  // namespace

void load_ovista_common(viewgeo_ovista_context *ctx, const char *key, const char *value) {
    const NamedField fields[] = {{"ovista_center_pan", &ctx->center_pan}, {"ovista_center_tilt", &ctx->center_tilt}};
    take_float(fields, key, value);
}

void load_ovista_lens(viewgeo_ovista_context *ctx, const char *key, const char *value) {
    const NamedField fields[] = {{"center_x", &ctx->center_x},
                                 {"center_y", &ctx->center_y},
                                 {"radius_x", &ctx->radius_x},
                                 {"radius_y", &ctx->radius_y},
                                 {"field_angle", &ctx->field_angle}};
    take_float(fields, key, value);
}

void load_ovista_compensator(viewgeo_ovista_compensator *comp, const char *key, const char *value) {
    if (is(key, "type")) {
        comp->type = read_type(value);
        return;
    }
    const NamedField fields[] = {{"A", &comp->A}, {"B", &comp->B}, {"C", &comp->C}, {"D", &comp->D}};
    take_float(fields, key, value);
}

namespace {

// Hands one entry to the loader of its group; other groups are skipped.
void take_entry(viewgeo_ovista_context *ctx, const inikit_entry &entry) {
    const char *group = entry.group;
    if (is(group, "common")) {
        load_ovista_common(ctx, entry.key, entry.value);
    } else if (is(group, "lens_charac")) {
        load_ovista_lens(ctx, entry.key, entry.value);
    } else if (is(group, "pan_comp")) {
        load_ovista_compensator(&ctx->pan_comp, entry.key, entry.value);
    } else if (is(group, "tilt_comp")) {
        load_ovista_compensator(&ctx->tilt_comp, entry.key, entry.value);
    } else if (is(group, "x_comp")) {
        load_ovista_compensator(&ctx->x_comp, entry.key, entry.value);
    } else if (is(group, "y_comp")) {
        load_ovista_compensator(&ctx->y_comp, entry.key, entry.value);
    }
}

}  // namespace

void load_ovista_conf(viewgeo_ovista_context **ctx, const char *path) {
    if (*ctx == nullptr) {
        *ctx = static_cast<viewgeo_ovista_context *>(std::malloc(sizeof(viewgeo_ovista_context)));
        if (*ctx == nullptr) return;
    }
    set_context_to_default(*ctx);
    // No file is no error: the context keeps its defaults.
    if (!platform::fs::exists(path)) return;
    if (!inikit_opencfg(path)) {
        std::free(*ctx);
        *ctx = nullptr;
        platform::log_error("Failed to load viewgeo_ovista_context at %s.", path);
        return;
    }
    while (const inikit_entry *entry = inikit_getcfg()) take_entry(*ctx, *entry);
    inikit_closecfg();
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_API int file_exists(const char *path) { return platform::fs::exists(path) ? 1 : 0; }

VIEWGEO_API void load_conf(viewgeo_ovista_context **ctx, const char *path) { load_ovista_conf(ctx, path); }

VIEWGEO_API void load_common_group(viewgeo_ovista_context *ctx, const char *key, const char *value) {
    load_ovista_common(ctx, key, value);
}

VIEWGEO_API void load_lens_group(viewgeo_ovista_context *ctx, const char *key, const char *value) {
    load_ovista_lens(ctx, key, value);
}

VIEWGEO_API void load_compensator(viewgeo_ovista_compensator *comp, const char *key, const char *value) {
    load_ovista_compensator(comp, key, value);
}

}  // extern "C"
