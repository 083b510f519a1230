// Pixel to pan/tilt and back, for one record on the command line or a stream
// of them.
#include <memory>

#include "stream.h"

namespace viewgeo::tool {
namespace {

enum class Projection { ToPtz, ToPtzRel, ToPtzFixed, ToPtzRelFixed, ToPtzPrecise, ToPixel, ToPixelFixed, ToPixelPrecise };

// Every projection of the tool goes through here, a block of records at a
// time: one call of the library's array form per block.
void convert_projection(const Context &ctx, Projection how, Block &block) {
    const std::size_t n = block.size();
    const viewgeo_context *c = ctx.get();
    switch (how) {
        case Projection::ToPtz:
            viewgeo_to_ptz_f_array(c, n, block.x.data(), block.y.data(), block.pan.data(), block.tilt.data());
            break;
        case Projection::ToPtzRel:
            viewgeo_to_ptz_f_rel_array(c, n, block.x.data(), block.y.data(), block.pan.data(), block.tilt.data());
            break;
        case Projection::ToPtzFixed:
            viewgeo_to_ptz_x_array(c, n, block.x.data(), block.y.data(), block.pan_q16.data(), block.tilt_q16.data());
            break;
        case Projection::ToPtzRelFixed:
            viewgeo_to_ptz_x_rel_array(c, n, block.x.data(), block.y.data(), block.pan_q16.data(),
                                       block.tilt_q16.data());
            break;
        case Projection::ToPtzPrecise:
            // The precise form has no array twin: point by point.
            for (std::size_t i = 0; i < n; ++i) {
                if (viewgeo_to_ptz_d(c, block.x_d[i], block.y_d[i], &block.pan_d[i], &block.tilt_d[i]) != 0)
                    block.failed[i] = 1, block.failure = kNoPreciseAnswer;
            }
            break;
        case Projection::ToPixelPrecise:
            for (std::size_t i = 0; i < n; ++i) {
                if (viewgeo_to_pixel_d(c, block.pan_d[i], block.tilt_d[i], &block.x_d[i], &block.y_d[i]) != 0)
                    block.failed[i] = 1, block.failure = kNoPreciseAnswer;
            }
            break;
        case Projection::ToPixel:
            viewgeo_to_pixel_f_array(c, n, block.pan.data(), block.tilt.data(), block.x.data(), block.y.data());
            break;
        case Projection::ToPixelFixed:
            // The angles are read as degrees and turned into Q16.16 words by the
            // library's own rounding, as a single Q16.16 record would be.
            for (std::size_t i = 0; i < n; ++i) {
                block.pan_q16[i] = Q16::from_float(block.pan[i]).raw();
                block.tilt_q16[i] = Q16::from_float(block.tilt[i]).raw();
            }
            viewgeo_to_pixel_x_array(c, n, block.pan_q16.data(), block.tilt_q16.data(), block.x.data(),
                                     block.y.data());
            break;
    }
}

// Both coordinates, or neither (then the records come from a stream).
bool coordinates_given(const CLI::Option *first, const CLI::Option *second, const Session &session) {
    if (first->count() != second->count())
        throw CLI::RequiredError(first->count() == 0 ? first->get_name() : second->get_name());
    if (first->count() == 0 && session.batch) throw CLI::RequiredError(first->get_name());
    return first->count() != 0;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> describe_lens(const CameraOptions &camera, const Context &ctx) {
    const LensChoice lens = lens_choice(camera, ctx);
    return {{"lens", lens.name}, {"lens_source", lens.source}};
}

std::optional<Block> given_record(const Session &session, const CLI::Option *first, const CLI::Option *second,
                                  Records records, const std::string &first_text, const std::string &second_text) {
    if (!coordinates_given(first, second, session)) return std::nullopt;
    if (session.input_option != nullptr && session.input_option->count() != 0)
        throw InvalidInput("--input", "reads records only when no coordinates are given on the command line");
    return command_line_record(records, first_text, second_text, session.raw);
}

void stream_or_one(Session &session, const Conversion &conversion, std::optional<Block> one) {
    if (one) {
        convert_one(session, conversion, *one);
        return;
    }
    session.status = run_stream(session, conversion);
}

void add_projection_commands(CLI::App &app, Session &session) {
    struct ToPtz {
        CameraOptions camera;
        std::string x, y;
        bool relative = false, fixed = false, precise = false;
        CLI::Option *x_option = nullptr, *y_option = nullptr;
    };
    auto to_ptz = std::make_shared<ToPtz>();
    CLI::App *ptz = app.add_subcommand(
        "to-ptz", "pan/tilt that brings pixel X Y to the centre; without X Y, one \"x y\" per input line");
    session.record_readers.push_back(ptz);
    to_ptz->x_option = ptz->add_option("x", to_ptz->x, "pixel column (continuous with --precise)")->type_name("NUMBER");
    to_ptz->y_option = ptz->add_option("y", to_ptz->y, "pixel row (continuous with --precise)")->type_name("NUMBER");
    ptz->add_flag("--rel", to_ptz->relative, "movement relative to the camera's pan/tilt");
    ptz->add_flag("--fixed", to_ptz->fixed, "use the Q16.16 form");
    ptz->add_flag("--precise", to_ptz->precise, kPreciseHelp);
    to_ptz->camera.add_to(*ptz);
    ptz->callback([to_ptz, &session] {
        to_ptz->camera.check(session.raw);
        check_precise(to_ptz->precise, "--fixed", to_ptz->fixed);
        check_precise(to_ptz->precise, "--rel", to_ptz->relative);
        const Records records = to_ptz->precise ? Records::PrecisePixels : Records::Pixels;
        std::optional<Block> one =
            given_record(session, to_ptz->x_option, to_ptz->y_option, records, to_ptz->x, to_ptz->y);
        const Context ctx = to_ptz->camera.make_context();
        const Projection how = to_ptz->precise ? Projection::ToPtzPrecise
                               : to_ptz->fixed ? (to_ptz->relative ? Projection::ToPtzRelFixed : Projection::ToPtzFixed)
                                               : (to_ptz->relative ? Projection::ToPtzRel : Projection::ToPtz);
        const Conversion conversion{
            records,
            to_ptz->precise ? Results::PreciseAngles : to_ptz->fixed ? Results::AnglesQ16 : Results::Angles,
            [&ctx, how](Block &block) { convert_projection(ctx, how, block); },
            describe_lens(to_ptz->camera, ctx)};
        stream_or_one(session, conversion, std::move(one));
    });

    struct ToPixel {
        CameraOptions camera;
        std::string pan, tilt;
        bool fixed = false, precise = false;
        CLI::Option *pan_option = nullptr, *tilt_option = nullptr;
    };
    auto to_pixel = std::make_shared<ToPixel>();
    CLI::App *pixel = app.add_subcommand(
        "to-pixel", "pixel where the direction PAN TILT appears; without PAN TILT, one \"pan tilt\" per input line");
    session.record_readers.push_back(pixel);
    to_pixel->pan_option = pixel->add_option("pan", to_pixel->pan, "target pan, degrees")->type_name("NUMBER");
    to_pixel->tilt_option = pixel->add_option("tilt", to_pixel->tilt, "target tilt, degrees")->type_name("NUMBER");
    pixel->add_flag("--fixed", to_pixel->fixed, "use the Q16.16 form");
    pixel->add_flag("--precise", to_pixel->precise, kPreciseHelp);
    to_pixel->camera.add_to(*pixel);
    pixel->callback([to_pixel, &session] {
        to_pixel->camera.check(session.raw);
        check_precise(to_pixel->precise, "--fixed", to_pixel->fixed);
        const Records records = to_pixel->precise ? Records::PreciseAngles : Records::Angles;
        std::optional<Block> one = given_record(session, to_pixel->pan_option, to_pixel->tilt_option, records,
                                                to_pixel->pan, to_pixel->tilt);
        const Context ctx = to_pixel->camera.make_context();
        const Projection how = to_pixel->precise ? Projection::ToPixelPrecise
                               : to_pixel->fixed ? Projection::ToPixelFixed
                                                 : Projection::ToPixel;
        const Conversion conversion{
            records,
            to_pixel->precise ? Results::PrecisePixels : Results::Pixels,
            [&ctx, how](Block &block) { convert_projection(ctx, how, block); },
            describe_lens(to_pixel->camera, ctx)};
        stream_or_one(session, conversion, std::move(one));
    });
}

}  // namespace viewgeo::tool
