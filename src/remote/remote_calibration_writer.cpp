// Rewriting the remote calibration file for one channel. Under the lock of
// the directory, the old file is read whole, the channel's key lines are
// replaced (or its group appended), and the new text goes to a ".new"
// sibling that is flushed, synced, closed and renamed over the old file, so
// a reader sees the old or the new text, never a half-written one, and
// concurrent writers of other channels never lose each other's updates.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "platform/fs.h"
#include "platform/inikit.h"
#include "platform/last_error.h"
#include "platform/paths.h"
#include "platform/value_scan.h"
#include "remote/remote_calibration.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

namespace fs = platform::fs;
using platform::set_last_error;

// fgets() buffer; the pieces are joined into whole lines before they are
// judged.
constexpr int kLineBufferSize = 100;
// Marks the bytes fgets() did not write, so the length of a piece is known
// even when the untrusted file holds NUL bytes.
constexpr char kUnwritten = '\x7f';
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

#ifdef VIEWGEO_TEST_SEAM
bool fail_allocation = false;

// As if the text of the old file could not grow.
void check_allocation() {
    if (fail_allocation) {
        fail_allocation = false;
        throw std::bad_alloc();
    }
}
#else
void check_allocation() {}
#endif

// Length of the piece fgets() left in `buf`: the position of its
// terminating NUL, the last NUL of the buffer since the bytes behind it
// still hold kUnwritten.
std::size_t piece_length(const char *buf) {
    std::size_t n = kLineBufferSize - 1;
    while (n > 0 && buf[n] != '\0') --n;
    return n;
}

// The old file's whole text into `text`; 0, or -1 with the failed step
// recorded. A missing file gives an empty text and `exists` false.
int read_old_file(const char *path, std::string &text, bool &exists) {
    exists = false;
    FILE *old_file = fs::fopen_regular_for_read(path, kInikitMaxFileSize);
    if (old_file == nullptr) {
        if (errno == ENOENT) return 0;
        set_last_error("open", path);
        return -1;
    }
    exists = true;
    char buf[kLineBufferSize];
    for (;;) {
        std::memset(buf, kUnwritten, sizeof buf);
        errno = 0;
        if (fs::fgets(buf, sizeof buf, old_file) == nullptr) {
            if (fs::feof(old_file) && !fs::ferror(old_file)) break;
            if (errno == 0) errno = EIO;
            set_last_error("read", path);
            fs::fclose(old_file);
            return -1;
        }
        // The text may fail to grow: the file is closed before that goes on.
        try {
            check_allocation();
            text.append(buf, piece_length(buf));
        } catch (...) {
            fs::fclose(old_file);
            throw;
        }
        // The file may have grown since it was opened.
        if (text.size() > kInikitMaxFileSize) {
            errno = EFBIG;
            set_last_error("read", path);
            fs::fclose(old_file);
            return -1;
        }
    }
    fs::fclose(old_file);  // read-only: nothing of the result depends on it
    return 0;
}

std::string key_lines(float center_pan, float center_tilt, int calibration_status, int auto_calibrated) {
    char text[256];
    std::snprintf(text, sizeof text, "center_pan = %f\ncenter_tilt = %f\ncalibration_status = %d\nauto_calibrated = %d\n",
                  static_cast<double>(center_pan), static_cast<double>(center_tilt), calibration_status,
                  auto_calibrated);
    return text;
}

// The new text: every line of the old one copied, except the lines of the
// channel's groups, which get the new key lines after their header; the
// group is appended when the old text has none. Headers are judged as the
// reader judges them (blanks, comments, CRLF, a byte order mark before the
// first), but only on lines that end in a line feed.
std::string rewritten(std::string_view old_text, int channel, const std::string &keys) {
    std::string out;
    out.reserve(old_text.size() + keys.size() + 32);
    bool written = false;
    bool skipping = false;
    bool first = true;
    while (!old_text.empty()) {
        const std::size_t eol = old_text.find('\n');
        const std::size_t length = eol == std::string_view::npos ? old_text.size() : eol + 1;
        const std::string_view line = old_text.substr(0, length);
        old_text.remove_prefix(length);

        InikitLine kind = InikitLine::Other;
        std::string_view name;
        if (line.back() == '\n') {
            std::string_view judged = line.substr(0, line.size() - 1);
            if (first && judged.starts_with(kByteOrderMark)) judged.remove_prefix(kByteOrderMark.size());
            kind = inikit_classify_line(judged, &name);
        }
        first = false;
        if (kind == InikitLine::Header && group_names_channel(name, channel)) {
            out.append(line);
            out.append(keys);
            written = true;
            skipping = true;
        } else if (kind != InikitLine::Other) {
            // Another group, or one the reader cannot name: either ends the
            // channel's group.
            out.append(line);
            skipping = false;
        } else if (!skipping) {
            out.append(line);
        }
    }
    if (!written) {
        // An old file without a final line feed gets one first: glued to its
        // last line, the new header would not read as one, and its keys
        // would land in the group before it.
        if (!out.empty() && out.back() != '\n') out.push_back('\n');
        char header[32];
        std::snprintf(header, sizeof header, "[channel_%d]\n", channel);
        out.append(header);
        out.append(keys);
    }
    return out;
}

// Writes `text` to the new file and makes it durable: write, flush, sync,
// close, each checked. On failure the new file is removed; -1.
int write_new_file(const char *new_path, const std::string &text) {
    FILE *new_file = fs::fopen_new_for_write(new_path);
    if (new_file == nullptr) {
        set_last_error("create", new_path);
        return -1;
    }
    const char *step = nullptr;
    if (fs::write(new_file, text.data(), text.size()) != 0) {
        step = "write";
    } else if (fs::fflush(new_file) != 0) {
        step = "write";
    } else if (fs::fsync(new_file) != 0) {
        step = "fsync";
    }
    if (step != nullptr) {
        set_last_error(step, new_path);
        const int saved = errno;
        fs::fclose(new_file);
        fs::unlink(new_path);
        errno = saved;
        return -1;
    }
    if (fs::fclose(new_file) != 0) {
        set_last_error("close", new_path);
        fs::unlink(new_path);
        return -1;
    }
    return 0;
}

int rewrite_locked(int channel, float center_pan, float center_tilt, int calibration_status, int auto_calibrated) {
    const char *path = platform::kRemoteConfigPath;
    const char *new_path = platform::kRemoteConfigNewPath;

    // A missing file is not an error: the channel's group becomes the whole
    // new file. One that exists but cannot be read is, or the rewrite would
    // drop every other channel.
    std::string old_text;
    bool old_exists = false;
    if (read_old_file(path, old_text, old_exists) != 0) return -1;
    const std::string keys = key_lines(center_pan, center_tilt, calibration_status, auto_calibrated);
    const std::string new_text = rewritten(old_text, channel, keys);
    // A file the readers would refuse is not written: the old one stays.
    if (new_text.size() > kInikitMaxFileSize) {
        errno = EFBIG;
        set_last_error("write", new_path);
        return -1;
    }
    if (write_new_file(new_path, new_text) != 0) return -1;

    // The new file is complete from here on; a failure leaves it behind for
    // the next rewrite, which truncates it.
    struct stat st;
    if (fs::stat(path, &st) == 0) {
        if (fs::chmod(new_path, st.st_mode & 07777) != 0) {
            set_last_error("chmod", new_path);
            return -1;
        }
        if (fs::chown(new_path, fs::getuid(), st.st_gid) != 0) {
            set_last_error("chown", new_path);
            return -1;
        }
    }
    if (fs::rename(new_path, path) != 0) {
        set_last_error("rename", new_path);
        return -1;
    }

    const int dir = fs::open_dir(platform::kConfigDir);
    if (dir < 0) {
        set_last_error("open", platform::kConfigDir);
        return -1;
    }
    if (fs::fsync_fd(dir) != 0) {
        set_last_error("fsync", platform::kConfigDir);
        fs::close_fd(dir);
        return -1;
    }
    if (fs::close_fd(dir) != 0) {
        set_last_error("close", platform::kConfigDir);
        return -1;
    }
    return 0;
}

}  // namespace

#ifdef VIEWGEO_TEST_SEAM
void fail_next_remote_store_allocation() { fail_allocation = true; }
#endif

int set_remote_center(int channel, float center_pan, float center_tilt, int calibration_status, int auto_calibrated) {
    platform::clear_last_error();
    const int lock = fs::lock_dir(platform::kConfigDir);
    if (lock < 0) {
        set_last_error("lock", platform::kConfigDir);
        return -1;
    }
    int result = -1;
    // Out of memory, the rewrite gives up like any other failed step: the
    // error must not pass through the C interface, nor keep the lock.
    try {
        result = rewrite_locked(channel, center_pan, center_tilt, calibration_status, auto_calibrated);
    } catch (const std::bad_alloc &) {
        errno = ENOMEM;
        set_last_error("rewrite", platform::kRemoteConfigPath);
    }
    fs::unlock_dir(lock);
    return result;
}

}  // namespace viewgeo

extern "C" VIEWGEO_API int viewgeo_set_remote_center(int channel, float center_pan, float center_tilt,
                                                     int calibration_status, int auto_calibrated) {
    return viewgeo::set_remote_center(channel, center_pan, center_tilt, calibration_status, auto_calibrated);
}
