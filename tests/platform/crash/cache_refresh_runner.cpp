// Usage: cache_refresh_runner WORKING_DIR BUNDLE_DIR STATIC_FILE_HOST CONFIG_BASE_URL VERSION
#include "core/cache/ZELCacheController.h"
#include "core/fs/Files.h"
#include "core/log/ZELLog.h"
#include "platform/fs/ZELBackgroundDiskWorker.h"
#include "platform/net/ZELSoupDownloaderFactory.h"

#include <glib.h>

struct Finished : zel::ZELCacheControllerDelegate {
    void didFinishRefreshingWebCache() override { done = true; }
    bool done = false;
};

int main(int argc, char** argv) {
    if (argc != 6) return 2;
    const std::filesystem::path work = argv[1];
    zel::ZELCacheController controller(zel::ZELCacheLocations{work, argv[2], argv[3], argv[4]},
                                       std::make_unique<zel::platform::ZELSoupDownloaderFactory>(),
                                       std::make_unique<zel::platform::ZELBackgroundDiskWorker>());
    Finished finished;
    controller.setDelegate(&finished);
    controller.refreshLocalCache();
    while (!finished.done) g_main_context_iteration(nullptr, TRUE);
    return zel::fs::writeFileAtomically(work / "cache_version", argv[5]) ? 0 : 1;
}
