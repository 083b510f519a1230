// The overview (fisheye) camera: its configuration file and its projections.
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <set>

#include "stream.h"

namespace viewgeo::tool {
namespace {

constexpr const char *kConfigPath = "/etc/viewgeo/ovista.conf";
constexpr const char *kBackupPath = "/etc/viewgeo/ovista.bak";

OvistaContext load_or_fail() {
    errno = 0;
    std::optional<OvistaContext> ctx = OvistaContext::load();
    if (!ctx) throw file_failure(std::string("cannot read ") + kConfigPath);
    return std::move(*ctx);
}

void save_or_fail(const OvistaContext &ctx) {
    errno = 0;
    if (!ctx.save()) throw file_failure(std::string("cannot write ") + kConfigPath);
}

const char *const kCompensatorNames[] = {"pan_comp", "tilt_comp", "x_comp", "y_comp"};

// The fields as `ovista set` names them: the keys of the file, the
// compensators' keys behind their group ("x_comp.A"). All of them, or those
// named in `only`.
Report describe(const OvistaContext &ctx, const std::set<std::string> *only = nullptr) {
    Report report;
    auto add = [&](const std::string &name, float value) {
        if (only == nullptr || only->count(name) != 0) report.add(name, value);
    };
    const PanTilt axis = ctx.axis();
    const OvistaLens lens = ctx.lens();
    add("center_pan", axis.pan);
    add("center_tilt", axis.tilt);
    add("center_x", lens.center_x);
    add("center_y", lens.center_y);
    add("radius_x", lens.radius_x);
    add("radius_y", lens.radius_y);
    add("field_angle", lens.field_angle);
    for (int i = 0; i < 4; ++i) {
        const Compensator c = ctx.compensator(static_cast<OvistaCompensator>(i));
        const std::string group = kCompensatorNames[i];
        if (only == nullptr || only->count(group + ".type") != 0) report.add_int(group + ".type", c.type);
        add(group + ".A", c.a);
        add(group + ".B", c.b);
        add(group + ".C", c.c);
        add(group + ".D", c.d);
    }
    return report;
}

std::string known_keys() {
    std::string keys = "center_pan, center_tilt, center_x, center_y, radius_x, radius_y, field_angle";
    for (const char *group : kCompensatorNames) keys += std::string(", ") + group + ".{type,A,B,C,D}";
    return keys;
}

// The whole text as a number; anything else names the key it was meant for.
// Each key has its range; `raw` takes any number, NaN and infinities too.
float parse_float(const std::string &key, const std::string &text, bool raw) {
    char *end = nullptr;
    errno = 0;
    const float value = std::strtof(text.c_str(), &end);
    if (text.empty() || *end != '\0' || (!raw && !std::isfinite(value) && errno != ERANGE))
        throw InvalidInput(key, "expected a finite number, got '" + text + "'");
    if (!raw && errno == ERANGE) throw InvalidInput(key, out_of_range("a float", text));
    if (key == "center_pan") check_pan(key, value, raw);
    if (key == "center_tilt") check_tilt(key, value, raw);
    // The centre and radii are fractions of the picture's width and height.
    if (key == "center_x" || key == "center_y") check_range(key, value, 0.0, 1.0, false, false, raw);
    if (key == "radius_x" || key == "radius_y") check_range(key, value, 0.0, 1.0, true, false, raw);
    if (key == "field_angle") check_range(key, value, 0.0, 180.0, true, false, raw);
    return value;
}

int parse_type(const std::string &key, const std::string &text, bool raw) {
    char *end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0')
        throw InvalidInput(key, "expected an integer (1 quadratic, 2 cubic, 0 none), got '" + text + "'");
    if (errno == ERANGE || value < -2147483647L - 1 || value > 2147483647L)
        throw InvalidInput(key, out_of_range("an integer", text));
    if (!raw && (value < 0 || value > 2))
        throw InvalidInput(key, "must be 0 (none), 1 (quadratic) or 2 (cubic), got '" + text + "'");
    return static_cast<int>(value);
}

// Changes one field of the context; throws naming KEY or VALUE.
void set_field(OvistaContext &ctx, const std::string &key, const std::string &text, bool raw) {
    PanTilt axis = ctx.axis();
    OvistaLens lens = ctx.lens();
    if (key == "center_pan" || key == "center_tilt") {
        (key == "center_pan" ? axis.pan : axis.tilt) = parse_float(key, text, raw);
        ctx.set_axis(axis);
        return;
    }
    float *lens_field = key == "center_x"      ? &lens.center_x
                        : key == "center_y"    ? &lens.center_y
                        : key == "radius_x"    ? &lens.radius_x
                        : key == "radius_y"    ? &lens.radius_y
                        : key == "field_angle" ? &lens.field_angle
                                               : nullptr;
    if (lens_field != nullptr) {
        *lens_field = parse_float(key, text, raw);
        ctx.set_lens(lens);
        return;
    }
    const std::size_t dot = key.find('.');
    for (int i = 0; dot != std::string::npos && i < 4; ++i) {
        if (key.compare(0, dot, kCompensatorNames[i]) != 0 || dot != std::string(kCompensatorNames[i]).size())
            continue;
        const auto which = static_cast<OvistaCompensator>(i);
        Compensator c = ctx.compensator(which);
        const std::string coefficient = key.substr(dot + 1);
        if (coefficient == "type") {
            c.type = parse_type(key, text, raw);
        } else if (coefficient == "A" || coefficient == "B" || coefficient == "C" || coefficient == "D") {
            float *field = coefficient == "A" ? &c.a : coefficient == "B" ? &c.b : coefficient == "C" ? &c.c : &c.d;
            *field = parse_float(key, text, raw);
        } else {
            break;
        }
        ctx.set_compensator(which, c);
        return;
    }
    throw CLI::ValidationError("KEY", "unknown key '" + key + "' (known: " + known_keys() + ")");
}

// The overview picture and how it is mounted; rotation and mirroring are
// properties of the video stream, not of the file.
struct PictureOptions {
    std::string size = "1920x1080";
    int rot = 0;
    bool mirror = false;

    void add_to(CLI::App &command) {
        command.add_option("--size", size, "overview picture size in pixels")
            ->type_name("WIDTHxHEIGHT")
            ->capture_default_str();
        command.add_option("--rot", rot, "overview picture rotation, whole degrees")->capture_default_str();
        command.add_flag("--mirror", mirror, "the overview picture is mirrored");
    }
    Context view(bool raw) const {
        check_range("--rot", rot, -360.0, 360.0, false, false, raw);
        const auto [width, height] = parse_size(size);
        Context ctx;
        ctx.set_picture(width, height);
        return ctx;
    }
    void apply(OvistaContext &ctx) const { ctx.set_rotation(rot).set_mirror(mirror); }
};

// Every overview projection of the tool goes through these two, a block of
// records at a time.
void convert_ovista_to_ptz(const OvistaContext &ctx, const Context &view, bool relative, Block &block) {
    if (!relative) {
        viewgeo_ovista_to_ptz_f_array(ctx.get(), view.get(), block.size(), block.x.data(), block.y.data(),
                                      block.pan.data(), block.tilt.data());
        return;
    }
    // The relative form has no array twin in the library: point by point.
    for (std::size_t i = 0; i < block.size(); ++i) {
        const PanTilt pt = ctx.to_ptz_rel(view, Pixel{block.x[i], block.y[i]});
        block.pan[i] = pt.pan;
        block.tilt[i] = pt.tilt;
    }
}

void convert_ovista_to_ptz_precise(const OvistaContext &ctx, const Context &view, Block &block) {
    for (std::size_t i = 0; i < block.size(); ++i) {
        if (viewgeo_ovista_to_ptz_d(ctx.get(), view.get(), block.x_d[i], block.y_d[i], &block.pan_d[i],
                                    &block.tilt_d[i]) != 0)
            block.failed[i] = 1, block.failure = kNoPreciseAnswer;
    }
}

void convert_ovista_to_pixel(const OvistaContext &ctx, const Context &view, bool precise, Block &block) {
    if (precise) {
        for (std::size_t i = 0; i < block.size(); ++i) {
            if (viewgeo_ovista_to_pixel_d(ctx.get(), view.get(), block.pan_d[i], block.tilt_d[i], &block.x_d[i],
                                          &block.y_d[i]) != 0)
                block.failed[i] = 1, block.failure = kNoPreciseAnswer;
        }
        return;
    }
    viewgeo_ovista_to_pixel_f_array(ctx.get(), view.get(), block.size(), block.pan.data(), block.tilt.data(),
                                    block.x.data(), block.y.data());
}

}  // namespace

void add_ovista_commands(CLI::App &app, Session &session) {
    CLI::App *ovista = app.add_subcommand("ovista", "the overview (fisheye) camera: " + std::string(kConfigPath));
    ovista->require_subcommand(1);

    ovista->add_subcommand("show", "print the overview camera's configuration")->callback([&session] {
        session.print_long(describe(load_or_fail()));
    });

    struct Set {
        std::string key, value;
        std::vector<std::string> more;
    };
    auto set_args = std::make_shared<Set>();
    CLI::App *set = ovista->add_subcommand("set", "change fields (KEY VALUE ...) and save the configuration");
    set->add_option("KEY", set_args->key, "field name, as `ovista show` prints it")->type_name("NAME")->required();
    set->add_option("VALUE", set_args->value, "its new value")->type_name("NUMBER")->required();
    set->add_option("MORE", set_args->more, "further KEY VALUE pairs")->type_name("KEY VALUE");
    set->callback([set_args, &session] {
        if (set_args->more.size() % 2 != 0)
            throw CLI::ValidationError("VALUE", "missing for key '" + set_args->more.back() + "'");
        OvistaContext ctx = load_or_fail();
        std::set<std::string> changed{set_args->key};
        set_field(ctx, set_args->key, set_args->value, session.raw);
        for (std::size_t i = 0; i < set_args->more.size(); i += 2) {
            set_field(ctx, set_args->more[i], set_args->more[i + 1], session.raw);
            changed.insert(set_args->more[i]);
        }
        save_or_fail(ctx);
        Report report = describe(ctx, &changed);
        report.add_text("saved", kConfigPath);
        session.print(report);
    });

    ovista->add_subcommand("save", "read the configuration and write it back in the standard form")
        ->callback([&session] {
            const OvistaContext ctx = load_or_fail();
            save_or_fail(ctx);
            session.print(Report().add_text("saved", kConfigPath));
        });

    ovista->add_subcommand("backup", "copy the configuration to " + std::string(kBackupPath))->callback([&session] {
        const OvistaContext ctx = load_or_fail();
        errno = 0;
        if (!ctx.backup()) throw file_failure(std::string("cannot write ") + kBackupPath);
        session.print(Report().add_text("saved", kBackupPath));
    });

    auto defaults_if_missing = std::make_shared<bool>(false);
    CLI::App *restore = ovista->add_subcommand("restore", "replace the configuration by the backup");
    restore->add_flag("--defaults-if-missing", *defaults_if_missing,
                      "without a backup, reset the configuration to the defaults");
    restore->callback([defaults_if_missing, &session] {
        OvistaContext ctx = load_or_fail();
        const bool had_backup = file_exists(kBackupPath) != 0;
        if (!had_backup && !*defaults_if_missing) {
            throw FileError(std::string("no backup ") + kBackupPath +
                            " to restore from (--defaults-if-missing resets to the defaults)");
        }
        errno = 0;
        if (!ctx.restore()) throw file_failure(std::string("cannot restore ") + kConfigPath + " from " + kBackupPath);
        Report report = describe(ctx);
        report.add_text("restored_from", had_backup ? kBackupPath : "defaults");
        session.print_long(report);
    });

    struct ToPtz {
        PictureOptions picture;
        std::string x, y;
        bool relative = false, precise = false;
        CLI::Option *x_option = nullptr, *y_option = nullptr;
    };
    auto to_ptz = std::make_shared<ToPtz>();
    CLI::App *ptz = ovista->add_subcommand(
        "to-ptz", "PTZ pan/tilt of overview pixel X Y; without X Y, one \"x y\" per input line");
    session.record_readers.push_back(ptz);
    to_ptz->x_option = ptz->add_option("x", to_ptz->x, "overview pixel column")->type_name("NUMBER");
    to_ptz->y_option = ptz->add_option("y", to_ptz->y, "overview pixel row")->type_name("NUMBER");
    ptz->add_flag("--rel", to_ptz->relative, "relative to the overview camera's axis");
    ptz->add_flag("--precise", to_ptz->precise, std::string(kPreciseHelp) + "; applies --rot and --mirror");
    to_ptz->picture.add_to(*ptz);
    ptz->callback([to_ptz, &session] {
        // The bit-exact form applies rotation and mirroring only towards
        // pixels: accepting them here would break a round trip. The precise
        // form turns and mirrors both ways.
        if (!to_ptz->precise && (to_ptz->picture.rot != 0 || to_ptz->picture.mirror)) {
            throw InvalidInput(to_ptz->picture.mirror ? "--mirror" : "--rot",
                               "applies only to ovista to-pixel and to ovista to-ptz --precise; ovista to-ptz takes "
                               "the picture as the lens sees it");
        }
        check_precise(to_ptz->precise, "--rel", to_ptz->relative);
        const bool precise = to_ptz->precise;
        const Records records = precise ? Records::PrecisePixels : Records::Pixels;
        std::optional<Block> one = given_record(session, to_ptz->x_option, to_ptz->y_option, records, to_ptz->x, to_ptz->y);
        const Context view = to_ptz->picture.view(session.raw);
        OvistaContext ctx = load_or_fail();
        if (precise) to_ptz->picture.apply(ctx);
        const bool relative = to_ptz->relative;
        const Conversion conversion{
            records,
            precise ? Results::PreciseAngles : Results::Angles,
            [&](Block &block) {
                if (precise) {
                    convert_ovista_to_ptz_precise(ctx, view, block);
                } else {
                    convert_ovista_to_ptz(ctx, view, relative, block);
                }
            },
            {}};
        stream_or_one(session, conversion, std::move(one));
    });

    struct ToPixel {
        PictureOptions picture;
        std::string pan, tilt;
        bool precise = false;
        CLI::Option *pan_option = nullptr, *tilt_option = nullptr;
    };
    auto to_pixel = std::make_shared<ToPixel>();
    CLI::App *pixel = ovista->add_subcommand(
        "to-pixel", "overview pixel where the PTZ direction PAN TILT appears; without PAN TILT, one per input line");
    session.record_readers.push_back(pixel);
    to_pixel->pan_option = pixel->add_option("pan", to_pixel->pan, "PTZ pan, degrees")->type_name("NUMBER");
    to_pixel->tilt_option = pixel->add_option("tilt", to_pixel->tilt, "PTZ tilt, degrees")->type_name("NUMBER");
    pixel->add_flag("--precise", to_pixel->precise, kPreciseHelp);
    to_pixel->picture.add_to(*pixel);
    pixel->callback([to_pixel, &session] {
        const bool precise = to_pixel->precise;
        const Records records = precise ? Records::PreciseAngles : Records::Angles;
        std::optional<Block> one = given_record(session, to_pixel->pan_option, to_pixel->tilt_option, records,
                                                to_pixel->pan, to_pixel->tilt);
        const Context view = to_pixel->picture.view(session.raw);
        OvistaContext ctx = load_or_fail();
        to_pixel->picture.apply(ctx);
        const Conversion conversion{
            records,
            precise ? Results::PrecisePixels : Results::Pixels,
            [&](Block &block) { convert_ovista_to_pixel(ctx, view, precise, block); },
            {}};
        stream_or_one(session, conversion, std::move(one));
    });
}

}  // namespace viewgeo::tool
