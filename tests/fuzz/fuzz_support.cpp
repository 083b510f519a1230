#include "fuzz_support.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "platform/fs.h"
#include "platform/log.h"
#include "platform/paths.h"

namespace viewgeo::fuzzing {

namespace fsys = std::filesystem;

namespace {

std::string &root() {
    static std::string path;
    return path;
}

void remove_root() {
    std::error_code ignored;
    if (!root().empty()) fsys::remove_all(root(), ignored);
}

std::string real(const char *logical) { return root() + logical; }

}  // namespace

void use_private_root() {
    if (root().empty()) {
        std::string pattern = (fsys::temp_directory_path() / "viewgeo-fuzz-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) fail(__FILE__, __LINE__, "mkdtemp");
        root() = pattern;
        for (const char *dir : {"/etc/viewgeo", "/var/run/ptz", "/usr/share/viewgeo"}) fsys::create_directories(real(dir));
        platform::set_test_root(root());
        std::atexit(remove_root);
    }
    platform::captured_log().clear();
    platform::fs::clear_failures();
}

void write_file(const char *logical, const std::uint8_t *data, std::size_t size) {
    std::FILE *f = std::fopen(real(logical).c_str(), "wb");
    if (f == nullptr) fail(__FILE__, __LINE__, "cannot write a file below the private root");
    if (size > 0 && std::fwrite(data, 1, size, f) != size) fail(__FILE__, __LINE__, "short write");
    std::fclose(f);
}

void write_file(const char *logical, const std::string &text) {
    write_file(logical, reinterpret_cast<const std::uint8_t *>(text.data()), text.size());
}

std::string read_file(const char *logical) {
    std::ifstream in(real(logical), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool file_exists(const char *logical) {
    std::error_code ignored;
    return fsys::exists(fsys::symlink_status(real(logical), ignored));
}

std::string real_path(const char *logical) { return real(logical); }

void remove_file(const char *logical) {
    std::error_code ignored;
    fsys::remove(real(logical), ignored);
}

void fail(const char *file, int line, const char *what) {
    std::fprintf(stderr, "%s:%d: property failed: %s\n", file, line, what);
    std::abort();
}

}  // namespace viewgeo::fuzzing
