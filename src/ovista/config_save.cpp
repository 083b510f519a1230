// Writing a context to the overview configuration file, atomically: under
// the lock of the target's directory, the text goes to a ".tmp" sibling, is
// synced, renamed over the target, and the directory is synced so that the
// rename survives a power cut.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ovista/config.h"
#include "platform/fs.h"
#include "platform/last_error.h"
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

// What each failure code of a save means, for viewgeo_last_error().
const char *step_of(int code) {
    switch (code) {
    case -1: return "allocate name for";
    case -2: return "create";
    case -3: return "write";
    case -4: return "fsync";
    case -5: return "close";
    case -6: return "chmod";
    case -7: return "rename";
    case -8: return "open directory of";
    case -9: return "fsync directory of";
    default: return "close directory of";
    }
}

// Logs the failed step with the errno it left, frees the name, gives -1.
int fail(const char *path, int code, char *tmp) {
    // The temporary file is what the steps up to the rename act on.
    platform::set_last_error(step_of(code), code <= -2 && code >= -7 && tmp != nullptr ? tmp : path);
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

namespace {

// A group header, "[name]"; -1 (logged with `message`) when it fails.
int save_header(std::FILE *stream, const char *group, const char *message) {
    if (fs::print(stream, "[%s]\n", group) < 0) {
        platform::log_error("%s", message);
        return -1;
    }
    return 0;
}

// The float lines of `keys` in table order; minus the failed lines.
template <class Object, class Key, std::size_t N>
int save_floats(std::FILE *stream, const Object &object, const Key (&keys)[N]) {
    int count = 0;
    for (const Key &k : keys) count += save_ovista_float(stream, k.key, object.*k.field);
    return count;
}

}  // namespace

int save_ovista_common(const viewgeo_ovista_context *ctx, std::FILE *stream) {
    int count = save_header(stream, kOvistaCommonGroup, "Failed to print common group header to config.");
    count += save_floats(stream, *ctx, kOvistaCommonKeys);
    return count;
}

int save_ovista_lens(const viewgeo_ovista_context *ctx, std::FILE *stream) {
    int count = save_header(stream, kOvistaLensGroup, "Failed to print lens group header to config.");
    count += save_floats(stream, *ctx, kOvistaLensKeys);
    return count;
}

int save_ovista_compensator(const viewgeo_ovista_compensator *comp, const char *group, std::FILE *stream) {
    int count = save_header(stream, group, "Failed to print compensator group header to config.");
    if (fs::print(stream, "%s = %d\n", kOvistaTypeKey, static_cast<int>(comp->type)) < 0) {
        platform::log_error("Failed to print compensator type to config.");
        // Sets rather than adds, so a failed header and type count once;
        // kept, the code in the log has always been computed this way.
        count = -1;
    }
    count += save_floats(stream, *comp, kOvistaCoefficientKeys);
    return count;
}

namespace {

int save_locked(const viewgeo_ovista_context *ctx, const char *path) {
    char *tmp = temp_name(path);
    if (tmp == nullptr) return fail(path, -1, tmp);

    std::FILE *file = fs::fopen_new_for_write(tmp);
    if (file == nullptr) return fail(path, -2, tmp);

    // Every group is written even after a failed line; the counts decide
    // the result once the file is in place.
    int printed = 0;
    printed += save_ovista_common(ctx, file);
    printed += save_ovista_lens(ctx, file);
    for (const OvistaCompensatorGroup &g : kOvistaCompensatorGroups) {
        printed += save_ovista_compensator(&(ctx->*g.compensator), g.name, file);
    }

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

    std::string dir_name;
    if (fs::dirname(tmp, dir_name) != 0) return fail(path, -8, tmp);
    const int dir = fs::open_dir(dir_name.c_str());
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
        platform::set_last_error("write", path, "a line could not be printed");
        platform::log_error(kSaveFailed, path, errno, printed);
        return -1;
    }
    return 0;
}

// Holds the lock of a target's directory for the whole of a rewrite, so
// writers in other threads and processes wait for it. A directory that
// does not exist cannot be locked and needs no lock: the write then fails
// at its own step, as it always has.
class DirectoryLock {
public:
    explicit DirectoryLock(const char *target) {
        std::string dir;
        if (fs::dirname(target, dir) != 0) {
            failed_ = true;
            platform::set_last_error("lock directory of", target);
            return;
        }
        fd_ = fs::lock_dir(dir.c_str());
        if (fd_ < 0 && errno != ENOENT) {
            failed_ = true;
            platform::set_last_error("lock", dir.c_str());
        }
    }
    ~DirectoryLock() { fs::unlock_dir(fd_); }
    DirectoryLock(const DirectoryLock &) = delete;
    DirectoryLock &operator=(const DirectoryLock &) = delete;
    bool failed() const { return failed_; }

private:
    int fd_ = -1;
    bool failed_ = false;
};

// A lock that cannot be taken fails the write as if the temporary file
// could not be created (code -2), with the lock's errno.
int lock_failed(const char *path) {
    platform::log_error(kSaveFailed, path, errno, -2);
    return -1;
}

}  // namespace

int save_ovista_conf(const viewgeo_ovista_context *ctx, const char *path) {
    platform::clear_last_error();
    const DirectoryLock lock(path);
    if (lock.failed()) return lock_failed(path);
    return save_locked(ctx, path);
}

int restore_ovista_conf(viewgeo_ovista_context **ctx) {
    const char *path = platform::kOvistaConfigPath;
    platform::clear_last_error();
    // One lock for the read of the backup and the write of the working file:
    // both lie in the same directory.
    const DirectoryLock lock(path);
    if (lock.failed()) return lock_failed(path);
    // A missing backup is no error: the context and the working file then go
    // back to the defaults, on purpose. A backup whose status cannot be
    // queried may well be there, so the defaults would overwrite a working
    // calibration with values nobody chose: that restore fails instead.
    if (platform::fs::presence(platform::kOvistaBackupPath) == platform::fs::Presence::unknown) {
        platform::log_error(kOvistaLoadFailed, platform::kOvistaBackupPath);
        return -1;
    }
    viewgeo_ovista_context *restored = nullptr;
    load_ovista_conf(&restored, platform::kOvistaBackupPath);
    if (restored == nullptr) return -1;
    const int saved = save_locked(restored, path);
    // The caller gets the restored values even when the file kept the old.
    std::free(*ctx);
    *ctx = restored;
    return saved;
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
