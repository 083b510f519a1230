// The precise conversions through the tool: continuous pixels and double
// angles in and out, printed so that they read back as the same doubles.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <charconv>
#include <cstdlib>
#include <string>

#include "cli/tool_test.h"
#include "viewgeo.h"
#include "viewgeo.hpp"

namespace viewgeo::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char *kCamera = " --size 1920x1080 --hfov 60 --pan 10 --tilt -20 --lens rectilinear";

// The camera of kCamera, as the tool builds it.
cpp::Context camera() {
    cpp::Context ctx;
    ctx.set_picture(1920, 1080).set_horiz_fov(60.0f).set_pantilt(cpp::PanTilt{10.0f, -20.0f}).set_lens(
        cpp::Lens::Rectilinear);
    return ctx;
}

std::string shortest(double value) {
    char text[32];
    return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

// The value after "name " in a "name value  name value" report.
double field(const std::string &report, const std::string &name) {
    const std::size_t at = report.find(name + " ");
    if (at == std::string::npos) return 0.0;
    return std::strtod(report.c_str() + at + name.size() + 1, nullptr);
}

using Precise = ToolTest;

TEST_F(Precise, ToPtzGivesTheLibrarysDoublesForAContinuousPixel) {
    double pan = 0.0, tilt = 0.0;
    ASSERT_EQ(viewgeo_to_ptz_d(camera().get(), 1200.5, 300.25, &pan, &tilt), 0);
    const ToolResult r = run(std::string("to-ptz 1200.5 300.25 --precise") + kCamera);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "pan " + shortest(pan) + "  tilt " + shortest(tilt) + kLensText);
    EXPECT_EQ(field(r.out, "pan"), pan) << "reads back as the same double";
    EXPECT_EQ(field(r.out, "tilt"), tilt);
}

TEST_F(Precise, ToPixelGivesTheLibrarysContinuousPixel) {
    double x = 0.0, y = 0.0;
    ASSERT_EQ(viewgeo_to_pixel_d(camera().get(), 18.302807, -11.666656, &x, &y), 0);
    const ToolResult r = run(std::string("--json to-pixel 18.302807 -11.666656 --precise") + kCamera);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "{\"x\": " + shortest(x) + ", \"y\": " + shortest(y) + kLensJson);
}

// One test per output format, written alike on purpose: each compares the
// tool's whole output with the library's own doubles in that format.
TEST_F(Precise, PlainStreamEchoesTheRecordAndAddsTheDoubles) {
    double pan = 0.0, tilt = 0.0;
    ASSERT_EQ(viewgeo_to_ptz_d(camera().get(), 1200.5, 300.25, &pan, &tilt), 0);
    const ToolResult r = run(std::string("to-ptz --precise") + kCamera, "# chart\n1200.5 300.25\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "# chart\n1200.5\t300.25\t" + shortest(pan) + "\t" + shortest(tilt) +
                         "\trectilinear\toption --lens\n");
}

TEST_F(Precise, CsvStreamHasTheHeaderAndTheDoubles) {
    double x = 0.0, y = 0.0;
    ASSERT_EQ(viewgeo_to_pixel_d(camera().get(), 15.25, -25.5, &x, &y), 0);
    const ToolResult r = run(std::string("--csv to-pixel --precise") + kCamera, "15.25,-25.5\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "pan,tilt,x,y,lens,lens_source,error\n15.25,-25.5," + shortest(x) + "," + shortest(y) +
                         ",rectilinear,option --lens,\n");
}

TEST_F(Precise, JsonLinesStreamCarriesTheDoubles) {
    double pan = 0.0, tilt = 0.0;
    ASSERT_EQ(viewgeo_to_ptz_d(camera().get(), 0.125, 1079.875, &pan, &tilt), 0);
    const ToolResult r = run(std::string("--jsonl to-ptz --precise") + kCamera, "0.125 1079.875\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "{\"line\": 1, \"x\": 0.125, \"y\": 1079.875, \"pan\": " + shortest(pan) +
                         ", \"tilt\": " + shortest(tilt) + kLensJson);
}

TEST_F(Precise, ABadRecordIsAnErrorRecordAndTheRunGoesOn) {
    const ToolResult r = run(std::string("to-ptz --precise") + kCamera, "1 abc\nnan 2\n960 540\n");
    EXPECT_EQ(r.status, 2);
    EXPECT_THAT(r.out, StartsWith("1 abc\terror: line 1: y: expected a number, got 'abc'\n"
                                  "nan 2\terror: line 2: x: must be a finite number, got 'nan'\n960\t540\t"));
    EXPECT_EQ(r.err, "viewgeo: 2 of the 3 input lines failed\n");
}

TEST_F(Precise, ADirectionOutsideTheLensDomainHasNoAnswer) {
    // Straight behind the camera: a rectilinear lens cannot show it.
    const ToolResult r = run(std::string("--jsonl to-pixel --precise") + kCamera, "190 20\n10 -20\n");
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.out, StartsWith("{\"line\": 1, \"input\": \"190 20\", \"error\": \"no answer: outside the lens's "
                                  "domain\"}\n{\"line\": 2, \"pan\": 10, \"tilt\": -20, \"x\": 960, \"y\": 540"));
    expect_error(run(std::string("to-pixel 190 20 --precise") + kCamera), "no answer: outside the lens's domain", 1);
    // A sine lens ends 90 degrees off its axis.
    expect_error(run("to-ptz 5000 540 --precise --size 1920x1080 --hfov 170 --lens sine"),
                 "no answer: outside the lens's domain", 1);
}

TEST_F(Precise, HasNoFixedOrRelativeForm) {
    expect_error(run(std::string("to-ptz 1 2 --precise --fixed") + kCamera), "--precise: has no form with --fixed", 2);
    expect_error(run(std::string("to-ptz 1 2 --precise --rel") + kCamera), "--precise: has no form with --rel", 2);
    expect_error(run(std::string("to-pixel 1 2 --precise --fixed") + kCamera), "--precise", 2);
    expect_error(run("ovista to-ptz 1 2 --precise --rel"), "--precise: has no form with --rel", 2);
}

TEST_F(Precise, WholePixelFormsStillRefuseAFraction) {
    expect_error(run(std::string("to-ptz 1.5 2") + kCamera), "x: expected a whole pixel number, got '1.5'", 2);
}

TEST_F(Precise, OverviewRoundTripKeepsRotationAndMirror) {
    const std::string picture = " --size 1920x1080 --rot 90 --mirror";
    const ToolResult there = run("ovista to-ptz 700.25 400.5 --precise" + picture);
    ASSERT_EQ(there.status, 0) << there.err;
    const std::string pan = shortest(field(there.out, "pan")), tilt = shortest(field(there.out, "tilt"));
    const ToolResult back = run("ovista to-pixel " + pan + " " + tilt + " --precise" + picture);
    ASSERT_EQ(back.status, 0) << back.err;
    EXPECT_NEAR(field(back.out, "x"), 700.25, 1e-7);
    EXPECT_NEAR(field(back.out, "y"), 400.5, 1e-7);
}

TEST_F(Precise, OverviewStreamsInEachDirection) {
    ToolResult r = run("ovista to-pixel --precise --csv", "0,-90\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "pan,tilt,x,y,error\n0,-90,960,540,\n");
    r = run("ovista to-ptz --precise --jsonl", "960 540\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, StartsWith("{\"line\": 1, \"x\": 960, \"y\": 540, \"pan\": "));
    EXPECT_THAT(r.out, HasSubstr("\"tilt\": -90}"));
}

TEST_F(Precise, HelpNamesThePreciseFormsAndTheirOutput) {
    EXPECT_THAT(run("--help").out, HasSubstr("--precise (to-ptz, to-pixel, ovista to-ptz/to-pixel)"));
    for (const char *command : {"to-ptz", "to-pixel", "ovista to-ptz", "ovista to-pixel"}) {
        EXPECT_THAT(run(std::string(command) + " --help").out,
                    HasSubstr("shortest text that reads back as the same double"))
            << command;
    }
}

}  // namespace
}  // namespace viewgeo::testing
