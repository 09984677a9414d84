// The local copy of the web app's build files, and the decision, for every request of the web app, which file
// on disk answers it.
//
// Layout in the working directory: "Cache/<staticFileHost>/<URL path>" holds downloaded build files (for
// example Cache/<host>/player/mac/build/js/app_1a2b3c.js), "cache_hashmap" the hash maps of the last finished
// refresh (JSON text: kind -> web-app path -> hashed path), "cache_version" the cached web app's version
// ("yyyy/MM/dd", written by the app update plugin). Requests are answered from the cache when its version is
// newer than the bundle's and the stored maps were read; otherwise from the bundle's resources. Both facts
// are fixed at construction, so a refresh or a new version takes effect at the next start.
//
// A refresh fetches the four hash-map documents at once; when every kind holds a map it downloads, one after
// another, each hashed file that the stored maps lack, then stores the new maps and tells the delegate. Files
// are never deleted by a refresh. A failed transfer is not reported: the refresh then simply does not end.
//
// Safety: a path that would name anything outside the cache or the bundle (dot segments, encoded separators,
// control characters) is neither read nor written, and is logged; so is a hash-map document that is not a
// dictionary of texts, which is ignored for its kind. Files and maps are replaced atomically, and the maps
// only after the files they name are on disk, so an interrupted program leaves a consistent cache.
//
// Disk work (writing the fetched files, the sync, storing the maps, removing the cache folder) goes through
// the disk worker, in order, so that the main loop need not wait for it; the delegate hears of a refresh's
// end only once its maps are stored. The cache version file is removed at once on clearing, so that the page
// reads the cleared state as soon as it asks.
//
// Owns its downloader factory, disk worker and queue downloader; the delegate is not owned and must outlive
// the controller. Refresh, clearing and delegate calls run on the main thread. The lookups (getHashedURL,
// getLocalDataWithURLRequest, localFileWithURLRequest and the path operations) read only state fixed at
// construction and may run on any thread without a lock.
#pragma once

#include "core/cache/ZELAsyncDownloaderDelegate.h"
#include "core/cache/ZELCacheControllerDelegate.h"
#include "core/cache/ZELCacheFileStore.h"
#include "core/cache/ZELDiskWorker.h"
#include "core/cache/ZELDownloaderFactory.h"
#include "core/cache/ZELHashMapIndex.h"
#include "core/cache/ZELQueueDownloader.h"
#include "core/cache/ZELQueueDownloaderDelegate.h"
#include "core/value/Value.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

struct ZELCacheLocations {
    std::filesystem::path workingDirectory;    // holds Cache/, cache_hashmap, cache_version
    std::filesystem::path resourcesDirectory;  // the bundle: www/ and its cache_version
    std::string staticFileHost;                // HOST[:PORT] of the static file server
    std::string configBaseURL;                 // where js_map.json and the others are published
};

class ZELCacheController : public ZELAsyncDownloaderDelegate, public ZELQueueDownloaderDelegate {
  public:
    // A null factory fetches nothing; a null worker does the disk work at once, on the main thread.
    ZELCacheController(ZELCacheLocations locations, std::unique_ptr<ZELDownloaderFactory> downloads,
                       std::unique_ptr<ZELDiskWorker> disk = nullptr);
    ~ZELCacheController() override;
    ZELCacheController(const ZELCacheController&) = delete;
    ZELCacheController& operator=(const ZELCacheController&) = delete;

    void setDelegate(ZELCacheControllerDelegate* delegate) { delegate_ = delegate; }
    ZELCacheControllerDelegate* delegate() const { return delegate_; }
    // For other disk work that must keep its order with the cache's (the cache version); lives as long as the
    // controller.
    ZELDiskWorker& diskWorker() { return *disk_; }

    // Reads both versions now; the answer taken at construction is cacheOlderThanBundle().
    bool isCacheOlderThanBundle() const;
    bool cacheOlderThanBundle() const { return cacheOlderThanBundle_; }
    bool hasLocalHashMap() const { return localHashMapDict_.has_value(); }

    // The build address of a request address ("http://<host>/player/mac/build" + hashed path), or the address
    // itself when the stored maps have no entry for it.
    std::string getHashedURL(std::string_view url) const;
    // The bytes of the file that answers the request (cache or bundle, no fall-back between them), or
    // nullopt.
    std::optional<std::string> getLocalDataWithURLRequest(std::string_view url) const;
    // The same decision, as the existing regular file to stream from. Logs "getLocalData %@ %@".
    std::optional<std::filesystem::path> localFileWithURLRequest(std::string_view url) const;

    // The parsed maps of a cache_hashmap file; nil when the file is missing or does not parse.
    static Value getLocalHashMap(const std::filesystem::path& filePath);
    // Writes the maps as JSON text, atomically; false on failure.
    static bool putLocalHashMap(const Value& maps, const std::filesystem::path& filePath);

    void refreshLocalCache();
    void clearLocalCache();

    // Cache/<host>/<path of the build address>, "/" read as index.html; nullopt for an unsafe path.
    std::optional<std::filesystem::path> cacheFilePath(std::string_view url) const;
    std::filesystem::path cacheBasePath() const { return store_.basePath(); }
    // The bundle resource for the request's own path, "/" read as index.html and every "/player/mac" removed
    // (so /player/mac/www/js/app.js is www/js/app.js); nullopt when the bundle has no such regular file.
    std::optional<std::filesystem::path> bundleFilePath(std::string_view url) const;

    void downloadHashMap();
    void dataDownloadedForURLRequest(const std::string& data, const std::string& requestURL) override;
    // All hashed paths of the kinds' maps, duplicates kept, in the dictionaries' own order.
    static std::vector<std::string> getFileArray(const Value& maps);
    std::optional<std::string> queueNextURL() override;
    void dataDownloadedForURL(const std::string& data, const std::string& url) override;

    // Seconds since 1970 of a "yyyy/MM/dd" version in the local time zone; nullopt when it does not parse.
    static std::optional<std::int64_t> convertCacheVersion(std::string_view text);

    // The maps received by refreshes so far (kind -> map) and the hashed paths still to fetch.
    const Value& remoteHashMapDict() const { return remoteHashMapDict_; }
    const std::deque<std::string>& downloadQueue() const { return downloadQueue_; }

  private:
    std::string buildURL(std::string_view hashedPath) const;

    std::filesystem::path hashMapFilePath_;
    std::filesystem::path versionFilePath_;
    std::filesystem::path resourcesDirectory_;
    std::string staticFileHost_;
    std::string configBaseURL_;
    bool hostIsSafe_;
    std::optional<Value> localHashMapDict_;
    std::optional<ZELHashMapIndex> localIndex_;
    Value remoteHashMapDict_ = Value::object();
    std::deque<std::string> downloadQueue_;
    ZELCacheFileStore store_;
    std::unique_ptr<ZELDownloaderFactory> downloads_;
    std::unique_ptr<ZELQueueDownloader> remoteFileDownloader_;
    bool cacheOlderThanBundle_ = true;
    ZELCacheControllerDelegate* delegate_ = nullptr;
    // Last, so that it is destroyed first: its running job may still use the store and the paths above.
    std::unique_ptr<ZELDiskWorker> disk_;
};

}  // namespace zel
