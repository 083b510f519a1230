// A picture of the geometry: the lines of constant pan and tilt as the
// camera sees them, with the picture frame and centre, as SVG.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>

#include "session.h"

namespace viewgeo::tool {
namespace {

constexpr float kSampleStep = 0.25f;  // degrees along each grid line

struct Svg {
    std::string body;
    int lines = 0;
};

// Appends one grid line as a path of the visible samples: in front of the
// camera and not far outside the picture. Returns false when nothing shows.
template <typename Direction>
bool add_line(const Context &ctx, Pixel size, float from, float to, Direction direction, const char *css,
              const std::string &label, Svg &svg) {
    const PanTilt axis = ctx.pantilt();
    std::string path;
    bool pen_down = false;
    bool inside = false;
    for (float s = from; s <= to; s += kSampleStep) {
        const PanTilt d = direction(s);
        const float off_axis = great_circle(axis, d);
        const Pixel p = ctx.to_pixel(d);
        const bool near = p.x > -size.x && p.x < 2 * size.x && p.y > -size.y && p.y < 2 * size.y;
        if (!(off_axis < 85.0f || std::isnan(off_axis)) || !near) {
            pen_down = false;
            continue;
        }
        inside = inside || (p.x >= 0 && p.x <= size.x && p.y >= 0 && p.y <= size.y);
        char point[48];
        std::snprintf(point, sizeof point, "%c%d %d ", pen_down ? 'L' : 'M', p.x, p.y);
        path += point;
        pen_down = true;
    }
    if (!inside) return false;
    svg.body += "  <path class=\"" + std::string(css) + "\" data-label=\"" + label + "\" d=\"" + path + "\"/>\n";
    ++svg.lines;
    return true;
}

std::string label_of(float degrees) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", degrees);
    return text;
}

}  // namespace

void add_grid_command(CLI::App &app, Session &session) {
    struct Args {
        CameraOptions camera;
        std::string svg;
        float step = 10.0f;
    };
    auto args = std::make_shared<Args>();
    CLI::App *grid = app.add_subcommand("grid", "draw the lines of constant pan and tilt as an SVG picture");
    grid->add_option("--svg", args->svg, "output file")->required();
    grid->add_option("--step", args->step, "degrees between grid lines")->capture_default_str()->check(
        CLI::Range(0.5f, 90.0f));
    args->camera.add_to(*grid);
    grid->callback([args, &session] {
        const Context ctx = args->camera.make_context();
        const Pixel size = ctx.picture_size();
        const PanTilt axis = ctx.pantilt();
        Svg svg;
        int pan_lines = 0;
        int tilt_lines = 0;
        // Grid values are multiples of the step, so the lines stay put as the camera moves.
        const float step = args->step;
        for (float pan = std::ceil(-180.0f / step) * step; pan < 180.0f; pan += step) {
            pan_lines += add_line(ctx, size, -90.0f, 90.0f, [pan](float t) { return PanTilt{pan, t}; }, "pan",
                                  label_of(pan), svg);
        }
        for (float tilt = std::floor(-90.0f / step + 1.0f) * step; tilt < 90.0f; tilt += step) {
            tilt_lines += add_line(ctx, size, axis.pan - 180.0f, axis.pan + 180.0f,
                                   [tilt](float p) { return PanTilt{wrap_pan(p), tilt}; }, "tilt", label_of(tilt), svg);
        }
        std::ofstream out(args->svg);
        if (!out) throw CLI::ValidationError("--svg", "cannot write " + args->svg);
        const std::string w = std::to_string(size.x);
        const std::string h = std::to_string(size.y);
        out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << w << "\" height=\"" << h << "\" viewBox=\"0 0 "
            << w << " " << h << "\">\n"
            << "  <style>path{fill:none;stroke-width:2} .pan{stroke:#1f77b4} .tilt{stroke:#d62728}"
            << " .frame{fill:#f8f8f8;stroke:#000;stroke-width:4}</style>\n"
            << "  <rect class=\"frame\" x=\"0\" y=\"0\" width=\"" << w << "\" height=\"" << h << "\"/>\n"
            << svg.body << "  <circle cx=\"" << size.x / 2 << "\" cy=\"" << size.y / 2
            << "\" r=\"8\" fill=\"none\" stroke=\"#000\" stroke-width=\"2\"/>\n"
            << "</svg>\n";
        out.close();
        if (!out) throw CLI::ValidationError("--svg", "cannot write " + args->svg);
        session.print(Report()
                          .add_text("svg", args->svg)
                          .add_int("pan_lines", pan_lines)
                          .add_int("tilt_lines", tilt_lines));
    });
}

}  // namespace viewgeo::tool
