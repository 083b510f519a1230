// The file-system calls of the library, in one place. Every path given here
// is the logical absolute path (as in paths.h); it is resolved inside, so log
// messages name the logical path. The test build can make any call fail with
// a chosen errno, to test the writers' failure paths.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

namespace viewgeo::platform::fs {

// stat(); 0 on success.
int stat(const char *path, struct stat *st);
// True when a file-status query on the path succeeds.
bool exists(const char *path);
FILE *fopen(const char *path, const char *mode);
// Opens for writing, creating or truncating, mode 0666 before the umask.
// Fails (errno ELOOP, ENXIO, EINVAL or EMLINK) rather than write through a
// symbolic link, block on a FIFO, or truncate a device, a directory or a
// file that has another name (hard link) at the path.
FILE *fopen_new_for_write(const char *path);
int fflush(FILE *file);
// fsync() of the stream's descriptor.
int fsync(FILE *file);
int fclose(FILE *file);
// vfprintf()-style print; negative on failure.
int print(FILE *file, const char *format, ...) __attribute__((format(printf, 2, 3)));
int chmod(const char *path, mode_t mode);
int chown(const char *path, uid_t owner, gid_t group);
int rename(const char *from, const char *to);
// open(path, O_RDONLY | O_DIRECTORY); a descriptor or -1.
int open_dir(const char *path);
int fsync_fd(int fd);
int close_fd(int fd);
// The whole content of the file at `path`, into `text` (replacing what it
// held; its capacity is reused); 0 on success, -1 with errno on failure,
// `text` then holding nothing of use: a directory (EISDIR), more than `limit`
// bytes (EFBIG), no memory (ENOMEM), or a failed open or read. Devices and
// FIFOs are read until their end.
int read_file(const char *path, std::size_t limit, std::string &text);

#ifdef VIEWGEO_TEST_SEAM
enum class Op { Stat, Fopen, FopenNew, Fflush, Fsync, Fclose, Print, Chmod, Chown, Rename, OpenDir, FsyncFd, CloseFd, ReadFile };
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
#endif

}  // namespace viewgeo::platform::fs
