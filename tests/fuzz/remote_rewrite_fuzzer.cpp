// The remote calibration rewrite on arbitrary old file content. The input
// is a channel selector word, the new pan and tilt as raw float bits, the
// two flags, then the old file. The new file must be exactly what the
// line rules make of the old one (model below): every other group byte for
// byte, the channel's groups with the new key lines, or the group appended.
// Whatever the old file held, the new values must read back.
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
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

// The number after "channel_" in a group name, saturated to the int range;
// no number gives a value outside it, which names no channel.
long long header_number(std::string_view name) {
    static const std::string prefix = "channel_";
    if (name.substr(0, prefix.size()) != prefix) return INT64_MIN;
    const std::string number(name.substr(prefix.size()));
    const char *digits = number.c_str();
    char *end = nullptr;
    const int saved = errno;
    const long long value = std::strtoll(digits, &end, 10);
    errno = saved;
    if (end == digits) return INT64_MIN;
    return std::clamp<long long>(value, INT32_MIN, INT32_MAX);
}

// The rewrite by its line rules: the old text in lines, each ending at its
// line feed; a line that ends in one is a group header when the reader takes
// it for one (a byte order mark before the first line aside), and names the
// channel when the number after "channel_" in its name, read as "%d" reads
// it but saturated to the int range, is the channel. A line the reader
// takes for a broken header ends the group like any other header.
Model rewrite_model(const std::string &old, int channel, const std::string &keys) {
    Model m;
    bool written = false;
    bool skipping = false;
    std::size_t pos = 0;
    while (pos < old.size()) {
        const std::size_t eol = old.find('\n', pos);
        const std::size_t n = eol == std::string::npos ? old.size() - pos : eol - pos + 1;
        const std::string line = old.substr(pos, n);
        InikitLine kind = InikitLine::Other;
        std::string_view name;
        if (line.back() == '\n') {
            std::string_view judged(line.data(), line.size() - 1);
            if (pos == 0 && judged.substr(0, 3) == "\xEF\xBB\xBF") judged.remove_prefix(3);
            kind = inikit_classify_line(judged, &name);
        }
        pos += n;
        if (kind != InikitLine::Other) {
            const bool names_channel = kind == InikitLine::Header && header_number(name) == channel;
            m.text += line;
            if (names_channel) {
                m.text += keys;
                written = true;
            }
            skipping = names_channel;
        } else if (!skipping) {
            m.text += line;
        }
    }
    if (!written) {
        if (!m.text.empty() && m.text.back() != '\n') m.text += '\n';
        m.text += "[channel_" + std::to_string(channel) + "]\n" + keys;
        m.appended = true;
    }
    return m;
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
    if (named) {
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
