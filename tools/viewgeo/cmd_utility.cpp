// Pan differences, great circles, zoom.
#include <memory>

#include "session.h"

namespace viewgeo::tool {

void add_utility_commands(CLI::App &app, Session &session) {
    struct Args {
        float a = 0, b = 0, c = 0, d = 0;
        bool fixed = false;
    };

    auto delta = std::make_shared<Args>();
    CLI::App *pan_delta_cmd = app.add_subcommand("pan-delta", "unsigned distance between two pans");
    pan_delta_cmd->add_option("pan_a", delta->a, "degrees")->required();
    pan_delta_cmd->add_option("pan_b", delta->b, "degrees")->required();
    pan_delta_cmd->add_flag("--fixed", delta->fixed, "use the Q16.16 form");
    pan_delta_cmd->callback([delta, &session] {
        check_range("pan_a", delta->a, -1.0e6, 1.0e6, false, false, session.raw);
        check_range("pan_b", delta->b, -1.0e6, 1.0e6, false, false, session.raw);
        Report report;
        if (delta->fixed) {
            report.add_q16("delta", pan_delta(Q16::from_float(delta->a), Q16::from_float(delta->b)));
        } else {
            report.add("delta", pan_delta(delta->a, delta->b));
        }
        session.print(report);
    });

    auto circle = std::make_shared<Args>();
    CLI::App *circle_cmd = app.add_subcommand("great-circle", "angle between two pan/tilt directions");
    circle_cmd->add_option("pan_a", circle->a, "degrees")->required();
    circle_cmd->add_option("tilt_a", circle->b, "degrees")->required();
    circle_cmd->add_option("pan_b", circle->c, "degrees")->required();
    circle_cmd->add_option("tilt_b", circle->d, "degrees")->required();
    circle_cmd->add_flag("--fixed", circle->fixed, "use the Q16.16 form");
    circle_cmd->callback([circle, &session] {
        check_pan("pan_a", circle->a, session.raw);
        check_tilt("tilt_a", circle->b, session.raw);
        check_pan("pan_b", circle->c, session.raw);
        check_tilt("tilt_b", circle->d, session.raw);
        Report report;
        if (circle->fixed) {
            report.add_q16("angle", great_circle(PanTiltQ16{Q16::from_float(circle->a), Q16::from_float(circle->b)},
                                                 PanTiltQ16{Q16::from_float(circle->c), Q16::from_float(circle->d)}));
        } else {
            report.add("angle", great_circle(PanTilt{circle->a, circle->b}, PanTilt{circle->c, circle->d}));
        }
        session.print(report);
    });

    auto zoom = std::make_shared<Args>();
    CLI::App *zoom_cmd = app.add_subcommand("zoom-fov", "field of view after zoom factor A, then after A and B");
    zoom_cmd->add_option("zoom_a", zoom->a, "zoom factor")->required()->check(CLI::Range(0.0, 1.0e6));
    zoom_cmd->add_option("fov", zoom->b, "field of view, degrees")->required();
    zoom_cmd->add_option("zoom_b", zoom->c, "zoom factor")->required()->check(CLI::Range(0.0, 1.0e6));
    zoom_cmd->add_flag("--fixed", zoom->fixed, "use the Q16.16 form");
    zoom_cmd->callback([zoom, &session] {
        // The parser's range lets NaN through.
        check_range("zoom_a", zoom->a, 0.0, 1.0e6, false, false, false);
        check_range("zoom_b", zoom->c, 0.0, 1.0e6, false, false, false);
        if (zoom->a == 0.0f || zoom->c == 0.0f) throw CLI::ValidationError("zoom", "zoom factors must not be 0");
        check_range("fov", zoom->b, 0.0, 360.0, true, true, session.raw);
        Report report;
        if (zoom->fixed) {
            std::int32_t after_a = 0, after_b = 0;
            viewgeo_get_zoom_fov_x(Q16::from_float(zoom->a).raw(), Q16::from_float(zoom->b).raw(),
                                   Q16::from_float(zoom->c).raw(), &after_a, &after_b);
            report.add_q16("fov_a", Q16::from_raw(after_a)).add_q16("fov_b", Q16::from_raw(after_b));
        } else {
            const ZoomedFov out = zoom_fov(zoom->a, zoom->b, zoom->c);
            report.add("fov_a", out.after_a).add("fov_b", out.after_b);
        }
        session.print(report);
    });

    auto magnification = std::make_shared<Args>();
    CLI::App *mag_cmd = app.add_subcommand("magnification", "tan(FOV_B/2) / tan(FOV_A/2), in Q16.16");
    mag_cmd->add_option("fov_a", magnification->a, "degrees")->required();
    mag_cmd->add_option("fov_b", magnification->b, "degrees")->required();
    mag_cmd->callback([magnification, &session] {
        // tan(fov / 2) turns negative past 180 degrees.
        check_range("fov_a", magnification->a, 0.0, 180.0, true, true, session.raw);
        check_range("fov_b", magnification->b, 0.0, 180.0, true, true, session.raw);
        const Q16 fov_a = Q16::from_float(magnification->a);
        if (fov_a.raw() == 0) throw CLI::ValidationError("fov_a", "must not be 0");
        session.print(Report().add_q16("magnification", zoom_magnification(fov_a, Q16::from_float(magnification->b))));
    });

    auto wrap = std::make_shared<Args>();
    CLI::App *wrap_cmd = app.add_subcommand("wrap-pan", "pan brought into [-180, 180] by one turn");
    wrap_cmd->add_option("pan", wrap->a, "degrees")->required();
    wrap_cmd->callback([wrap, &session] {
        check_range("pan", wrap->a, -1.0e6, 1.0e6, false, false, session.raw);
        session.print(Report().add("pan", wrap_pan(wrap->a)));
    });
}

}  // namespace viewgeo::tool
