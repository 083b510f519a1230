// The remote calibration rewrite on arbitrary old file content. The input
// is a channel selector word, the new pan and tilt as raw float bits, the
// two flags, then the old file. The new file must be exactly what the
// line rules make of the old one (model below): every other group byte for
// byte, the channel's groups with the new key lines, or the group appended.
// When the old file holds no entry of the channel's group that the reader
// could find first, the new values must read back.
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>

#include "fuzz_support.h"
#include "platform/inikit.h"
#include "remote/remote_calibration.h"
#include "viewgeo.h"

namespace {

using viewgeo::fuzzing::same_float;
using viewgeo::fuzzing::Words;

constexpr const char *kConf = "/etc/viewgeo/remoteptz.conf";
constexpr const char *kNew = "/etc/viewgeo/remoteptz.conf.new";
constexpr std::size_t kPieceLength = 99;  // what a 100-byte fgets() buffer holds

std::string key_lines(float pan, float tilt, int status, int automatic) {
    char text[512];
    std::snprintf(text, sizeof text, "center_pan = %f\ncenter_tilt = %f\ncalibration_status = %d\nauto_calibrated = %d\n",
                  static_cast<double>(pan), static_cast<double>(tilt), status, automatic);
    return text;
}

struct Model {
    std::string text;
    bool appended = false;
};

// The number after "[channel_", saturated to the int range; no number gives
// a value outside it, which names no channel.
long long header_number(const std::string &piece) {
    static const std::string prefix = "[channel_";
    if (piece.compare(0, prefix.size(), prefix) != 0) return INT64_MIN;
    const char *digits = piece.c_str() + prefix.size();
    char *end = nullptr;
    const int saved = errno;
    const long long value = std::strtoll(digits, &end, 10);
    errno = saved;
    if (end == digits) return INT64_MIN;
    return std::clamp<long long>(value, INT32_MIN, INT32_MAX);
}

// The rewrite by its line rules: the old text in pieces of at most 99
// bytes, each ending at its first line feed; a piece is a group header when
// it starts with "[" and ends with "]\n", and names the channel when its
// number, read as "%d" reads it but saturated to the int range, is the
// channel.
Model rewrite_model(const std::string &old, int channel, const std::string &keys) {
    Model m;
    bool written = false;
    bool skipping = false;
    std::size_t pos = 0;
    while (pos < old.size()) {
        std::size_t n = 0;
        while (pos + n < old.size() && n < kPieceLength) {
            ++n;
            if (old[pos + n - 1] == '\n') break;
        }
        const std::string piece = old.substr(pos, n);
        pos += n;
        const bool header = n >= 2 && piece[0] == '[' && piece[n - 2] == ']' && piece[n - 1] == '\n';
        if (header) {
            const bool names_channel = header_number(piece) == channel;
            m.text += piece;
            if (names_channel) {
                m.text += keys;
                written = true;
            }
            skipping = names_channel;
        } else if (!skipping) {
            m.text += piece;
        }
    }
    if (!written) {
        if (!m.text.empty() && m.text.back() != '\n') m.text += '\n';
        m.text += "[channel_" + std::to_string(channel) + "]\n" + keys;
        m.appended = true;
    }
    return m;
}

// True when the reader finds an entry of `group` in the file.
bool has_group_entries(const char *path, const std::string &group) {
    bool found = false;
    if (inikit_opencfg(path) != 0) {
        while (const inikit_entry *e = inikit_getcfg()) found = found || group == e->group;
    }
    inikit_closecfg();
    return found;
}

float through_text(float v) {
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(v));
    return std::strtof(text, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    viewgeo::fuzzing::use_private_root();
    Words w(data, size);
    const std::uint32_t selector = w.next();
    // Mostly small channels, so the old text's headers can name them.
    const int channel = (selector & 0x80000000u) ? static_cast<int>(selector)
                                                 : static_cast<int>(selector & 7u) - 2;
    const bool old_exists = (selector & 0x40000000u) == 0;
    const float pan = w.next_float();
    const float tilt = w.next_float();
    const int status = w.next_int();
    const int automatic = w.next_int();
    const std::string old = w.rest();

    viewgeo::fuzzing::remove_file(kNew);
    if (old_exists) {
        viewgeo::fuzzing::write_file(kConf, old);
        // Not a mode creation would give: the rewrite must carry it over.
        FUZZ_CHECK(::chmod(viewgeo::fuzzing::real_path(kConf).c_str(), 0640) == 0);
    } else {
        viewgeo::fuzzing::remove_file(kConf);
    }
    const std::string group = "channel_" + std::to_string(channel);
    const bool old_has_group = old_exists && has_group_entries(kConf, group);

    FUZZ_CHECK(viewgeo_set_remote_center(channel, pan, tilt, status, automatic) == 0);

    const Model expected = rewrite_model(old_exists ? old : std::string(), channel, key_lines(pan, tilt, status, automatic));
    FUZZ_CHECK(viewgeo::fuzzing::read_file(kConf) == expected.text);
    FUZZ_CHECK(!viewgeo::fuzzing::file_exists(kNew));
    struct stat st;
    FUZZ_CHECK(::stat(viewgeo::fuzzing::real_path(kConf).c_str(), &st) == 0);
    if (old_exists) FUZZ_CHECK((st.st_mode & 07777) == 0640);

    // Group names of 15 characters or more report success unread; the
    // reader is only asked for the others.
    const bool named = group.size() < 15;
    if (named && expected.appended && !old_has_group) {
        float read_pan = 0.0f;
        float read_tilt = 0.0f;
        int read_status = 0;
        int read_auto = 0;
        FUZZ_CHECK(viewgeo::load_remote_channel(channel, &read_pan, &read_tilt, &read_status, &read_auto) == 1);
        FUZZ_CHECK(same_float(read_pan, through_text(pan)));
        FUZZ_CHECK(same_float(read_tilt, through_text(tilt)));
        FUZZ_CHECK(read_status == status && read_auto == automatic);
        viewgeo_remote_calibration *flags = viewgeo_get_remote_calibrated(channel);
        FUZZ_CHECK(flags != nullptr && flags->calibration_status == status && flags->auto_calibrated == automatic);
        std::free(flags);
    }
    return 0;
}
