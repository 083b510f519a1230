// Runs the test copy of the command-line tool and captures what it prints.
#pragma once

#include <string>

namespace viewgeo::testing {

struct ToolResult {
    int status = -1;     // exit status
    std::string out;     // standard output
    std::string err;     // standard error
};

// The shell command that runs `viewgeo ARGS` with its files below `root`,
// without redirections.
std::string tool_command(const std::string &args, const std::string &root);

// Runs `viewgeo ARGS` (a shell-quoted argument string) with `input` on its
// standard input and its files below `root` (a real directory). Standard
// output goes to `output` when one is named (then `out` stays empty).
ToolResult run_tool(const std::string &args, const std::string &root, const std::string &input = "",
                    const std::string &output = "");

}  // namespace viewgeo::testing
