// The tool as a filter and as a checker of its input: records streamed
// through one command, values out of range refused, three exit statuses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <filesystem>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "cli/tool_test.h"
#include "viewgeo.h"

namespace viewgeo::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char *kCamera = " --size 1920x1080 --hfov 60 --pan 10 --tilt -20 --lens rectilinear";

using Stream = ToolTest;

TEST_F(Stream, PlainEchoesTheInputAndPassesCommentsThrough) {
    const std::string one = run(std::string("to-ptz 1200 300") + kCamera).out;
    const ToolResult r = run(std::string("to-ptz") + kCamera, "# pixels\n1200 300\n\n1200,300\n");
    EXPECT_EQ(r.status, 0) << r.err;
    // The single conversion's numbers, tab-separated after the echoed input.
    const std::string pan = one.substr(4, one.find("  tilt") - 4);
    const std::string tilt = one.substr(one.find("tilt ") + 5, one.find("  lens") - one.find("tilt ") - 5);
    const std::string row = "1200\t300\t" + pan + "\t" + tilt + "\trectilinear\toption --lens\n";
    EXPECT_EQ(r.out, "# pixels\n" + row + "\n" + row);
    EXPECT_EQ(r.err, "");
}

// Checked like the batch tests of the overview tool on purpose: the count
// of output lines, the marked failures, then the one summary line.
TEST_F(Stream, BadRecordsGiveAnErrorRecordAndTheRunGoesOn) {
    const ToolResult r = run(std::string("to-ptz") + kCamera, "1 2\nabc 5\n1 2 3\n3 4\n");
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(count_lines(r.out), 4) << r.out;
    EXPECT_THAT(r.out, HasSubstr("abc 5\terror: line 2: x: expected a whole pixel number, got 'abc'\n"));
    EXPECT_THAT(r.out, HasSubstr("1 2 3\terror: line 3: expected 2 fields (x y), got 3\n"));
    EXPECT_EQ(run(std::string("to-ptz") + kCamera, "-2147483649 0\n").out,
              "-2147483649 0\terror: line 1: x: number out of range for a whole pixel number, got '-2147483649'\n");
    EXPECT_THAT(r.out, StartsWith("1\t2\t"));
    EXPECT_THAT(r.out, HasSubstr("\n3\t4\t"));
    EXPECT_EQ(r.err, "viewgeo: 2 of the 4 input lines failed\n");
}

TEST_F(Stream, CsvHasAHeaderAndAnErrorColumn) {
    const ToolResult r = run(std::string("--csv to-pixel") + kCamera, "15 -25\nnan 0\n");
    EXPECT_EQ(r.status, 2);
    EXPECT_THAT(r.out, StartsWith("pan,tilt,x,y,lens,lens_source,error\n15,-25,1092,687,rectilinear,option --lens,\n"));
    EXPECT_THAT(r.out, HasSubstr("nan,0,,,,,\"line 2: pan: must be a finite number in [-360, 360], got nan\"\n"));
}

TEST_F(Stream, JsonLinesNameTheLineOfEveryRecordAndError) {
    const ToolResult r = run(std::string("to-pixel --jsonl") + kCamera, "# a\n15 -25\n15\n");
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "{\"line\": 1, \"comment\": \"# a\"}\n"
                     "{\"line\": 2, \"pan\": 15, \"tilt\": -25, \"x\": 1092, \"y\": 687" +
                         std::string(kLensJson) +
                         "{\"line\": 3, \"input\": \"15\", \"error\": \"expected 2 fields (pan tilt), got 1\"}\n");
}

TEST_F(Stream, ReadsAFileGivenWithInput) {
    root_.write("/pixels.txt", "1200 300\n");
    const ToolResult r = run("to-ptz --fixed --input '" + root_.real("/pixels.txt") + "'" + kCamera);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, StartsWith("1200\t300\t"));
    EXPECT_EQ(count_lines(r.out), 1);
}

// --input is an option of the tool as a whole, like --json: before the
// command as well as after it.
TEST_F(Stream, InputGivenBeforeTheCommandReadsTheSameFile) {
    root_.write("/pixels.txt", "1200 300\n");
    const std::string file = "'" + root_.real("/pixels.txt") + "'";
    const ToolResult after = run("to-ptz --input " + file + kCamera);
    const ToolResult before = run("--input " + file + " to-ptz" + kCamera);
    EXPECT_EQ(before.status, 0) << before.err;
    EXPECT_THAT(before.out, StartsWith("1200\t300\t"));
    EXPECT_EQ(before.out, after.out);
    expect_error(run("--input " + file + " frobnicate"), "unknown command 'frobnicate'", 2);
}

// An option the command would not use is refused before anything is done,
// not silently ignored: --input beside coordinates or on a command that
// reads no records, and --csv with --json.
TEST_F(Stream, InputOrFormatThatWouldBeIgnoredIsAUsageError) {
    root_.write("/records.txt", "1200 300\n");
    const std::string input = " --input '" + root_.real("/records.txt") + "'";
    expect_error(run(std::string("to-ptz 1200 300") + kCamera + input), "--input: reads records only when no coordinates", 2);
    expect_error(run("--input /nonexistent wrap-pan 5"), "--input: wrap-pan reads no records", 2);
    expect_error(run("remote set-center 1 0 0" + input), "--input: remote set-center reads no records", 2);
    EXPECT_FALSE(root_.exists("/etc/viewgeo/remoteptz.conf")) << "the command ran before the refusal";
    expect_error(run("batch" + input, "wrap-pan 5\n"), "--input: batch reads no records", 2);
    EXPECT_EQ(run(std::string("--csv --json to-ptz 1 2") + kCamera).err, "{\"error\": \"--json excludes --csv\"}\n");
    EXPECT_EQ(run(std::string("to-ptz --jsonl --csv") + kCamera, "1 2\n").status, 2);
    // In batch mode the line is refused and the run goes on.
    const ToolResult r = run("batch", "wrap-pan 5" + input + "\nwrap-pan 6\n");
    EXPECT_EQ(r.out, "error\npan 6.000000\n");
    EXPECT_THAT(r.err, HasSubstr("line 1: --input: wrap-pan reads no records"));
    // Where the records are read, --input still works before or after the command.
    EXPECT_EQ(run("remote point 1" + input).status, 1) << "accepted; channel 1 is not in the store";
}

TEST_F(Stream, AMissingInputFileIsAFailureWithTheSystemsReason) {
    expect_error(run("to-ptz --input /nonexistent/pixels.txt" + std::string(kCamera)),
                 "cannot read /nonexistent/pixels.txt: No such file or directory", 1);
}

TEST_F(Stream, RawPassesAnglesTheChecksWouldRefuse) {
    const ToolResult r = run(std::string("--raw to-pixel") + kCamera, "nan 0\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, StartsWith("nan\t0\t"));
    // The head's pan and tilt too; a zoom must still be a number.
    EXPECT_EQ(run("--raw mo-compensate --pan 1e9 --tilt nan").status, 0);
}

TEST_F(Stream, OneCoordinateAloneIsAUsageError) { expect_error(run(std::string("to-ptz 5") + kCamera), "y", 2); }

TEST_F(Stream, RemoteAndOverviewCommandsStreamToo) {
    root_.write("/etc/viewgeo/remoteptz.conf",
                "[channel_3]\ncenter_pan = 10\ncenter_tilt = -20\ncalibration_status = 1\nauto_calibrated = 0\n");
    ToolResult r = run("remote point 3 --size 1920x1080 --hfov 60 --lens rectilinear", "960 540\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, StartsWith("960\t540\t10.000000\t-20.00"));
    r = run("ovista to-pixel", "0 -90\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "0\t-90\t960\t540\n");
}

TEST_F(Stream, TheLensSaysWhereItCameFrom) {
    EXPECT_THAT(run("to-ptz 1 2").out, EndsWith("lens rectilinear  lens_source default\n"));
    root_.write("/usr/share/viewgeo/viewgeo_projection.conf", "");
    EXPECT_THAT(run("to-ptz 1 2").out,
                EndsWith("lens equidistant  lens_source flag file /usr/share/viewgeo/viewgeo_projection.conf\n"));
    EXPECT_THAT(run("--json to-ptz 1 2 --lens sine").out,
                EndsWith("\"lens\": \"sine\", \"lens_source\": \"option --lens\"}\n"));
}

struct Refused {
    const char *args;
    const char *named;  // the option and its range, as the message says them
};

void PrintTo(const Refused &bad, std::ostream *os) { *os << "viewgeo " << bad.args; }

class InvalidInput : public ToolTest, public ::testing::WithParamInterface<Refused> {};

TEST_P(InvalidInput, IsOneLineNamingTheOptionAndItsRangeWithStatus2) {
    expect_error(run(GetParam().args), GetParam().named, 2);
}

INSTANTIATE_TEST_SUITE_P(
    Tool, InvalidInput,
    ::testing::Values(Refused{"to-pixel nan 0", "pan: must be a finite number in [-360, 360]"},
                      Refused{"to-ptz 1 2 --pan inf", "--pan: must be a finite number in [-360, 360]"},
                      Refused{"to-ptz 1 2 --hfov -45", "--hfov: must be a finite number in (0, 360)"},
                      Refused{"to-ptz 1 2 --hfov 400", "--hfov: must be a finite number in (0, 360)"},
                      Refused{"to-ptz 1 2 --vfov 0", "--vfov: must be a finite number in (0, 360)"},
                      Refused{"to-ptz 1 2 --tilt 200", "--tilt: must be a finite number in [-180, 180]"},
                      Refused{"to-ptz 1 2 --rot 45", "--rot: must be one of 0, 90, 180, 270, 360"},
                      Refused{"magnification 200 60", "fov_a: must be a finite number in (0, 180)"},
                      Refused{"remote get-center 1000000", "channel: must be a channel number from -99999 to 999999"},
                      Refused{"ovista to-ptz 1 2 --rot 90", "--rot: applies only to ovista to-pixel"},
                      Refused{"ovista to-ptz 1 2 --mirror", "--mirror: applies only to ovista to-pixel"},
                      Refused{"ovista set radius_x 0", "radius_x: must be a finite number in (0, 1]"},
                      Refused{"ovista set field_angle 0", "field_angle: must be a finite number in (0, 180]"},
                      Refused{"ovista set x_comp.type 7", "x_comp.type: must be 0 (none), 1 (quadratic) or 2"},
                      Refused{"to-ptz 1 2 --no-such-option", "--no-such-option"},
                      Refused{"mo-offset --tilt nan", "--tilt: must be a finite number in [-180, 180], got nan"},
                      Refused{"mo-compensate --pan 1e9", "--pan: must be a finite number in [-360, 360], got 1e+09"},
                      Refused{"mo-compensate --tilt -200", "--tilt: must be a finite number in [-180, 180]"},
                      Refused{"mo-offset --zoom inf", "--zoom: must be a finite number, got inf"},
                      Refused{"--raw mo-compensate --zoom nan", "--zoom: must be a finite number, got nan"},
                      Refused{"to-pixel 1e40 0", "pan: number out of range for a float, got '1e40'"},
                      Refused{"to-pixel 0 -1e-50", "tilt: number out of range for a float, got '-1e-50'"},
                      Refused{"to-ptz 2147483648 0", "x: number out of range for a whole pixel number, got '2147483648'"},
                      Refused{"to-ptz --precise 0 1e400", "y: number out of range for a double, got '1e400'"},
                      Refused{"to-pixel 1e40x 0", "pan: expected a number, got '1e40x'"},
                      Refused{"ovista set center_pan 1e-50", "center_pan: number out of range for a float, got '1e-50'"},
                      Refused{"ovista set x_comp.type 99999999999",
                              "x_comp.type: number out of range for an integer, got '99999999999'"}),
    [](const ::testing::TestParamInfo<Refused> &info) { return "Case" + std::to_string(info.index); });

TEST_F(Stream, RawLetsTheLibrarysFallbacksThrough) {
    const ToolResult r = run("--raw to-ptz 1 2 --hfov 0 --rot 45");
    EXPECT_EQ(r.status, 0) << r.err;
}

TEST_F(Stream, ExitStatusesAreDocumentedInHelp) {
    const ToolResult r = run("--help");
    EXPECT_EQ(r.status, 0);
    EXPECT_THAT(r.out, HasSubstr("Exit status: 0 success, 1 an operation failed"));
    EXPECT_THAT(r.out, HasSubstr("2 usage or invalid input"));
}

TEST_F(Stream, HelpCommandAnswersLikeHelpOption) {
    const ToolResult r = run("help to-pixel");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, run("to-pixel --help").out);
    EXPECT_THAT(r.out, HasSubstr("Usage"));
}

TEST_F(Stream, VersionIsTheLibrarysVersion) {
    const ToolResult r = run("--version");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(std::regex_match(r.out, std::regex("[0-9]+\\.[0-9]+\\.[0-9]+\n"))) << r.out;
}

TEST_F(Stream, JsonErrorsAreObjects) {
    const ToolResult r = run("--json to-ptz 1 2 --rot 45");
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "{\"error\": \"--rot: must be one of 0, 90, 180, 270, 360, got 45\"}\n");
    EXPECT_EQ(run("--json no-such-command").err,
              "{\"error\": \"unknown command 'no-such-command' (see viewgeo --help)\"}\n");
}

// Input lines and arguments are bytes: whatever they hold, each JSON line
// is valid JSON. Control characters are escaped; a byte sequence that is not
// UTF-8 reads U+FFFD, one for each piece a decoder rejects; real UTF-8 text
// passes unchanged.
TEST_F(Stream, JsonStaysValidWhateverBytesTheInputHolds) {
    const std::string fffd = "\xEF\xBF\xBD";
    ToolResult r = run(std::string("--json to-ptz") + kCamera,
                       "\xff\xfe 1\n# caf\xc3\xa9 \xf0\x9f\x98\x80\x01\n"
                       "# cut \xe2\x82 surrogate \xed\xa0\x80 overlong \xc0\xaf \xf4\x90\x80\x80\n");
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "{\"line\": 1, \"input\": \"" + fffd + fffd + " 1\", \"error\": \"x: expected a whole pixel number, got '" +
                         fffd + fffd + "'\"}\n"
                         "{\"line\": 2, \"comment\": \"# caf\xc3\xa9 \xf0\x9f\x98\x80\\u0001\"}\n"
                         "{\"line\": 3, \"comment\": \"# cut " + fffd + " surrogate " + fffd + fffd + fffd +
                         " overlong " + fffd + fffd + " " + fffd + fffd + fffd + fffd + "\"}\n");
    // An error of the command line, and one of a batch line, are written alike.
    r = run("--json to-ptz 'a\x01\xff' 2");
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "{\"error\": \"x: expected a whole pixel number, got 'a\\u0001" + fffd + "'\"}\n");
    r = run("--json batch", "wrap-pan 1\x02\xc3\n");
    EXPECT_EQ(r.out, "{\"error\": \"Could not convert: pan = 1\\u0002" + fffd + "\", \"line\": 1}\n");
}

TEST_F(Stream, AFailedWriteGivesTheSystemsReason) {
    root_.remove("/etc/viewgeo");
    const ToolResult r = run("remote set-center 1 0 0");
    expect_error(r, "cannot write /etc/viewgeo/remoteptz.conf", 1);
    EXPECT_THAT(r.err, HasSubstr("No such file or directory")) << "the reason, not only the system log";
}

TEST_F(Stream, VersionIsTheLoadedLibrarysOwnText) {
    EXPECT_EQ(run("--version").out, std::string(viewgeo_version()) + "\n");
}

TEST_F(Stream, AFailedWriteNamesTheLibrarysFailedStep) {
    root_.remove("/etc/viewgeo");
    const ToolResult r = run("remote set-center 1 0 0");
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.err, HasSubstr("cannot write /etc/viewgeo/remoteptz.conf: lock /etc/viewgeo: No such file or directory"));
}

// A stream fed through a pipe answers each line as it arrives: a program can
// keep the tool beside it, write a record and read the result before it
// writes the next. The wait is generous, for an emulated tool: without an
// answer the test still ends, when the input is closed.
TEST_F(Stream, AnswersALineOfAPipeBeforeTheInputEnds) {
    int to_tool[2], from_tool[2];
    ASSERT_EQ(pipe2(to_tool, O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(from_tool, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, to_tool[0], 0);
    posix_spawn_file_actions_adddup2(&actions, from_tool[1], 1);
    std::string command = tool_command(std::string("to-ptz") + kCamera, root_.real(""));
    char shell[] = "/bin/sh", option[] = "-c";
    char *argv[] = {shell, option, command.data(), nullptr};
    pid_t child = 0;
    const int spawned = posix_spawn(&child, "/bin/sh", &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(to_tool[0]);
    close(from_tool[1]);
    ASSERT_EQ(spawned, 0);
    ASSERT_EQ(write(to_tool[1], "1200 300\n", 9), 9);
    pollfd ready{from_tool[0], POLLIN, 0};
    const int answered = poll(&ready, 1, 30000);
    std::string answer;
    char text[256];
    ssize_t got = 0;
    if (answered == 1 && (got = read(from_tool[0], text, sizeof text)) > 0) answer.assign(text, static_cast<std::size_t>(got));
    close(to_tool[1]);
    while ((got = read(from_tool[0], text, sizeof text)) > 0) {
    }
    close(from_tool[0]);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(answered, 1) << "no answer while the input stays open";
    EXPECT_THAT(answer, StartsWith("1200\t300\t18.302807\t-11.666656\t"));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

// Results that never reach standard output (a full disk) are a failure with
// the system's reason, never a silent success: one result, a stream, batch
// mode and the help alike.
TEST_F(Stream, OutputThatCannotBeWrittenIsAFailure) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
    const std::pair<std::string, std::string> runs[] = {{std::string("to-ptz 1200 300") + kCamera, ""},
                                                        {std::string("to-ptz") + kCamera, "1200 300\n960 540\n"},
                                                        {"batch", "wrap-pan 190\n"},
                                                        {"--help", ""}};
    for (const auto &[args, input] : runs) {
        const ToolResult r = run_tool(args, root_.real(""), input, "/dev/full");
        EXPECT_EQ(r.status, 1) << args;
        EXPECT_EQ(r.err, "viewgeo: cannot write standard output: No space left on device\n") << args;
    }
    EXPECT_EQ(run_tool("--json wrap-pan 190", root_.real(""), "", "/dev/full").err,
              "{\"error\": \"cannot write standard output: No space left on device\"}\n");
}

}  // namespace
}  // namespace viewgeo::testing
