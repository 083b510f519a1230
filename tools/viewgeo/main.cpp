// viewgeo: the library's calculations from the command line.
//
//   viewgeo to-ptz 1200 300 --size 1920x1080 --hfov 60 --pan 10 --tilt -20
//   viewgeo --json to-pixel 15 -25 --hfov 60 --pan 10 --tilt -20
//   viewgeo batch < queries.txt      (one command line per input line)
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "session.h"

namespace viewgeo::tool {
namespace {

std::unique_ptr<CLI::App> make_app(Session &session, bool allow_batch, bool &batch) {
    auto app = std::make_unique<CLI::App>("Camera geometry of a pan-tilt-zoom camera", "viewgeo");
    app->require_subcommand(1);
    app->add_flag("--json", session.json, "print results as JSON, one object per line");
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
    return app;
}

void flush(Session &session) {
    for (const std::string &line : session.output) std::cout << line << '\n';
    session.output.clear();
}

// Each word that is not an option must name a subcommand while the command
// reached so far has any; CLI11 alone would only say that one is required.
// Empty when they do.
std::string unknown_command(CLI::App &app, const std::vector<std::string> &words) {
    CLI::App *current = &app;
    std::string path;
    for (const std::string &word : words) {
        if (!word.empty() && word[0] == '-') continue;
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

// One line of error, naming what was wrong.
void report_error(const std::string &where, const CLI::Error &e) {
    std::cerr << "viewgeo: " << where << e.what() << '\n';
}

int run_batch(bool json) {
    int status = 0;
    std::string line;
    for (int number = 1; std::getline(std::cin, line); ++number) {
        if (line.find_first_not_of(" \t\r") == std::string::npos || line[line.find_first_not_of(" \t")] == '#') continue;
        Session session;
        session.json = json;
        session.batch = true;
        bool nested_batch = false;
        auto app = make_app(session, false, nested_batch);
        const std::string unknown = unknown_command(*app, CLI::detail::split_up(line));
        if (!unknown.empty()) {
            std::cerr << "viewgeo: line " << number << ": " << unknown << '\n';
            std::cout << (json ? "{\"error\": true}" : "error") << '\n';
            status = 1;
            continue;
        }
        try {
            app->parse(line, false);
            flush(session);
        } catch (const CLI::CallForHelp &) {
            std::cerr << "viewgeo: line " << number << ": --help is not answered in batch mode\n";
            std::cout << (json ? "{\"error\": true}" : "error") << '\n';
            status = 1;
        } catch (const CLI::Error &e) {
            report_error("line " + std::to_string(number) + ": ", e);
            std::cout << (json ? "{\"error\": true}" : "error") << '\n';
            status = 1;
        } catch (const std::exception &e) {
            std::cerr << "viewgeo: line " << number << ": " << e.what() << '\n';
            std::cout << (json ? "{\"error\": true}" : "error") << '\n';
            status = 1;
        }
    }
    std::cout.flush();
    return status;
}

}  // namespace
}  // namespace viewgeo::tool

int main(int argc, char **argv) {
    using namespace viewgeo::tool;
    Session session;
    bool batch = false;
    auto app = make_app(session, true, batch);
    const std::string unknown = unknown_command(*app, std::vector<std::string>(argv + 1, argv + argc));
    if (!unknown.empty()) {
        std::cerr << "viewgeo: " << unknown << '\n';
        return 2;
    }
    try {
        app->parse(argc, argv);
    } catch (const CLI::CallForHelp &e) {
        return app->exit(e);
    } catch (const CLI::CallForAllHelp &e) {
        return app->exit(e);
    } catch (const CLI::Error &e) {
        report_error("", e);
        return e.get_exit_code() != 0 ? e.get_exit_code() : 2;
    } catch (const std::bad_alloc &) {
        std::cerr << "viewgeo: out of memory\n";
        return 3;
    } catch (const std::exception &e) {
        std::cerr << "viewgeo: " << e.what() << '\n';
        return 3;
    }
    if (batch) return run_batch(session.json);
    flush(session);
    return 0;
}
