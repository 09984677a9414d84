// The web cache: hash-map documents, the hashed paths they name and request addresses, through the real
// ZELCacheController on a fresh folder per input. A refresh is answered with the input's four map documents
// and a body for every file it asks for; then a second controller starts from what the refresh stored and
// answers the requests, and the cache is cleared.
//
// Input: fields (see splitFields): static file host (empty: a fixed one), the stored cache_hashmap
// document, the js, css, media and html map documents, then request addresses.
//
// Invariants: nothing is written, changed or removed outside the cache folder (Cache/) but the stored maps
// (cache_hashmap), whatever the maps name, even with a link planted in the cache that leads out of it; a
// request is answered only with a regular file inside the cache or the bundle; clearing removes the cache
// folder.
#include "FuzzSupport.h"

#include "core/cache/ZELCacheController.h"
#include "core/fs/Files.h"

#include <deque>
#include <map>
#include <utility>

namespace {

using namespace zel;
namespace sfs = std::filesystem;

constexpr std::string_view kDefaultHost = "static.test:8080";
constexpr std::string_view kSecret = "SECRET, outside the cache";

// Transfers are answered when the input says so, in the order they were started.
class Network : public ZELDownloaderFactory {
  public:
    void startAsyncDownloader(const std::string& url, ZELAsyncDownloaderDelegate& delegate) override {
        pending.emplace_back(url, &delegate);
    }
    std::deque<std::pair<std::string, ZELAsyncDownloaderDelegate*>> pending;
};

// What each file outside the cache holds ("" for a folder, "-> target" for a link).
std::map<std::string, std::string> snapshot(const sfs::path& root) {
    std::map<std::string, std::string> entries;
    for (auto it = sfs::recursive_directory_iterator(root); it != sfs::recursive_directory_iterator(); ++it) {
        const std::string relative = it->path().lexically_relative(root).string();
        if (relative.starts_with("work/Cache")) {
            it.disable_recursion_pending();
            continue;
        }
        if (it->is_symlink()) {
            entries[relative] = "-> " + sfs::read_symlink(it->path()).string();
        } else if (it->is_regular_file()) {
            entries[relative] = fs::readFile(it->path()).value_or("(unreadable)");
        } else {
            entries[relative] = "";
        }
    }
    return entries;
}

bool isInside(const sfs::path& path, const sfs::path& folder) {
    const sfs::path relative = path.lexically_normal().lexically_relative(folder.lexically_normal());
    return !relative.empty() && *relative.begin() != "..";
}

void write(const sfs::path& path, std::string_view text) {
    fuzz::check(fs::writeFileAtomically(path, text), "setting up " + path.string());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string_view> fields = fuzz::splitFields(data, size);
    const std::string host(fields.empty() || fields[0].empty() ? kDefaultHost : fields[0]);
    const sfs::path root = fuzz::scratchRoot() / "run";
    const sfs::path work = root / "work", bundle = root / "bundle";
    std::error_code ec;
    sfs::remove_all(root, ec);

    write(bundle / "cache_version", "2014/03/28");
    write(bundle / "www" / "index.html", "bundle index");
    write(bundle / "www" / "js" / "app.js", "bundle app");
    write(root / "secret.js", kSecret);
    write(work / "cache_version", "2099/01/01");
    if (!fuzz::field(fields, 1).empty()) write(work / "cache_hashmap", fuzz::field(fields, 1));
    // Links planted in the cache folder that lead out of it, to a file and to a folder.
    const sfs::path build = work / "Cache" / kDefaultHost / "player/mac/build";
    sfs::create_directories(build / "js", ec);
    sfs::create_symlink(root / "secret.js", build / "js" / "link.js", ec);
    sfs::create_directory(root / "outside", ec);
    sfs::create_directory_symlink(root / "outside", build / "out", ec);
    const std::map<std::string, std::string> before = snapshot(root);

    const std::map<std::string_view, std::string_view> documents = {
        {"js_map.json", fuzz::field(fields, 2)},
        {"css_map.json", fuzz::field(fields, 3)},
        {"media_map.json", fuzz::field(fields, 4)},
        {"html_map.json", fuzz::field(fields, 5)}};
    const std::vector<std::string_view> requests(fields.begin() + std::min<std::size_t>(fields.size(), 6),
                                                 fields.end());

    const auto answerRequests = [&](const ZELCacheController& controller) {
        const sfs::path cache = sfs::canonical(controller.cacheBasePath(), ec);
        const sfs::path realBundle = sfs::canonical(bundle);
        for (const std::string_view url : requests) {
            if (const auto path = controller.cacheFilePath(url)) {
                fuzz::check(isInside(*path, controller.cacheBasePath()), "cache path inside the cache");
            }
            const std::optional<sfs::path> file = controller.localFileWithURLRequest(url);
            if (file) {
                fuzz::check((!cache.empty() && isInside(*file, cache)) || isInside(*file, realBundle),
                            "answered from " + file->string());
            }
            fuzz::check(controller.getLocalDataWithURLRequest(url) != std::optional<std::string>(kSecret),
                        "a request read a file outside the cache");
        }
    };

    {
        auto owned = std::make_unique<Network>();
        Network& net = *owned;
        ZELCacheController controller(ZELCacheLocations{work, bundle, host, "http://config.test/config"},
                                      std::move(owned));
        answerRequests(controller);
        controller.refreshLocalCache();
        // A map may name any number of files; the input's size bounds them.
        for (std::size_t answered = 0; !net.pending.empty() && answered < 4 * size + 16; ++answered) {
            auto [url, delegate] = net.pending.front();
            net.pending.pop_front();
            std::string body = "body of " + url;
            for (const auto& [name, document] : documents) {
                if (url.find(name) != std::string::npos) body = std::string(document);
            }
            delegate->dataDownloadedForURLRequest(body, url);
        }
    }
    {
        ZELCacheController controller(ZELCacheLocations{work, bundle, host, "http://config.test/config"},
                                      nullptr);
        answerRequests(controller);
        const std::map<std::string, std::string> after = snapshot(root);
        for (const auto& [path, content] : after) {
            if (path == "work/cache_hashmap") continue;
            const auto was = before.find(path);
            fuzz::check(was != before.end(), "written outside the cache: " + path);
            fuzz::check(was->second == content, "changed outside the cache: " + path);
        }
        for (const auto& [path, content] : before) {
            fuzz::check(after.count(path) != 0 || path == "work/cache_hashmap", "removed: " + path);
        }
        controller.clearLocalCache();
        fuzz::check(!sfs::exists(work / "Cache"), "clearing removes the cache folder");
        fuzz::check(sfs::exists(root / "secret.js") && sfs::exists(bundle / "www/index.html"),
                    "clearing removes only the cache");
    }
    fuzz::quietLog().clear();
    return 0;
}
