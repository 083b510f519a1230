#include "support/temp_root.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "platform/fs.h"
#include "platform/log.h"
#include "platform/paths.h"

namespace viewgeo::testing {

namespace fsys = std::filesystem;

TempRoot::TempRoot() {
    std::string pattern = (fsys::temp_directory_path() / "viewgeo-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    root_ = pattern;
    make_dir("/etc/viewgeo");
    make_dir("/var/run/ptz");
    make_dir("/usr/share/viewgeo");
    platform::set_test_root(root_);
    platform::captured_log().clear();
    platform::fs::clear_failures();
}

TempRoot::~TempRoot() {
    platform::set_test_root("");
    platform::fs::clear_failures();
    std::error_code ignored;
    // Restore write permission a test may have taken away, then remove.
    for (const auto &entry : fsys::recursive_directory_iterator(root_, ignored)) {
        if (entry.is_directory(ignored)) fsys::permissions(entry.path(), fsys::perms::owner_all, fsys::perm_options::add, ignored);
    }
    fsys::remove_all(root_, ignored);
}

std::string TempRoot::real(const std::string &logical) const { return root_ + logical; }

void TempRoot::write(const std::string &logical, const std::string &content) const {
    fsys::create_directories(fsys::path(real(logical)).parent_path());
    std::ofstream out(real(logical), std::ios::binary | std::ios::trunc);
    out << content;
}

std::string TempRoot::read(const std::string &logical) const {
    std::ifstream in(real(logical), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool TempRoot::exists(const std::string &logical) const { return fsys::exists(real(logical)); }

void TempRoot::remove(const std::string &logical) const { fsys::remove(real(logical)); }

void TempRoot::make_dir(const std::string &logical) const { fsys::create_directories(real(logical)); }

}  // namespace viewgeo::testing
