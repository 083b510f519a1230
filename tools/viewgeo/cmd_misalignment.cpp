// Misalignment offset and compensation.
#include <memory>

#include "session.h"

namespace viewgeo::tool {
namespace {

// Where the misalignment data comes from: the system's data file, or the
// texts given on the command line.
struct DataOptions {
    std::optional<std::string> optical;
    std::optional<std::string> mechanical;
    std::uint32_t pan_steps = 0;
    std::uint32_t tilt_steps = 0;

    void add_to(CLI::App &command) {
        command.add_option("--optical", optical, "optical offsets \"zoom,pan,tilt;...\" (default: the data file)")
            ->type_name("LIST");
        command.add_option("--mechanical", mechanical, "mechanical offset \"pan,tilt\" in motor steps")
            ->type_name("PAN,TILT");
        command.add_option("--pan-steps", pan_steps, "motor steps per pan turn");
        command.add_option("--tilt-steps", tilt_steps, "motor steps per tilt turn");
    }

    void apply(Context &ctx) const {
        if (!optical && !mechanical) return;
        if (!ctx.set_misalignment_data(optical.value_or("1,0,0;100,0,0"), mechanical.value_or("0,0"), pan_steps,
                                       tilt_steps))
            throw CLI::ValidationError("--optical/--mechanical", "the misalignment texts do not scan");
    }
};

}  // namespace

void add_misalignment_commands(CLI::App &app, Session &session) {
    struct Args {
        DataOptions data;
        float zoom = 1.0f, pan = 0.0f, tilt = 0.0f;
        bool remove = false;
    };

    auto offset = std::make_shared<Args>();
    CLI::App *offset_cmd = app.add_subcommand("mo-offset", "misalignment offset at a zoom and tilt");
    offset_cmd->add_option("--zoom", offset->zoom, "zoom, in the calibration's unit")->capture_default_str();
    offset_cmd->add_option("--tilt", offset->tilt, "tilt, degrees")->capture_default_str();
    offset->data.add_to(*offset_cmd);
    offset_cmd->callback([offset, &session] {
        check_finite("--zoom", offset->zoom);
        check_tilt("--tilt", offset->tilt, session.raw);
        Context ctx;
        offset->data.apply(ctx);
        const PanTiltQ16 o = ctx.misalignment_offset(Q16::from_float(offset->zoom), Q16::from_float(offset->tilt));
        session.print(Report().add_q16("pan_offset", o.pan).add_q16("tilt_offset", o.tilt));
    });

    auto compensate = std::make_shared<Args>();
    CLI::App *comp_cmd = app.add_subcommand("mo-compensate", "pan/tilt corrected for the head's misalignment");
    comp_cmd->add_option("--zoom", compensate->zoom, "zoom, in the calibration's unit")->capture_default_str();
    comp_cmd->add_option("--pan", compensate->pan, "pan, degrees")->capture_default_str();
    comp_cmd->add_option("--tilt", compensate->tilt, "tilt, degrees")->capture_default_str();
    comp_cmd->add_flag("--remove", compensate->remove, "undo the correction (apply the negated offset)");
    compensate->data.add_to(*comp_cmd);
    comp_cmd->callback([compensate, &session] {
        check_finite("--zoom", compensate->zoom);
        check_pan("--pan", compensate->pan, session.raw);
        check_tilt("--tilt", compensate->tilt, session.raw);
        Context ctx;
        compensate->data.apply(ctx);
        const PanTiltQ16 out = ctx.compensate_misalignment(
            Q16::from_float(compensate->zoom), !compensate->remove,
            PanTiltQ16{Q16::from_float(compensate->pan), Q16::from_float(compensate->tilt)});
        session.print(Report().add_q16("pan", out.pan).add_q16("tilt", out.tilt));
    });
}

}  // namespace viewgeo::tool
