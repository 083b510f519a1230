// A small example of the C++ layer: a camera, a pixel, the pan/tilt that
// centres it and back; the same in Q16.16; and the overview camera.
#include <cstdio>
#include <optional>

#include <viewgeo.hpp>

int main() {
    viewgeo::cpp::Context camera;  // owns a viewgeo_context; deleted at scope end
    camera.set_picture(1920, 1080)
        .set_horiz_fov(60.0f)
        .set_pantilt(viewgeo::cpp::PanTilt{10.0f, -20.0f})
        .set_lens(viewgeo::cpp::Lens::Rectilinear);

    const viewgeo::cpp::Pixel pixel{1200, 300};
    const viewgeo::cpp::PanTilt target = camera.to_ptz(pixel);
    const viewgeo::cpp::Pixel back = camera.to_pixel(target);
    std::printf("pixel %d %d -> pan %.6f tilt %.6f -> pixel %d %d\n", pixel.x, pixel.y,
                static_cast<double>(target.pan), static_cast<double>(target.tilt), back.x, back.y);

    const viewgeo::cpp::PanTiltQ16 fixed = camera.to_ptz_q16(pixel);
    std::printf("Q16.16: pan %d (%.6f) tilt %d (%.6f)\n", static_cast<int>(fixed.pan.raw()),
                static_cast<double>(static_cast<float>(fixed.pan)), static_cast<int>(fixed.tilt.raw()),
                static_cast<double>(static_cast<float>(fixed.tilt)));

    // The overview camera: /etc/viewgeo/ovista.conf over the defaults.
    const std::optional<viewgeo::cpp::OvistaContext> overview = viewgeo::cpp::OvistaContext::load();
    if (!overview) {
        std::fprintf(stderr, "cannot read the overview camera's configuration\n");
        return 1;
    }
    viewgeo::cpp::Context overview_picture;
    overview_picture.set_picture(1920, 1080);
    const viewgeo::cpp::PanTilt down = overview->to_ptz(overview_picture, viewgeo::cpp::Pixel{960, 345});
    std::printf("overview pixel 960 345 -> PTZ pan %.6f tilt %.6f\n", static_cast<double>(down.pan),
                static_cast<double>(down.tilt));
    return 0;
}
