#include "cli/tool_runner.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>

namespace viewgeo::testing {

namespace {
std::string slurp(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
}  // namespace

std::string tool_command(const std::string &args, const std::string &root) {
    return "VIEWGEO_TEST_ROOT='" + root + "' " VIEWGEO_TOOL_EMULATOR " '" VIEWGEO_TOOL_PATH "' " + args;
}

ToolResult run_tool(const std::string &args, const std::string &root, const std::string &input,
                    const std::string &output) {
    const std::string in_path = root + "/.tool-stdin";
    const std::string out_path = output.empty() ? root + "/.tool-stdout" : output;
    const std::string err_path = root + "/.tool-stderr";
    std::ofstream(in_path, std::ios::binary) << input;
    const std::string command =
        tool_command(args, root) + " <'" + in_path + "' >'" + out_path + "' 2>'" + err_path + "'";
    const int raw = std::system(command.c_str());
    ToolResult result;
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + (WIFSIGNALED(raw) ? WTERMSIG(raw) : 0);
    if (output.empty()) result.out = slurp(out_path);
    result.err = slurp(err_path);
    return result;
}

}  // namespace viewgeo::testing
