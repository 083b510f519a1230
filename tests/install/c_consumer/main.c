/* Built against an installed viewgeo through pkg-config: the picture centre
   gives the camera's own pan/tilt, and a pixel comes back from its pan/tilt. */
#include <stdio.h>
#include <stdlib.h>

#include <viewgeo.h>

int main(void) {
    viewgeo_context *ctx = viewgeo_context_create();
    if (ctx == NULL) return 1;
    viewgeo_set_pic_dim(ctx, 1920, 1080);
    viewgeo_set_horiz_fov_f(ctx, 60.0f);
    viewgeo_set_pantilt_f(ctx, 10.0f, -20.0f);
    viewgeo_set_projection_type(ctx, 2);

    float pan = 0.0f, tilt = 0.0f;
    viewgeo_to_ptz_f(ctx, &pan, &tilt, 960, 540);
    int32_t x = 0, y = 0;
    viewgeo_to_ptz_f(ctx, &pan, &tilt, 1200, 300);
    viewgeo_to_pixel_f(ctx, &x, &y, pan, tilt);
    viewgeo_context_delete(ctx);

    printf("c consumer: pixel 1200 300 -> pan %.6f tilt %.6f -> pixel %d %d\n", pan, tilt, x, y);
    return (abs(x - 1200) <= 1 && abs(y - 300) <= 1) ? 0 : 1;
}
