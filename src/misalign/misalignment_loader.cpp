#include "misalign/misalignment_loader.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "misalign/misalignment_table.h"
#include "misalign/misalignment_text.h"
#include "platform/fs.h"
#include "platform/inikit.h"
#include "platform/last_error.h"
#include "platform/log.h"
#include "platform/paths.h"
#include "platform/value_scan.h"

namespace viewgeo {
namespace {

constexpr const char *kLoadFailed = "Failed to load misalignment data at %s.";
// What a file without one of the two texts stands for: no optical offset
// between zoom 1 and zoom 100, no mechanical offset.
constexpr const char *kDefaultOptical = "1,0,0;100,0,0";
constexpr const char *kDefaultMechanical = "0,0";

struct FreeText {
    void operator()(char *text) const { std::free(text); }
};
using OwnedText = std::unique_ptr<char, FreeText>;

// What the file says. No exceptions: the loader runs inside C entry points,
// so a copy that fails is recorded rather than thrown.
struct FileContents {
    bool valid = true;
    bool out_of_memory = false;
    OwnedText mechanical;
    OwnedText optical;
    int pan_steps = 0;
    int tilt_steps = 0;
};

void keep_copy(OwnedText &field, const char *value, FileContents &out) {
    char *copy = strdup(value);
    if (copy == nullptr) {
        out.out_of_memory = true;
        return;
    }
    field.reset(copy);  // a later occurrence replaces an earlier one
}

void take_entry(const inikit_entry &entry, FileContents &out) {
    const char *key = entry.key;
    const char *value = entry.value;
    if (std::strcmp(key, "PTZCAL_MECH_OFFSET") == 0) {
        if (value[0] == '\0') return;
        int pan;
        int tilt;
        if (scan_mechanical_offset(value, &pan, &tilt)) {
            keep_copy(out.mechanical, value, out);
        } else {
            out.valid = false;
        }
    } else if (std::strcmp(key, "PTZCAL_OPT_OFFSET") == 0) {
        if (value[0] == '\0') return;
        if (optical_text_scans(value)) {
            keep_copy(out.optical, value, out);
        } else {
            out.valid = false;
        }
    } else if (std::strcmp(key, "PAN_ROTATION_STEPS") == 0) {
        if (!scan_int(value, &out.pan_steps)) out.valid = false;
    } else if (std::strcmp(key, "TILT_ROTATION_STEPS") == 0) {
        if (!scan_int(value, &out.tilt_steps)) out.valid = false;
    }
}

// Replaces an owned C string of the context with a copy of `text`.
bool replace_text(char *&field, const char *text) {
    char *copy = strdup(text);
    if (copy == nullptr) return false;
    std::free(field);
    field = copy;
    return true;
}

}  // namespace

void load_misalignment_data(viewgeo_context *ctx) {
    const char *path = platform::kMisalignmentDataPath;
    platform::clear_last_error();
    // Missing: nothing changes, and the next offset query looks again. A
    // status query that fails for another reason counts as missing too (as
    // it always did), with the reason recorded.
    if (!platform::fs::present(path)) return;

    ctx->mo_state = 1;
    FileContents contents;
    {
        const InikitHandle parser(inikit_new());
        if (parser == nullptr || !inikit_load_cfg(parser.get(), path)) {
            platform::set_last_error("read", path);
            platform::log_error(kLoadFailed, path);
            ctx->mo_state = 2;
            return;
        }
        while (const inikit_entry *entry = inikit_get_next_cfg(parser.get())) {
            if (entry->value == nullptr) continue;
            take_entry(*entry, contents);
        }
    }
    // A warning only: whatever was valid is still used.
    if (!contents.valid) platform::log_error(kLoadFailed, path);

    if (contents.out_of_memory || (!contents.mechanical && !contents.optical)) {
        ctx->mo_state = 2;
        return;
    }
    const char *optical = contents.optical ? contents.optical.get() : kDefaultOptical;
    const char *mechanical = contents.mechanical ? contents.mechanical.get() : kDefaultMechanical;
    if (!replace_text(ctx->mo_opt_offset, optical) || !replace_text(ctx->mo_mech_offset, mechanical)) {
        ctx->mo_state = 2;
        return;
    }
    ctx->pan_rotation_steps = static_cast<std::uint32_t>(contents.pan_steps);
    ctx->tilt_rotation_steps = static_cast<std::uint32_t>(contents.tilt_steps);
    // A text that does not compile leaves an empty table; mo_state stays 1 and
    // the offset query then gives zero offsets.
    set_misalignment_data(*ctx);
}

}  // namespace viewgeo
