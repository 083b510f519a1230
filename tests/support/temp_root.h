// A private file-system root for one test: the test build of the library
// resolves every absolute path it uses below it, so tests never touch the
// real /etc, /var/run or /usr/share.
#pragma once

#include <string>

namespace viewgeo::testing {

class TempRoot {
public:
    TempRoot();
    ~TempRoot();
    TempRoot(const TempRoot &) = delete;
    TempRoot &operator=(const TempRoot &) = delete;

    // The real path of a logical absolute path, e.g. "/etc/viewgeo/x.conf".
    std::string real(const std::string &logical) const;
    // Writes `content` to the logical path, creating its directories.
    void write(const std::string &logical, const std::string &content) const;
    // The whole content of the logical path; "" when it cannot be read.
    std::string read(const std::string &logical) const;
    bool exists(const std::string &logical) const;
    void remove(const std::string &logical) const;
    // Creates the directory (and its parents) at the logical path.
    void make_dir(const std::string &logical) const;

private:
    std::string root_;
};

}  // namespace viewgeo::testing
