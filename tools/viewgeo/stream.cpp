#include "stream.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace viewgeo::tool {
namespace {

constexpr std::size_t kChunk = 1 << 20;  // bytes read at most at a time

// Output collected in memory and written in large pieces.
class Out {
public:
    explicit Out(std::FILE *file) : file_(file) { text_.reserve(2 * kChunk); }
    ~Out() { flush(); }
    Out(const Out &) = delete;
    Out &operator=(const Out &) = delete;

    Out &operator<<(std::string_view s) {
        text_.append(s);
        return *this;
    }
    Out &operator<<(char c) {
        text_.push_back(c);
        if (c == '\n' && text_.size() >= kChunk) flush();
        return *this;
    }
    void integer(std::int64_t value) {
        char buffer[24];
        const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
        text_.append(buffer, end);
    }
    // Six decimals, as the reports print them.
    void fixed(float value) {
        char buffer[64];
        const auto r = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6);
        text_.append(buffer, r.ptr);
    }
    // The shortest text that reads back as the same float; null for what
    // JSON cannot hold.
    void json_number(float value) {
        if (!std::isfinite(value)) {
            text_.append("null");
            return;
        }
        char buffer[64];
        const auto r = std::to_chars(buffer, buffer + sizeof buffer, value);
        text_.append(buffer, r.ptr);
    }
    // The shortest text that reads back as the same double (a precise
    // result); null for what JSON cannot hold.
    void shortest(double value) {
        char buffer[kShortestLength];
        text_.append(buffer, shortest_text(value, buffer));
    }
    void json_string(std::string_view s) { append_json_string(text_, s); }
    void csv_field(std::string_view s) {
        if (s.find_first_of(",\"\n") == std::string_view::npos) {
            text_.append(s);
            return;
        }
        text_.push_back('"');
        for (const char c : s) {
            if (c == '"') text_.push_back('"');
            text_.push_back(c);
        }
        text_.push_back('"');
    }
    // Hands everything held to the file, and the file's buffer to the system.
    void flush() {
        if (!text_.empty() && std::fwrite(text_.data(), 1, text_.size(), file_) != text_.size() && error_ == 0)
            error_ = errno;
        text_.clear();
        if (std::fflush(file_) != 0 && error_ == 0) error_ = errno;
    }
    // Why the first write that did not go through failed (errno: a full disk,
    // a closed pipe); 0 while every one did.
    int error() const { return error_; }

private:
    std::FILE *file_;
    std::string text_;
    int error_ = 0;
};

bool pixels(Records records) { return records == Records::Pixels || records == Records::PrecisePixels; }

bool separator(char c) { return c == ' ' || c == '\t' || c == ',' || c == '\r'; }

// The fields of one line, split at whitespace and commas.
std::size_t split(std::string_view line, std::string_view *fields, std::size_t most) {
    std::size_t n = 0;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && separator(line[i])) ++i;
        if (i == line.size()) break;
        const std::size_t start = i;
        while (i < line.size() && !separator(line[i])) ++i;
        if (n < most) fields[n] = line.substr(start, i - start);
        ++n;
    }
    return n;
}

// Reads the whole of `text` as a number: std::errc() when it does,
// result_out_of_range for a number the type cannot hold, invalid_argument
// for anything else.
template <typename T>
std::errc parse_number(std::string_view text, T &value) {
    if (!text.empty() && text[0] == '+') text.remove_prefix(1);
    const auto r = std::from_chars(text.data(), text.data() + text.size(), value);
    if (r.ptr != text.data() + text.size()) return std::errc::invalid_argument;
    return r.ec;
}

// One line of input, in the order of the input.
struct Entry {
    enum Kind { Passed, Record, Bad } kind;
    std::size_t line;
    std::string_view text;       // the whole line (passed through, or echoed)
    std::string_view fields[2];  // the record's two fields
    std::size_t index;           // the record's place in the block
    std::string reason;          // why a bad record is bad
};

class Stream {
public:
    Stream(const Session &session, const Conversion &conversion, std::FILE *out)
        : format_(format_of(session)), raw_(session.raw), conversion_(conversion), out_(out) {
        if (pixels(conversion.records)) {
            inputs_[0] = "x", inputs_[1] = "y";
        } else {
            inputs_[0] = "pan", inputs_[1] = "tilt";
        }
        if (conversion.results == Results::Pixels || conversion.results == Results::PrecisePixels) {
            results_ = {"x", "y"};
        } else if (conversion.results == Results::Angles || conversion.results == Results::PreciseAngles) {
            results_ = {"pan", "tilt"};
        } else {
            results_ = {"pan", "tilt", "pan_q16", "tilt_q16"};
        }
    }

    void header() {
        if (format_ != Format::Csv) return;
        out_ << inputs_[0] << ',' << inputs_[1];
        for (const char *name : results_) out_ << ',' << name;
        for (const auto &[name, value] : conversion_.about) out_ << ',' << name;
        out_ << ",error" << '\n';
    }

    // Every complete line of `text`, converted as one block.
    void lines(std::string_view text) {
        entries_.clear();
        std::size_t records = 0;
        // Room for a record on every line; records are read straight into it.
        block_.resize(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1);
        while (!text.empty()) {
            const std::size_t end = text.find('\n');
            std::string_view line = text.substr(0, end);
            text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
            entries_.push_back(read(line, ++line_, records));
        }
        block_.resize(records);
        if (records > 0) conversion_.convert(block_);
        for (const Entry &e : entries_) write(e);
    }

    // Writes out what is held; the system's reason when a write failed.
    int send() {
        out_.flush();
        return out_.error();
    }
    int write_error() const { return out_.error(); }
    int status() const { return bad_ ? kExitUsage : failed_ ? kExitFailed : kExitOk; }
    std::size_t failures() const { return bad_ + failed_; }
    std::size_t line() const { return line_; }

private:
    Entry read(std::string_view line, std::size_t number, std::size_t &records) {
        Entry e{Entry::Passed, number, line, {}, 0, {}};
        const std::size_t first = line.find_first_not_of(" \t");
        if (first == std::string_view::npos || line[first] == '#') return e;
        const std::size_t n = split(line, e.fields, 2);
        if (n != 2) {
            e.kind = Entry::Bad;
            e.reason = "expected 2 fields (" + std::string(inputs_[0]) + " " + inputs_[1] + "), got " + std::to_string(n);
            return e;
        }
        e.reason = read_record(conversion_.records, e.fields[0], e.fields[1], raw_, block_, records);
        if (!e.reason.empty()) {
            e.kind = Entry::Bad;
            return e;
        }
        e.kind = Entry::Record;
        e.index = records++;
        return e;
    }

    void write(const Entry &e) {
        if (e.kind == Entry::Passed) {
            if (format_ != Format::Json) {
                out_ << e.text << '\n';
            } else if (!e.text.empty() && e.text.find_first_not_of(" \t") != std::string_view::npos) {
                out_ << "{\"line\": ";
                out_.integer(static_cast<std::int64_t>(e.line));
                out_ << ", \"comment\": ";
                out_.json_string(e.text);
                out_ << "}" << '\n';
            }
            return;
        }
        const bool failed = e.kind == Entry::Bad || block_.failed[e.index] != 0;
        if (failed) {
            ++(e.kind == Entry::Bad ? bad_ : failed_);
            error(e, e.kind == Entry::Bad ? e.reason : block_.failure);
            return;
        }
        if (format_ == Format::Json) {
            out_ << "{\"line\": ";
            out_.integer(static_cast<std::int64_t>(e.line));
        }
        echo(e);
        const std::size_t i = e.index;
        switch (conversion_.results) {
            case Results::Pixels:
                result(results_[0]), out_.integer(block_.x[i]);
                result(results_[1]), out_.integer(block_.y[i]);
                break;
            case Results::Angles:
                angle(results_[0], block_.pan[i]);
                angle(results_[1], block_.tilt[i]);
                break;
            case Results::AnglesQ16:
                angle(results_[0], static_cast<float>(Q16::from_raw(block_.pan_q16[i])));
                angle(results_[1], static_cast<float>(Q16::from_raw(block_.tilt_q16[i])));
                result(results_[2]), out_.integer(block_.pan_q16[i]);
                result(results_[3]), out_.integer(block_.tilt_q16[i]);
                break;
            case Results::PrecisePixels:
                result(results_[0]), out_.shortest(block_.x_d[i]);
                result(results_[1]), out_.shortest(block_.y_d[i]);
                break;
            case Results::PreciseAngles:
                result(results_[0]), out_.shortest(block_.pan_d[i]);
                result(results_[1]), out_.shortest(block_.tilt_d[i]);
                break;
        }
        for (const auto &[name, value] : conversion_.about) {
            result(name.c_str());
            if (format_ == Format::Json) {
                out_.json_string(value);
            } else if (format_ == Format::Csv) {
                out_.csv_field(value);
            } else {
                out_ << value;
            }
        }
        if (format_ == Format::Csv) out_ << ',';
        out_ << (format_ == Format::Json ? "}" : "") << '\n';
    }

    // The record's fields as they were given.
    void echo(const Entry &e) {
        if (format_ == Format::Json) {
            for (int k = 0; k < 2; ++k) {
                out_ << ", \"" << inputs_[k] << "\": ";
                const std::size_t i = e.index;
                switch (conversion_.records) {
                    case Records::Pixels: out_.integer(k == 0 ? block_.x[i] : block_.y[i]); break;
                    case Records::Angles: out_.json_number(k == 0 ? block_.pan[i] : block_.tilt[i]); break;
                    case Records::PrecisePixels: out_.shortest(k == 0 ? block_.x_d[i] : block_.y_d[i]); break;
                    case Records::PreciseAngles: out_.shortest(k == 0 ? block_.pan_d[i] : block_.tilt_d[i]); break;
                }
            }
            return;
        }
        out_ << e.fields[0] << (format_ == Format::Csv ? ',' : '\t') << e.fields[1];
    }

    // Starts the next result field.
    void result(const char *name) {
        if (format_ == Format::Json) {
            out_ << ", \"" << name << "\": ";
        } else {
            out_ << (format_ == Format::Csv ? ',' : '\t');
        }
    }

    void angle(const char *name, float value) {
        result(name);
        if (format_ == Format::Json) {
            out_.json_number(value);
        } else {
            out_.fixed(value);
        }
    }

    void error(const Entry &e, const std::string &reason) {
        const std::string where = "line " + std::to_string(e.line) + ": ";
        if (format_ == Format::Json) {
            out_ << "{\"line\": ";
            out_.integer(static_cast<std::int64_t>(e.line));
            out_ << ", \"input\": ";
            out_.json_string(e.text);
            out_ << ", \"error\": ";
            out_.json_string(reason);
            out_ << "}" << '\n';
        } else if (format_ == Format::Csv) {
            std::string_view fields[2];
            split(e.text, fields, 2);
            out_.csv_field(fields[0]);
            out_ << ',';
            out_.csv_field(fields[1]);
            for (std::size_t k = 0; k < results_.size() + conversion_.about.size(); ++k) out_ << ',';
            out_ << ',';
            out_.csv_field(where + reason);
            out_ << '\n';
        } else {
            out_ << e.text << "\terror: " << where << reason << '\n';
        }
    }

    Format format_;
    bool raw_;
    const Conversion &conversion_;
    Out out_;
    const char *inputs_[2] = {};
    std::vector<const char *> results_;
    Block block_;
    std::vector<Entry> entries_;
    std::size_t line_ = 0;
    std::size_t bad_ = 0;
    std::size_t failed_ = 0;
};

}  // namespace

std::string read_record(Records records, std::string_view first, std::string_view second, bool raw, Block &block,
                        std::size_t i) {
    const std::string_view fields[2] = {first, second};
    const char *names[2] = {"x", "y"};
    if (!pixels(records)) names[0] = "pan", names[1] = "tilt";
    for (int k = 0; k < 2; ++k) {
        const std::string got = "got '" + std::string(fields[k]) + "'";
        std::errc read = std::errc();
        double value = 0.0;
        switch (records) {
            case Records::Pixels:
                read = parse_number(fields[k], (k == 0 ? block.x : block.y)[i]);
                if (read == std::errc::result_out_of_range)
                    return std::string(names[k]) + ": " + out_of_range("a whole pixel number", fields[k]);
                if (read != std::errc()) return std::string(names[k]) + ": expected a whole pixel number, " + got;
                continue;
            case Records::Angles:
                read = parse_number(fields[k], (k == 0 ? block.pan : block.tilt)[i]);
                value = (k == 0 ? block.pan : block.tilt)[i];
                break;
            case Records::PrecisePixels:
                read = parse_number(fields[k], (k == 0 ? block.x_d : block.y_d)[i]);
                value = (k == 0 ? block.x_d : block.y_d)[i];
                break;
            case Records::PreciseAngles:
                read = parse_number(fields[k], (k == 0 ? block.pan_d : block.tilt_d)[i]);
                value = (k == 0 ? block.pan_d : block.tilt_d)[i];
                break;
        }
        if (read == std::errc::result_out_of_range) {
            const bool precise = records == Records::PrecisePixels || records == Records::PreciseAngles;
            return std::string(names[k]) + ": " + out_of_range(precise ? "a double" : "a float", fields[k]);
        }
        if (read != std::errc()) return std::string(names[k]) + ": expected a number, " + got;
        if (pixels(records)) {
            // A continuous pixel may lie anywhere, off the picture too.
            if (!raw && !std::isfinite(value)) return std::string(names[k]) + ": must be a finite number, " + got;
            continue;
        }
        try {
            if (k == 0) {
                check_pan(names[k], value, raw);
            } else {
                check_tilt(names[k], value, raw);
            }
        } catch (const CLI::Error &error) {
            return error.what();
        }
    }
    return {};
}

Block command_line_record(Records records, const std::string &first, const std::string &second, bool raw) {
    Block one;
    one.resize(1);
    const std::string reason = read_record(records, first, second, raw, one, 0);
    if (!reason.empty()) {
        const std::size_t colon = reason.find(": ");
        throw InvalidInput(reason.substr(0, colon), reason.substr(colon + 2));
    }
    return one;
}

void check_precise(bool precise, const char *option, bool given) {
    if (precise && given) throw InvalidInput("--precise", std::string("has no form with ") + option);
}

Format format_of(const Session &session) {
    return session.json ? Format::Json : session.csv ? Format::Csv : Format::Plain;
}

int run_stream(const Session &session, const Conversion &conversion) {
    std::FILE *in = stdin;
    const bool from_file = !session.input.empty() && session.input != "-";
    if (from_file) {
        in = std::fopen(session.input.c_str(), "rb");
        if (in == nullptr) throw FileError("cannot read " + session.input + ": " + std::strerror(errno));
    }
    int status = 0;
    std::size_t failures = 0;
    std::size_t lines = 0;
    {
        Stream stream(session, conversion, stdout);
        stream.header();
        std::string buffer;
        std::vector<char> chunk(kChunk);
        // What has arrived is converted and written out at once: a pipe fed
        // a line at a time has its answer before the next line, a file is
        // read a large chunk at a time. Reading stops where the output cannot
        // be written (a closed pipe whose signal is ignored): nobody takes
        // the rest.
        const int fd = fileno(in);
        int read_error = 0;
        while (stream.write_error() == 0) {
            const ssize_t got = ::read(fd, chunk.data(), chunk.size());
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) read_error = errno;
            if (got <= 0) break;
            const std::size_t held = buffer.size();
            buffer.append(chunk.data(), static_cast<std::size_t>(got));
            // Only the new bytes are searched: a long line is not scanned anew at every read.
            const std::size_t last = std::string_view(chunk.data(), static_cast<std::size_t>(got)).rfind('\n');
            if (last == std::string_view::npos) continue;
            stream.lines(std::string_view(buffer).substr(0, held + last));
            buffer.erase(0, held + last + 1);
            stream.send();
        }
        if (from_file) std::fclose(in);
        if (!buffer.empty() && stream.write_error() == 0) stream.lines(buffer);
        if (const int error = stream.send(); error != 0) throw output_failure(error);
        if (read_error != 0) {
            throw FileError("cannot read " + (from_file ? session.input : std::string("standard input")) + ": " +
                            std::strerror(read_error));
        }
        status = stream.status();
        failures = stream.failures();
        lines = stream.line();
    }
    if (failures > 0)
        std::fprintf(stderr, "viewgeo: %zu of the %zu input lines failed\n", failures, lines);
    return status;
}

void convert_one(Session &session, const Conversion &conversion, Block &block) {
    conversion.convert(block);
    if (block.failed[0] != 0) throw FileError(block.failure);
    Report report;
    switch (conversion.results) {
        case Results::Pixels:
            report.add_int("x", block.x[0]).add_int("y", block.y[0]);
            break;
        case Results::Angles:
            report.add("pan", block.pan[0]).add("tilt", block.tilt[0]);
            break;
        case Results::AnglesQ16:
            report.add_q16("pan", Q16::from_raw(block.pan_q16[0])).add_q16("tilt", Q16::from_raw(block.tilt_q16[0]));
            break;
        case Results::PrecisePixels:
            report.add_shortest("x", block.x_d[0]).add_shortest("y", block.y_d[0]);
            break;
        case Results::PreciseAngles:
            report.add_shortest("pan", block.pan_d[0]).add_shortest("tilt", block.tilt_d[0]);
            break;
    }
    for (const auto &[name, value] : conversion.about) report.add_text(name, value);
    session.print(report);
}

}  // namespace viewgeo::tool
