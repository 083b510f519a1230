// The overview configuration loader on arbitrary file content. A file that
// the reader accepts gives a context; saving it must succeed, and loading
// the saved file must give back exactly the values the saved text states
// (each float as "%f" printed it, read back). The loaded values then drive
// the overview projections under the sanitizers.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz_support.h"
#include "platform/inikit.h"
#include "viewgeo.h"

namespace {

using viewgeo::fuzzing::same_float;

constexpr const char *kConf = "/etc/viewgeo/ovista.conf";

// The float a "%f" text of `v` reads back as.
float through_text(float v) {
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(v));
    return std::strtof(text, nullptr);
}

void check_compensator(const viewgeo_ovista_compensator &saved, const viewgeo_ovista_compensator &loaded) {
    FUZZ_CHECK(loaded.type == saved.type);
    FUZZ_CHECK(same_float(loaded.A, through_text(saved.A)));
    FUZZ_CHECK(same_float(loaded.B, through_text(saved.B)));
    FUZZ_CHECK(same_float(loaded.C, through_text(saved.C)));
    FUZZ_CHECK(same_float(loaded.D, through_text(saved.D)));
}

void check_read_back(const viewgeo_ovista_context &saved, const viewgeo_ovista_context &loaded) {
    FUZZ_CHECK(same_float(loaded.center_pan, through_text(saved.center_pan)));
    FUZZ_CHECK(same_float(loaded.center_tilt, through_text(saved.center_tilt)));
    FUZZ_CHECK(same_float(loaded.center_x, through_text(saved.center_x)));
    FUZZ_CHECK(same_float(loaded.center_y, through_text(saved.center_y)));
    FUZZ_CHECK(same_float(loaded.radius_x, through_text(saved.radius_x)));
    FUZZ_CHECK(same_float(loaded.radius_y, through_text(saved.radius_y)));
    FUZZ_CHECK(same_float(loaded.field_angle, through_text(saved.field_angle)));
    FUZZ_CHECK(loaded.rotation == 0 && loaded.mirror == 0);  // never stored
    check_compensator(saved.pan_comp, loaded.pan_comp);
    check_compensator(saved.tilt_comp, loaded.tilt_comp);
    check_compensator(saved.x_comp, loaded.x_comp);
    check_compensator(saved.y_comp, loaded.y_comp);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    viewgeo::fuzzing::use_private_root();
    viewgeo::fuzzing::write_file(kConf, data, size);

    viewgeo_ovista_context *ctx = viewgeo_ovista_context_create();
    const bool readable = inikit_opencfg(kConf) != 0;
    inikit_closecfg();
    FUZZ_CHECK((ctx != nullptr) == readable);
    if (ctx == nullptr) return 0;

    FUZZ_CHECK(viewgeo_ovista_context_save(ctx) == 0);
    FUZZ_CHECK(!viewgeo::fuzzing::file_exists("/etc/viewgeo/ovista.conf.tmp"));
    viewgeo_ovista_context *again = viewgeo_ovista_context_create();
    FUZZ_CHECK(again != nullptr);
    check_read_back(*ctx, *again);

    viewgeo_context *view = viewgeo_context_create();
    FUZZ_CHECK(view != nullptr);
    viewgeo_set_pic_dim(view, 1920, 1080);
    for (int i = 0; i < 3; ++i) {
        float pan = 0.0f;
        float tilt = 0.0f;
        viewgeo_ovista_to_ptz_f(ctx, view, &pan, &tilt, 960 + 400 * (i - 1), 540 - 300 * (i - 1));
        int x = 0;
        int y = 0;
        viewgeo_ovista_to_pixel_f(ctx, view, pan, tilt, &x, &y);
        viewgeo_ovista_to_pixel_f(ctx, view, 90.0f * static_cast<float>(i), -45.0f, &x, &y);
    }
    viewgeo_context_delete(view);
    viewgeo_ovista_context_delete(again);
    viewgeo_ovista_context_delete(ctx);
    return 0;
}
