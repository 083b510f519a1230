// The file-system calls of the library, in one place. Every path given here
// is the logical absolute path (as in paths.h); it is resolved inside, so log
// messages name the logical path. The test build can make any call fail with
// a chosen errno, to test the writers' failure paths.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>
#include <sys/stat.h>
#include <sys/types.h>

namespace viewgeo::platform::fs {

// stat(); 0 on success.
int stat(const char *path, struct stat *st);
// True when a file-status query on the path succeeds.
bool exists(const char *path);
// Whether a file the library reads when it is there is there. A status
// query that fails for another reason than a missing file (a directory on
// the path that may not be searched, a loop of symbolic links) leaves it
// unknown, and is recorded for viewgeo_last_error() as "stat <path>: <reason>".
enum class Presence { present, missing, unknown };
Presence presence(const char *path);
// presence() is present; unknown counts as missing.
bool present(const char *path);
FILE *fopen(const char *path, const char *mode);
// Opens a file the library reads as untrusted input: without blocking (a
// FIFO cannot hold the caller), without letting a terminal become the
// caller's controlling terminal, and only when it is a regular file of at
// most `limit` bytes; otherwise null with errno EINVAL (not a regular file;
// EISDIR for a directory) or EFBIG. Counts as a call of fopen() for the failures a
// test injects.
FILE *fopen_regular_for_read(const char *path, std::size_t limit);
// fgets(), feof() and ferror() of the stdio library.
char *fgets(char *buf, int size, FILE *file);
bool feof(FILE *file);
bool ferror(FILE *file);
// Opens for writing, creating or truncating, mode 0666 before the umask.
// Fails (errno ELOOP, ENXIO, EINVAL or EMLINK) rather than write through a
// symbolic link, block on a FIFO, or truncate a device, a directory or a
// file that has another name (hard link) at the path; a terminal there
// does not become the caller's controlling terminal.
FILE *fopen_new_for_write(const char *path);
int fflush(FILE *file);
// fsync() of the stream's descriptor.
int fsync(FILE *file);
int fclose(FILE *file);
// fwrite() of all `size` bytes; 0, or -1 when not all were taken. Counts
// as a print for the failures a test injects.
int write(FILE *file, const char *data, std::size_t size);
// vfprintf()-style print; negative on failure.
int print(FILE *file, const char *format, ...) __attribute__((format(printf, 2, 3)));
int chmod(const char *path, mode_t mode);
int chown(const char *path, uid_t owner, gid_t group);
int rename(const char *from, const char *to);
int unlink(const char *path);
// The calling process's real user id.
uid_t getuid();
// The directory part of `path` into `dir`, as dirname() gives it; 0, or -1
// with errno (ENOMEM).
int dirname(const char *path, std::string &dir);
// Takes the exclusive advisory lock (flock) of the directory, waiting for
// it; the descriptor that holds it, to be given to close_fd(), or -1.
int lock_dir(const char *path);
// Releases the lock lock_dir() took (closes its descriptor; not counted as
// a call of this layer).
void unlock_dir(int fd);
// open(path, O_RDONLY | O_DIRECTORY); a descriptor or -1.
int open_dir(const char *path);
int fsync_fd(int fd);
int close_fd(int fd);
// The whole content of the file at `path`, into `text` (replacing what it
// held; its capacity is reused); 0 on success, -1 with errno on failure,
// `text` then holding nothing of use: a directory (EISDIR), more than `limit`
// bytes (EFBIG), no memory (ENOMEM), or a failed open or read. Devices and
// FIFOs are read until their end; a terminal does not become the caller's
// controlling terminal.
int read_file(const char *path, std::size_t limit, std::string &text);
// As read_file(), for files whose content comes from outside: opened
// without blocking, and anything but a regular file fails at once (EINVAL;
// EISDIR for a directory). Counts as a call of read_file().
int read_regular_file(const char *path, std::size_t limit, std::string &text);

#ifdef VIEWGEO_TEST_SEAM
enum class Op {
    Stat,
    Fopen,
    FopenNew,
    Fflush,
    Fsync,
    Fclose,
    Print,
    Chmod,
    Chown,
    Rename,
    OpenDir,
    FsyncFd,
    CloseFd,
    ReadFile,
    Fgets,
    Ferror,
    Unlink,
    Getuid,
    Dirname,
    LockDir
};
// Test build only: the call of `op` after `skip` successful ones fails with
// errno `err` (once).
void inject_failure(Op op, int err, int skip = 0);
void clear_failures();
// Test build only: with n > 0, the n-th call through this layer from now on
// (any call above, counted in the order made) raises SIGKILL instead of
// running, so a test can stop a writer in a child process before each of its
// steps. 0 disarms. Counting restarts at every call of kill_at_call().
void kill_at_call(int n);
// Calls made through this layer since the last kill_at_call().
int calls_made();
// Test build only: the operations of the calls made by this thread since
// the last start_trace(), in order. feof() and ferror() are not recorded;
// getuid() and feof() cannot be made to fail, an injected ferror() reports
// an error on the stream.
void start_trace();
const std::vector<Op> &trace();
#endif

}  // namespace viewgeo::platform::fs
