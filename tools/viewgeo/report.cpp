#include <charconv>
#include <cinttypes>
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "session.h"

namespace viewgeo::tool {
namespace {

std::string format(const char *fmt, double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, fmt, value);
    return buffer;
}

// JSON has no NaN or infinity: they become null.
std::string json_number(double value) {
    if (!std::isfinite(value)) return "null";
    return format("%.9g", value);
}

// The length of the well-formed UTF-8 character at the start of `text`, or
// of the longest start of one that a decoder reads before it must reject
// it (at least 1): with `valid` false, that piece is one U+FFFD.
std::size_t utf8_piece(std::string_view text, bool &valid) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    std::size_t continuation = 0;
    unsigned char low = 0x80, high = 0xBF;  // allowed range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        continuation = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        continuation = 2;
        if (lead == 0xE0) low = 0xA0;   // no overlong form
        if (lead == 0xED) high = 0x9F;  // no surrogate
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        continuation = 3;
        if (lead == 0xF0) low = 0x90;   // no overlong form
        if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
    }
    std::size_t length = 1;
    while (length <= continuation && length < text.size() && byte(length) >= low && byte(length) <= high) {
        low = 0x80, high = 0xBF;
        ++length;
    }
    valid = continuation > 0 && length == continuation + 1;
    return length;
}

}  // namespace

void append_json_string(std::string &out, std::string_view text) {
    out.push_back('"');
    while (!text.empty()) {
        const unsigned char c = static_cast<unsigned char>(text[0]);
        std::size_t length = 1;
        if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
            out.append(escaped);
        } else if (c < 0x80) {
            if (c == '"' || c == '\\') out.push_back('\\');
            out.push_back(static_cast<char>(c));
        } else {
            bool valid = false;
            length = utf8_piece(text, valid);
            out.append(valid ? text.substr(0, length) : std::string_view("\xEF\xBF\xBD"));
        }
        text.remove_prefix(length);
    }
    out.push_back('"');
}

std::string json_string(std::string_view text) {
    std::string out;
    append_json_string(out, text);
    return out;
}

char *shortest_text(double value, char (&buffer)[kShortestLength]) {
    if (!std::isfinite(value)) {
        static constexpr char null[] = "null";
        return std::copy(null, null + 4, buffer);
    }
    return std::to_chars(buffer, buffer + kShortestLength, value).ptr;
}

Report &Report::add_shortest(const std::string &name, double value) {
    char buffer[kShortestLength];
    const std::string text(buffer, shortest_text(value, buffer));
    fields_.push_back({name, text, text});
    return *this;
}

Report &Report::add(const std::string &name, double value, int decimals) {
    char fmt[16];
    std::snprintf(fmt, sizeof fmt, "%%.%df", decimals);
    fields_.push_back({name, format(fmt, value), json_number(value)});
    return *this;
}

Report &Report::add_int(const std::string &name, std::int64_t value) {
    const std::string text = std::to_string(value);
    fields_.push_back({name, text, text});
    return *this;
}

Report &Report::add_text(const std::string &name, const std::string &value) {
    fields_.push_back({name, value, json_string(value)});
    return *this;
}

Report &Report::add_q16(const std::string &name, Q16 value) {
    char word[32];
    std::snprintf(word, sizeof word, " (Q16.16 %" PRId32 ")", value.raw());
    const double degrees = static_cast<double>(static_cast<float>(value));
    fields_.push_back({name, format("%.6f", degrees) + word, json_number(degrees)});
    fields_.push_back({name + "_q16", std::to_string(value.raw()), std::to_string(value.raw())});
    return *this;
}

std::string Report::text() const {
    std::string out;
    for (const Field &f : fields_) {
        if (f.name.size() > 4 && f.name.compare(f.name.size() - 4, 4, "_q16") == 0) continue;  // shown beside the value
        if (!out.empty()) out += "  ";
        out += f.name + " " + f.text;
    }
    return out;
}

std::string Report::text_lines() const {
    std::string out;
    for (const Field &f : fields_) {
        if (f.name.size() > 4 && f.name.compare(f.name.size() - 4, 4, "_q16") == 0) continue;
        if (!out.empty()) out += '\n';
        out += f.name + " " + f.text;
    }
    return out;
}

std::string Report::json() const {
    std::string out = "{";
    for (const Field &f : fields_) {
        if (out.size() > 1) out += ", ";
        out += json_string(f.name) + ": " + f.json;
    }
    return out + "}";
}

}  // namespace viewgeo::tool
