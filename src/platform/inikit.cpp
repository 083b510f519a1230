#include "platform/inikit.h"

#include <cstdio>
#include <deque>
#include <ini.h>
#include <new>
#include <string>
#include <vector>

#include "platform/paths.h"

// A parsed file: the entries own their strings; the views point into them.
struct inikit {
    struct Owned {
        std::string group, key, value;
    };
    std::deque<Owned> owned;  // a deque keeps the strings in place as it grows
    std::vector<inikit_entry> entries;
    std::size_t next = 0;
};

namespace {

// Reads at most kInikitMaxFileSize bytes; false when the file cannot be read
// or is larger.
bool read_file(const char *path, std::string &text) {
    const std::string real = viewgeo::platform::resolve(path);
    FILE *file = std::fopen(real.c_str(), "rb");
    if (file == nullptr) return false;
    text.clear();
    char buffer[4096];
    bool ok = true;
    for (;;) {
        const std::size_t n = std::fread(buffer, 1, sizeof buffer, file);
        text.append(buffer, n);
        if (text.size() > kInikitMaxFileSize) {
            ok = false;
            break;
        }
        if (n < sizeof buffer) {
            ok = !std::ferror(file);
            break;
        }
    }
    std::fclose(file);
    return ok;
}

// Prepares the text for the underlying parser, which splits lines longer than
// its buffer and continues indented lines: removes leading blanks, drops
// over-long lines and cuts the text at the first NUL byte.
std::string sanitise(const std::string &text) {
    std::string out;
    out.reserve(text.size() + 1);
    std::size_t pos = 0;
    const std::size_t end = text.find('\0') == std::string::npos ? text.size() : text.find('\0');
    while (pos < end) {
        std::size_t eol = text.find('\n', pos);
        if (eol == std::string::npos || eol > end) eol = end;
        std::size_t start = pos;
        while (start < eol && (text[start] == ' ' || text[start] == '\t')) ++start;
        std::size_t stop = eol;
        if (stop > start && text[stop - 1] == '\r') --stop;
        if (eol - pos <= kInikitMaxLineLength) out.append(text, start, stop - start);
        out.push_back('\n');
        pos = eol + 1;
    }
    return out;
}

int collect(void *user, const char *section, const char *name, const char *value) {
    auto *kit = static_cast<inikit *>(user);
    kit->owned.push_back({section ? section : "", name ? name : "", value ? value : ""});
    return 1;
}

bool load(inikit &kit, const char *path) {
    kit.owned.clear();
    kit.entries.clear();
    kit.next = 0;
    std::string text;
    if (!read_file(path, text)) return false;
    const std::string clean = sanitise(text);
    // Malformed lines make the parser report an error line number; they are
    // skipped and the well-formed entries kept, so the result is ignored.
    ini_parse_string(clean.c_str(), collect, &kit);
    kit.entries.reserve(kit.owned.size());
    for (const inikit::Owned &o : kit.owned) kit.entries.push_back({o.group.c_str(), o.key.c_str(), o.value.c_str()});
    return true;
}

inikit *cursor = nullptr;

}  // namespace

int inikit_opencfg(const char *path) {
    inikit_closecfg();
    inikit *kit = inikit_new();
    if (kit == nullptr) return 0;
    if (!inikit_load_cfg(kit, path)) {
        inikit_free(kit);
        return 0;
    }
    cursor = kit;
    return 1;
}

const inikit_entry *inikit_getcfg(void) { return cursor ? inikit_get_next_cfg(cursor) : nullptr; }

void inikit_closecfg(void) {
    inikit_free(cursor);
    cursor = nullptr;
}

inikit *inikit_new(void) { return new (std::nothrow) inikit; }

int inikit_load_cfg(inikit *handle, const char *path) {
    try {
        return load(*handle, path) ? 1 : 0;
    } catch (const std::bad_alloc &) {
        return 0;
    }
}

const inikit_entry *inikit_get_next_cfg(inikit *handle) {
    if (handle->next >= handle->entries.size()) return nullptr;
    return &handle->entries[handle->next++];
}

void inikit_free(inikit *handle) { delete handle; }
