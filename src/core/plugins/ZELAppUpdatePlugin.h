// "cordovaAppUpdate": the web app reads the program's and the cached web app's versions, records a new cache
// version, and asks for the web cache to be refreshed or cleared. The only plugin that answers commands.
//
// The cache version file is <working directory>/cache_version, UTF-8 text as the web app gave it, written
// atomically (directories created as needed). Main thread only.
#pragma once

#include "core/bridge/ZELPlugin.h"
#include "core/cache/ZELCacheControllerDelegate.h"

#include <filesystem>
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

    // Resolves at once with {"bundleVersion":…,"cacheVersion":…} (cacheVersion empty when there is no file).
    void getLocalVersion(const ZELPluginCommandRef& command);
    // First argument: a text holding a JSON object with a text "cacheVersion". Other input: ignored, logged.
    void putLocalVersion(const ZELPluginCommandRef& command);
    // Keeps the command (replacing an earlier one) and asks the delegate for a refresh; answered when it
    // ends.
    void refreshWebCache(const ZELPluginCommandRef& command);
    void clearWebCache(const ZELPluginCommandRef& command);

    // Answers the kept refresh command, if any, with no result; the command stays kept.
    void didFinishRefreshingWebCache() override;

    std::filesystem::path localVersionFilePath() const;

  private:
    std::optional<std::string> bundleVersion_;
    std::filesystem::path workingDirectory_;
    ZELPluginCommandRef refreshWebCacheCommand_;
    ZELAppUpdatePluginDelegate* delegate_ = nullptr;
};

}  // namespace zel
