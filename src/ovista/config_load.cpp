// Reading the overview configuration file into a context.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ovista/config.h"
#include "ovista/context.h"
#include "platform/fs.h"
#include "platform/inikit.h"
#include "platform/last_error.h"
#include "platform/log.h"
#include "platform/value_scan.h"

namespace viewgeo {
namespace {

// An integer as "%d" reads it into a value that starts at 0: text that does
// not convert gives 0; out-of-range text saturates instead of overflowing.
std::int32_t read_type(const char *value) {
    int type = 0;
    scan_int(value, &type);
    return type;
}

bool is(const char *key, const char *name) { return std::strcmp(key, name) == 0; }

// Reads `value` into the field of `object` that `key` names in `keys`; other
// keys are ignored, and a value that does not convert leaves the field.
template <class Object, class Key, std::size_t N>
void take_float(Object &object, const Key (&keys)[N], const char *key, const char *value) {
    for (const Key &k : keys) {
        if (is(key, k.key)) {
            scan_float(value, &(object.*k.field));
            return;
        }
    }
}

}  // namespace

void load_ovista_common(viewgeo_ovista_context *ctx, const char *key, const char *value) {
    take_float(*ctx, kOvistaCommonKeys, key, value);
}

void load_ovista_lens(viewgeo_ovista_context *ctx, const char *key, const char *value) {
    take_float(*ctx, kOvistaLensKeys, key, value);
}

void load_ovista_compensator(viewgeo_ovista_compensator *comp, const char *key, const char *value) {
    if (is(key, kOvistaTypeKey)) {
        comp->type = read_type(value);
        return;
    }
    take_float(*comp, kOvistaCoefficientKeys, key, value);
}

namespace {

// Hands one entry to the loader of its group; other groups are skipped.
void take_entry(viewgeo_ovista_context *ctx, const inikit_entry &entry) {
    const char *group = entry.group;
    if (is(group, kOvistaCommonGroup)) {
        load_ovista_common(ctx, entry.key, entry.value);
        return;
    }
    if (is(group, kOvistaLensGroup)) {
        load_ovista_lens(ctx, entry.key, entry.value);
        return;
    }
    for (const OvistaCompensatorGroup &g : kOvistaCompensatorGroups) {
        if (is(group, g.name)) {
            load_ovista_compensator(&(ctx->*g.compensator), entry.key, entry.value);
            return;
        }
    }
}

}  // namespace

void load_ovista_conf(viewgeo_ovista_context **ctx, const char *path) {
    platform::clear_last_error();
    if (*ctx == nullptr) {
        *ctx = static_cast<viewgeo_ovista_context *>(std::malloc(sizeof(viewgeo_ovista_context)));
        if (*ctx == nullptr) return;
    }
    set_context_to_default(*ctx);
    // No file is no error: the context keeps its defaults. One whose status
    // cannot be queried is taken as missing too (as it always was), with
    // the reason recorded.
    if (!platform::fs::present(path)) return;
    const InikitHandle parser(inikit_new());
    if (parser == nullptr || !inikit_load_cfg(parser.get(), path)) {
        platform::set_last_error("read", path);
        std::free(*ctx);
        *ctx = nullptr;
        platform::log_error(kOvistaLoadFailed, path);
        return;
    }
    while (const inikit_entry *entry = inikit_get_next_cfg(parser.get())) take_entry(*ctx, *entry);
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
