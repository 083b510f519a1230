// The configuration reader: INI-style text (group headers in square
// brackets, then "key = value" lines), handed out as entries in file order.
//
// What it accepts, on top of the underlying parser:
//   - Group names come without brackets; entries before any group have the
//     group "". Spaces around "=" (or ":") are stripped from key and value.
//   - Lines starting with ";" or "#" are comments; so is the rest of a line
//     after " ;" (a semicolon preceded by white space).
//   - Leading white space is removed from every line before parsing, so an
//     indented line is an ordinary line, never a continuation of the value
//     above it.
//   - A line longer than kMaxLineLength bytes (line end excluded) is dropped
//     whole: it is neither split nor parsed in pieces, so a long comment can
//     never inject a key.
//   - A malformed line (no "=", no closing "]") is skipped; the rest of the
//     file is still read. A missing final newline is accepted; an empty file
//     gives no entries and is not an error.
//   - The text ends at the first NUL byte; a file larger than kMaxFileSize
//     is not loaded (the open/load call fails).
//   - The value of an entry is never null here, though callers accept null.
//
// Paths are the logical absolute paths of paths.h and are resolved inside.
// The cursor form keeps one open file for the whole process: its users must
// not overlap. The handle form has no shared state.
#pragma once

#include <cstddef>

inline constexpr std::size_t kInikitMaxLineLength = 190;
inline constexpr std::size_t kInikitMaxFileSize = 1024 * 1024;

// One entry: group name, key and value, valid until the file is closed (or
// the handle freed).
struct inikit_entry {
    const char *group;
    const char *key;
    const char *value;
};

// Cursor form: one implicit, process-wide open file.
// Opens and parses the file; nonzero on success, 0 when it cannot be read.
int inikit_opencfg(const char *path);
// The next entry in file order, or null after the last (or when none is open).
const inikit_entry *inikit_getcfg(void);
// Releases the open file.
void inikit_closecfg(void);

// Handle form.
struct inikit;
inikit *inikit_new(void);
// Loads a file into the handle (replacing what it held); nonzero on success.
int inikit_load_cfg(inikit *handle, const char *path);
const inikit_entry *inikit_get_next_cfg(inikit *handle);
void inikit_free(inikit *handle);
