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
// Pixels a drawn segment may leave the curve: half a pixel, less the
// rounding of the printed coordinates and a margin for the curve between
// the points checked.
constexpr double kTolerance = 0.45;
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

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

// How far from its axis a lens can show a direction: beyond it the picture
// radius would shrink again and the line fold back.
float lens_domain(const Context &ctx) {
    switch (ctx.get()->projection_type) {
        // sine: the radius peaks at 90 degrees; a tenth of a degree short of
        // it, so that a point printed to a thousandth of a pixel stays on
        // the lens.
        case 0: return 89.9f;
        case 1: return 179.0f;   // equidistant
        default: return 85.0f;   // rectilinear: the radius grows without bound towards 90
    }
}

// A direction in degrees, at the precision of the curve's parameter.
struct Direction {
    double pan = 0.0, tilt = 0.0;
};

// A point of the picture, in continuous pixel coordinates.
struct Point {
    double x = 0.0, y = 0.0;
};

// A sample of a line: its point, or none where the lens does not show it.
struct Sample {
    bool shown = false;
    Point p;
};

// The lines are drawn from the precise projection: continuous positions, so
// the drawn segments can be held within half a pixel of the curve itself.
template <typename Curve>
Sample sample(const Context &ctx, Pixel size, float domain, Curve direction, double s) {
    const PanTilt axis = ctx.pantilt();
    const Direction d = direction(s);
    const double off_axis = viewgeo_get_great_circle_d(axis.pan, axis.tilt, d.pan, d.tilt);
    if (!(off_axis < domain)) return {};
    Point p;
    if (viewgeo_to_pixel_d(ctx.get(), d.pan, d.tilt, &p.x, &p.y) != 0) return {};
    const bool near = p.x > -size.x && p.x < 2.0 * size.x && p.y > -size.y && p.y < 2.0 * size.y;
    return {near, p};
}

// Distance of m from the segment a-b.
double deviation(Point a, Point b, Point m) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double length2 = dx * dx + dy * dy;
    const double t = length2 == 0.0 ? 0.0 : std::clamp(((m.x - a.x) * dx + (m.y - a.y) * dy) / length2, 0.0, 1.0);
    return std::hypot(m.x - (a.x + t * dx), m.y - (a.y + t * dy));
}

bool inside(Point p, Pixel size) { return p.x >= 0 && p.x <= size.x && p.y >= 0 && p.y <= size.y; }

// Where a line crosses the frame: the edge (0 top, 1 right, 2 bottom,
// 3 left) and the pixel.
struct Crossing {
    int edge;
    double x, y;
};

class Line {
public:
    Line(Pixel size) : size_(size) {}
    void move(Point p) { add(p, false); }
    void draw(Point p) { add(p, true); }
    const std::string &path() const { return path_; }
    const std::vector<Crossing> &crossings() const { return crossings_; }
    bool shown() const { return shown_; }
    // The first point drawn inside the frame: where a line that never meets
    // the frame is labelled.
    Point first() const { return first_; }

private:
    void add(Point p, bool pen) {
        // Thousandths of a pixel: the rounding stays far below the tolerance.
        char point[64];
        std::snprintf(point, sizeof point, "%c%.3f %.3f ", pen ? 'L' : 'M', p.x, p.y);
        path_ += point;
        const bool in = inside(p, size_);
        if (in && !shown_) first_ = p;
        shown_ = shown_ || in;
        if (pen && in != inside(last_, size_)) cross(in ? last_ : p, in ? p : last_);
        last_ = p;
    }
    // The point where the segment from `out` to `in` enters the frame.
    void cross(Point out, Point in) {
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
    Point last_;
    Point first_;
    std::string path_;
    std::vector<Crossing> crossings_;
    bool shown_ = false;
};

// The shown point of a line nearest to where it stops being shown: between
// the shown parameter `shown` (point p) and the hidden one `hidden`.
struct Edge {
    double s;
    Point p;
};

template <typename Curve>
Edge edge(const Context &ctx, Pixel size, float domain, Curve direction, double shown, Point p, double hidden) {
    Edge last{shown, p};
    for (int k = 0; k < 40; ++k) {
        const double mid = 0.5 * (last.s + hidden);
        if (mid == last.s || mid == hidden) break;
        const Sample t = sample(ctx, size, domain, direction, mid);
        if (t.shown) {
            last = {mid, t.p};
        } else {
            hidden = mid;
        }
    }
    return last;
}

// Draws the curve between two shown samples, halving the step until the
// curve at a quarter, half and three quarters of the step keeps within the
// tolerance of the chord.
template <typename Curve>
void refine(const Context &ctx, Pixel size, float domain, Curve direction, double s0, Point p0, double s1,
            Point p1, int depth, Line &line) {
    const double sm = 0.5 * (s0 + s1);
    const Sample m = sample(ctx, size, domain, direction, sm);
    if (!m.shown) {
        // The lens's domain (or the neighbourhood of the picture) ends
        // between the samples: the line stops at its last shown point and
        // starts again, without a stroke, at the first one after the gap.
        const Edge stop = edge(ctx, size, domain, direction, s0, p0, sm);
        if (stop.s != s0) refine(ctx, size, domain, direction, s0, p0, stop.s, stop.p, depth + 1, line);
        const Edge start = edge(ctx, size, domain, direction, s1, p1, sm);
        if (start.s != s1) {
            line.move(start.p);
            refine(ctx, size, domain, direction, start.s, start.p, s1, p1, depth + 1, line);
        }
        return;
    }
    bool straight = deviation(p0, p1, m.p) <= kTolerance;
    for (const double q : {0.25, 0.75}) {
        if (!straight) break;
        const Sample e = sample(ctx, size, domain, direction, s0 + q * (s1 - s0));
        straight = e.shown && deviation(p0, p1, e.p) <= kTolerance;
    }
    if (straight || depth >= 30 || sm == s0 || sm == s1) {
        line.draw(p1);
        return;
    }
    refine(ctx, size, domain, direction, s0, p0, sm, m.p, depth + 1, line);
    refine(ctx, size, domain, direction, sm, m.p, s1, p1, depth + 1, line);
}

template <typename Curve>
Line trace(const Context &ctx, Pixel size, float from, float to, Curve direction) {
    const float domain = lens_domain(ctx);
    Line line(size);
    Sample last;
    double last_s = from;
    const int steps = static_cast<int>(std::ceil((to - from) / kCoarseStep));
    for (int i = 0; i <= steps; ++i) {
        const double s = std::min<double>(to, from + static_cast<double>(i) * kCoarseStep);
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
    if (places.empty()) places.push_back({-1, line.first().x, line.first().y});
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

// The SVG a PNG is rendered from when no --svg file is asked for: a new file
// beside the PNG ("<png>.XXXXXX.svg"), never one that already exists, and
// removed again whatever happens.
class RenderSource {
public:
    RenderSource(const std::string &png, const std::string &text) : path_(png + ".XXXXXX.svg") {
        const int fd = mkstemps(path_.data(), 4);
        if (fd < 0) throw FileError("--png: cannot write a file beside " + png + ": " + std::strerror(errno));
        std::FILE *file = fdopen(fd, "w");
        const bool written = file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size();
        const int error = errno;
        const bool closed = file != nullptr ? std::fclose(file) == 0 : ::close(fd) == 0;
        if (!written || !closed) {
            const int reason = written ? errno : error;
            std::remove(path_.c_str());
            throw FileError("--png: cannot write " + path_ + ": " + std::strerror(reason));
        }
    }
    ~RenderSource() { std::remove(path_.c_str()); }
    RenderSource(const RenderSource &) = delete;
    RenderSource &operator=(const RenderSource &) = delete;
    const std::string &path() const { return path_; }

private:
    std::string path_;
};

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
    grid->add_option("--svg", args->svg, "output SVG file; - for standard output")->type_name("FILE");
    grid->add_option("--png", args->png, "output PNG file, rendered with rsvg-convert")->type_name("FILE");
    grid->add_option("--over", args->over, "draw over this camera frame (JPEG or PNG), scaled to the picture size")
        ->type_name("FILE");
    grid->add_option("--step", args->step, "degrees between grid lines")->capture_default_str()->check(
        CLI::Range(0.5f, 90.0f));
    args->camera.add_to(*grid);
    grid->callback([args, &session] {
        // The parser's range lets NaN through.
        check_range("--step", args->step, 0.5, 90.0, false, false, false);
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
            const Line line = trace(ctx, size, -90.0f, 90.0f, [pan](double t) { return Direction{pan, t}; });
            pan_lines += add_line(line, "pan", number(pan), "pan " + number(pan), size, svg);
        }
        for (float tilt = std::floor(-90.0f / step + 1.0f) * step; tilt < 90.0f; tilt += step) {
            const Line line = trace(ctx, size, axis.pan - 180.0f, axis.pan + 180.0f,
                                    [tilt](double p) { return Direction{p, tilt}; });
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
        const bool svg_file = !args->svg.empty() && args->svg != "-";
        if (args->svg == "-") std::cout << text << std::flush;
        if (svg_file) {
            std::ofstream file(args->svg);
            if (!file) throw FileError("--svg: cannot write " + args->svg + ": " + std::strerror(errno));
            file << text;
            file.close();
            if (!file) throw FileError("--svg: cannot write " + args->svg + ": " + std::strerror(errno));
        }
        // The PNG is rendered from the SVG file, or from a file of its own.
        if (svg_file && !args->png.empty()) render_png(args->svg, args->png);
        if (!svg_file && !args->png.empty()) render_png(RenderSource(args->png, text).path(), args->png);
        if (args->svg == "-") return;  // standard output holds the picture
        Report report;
        if (!args->svg.empty()) report.add_text("svg", args->svg);
        if (!args->png.empty()) report.add_text("png", args->png);
        session.print(report.add_int("pan_lines", pan_lines).add_int("tilt_lines", tilt_lines));
    });
}

}  // namespace viewgeo::tool
