// A picture of the geometry: the lines of constant pan and tilt as the
// camera sees them, with the picture frame and centre, as SVG (or PNG), on
// its own or over a frame of the camera, to check a calibration by eye.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

#include "session.h"

extern char **environ;

namespace viewgeo::tool {
namespace {

constexpr float kCoarseStep = 1.0f;   // degrees between the first samples of a line
constexpr double kTolerance = 0.5;    // pixels a drawn segment may leave the curve
constexpr double kCharWidth = 0.62;   // label width per character, in font sizes

// A label's box, baseline at y + height.
struct Box {
    double x, y, w, h;
    bool overlaps(const Box &o) const { return x < o.x + o.w && o.x < x + w && y < o.y + o.h && o.y < y + h; }
};

struct Svg {
    std::string body;    // the grid lines
    std::string labels;  // their values where they meet the frame
    std::vector<Box> taken;
    int font = 20;
};

// Pan of `pan` relative to the camera, within [-180, 180].
float pan_offset(float pan, float camera_pan) {
    float d = pan - camera_pan;
    while (d > 180.0f) d -= 360.0f;
    while (d < -180.0f) d += 360.0f;
    return d;
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

// How far from its axis a lens can show a direction: beyond it the picture
// radius would shrink again and the line fold back.
float lens_domain(const Context &ctx) {
    switch (ctx.get()->projection_type) {
        case 0: return 90.0f;    // sine: the radius peaks at 90 degrees
        case 1: return 179.0f;   // equidistant
        default: return 85.0f;   // rectilinear: the radius grows without bound towards 90
    }
}

// A sample of a line: its pixel, or none where the lens does not show it.
struct Sample {
    bool shown = false;
    Pixel p{0, 0};
};

template <typename Direction>
Sample sample(const Context &ctx, Pixel size, float domain, Direction direction, float s) {
    const PanTilt axis = ctx.pantilt();
    const PanTilt d = direction(s);
    const float off_axis = great_circle(axis, d);
    // Near the horizon the projection holds the pan offset within 89
    // degrees (kept for compatibility), which would pile every sample
    // further round onto one column: such samples are not drawn.
    const bool held = std::fabs(d.tilt) < 30.0f && std::fabs(pan_offset(d.pan, axis.pan)) > 89.0f;
    if (!(off_axis < domain) || held) return {};
    const Pixel p = ctx.to_pixel(d);
    const bool near = p.x > -size.x && p.x < 2 * size.x && p.y > -size.y && p.y < 2 * size.y;
    return {near, p};
}

double deviation(Pixel a, Pixel b, Pixel m) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double length = std::hypot(dx, dy);
    if (length == 0.0) return std::hypot(m.x - a.x, m.y - a.y);
    return std::fabs(dx * (m.y - a.y) - dy * (m.x - a.x)) / length;
}

bool inside(Pixel p, Pixel size) { return p.x >= 0 && p.x <= size.x && p.y >= 0 && p.y <= size.y; }

// Where a line crosses the frame: the edge (0 top, 1 right, 2 bottom,
// 3 left) and the pixel.
struct Crossing {
    int edge;
    double x, y;
};

class Line {
public:
    Line(Pixel size) : size_(size) {}
    void move(Pixel p) { add(p, false); }
    void draw(Pixel p) { add(p, true); }
    const std::string &path() const { return path_; }
    const std::vector<Crossing> &crossings() const { return crossings_; }
    bool shown() const { return shown_; }
    // The first point drawn inside the frame: where a line that never meets
    // the frame is labelled.
    Pixel first() const { return first_; }

private:
    void add(Pixel p, bool pen) {
        char point[48];
        std::snprintf(point, sizeof point, "%c%d %d ", pen ? 'L' : 'M', p.x, p.y);
        path_ += point;
        const bool in = inside(p, size_);
        if (in && !shown_) first_ = p;
        shown_ = shown_ || in;
        if (pen && in != inside(last_, size_)) cross(in ? last_ : p, in ? p : last_);
        last_ = p;
    }
    // The point where the segment from `out` to `in` enters the frame.
    void cross(Pixel out, Pixel in) {
        double t = 0.0;
        int edge = 0;
        const auto consider = [&](double from, double to, double limit, int which) {
            if (from == to || (from - limit) * (to - limit) > 0) return;
            const double u = (from - limit) / (from - to);
            if (u >= t) t = u, edge = which;
        };
        consider(out.y, in.y, 0.0, 0);
        consider(out.x, in.x, size_.x, 1);
        consider(out.y, in.y, size_.y, 2);
        consider(out.x, in.x, 0.0, 3);
        crossings_.push_back({edge, out.x + t * (in.x - out.x), out.y + t * (in.y - out.y)});
    }

    Pixel size_;
    Pixel last_{0, 0};
    Pixel first_{0, 0};
    std::string path_;
    std::vector<Crossing> crossings_;
    bool shown_ = false;
};

// Draws the curve between two shown samples, halving the step until the
// chord keeps within the tolerance of the curve.
template <typename Direction>
void refine(const Context &ctx, Pixel size, float domain, Direction direction, float s0, Pixel p0, float s1,
            Pixel p1, int depth, Line &line) {
    const float sm = 0.5f * (s0 + s1);
    const Sample m = sample(ctx, size, domain, direction, sm);
    if (!m.shown) {
        // The lens's domain ends between the samples: stop the line there.
        if (depth < 20 && sm != s0 && sm != s1) {
            refine(ctx, size, domain, direction, s0, p0, sm, p0, depth + 1, line);
        }
        return;
    }
    const bool straight = deviation(p0, p1, m.p) <= kTolerance;
    if ((straight && std::hypot(p1.x - p0.x, p1.y - p0.y) < 64.0) || depth >= 20 || sm == s0 || sm == s1) {
        line.draw(p1);
        return;
    }
    refine(ctx, size, domain, direction, s0, p0, sm, m.p, depth + 1, line);
    refine(ctx, size, domain, direction, sm, m.p, s1, p1, depth + 1, line);
}

template <typename Direction>
Line trace(const Context &ctx, Pixel size, float from, float to, Direction direction) {
    const float domain = lens_domain(ctx);
    Line line(size);
    Sample last;
    float last_s = from;
    const int steps = static_cast<int>(std::ceil((to - from) / kCoarseStep));
    for (int i = 0; i <= steps; ++i) {
        const float s = std::min(to, from + static_cast<float>(i) * kCoarseStep);
        const Sample now = sample(ctx, size, domain, direction, s);
        if (now.shown && last.shown) {
            refine(ctx, size, domain, direction, last_s, last.p, s, now.p, 0, line);
        } else if (now.shown) {
            line.move(now.p);
        }
        last = now;
        last_s = s;
    }
    return line;
}

// Puts a label where the line meets each edge, moved along the edge until
// it overlaps no other label; left out where there is no room.
int place_labels(const Line &line, const std::string &css, const std::string &text, Pixel size, Svg &svg) {
    const double f = svg.font;
    const double w = kCharWidth * f * static_cast<double>(text.size());
    int placed = 0;
    std::vector<Crossing> places = line.crossings();
    if (places.empty()) places.push_back({-1, static_cast<double>(line.first().x), static_cast<double>(line.first().y)});
    for (const Crossing &c : places) {
        for (int k = 0; k < 9; ++k) {
            const double shift = (k % 2 == 0 ? 1 : -1) * ((k + 1) / 2) * f;
            double x = 0, y = 0;
            switch (c.edge) {
                case 0: x = c.x + 6 + shift, y = 6; break;
                case 2: x = c.x + 6 + shift, y = size.y - 6 - f; break;
                case 1: x = size.x - 6 - w, y = c.y + 4 + shift; break;
                case 3: x = 6, y = c.y + 4 + shift; break;
                default: x = c.x + 6, y = c.y + 4 + shift; break;  // inside, beside the line's end
            }
            x = std::round(std::clamp(x, 2.0, std::max(2.0, size.x - 2 - w)));
            y = std::round(std::clamp(y, 2.0, std::max(2.0, size.y - 2 - f)));
            const Box box{x, y, w, f};
            if (std::any_of(svg.taken.begin(), svg.taken.end(), [&](const Box &b) { return b.overlaps(box); }))
                continue;
            svg.taken.push_back(box);
            // The first label of a line has the plain class; the others repeat it.
            svg.labels += "  <text class=\"" + css + (placed == 0 ? "" : " repeat") + "\" x=\"" + number(x) +
                          "\" y=\"" + number(y + 0.8 * f) + "\">" + text + "</text>\n";
            ++placed;
            break;
        }
    }
    return placed;
}

bool add_line(const Line &line, const char *css, const std::string &label, const std::string &text, Pixel size,
              Svg &svg) {
    if (!line.shown()) return false;
    const bool horizon = std::string(css) == "tilt" && label == "0";
    svg.body += "  <path class=\"" + std::string(css) + "\" data-label=\"" + label + "\"" +
                (horizon ? " style=\"stroke-width:5\"" : "") + " d=\"" + line.path() + "\"/>\n";
    place_labels(line, css, text + (horizon ? " (horizon)" : ""), size, svg);
    return true;
}

const char *lens_name(const Context &ctx) {
    switch (ctx.get()->projection_type) {
        case 0: return "sine";
        case 1: return "equidistant";
        default: return "rectilinear";
    }
}

std::string base64(const std::string &bytes) {
    static const char *const digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t v = 0;
        for (std::size_t k = 0; k < 3; ++k)
            v = (v << 8) | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k) out += k <= n ? digits[(v >> (18 - 6 * k)) & 63] : '=';
    }
    return out;
}

// The camera frame as a data URI; JPEG and PNG are told apart by their first bytes.
std::string picture_uri(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw FileError("cannot read " + path + ": " + std::strerror(errno));
    std::ostringstream bytes;
    bytes << in.rdbuf();
    const std::string data = bytes.str();
    const char *type = data.rfind("\x89PNG", 0) == 0 ? "image/png" : data.rfind("\xff\xd8", 0) == 0 ? "image/jpeg" : nullptr;
    if (type == nullptr) throw InvalidInput("--over", path + " is neither a JPEG nor a PNG picture");
    return std::string("data:") + type + ";base64," + base64(data);
}

// Renders the SVG file to PNG with rsvg-convert, found on the PATH.
void render_png(const std::string &svg_path, const std::string &png_path) {
    std::vector<std::string> words{"rsvg-convert", "-o", png_path, svg_path};
    std::vector<char *> argv;
    for (std::string &word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_t child = 0;
    const int spawned = posix_spawnp(&child, "rsvg-convert", nullptr, nullptr, argv.data(), environ);
    if (spawned != 0) {
        throw FileError(std::string("cannot run rsvg-convert (Debian package librsvg2-bin): ") + std::strerror(spawned));
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw FileError("rsvg-convert could not write " + png_path);
}

}  // namespace

void add_grid_command(CLI::App &app, Session &session) {
    struct Args {
        CameraOptions camera;
        std::string svg, png, over;
        float step = 10.0f;
    };
    auto args = std::make_shared<Args>();
    CLI::App *grid = app.add_subcommand("grid", "draw the lines of constant pan and tilt as an SVG or PNG picture");
    grid->add_option("--svg", args->svg, "output SVG file; - for standard output");
    grid->add_option("--png", args->png, "output PNG file, rendered with rsvg-convert");
    grid->add_option("--over", args->over, "draw over this camera frame (JPEG or PNG), scaled to the picture size");
    grid->add_option("--step", args->step, "degrees between grid lines")->capture_default_str()->check(
        CLI::Range(0.5f, 90.0f));
    args->camera.add_to(*grid);
    grid->callback([args, &session] {
        if (args->svg.empty() && args->png.empty()) throw CLI::RequiredError("--svg or --png");
        args->camera.check(session.raw);
        const Context ctx = args->camera.make_context();
        const Pixel size = ctx.picture_size();
        const PanTilt axis = ctx.pantilt();
        const std::string over = args->over.empty() ? "" : picture_uri(args->over);
        Svg svg;
        svg.font = std::clamp(size.y / 40, 10, 48);
        char caption[200];
        const LensChoice lens = lens_choice(args->camera, ctx);
        std::snprintf(caption, sizeof caption,
                      "%s lens, %dx%d, hfov %g, vfov %g, pan %g, tilt %g, rot %d, grid %g deg (lens: %s)",
                      lens_name(ctx), size.x, size.y, static_cast<double>(ctx.horiz_fov()),
                      static_cast<double>(ctx.vert_fov()), static_cast<double>(axis.pan),
                      static_cast<double>(axis.tilt), ctx.get()->pic_rot, static_cast<double>(args->step),
                      lens.source.c_str());
        // The caption sits in the bottom-left corner; labels keep clear of it.
        const int caption_font = std::max(8, svg.font * 2 / 3);
        const double caption_width = kCharWidth * caption_font * static_cast<double>(std::strlen(caption));
        svg.taken.push_back({8.0, size.y - 8.0 - caption_font, caption_width, caption_font + 4.0});
        int pan_lines = 0;
        int tilt_lines = 0;
        // Grid values are multiples of the step, so the lines stay put as the
        // camera moves; pans are numbered as the caller numbers the camera's
        // own pan (a camera at 350 sees 350, not -10).
        const float step = args->step;
        const float first_pan = std::ceil((axis.pan - 180.0f) / step) * step;
        for (int i = 0; first_pan + static_cast<float>(i) * step < axis.pan + 180.0f; ++i) {
            const float pan = first_pan + static_cast<float>(i) * step;
            const float direction_pan = wrap_pan(pan);
            const Line line = trace(ctx, size, -90.0f, 90.0f, [direction_pan](float t) { return PanTilt{direction_pan, t}; });
            pan_lines += add_line(line, "pan", number(pan), "pan " + number(pan), size, svg);
        }
        for (float tilt = std::floor(-90.0f / step + 1.0f) * step; tilt < 90.0f; tilt += step) {
            const Line line = trace(ctx, size, axis.pan - 180.0f, axis.pan + 180.0f,
                                    [tilt](float p) { return PanTilt{wrap_pan(p), tilt}; });
            tilt_lines += add_line(line, "tilt", number(tilt), "tilt " + number(tilt), size, svg);
        }
        const std::string w = std::to_string(size.x);
        const std::string h = std::to_string(size.y);
        std::ostringstream out;
        out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            << "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" width=\"" << w
            << "\" height=\"" << h << "\" viewBox=\"0 0 " << w << " " << h << "\">\n"
            << "  <style>path{fill:none;stroke-width:2} path.pan{stroke:#1f77b4} path.tilt{stroke:#d62728}"
            << " .frame{fill:" << (over.empty() ? "#f8f8f8" : "none") << ";stroke:#000;stroke-width:4}"
            << " text{font-family:sans-serif;font-size:" << svg.font << "px;paint-order:stroke;stroke:#f8f8f8;"
            << "stroke-width:4px} text.pan{fill:#1f77b4} text.tilt{fill:#d62728} text.caption{fill:#000;font-size:" << std::max(8, svg.font * 2 / 3) << "px}</style>\n";
        if (!over.empty()) {
            out << "  <image x=\"0\" y=\"0\" width=\"" << w << "\" height=\"" << h
                << "\" preserveAspectRatio=\"none\" xlink:href=\"" << over << "\"/>\n";
        }
        out << "  <rect class=\"frame\" x=\"0\" y=\"0\" width=\"" << w << "\" height=\"" << h << "\"/>\n"
            << svg.body << "  <circle cx=\"" << size.x / 2 << "\" cy=\"" << size.y / 2
            << "\" r=\"8\" fill=\"none\" stroke=\"#000\" stroke-width=\"2\"/>\n"
            << svg.labels << "  <text class=\"caption\" x=\"8\" y=\"" << size.y - 8 << "\">" << caption
            << "</text>\n"
            << "</svg>\n";
        const std::string text = out.str();
        // The PNG is rendered from the SVG file, or from a sibling of the PNG.
        const std::string svg_path =
            args->svg.empty() || args->svg == "-" ? args->png + ".svg" : args->svg;
        if (args->svg == "-") std::cout << text << std::flush;
        if (!args->svg.empty() || !args->png.empty()) {
            if (args->svg != "-" || !args->png.empty()) {
                std::ofstream file(svg_path);
                if (!file) throw FileError("--svg: cannot write " + svg_path + ": " + std::strerror(errno));
                file << text;
                file.close();
                if (!file) throw FileError("--svg: cannot write " + svg_path + ": " + std::strerror(errno));
            }
        }
        if (!args->png.empty()) {
            render_png(svg_path, args->png);
            if (svg_path != args->svg) std::remove(svg_path.c_str());
        }
        if (args->svg == "-") return;  // standard output holds the picture
        Report report;
        if (!args->svg.empty()) report.add_text("svg", args->svg);
        if (!args->png.empty()) report.add_text("png", args->png);
        session.print(report.add_int("pan_lines", pan_lines).add_int("tilt_lines", tilt_lines));
    });
}

}  // namespace viewgeo::tool
