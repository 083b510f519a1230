#include "misalign/misalignment_loader.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "misalign/misalignment_text.h"
#include "platform/fs.h"
#include "platform/inikit.h"
#include "platform/log.h"
#include "platform/paths.h"

namespace viewgeo {
namespace {

constexpr const char *kLoadFailed = "Failed to load misalignment data at %s.";

bool optical_text_scans(const char *text) {
    return for_each_optical_piece(text, [](std::string_view piece_view) {
        const std::string piece(piece_view);
        float zoom;
        int pan;
        int tilt;
        return scan_optical_piece(piece.c_str(), &zoom, &pan, &tilt);
    });
}

// Replaces an owned C string of the context with a copy of `text`.
bool replace_text(char *&field, const std::string &text) {
    char *copy = strdup(text.c_str());
    if (copy == nullptr) return false;
    std::free(field);
    field = copy;
    return true;
}

struct FileContents {
    bool valid = true;
    std::optional<std::string> mechanical;
    std::optional<std::string> optical;
    int pan_steps = 0;
    int tilt_steps = 0;
};

void take_entry(const inikit_entry &entry, FileContents &out) {
    const char *key = entry.key;
    const char *value = entry.value;
    if (std::strcmp(key, "PTZCAL_MECH_OFFSET") == 0) {
        if (value[0] == '\0') return;
        int pan;
        int tilt;
        if (scan_mechanical_offset(value, &pan, &tilt)) {
            out.mechanical = value;
        } else {
            out.valid = false;
        }
    } else if (std::strcmp(key, "PTZCAL_OPT_OFFSET") == 0) {
        if (value[0] == '\0') return;
        if (optical_text_scans(value)) {
            out.optical = value;
        } else {
            out.valid = false;
        }
    } else if (std::strcmp(key, "PAN_ROTATION_STEPS") == 0) {
        if (std::sscanf(value, "%d", &out.pan_steps) != 1) out.valid = false;
    } else if (std::strcmp(key, "TILT_ROTATION_STEPS") == 0) {
        if (std::sscanf(value, "%d", &out.tilt_steps) != 1) out.valid = false;
    }
}

}  // namespace

void load_misalignment_data(viewgeo_context *ctx) {
    const char *path = platform::kMisalignmentDataPath;
    // Missing: nothing changes, and the next offset query looks again.
    if (!platform::fs::exists(path)) return;

    ctx->mo_state = 1;
    inikit *parser = inikit_new();
    if (parser == nullptr || !inikit_load_cfg(parser, path)) {
        inikit_free(parser);
        platform::log_error(kLoadFailed, path);
        ctx->mo_state = 2;
        return;
    }
    FileContents contents;
    while (const inikit_entry *entry = inikit_get_next_cfg(parser)) {
        if (entry->value == nullptr) continue;
        take_entry(*entry, contents);
    }
    inikit_free(parser);
    // A warning only: whatever was valid is still used.
    if (!contents.valid) platform::log_error(kLoadFailed, path);

    if (!contents.mechanical && !contents.optical) {
        ctx->mo_state = 2;
        return;
    }
    const std::string optical = contents.optical.value_or("1,0,0;100,0,0");
    const std::string mechanical = contents.mechanical.value_or("0,0");
    if (!replace_text(ctx->mo_opt_offset, optical) || !replace_text(ctx->mo_mech_offset, mechanical)) {
        ctx->mo_state = 2;
        return;
    }
    ctx->pan_rotation_steps = static_cast<std::uint32_t>(contents.pan_steps);
    ctx->tilt_rotation_steps = static_cast<std::uint32_t>(contents.tilt_steps);
    // A text that does not compile leaves an empty table; mo_state stays 1 and
    // the offset query then gives zero offsets.
    viewgeo_set_misalignment_data(ctx);
}

}  // namespace viewgeo
