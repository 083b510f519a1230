// The base of the tool's tests: a private file root for each test, the tool
// run on it, and the shape every error must have.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <string>

#include "cli/tool_runner.h"
#include "support/temp_root.h"

namespace viewgeo::testing {

// What every conversion given --lens rectilinear adds to its result.
constexpr const char *kLensText = "  lens rectilinear  lens_source option --lens\n";
constexpr const char *kLensJson = ", \"lens\": \"rectilinear\", \"lens_source\": \"option --lens\"}\n";

inline int count_lines(const std::string &text) {
    int n = 0;
    for (const char c : text) n += c == '\n';
    return n;
}

// A command line the tool must refuse, and what its one line of error must
// name; a table of them prints each case as the command line.
struct BadArgs {
    const char *args;
    const char *named;
};

inline void PrintTo(const BadArgs &bad, std::ostream *os) { *os << "viewgeo " << bad.args; }

// The name of a case of such a table: its index.
template <class Param>
std::string case_name(const ::testing::TestParamInfo<Param> &info) {
    return "Case" + std::to_string(info.index);
}

class ToolTest : public ::testing::Test {
protected:
    ToolResult run(const std::string &args, const std::string &input = "") {
        return run_tool(args, root_.real(""), input);
    }
    // One line of error naming `what`, a failing status (`status` when given),
    // nothing on stdout, and no crash.
    void expect_error(const ToolResult &r, const std::string &what, int status = -1) {
        if (status >= 0) {
            EXPECT_EQ(r.status, status) << r.err;
        } else {
            EXPECT_NE(r.status, 0);
        }
        EXPECT_NE(r.status, 128 + 11) << "crashed";
        EXPECT_NE(r.status, 128 + 6) << "aborted";
        EXPECT_EQ(count_lines(r.err), 1) << r.err;
        EXPECT_THAT(r.err, ::testing::StartsWith("viewgeo: "));
        EXPECT_THAT(r.err, ::testing::HasSubstr(what));
        EXPECT_EQ(r.out, "");
    }
    TempRoot root_;
};

}  // namespace viewgeo::testing
