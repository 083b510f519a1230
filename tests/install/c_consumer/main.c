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

    float centre_pan = 0.0f, centre_tilt = 0.0f;
    viewgeo_to_ptz_f(ctx, &centre_pan, &centre_tilt, 960, 540);
    float pan = 0.0f, tilt = 0.0f;
    int32_t x = 0, y = 0;
    viewgeo_to_ptz_f(ctx, &pan, &tilt, 1200, 300);
    viewgeo_to_pixel_f(ctx, &x, &y, pan, tilt);
    viewgeo_context_delete(ctx);

    printf("c consumer: centre -> pan %.6f tilt %.6f; pixel 1200 300 -> pan %.6f tilt %.6f -> pixel %d %d\n",
           centre_pan, centre_tilt, pan, tilt, x, y);
    const int centre_ok =
        centre_pan > 9.999f && centre_pan < 10.001f && centre_tilt > -20.001f && centre_tilt < -19.999f;
    return (centre_ok && abs(x - 1200) <= 1 && abs(y - 300) <= 1) ? 0 : 1;
}
