// Rewriting the remote calibration file for one channel. The old file is
// copied line by line into a ".new" sibling, the channel's key lines are
// replaced (or its group appended), and the sibling is synced and renamed
// over the old file, so a reader sees the old or the new text, never a
// half-written one.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/fs.h"
#include "platform/paths.h"
#include "remote/remote_calibration.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

namespace fs = platform::fs;

// fgets() buffer: lines longer than 99 characters arrive in pieces, each of
// which is judged on its own, as the stored files were always handled.
constexpr int kLineBufferSize = 100;
// Marks the bytes fgets() did not write, so the length of a piece is known
// even when the untrusted file holds NUL bytes.
constexpr char kUnwritten = '\x7f';

// Length of the piece fgets() left in `buf`: the position of its
// terminating NUL, the last NUL of the buffer since the bytes behind it
// still hold kUnwritten.
std::size_t piece_length(const char *buf) {
    std::size_t n = kLineBufferSize - 1;
    while (n > 0 && buf[n] != '\0') --n;
    return n;
}

// Writes the n bytes of a piece unchanged, NUL bytes included.
void copy_piece(FILE *out, const char *buf, std::size_t n) {
    std::size_t start = 0;
    while (start < n) {
        const std::size_t run = std::strlen(buf + start);
        if (run > 0) fs::print(out, "%.*s", static_cast<int>(run), buf + start);
        start += run;
        if (start < n) {
            fs::print(out, "%c", '\0');
            ++start;
        }
    }
}

// "[" first, "]" second to last, "\n" last.
bool is_group_header(const char *buf, std::size_t n) {
    return n >= 2 && buf[0] == '[' && buf[n - 2] == ']' && buf[n - 1] == '\n';
}

// True when the header scans as "[channel_%d]" to `channel`: the number is
// scanned, not compared as text, so "[channel_01]" and "[channel_1x]" name
// channel 1.
bool names_channel(const char *buf, int channel) {
    static constexpr char kPrefix[] = "[channel_";
    if (std::strncmp(buf, kPrefix, sizeof kPrefix - 1) != 0) return false;
    int number = 0;
    return scan_int(buf + sizeof kPrefix - 1, &number) && number == channel;
}

void write_key_lines(FILE *out, float center_pan, float center_tilt, int calibration_status, int auto_calibrated) {
    fs::print(out, "center_pan = %f\n", static_cast<double>(center_pan));
    fs::print(out, "center_tilt = %f\n", static_cast<double>(center_tilt));
    fs::print(out, "calibration_status = %d\n", calibration_status);
    fs::print(out, "auto_calibrated = %d\n", auto_calibrated);
}

}  // namespace

int set_remote_center(int channel, float center_pan, float center_tilt, int calibration_status, int auto_calibrated) {
    const char *path = platform::kRemoteConfigPath;
    const char *new_path = platform::kRemoteConfigNewPath;

    // A missing file is not an error: the channel's group becomes the whole
    // new file. One that exists but cannot be read is, or the rewrite would
    // drop every other channel.
    FILE *old_file = fs::fopen(path, "r");
    if (old_file == nullptr && errno != ENOENT) return -1;
    FILE *new_file = fs::fopen_new_for_write(new_path);
    if (new_file == nullptr) {
        if (old_file != nullptr) fs::fclose(old_file);
        return -1;
    }

    bool written = false;
    bool skipping = false;
    bool line_open = false;  // the copy so far ends inside a line
    char buf[kLineBufferSize];
    // A read error ends the copy as the end of the file does; without the
    // test a file that cannot be read (a directory) would never end.
    while (old_file != nullptr && !std::feof(old_file) && !std::ferror(old_file)) {
        std::memset(buf, kUnwritten, sizeof buf);
        if (std::fgets(buf, sizeof buf, old_file) == nullptr) continue;
        const std::size_t n = piece_length(buf);
        if (is_group_header(buf, n)) {
            if (names_channel(buf, channel)) {
                copy_piece(new_file, buf, n);
                write_key_lines(new_file, center_pan, center_tilt, calibration_status, auto_calibrated);
                written = true;
                skipping = true;
            } else {
                copy_piece(new_file, buf, n);
                skipping = false;
            }
            line_open = false;
        } else if (!skipping) {
            copy_piece(new_file, buf, n);
            line_open = buf[n - 1] != '\n';
        }
    }
    if (!written) {
        // An old file without a final line feed gets one first: glued to its
        // last line, the new header would not read as one, and its keys
        // would land in the group before it.
        if (line_open) fs::print(new_file, "\n");
        fs::print(new_file, "[channel_%d]\n", channel);
        write_key_lines(new_file, center_pan, center_tilt, calibration_status, auto_calibrated);
    }

    // Write errors here are not reported: the rename below publishes what
    // reached the disk.
    fs::fsync(new_file);
    fs::fclose(new_file);
    if (old_file != nullptr) fs::fclose(old_file);

    struct stat st;
    if (fs::stat(path, &st) == 0) {
        if (fs::chmod(new_path, st.st_mode & 07777) != 0) return -1;
        if (fs::chown(new_path, ::getuid(), st.st_gid) != 0) return -1;
    }
    if (fs::rename(new_path, path) != 0) return -1;

    const int dir = fs::open_dir(platform::kConfigDir);
    if (dir < 0) return -1;
    if (fs::fsync_fd(dir) != 0) {
        fs::close_fd(dir);
        return -1;
    }
    return fs::close_fd(dir);
}

}  // namespace viewgeo

extern "C" VIEWGEO_API int viewgeo_set_remote_center(int channel, float center_pan, float center_tilt,
                                                     int calibration_status, int auto_calibrated) {
    return viewgeo::set_remote_center(channel, center_pan, center_tilt, calibration_status, auto_calibrated);
}
