#include "platform/fs.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <csignal>
#include <fcntl.h>
#include <libgen.h>
#include <new>
#include <string>
#include <sys/file.h>
#include <unistd.h>

#include "platform/last_error.h"
#include "platform/paths.h"

namespace viewgeo::platform::fs {

#ifdef VIEWGEO_TEST_SEAM

namespace {
struct Injection {
    bool armed = false;
    int err = 0;
    int skip = 0;
};
constexpr int kOpCount = static_cast<int>(Op::LockDir) + 1;
Injection injections[kOpCount];
// Atomic: tests read configurations from several threads at once.
std::atomic<int> calls_counted = 0;
std::atomic<int> kill_at = 0;
thread_local std::vector<Op> calls_traced;

// True when this call of `op` is to fail; errno is then set. Every call of
// the layer passes here first, so this is also where a call is counted and
// where an armed kill happens.
bool should_fail(Op op) {
    const int call = ++calls_counted;
    if (kill_at > 0 && call == kill_at) std::raise(SIGKILL);
    if (op != Op::Ferror) calls_traced.push_back(op);
    Injection &inj = injections[static_cast<int>(op)];
    if (!inj.armed) return false;
    if (inj.skip > 0) {
        --inj.skip;
        return false;
    }
    inj.armed = false;
    errno = inj.err;
    return true;
}
}  // namespace

void inject_failure(Op op, int err, int skip) { injections[static_cast<int>(op)] = {true, err, skip}; }

void clear_failures() {
    for (Injection &inj : injections) inj = {};
}

void kill_at_call(int n) {
    kill_at = n;
    calls_counted = 0;
}

int calls_made() { return calls_counted; }

void start_trace() { calls_traced.clear(); }

const std::vector<Op> &trace() { return calls_traced; }

#define VIEWGEO_FAIL_IF(op, result) \
    if (should_fail(op)) return result
#else
#define VIEWGEO_FAIL_IF(op, result) \
    do {                            \
    } while (0)
#endif

int stat(const char *path, struct stat *st) {
    VIEWGEO_FAIL_IF(Op::Stat, -1);
    return ::stat(ResolvedPath(path).c_str(), st);
}

bool exists(const char *path) {
    struct stat st;
    return fs::stat(path, &st) == 0;
}

Presence presence(const char *path) {
    struct stat st;
    if (fs::stat(path, &st) == 0) return Presence::present;
    if (errno == ENOENT) return Presence::missing;
    set_last_error("stat", path);
    return Presence::unknown;
}

bool present(const char *path) { return presence(path) == Presence::present; }

FILE *fopen(const char *path, const char *mode) {
    VIEWGEO_FAIL_IF(Op::Fopen, nullptr);
    return std::fopen(ResolvedPath(path).c_str(), mode);
}

namespace {
// Closes a descriptor that did not become a stream; null with errno `err`.
FILE *close_and_fail(int fd, int err) {
    ::close(fd);
    errno = err;
    return nullptr;
}
}  // namespace

FILE *fopen_new_for_write(const char *path) {
    VIEWGEO_FAIL_IF(Op::FopenNew, nullptr);
    // Whatever another process left at the path is checked before anything
    // is cut: a symbolic link is not followed, a FIFO does not block the
    // open, a terminal does not become the caller's controlling terminal,
    // and a file with a second name (a hard link planted there) or anything
    // but a regular file is refused rather than truncated.
    const int fd =
        ::open(ResolvedPath(path).c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (fd < 0) return nullptr;
    auto fail = [fd](int err) { return close_and_fail(fd, err); };
    struct stat st;
    if (::fstat(fd, &st) != 0) return fail(errno);
    if (!S_ISREG(st.st_mode)) return fail(EINVAL);
    if (st.st_nlink != 1) return fail(EMLINK);
    if (::ftruncate(fd, 0) != 0) return fail(errno);
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags < 0 || ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) return fail(errno);
    FILE *file = ::fdopen(fd, "w");
    if (file == nullptr) return fail(errno);
    return file;
}

FILE *fopen_regular_for_read(const char *path, std::size_t limit) {
    VIEWGEO_FAIL_IF(Op::Fopen, nullptr);
    const int fd = ::open(ResolvedPath(path).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    auto fail = [fd](int err) { return close_and_fail(fd, err); };
    struct stat st;
    if (::fstat(fd, &st) != 0) return fail(errno);
    if (S_ISDIR(st.st_mode)) return fail(EISDIR);
    if (!S_ISREG(st.st_mode)) return fail(EINVAL);
    if (st.st_size < 0 || static_cast<std::size_t>(st.st_size) > limit) return fail(EFBIG);
    FILE *file = ::fdopen(fd, "r");
    if (file == nullptr) return fail(errno);
    return file;
}

char *fgets(char *buf, int size, FILE *file) {
    VIEWGEO_FAIL_IF(Op::Fgets, nullptr);
    return std::fgets(buf, size, file);
}

bool feof(FILE *file) { return std::feof(file) != 0; }

bool ferror(FILE *file) {
#ifdef VIEWGEO_TEST_SEAM
    if (should_fail(Op::Ferror)) return true;
#endif
    return std::ferror(file) != 0;
}

int fflush(FILE *file) {
    VIEWGEO_FAIL_IF(Op::Fflush, EOF);
    return std::fflush(file);
}

int fsync(FILE *file) {
    VIEWGEO_FAIL_IF(Op::Fsync, -1);
    return ::fsync(::fileno(file));
}

int fclose(FILE *file) {
#ifdef VIEWGEO_TEST_SEAM
    if (should_fail(Op::Fclose)) {
        const int saved = errno;
        std::fclose(file);  // release the stream all the same
        errno = saved;
        return EOF;
    }
#endif
    return std::fclose(file);
}

int write(FILE *file, const char *data, std::size_t size) {
    VIEWGEO_FAIL_IF(Op::Print, -1);
    return std::fwrite(data, 1, size, file) == size ? 0 : -1;
}

int print(FILE *file, const char *format, ...) {
    VIEWGEO_FAIL_IF(Op::Print, -1);
    va_list args;
    va_start(args, format);
    const int n = std::vfprintf(file, format, args);
    va_end(args);
    return n;
}

int chmod(const char *path, mode_t mode) {
    VIEWGEO_FAIL_IF(Op::Chmod, -1);
    return ::chmod(ResolvedPath(path).c_str(), mode);
}

int chown(const char *path, uid_t owner, gid_t group) {
    VIEWGEO_FAIL_IF(Op::Chown, -1);
    return ::chown(ResolvedPath(path).c_str(), owner, group);
}

int rename(const char *from, const char *to) {
    VIEWGEO_FAIL_IF(Op::Rename, -1);
    return std::rename(ResolvedPath(from).c_str(), ResolvedPath(to).c_str());
}

int unlink(const char *path) {
    VIEWGEO_FAIL_IF(Op::Unlink, -1);
    return ::unlink(ResolvedPath(path).c_str());
}

uid_t getuid() {
#ifdef VIEWGEO_TEST_SEAM
    should_fail(Op::Getuid);  // counted and traced; it cannot fail
#endif
    return ::getuid();
}

int dirname(const char *path, std::string &dir) {
    VIEWGEO_FAIL_IF(Op::Dirname, -1);
    try {
        std::string copy(path);  // dirname() may cut its argument in place
        dir = ::dirname(copy.data());
    } catch (const std::bad_alloc &) {
        errno = ENOMEM;
        return -1;
    }
    return 0;
}

int lock_dir(const char *path) {
    VIEWGEO_FAIL_IF(Op::LockDir, -1);
    const int fd = ::open(ResolvedPath(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return -1;
    while (::flock(fd, LOCK_EX) != 0) {
        if (errno == EINTR) continue;
        const int saved = errno;
        ::close(fd);
        errno = saved;
        return -1;
    }
    return fd;
}

void unlock_dir(int fd) {
    if (fd >= 0) ::close(fd);
}

int open_dir(const char *path) {
    VIEWGEO_FAIL_IF(Op::OpenDir, -1);
    return ::open(ResolvedPath(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

int fsync_fd(int fd) {
    VIEWGEO_FAIL_IF(Op::FsyncFd, -1);
    return ::fsync(fd);
}

int close_fd(int fd) {
#ifdef VIEWGEO_TEST_SEAM
    if (should_fail(Op::CloseFd)) {
        const int saved = errno;
        ::close(fd);
        errno = saved;
        return -1;
    }
#endif
    return ::close(fd);
}

namespace {

// Reads an open descriptor to its end into `text`. A regular file's size is
// known first, so one read of a byte more than that normally takes it all:
// getting exactly that many bytes back means the end was reached, without a
// further read that returns 0. Anything else (a file that grew or shrank, a
// device, a FIFO) is read until a read returns 0.
int read_to_end(int fd, std::size_t limit, bool regular_only, std::string &text) {
    struct stat st;
    if (::fstat(fd, &st) != 0) return -1;
    if (S_ISDIR(st.st_mode)) {
        errno = EISDIR;
        return -1;
    }
    const bool regular = S_ISREG(st.st_mode);
    if (regular_only && !regular) {
        errno = EINVAL;
        return -1;
    }
    const std::size_t expected = regular ? static_cast<std::size_t>(st.st_size) : 0;
    if (regular && (st.st_size < 0 || expected > limit)) {
        errno = EFBIG;
        return -1;
    }
    try {
        text.resize(expected + 1);
        std::size_t used = 0;
        for (;;) {
            if (used == text.size()) {
                if (used > limit) {
                    errno = EFBIG;
                    return -1;
                }
                text.resize(std::min(limit + 1, std::max<std::size_t>(2 * used, 4096)));
            }
            const ssize_t n = ::read(fd, text.data() + used, text.size() - used);
            if (n < 0) {
                if (errno == EINTR) continue;
                return -1;
            }
            if (n == 0) break;
            used += static_cast<std::size_t>(n);
            if (regular && used == expected) break;
        }
        text.resize(used);
    } catch (const std::bad_alloc &) {
        errno = ENOMEM;
        return -1;
    }
    return 0;
}

int read_whole(const char *path, std::size_t limit, bool regular_only, std::string &text) {
    const int flags = regular_only ? O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC : O_RDONLY | O_NOCTTY | O_CLOEXEC;
    const int fd = ::open(ResolvedPath(path).c_str(), flags);
    if (fd < 0) return -1;
    const int result = read_to_end(fd, limit, regular_only, text);
    const int saved = errno;
    ::close(fd);
    errno = saved;
    return result;
}

}  // namespace

int read_file(const char *path, std::size_t limit, std::string &text) {
    VIEWGEO_FAIL_IF(Op::ReadFile, -1);
    return read_whole(path, limit, false, text);
}

int read_regular_file(const char *path, std::size_t limit, std::string &text) {
    VIEWGEO_FAIL_IF(Op::ReadFile, -1);
    return read_whole(path, limit, true, text);
}

}  // namespace viewgeo::platform::fs
