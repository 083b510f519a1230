// Conversion of a stream of records: one per line of standard input or of a
// file, the camera given once on the command line.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "session.h"

namespace viewgeo::tool {

// A block of records converted together. Inputs are either pixels (x, y) or
// directions (pan, tilt); the conversion fills the other pair, or the Q16.16
// words, and marks the records it could not convert.
struct Block {
    std::vector<std::int32_t> x, y;
    std::vector<float> pan, tilt;
    std::vector<std::int32_t> pan_q16, tilt_q16;
    std::vector<unsigned char> failed;  // 1: no result for this record
    std::string failure;                // why, for every failed record

    void resize(std::size_t n) {
        x.resize(n), y.resize(n), pan.resize(n), tilt.resize(n), pan_q16.resize(n), tilt_q16.resize(n);
        failed.assign(n, 0);
    }
    std::size_t size() const { return failed.size(); }
};

enum class Records { Pixels, Angles };      // what each input line holds
enum class Results { Pixels, Angles, AnglesQ16 };  // what the conversion gives

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

// Which format the session asks for.
Format format_of(const Session &session);

}  // namespace viewgeo::tool

namespace viewgeo::tool {

// The "lens" and "lens_source" fields of a conversion's results.
std::vector<std::pair<std::string, std::string>> describe_lens(const CameraOptions &camera, const Context &ctx);

// Converts the record on the command line when both coordinates are given
// (`one` holds it), else runs the stream and keeps its status in the
// session. One coordinate alone is a usage error. True for the single record.
bool stream_or_one(Session &session, const CLI::Option *first, const CLI::Option *second, const Conversion &conversion,
                   Block one);

// A block of one record given on the command line.
Block pixel_record(std::int32_t x, std::int32_t y);
Block angle_record(float pan, float tilt);

}  // namespace viewgeo::tool
