/* A small example: describe the camera's view and read back what the
   library derives from it. */
#include <stdio.h>

#include <viewgeo.h>

int main(void) {
    viewgeo_context *ctx = viewgeo_context_create();
    if (ctx == NULL) {
        fprintf(stderr, "out of memory\n");
        return 1;
    }
    viewgeo_set_pic_dim(ctx, 1920, 1080);
    viewgeo_set_horiz_fov_f(ctx, 60.0f);
    viewgeo_set_pantilt_f(ctx, 10.0f, -20.0f);

    float pan, tilt, hfov, vfov;
    int32_t pan_x, tilt_x, vfov_x;
    viewgeo_get_pantilt_f(ctx, &pan, &tilt);
    viewgeo_get_pantilt_x(ctx, &pan_x, &tilt_x);
    viewgeo_get_horiz_fov_f(ctx, &hfov);
    viewgeo_get_vert_fov_f(ctx, &vfov);
    viewgeo_get_vert_fov_x(ctx, &vfov_x);

    printf("camera 1920x1080, pan %.6f tilt %.6f (Q16.16 %d %d)\n", pan, tilt, pan_x, tilt_x);
    printf("horizontal field of view %.6f, derived vertical %.6f (Q16.16 %d)\n", hfov, vfov, vfov_x);
    viewgeo_context_delete(ctx);
    return 0;
}
