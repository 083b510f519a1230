// The remote PTZ camera: its per-channel calibration and the mappings between
// the main picture and the remote camera's pan/tilt.
#include <cerrno>
#include <memory>
#include <new>

#include "stream.h"

namespace viewgeo::tool {
namespace {

constexpr const char *kCalibrationPath = "/etc/viewgeo/remoteptz.conf";

// Why the channel's centre cannot be read, in one line.
std::string unreadable(int channel) {
    if (file_exists(kCalibrationPath) == 0) return std::string("no calibration file ") + kCalibrationPath;
    const std::string number = std::to_string(channel);
    return "cannot read channel " + number + " from " + kCalibrationPath + " (no complete [channel_" + number +
           "] group, or the file cannot be read)";
}

// The main camera. The remote mappings read the stored vertical field of
// view, not one derived from the aspect: without --vfov the derived value is
// stored, as users expect of "default: from the aspect".
Context main_view(const CameraOptions &camera) {
    Context ctx = camera.make_context();
    if (!camera.vfov) ctx.set_vert_fov(ctx.vert_fov_q16());
    return ctx;
}

// The main camera, with the channel's remote centre as its pan/tilt.
Context main_view_at_centre(const CameraOptions &camera, int channel) {
    Context ctx = main_view(camera);
    if (!ctx.load_remote_center(channel)) throw FileError(unreadable(channel));
    return ctx;
}

// Every remote mapping of the tool goes through these two, a block of records
// at a time.
void convert_remote_point(const Context &ctx, Block &block) {
    for (std::size_t i = 0; i < block.size(); ++i) {
        const std::optional<PanTiltQ16> pt = ctx.to_remote_ptz(Pixel{block.x[i], block.y[i]});
        if (!pt) throw std::bad_alloc();
        block.pan_q16[i] = pt->pan.raw();
        block.tilt_q16[i] = pt->tilt.raw();
    }
}

void convert_remote_to_pixel(Context &ctx, int channel, Block &block) {
    for (std::size_t i = 0; i < block.size(); ++i) {
        const PanTiltQ16 target{Q16::from_float(block.pan[i]), Q16::from_float(block.tilt[i])};
        const std::optional<Pixel> p = ctx.remote_to_pixel(target, channel);
        if (!p) {
            block.failed[i] = 1;
            block.failure = "pan/tilt not found in the main picture";
            continue;
        }
        block.x[i] = p->x;
        block.y[i] = p->y;
    }
}

}  // namespace

void add_remote_commands(CLI::App &app, Session &session) {
    CLI::App *remote = app.add_subcommand("remote", std::string("the remote PTZ camera: ") + kCalibrationPath);
    remote->require_subcommand(1);

    struct SetCenter {
        int channel = 0;
        float pan = 0.0f, tilt = 0.0f;
        int status = 0, automatic = 0;
    };
    auto set = std::make_shared<SetCenter>();
    CLI::App *set_cmd = remote->add_subcommand("set-center", "store the remote pan/tilt that looks at the picture centre");
    set_cmd->add_option("channel", set->channel, "channel number")->required();
    set_cmd->add_option("pan", set->pan, "remote pan, degrees")->required();
    set_cmd->add_option("tilt", set->tilt, "remote tilt, degrees")->required();
    set_cmd->add_option("--status", set->status, "calibration status, stored as given")->capture_default_str();
    set_cmd->add_option("--auto", set->automatic, "auto-calibrated flag, stored as given")->capture_default_str();
    set_cmd->callback([set, &session] {
        check_channel("channel", set->channel, session.raw);
        check_pan("pan", set->pan, session.raw);
        check_tilt("tilt", set->tilt, session.raw);
        errno = 0;
        if (!set_remote_center(set->channel, PanTilt{set->pan, set->tilt}, set->status, set->automatic))
            throw file_failure(std::string("cannot write ") + kCalibrationPath);
        session.print(Report()
                          .add_int("channel", set->channel)
                          .add("center_pan", set->pan)
                          .add("center_tilt", set->tilt)
                          .add_int("calibration_status", set->status)
                          .add_int("auto_calibrated", set->automatic)
                          .add_text("saved", kCalibrationPath));
    });

    auto get_channel = std::make_shared<int>(0);
    CLI::App *get_cmd = remote->add_subcommand("get-center", "read a channel's remote centre and flags");
    get_cmd->add_option("channel", *get_channel, "channel number")->required();
    get_cmd->callback([get_channel, &session] {
        const int channel = *get_channel;
        check_channel("channel", channel, session.raw);
        const std::optional<PanTiltQ16> centre = remote_center(channel);
        const std::optional<RemoteCalibration> flags = remote_calibration(channel);
        if (!centre || !flags) throw FileError(unreadable(channel));
        session.print(Report()
                          .add_int("channel", channel)
                          .add_q16("center_pan", centre->pan)
                          .add_q16("center_tilt", centre->tilt)
                          .add_int("calibration_status", flags->status)
                          .add_int("auto_calibrated", flags->auto_calibrated));
    });

    struct Point {
        CameraOptions camera;
        int channel = 0;
        std::int32_t x = 0, y = 0, width = 0;
        std::string first, second;  // a record given as text: x y, or pan tilt
    };

    auto point = std::make_shared<Point>();
    CLI::App *point_cmd = remote->add_subcommand(
        "point", "remote pan/tilt that looks at pixel X Y of the main picture; without X Y, one per input line");
    session.record_readers.push_back(point_cmd);
    point_cmd->add_option("channel", point->channel, "channel number")->required();
    CLI::Option *point_x = point_cmd->add_option("x", point->first, "pixel column")->type_name("NUMBER");
    CLI::Option *point_y = point_cmd->add_option("y", point->second, "pixel row")->type_name("NUMBER");
    point->camera.add_to(*point_cmd, false);
    point_cmd->callback([point, point_x, point_y, &session] {
        check_channel("channel", point->channel, session.raw);
        point->camera.check(session.raw);
        std::optional<Block> one =
            given_record(session, point_x, point_y, Records::Pixels, point->first, point->second);
        const Context ctx = main_view_at_centre(point->camera, point->channel);
        const Conversion conversion{
            Records::Pixels,
            Results::AnglesQ16,
            [&ctx](Block &block) { convert_remote_point(ctx, block); },
            describe_lens(point->camera, ctx)};
        stream_or_one(session, conversion, std::move(one));
    });

    auto zoom = std::make_shared<Point>();
    CLI::App *zoom_cmd =
        remote->add_subcommand("zoom", "angle the main view sees across WIDTH pixels centred on X Y");
    zoom_cmd->add_option("x", zoom->x, "pixel column")->required();
    zoom_cmd->add_option("y", zoom->y, "pixel row")->required();
    zoom_cmd->add_option("width", zoom->width, "span in pixels")->required()->check(CLI::Range(0, 1000000));
    zoom->camera.add_to(*zoom_cmd, false);
    zoom_cmd->callback([zoom, &session] {
        zoom->camera.check(session.raw);
        const Context ctx = main_view(zoom->camera);
        session.print(Report().add_q16("span", ctx.to_remote_zoom(Pixel{zoom->x, zoom->y}, zoom->width)));
    });

    auto to_pixel = std::make_shared<Point>();
    CLI::App *pixel_cmd = remote->add_subcommand(
        "to-pixel", "pixel of the main picture the remote camera sees at PAN TILT; without PAN TILT, one per input line");
    session.record_readers.push_back(pixel_cmd);
    pixel_cmd->add_option("channel", to_pixel->channel, "channel number")->required();
    CLI::Option *pixel_pan = pixel_cmd->add_option("pan", to_pixel->first, "remote pan, degrees")->type_name("NUMBER");
    CLI::Option *pixel_tilt = pixel_cmd->add_option("tilt", to_pixel->second, "remote tilt, degrees")->type_name("NUMBER");
    to_pixel->camera.add_to(*pixel_cmd, false);
    pixel_cmd->callback([to_pixel, pixel_pan, pixel_tilt, &session] {
        check_channel("channel", to_pixel->channel, session.raw);
        to_pixel->camera.check(session.raw);
        std::optional<Block> one =
            given_record(session, pixel_pan, pixel_tilt, Records::Angles, to_pixel->first, to_pixel->second);
        Context ctx = main_view_at_centre(to_pixel->camera, to_pixel->channel);
        const int channel = to_pixel->channel;
        const Conversion conversion{
            Records::Angles,
            Results::Pixels,
            [&ctx, channel](Block &block) { convert_remote_to_pixel(ctx, channel, block); },
            describe_lens(to_pixel->camera, ctx)};
        stream_or_one(session, conversion, std::move(one));
    });

    auto panorama = std::make_shared<Point>();
    CLI::App *panorama_cmd = remote->add_subcommand(
        "panorama", "remote pan/tilt of pixel X Y of a spherical panorama (camera options describe it; --vfov defaults to hfov x height / width)");
    panorama_cmd->add_option("x", panorama->x, "pixel column")->required();
    panorama_cmd->add_option("y", panorama->y, "pixel row")->required();
    panorama->camera.add_to(*panorama_cmd);
    panorama_cmd->callback([panorama, &session] {
        panorama->camera.check(session.raw, true);
        Context ctx = panorama->camera.make_context();
        if (!panorama->camera.vfov) {
            // An equirectangular picture: degrees per pixel alike on both axes.
            const Pixel size = ctx.picture_size();
            ctx.set_vert_fov(panorama->camera.hfov * static_cast<float>(size.y) / static_cast<float>(size.x));
        }
        const PanTilt pt = ctx.panorama_to_remote_ptz(Pixel{panorama->x, panorama->y});
        session.print(Report().add("pan", pt.pan).add("tilt", pt.tilt));
    });
}

}  // namespace viewgeo::tool
