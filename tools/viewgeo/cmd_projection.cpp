// Pixel to pan/tilt and back.
#include <memory>

#include "session.h"

namespace viewgeo::tool {

void add_projection_commands(CLI::App &app, Session &session) {
    struct ToPtz {
        CameraOptions camera;
        std::int32_t x = 0, y = 0;
        bool relative = false, fixed = false;
    };
    auto to_ptz = std::make_shared<ToPtz>();
    CLI::App *ptz = app.add_subcommand("to-ptz", "pan/tilt that brings pixel X Y to the centre");
    ptz->add_option("x", to_ptz->x, "pixel column")->required();
    ptz->add_option("y", to_ptz->y, "pixel row")->required();
    ptz->add_flag("--rel", to_ptz->relative, "movement relative to the camera's pan/tilt");
    ptz->add_flag("--fixed", to_ptz->fixed, "use the Q16.16 form");
    to_ptz->camera.add_to(*ptz);
    ptz->callback([to_ptz, &session] {
        const Context ctx = to_ptz->camera.make_context();
        const Pixel pixel{to_ptz->x, to_ptz->y};
        Report report;
        if (to_ptz->fixed) {
            const PanTiltQ16 pt = to_ptz->relative ? ctx.to_ptz_rel_q16(pixel) : ctx.to_ptz_q16(pixel);
            report.add_q16("pan", pt.pan).add_q16("tilt", pt.tilt);
        } else {
            const PanTilt pt = to_ptz->relative ? ctx.to_ptz_rel(pixel) : ctx.to_ptz(pixel);
            report.add("pan", pt.pan).add("tilt", pt.tilt);
        }
        session.print(report);
    });

    struct ToPixel {
        CameraOptions camera;
        float pan = 0.0f, tilt = 0.0f;
        bool fixed = false;
    };
    auto to_pixel = std::make_shared<ToPixel>();
    CLI::App *pixel = app.add_subcommand("to-pixel", "pixel where the direction PAN TILT appears");
    pixel->add_option("pan", to_pixel->pan, "target pan, degrees")->required();
    pixel->add_option("tilt", to_pixel->tilt, "target tilt, degrees")->required();
    pixel->add_flag("--fixed", to_pixel->fixed, "use the Q16.16 form");
    to_pixel->camera.add_to(*pixel);
    pixel->callback([to_pixel, &session] {
        const Context ctx = to_pixel->camera.make_context();
        const Pixel p = to_pixel->fixed
                            ? ctx.to_pixel(PanTiltQ16{Q16::from_float(to_pixel->pan), Q16::from_float(to_pixel->tilt)})
                            : ctx.to_pixel(PanTilt{to_pixel->pan, to_pixel->tilt});
        session.print(Report().add_int("x", p.x).add_int("y", p.y));
    });
}

}  // namespace viewgeo::tool
