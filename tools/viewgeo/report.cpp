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

std::string json_string(const std::string &text) {
    std::string out = "\"";
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
            out += escaped;
            continue;
        }
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

}  // namespace

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
