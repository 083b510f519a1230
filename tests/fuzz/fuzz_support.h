// What the fuzz targets share: a private file-system root for the library's
// paths, whole-file reads and writes below it, a check that stops the run
// when a property fails, and a reader of raw input words.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace viewgeo::fuzzing {

// Puts every path of the test build of the library below a private
// directory (made on the first call, removed at exit) and empties the
// captured log, which would otherwise grow with every input.
void use_private_root();

void write_file(const char *logical, const std::uint8_t *data, std::size_t size);
void write_file(const char *logical, const std::string &text);
// The whole content; "" when the file cannot be read.
std::string read_file(const char *logical);
bool file_exists(const char *logical);
// The real path below the private root of a logical absolute path.
std::string real_path(const char *logical);
void remove_file(const char *logical);

// Prints the failed property and aborts, which the fuzzer reports as a crash
// and the replay test as a failure.
[[noreturn]] void fail(const char *file, int line, const char *what);

// Hands out the input as raw 32-bit words, zeros once it runs out.
class Words {
public:
    Words(const std::uint8_t *data, std::size_t size) : data_(data), size_(size) {}
    std::uint32_t next() {
        std::uint32_t w = 0;
        const std::size_t n = size_ - pos_ < 4 ? size_ - pos_ : 4;
        std::memcpy(&w, data_ + pos_, n);
        pos_ += n;
        return w;
    }
    std::int32_t next_int() { return static_cast<std::int32_t>(next()); }
    float next_float() {
        const std::uint32_t w = next();
        float f;
        std::memcpy(&f, &w, sizeof f);
        return f;
    }
    // The rest of the input, from the current word on.
    std::string rest() const { return std::string(reinterpret_cast<const char *>(data_ + pos_), size_ - pos_); }

private:
    const std::uint8_t *data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

// Float equality that also holds for two NaNs.
inline bool same_float(float a, float b) { return (a != a && b != b) || a == b; }

}  // namespace viewgeo::fuzzing

#define FUZZ_CHECK(cond)                                                  \
    do {                                                                  \
        if (!(cond)) ::viewgeo::fuzzing::fail(__FILE__, __LINE__, #cond); \
    } while (0)
