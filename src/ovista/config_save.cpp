// Writing a context to the overview configuration file, atomically: the
// text goes to a ".tmp" sibling, is synced, renamed over the target, and
// the directory is synced so that the rename survives a power cut.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <libgen.h>

#include "ovista/config.h"
#include "platform/fs.h"
#include "platform/log.h"
#include "platform/paths.h"

namespace viewgeo {
namespace fs = platform::fs;

namespace {

constexpr const char *kSaveFailed = "Failed to save viewgeo_ovista_context at %s, error code: %d/%d";
constexpr const char *kTempSuffix = ".tmp";

#ifdef VIEWGEO_TEST_SEAM
bool fail_name_allocation = false;
#endif

// `path` plus ".tmp" in a malloc'ed buffer, or null without memory.
char *temp_name(const char *path) {
#ifdef VIEWGEO_TEST_SEAM
    if (fail_name_allocation) {
        fail_name_allocation = false;
        errno = ENOMEM;
        return nullptr;
    }
#endif
    const std::size_t length = std::strlen(path);
    auto *name = static_cast<char *>(std::malloc(length + std::strlen(kTempSuffix) + 1));
    if (name == nullptr) return nullptr;
    std::memcpy(name, path, length);
    std::strcpy(name + length, kTempSuffix);
    return name;
}

// Logs the failed step with the errno it left, frees the name, gives -1.
int fail(const char *path, int code, char *tmp) {
    platform::log_error(kSaveFailed, path, errno, code);
    std::free(tmp);
    return -1;
}

// Closes a stream after a failed step without losing that step's errno.
void close_keeping_errno(std::FILE *file) {
    const int saved = errno;
    fs::fclose(file);
    errno = saved;
}

}  // namespace

#ifdef VIEWGEO_TEST_SEAM
void fail_next_temp_name_allocation() { fail_name_allocation = true; }
#endif

int save_ovista_float(std::FILE *stream, const char *key, float value) {
    if (fs::print(stream, "%s = %f\n", key, static_cast<double>(value)) < 0) {
        platform::log_error("Failed to print %s to config.", key);
        return -1;
    }
    return 0;
}

int save_ovista_common(const viewgeo_ovista_context *ctx, std::FILE *stream) {
    int count = 0;
    if (fs::print(stream, "[common]\n") < 0) {
        platform::log_error("Failed to print common group header to config.");
        count -= 1;
    }
    count += save_ovista_float(stream, "ovista_center_pan", ctx->center_pan);
    count += save_ovista_float(stream, "ovista_center_tilt", ctx->center_tilt);
    return count;
}

int save_ovista_lens(const viewgeo_ovista_context *ctx, std::FILE *stream) {
    int count = 0;
    if (fs::print(stream, "[lens_charac]\n") < 0) {
        platform::log_error("Failed to print lens group header to config.");
        count -= 1;
    }
    count += save_ovista_float(stream, "center_x", ctx->center_x);
    count += save_ovista_float(stream, "center_y", ctx->center_y);
    count += save_ovista_float(stream, "radius_x", ctx->radius_x);
    count += save_ovista_float(stream, "radius_y", ctx->radius_y);
    count += save_ovista_float(stream, "field_angle", ctx->field_angle);
    return count;
}

int save_ovista_compensator(const viewgeo_ovista_compensator *comp, const char *group, std::FILE *stream) {
    int count = 0;
    if (fs::print(stream, "[%s]\n", group) < 0) {
        platform::log_error("Failed to print compensator group header to config.");
        count -= 1;
    }
    if (fs::print(stream, "type = %d\n", static_cast<int>(comp->type)) < 0) {
        platform::log_error("Failed to print compensator type to config.");
        // Sets rather than adds, so a failed header and type count once;
        // kept, the code in the log has always been computed this way.
        count = -1;
    }
    count += save_ovista_float(stream, "A", comp->A);
    count += save_ovista_float(stream, "B", comp->B);
    count += save_ovista_float(stream, "C", comp->C);
    count += save_ovista_float(stream, "D", comp->D);
    return count;
}

int save_ovista_conf(const viewgeo_ovista_context *ctx, const char *path) {
    char *tmp = temp_name(path);
    if (tmp == nullptr) return fail(path, -1, tmp);

    std::FILE *file = fs::fopen_new_for_write(tmp);
    if (file == nullptr) return fail(path, -2, tmp);

    // Every group is written even after a failed line; the counts decide
    // the result once the file is in place.
    int printed = 0;
    printed += save_ovista_common(ctx, file);
    printed += save_ovista_lens(ctx, file);
    printed += save_ovista_compensator(&ctx->pan_comp, "pan_comp", file);
    printed += save_ovista_compensator(&ctx->tilt_comp, "tilt_comp", file);
    printed += save_ovista_compensator(&ctx->x_comp, "x_comp", file);
    printed += save_ovista_compensator(&ctx->y_comp, "y_comp", file);

    if (fs::fflush(file) != 0) {
        close_keeping_errno(file);
        return fail(path, -3, tmp);
    }
    if (fs::fsync(file) != 0) {
        close_keeping_errno(file);
        return fail(path, -4, tmp);
    }
    if (fs::fclose(file) != 0) return fail(path, -5, tmp);
    if (fs::chmod(tmp, 0664) != 0) return fail(path, -6, tmp);
    if (fs::rename(tmp, path) != 0) return fail(path, -7, tmp);

    // The name is no longer needed, so dirname may cut it in place.
    const int dir = fs::open_dir(::dirname(tmp));
    if (dir < 0) return fail(path, -8, tmp);
    if (fs::fsync_fd(dir) != 0) {
        const int saved = errno;
        fs::close_fd(dir);
        errno = saved;
        return fail(path, -9, tmp);
    }
    if (fs::close_fd(dir) != 0) return fail(path, -10, tmp);
    std::free(tmp);

    if (printed != 0) {
        platform::log_error(kSaveFailed, path, errno, printed);
        return -1;
    }
    return 0;
}

}  // namespace viewgeo

using namespace viewgeo;

extern "C" {

VIEWGEO_API int save_conf(const viewgeo_ovista_context *ctx, const char *path) { return save_ovista_conf(ctx, path); }

VIEWGEO_API int save_common_group(const viewgeo_ovista_context *ctx, FILE *stream) { return save_ovista_common(ctx, stream); }

VIEWGEO_API int save_lens_group(const viewgeo_ovista_context *ctx, FILE *stream) { return save_ovista_lens(ctx, stream); }

VIEWGEO_API int save_compensator(const viewgeo_ovista_compensator *comp, const char *group, FILE *stream) {
    return save_ovista_compensator(comp, group, stream);
}

VIEWGEO_API int save_float(FILE *stream, const char *key, float value) { return save_ovista_float(stream, key, value); }

VIEWGEO_API int viewgeo_ovista_context_save(const viewgeo_ovista_context *ctx) {
    return save_ovista_conf(ctx, platform::kOvistaConfigPath);
}

VIEWGEO_API int viewgeo_ovista_context_backup(const viewgeo_ovista_context *ctx) {
    return save_ovista_conf(ctx, platform::kOvistaBackupPath);
}

}  // extern "C"
