#include "platform/paths.h"

namespace viewgeo::platform {

#ifdef VIEWGEO_TEST_SEAM

namespace {
std::string &test_root() {
    static std::string root;
    return root;
}
}  // namespace

void set_test_root(const std::string &root) { test_root() = root; }

std::string resolve(const char *path) { return test_root() + path; }

#else

std::string resolve(const char *path) { return path; }

#endif

}  // namespace viewgeo::platform
