// A small example of the C++ layer: a camera, a pixel, the pan/tilt that
// centres it and back; the same in Q16.16; and the overview camera.
#include <cstdio>
#include <optional>

#include <viewgeo.hpp>

int main() {
    viewgeo::Context camera;  // owns a viewgeo_context; deleted at scope end
    camera.set_picture(1920, 1080)
        .set_horiz_fov(60.0f)
        .set_pantilt(viewgeo::PanTilt{10.0f, -20.0f})
        .set_lens(viewgeo::Lens::Rectilinear);

    const viewgeo::Pixel pixel{1200, 300};
    const viewgeo::PanTilt target = camera.to_ptz(pixel);
    const viewgeo::Pixel back = camera.to_pixel(target);
    std::printf("pixel %d %d -> pan %.6f tilt %.6f -> pixel %d %d\n", pixel.x, pixel.y,
                static_cast<double>(target.pan), static_cast<double>(target.tilt), back.x, back.y);

    const viewgeo::PanTiltQ16 fixed = camera.to_ptz_q16(pixel);
    std::printf("Q16.16: pan %d (%.6f) tilt %d (%.6f)\n", static_cast<int>(fixed.pan.raw()),
                static_cast<double>(static_cast<float>(fixed.pan)), static_cast<int>(fixed.tilt.raw()),
                static_cast<double>(static_cast<float>(fixed.tilt)));

    // The overview camera: /etc/viewgeo/ovista.conf over the defaults.
    const std::optional<viewgeo::OvistaContext> overview = viewgeo::OvistaContext::load();
    if (!overview) {
        std::fprintf(stderr, "cannot read the overview camera's configuration\n");
        return 1;
    }
    viewgeo::Context overview_picture;
    overview_picture.set_picture(1920, 1080);
    const viewgeo::PanTilt down = overview->to_ptz(overview_picture, viewgeo::Pixel{960, 345});
    std::printf("overview pixel 960 345 -> PTZ pan %.6f tilt %.6f\n", static_cast<double>(down.pan),
                static_cast<double>(down.tilt));
    return 0;
}
