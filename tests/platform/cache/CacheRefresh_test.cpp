#include "core/cache/ZELCacheController.h"
#include "core/fs/Files.h"
#include "core/json/DictionaryJSON.h"
#include "core/support/TestSupport.h"
#include "platform/fs/ZELBackgroundDiskWorker.h"
#include "platform/net/ZELSoupDownloaderFactory.h"
#include "support/Program.h"

#include <gtest/gtest.h>

#include <map>

namespace zel::platform {
namespace {

std::string document(const std::string& kind) {
    return "/player/mac/config/" + kind + "_map.json";
}

// The refresh with the real downloaders and disk worker against `files` (path -> body; "404:...", "drop" and
// "stall" answer 404, close the connection part-way and never answer).
struct CacheRefreshTest : testing::Test, ZELCacheControllerDelegate {
    CacheRefreshTest() { EXPECT_TRUE(fs::writeFileAtomically(bundle / "cache_version", "2014/03/28")); }
    void didFinishRefreshingWebCache() override { ++finishedCount; }
    void answer(SoupServerMessage* message, const std::string& path) {
        std::string body = files.contains(path) ? files[path] : "404:none";
        if (body == "stall") return soup_server_message_pause(message);
        if (body == "drop")
            return test::Loopback::writeRaw(message, "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf");
        const bool missing = body.starts_with("404:");
        soup_server_message_set_status(message, missing ? 404 : 200, nullptr);
        body = missing ? body.substr(4) : body;
        soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_COPY, body.data(), body.size());
    }
    // The four documents: js as given, the other kinds empty or mapping one file each.
    void publishMaps(const std::string& js, bool otherKinds = false) {
        files[document("js")] = js;
        for (const std::string kind : {"css", "media", "html"})
            files[document(kind)] = otherKinds ? R"({"/a.)" + kind + R"(":"/a_1.)" + kind + R"("})" : "{}";
    }
    std::string cached(const std::string& hashed) const {
        return fs::readFile(work / "Cache" / server.host() / ("player/mac/build" + hashed))
            .value_or("<none>");
    }
    ZELCacheController& controller(std::chrono::seconds timeout = std::chrono::seconds(20)) {
        if (!controller_) {
            controller_ = std::make_unique<ZELCacheController>(
                ZELCacheLocations{work, bundle, server.host(),
                                  "http://" + server.host() + "/player/mac/config"},
                std::make_unique<ZELSoupDownloaderFactory>(timeout),
                std::make_unique<ZELBackgroundDiskWorker>());
            controller_->setDelegate(this);
        }
        return *controller_;
    }

    long logged(const std::string& start) const {
        return std::count_if(log.lines.begin(), log.lines.end(),
                             [&](auto& l) { return l.starts_with(start); });
    }
    long requested(const std::string& path) const {
        return std::count_if(server.requests().begin(), server.requests().end(),
                             [&](auto& r) { return r.path == path; });
    }

    std::map<std::string, std::string> files;
    test::Loopback server{[this](SoupServerMessage* m, const std::string& path) { answer(m, path); }};
    test::ScratchDirectory scratch;
    std::filesystem::path work = scratch.path() / "work", bundle = scratch.path() / "bundle";
    test::LogCapture log;
    int finishedCount = 0;
    std::unique_ptr<ZELCacheController> controller_;
};

TEST_F(CacheRefreshTest, DownloadsWhatTheStoredMapsLackThenStoresTheNewMaps) {
    ASSERT_TRUE(fs::writeFileAtomically(work / "cache_hashmap", R"({"js":{"/js/old.js":"/js/old_1.js"}})"));
    const std::string js =
        R"({"/js/old.js":"/js/old_1.js","/js/app.js":"/js/app_2.js","/js/alias.js":"/js/app_2.js",)"
        R"("/b.js":"/../../../b.js","/c.js":"/x%2F..%2Fc.js","/d.js":"d.js"})";
    const std::string big = std::string(300 * 1024, 'x') + "y";
    files = {{"/player/mac/build/js/app_2.js", big}, {"/player/mac/build/a_1.css", "404:no such file"}};
    publishMaps(js, true);
    for (const char* file : {"/a_1.media", "/a_1.html"})
        files[std::string("/player/mac/build") + file] = file;

    controller().refreshLocalCache();
    ASSERT_TRUE(test::waitFor([&] { return finishedCount == 1; }));
    EXPECT_EQ(requested("/player/mac/build/js/old_1.js"), 0);  // held already
    EXPECT_EQ(requested("/player/mac/build/js/app_2.js"), 2);  // named twice, fetched twice
    EXPECT_EQ(cached("/js/app_2.js"), big);
    EXPECT_EQ(cached("/a_1.css"), "no such file");  // an error page is stored as the file
    for (const char* refused : {"/../../../b.js", "/x%2F..%2Fc.js", "d.js"})
        EXPECT_TRUE(log.has(std::string("refused hashed path ") + refused)) << refused;
    EXPECT_EQ(json::dictionaryWithJSONString(*fs::readFile(work / "cache_hashmap")).at("js"),
              Value::parse(js));

    // The documents at once, one stamp (seconds since 2001) against caches; then the files one after another.
    const auto& requests = server.requests();
    ASSERT_EQ(requests.size(), 4u + 5u);
    const std::string stamp = requests[0].path.substr(requests[0].path.find('?'));
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    EXPECT_NEAR(std::stol(stamp.substr(1)),
                std::chrono::duration_cast<std::chrono::seconds>(now).count() - 978307200, 120);
    for (int i = 0; i < 9; ++i) {
        SCOPED_TRACE(requests[i].path);
        EXPECT_EQ(requests[i].path.ends_with(stamp), i < 4);
        EXPECT_EQ(requests[i].cacheControl, "no-cache");
        EXPECT_GE(requests[i].answeredBefore, i < 4 ? 0 : i);
    }
}

TEST_F(CacheRefreshTest, AFailedFileOrADocumentThatIsNoMapStopsTheRefreshWithoutAnAnswer) {
    for (const char* failure : {"drop", "stall"}) {
        SCOPED_TRACE(failure);
        log.lines.clear();
        std::filesystem::remove_all(work);
        controller_.reset();
        publishMaps(R"({"/a.js":"/a_1.js","/b.js":"/b_1.js","/c.js":"/c_1.js"})");
        files["/player/mac/build/a_1.js"] = "a";
        files["/player/mac/build/b_1.js"] = failure;
        controller(std::chrono::seconds(1)).refreshLocalCache();
        ASSERT_TRUE(test::waitFor([&] {
            return logged("download failed http://" + server.host() + "/player/mac/build/b_1.js") == 1;
        }));
        EXPECT_TRUE(test::waitFor([&] { return cached("/a_1.js") == "a"; }));  // written by the disk thread
        EXPECT_EQ(cached("/b_1.js"), "<none>");
        EXPECT_EQ(requested("/player/mac/build/c_1.js"), 0);
        EXPECT_EQ(controller().downloadQueue(), std::deque<std::string>{"/c_1.js"});
        EXPECT_FALSE(std::filesystem::exists(work / "cache_hashmap"));
    }
    controller_.reset();
    publishMaps(R"({"/a.js":"/a_1.js"})");
    files[document("css")] = "<html>Service Unavailable</html>";
    files[document("media")] = R"(["/a.png"])";
    const std::size_t before = server.requests().size();
    controller().refreshLocalCache();
    ASSERT_TRUE(test::waitFor([&] { return logged("ignored hash map ") == 2; }));
    // Time for a request that should not come.
    test::waitFor([] { return false; }, std::chrono::milliseconds(200));
    const std::string& last = server.requests().back().path;
    for (const char* kind : {"css", "media"})
        EXPECT_TRUE(log.has("ignored hash map http://" + server.host() + document(kind) +
                            last.substr(last.find('?')) + ": not a dictionary of texts"));
    EXPECT_EQ(server.requests().size(), before + 4);  // never all four kinds: no download
    EXPECT_EQ(finishedCount, 0);
}

}  // namespace
}  // namespace zel::platform
