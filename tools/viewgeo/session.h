// What every subcommand of the tool shares: the output format and the
// camera described on the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
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
    // Rejects values outside what a camera can have (one line naming the
    // option and the allowed range, status 2); `raw` lets them through.
    // A panorama may span the full turn.
    void check(bool raw, bool full_turn = false) const;
};

// The lens a context uses and why: "option --lens", the flag file, or the
// library's default.
struct LensChoice {
    std::string name;
    std::string source;
};
LensChoice lens_choice(const CameraOptions &camera, const Context &ctx);

// How results are printed: "name value" pairs (tab-separated columns in a
// stream), CSV with a header, or one JSON object per line.
enum class Format { Plain, Csv, Json };

// One result: named values, printed as "name value" pairs or as JSON.
class Report {
public:
    Report &add(const std::string &name, double value, int decimals = 6);
    Report &add_int(const std::string &name, std::int64_t value);
    Report &add_text(const std::string &name, const std::string &value);
    // A precise result: the shortest text that reads back as the same double.
    Report &add_shortest(const std::string &name, double value);
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
    bool csv = false;
    bool raw = false;                 // pass values to the library unchecked
    bool batch = false;               // one result per line, always
    std::string input;                // records come from this file ("" or "-": standard input)
    const CLI::Option *input_option = nullptr;       // --input, to tell whether it was given
    std::vector<const CLI::App *> record_readers;  // the commands that read a stream of records
    int status = 0;                   // the exit status a stream asks for
    std::vector<std::string> output;  // the lines a command printed

    void print(const Report &report) { output.push_back(json ? report.json() : report.text()); }
    // A long report: one field per line for people, unless in batch mode.
    void print_long(const Report &report) {
        output.push_back(json ? report.json() : batch ? report.text() : report.text_lines());
    }
};

// Exit statuses: the only three the tool returns.
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;   // an operation failed: a file, a calibration
constexpr int kExitUsage = 2;    // usage or invalid input

// An operation that failed (a file the library could not read or write, a
// calibration that does not answer): one line of error, status 1.
class FileError : public CLI::Error {
public:
    explicit FileError(const std::string &message) : CLI::Error("FileError", message, kExitFailed) {}
};

// A value outside its allowed range: one line naming the option and the
// range, status 2.
class InvalidInput : public CLI::ValidationError {
public:
    InvalidInput(const std::string &option, const std::string &message) : CLI::ValidationError(option, message) {}
};

// Throws InvalidInput unless `value` is finite and within [low, high] (the
// ends excluded where `open_low` / `open_high`); `raw` skips the check.
void check_range(const std::string &option, double value, double low, double high, bool open_low, bool open_high,
                 bool raw);
// Pan within [-360, 360] and tilt within [-180, 180], finite.
void check_pan(const std::string &option, double value, bool raw);
void check_tilt(const std::string &option, double value, bool raw);
// A finite value, whatever `raw` says: for a value the tool itself turns
// into a Q16.16 word, where NaN or infinity would only become a saturated word.
void check_finite(const std::string &option, double value);
// Why a text that reads as a number was refused: it lies beyond what `type`
// ("a float", "a whole pixel number") holds, "number out of range for a
// float, got '1e40'". Tiny numbers that would lose all precision, such as
// 1e-50, count as out of range too.
std::string out_of_range(const std::string &type, std::string_view text);
// A channel number the remote store can name: -99999 to 999999.
void check_channel(const std::string &option, int value, bool raw);

// Why the last file operation of the library failed, in the library's words
// (step, path, system's reason); called right after the failed call.
std::string failure_reason();
// The error for a failed file operation: `what` and the system's reason
// (failure_reason()), or a pointer to the system log when there is none.
FileError file_failure(const std::string &what);
// The error for standard output that did not take what was written to it
// (`error`: errno of the failed write, a full disk or a closed pipe; 0 or
// less when unknown).
FileError output_failure(int error);
// The version of the library the tool runs with.
std::string tool_version();

// Writes the shortest text that reads back as `value` ("null" for a value
// JSON cannot hold) and returns its end.
constexpr std::size_t kShortestLength = 32;
char *shortest_text(double value, char (&buffer)[kShortestLength]);

// Appends `text` to `out` as a JSON string, quoted: control characters as
// \u00XX, a byte sequence that is not UTF-8 as U+FFFD (one for each
// longest piece a decoder would reject), so that any input line or file name
// gives valid JSON. The one writer of JSON text in the tool.
void append_json_string(std::string &out, std::string_view text);
std::string json_string(std::string_view text);

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
