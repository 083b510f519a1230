// Built against an installed viewgeo through find_package: the C++ layer
// round-trips a pixel and reads the overview camera's defaults.
#include <cstdio>
#include <cstdlib>
#include <optional>

#include <viewgeo.hpp>

int main() {
    viewgeo::cpp::Context camera;
    camera.set_picture(1920, 1080)
        .set_horiz_fov(60.0f)
        .set_pantilt(viewgeo::cpp::PanTilt{10.0f, -20.0f})
        .set_lens(viewgeo::cpp::Lens::Rectilinear);
    const viewgeo::cpp::PanTilt pt = camera.to_ptz(viewgeo::cpp::Pixel{1200, 300});
    const viewgeo::cpp::Pixel back = camera.to_pixel(pt);
    const viewgeo::cpp::Q16 pan_word = viewgeo::cpp::Q16::from_float(pt.pan);
    std::printf("c++ consumer: pixel 1200 300 -> pan %.6f tilt %.6f (pan Q16.16 %d) -> pixel %d %d\n",
                static_cast<double>(pt.pan), static_cast<double>(pt.tilt), static_cast<int>(pan_word.raw()), back.x,
                back.y);
    return std::abs(back.x - 1200) <= 1 && std::abs(back.y - 300) <= 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
