// Pixel to pan/tilt and back, for one record on the command line or a stream
// of them.
#include <memory>

#include "stream.h"

namespace viewgeo::tool {
namespace {

enum class Projection { ToPtz, ToPtzRel, ToPtzFixed, ToPtzRelFixed, ToPixel, ToPixelFixed };

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

Block pixel_record(std::int32_t x, std::int32_t y) {
    Block one;
    one.resize(1);
    one.x[0] = x;
    one.y[0] = y;
    return one;
}

Block angle_record(float pan, float tilt) {
    Block one;
    one.resize(1);
    one.pan[0] = pan;
    one.tilt[0] = tilt;
    return one;
}

bool stream_or_one(Session &session, const CLI::Option *first, const CLI::Option *second, const Conversion &conversion,
                   Block one) {
    if (coordinates_given(first, second, session)) {
        convert_one(session, conversion, one);
        return true;
    }
    session.status = run_stream(session, conversion);
    return false;
}

void add_projection_commands(CLI::App &app, Session &session) {
    struct ToPtz {
        CameraOptions camera;
        std::int32_t x = 0, y = 0;
        bool relative = false, fixed = false;
        CLI::Option *x_option = nullptr, *y_option = nullptr;
    };
    auto to_ptz = std::make_shared<ToPtz>();
    CLI::App *ptz = app.add_subcommand(
        "to-ptz", "pan/tilt that brings pixel X Y to the centre; without X Y, one \"x y\" per input line");
    to_ptz->x_option = ptz->add_option("x", to_ptz->x, "pixel column");
    to_ptz->y_option = ptz->add_option("y", to_ptz->y, "pixel row");
    ptz->add_flag("--rel", to_ptz->relative, "movement relative to the camera's pan/tilt");
    ptz->add_flag("--fixed", to_ptz->fixed, "use the Q16.16 form");
    to_ptz->camera.add_to(*ptz);
    ptz->callback([to_ptz, &session] {
        to_ptz->camera.check(session.raw);
        const Context ctx = to_ptz->camera.make_context();
        const Projection how = to_ptz->fixed ? (to_ptz->relative ? Projection::ToPtzRelFixed : Projection::ToPtzFixed)
                                             : (to_ptz->relative ? Projection::ToPtzRel : Projection::ToPtz);
        const Conversion conversion{
            Records::Pixels,
            to_ptz->fixed ? Results::AnglesQ16 : Results::Angles,
            [&ctx, how](Block &block) { convert_projection(ctx, how, block); },
            describe_lens(to_ptz->camera, ctx)};
        stream_or_one(session, to_ptz->x_option, to_ptz->y_option, conversion,
                      pixel_record(to_ptz->x, to_ptz->y));
    });

    struct ToPixel {
        CameraOptions camera;
        float pan = 0.0f, tilt = 0.0f;
        bool fixed = false;
        CLI::Option *pan_option = nullptr, *tilt_option = nullptr;
    };
    auto to_pixel = std::make_shared<ToPixel>();
    CLI::App *pixel = app.add_subcommand(
        "to-pixel", "pixel where the direction PAN TILT appears; without PAN TILT, one \"pan tilt\" per input line");
    to_pixel->pan_option = pixel->add_option("pan", to_pixel->pan, "target pan, degrees");
    to_pixel->tilt_option = pixel->add_option("tilt", to_pixel->tilt, "target tilt, degrees");
    pixel->add_flag("--fixed", to_pixel->fixed, "use the Q16.16 form");
    to_pixel->camera.add_to(*pixel);
    pixel->callback([to_pixel, &session] {
        to_pixel->camera.check(session.raw);
        check_pan("pan", to_pixel->pan, session.raw);
        check_tilt("tilt", to_pixel->tilt, session.raw);
        const Context ctx = to_pixel->camera.make_context();
        const Projection how = to_pixel->fixed ? Projection::ToPixelFixed : Projection::ToPixel;
        const Conversion conversion{
            Records::Angles,
            Results::Pixels,
            [&ctx, how](Block &block) { convert_projection(ctx, how, block); },
            describe_lens(to_pixel->camera, ctx)};
        stream_or_one(session, to_pixel->pan_option, to_pixel->tilt_option, conversion,
                      angle_record(to_pixel->pan, to_pixel->tilt));
    });
}

}  // namespace viewgeo::tool
