// The grid as a calibration check: labels that never overlap, the caller's
// pan numbering, the picture on standard output, a camera frame beneath.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <cmath>
#include <regex>
#include <string>
#include <vector>

#include "cli/tool_test.h"

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

INSTANTIATE_TEST_SUITE_P(
    Views, GridLabels,
    ::testing::Values(View{"--size 1920x1080 --hfov 100 --pan 0 --tilt 0 --lens rectilinear"},
                      View{"--size 1920x1080 --hfov 3 --pan 40 --tilt -10 --step 0.5 --lens rectilinear"},
                      View{"--size 1920x1080 --hfov 60 --pan 10 --tilt -75 --lens rectilinear"},
                      View{"--size 1080x1920 --hfov 40 --pan 0 --tilt -20 --rot 90 --lens rectilinear"},
                      View{"--size 1920x1080 --hfov 120 --pan 0 --tilt -30 --lens equidistant"},
                      View{"--size 1920x1080 --hfov 170 --pan 0 --tilt -30 --lens sine"}),
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

TEST_F(Grid, SegmentsStayShortOnANarrowView) {
    // A 3 degree view magnifies the curves: no drawn segment may be long.
    const ToolResult r = run("grid --svg - --size 1920x1080 --hfov 3 --pan 0 --tilt -60 --step 0.5 --lens rectilinear");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::regex step(R"(([ML])(-?[0-9]+) (-?[0-9]+) )");
    const std::regex path("d=\"([^\"]*)\"");
    for (auto p = std::sregex_iterator(r.out.begin(), r.out.end(), path); p != std::sregex_iterator(); ++p) {
        const std::string d = (*p)[1];
        double x0 = 0, y0 = 0;
        for (auto s = std::sregex_iterator(d.begin(), d.end(), step); s != std::sregex_iterator(); ++s) {
            const double x = std::stod((*s)[2]), y = std::stod((*s)[3]);
            if ((*s)[1] == "L") {
                EXPECT_LT(std::hypot(x - x0, y - y0), 65.0);
            }
            x0 = x, y0 = y;
        }
    }
}

}  // namespace
}  // namespace viewgeo::testing
