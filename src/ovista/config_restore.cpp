// Restoring the working configuration from the backup.
#include "ovista/config.h"

extern "C" VIEWGEO_API int viewgeo_ovista_context_restore(viewgeo_ovista_context **ctx) {
    return viewgeo::restore_ovista_conf(ctx);
}
