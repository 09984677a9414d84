// "cordovaAppUpdate": the web app reads the program's and the cached web app's versions, records a new cache
// version, and asks for the web cache to be refreshed or cleared. The only plugin that answers commands.
//
// The cache version file is <working directory>/cache_version, UTF-8 text as the web app gave it, written
// atomically (directories created as needed) through the disk worker, the same one as the cache's, so that
// versions and the cache's own disk work reach the disk in the order they were asked for. Until its writes
// are done, the plugin answers the version it last gave the worker. Main thread only.
#pragma once

#include "core/bridge/ZELPlugin.h"
#include "core/cache/ZELCacheControllerDelegate.h"
#include "core/cache/ZELDiskWorker.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace zel {

class ZELAppUpdatePluginDelegate {
  public:
    virtual ~ZELAppUpdatePluginDelegate() = default;
    virtual void refreshWebCache() {}
    virtual void clearWebCache() {}
};

class ZELAppUpdatePlugin : public ZELPlugin, public ZELCacheControllerDelegate {
  public:
    // bundleVersion: the program's short version string (absent: the version result is an empty object).
    ZELAppUpdatePlugin(std::optional<std::string> bundleVersion, std::filesystem::path workingDirectory);
    void setDelegate(ZELAppUpdatePluginDelegate* delegate) { delegate_ = delegate; }
    // Not owned; null (the default) writes at once. Completions may run after the plugin is gone: they do
    // nothing then.
    void setDiskWorker(ZELDiskWorker* worker) { disk_ = worker; }

    // Resolves at once with {"bundleVersion":…,"cacheVersion":…} (cacheVersion empty when there is no file).
    void getLocalVersion(const ZELPluginCommandRef& command);
    // First argument: a text holding a JSON object with a text "cacheVersion". Other input: ignored, logged.
    void putLocalVersion(const ZELPluginCommandRef& command);
    // Keeps the command (replacing an earlier one) and asks the delegate for a refresh; answered when it
    // ends.
    void refreshWebCache(const ZELPluginCommandRef& command);
    // Removes the version file (behind any write still queued) before asking the delegate to clear.
    void clearWebCache(const ZELPluginCommandRef& command);

    // Answers the kept refresh command, if any, with no result; the command stays kept.
    void didFinishRefreshingWebCache() override;

    std::filesystem::path localVersionFilePath() const;

  private:
    // The versions given to the worker and not yet on disk; the last one is what the page reads meanwhile
    // (nullopt: removed).
    struct Pending {
        int writes = 0;
        std::optional<std::string> last;
    };
    void storeVersion(std::optional<std::string> version);

    std::optional<std::string> bundleVersion_;
    std::filesystem::path workingDirectory_;
    ZELPluginCommandRef refreshWebCacheCommand_;
    ZELAppUpdatePluginDelegate* delegate_ = nullptr;
    ZELDiskWorker* disk_ = nullptr;
    std::shared_ptr<Pending> pending_ = std::make_shared<Pending>();
};

}  // namespace zel
