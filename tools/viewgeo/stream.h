// Conversion of a stream of records: one per line of standard input or of a
// file, the camera given once on the command line.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "session.h"

namespace viewgeo::tool {

// A block of records converted together. Inputs are either pixels (x, y) or
// directions (pan, tilt); the conversion fills the other pair, or the Q16.16
// words, and marks the records it could not convert. The precise forms use
// the double fields: continuous pixels and angles.
struct Block {
    std::vector<std::int32_t> x, y;
    std::vector<float> pan, tilt;
    std::vector<std::int32_t> pan_q16, tilt_q16;
    std::vector<double> x_d, y_d, pan_d, tilt_d;
    std::vector<unsigned char> failed;  // 1: no result for this record
    std::string failure;                // why, for every failed record

    void resize(std::size_t n) {
        x.resize(n), y.resize(n), pan.resize(n), tilt.resize(n), pan_q16.resize(n), tilt_q16.resize(n);
        x_d.resize(n), y_d.resize(n), pan_d.resize(n), tilt_d.resize(n);
        failed.assign(n, 0);
    }
    std::size_t size() const { return failed.size(); }
};

// What each input line holds, and what the conversion gives: whole pixels
// and float angles, or (Precise) continuous pixels and double angles.
enum class Records { Pixels, Angles, PrecisePixels, PreciseAngles };
enum class Results { Pixels, Angles, AnglesQ16, PrecisePixels, PreciseAngles };

struct Conversion {
    Records records = Records::Pixels;
    Results results = Results::Angles;
    // Converts every record of the block at once.
    std::function<void(Block &)> convert;
    // Constant fields added to every result (the lens and why).
    std::vector<std::pair<std::string, std::string>> about;
};

// Reads records from session.input (standard input when empty or "-") and
// prints one result per record in the session's format. Comments and blank
// lines pass through; a bad record prints an error record and the run goes
// on. Returns the exit status: 0, 2 when a record was invalid, 1 when a
// conversion failed.
int run_stream(const Session &session, const Conversion &conversion);

// One record given on the command line: converted through the same block
// and printed as a report.
void convert_one(Session &session, const Conversion &conversion, Block &block);

// Reads a record's two fields into place `i` of the block, checking them as
// the command line's values are checked (`raw` skips the ranges). Empty
// when they read, else why not ("y: expected a whole pixel number, got 'abc'").
std::string read_record(Records records, std::string_view first, std::string_view second, bool raw, Block &block,
                        std::size_t i);

// Which format the session asks for.
Format format_of(const Session &session);

}  // namespace viewgeo::tool

namespace viewgeo::tool {

// The "lens" and "lens_source" fields of a conversion's results.
std::vector<std::pair<std::string, std::string>> describe_lens(const CameraOptions &camera, const Context &ctx);

// The record on the command line when both coordinates are given (their
// texts, read as `records`; a record that does not read is invalid input,
// status 2), none when neither is (the records come from a stream). One
// coordinate alone is a usage error.
std::optional<Block> given_record(const Session &session, const CLI::Option *first, const CLI::Option *second,
                                  Records records, const std::string &first_text, const std::string &second_text);

// Converts the record on the command line, or runs the stream and keeps its
// status in the session.
void stream_or_one(Session &session, const Conversion &conversion, std::optional<Block> one);

// A block of one record given on the command line as text; a record that
// does not read is invalid input (status 2).
Block command_line_record(Records records, const std::string &first, const std::string &second, bool raw);

// Rejects --precise beside an option that has no precise form (status 2).
void check_precise(bool precise, const char *option, bool given);

// The help of every --precise flag.
constexpr const char *kPreciseHelp =
    "use the precise form: continuous pixels and double angles, printed in the shortest text that reads back "
    "as the same double";
// The reason of a precise conversion without an answer.
constexpr const char *kNoPreciseAnswer = "no answer: outside the lens's domain";

}  // namespace viewgeo::tool
