#include "platform/paths.h"

#include <cstdlib>

namespace viewgeo::platform {

#ifdef VIEWGEO_TEST_SEAM

namespace {
// Starts from VIEWGEO_TEST_ROOT, so a test copy of the command-line tool can
// be pointed at a temporary directory; the installed library has no such
// variable.
std::string &test_root() {
    static std::string root = [] {
        const char *from_environment = std::getenv("VIEWGEO_TEST_ROOT");
        return std::string(from_environment != nullptr ? from_environment : "");
    }();
    return root;
}
}  // namespace

void set_test_root(const std::string &root) { test_root() = root; }

ResolvedPath::ResolvedPath(const char *path) : joined_(test_root() + path) {}

#endif

}  // namespace viewgeo::platform
