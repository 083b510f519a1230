// Restoring the working configuration from the backup.
#include <cstdlib>

#include "ovista/config.h"
#include "platform/paths.h"

extern "C" VIEWGEO_API int viewgeo_ovista_context_restore(viewgeo_ovista_context **ctx) {
    viewgeo_ovista_context *restored = nullptr;
    // A missing backup is no error: the context and the working file then go
    // back to the defaults, on purpose.
    viewgeo::load_ovista_conf(&restored, viewgeo::platform::kOvistaBackupPath);
    if (restored == nullptr) return -1;
    const int saved = viewgeo::save_ovista_conf(restored, viewgeo::platform::kOvistaConfigPath);
    // The caller gets the restored values even when the file kept the old.
    std::free(*ctx);
    *ctx = restored;
    return saved;
}
