// What every subcommand of the tool shares: the output format and the
// camera described on the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "viewgeo.hpp"

namespace viewgeo::tool {

using namespace viewgeo::cpp;

// The camera options, in the words users think in.
struct CameraOptions {
    std::string size = "1920x1080";
    float hfov = 60.0f;
    std::optional<float> vfov;
    float pan = 0.0f;
    float tilt = 0.0f;
    std::int32_t rot = 0;
    std::optional<std::string> lens;  // rectilinear, equidistant or sine
    bool dewarp = false;

    // Adds --size, --hfov, --vfov, --pan, --tilt, --rot, --lens, --dewarp;
    // without --pan and --tilt where the command takes them from elsewhere.
    void add_to(CLI::App &command, bool with_pantilt = true);
    // A context describing this camera.
    Context make_context() const;
};

// One result: named values, printed as "name value" pairs or as JSON.
class Report {
public:
    Report &add(const std::string &name, double value, int decimals = 6);
    Report &add_int(const std::string &name, std::int64_t value);
    Report &add_text(const std::string &name, const std::string &value);
    // A Q16.16 word: its value in degrees and, in the text form, the word.
    Report &add_q16(const std::string &name, Q16 value);
    std::string text() const;
    // One "name value" line per field, for reports too long for one line.
    std::string text_lines() const;
    std::string json() const;

private:
    struct Field {
        std::string name;
        std::string text;  // as printed for people
        std::string json;  // as a JSON value
    };
    std::vector<Field> fields_;
};

struct Session {
    bool json = false;
    bool batch = false;               // one result per line, always
    std::vector<std::string> output;  // the lines a command printed

    void print(const Report &report) { output.push_back(json ? report.json() : report.text()); }
    // A long report: one field per line for people, unless in batch mode.
    void print_long(const Report &report) {
        output.push_back(json ? report.json() : batch ? report.text() : report.text_lines());
    }
};

// A file the library could not read or write: one line of error, status 4.
class FileError : public CLI::Error {
public:
    explicit FileError(const std::string &message) : CLI::Error("FileError", message, 4) {}
};

// Parses "WIDTHxHEIGHT"; throws CLI::ValidationError naming --size.
std::pair<std::int32_t, std::int32_t> parse_size(const std::string &text);

// The subcommand families.
void add_projection_commands(CLI::App &app, Session &session);
void add_utility_commands(CLI::App &app, Session &session);
void add_misalignment_commands(CLI::App &app, Session &session);
void add_grid_command(CLI::App &app, Session &session);
void add_ovista_commands(CLI::App &app, Session &session);
void add_remote_commands(CLI::App &app, Session &session);

}  // namespace viewgeo::tool
