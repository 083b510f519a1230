// A picture of the geometry: the lines of constant pan and tilt as the
// camera sees them, with the picture frame and centre, as SVG.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>

#include "session.h"

namespace viewgeo::tool {
namespace {

constexpr float kSampleStep = 0.25f;  // degrees along each grid line

struct Svg {
    std::string body;    // the grid lines
    std::string labels;  // their values, drawn over every line
    int lines = 0;
    int font = 20;       // label size in pixels
};

// Pan of `pan` relative to the camera, within [-180, 180].
float pan_offset(float pan, float camera_pan) {
    float d = pan - camera_pan;
    while (d > 180.0f) d -= 360.0f;
    while (d < -180.0f) d += 360.0f;
    return d;
}

std::string number(int value) { return std::to_string(value); }

// Appends one grid line as a path of the visible samples: in front of the
// camera and not far outside the picture, with its label where it enters
// the picture (top edge for pan lines, left edge for tilt lines). Returns
// false when nothing shows.
template <typename Direction>
bool add_line(const Context &ctx, Pixel size, float from, float to, Direction direction, const char *css,
              const std::string &label, Svg &svg) {
    const PanTilt axis = ctx.pantilt();
    const bool pan_line = std::string(css) == "pan";
    std::string path;
    bool pen_down = false;
    bool inside = false;
    Pixel anchor{0, 0};
    for (float s = from; s <= to; s += kSampleStep) {
        const PanTilt d = direction(s);
        const float off_axis = great_circle(axis, d);
        // Near the horizon the projection holds the pan offset within 89
        // degrees (kept for compatibility), which would pile every sample
        // further round onto one column: such samples are not drawn.
        const bool held = std::fabs(d.tilt) < 30.0f && std::fabs(pan_offset(d.pan, axis.pan)) > 89.0f;
        const Pixel p = ctx.to_pixel(d);
        const bool near = p.x > -size.x && p.x < 2 * size.x && p.y > -size.y && p.y < 2 * size.y;
        if (!(off_axis < 85.0f || std::isnan(off_axis)) || !near || held) {
            pen_down = false;
            continue;
        }
        if (p.x >= 0 && p.x <= size.x && p.y >= 0 && p.y <= size.y) {
            if (!inside || (pan_line ? p.y < anchor.y : p.x < anchor.x)) anchor = p;
            inside = true;
        }
        char point[48];
        std::snprintf(point, sizeof point, "%c%d %d ", pen_down ? 'L' : 'M', p.x, p.y);
        path += point;
        pen_down = true;
    }
    if (!inside) return false;
    const bool horizon = !pan_line && label == "0";
    svg.body += "  <path class=\"" + std::string(css) + "\" data-label=\"" + label + "\"" +
                (horizon ? " style=\"stroke-width:5\"" : "") + " d=\"" + path + "\"/>\n";
    // Inside the frame, beside the line, away from the picture's edges.
    const int x = std::clamp(anchor.x + 6, 4, std::max(4, size.x - 6 * svg.font));
    // A pan line entering from a side shares that edge with the tilt labels:
    // its label goes further down.
    const int below = pan_line ? (anchor.y > svg.font ? 2 * svg.font + 8 : svg.font + 4) : -6;
    const int y = std::clamp(anchor.y + below, svg.font + 4, std::max(svg.font + 4, size.y - 6));
    svg.labels += "  <text class=\"" + std::string(css) + "\" x=\"" + number(x) + "\" y=\"" + number(y) + "\">" +
                  (pan_line ? "pan " : "tilt ") + label + (horizon ? " (horizon)" : "") + "</text>\n";
    ++svg.lines;
    return true;
}

const char *lens_name(const Context &ctx) {
    switch (ctx.get()->projection_type) {
        case 0: return "sine";
        case 1: return "equidistant";
        default: return "rectilinear";
    }
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
        svg.font = std::clamp(size.y / 40, 10, 48);
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
        char caption[160];
        std::snprintf(caption, sizeof caption, "%s lens, %dx%d, hfov %g, vfov %g, pan %g, tilt %g, rot %d, grid %g deg",
                      lens_name(ctx), size.x, size.y, static_cast<double>(ctx.horiz_fov()),
                      static_cast<double>(ctx.vert_fov()), static_cast<double>(axis.pan),
                      static_cast<double>(axis.tilt), ctx.get()->pic_rot, static_cast<double>(step));
        std::ofstream out(args->svg);
        if (!out) throw CLI::ValidationError("--svg", "cannot write " + args->svg);
        const std::string w = std::to_string(size.x);
        const std::string h = std::to_string(size.y);
        out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << w << "\" height=\"" << h << "\" viewBox=\"0 0 "
            << w << " " << h << "\">\n"
            << "  <style>path{fill:none;stroke-width:2} path.pan{stroke:#1f77b4} path.tilt{stroke:#d62728}"
            << " .frame{fill:#f8f8f8;stroke:#000;stroke-width:4}"
            << " text{font-family:sans-serif;font-size:" << svg.font << "px;paint-order:stroke;stroke:#f8f8f8;"
            << "stroke-width:4px} text.pan{fill:#1f77b4} text.tilt{fill:#d62728} text.caption{fill:#000}</style>\n"
            << "  <rect class=\"frame\" x=\"0\" y=\"0\" width=\"" << w << "\" height=\"" << h << "\"/>\n"
            << svg.body << "  <circle cx=\"" << size.x / 2 << "\" cy=\"" << size.y / 2
            << "\" r=\"8\" fill=\"none\" stroke=\"#000\" stroke-width=\"2\"/>\n"
            << svg.labels << "  <text class=\"caption\" x=\"8\" y=\"" << size.y - 10 << "\">" << caption
            << "</text>\n"
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
