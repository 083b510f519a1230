// The configuration reader on arbitrary file content: both forms must agree
// entry by entry, and every entry must be what the line grammar allows (no
// line end inside a name or value, keys free of "=" and ":", nothing longer
// than a line may be, no white space left at either end).
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "platform/inikit.h"

namespace {

using viewgeo::fuzzing::fail;

constexpr const char *kPath = "/etc/viewgeo/fuzz.conf";

// The same entry as the parser's unit tests compare, on purpose: the fuzzer
// builds alone, without the test support.
struct Entry {
    std::string group, key, value;
    bool operator==(const Entry &) const = default;
};

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

bool trimmed(const char *s) {
    const std::size_t n = std::strlen(s);
    return n == 0 || (!is_space(s[0]) && !is_space(s[n - 1]));
}

Entry checked(const inikit_entry *e) {
    FUZZ_CHECK(e->group != nullptr && e->key != nullptr && e->value != nullptr);
    FUZZ_CHECK(std::strchr(e->group, '\n') == nullptr);
    FUZZ_CHECK(std::strchr(e->key, '\n') == nullptr);
    FUZZ_CHECK(std::strchr(e->value, '\n') == nullptr);
    FUZZ_CHECK(e->key[0] != '\0');
    FUZZ_CHECK(std::strpbrk(e->key, "=:") == nullptr);
    FUZZ_CHECK(trimmed(e->group) && trimmed(e->key) && trimmed(e->value));
    // Key, separator and value came from one line of at most the limit.
    FUZZ_CHECK(std::strlen(e->key) + 1 + std::strlen(e->value) <= kInikitMaxLineLength);
    FUZZ_CHECK(std::strlen(e->group) + 2 <= kInikitMaxLineLength);
    return {e->group, e->key, e->value};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    viewgeo::fuzzing::use_private_root();
    viewgeo::fuzzing::write_file(kPath, data, size);
    std::size_t lines = 1;
    for (std::size_t i = 0; i < size; ++i) lines += data[i] == '\n' ? 1 : 0;

    std::vector<Entry> cursor;
    const bool cursor_loaded = inikit_opencfg(kPath) != 0;
    if (cursor_loaded) {
        while (const inikit_entry *e = inikit_getcfg()) cursor.push_back(checked(e));
        FUZZ_CHECK(inikit_getcfg() == nullptr);  // stays at the end
        inikit_closecfg();
    }
    FUZZ_CHECK(inikit_getcfg() == nullptr);  // nothing open any more

    inikit *handle = inikit_new();
    FUZZ_CHECK(handle != nullptr);
    std::vector<Entry> handled;
    const bool handle_loaded = inikit_load_cfg(handle, kPath) != 0;
    if (handle_loaded) {
        while (const inikit_entry *e = inikit_get_next_cfg(handle)) handled.push_back(checked(e));
    }
    // A second load of the same file starts again at the first entry.
    std::vector<Entry> reloaded;
    if (inikit_load_cfg(handle, kPath) != 0) {
        while (const inikit_entry *e = inikit_get_next_cfg(handle)) reloaded.push_back(checked(e));
    }
    inikit_free(handle);

    FUZZ_CHECK(cursor_loaded == handle_loaded);
    FUZZ_CHECK(cursor == handled);
    FUZZ_CHECK(handled == reloaded);
    FUZZ_CHECK(cursor.size() <= lines);  // at most one entry a line
    return 0;
}
