// viewgeo: the library's calculations from the command line.
//
//   viewgeo to-ptz 1200 300 --size 1920x1080 --hfov 60 --pan 10 --tilt -20
//   viewgeo --json to-pixel 15 -25 --hfov 60 --pan 10 --tilt -20
//   viewgeo to-ptz --size 1920x1080 --hfov 60 < pixels.txt   (one "x y" per line)
//   viewgeo batch < queries.txt      (one command line per input line)
//
// Exit status: 0 success, 1 an operation failed (a file, a calibration),
// 2 usage or invalid input.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "session.h"

namespace viewgeo::tool {
namespace {

// Refuses --input unless the command reached reads a stream of records.
void check_input_read(const Session &session, const CLI::App &root) {
    if (session.input_option->count() == 0) return;
    const CLI::App *command = &root;
    std::string path;
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
        path += (path.empty() ? "" : " ") + command->get_name();
    }
    const auto &readers = session.record_readers;
    if (std::find(readers.begin(), readers.end(), command) != readers.end()) return;
    throw InvalidInput("--input", path + " reads no records (to-ptz, to-pixel, ovista to-ptz, ovista to-pixel, "
                                         "remote point and remote to-pixel do)");
}

std::unique_ptr<CLI::App> make_app(Session &session, bool allow_batch, bool &batch) {
    auto app = std::make_unique<CLI::App>("Camera geometry of a pan-tilt-zoom camera", "viewgeo");
    app->require_subcommand(1);
    app->fallthrough();
    app->footer(
        "Conversion commands given no coordinates read one record per line from standard input or --input.\n"
        "--precise (to-ptz, to-pixel, ovista to-ptz/to-pixel): continuous pixels and double angles, printed\n"
        "in the shortest text that reads back as the same double; no answer is an error (status 1).\n"
        "Exit status: 0 success, 1 an operation failed (a file, a calibration), 2 usage or invalid input.");
    app->set_version_flag("--version", tool_version(), "print the library's version and exit");
    CLI::Option *json = app->add_flag("--json,--jsonl", session.json, "print results as JSON, one object per line");
    app->add_flag("--csv", session.csv, "print a stream's results as CSV with a header")->excludes(json);
    app->add_flag("--raw", session.raw, "pass values to the library unchecked");
    session.input_option =
        app->add_option("--input", session.input, "read records from FILE instead of standard input")->type_name("FILE");
    add_projection_commands(*app, session);
    add_utility_commands(*app, session);
    add_misalignment_commands(*app, session);
    add_grid_command(*app, session);
    add_ovista_commands(*app, session);
    add_remote_commands(*app, session);
    if (allow_batch) {
        app->add_subcommand("batch", "read one command per line from standard input; print one result per line")
            ->callback([&batch] { batch = true; });
    }
    // Before any command acts: a file given to a command that reads no
    // records would be silently ignored.
    app->parse_complete_callback([&session, root = app.get()] { check_input_read(session, *root); });
    return app;
}

void flush(Session &session) {
    for (const std::string &line : session.output) std::cout << line << '\n';
    session.output.clear();
}

// Whether `word` names an option of `app` or of a command above it (options
// fall through) that takes its value from the next word: "--input FILE",
// not "--input=FILE" nor a flag.
bool takes_next_word(const CLI::App *app, const std::string &word) {
    if (word.find('=') != std::string::npos) return false;
    for (; app != nullptr; app = app->get_parent()) {
        if (const CLI::Option *option = app->get_option_no_throw(word)) return option->get_items_expected_min() > 0;
    }
    return false;
}

// Each word that is neither an option nor an option's value must name a
// subcommand while the command reached so far has any; CLI11 alone would
// only say that one is required. Empty when they do.
std::string unknown_command(CLI::App &app, const std::vector<std::string> &words) {
    CLI::App *current = &app;
    std::string path;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string &word = words[i];
        if (!word.empty() && word[0] == '-') {
            if (takes_next_word(current, word)) ++i;
            continue;
        }
        if (current->get_subcommands([](CLI::App *) { return true; }).empty()) return "";
        try {
            current = current->get_subcommand(word);
            path += word + " ";
        } catch (const CLI::OptionNotFound &) {
            return "unknown command '" + path + word + "' (see viewgeo " + path + "--help)";
        }
    }
    return "";
}

// One line of error, naming what was wrong; a JSON object with --json.
void report_error(bool json, const std::string &message) {
    if (json) {
        std::cerr << "{\"error\": " << json_string(message) << "}\n";
    } else {
        std::cerr << "viewgeo: " << message << '\n';
    }
}

// The status of a failure: only the tool's three.
int exit_status(const CLI::Error &e) { return dynamic_cast<const FileError *>(&e) != nullptr ? kExitFailed : kExitUsage; }

// "viewgeo help [command...]" is "viewgeo [command...] --help".
std::vector<std::string> arguments(int argc, char **argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    if (!words.empty() && words[0] == "help") {
        words.erase(words.begin());
        words.push_back("--help");
    }
    return words;
}

bool wants_json(const std::vector<std::string> &words) {
    for (const std::string &word : words) {
        if (word == "--json" || word == "--jsonl") return true;
    }
    return false;
}

// Flushes standard output: 0 when everything written to it went out, else
// why not (errno of the failed write; -1 when an earlier write failed).
int flush_output() {
    errno = 0;
    if (std::fflush(stdout) != 0) return errno != 0 ? errno : -1;
    return std::ferror(stdout) != 0 ? -1 : 0;
}

// The status to exit with, given what flush_output() said: output lost to a
// full disk or a closed pipe is a failure.
int written(bool json, int status, int error) {
    if (error == 0) return status;
    report_error(json, output_failure(error).what());
    return kExitFailed;
}

int run_batch(bool json) {
    int status = 0;
    std::string line;
    for (int number = 1;; ++number) {
        // Each result goes out before the next line is read; reading stops
        // where the results cannot be written.
        if (const int error = flush_output(); error != 0) return written(json, status, error);
        if (!std::getline(std::cin, line)) break;
        if (line.find_first_not_of(" \t\r") == std::string::npos || line[line.find_first_not_of(" \t")] == '#') continue;
        Session session;
        session.json = json;
        session.batch = true;
        bool nested_batch = false;
        auto app = make_app(session, false, nested_batch);
        const std::string unknown = unknown_command(*app, CLI::detail::split_up(line));
        std::string failure = unknown;
        if (failure.empty()) {
            try {
                app->parse(line, false);
                flush(session);
                continue;
            } catch (const CLI::CallForHelp &) {
                failure = "--help is not answered in batch mode";
            } catch (const CLI::CallForAllHelp &) {
                failure = "--help is not answered in batch mode";
            } catch (const CLI::CallForVersion &) {
                failure = "--version is not answered in batch mode";
            } catch (const CLI::Error &e) {
                failure = e.what();
            } catch (const std::exception &e) {
                failure = e.what();
            }
        }
        // The reason on stderr for people, and in the result's place.
        std::cerr << "viewgeo: line " << number << ": " << failure << '\n';
        if (json) {
            std::cout << "{\"error\": " << json_string(failure) << ", \"line\": " << number << "}\n";
        } else {
            std::cout << "error\n";
        }
        status = 1;
    }
    return status;
}

}  // namespace
}  // namespace viewgeo::tool

int main(int argc, char **argv) {
    using namespace viewgeo::tool;
    Session session;
    bool batch = false;
    std::vector<std::string> words = arguments(argc, argv);
    const bool json = wants_json(words);
    try {
        auto app = make_app(session, true, batch);
        const std::string unknown = unknown_command(*app, words);
        if (!unknown.empty()) {
            report_error(json, unknown);
            return kExitUsage;
        }
        try {
            std::reverse(words.begin(), words.end());
            app->parse(words);
        } catch (const CLI::CallForHelp &e) {
            app->exit(e);
            return written(json, kExitOk, flush_output());
        } catch (const CLI::CallForAllHelp &e) {
            app->exit(e);
            return written(json, kExitOk, flush_output());
        } catch (const CLI::CallForVersion &e) {
            app->exit(e);
            return written(json, kExitOk, flush_output());
        }
    } catch (const CLI::Error &e) {
        std::cout.flush();
        report_error(json, e.what());
        return exit_status(e);
    } catch (const std::bad_alloc &) {
        report_error(json, "out of memory");
        return kExitFailed;
    } catch (const std::exception &e) {
        report_error(json, e.what());
        return kExitFailed;
    }
    if (batch) return run_batch(session.json);
    flush(session);
    return written(json, session.status, flush_output());
}
