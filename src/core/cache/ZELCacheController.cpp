#include "core/cache/ZELCacheController.h"

#include "core/cache/CacheKinds.h"
#include "core/cache/CacheURL.h"
#include "core/cache/CacheVersion.h"
#include "core/cache/Queue.h"
#include "core/fs/Files.h"
#include "core/json/DictionaryJSON.h"
#include "core/json/HXAddtions.h"
#include "core/log/ZELLog.h"
#include "core/web/WebAppAddress.h"

#include <chrono>
#include <system_error>
#include <unordered_set>
#include <utility>

namespace zel {
namespace {

// Seconds between 1970-01-01 and 2001-01-01, the epoch of the stamp that keeps map documents out of caches.
constexpr std::int64_t kSecondsFrom1970To2001 = 978307200;

std::int32_t absoluteTimeStamp() {
    using namespace std::chrono;
    const double now = duration<double>(system_clock::now().time_since_epoch()).count();
    return static_cast<std::int32_t>(now - static_cast<double>(kSecondsFrom1970To2001));
}

std::optional<std::int64_t> versionSecondsOfFile(const std::filesystem::path& path) {
    const std::optional<std::string> text = fs::readFile(path);
    if (!text) return std::nullopt;
    return ZELCacheController::convertCacheVersion(hx::trim(*text));
}

// The host names one folder of the cache; the staging folder starts with a dot, so no host may.
bool isSafeHostFolder(const std::string& host) {
    return !host.empty() && host.front() != '.' && host.find('/') == std::string::npos &&
           cache::isSafeDecodedPath(host);
}

}  // namespace

ZELCacheController::ZELCacheController(ZELCacheLocations locations,
                                       std::unique_ptr<ZELDownloaderFactory> downloads,
                                       std::unique_ptr<ZELDiskWorker> disk)
    : hashMapFilePath_(locations.workingDirectory / "cache_hashmap"),
      versionFilePath_(locations.workingDirectory / "cache_version"),
      resourcesDirectory_(std::move(locations.resourcesDirectory)),
      staticFileHost_(std::move(locations.staticFileHost)),
      configBaseURL_(std::move(locations.configBaseURL)),
      hostIsSafe_(isSafeHostFolder(staticFileHost_)),
      store_(locations.workingDirectory / "Cache"),
      downloads_(downloads ? std::move(downloads) : std::make_unique<ZELDownloaderFactory>()),
      disk_(disk ? std::move(disk) : std::make_unique<ZELDiskWorker>()) {
    if (!hostIsSafe_)
        zelLog("static file host %@ cannot name a cache folder; the cache is not used", staticFileHost_);
    Value stored = getLocalHashMap(hashMapFilePath_);
    if (!isNil(stored) && !stored.is_object()) {
        zelLog("ignored %@: not a dictionary of hash maps", hashMapFilePath_.string());
    } else if (!isNil(stored)) {
        localIndex_.emplace(stored);
        localHashMapDict_ = std::move(stored);
    }
    remoteFileDownloader_ = std::make_unique<ZELQueueDownloader>(*downloads_);
    remoteFileDownloader_->setDelegate(this);
    cacheOlderThanBundle_ = isCacheOlderThanBundle();
}

ZELCacheController::~ZELCacheController() = default;

bool ZELCacheController::isCacheOlderThanBundle() const {
    return cache::isCacheOlderThanBundle(versionSecondsOfFile(resourcesDirectory_ / "cache_version"),
                                         versionSecondsOfFile(versionFilePath_));
}

std::optional<std::int64_t> ZELCacheController::convertCacheVersion(std::string_view text) {
    return cache::secondsOfCacheVersion(text);
}

std::string ZELCacheController::buildURL(std::string_view hashedPath) const {
    std::string url;
    url.reserve(7 + staticFileHost_.size() + cache::kBuildPathPrefix.size() + hashedPath.size());
    url.append("http://").append(staticFileHost_).append(cache::kBuildPathPrefix).append(hashedPath);
    return url;
}

std::string ZELCacheController::getHashedURL(std::string_view url) const {
    if (!localIndex_) return std::string(url);
    const std::string path = cache::urlPath(url);
    const std::optional<std::string_view> kind = cache::kindForExtension(cache::pathExtension(path));
    if (!kind) return std::string(url);
    const std::string* hashed =
        localIndex_->hashedPath(*kind, cache::removingOccurrences(path, cache::kWebAppPathPrefix));
    return hashed != nullptr ? buildURL(*hashed) : std::string(url);
}

std::optional<std::filesystem::path> ZELCacheController::cacheFilePath(std::string_view url) const {
    const std::string hashedURL = getHashedURL(url);
    const std::optional<cache::URLParts> parts = cache::splitURL(hashedURL);
    if (!parts) return std::nullopt;
    const std::optional<std::string> relative =
        parts->path == "/" ? std::optional<std::string>("index.html") : cache::safeRelativePath(parts->path);
    if (!relative || !hostIsSafe_) {
        if (!parts->path.empty()) zelLog("refused cache path for %@", hashedURL);
        return std::nullopt;
    }
    return cacheBasePath() / staticFileHost_ / *relative;
}

std::optional<std::filesystem::path> ZELCacheController::bundleFilePath(std::string_view url) const {
    const std::optional<cache::URLParts> parts = cache::splitURL(url);
    if (!parts) return std::nullopt;
    std::string name;
    if (parts->path == "/") {
        name = "index.html";
    } else {
        const std::optional<std::string> relative = cache::safeRelativePath(parts->path);
        if (!relative) {
            if (!parts->path.empty()) zelLog("refused bundle path for %@", url);
            return std::nullopt;
        }
        name = cache::removingOccurrences("/" + *relative, cache::kBundlePathPrefix);
        // Removing a part can join two names into a new one; the result must be a plain path as well.
        if (!cache::isSafeDecodedPath(name)) {
            zelLog("refused bundle path for %@", url);
            return std::nullopt;
        }
        name.erase(0, name.find_first_not_of('/'));
    }
    return web::resolveInside(resourcesDirectory_, name);
}

std::optional<std::filesystem::path> ZELCacheController::localFileWithURLRequest(std::string_view url) const {
    const bool fromCache = !cacheOlderThanBundle_ && localHashMapDict_.has_value();
    const std::optional<std::filesystem::path> path = fromCache ? cacheFilePath(url) : bundleFilePath(url);
    zelLog("getLocalData %@ %@", std::string(url), path ? Value(path->string()) : nil());
    if (!path || !fromCache) return path;
    // The cache path is where the file would be; it answers only as a regular file really inside the cache
    // (a link planted there must not lead out of it).
    return web::resolveInside(cacheBasePath(), path->lexically_relative(cacheBasePath()).string());
}

std::optional<std::string> ZELCacheController::getLocalDataWithURLRequest(std::string_view url) const {
    const std::optional<std::filesystem::path> path = localFileWithURLRequest(url);
    if (!path) return std::nullopt;
    return fs::readFile(*path);
}

Value ZELCacheController::getLocalHashMap(const std::filesystem::path& filePath) {
    const std::optional<std::string> data = fs::readFile(filePath);
    if (!data) return nil();
    return json::dictionaryWithJSONData(*data);
}

bool ZELCacheController::putLocalHashMap(const Value& maps, const std::filesystem::path& filePath) {
    return fs::writeFileAtomically(filePath, hx::jsonStringWithDictionary(maps));
}

void ZELCacheController::refreshLocalCache() {
    downloadHashMap();
}

void ZELCacheController::clearLocalCache() {
    zelLog("clearLocalCache");
    // Without a version file no start uses the cache, whatever the worker has done so far.
    std::error_code ec;
    std::filesystem::remove(versionFilePath_, ec);
    // Behind any refresh still being stored, and the maps before the files: an interrupted clearing must not
    // leave maps that name removed files, which a later refresh would take as already fetched.
    disk_->run([this] {
        std::error_code error;
        std::filesystem::remove(hashMapFilePath_, error);
        store_.removeAll();
    });
}

void ZELCacheController::downloadHashMap() {
    // The worker runs one job at a time and every write removes or renames its staging file, so whatever the
    // staging folder holds when this job runs was left by an interrupted program.
    disk_->run([this] { store_.discardStaging(); });
    const std::string stamp = std::to_string(absoluteTimeStamp());
    for (const std::string_view document : cache::kMapDocuments) {
        downloads_->startAsyncDownloader(configBaseURL_ + "/" + std::string(document) + "?" + stamp, *this);
    }
}

void ZELCacheController::dataDownloadedForURLRequest(const std::string& data, const std::string& requestURL) {
    for (const std::string_view kind : cache::kKinds) {
        if (requestURL.find(cache::mapNameForKind(kind)) == std::string::npos) continue;
        Value map = json::dictionaryWithJSONData(data);
        if (cache::isMapOfTexts(map)) {
            remoteHashMapDict_[std::string(kind)] = std::move(map);
        } else {
            zelLog("ignored hash map %@: not a dictionary of texts", requestURL);
        }
        break;
    }
    for (const std::string_view kind : cache::kKinds) {
        if (!remoteHashMapDict_.contains(kind)) return;
    }

    const std::vector<std::string> local =
        localHashMapDict_ ? getFileArray(*localHashMapDict_) : std::vector<std::string>();
    const std::unordered_set<std::string_view> held(local.begin(), local.end());
    std::deque<std::string> queue;
    for (std::string& hashed : getFileArray(remoteHashMapDict_)) {
        if (held.count(hashed) == 0) queue.push_back(std::move(hashed));
    }
    downloadQueue_ = std::move(queue);
    zelLog("%@", static_cast<long>(downloadQueue_.size()));
    if (!downloadQueue_.empty()) {
        remoteFileDownloader_->start();
    } else if (delegate_ != nullptr) {
        delegate_->didFinishRefreshingWebCache();
    }
}

std::vector<std::string> ZELCacheController::getFileArray(const Value& maps) {
    std::vector<std::string> files;
    if (!maps.is_object()) return files;
    for (const auto& [kind, map] : maps.items()) {
        if (!cache::kindIndex(kind) || !map.is_object()) continue;
        for (const auto& [path, hashed] : map.items()) {
            if (const std::string* text = textOf(hashed)) files.push_back(*text);
        }
    }
    return files;
}

std::optional<std::string> ZELCacheController::queueNextURL() {
    while (const std::optional<std::string> hashed = dequeue(downloadQueue_)) {
        if (hashed->starts_with('/') && cache::safeRelativePath(*hashed)) return buildURL(*hashed);
        zelLog("refused hashed path %@", *hashed);
    }
    zelLog("finish download cache file");
    // The maps may name only files that are already on disk: this job runs after every write of the refresh.
    disk_->run(
        [this, maps = remoteHashMapDict_] {
            store_.sync();
            if (!putLocalHashMap(maps, hashMapFilePath_))
                zelLog("could not write %@", hashMapFilePath_.string());
        },
        [this] {
            if (delegate_ != nullptr) delegate_->didFinishRefreshingWebCache();
        });
    return std::nullopt;
}

void ZELCacheController::dataDownloadedForURL(const std::string& data, const std::string& url) {
    zelLog("dataDownloaded %@", url);
    const std::optional<cache::URLParts> parts = cache::splitURL(url);
    const std::optional<std::string> relative = parts ? cache::safeRelativePath(parts->path) : std::nullopt;
    if (!relative || !hostIsSafe_) {
        zelLog("refused cache path for %@", url);
        return;
    }
    disk_->run([this, target = cacheBasePath() / staticFileHost_ / *relative, data] {
        if (!store_.writeFile(target, data)) zelLog("could not write %@", target.string());
    });
}

}  // namespace zel
