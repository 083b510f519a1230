#include "viewgeo.h"

// The version as text, spelled from the header's numbers so the two cannot
// disagree; the build writes those numbers from the project version.
#define VIEWGEO_STRINGIFY_(x) #x
#define VIEWGEO_STRINGIFY(x) VIEWGEO_STRINGIFY_(x)

extern "C" const char *viewgeo_version(void) {
    return VIEWGEO_STRINGIFY(VIEWGEO_VERSION_MAJOR) "." VIEWGEO_STRINGIFY(VIEWGEO_VERSION_MINOR) "." VIEWGEO_STRINGIFY(
        VIEWGEO_VERSION_PATCH);
}
