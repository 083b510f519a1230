/* Uses the public header from C11 and the shared library: every record and
   constant is visible, and a context round-trips a few values. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <viewgeo.h>

int main(void) {
    viewgeo_context *ctx = viewgeo_context_create();
    if (ctx == NULL) return 1;
    viewgeo_set_pantilt_f(ctx, 10.5f, -20.25f);
    viewgeo_set_horiz_fov_f(ctx, 60.0f);
    viewgeo_set_pic_dim(ctx, 1920, 1080);
    float pan = 0.0f, tilt = 0.0f, vfov = 0.0f;
    viewgeo_get_pantilt_f(ctx, &pan, &tilt);
    viewgeo_get_vert_fov_f(ctx, &vfov);
    int32_t pan_x = 0, tilt_x = 0;
    viewgeo_get_pantilt_x(ctx, &pan_x, &tilt_x);
    int failures = 0;
    if (pan != 10.5f || tilt != -20.25f) failures++;
    if (pan_x != 688128 || tilt_x != -1327104) failures++;
    if (vfov < 35.9f || vfov > 36.0f) failures++;
    if (dtor_x != 1144 || rtod_x != 3754936) failures++;
    uint32_t bits;
    memcpy(&bits, &dtor_f, sizeof bits);
    if (bits != 0x3C8EFA35u) failures++;
    memcpy(&bits, &rtod_f, sizeof bits);
    if (bits != 0x42652EE1u) failures++;
    if (sizeof(viewgeo_misalignment_entry) != 12) failures++;
    viewgeo_context_delete(ctx);
    printf("%d failures\n", failures);
    return failures == 0 ? 0 : 1;
}
