// The configuration reader: INI-style text (group headers in square
// brackets, then "key = value" lines), handed out as entries in file order.
// libinih splits the key lines; every other decision is taken here, so the
// result does not depend on how libinih splits, continues or reports lines.
//
// Lines (split at "\n"; a "\r" before it belongs to the line end):
//   - Leading white space is removed first: an indented line is an ordinary
//     line, never a continuation of the value above it.
//   - Blank lines and lines starting with ";" or "#" are comments. After a
//     ";" that follows white space, the rest of any line is a comment too
//     ("k = a ;b" gives "a"; "k = 1;2" keeps "1;2"; "#" inside a line is text).
//   - "[name]" starts the group "name": the brackets and the white space
//     around the name are removed ("[ g ]" is "g", "[]" is ""). Only white
//     space or a comment (";" or "#") may follow the "]". Entries before any header are in
//     the group "". Groups may repeat; each entry carries its own group.
//   - A key line is a key, "=" or ":" (whichever comes first), then the value;
//     white space around key and value is removed. The value may be empty
//     ("key=" gives ""); it is never null here, though callers accept null.
//     So a key holds neither "=" nor ":"; "a:b=c" is key "a", value "b=c".
//   - Duplicate keys and groups are all returned, in file order.
// Lines that are skipped, the rest of the file still being read:
//   - a line without "=" or ":", or with nothing before it;
//   - a line longer than kInikitMaxLineLength bytes (line end not counted) or
//     holding a NUL byte: dropped whole, never parsed in pieces, so the tail
//     of a long comment cannot become a key;
//   - a header that is not well-formed ("[g", "[g] x"), or one dropped as
//     above: the entries after it, up to the next good header, are dropped
//     too, since their group is unknown.
// Files: a missing final newline and CRLF line ends are accepted; a UTF-8
// byte order mark at the start is skipped; an empty file gives no entries
// and loads. Loading fails (0) for a file that cannot be opened or read (a
// missing or unreadable file), is not a regular file (a directory, a FIFO,
// a device: it is opened without blocking and refused at once) or is larger
// than kInikitMaxFileSize bytes; nothing is logged. A failed load leaves no
// entries.
//
// libinih's option variables are shared by the whole process; this layer
// reads none and writes none. It works with their defaults, and a host
// program that changes them cannot make it split lines or merge them.
//
// Paths are the logical absolute paths of paths.h and are resolved inside.
// The cursor form keeps one open file per thread: opening a file closes the
// one the same thread opened before. The handle form has no shared state.
// Every read may run in any number of threads at once.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

inline constexpr std::size_t kInikitMaxLineLength = 190;
inline constexpr std::size_t kInikitMaxFileSize = 1024 * 1024;

// One entry: group name, key and value, valid until the file is closed (or
// the handle freed).
struct inikit_entry {
    const char *group;
    const char *key;
    const char *value;
};

// Cursor form: one implicit open file per thread.
// Closes the open file, then opens and parses `path`; nonzero on success, 0
// when it cannot be read (then no file is open).
int inikit_opencfg(const char *path);
// The next entry in file order, or null after the last (or when none is
// open). The entries stay valid until the file is closed or another opened.
const inikit_entry *inikit_getcfg(void);
// Releases the open file.
void inikit_closecfg(void);

// Handle form.
struct inikit;
inikit *inikit_new(void);
// Loads a file into the handle, replacing what it held (and then restarting
// at its first entry); nonzero on success.
int inikit_load_cfg(inikit *handle, const char *path);
// The next entry in file order, or null after the last (or for no handle).
const inikit_entry *inikit_get_next_cfg(inikit *handle);
// Releases the handle and its entries; null is allowed.
void inikit_free(inikit *handle);

// A handle that frees itself.
struct InikitFree {
    void operator()(inikit *handle) const { inikit_free(handle); }
};
using InikitHandle = std::unique_ptr<inikit, InikitFree>;

// What one line (without its "\n"; a "\r" before it is allowed) is by the
// rules above: a header, whose name (brackets and blanks removed) goes to
// *name; a header that is not well-formed or a dropped line that starts
// like one (the entries after it have no known group); or anything else.
// The writers of the library judge headers with this, so that they and the
// reader agree on where each group starts.
enum class InikitLine { Other, Header, BadHeader };
InikitLine inikit_classify_line(std::string_view line, std::string_view *name);
