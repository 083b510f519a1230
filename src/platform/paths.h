// The files the library reads and writes. The installed library uses exactly
// these absolute paths; the test build of the library (VIEWGEO_TEST_SEAM)
// can put them below a directory of the test's choosing.
#pragma once

#include <string>

namespace viewgeo::platform {

inline constexpr const char *kProjectionFlagPath = "/usr/share/viewgeo/viewgeo_projection.conf";
inline constexpr const char *kMisalignmentDataPath = "/var/run/ptz/mo_data_file";
inline constexpr const char *kConfigDir = "/etc/viewgeo";
inline constexpr const char *kRemoteConfigPath = "/etc/viewgeo/remoteptz.conf";
inline constexpr const char *kRemoteConfigNewPath = "/etc/viewgeo/remoteptz.conf.new";
inline constexpr const char *kOvistaConfigPath = "/etc/viewgeo/ovista.conf";
inline constexpr const char *kOvistaBackupPath = "/etc/viewgeo/ovista.bak";

// The path the file system is asked for: `path` itself in the installed
// library, where nothing is copied, `path` below the test root in the test
// build. Lives as long as the call it is made for.
class ResolvedPath {
public:
#ifdef VIEWGEO_TEST_SEAM
    explicit ResolvedPath(const char *path);
    const char *c_str() const { return joined_.c_str(); }

private:
    std::string joined_;
#else
    explicit ResolvedPath(const char *path) : path_(path) {}
    const char *c_str() const { return path_; }

private:
    const char *path_;
#endif
};

#ifdef VIEWGEO_TEST_SEAM
// Test build only: every path resolves below `root` ("" restores the real
// paths). The root starts as the environment variable VIEWGEO_TEST_ROOT (for
// the test copy of the command-line tool). None of this is compiled into the
// installed library.
void set_test_root(const std::string &root);
#endif

}  // namespace viewgeo::platform
