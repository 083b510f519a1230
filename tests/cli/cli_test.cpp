// The command-line tool as users run it: its output agrees with the library,
// and bad arguments give one line of error and a non-zero status.
#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "cli/tool_test.h"
#include "support/temp_root.h"
#include "viewgeo.h"

namespace viewgeo::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::string fixed6(float v) {
    char text[64];
    std::snprintf(text, sizeof text, "%.6f", static_cast<double>(v));
    return text;
}

// The camera most tests use, as a context and as tool options.
constexpr const char *kCamera = "--size 1920x1080 --hfov 60 --pan 10 --tilt -20 --lens rectilinear";

viewgeo_context *make_camera() {
    viewgeo_context *ctx = viewgeo_context_create();
    viewgeo_set_pic_dim(ctx, 1920, 1080);
    viewgeo_set_horiz_fov_f(ctx, 60.0f);
    viewgeo_set_pantilt_f(ctx, 10.0f, -20.0f);
    viewgeo_set_projection_type(ctx, 2);
    return ctx;
}

// The tool with no files of its own.
using Tool = ToolTest;

TEST_F(Tool, PixelToPanTiltMatchesTheLibrary) {
    viewgeo_context *ctx = make_camera();
    float pan = 0, tilt = 0;
    viewgeo_to_ptz_f(ctx, &pan, &tilt, 1200, 300);
    viewgeo_context_delete(ctx);
    const ToolResult r = run(std::string("to-ptz 1200 300 ") + kCamera);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "pan " + fixed6(pan) + "  tilt " + fixed6(tilt) + kLensText);
}

// Reads like the test above on purpose: the library's answer first, then
// the tool's for the same camera.
TEST_F(Tool, RelativeFixedPointPrintsTheQ16Words) {
    viewgeo_context *ctx = make_camera();
    int32_t pan = 0, tilt = 0;
    viewgeo_to_ptz_x_rel(ctx, &pan, &tilt, 100, 900);
    viewgeo_context_delete(ctx);
    const ToolResult r = run(std::string("--json to-ptz 100 900 --rel --fixed ") + kCamera);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr("\"pan_q16\": " + std::to_string(pan)));
    EXPECT_THAT(r.out, HasSubstr("\"tilt_q16\": " + std::to_string(tilt)));
}

TEST_F(Tool, PanTiltToPixelMatchesTheLibraryInBothForms) {
    viewgeo_context *ctx = make_camera();
    int32_t x = 0, y = 0, xq = 0, yq = 0;
    viewgeo_to_pixel_f(ctx, &x, &y, 15.0f, -25.0f);
    viewgeo_to_pixel_x(ctx, &xq, &yq, 15 * 65536, -25 * 65536);
    viewgeo_context_delete(ctx);
    ToolResult r = run(std::string("--json to-pixel 15 -25 ") + kCamera);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "{\"x\": " + std::to_string(x) + ", \"y\": " + std::to_string(y) + kLensJson);
    r = run(std::string("to-pixel 15 -25 --fixed ") + kCamera);
    EXPECT_EQ(r.out, "x " + std::to_string(xq) + "  y " + std::to_string(yq) + kLensText);
}

TEST_F(Tool, UtilitiesPrintTheirResults) {
    EXPECT_EQ(run("pan-delta 170 -170").out, "delta 20.000000\n");
    EXPECT_EQ(run("wrap-pan 600").out, "pan 240.000000\n");
    EXPECT_EQ(run("great-circle 0 0 90 0").out, "angle " + fixed6(viewgeo_get_great_circle(0, 0, 90, 0)) + "\n");
    float a = 0, b = 0;
    viewgeo_get_zoom_fov(2.0f, 60.0f, 2.0f, &a, &b);
    EXPECT_EQ(run("--json zoom-fov 2 60 2").out,
              "{\"fov_a\": " + [&] {
                  char t[32];
                  std::snprintf(t, sizeof t, "%.9g", static_cast<double>(a));
                  return std::string(t);
              }() + ", \"fov_b\": " + [&] {
                  char t[32];
                  std::snprintf(t, sizeof t, "%.9g", static_cast<double>(b));
                  return std::string(t);
              }() + "}\n");
    const int32_t m = viewgeo_get_zoom_magnification(30 * 65536, 60 * 65536);
    EXPECT_THAT(run("magnification 30 60").out, HasSubstr("(Q16.16 " + std::to_string(m) + ")"));
}

TEST_F(Tool, MisalignmentFromCommandLineTexts) {
    // 1000 pan steps a turn, optical pan offset -10 steps at zoom 1: 3.6 degrees.
    const ToolResult r = run("--json mo-offset --zoom 1 --tilt 0 --optical '1,-10,0;100,-10,0' --mechanical 0,0 "
                             "--pan-steps 1000 --tilt-steps 1000");
    EXPECT_EQ(r.status, 0) << r.err;
    // (10 steps x 360) / 1000 = 3.6 in single precision, 235929.6 rounded.
    EXPECT_THAT(r.out, HasSubstr("\"pan_offset_q16\": 235930"));
    EXPECT_THAT(r.out, HasSubstr("\"tilt_offset\": 0,"));
}

TEST_F(Tool, MisalignmentTextThatDoesNotScanIsAnError) {
    const ToolResult r = run("mo-offset --optical '1,0,0;' --mechanical 0,0 --pan-steps 10 --tilt-steps 10");
    EXPECT_NE(r.status, 0);
    EXPECT_EQ(count_lines(r.err), 1);
    EXPECT_THAT(r.err, HasSubstr("--optical"));
}

TEST_F(Tool, BatchModeAnswersOneLinePerQuery) {
    const ToolResult r = run("--json batch", "pan-delta 0 180.5\n# a comment\n\nwrap-pan 180.5\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "{\"delta\": 179.5}\n{\"pan\": -179.5}\n");
}

TEST_F(Tool, BatchModeReportsABadLineAndGoesOn) {
    const ToolResult r = run("batch", "wrap-pan 10\nwrap-pan\nwrap-pan 20\n");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "pan 10.000000\nerror\npan 20.000000\n");
    EXPECT_THAT(r.err, StartsWith("viewgeo: line 2: "));
    EXPECT_EQ(count_lines(r.err), 1);
}

TEST_F(Tool, BatchModeDoesNotAnswerHelp) {
    const ToolResult r = run("batch", "to-ptz --help\nwrap-pan 10\n");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "error\npan 10.000000\n");
    EXPECT_EQ(r.err, "viewgeo: line 1: --help is not answered in batch mode\n");
}

class ToolBadArguments : public Tool, public ::testing::WithParamInterface<BadArgs> {};

TEST_P(ToolBadArguments, GiveOneLineNamingTheArgumentAndFail) {
    const ToolResult r = run(GetParam().args);
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.status, 128 + 11) << "crashed";
    EXPECT_EQ(count_lines(r.err), 1) << r.err;
    EXPECT_THAT(r.err, HasSubstr(GetParam().named));
    EXPECT_EQ(r.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Tool, ToolBadArguments,
    ::testing::Values(BadArgs{"to-ptz 10", "y"}, BadArgs{"to-ptz ten 10", "x"},
                      BadArgs{"to-ptz 1 2 --size 1920by1080", "--size"},
                      BadArgs{"to-ptz 1 2 --size 0x1080", "--size"},
                      BadArgs{"to-ptz 1 2 --size 99999x1080", "--size"},
                      BadArgs{"to-ptz 1 2 --lens fisheye", "--lens"},
                      BadArgs{"to-ptz 1 2 --hfov wide", "--hfov"},
                      BadArgs{"to-pixel 1 2 --rot", "--rot"}, BadArgs{"no-such-command", "no-such-command"},
                      BadArgs{"zoom-fov 0 60 2", "zoom"}, BadArgs{"zoom-fov -1 60 2", "zoom_a"}, BadArgs{"magnification 0 60", "fov_a"},
                      BadArgs{"grid --svg /nonexistent-dir/x.svg", "--svg"},
                      BadArgs{"grid --svg x.svg --step 0", "--step"}, BadArgs{"", "subcommand"},
                      BadArgs{"zoom-fov nan 60 2", "zoom_a"}, BadArgs{"zoom-fov 2 60 nan", "zoom_b"},
                      BadArgs{"grid --svg /nonexistent-dir/x.svg --step nan", "--step"}),
    case_name<BadArgs>);

// Each value in the help is named for what it is (a FILE, a NUMBER,
// WIDTHxHEIGHT), never by the parser's generic TEXT.
TEST_F(Tool, HelpNamesWhatEachValueIs) {
    for (const char *command : {"", "to-ptz", "to-pixel", "grid", "mo-offset", "mo-compensate", "ovista set",
                                "ovista to-ptz", "ovista to-pixel", "remote point", "remote to-pixel", "remote zoom"}) {
        const ToolResult r = run(std::string(command) + " --help");
        EXPECT_EQ(r.status, 0) << command;
        EXPECT_THAT(r.out, Not(HasSubstr(" TEXT"))) << command;
    }
    EXPECT_THAT(run("--help").out, HasSubstr("--input FILE "));
    EXPECT_THAT(run("grid --help").out, HasSubstr("--svg FILE "));
    EXPECT_THAT(run("to-ptz --help").out, HasSubstr("x NUMBER "));
    EXPECT_THAT(run("to-ptz --help").out, HasSubstr("--size WIDTHxHEIGHT=1920x1080"));
}

TEST_F(Tool, EverySubcommandHasHelp) {
    for (const char *command : {"to-ptz", "to-pixel", "pan-delta", "great-circle", "zoom-fov", "magnification",
                                "wrap-pan", "mo-offset", "mo-compensate", "grid", "batch"}) {
        const ToolResult r = run(std::string(command) + " --help");
        EXPECT_EQ(r.status, 0) << command;
        EXPECT_THAT(r.out, HasSubstr("Usage")) << command;
    }
}

// Tags open and close in order; attributes are quoted. Enough to catch a
// broken writer without an XML library.
bool well_formed(const std::string &xml) {
    std::vector<std::string> open;
    const std::regex tag(R"(<(/?)([A-Za-z?][A-Za-z0-9:-]*)((?:\s+[A-Za-z:-]+="[^"<]*")*)\s*(/?|\?)>)");
    std::size_t consumed = 0;
    for (auto it = std::sregex_iterator(xml.begin(), xml.end(), tag); it != std::sregex_iterator(); ++it) {
        const std::smatch &m = *it;
        const std::string between = xml.substr(consumed, static_cast<std::size_t>(m.position()) - consumed);
        if (between.find('<') != std::string::npos) return false;  // a tag the pattern could not read
        consumed = static_cast<std::size_t>(m.position() + m.length());
        const std::string name = m[2];
        if (name[0] == '?' || m[4] == "/") continue;
        if (m[1] == "/") {
            if (open.empty() || open.back() != name) return false;
            open.pop_back();
        } else {
            open.push_back(name);
        }
    }
    return open.empty() && xml.find('<', consumed) == std::string::npos;
}

TEST_F(Tool, GridDrawsTheVisibleLinesAsWellFormedSvg) {
    // A level camera looking along pan 0 sees pans -25, 0 and 25 inside its
    // 60 degree width and, of the tilts every 25 degrees, only the horizon.
    const std::string svg = root_.real("/grid.svg");
    const ToolResult r =
        run("grid --svg '" + svg + "' --step 25 --size 1920x1080 --hfov 60 --pan 0 --tilt 0 --lens rectilinear");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "svg " + svg + "  pan_lines 3  tilt_lines 1\n");
    const std::string xml = root_.read("/grid.svg");
    EXPECT_TRUE(well_formed(xml));
    const std::regex path("<path class=\"(pan|tilt)\"");
    EXPECT_EQ(std::distance(std::sregex_iterator(xml.begin(), xml.end(), path), std::sregex_iterator()), 4);
    EXPECT_THAT(xml, HasSubstr("data-label=\"-25\""));
    EXPECT_THAT(xml, HasSubstr("<rect class=\"frame\""));
    // Every line is labelled with its value; the horizon stands out.
    const std::regex label("<text class=\"(pan|tilt)\"");
    EXPECT_EQ(std::distance(std::sregex_iterator(xml.begin(), xml.end(), label), std::sregex_iterator()), 4);
    EXPECT_THAT(xml, HasSubstr(">pan -25</text>"));
    EXPECT_THAT(xml, HasSubstr(">tilt 0 (horizon)</text>"));
    EXPECT_THAT(xml, HasSubstr("data-label=\"0\" style=\"stroke-width:5\""));
    EXPECT_THAT(xml, HasSubstr(">rectilinear lens, 1920x1080, hfov 60, "));
}

TEST(WellFormed, RejectsBrokenXml) {
    EXPECT_TRUE(well_formed("<a><b x=\"1\"/></a>"));
    EXPECT_FALSE(well_formed("<a><b></a>"));
    EXPECT_FALSE(well_formed("<a x=1></a>"));
}

}  // namespace
}  // namespace viewgeo::testing
