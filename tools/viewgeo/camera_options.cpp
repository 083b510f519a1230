#include <cerrno>
#include <cstdlib>

#include "session.h"

namespace viewgeo::tool {

std::pair<std::int32_t, std::int32_t> parse_size(const std::string &text) {
    const std::size_t cut = text.find('x');
    auto number = [&](const std::string &part) -> std::int32_t {
        if (part.empty() || part.find_first_not_of("0123456789") != std::string::npos || part.size() > 5)
            throw CLI::ValidationError("--size", "expected WIDTHxHEIGHT in pixels (1 to 32767), got '" + text + "'");
        const long value = std::strtol(part.c_str(), nullptr, 10);
        if (value < 1 || value > 32767)
            throw CLI::ValidationError("--size", "expected WIDTHxHEIGHT in pixels (1 to 32767), got '" + text + "'");
        return static_cast<std::int32_t>(value);
    };
    if (cut == std::string::npos)
        throw CLI::ValidationError("--size", "expected WIDTHxHEIGHT in pixels (1 to 32767), got '" + text + "'");
    return {number(text.substr(0, cut)), number(text.substr(cut + 1))};
}

void CameraOptions::add_to(CLI::App &command, bool with_pantilt) {
    command.add_option("--size", size, "picture size in pixels")->type_name("WIDTHxHEIGHT")->capture_default_str();
    command.add_option("--hfov", hfov, "horizontal field of view, degrees")->capture_default_str();
    command.add_option("--vfov", vfov, "vertical field of view, degrees (default: from the aspect)");
    if (with_pantilt) {
        command.add_option("--pan", pan, "camera pan, degrees")->capture_default_str();
        command.add_option("--tilt", tilt, "camera tilt, degrees, positive up")->capture_default_str();
    }
    command.add_option("--rot", rot, "picture rotation: 0, 90, 180, 270 or 360")->capture_default_str();
    command.add_option("--lens", lens, "lens model (default: the system's)")
        ->type_name("NAME")
        ->check(CLI::IsMember({"rectilinear", "equidistant", "sine"}));
    command.add_flag("--dewarp", dewarp, "dewarped picture (linear mode of the fixed-point relative form)");
}

Context CameraOptions::make_context() const {
    const auto [width, height] = parse_size(size);
    Context ctx;
    ctx.set_picture(width, height).set_horiz_fov(hfov).set_pantilt(PanTilt{pan, tilt}).set_rotation(rot);
    if (vfov) ctx.set_vert_fov(*vfov);
    if (lens) {
        ctx.set_lens(*lens == "sine" ? Lens::Sine : *lens == "equidistant" ? Lens::Equidistant : Lens::Rectilinear);
    }
    ctx.set_dewarp(dewarp);
    return ctx;
}

}  // namespace viewgeo::tool

namespace viewgeo::tool {

void CameraOptions::check(bool raw, bool full_turn) const {
    parse_size(size);
    check_range("--hfov", hfov, 0.0, 360.0, true, !full_turn, raw);
    if (vfov) check_range("--vfov", *vfov, 0.0, 360.0, true, true, raw);
    check_pan("--pan", pan, raw);
    check_tilt("--tilt", tilt, raw);
    if (!raw && rot != 0 && rot != 90 && rot != 180 && rot != 270 && rot != 360)
        throw InvalidInput("--rot", "must be one of 0, 90, 180, 270, 360, got " + std::to_string(rot));
}

LensChoice lens_choice(const CameraOptions &camera, const Context &ctx) {
    const std::int32_t type = ctx.get()->projection_type;
    const std::string name = type == 0 ? "sine" : type == 1 ? "equidistant" : "rectilinear";
    if (camera.lens) return {name, "option --lens"};
    // A new context takes the equidistant lens when the flag file exists.
    if (type == 1) return {name, "flag file /usr/share/viewgeo/viewgeo_projection.conf"};
    return {name, "default"};
}

}  // namespace viewgeo::tool
