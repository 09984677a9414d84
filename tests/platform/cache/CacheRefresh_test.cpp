// The cache controller's refresh end to end over HTTP: the real downloaders and disk worker against a
// SoupServer on loopback that plays the configuration documents and the static file server.
#include "core/cache/ZELCacheController.h"
#include "core/fs/Files.h"
#include "core/json/DictionaryJSON.h"
#include "core/support/TestSupport.h"
#include "platform/fs/ZELBackgroundDiskWorker.h"
#include "platform/net/ZELSoupDownloaderFactory.h"
#include "platform/support/TestHTTPServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>

namespace zel::platform {
namespace {

struct FinishCounter : ZELCacheControllerDelegate {
    void didFinishRefreshingWebCache() override { ++count; }
    int count = 0;
};

class CacheRefreshTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(fs::writeFileAtomically(bundle / "www" / "index.html", "bundle"));
        ASSERT_TRUE(fs::writeFileAtomically(bundle / "cache_version", "2014/03/28"));
    }

    void publish(const std::string& kind, const std::string& json) {
        server.serve("/player/mac/config/" + kind + "_map.json", json, 200, "application/json");
    }
    // The four documents; kinds not named get an empty map.
    void publishMaps(const std::string& js, const std::string& css = "{}", const std::string& media = "{}",
                     const std::string& html = "{}") {
        publish("js", js);
        publish("css", css);
        publish("media", media);
        publish("html", html);
    }
    void serveBuild(const std::string& hashed, const std::string& body, int status = 200) {
        server.serve("/player/mac/build" + hashed, body, status);
    }
    std::string cached(const std::string& hashed) const {
        return fs::readFile(work / "Cache" / server.hostPort() / ("player/mac/build" + hashed))
            .value_or("<none>");
    }
    ZELCacheController& controller() {
        if (!controller_) {
            controller_ = std::make_unique<ZELCacheController>(
                ZELCacheLocations{work, bundle, server.hostPort(), server.url("/player/mac/config")},
                std::make_unique<ZELSoupDownloaderFactory>(timeout),
                std::make_unique<ZELBackgroundDiskWorker>());
            controller_->setDelegate(&finished);
        }
        return *controller_;
    }
    void restart() { controller_.reset(); }
    bool logged(const std::string& line) const {
        return std::find(log.lines.begin(), log.lines.end(), line) != log.lines.end();
    }
    std::size_t documentRequests() const {
        return static_cast<std::size_t>(
            std::count_if(server.requests().begin(), server.requests().end(),
                          [](const auto& r) { return r.path.ends_with("_map.json"); }));
    }

    test::TestHTTPServer server;
    test::ScratchDirectory scratch;
    std::filesystem::path work = scratch.path() / "work";
    std::filesystem::path bundle = scratch.path() / "bundle";
    test::LogCapture log;
    FinishCounter finished;
    std::chrono::seconds timeout{20};  // shortened by the time-out test

  private:
    std::unique_ptr<ZELCacheController> controller_;
};

TEST_F(CacheRefreshTest, DownloadsWhatTheStoredMapsLackThenStoresTheNewMaps) {
    ASSERT_TRUE(fs::writeFileAtomically(work / "cache_hashmap", R"({"js":{"/js/old.js":"/js/old_1.js"}})"));
    const std::string js =
        R"({"/js/old.js":"/js/old_1.js","/js/app.js":"/js/app_2.js","/js/alias.js":"/js/app_2.js"})";
    const std::string media = R"({"/data/list.json":"/data/list_3.json"})";
    publishMaps(js, "{}", media);
    serveBuild("/js/old_1.js", "old");
    serveBuild("/js/app_2.js", "app two");
    serveBuild("/data/list_3.json", "[1,2,3]");

    controller().refreshLocalCache();
    ASSERT_TRUE(test::runUntil([&] { return finished.count == 1; }));

    EXPECT_EQ(server.count("/player/mac/build/js/old_1.js"), 0u);  // held already
    EXPECT_EQ(server.count("/player/mac/build/js/app_2.js"), 2u);  // named twice, fetched twice
    EXPECT_EQ(cached("/js/app_2.js"), "app two");
    EXPECT_EQ(cached("/data/list_3.json"), "[1,2,3]");
    EXPECT_TRUE(logged("3"));
    EXPECT_TRUE(logged("finish download cache file"));
    EXPECT_TRUE(logged("dataDownloaded " + server.url("/player/mac/build/data/list_3.json")));

    const Value stored = json::dictionaryWithJSONString(fs::readFile(work / "cache_hashmap").value_or(""));
    EXPECT_EQ(stored.at("js"), Value::parse(js));
    EXPECT_EQ(stored.at("media"), Value::parse(media));
    EXPECT_EQ(stored.at("css"), Value::object());

    // All four documents were asked for at once, with one stamp (seconds since 2001) that defeats caches.
    ASSERT_EQ(documentRequests(), 4u);
    const std::string stamp = server.requests().front().query;
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(server.requests()[i].query, stamp);
    const auto now2001 =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
            .count() -
        978307200;
    EXPECT_NEAR(std::stol(stamp), now2001, 120);
    EXPECT_TRUE(std::filesystem::is_empty(work / "Cache" / ".incoming"));

    // After a restart with a newer cache version the web app comes from what was fetched.
    ASSERT_TRUE(fs::writeFileAtomically(work / "cache_version", "2014/03/29"));
    restart();
    EXPECT_EQ(controller().getLocalDataWithURLRequest("http://x/player/mac/www/js/alias.js"), "app two");
    EXPECT_EQ(controller().getLocalDataWithURLRequest("http://x/player/mac/www/js/old.js"), std::nullopt);
}

TEST_F(CacheRefreshTest, TheDocumentsMayArriveInAnyOrder) {
    constexpr std::array<const char*, 4> kKinds = {"js", "css", "media", "html"};
    std::array<int, 4> order = {0, 1, 2, 3};
    int run = 0;
    do {
        SCOPED_TRACE("run " + std::to_string(run));
        std::filesystem::remove_all(work);
        publishMaps(R"({"/a.js":"/a_)" + std::to_string(run) + R"(.js"})", R"({"/a.css":"/a_1.css"})",
                    R"({"/a.png":"/a_1.png"})", R"({"/a.html":"/a_1.html"})");
        for (const char* file : {"/a_1.css", "/a_1.png", "/a_1.html"}) serveBuild(file, file);
        serveBuild("/a_" + std::to_string(run) + ".js", "js");
        for (const char* kind : kKinds) server.hold("/player/mac/config/" + std::string(kind) + "_map.json");
        finished.count = 0;
        restart();
        controller().refreshLocalCache();
        for (const int k : order) {
            const std::string kind = kKinds[k];
            const std::string path = "/player/mac/config/" + kind + "_map.json";
            ASSERT_TRUE(test::runUntil([&] { return server.heldCount(path) == 1; }));
            server.release(path);
            ASSERT_TRUE(test::runUntil([&] { return controller().remoteHashMapDict().contains(kind); }));
        }
        ASSERT_TRUE(test::runUntil([&] { return finished.count == 1; }));
        EXPECT_EQ(cached("/a_" + std::to_string(run) + ".js"), "js");
        EXPECT_EQ(cached("/a_1.png"), "/a_1.png");
        const Value stored =
            json::dictionaryWithJSONString(fs::readFile(work / "cache_hashmap").value_or(""));
        EXPECT_EQ(stored.size(), 4u);
        ++run;
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(run, 24);
}

TEST_F(CacheRefreshTest, NothingToDownloadTellsTheDelegateWithoutRewritingTheMaps) {
    const std::string stored = "{ \"js\" : {\"/a.js\":\"/a_1.js\"} }";  // spacing a rewrite would not keep
    ASSERT_TRUE(fs::writeFileAtomically(work / "cache_hashmap", stored));
    publishMaps(R"({"/a.js":"/a_1.js","/b.js":"/a_1.js"})");
    controller().refreshLocalCache();
    ASSERT_TRUE(test::runUntil([&] { return finished.count == 1; }));
    EXPECT_TRUE(logged("0"));
    EXPECT_FALSE(logged("finish download cache file"));
    EXPECT_EQ(fs::readFile(work / "cache_hashmap"), stored);
    EXPECT_EQ(server.requests().size(), 4u);
}

TEST_F(CacheRefreshTest, ALaterRefreshComparesOnEveryAnswer) {
    ASSERT_TRUE(fs::writeFileAtomically(work / "cache_hashmap", R"({"js":{"/a.js":"/a_1.js"}})"));
    publishMaps(R"({"/a.js":"/a_1.js"})");
    controller().refreshLocalCache();
    ASSERT_TRUE(test::runUntil([&] { return finished.count == 1; }));

    // Every kind already holds a map from the first refresh, so each answer of the second one ends it again.
    for (const char* kind : {"js", "css", "media", "html"})
        server.hold("/player/mac/config/" + std::string(kind) + "_map.json");
    controller().refreshLocalCache();
    int expected = 1;
    for (const char* kind : {"html", "js", "media", "css"}) {
        const std::string path = "/player/mac/config/" + std::string(kind) + "_map.json";
        ASSERT_TRUE(test::runUntil([&] { return server.heldCount(path) == 1; }));
        server.release(path);
        ++expected;
        ASSERT_TRUE(test::runUntil([&] { return finished.count == expected; })) << kind;
    }
    EXPECT_EQ(finished.count, 5);
    EXPECT_EQ(documentRequests(), 8u);
}

TEST_F(CacheRefreshTest, AnErrorPageIsStoredAsTheFile) {
    publishMaps(R"({"/a.js":"/a_1.js"})");
    serveBuild("/a_1.js", "no such file", 404);
    controller().refreshLocalCache();
    ASSERT_TRUE(test::runUntil([&] { return finished.count == 1; }));
    EXPECT_EQ(cached("/a_1.js"), "no such file");
}

TEST_F(CacheRefreshTest, AFailedFileStopsTheQueueWithoutAnAnswer) {
    for (const bool stall : {false, true}) {
        SCOPED_TRACE(stall ? "time-out" : "dropped connection");
        std::filesystem::remove_all(work);
        timeout = std::chrono::seconds(stall ? 1 : 20);
        restart();
        publishMaps(R"({"/a.js":"/a_1.js","/b.js":"/b_1.js","/c.js":"/c_1.js"})");
        serveBuild("/a_1.js", "a");
        if (stall) {
            server.stall("/player/mac/build/b_1.js");
        } else {
            server.dropMidBody("/player/mac/build/b_1.js", "half", 100);
        }
        serveBuild("/c_1.js", "c");
        controller().refreshLocalCache();
        ASSERT_TRUE(test::runUntil([&] {
            return std::any_of(log.lines.begin(), log.lines.end(), [&](const std::string& line) {
                return line.starts_with("download failed " + server.url("/player/mac/build/b_1.js"));
            });
        }));
        for (int i = 0; i < 50; ++i) g_main_context_iteration(nullptr, FALSE);
        EXPECT_EQ(cached("/a_1.js"), "a");
        EXPECT_EQ(cached("/b_1.js"), "<none>");
        EXPECT_EQ(server.count("/player/mac/build/c_1.js"), 0u);
        EXPECT_EQ(controller().downloadQueue(), std::deque<std::string>{"/c_1.js"});
        EXPECT_FALSE(std::filesystem::exists(work / "cache_hashmap"));
        EXPECT_EQ(finished.count, 0);
        log.lines.clear();
    }
}

TEST_F(CacheRefreshTest, ADocumentThatIsNotAMapIsIgnored) {
    publishMaps(R"({"/a.js":"/a_1.js"})", "<html>Service Unavailable</html>", R"(["/a.png"])");
    serveBuild("/a_1.js", "a");
    controller().refreshLocalCache();
    ASSERT_TRUE(test::runUntil([&] {
        return std::count_if(log.lines.begin(), log.lines.end(), [](const std::string& line) {
                   return line.starts_with("ignored hash map ");
               }) == 2;
    }));
    for (int i = 0; i < 50; ++i) g_main_context_iteration(nullptr, FALSE);
    const std::string stamp = server.requests().front().query;
    EXPECT_TRUE(logged("ignored hash map " + server.url("/player/mac/config/css_map.json?" + stamp) +
                       ": not a dictionary of texts"));
    EXPECT_TRUE(logged("ignored hash map " + server.url("/player/mac/config/media_map.json?" + stamp) +
                       ": not a dictionary of texts"));
    // The first refresh never gets all four kinds, so it neither downloads nor ends.
    EXPECT_EQ(server.requests().size(), 4u);
    EXPECT_EQ(finished.count, 0);
}

TEST_F(CacheRefreshTest, HashedPathsThatWouldLeaveTheCacheAreNotFetched) {
    publishMaps(R"({"/a.js":"/a_1.js","/b.js":"/../../../b.js","/c.js":"/x%2F..%2Fc.js","/d.js":"d.js"})");
    serveBuild("/a_1.js", "a");
    controller().refreshLocalCache();
    ASSERT_TRUE(test::runUntil([&] { return finished.count == 1; }));
    EXPECT_EQ(cached("/a_1.js"), "a");
    EXPECT_TRUE(logged("refused hashed path /../../../b.js"));
    EXPECT_TRUE(logged("refused hashed path /x%2F..%2Fc.js"));
    EXPECT_TRUE(logged("refused hashed path d.js"));
    EXPECT_EQ(server.requests().size(), 5u);  // four documents and a_1.js
}

}  // namespace
}  // namespace zel::platform
