// The grid as a calibration check: labels that never overlap, the caller's
// pan numbering, the picture on standard output, a camera frame beneath.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "cli/tool_test.h"
#include "viewgeo.h"
#include "viewgeo.hpp"

namespace viewgeo::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

// A label's box as the grid lays it out: 0.62 font sizes per character,
// one font size high, above its baseline.
struct Box {
    double x, y, w, h;
    std::string text;
};

std::vector<Box> label_boxes(const std::string &svg) {
    const std::regex font(R"(text\{font-family:sans-serif;font-size:([0-9]+)px)");
    std::smatch m;
    if (!std::regex_search(svg, m, font)) return {};
    const double size = std::stod(m[1]);
    const double caption_size = std::max(8.0, std::floor(size * 2 / 3));
    std::vector<Box> boxes;
    const std::regex text(R"re(<text class="([a-z ]+)" x="([-0-9.e]+)" y="([-0-9.e]+)">([^<]*)</text>)re");
    for (auto it = std::sregex_iterator(svg.begin(), svg.end(), text); it != std::sregex_iterator(); ++it) {
        const double f = (*it)[1] == "caption" ? caption_size : size;
        const std::string t = (*it)[4];
        const double x = std::stod((*it)[2]), baseline = std::stod((*it)[3]);
        boxes.push_back({x, baseline - 0.8 * f, 0.62 * f * static_cast<double>(t.size()), f, t});
    }
    return boxes;
}

using Grid = ToolTest;

struct View {
    const char *options;
};

void PrintTo(const View &view, std::ostream *os) { *os << view.options; }

// Wide, narrow, steep, rotated, and each lens.
const View kViews[] = {
    {"--size 1920x1080 --hfov 100 --pan 0 --tilt 0 --lens rectilinear"},
    {"--size 1920x1080 --hfov 3 --pan 40 --tilt -10 --step 0.5 --lens rectilinear"},
    {"--size 1920x1080 --hfov 60 --pan 10 --tilt -75 --lens rectilinear"},
    {"--size 1080x1920 --hfov 40 --pan 0 --tilt -20 --rot 90 --lens rectilinear"},
    {"--size 1920x1080 --hfov 120 --pan 0 --tilt -30 --lens equidistant"},
    {"--size 1920x1080 --hfov 170 --pan 0 --tilt -30 --lens sine"},
};

class GridLabels : public ToolTest, public ::testing::WithParamInterface<View> {};

TEST_P(GridLabels, NeverOverlap) {
    const ToolResult r = run(std::string("grid --svg - ") + GetParam().options);
    ASSERT_EQ(r.status, 0) << r.err;
    const std::vector<Box> boxes = label_boxes(r.out);
    ASSERT_GE(boxes.size(), 3u) << r.out;
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        for (std::size_t k = i + 1; k < boxes.size(); ++k) {
            const Box &a = boxes[i], &b = boxes[k];
            // Coordinates are printed to a tenth of a pixel: boxes that only
            // touch are not an overlap.
            const double e = 0.1;
            const bool overlap =
                a.x + e < b.x + b.w && b.x + e < a.x + a.w && a.y + e < b.y + b.h && b.y + e < a.y + a.h;
            EXPECT_FALSE(overlap) << "'" << a.text << "' and '" << b.text << "'";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Views, GridLabels, ::testing::ValuesIn(kViews),
                         [](const ::testing::TestParamInfo<View> &info) { return "View" + std::to_string(info.index); });

TEST_F(Grid, KeepsTheCallersPanNumbering) {
    const ToolResult r = run("grid --svg - --size 1920x1080 --hfov 60 --pan 350 --tilt 0 --lens rectilinear");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr(">pan 350</text>"));
    EXPECT_THAT(r.out, ::testing::Not(HasSubstr(">pan -10</text>")));
}

TEST_F(Grid, LabelsTheBottomEdge) {
    const ToolResult r = run("grid --svg - --size 1920x1080 --hfov 60 --pan 350 --tilt -20 --lens rectilinear");
    ASSERT_EQ(r.status, 0) << r.err;
    bool bottom = false;
    for (const Box &b : label_boxes(r.out)) bottom = bottom || (b.text.rfind("pan", 0) == 0 && b.y > 1000);
    EXPECT_TRUE(bottom);
}

TEST_F(Grid, SvgDashWritesToStandardOutputOnly) {
    const ToolResult r = run("grid --svg - --size 640x480 --hfov 60");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, StartsWith("<?xml"));
    EXPECT_THAT(r.out, ::testing::EndsWith("</svg>\n"));
}

TEST_F(Grid, DrawsOverACameraFrameScaledToThePicture) {
    // The smallest PNG: its signature is all the grid looks at.
    root_.write("/frame.png", std::string("\x89PNG\r\n\x1a\n", 8) + "rest");
    const ToolResult r = run("grid --svg - --size 640x480 --hfov 60 --over '" + root_.real("/frame.png") + "'");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr("<image x=\"0\" y=\"0\" width=\"640\" height=\"480\" preserveAspectRatio=\"none\" "
                                 "xlink:href=\"data:image/png;base64,iVBORw0KGgpyZXN0\"/>"));
    root_.write("/frame.txt", "hello");
    expect_error(run("grid --svg - --over '" + root_.real("/frame.txt") + "'"), "--over", 2);
    expect_error(run("grid --svg - --over /nonexistent.jpg"), "cannot read /nonexistent.jpg", 1);
}

// The camera a view's options describe, as the tool builds it.
cpp::Context camera_of(const std::string &options) {
    std::istringstream words(options);
    std::string option, value;
    cpp::Context ctx;
    while (words >> option >> value) {
        if (option == "--size") {
            ctx.set_picture(std::stoi(value.substr(0, value.find('x'))), std::stoi(value.substr(value.find('x') + 1)));
        } else if (option == "--hfov") {
            ctx.set_horiz_fov(std::stof(value));
        } else if (option == "--rot") {
            ctx.set_rotation(std::stoi(value));
        } else if (option == "--lens") {
            ctx.set_lens(value == "sine" ? cpp::Lens::Sine
                         : value == "equidistant" ? cpp::Lens::Equidistant
                                                  : cpp::Lens::Rectilinear);
        }
    }
    const auto number = [&](const char *name) {
        const std::size_t at = options.find(name);
        return at == std::string::npos ? 0.0f : std::stof(options.substr(at + std::strlen(name) + 1));
    };
    ctx.set_pantilt(cpp::PanTilt{number("--pan"), number("--tilt")});
    return ctx;
}

double distance_to_segment(double ax, double ay, double bx, double by, double px, double py) {
    const double dx = bx - ax, dy = by - ay;
    const double length2 = dx * dx + dy * dy;
    const double t = length2 == 0.0 ? 0.0 : std::clamp(((px - ax) * dx + (py - ay) * dy) / length2, 0.0, 1.0);
    return std::hypot(px - (ax + t * dx), py - (ay + t * dy));
}

class GridCurves : public ToolTest, public ::testing::WithParamInterface<View> {};

// Every drawn segment stays within half a pixel of the line it stands for:
// the true curve, from the library's precise projection, sampled between
// the segment's ends (their parameters read back from the picture).
TEST_P(GridCurves, NoSegmentLeavesTheCurveByMoreThanHalfAPixel) {
    const ToolResult r = run(std::string("grid --svg - ") + GetParam().options);
    ASSERT_EQ(r.status, 0) << r.err;
    const cpp::Context ctx = camera_of(GetParam().options);
    const viewgeo_context *c = ctx.get();
    const std::regex path(R"re(<path class="(pan|tilt)" data-label="([-0-9.e]+)"[^>]* d="([^"]*)")re");
    const std::regex step(R"(([ML])(-?[0-9.]+) (-?[0-9.]+) )");
    int segments = 0;
    double worst = 0.0;
    for (auto p = std::sregex_iterator(r.out.begin(), r.out.end(), path); p != std::sregex_iterator(); ++p) {
        const bool pan_line = (*p)[1] == "pan";
        const double value = std::stod((*p)[2]);
        const std::string d = (*p)[3];
        double x0 = 0.0, y0 = 0.0;
        for (auto s = std::sregex_iterator(d.begin(), d.end(), step); s != std::sregex_iterator(); ++s) {
            const double x1 = std::stod((*s)[2]), y1 = std::stod((*s)[3]);
            if ((*s)[1] == "L") {
                double pan0 = 0, tilt0 = 0, pan1 = 0, tilt1 = 0;
                ASSERT_EQ(viewgeo_to_ptz_d(c, x0, y0, &pan0, &tilt0), 0);
                ASSERT_EQ(viewgeo_to_ptz_d(c, x1, y1, &pan1, &tilt1), 0);
                // The line's own parameter at both ends: tilt along a pan
                // line, pan (unwrapped across the turn) along a tilt line.
                const double s0 = pan_line ? tilt0 : pan0;
                double s1 = pan_line ? tilt1 : pan1;
                if (!pan_line) s1 = s0 + std::remainder(s1 - s0, 360.0);
                for (int k = 1; k < 16; ++k) {
                    const double u = s0 + (s1 - s0) * k / 16.0;
                    double x = 0, y = 0;
                    ASSERT_EQ(viewgeo_to_pixel_d(c, pan_line ? value : u, pan_line ? u : value, &x, &y), 0);
                    const double off = distance_to_segment(x0, y0, x1, y1, x, y);
                    worst = std::max(worst, off);
                    EXPECT_LE(off, 0.5) << (*p)[1] << " " << value << ", segment (" << x0 << ", " << y0 << ") - ("
                                        << x1 << ", " << y1 << ") at " << u;
                }
                ++segments;
            }
            x0 = x1, y0 = y1;
        }
    }
    EXPECT_GT(segments, 20);
    RecordProperty("worst_deviation_px", std::to_string(worst));
}

INSTANTIATE_TEST_SUITE_P(Views, GridCurves, ::testing::ValuesIn(kViews),
                         [](const ::testing::TestParamInfo<View> &info) { return "View" + std::to_string(info.index); });

// --png without --svg: the tool writes the SVG it renders from itself. A
// stand-in for rsvg-convert ("-o PNG SVG"), first on the PATH, copies that
// SVG to the PNG's place, or fails.
class GridPng : public ToolTest {
protected:
    void SetUp() override { path_ = std::getenv("PATH") != nullptr ? std::getenv("PATH") : ""; }
    void TearDown() override { setenv("PATH", path_.c_str(), 1); }
    void renderer(bool succeeds) {
        root_.write("/bin/rsvg-convert", succeeds ? "#!/bin/sh\ncp \"$3\" \"$2\"\n" : "#!/bin/sh\nexit 1\n");
        ASSERT_EQ(chmod(root_.real("/bin/rsvg-convert").c_str(), 0755), 0);
        setenv("PATH", (root_.real("/bin") + ":" + path_).c_str(), 1);
    }
    std::vector<std::string> files(const std::string &logical) const {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(root_.real(logical)))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::string path_;
};

TEST_F(GridPng, RendersFromAFileOfItsOwnLeavingTheUsersFilesAlone) {
    root_.write("/out/view.png.svg", "the user's own file\n");
    for (const bool succeeds : {true, false}) {
        SCOPED_TRACE(succeeds ? "renderer succeeds" : "renderer fails");
        root_.remove("/out/view.png");
        renderer(succeeds);
        const ToolResult r = run("grid --png '" + root_.real("/out/view.png") + "' --size 640x480 --hfov 60");
        EXPECT_EQ(r.status, succeeds ? 0 : 1) << r.err;
        EXPECT_TRUE(root_.read("/out/view.png.svg") == "the user's own file\n") << "view.png.svg was overwritten";
        if (succeeds) {
            EXPECT_THAT(root_.read("/out/view.png"), StartsWith("<?xml"));
            EXPECT_EQ(files("/out"), (std::vector<std::string>{"view.png", "view.png.svg"}));
        } else {
            EXPECT_EQ(files("/out"), std::vector<std::string>{"view.png.svg"});
        }
    }
}

}  // namespace
}  // namespace viewgeo::testing
