#include "platform/inikit.h"

#include <algorithm>
#include <cstring>
#include <ini.h>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "platform/fs.h"

// A parsed file. The group, key and value strings lie back to back in one
// buffer, each ended by a NUL, so a load allocates nothing per entry; the
// buffers keep their capacity for the next load.
struct inikit {
    // An entry, and where its strings start in `strings`: the buffer may
    // still move while the file is parsed, so the pointers are set after.
    struct Item {
        inikit_entry entry;
        std::size_t group, key, value;
    };
    std::string text;     // the file as read
    std::string strings;  // starts with the group "" of entries before any header
    std::vector<Item> items;
    std::size_t next = 0;
};

namespace {

// Buffers up to this size are kept for the next load; larger ones, left by
// an unusually large file, are given back once it is done with.
constexpr std::size_t kKeptCapacity = 16 * 1024;

template <class Buffer>
void empty(Buffer &buffer) {
    if (buffer.capacity() * sizeof buffer[0] > kKeptCapacity) {
        Buffer().swap(buffer);
    } else {
        buffer.clear();
    }
}

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f' || c == '\r'; }

std::string_view strip(std::string_view s) {
    while (!s.empty() && is_blank(s.front())) s.remove_prefix(1);
    while (!s.empty() && is_blank(s.back())) s.remove_suffix(1);
    return s;
}

// The rest of a line from a ";" that follows white space is a comment.
std::string_view cut_inline_comment(std::string_view line) {
    for (std::size_t i = line.find(';', 1); i != std::string_view::npos; i = line.find(';', i + 1)) {
        if (is_blank(line[i - 1])) return line.substr(0, i);
    }
    return line;
}

// Where the first "=" or ":" of a line is, or npos. A plain loop: the lines
// are short, and a search for either of two characters costs more per byte.
std::size_t find_separator(std::string_view line) {
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '=' || line[i] == ':') return i;
    }
    return std::string_view::npos;
}

// What one parse shares between the line feeder and the entry collector.
// libinih asks for a line, handles it and calls the collector for it before
// it asks for the next, so the group found by the feeder is the group of the
// entry being collected.
struct Parse {
    std::string_view text;
    inikit *kit = nullptr;
    std::size_t group = 0;    // where the current group's name starts in kit->strings
    bool group_known = true;  // false after a header that could not be read
    bool failed = false;      // out of memory
};

// Reads "[name]", perhaps followed by blanks and a comment; false for
// anything else. Blanks around the name don't count.
bool read_header(std::string_view line, std::string_view &name) {
    const std::size_t close = line.find(']');
    if (close == std::string_view::npos) return false;
    const std::string_view rest = strip(line.substr(close + 1));
    if (!rest.empty() && rest.front() != ';' && rest.front() != '#') return false;
    name = strip(line.substr(1, close - 1));
    return true;
}

}  // namespace

InikitLine inikit_classify_line(std::string_view line, std::string_view *name) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    const bool whole = line.size() <= kInikitMaxLineLength && line.find('\0') == std::string_view::npos;
    while (!line.empty() && is_blank(line.front())) line.remove_prefix(1);
    // A dropped header would let its entries land in the group above.
    if (!whole) return !line.empty() && line.front() == '[' ? InikitLine::BadHeader : InikitLine::Other;
    if (line.empty() || line.front() == ';' || line.front() == '#') return InikitLine::Other;
    line = strip(cut_inline_comment(line));
    if (line.front() != '[') return InikitLine::Other;
    std::string_view found;
    if (!read_header(line, found)) return InikitLine::BadHeader;
    if (name != nullptr) *name = found;
    return InikitLine::Header;
}

namespace {

// Hands libinih the next line that holds an entry, de-indented, without its
// comment, line end guaranteed; headers, comments and untrustworthy lines
// are dealt with here. libinih continues indented lines, splits long ones
// and lets a bad header leave the previous group in force: none of that
// reaches it.
char *feed_line(char *str, int num, void *stream) {
    auto &parse = *static_cast<Parse *>(stream);
    try {
        while (!parse.text.empty()) {
            std::size_t eol = parse.text.find('\n');
            std::string_view line = parse.text.substr(0, eol);
            parse.text.remove_prefix(eol == std::string_view::npos ? parse.text.size() : eol + 1);
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);

            std::string_view name;
            const InikitLine kind = inikit_classify_line(line, &name);
            if (kind == InikitLine::BadHeader) {
                parse.group_known = false;
                continue;
            }
            if (kind == InikitLine::Header) {
                parse.group_known = true;
                std::string &strings = parse.kit->strings;
                parse.group = strings.size();
                strings.append(name);
                strings.push_back('\0');
                continue;
            }
            if (line.size() > kInikitMaxLineLength || line.find('\0') != std::string_view::npos) continue;
            while (!line.empty() && is_blank(line.front())) line.remove_prefix(1);
            if (line.empty() || line.front() == ';' || line.front() == '#') continue;
            line = strip(cut_inline_comment(line));
            if (!parse.group_known) continue;
            const std::size_t sep = find_separator(line);
            if (sep == std::string_view::npos || sep == 0) continue;  // no key or no separator
            // The line, "\n" and the terminator must fit libinih's buffer,
            // or it would split the line; its size is the caller's setting.
            if (num < 2 || line.size() > static_cast<std::size_t>(num) - 2) continue;
            std::memcpy(str, line.data(), line.size());
            str[line.size()] = '\n';
            str[line.size() + 1] = '\0';
            return str;
        }
    } catch (const std::bad_alloc &) {
        parse.failed = true;
    }
    return nullptr;
}

int collect(void *user, const char * /*section*/, const char *name, const char *value) {
    auto &parse = *static_cast<Parse *>(user);
    // A null value only comes from an option of libinih a host program may
    // have set; such a line has no "=" and is skipped like any other.
    if (name == nullptr || value == nullptr || name[0] == '\0') return 1;
    try {
        std::string &strings = parse.kit->strings;
        const std::size_t key_at = strings.size();
        strings.append(name, std::strlen(name) + 1);  // with its NUL
        const std::size_t value_at = strings.size();
        strings.append(value, std::strlen(value) + 1);
        parse.kit->items.push_back({{}, parse.group, key_at, value_at});
    } catch (const std::bad_alloc &) {
        parse.failed = true;
        return 0;
    }
    return 1;
}

void clear_entries(inikit &kit) {
    empty(kit.text);
    empty(kit.strings);
    empty(kit.items);
    kit.next = 0;
}

bool load(inikit &kit, const char *path) {
    clear_entries(kit);
    if (viewgeo::platform::fs::read_regular_file(path, kInikitMaxFileSize, kit.text) != 0) return false;
    // The strings of a file take at most about as many bytes as its text.
    kit.strings.reserve(std::min(kit.text.size() + 2, kKeptCapacity));
    kit.strings.push_back('\0');

    Parse parse;
    parse.text = kit.text;
    parse.kit = &kit;
    // A byte order mark is skipped here, so the first line is judged without it.
    if (parse.text.starts_with("\xEF\xBB\xBF")) parse.text.remove_prefix(3);
    // Every line libinih sees is well-formed: with its default options the
    // result is 0; negative only when its own line buffer cannot be allocated.
    const int result = ini_parse_stream(feed_line, &parse, collect, &parse);
    empty(kit.text);
    if (parse.failed || result < 0) {
        clear_entries(kit);
        return false;
    }
    const char *base = kit.strings.data();
    for (inikit::Item &item : kit.items) item.entry = {base + item.group, base + item.key, base + item.value};
    return true;
}

// The cursor form's file, one per thread: loading it again replaces what
// it held, and threads never share one. It is released when its thread
// ends; the buffers it keeps are small (see kKeptCapacity).
inikit &cursor() {
    thread_local inikit kit;
    return kit;
}

}  // namespace

int inikit_opencfg(const char *path) { return inikit_load_cfg(&cursor(), path); }

const inikit_entry *inikit_getcfg(void) { return inikit_get_next_cfg(&cursor()); }

void inikit_closecfg(void) { clear_entries(cursor()); }

inikit *inikit_new(void) { return new (std::nothrow) inikit; }

int inikit_load_cfg(inikit *handle, const char *path) {
    if (handle == nullptr) return 0;
    try {
        if (path != nullptr && load(*handle, path)) return 1;
    } catch (const std::bad_alloc &) {
    }
    clear_entries(*handle);
    return 0;
}

const inikit_entry *inikit_get_next_cfg(inikit *handle) {
    if (handle == nullptr || handle->next >= handle->items.size()) return nullptr;
    return &handle->items[handle->next++].entry;
}

void inikit_free(inikit *handle) { delete handle; }
