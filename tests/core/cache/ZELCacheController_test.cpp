#include "core/cache/ZELCacheController.h"

#include "core/fs/Files.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace zel {
namespace {

constexpr const char* kHost = "static.test:8080";
constexpr const char* kAppJS = "http://static.test:8080/player/mac/www/js/app.js";

// A working directory and a bundle on disk; each test arranges versions, stored maps and cached files, then
// builds the controller (which reads them once).
class CacheControllerTest : public testing::Test {
  protected:
    void SetUp() override {
        write(bundle / "www" / "index.html", "bundle index");
        write(bundle / "www" / "js" / "app.js", "bundle app");
        write(bundle / "www" / "data" / "list.json", "bundle list");
        write(bundle / "index.html", "bundle root index");
        write(bundle / "cache_version", "2014/03/28\n");
    }

    static void write(const std::filesystem::path& path, const std::string& text) {
        ASSERT_TRUE(fs::writeFileAtomically(path, text)) << path;
    }
    void storeMaps(const std::string& json) { write(work / "cache_hashmap", json); }
    void cacheFile(const std::string& path, const std::string& text) {
        write(work / "Cache" / kHost / path, text);
    }
    void arrangeNewerCache() {
        write(work / "cache_version", "2014/03/29");
        storeMaps(R"({"js":{"/js/app.js":"/js/app_1a.js"},"css":{},"html":{"/index.html":"/index_9.html"},)"
                  R"("media":{"/data/list.json":"/data/list_2b.json","/img/a.png":"/img/a_3.png"}})");
        cacheFile("player/mac/build/js/app_1a.js", "cached app");
        cacheFile("player/mac/build/data/list_2b.json", "cached list");
    }
    ZELCacheController& controller() {
        if (!controller_) {
            controller_ = std::make_unique<ZELCacheController>(
                ZELCacheLocations{work, bundle, kHost, "http://config.test/player/mac/config"}, nullptr);
        }
        return *controller_;
    }

    test::ScratchDirectory scratch;
    std::filesystem::path work = scratch.path() / "work";
    std::filesystem::path bundle = scratch.path() / "bundle";
    test::LogCapture log;

  private:
    std::unique_ptr<ZELCacheController> controller_;
};

TEST_F(CacheControllerTest, EqualVersionsAnswerFromTheBundle) {
    arrangeNewerCache();
    write(work / "cache_version", "2014/03/28");
    EXPECT_TRUE(controller().cacheOlderThanBundle());
    EXPECT_EQ(controller().getLocalDataWithURLRequest(kAppJS), "bundle app");
    ASSERT_FALSE(log.lines.empty());
    EXPECT_EQ(log.lines.back(), std::string("getLocalData ") + kAppJS + " " +
                                    std::filesystem::canonical(bundle / "www/js/app.js").string());
}

TEST_F(CacheControllerTest, ANewerVersionAnswersFromTheCache) {
    arrangeNewerCache();
    EXPECT_FALSE(controller().cacheOlderThanBundle());
    EXPECT_EQ(controller().getLocalDataWithURLRequest(kAppJS), "cached app");
    EXPECT_EQ(
        controller().getLocalDataWithURLRequest("http://static.test:8080/player/mac/www/data/list.json"),
        "cached list");
    // No fall-back: a file the cache lacks is not looked for in the bundle.
    EXPECT_EQ(controller().getLocalDataWithURLRequest("http://static.test:8080/player/mac/www/index.html"),
              std::nullopt);
    EXPECT_EQ(log.lines.back(), "getLocalData http://static.test:8080/player/mac/www/index.html " +
                                    (work / "Cache" / kHost / "player/mac/build/index_9.html").string());
}

TEST_F(CacheControllerTest, VersionTextsMayHoldWhiteSpaceAnywhere) {
    arrangeNewerCache();
    write(work / "cache_version", "2014/ 03/29\n");
    EXPECT_FALSE(controller().cacheOlderThanBundle());
    write(work / "cache_version", "\t2014/03/2 8\r\n");
    EXPECT_TRUE(controller().isCacheOlderThanBundle());
    write(work / "cache_version", "not a date");
    EXPECT_TRUE(controller().isCacheOlderThanBundle());
    std::filesystem::remove(bundle / "cache_version");
    std::filesystem::remove(work / "cache_version");
    EXPECT_TRUE(controller().isCacheOlderThanBundle());  // both missing: still the bundle
}

TEST_F(CacheControllerTest, WithoutStoredMapsTheBundleAnswers) {
    write(work / "cache_version", "2099/01/01");
    storeMaps("{not json");
    EXPECT_FALSE(controller().cacheOlderThanBundle());
    EXPECT_FALSE(controller().hasLocalHashMap());
    EXPECT_EQ(controller().getHashedURL(kAppJS), kAppJS);
    EXPECT_EQ(controller().getLocalDataWithURLRequest(kAppJS), "bundle app");
}

TEST_F(CacheControllerTest, StoredMapsThatAreNotDictionariesAreIgnored) {
    storeMaps(R"(["/js/app.js"])");
    EXPECT_FALSE(controller().hasLocalHashMap());
    EXPECT_NE(std::find(log.lines.begin(), log.lines.end(),
                        "ignored " + (work / "cache_hashmap").string() + ": not a dictionary of hash maps"),
              log.lines.end());
}

TEST_F(CacheControllerTest, TranslatesThroughTheMapOfTheExtensionsKind) {
    storeMaps(R"({"js":{"/js/app.js":"/js/app_1a.js","/img/a.png":"/wrong_kind.png"},)"
              R"("media":{"/data/list.json":"/data/list_2b.json","/img/a.png":"/img/a_3.png"},)"
              R"("css":{"/css/a.css":7}})");
    ZELCacheController& c = controller();
    EXPECT_EQ(c.getHashedURL(kAppJS), "http://static.test:8080/player/mac/build/js/app_1a.js");
    EXPECT_EQ(c.getHashedURL("ostrelle://any/player/mac/www/js/app.js?v=2#x"),
              "http://static.test:8080/player/mac/build/js/app_1a.js");
    EXPECT_EQ(c.getHashedURL("http://h/player/mac/www/data/list.json"),
              "http://static.test:8080/player/mac/build/data/list_2b.json");
    EXPECT_EQ(c.getHashedURL("http://h/player/mac/www/img/a.png"),
              "http://static.test:8080/player/mac/build/img/a_3.png");
    // Extensions are compared as written; unknown paths, kinds without a usable map keep their own address.
    EXPECT_EQ(c.getHashedURL("http://h/player/mac/www/img/a.PNG"), "http://h/player/mac/www/img/a.PNG");
    EXPECT_EQ(c.getHashedURL("http://h/player/mac/www/js/other.js"), "http://h/player/mac/www/js/other.js");
    EXPECT_EQ(c.getHashedURL("http://h/player/mac/www/css/a.css"), "http://h/player/mac/www/css/a.css");
    EXPECT_EQ(c.getHashedURL("http://h/player/mac/www/index.html"), "http://h/player/mac/www/index.html");
    EXPECT_EQ(log.lines, std::vector<std::string>{"ignored stored css map: not a dictionary of texts"});
}

TEST_F(CacheControllerTest, TheRootPathIsIndexHtmlInBothPlaces) {
    EXPECT_EQ(controller().getLocalDataWithURLRequest("file:///"), "bundle root index");
    EXPECT_EQ(controller().cacheFilePath("file:///"), work / "Cache" / kHost / "index.html");
    EXPECT_EQ(controller().bundleFilePath("http://h/player/mac/www/index.html"),
              std::filesystem::canonical(bundle / "www/index.html"));
}

TEST_F(CacheControllerTest, UnsafePathsAreNeitherReadNorFollowed) {
    write(work / "cache_version", "2099/01/01");
    storeMaps(R"({"js":{"/js/app.js":"/../../../../secret.js","/js/b.js":"/js/b%2F..%2F..%2Fx.js",)"
              R"("/js/link.js":"/js/link.js"}})");
    write(scratch.path() / "secret.js", "secret");
    std::filesystem::create_directories(work / "Cache" / kHost / "player/mac/build/js");
    std::filesystem::create_symlink(scratch.path() / "secret.js",
                                    work / "Cache" / kHost / "player/mac/build/js/link.js");
    ZELCacheController& c = controller();
    EXPECT_EQ(c.getLocalDataWithURLRequest(kAppJS), std::nullopt);
    EXPECT_EQ(c.getLocalDataWithURLRequest("http://h/player/mac/www/js/b.js"), std::nullopt);
    EXPECT_EQ(c.getLocalDataWithURLRequest("http://h/player/mac/www/js/link.js"), std::nullopt);
    EXPECT_NE(
        std::find(log.lines.begin(), log.lines.end(),
                  "refused cache path for http://static.test:8080/player/mac/build/../../../../secret.js"),
        log.lines.end());

    // The bundle side: requests whose own path would climb out.
    EXPECT_EQ(c.bundleFilePath("http://h/player/mac/www/..%2F..%2Fsecret.js"), std::nullopt);
    EXPECT_EQ(c.bundleFilePath("http://h/player/mac/www/../../secret.js"), std::nullopt);
    EXPECT_EQ(c.bundleFilePath("http://h/player/mac/www/missing.js"), std::nullopt);
}

TEST_F(CacheControllerTest, ClearingRemovesFilesButNotTheDecisionsTakenAtStart) {
    arrangeNewerCache();
    ZELCacheController& c = controller();
    c.clearLocalCache();
    EXPECT_FALSE(std::filesystem::exists(work / "Cache"));
    EXPECT_FALSE(std::filesystem::exists(work / "cache_hashmap"));
    EXPECT_FALSE(std::filesystem::exists(work / "cache_version"));
    EXPECT_FALSE(c.cacheOlderThanBundle());
    EXPECT_TRUE(c.hasLocalHashMap());
    EXPECT_EQ(c.getHashedURL(kAppJS), "http://static.test:8080/player/mac/build/js/app_1a.js");
    EXPECT_EQ(c.getLocalDataWithURLRequest(kAppJS), std::nullopt);  // goes to the network now
    EXPECT_EQ(log.lines.front(), "clearLocalCache");
    c.clearLocalCache();  // nothing left to remove: still fine
}

TEST_F(CacheControllerTest, StoredMapsRoundTripAndFileArraysKeepDuplicates) {
    const Value maps =
        Value::parse(R"({"js":{"/a.js":"/a_1.js","/b.js":"/a_1.js"},"media":{"/c.png":"/c_2.png"},)"
                     R"("other":{"/x":"/y"}})");
    ASSERT_TRUE(ZELCacheController::putLocalHashMap(maps, work / "maps"));
    EXPECT_EQ(ZELCacheController::getLocalHashMap(work / "maps"), maps);
    EXPECT_TRUE(isNil(ZELCacheController::getLocalHashMap(work / "missing")));
    EXPECT_EQ(ZELCacheController::getFileArray(maps),
              (std::vector<std::string>{"/a_1.js", "/a_1.js", "/c_2.png"}));
    EXPECT_TRUE(ZELCacheController::getFileArray(nil()).empty());
}

TEST_F(CacheControllerTest, DownloadedFilesLandUnderTheHostAndNeverOutside) {
    ZELCacheController& c = controller();
    c.dataDownloadedForURL("body", "http://static.test:8080/player/mac/build/js/app_1a.js");
    EXPECT_EQ(fs::readFile(work / "Cache" / kHost / "player/mac/build/js/app_1a.js"), "body");
    c.dataDownloadedForURL("new body", "http://static.test:8080/player/mac/build/js/app_1a.js");
    EXPECT_EQ(fs::readFile(work / "Cache" / kHost / "player/mac/build/js/app_1a.js"), "new body");
    EXPECT_TRUE(std::filesystem::is_empty(work / "Cache" / ".incoming"));  // nothing half-written left

    c.dataDownloadedForURL("evil", "http://static.test:8080/player/mac/build/%2E%2E/%2E%2E/%2E%2E/evil.js");
    EXPECT_EQ(log.lines.back(),
              "refused cache path for http://static.test:8080/player/mac/build/%2E%2E/%2E%2E/%2E%2E/evil.js");
    EXPECT_FALSE(std::filesystem::exists(work / "evil.js"));
    EXPECT_FALSE(std::filesystem::exists(work / "Cache" / "evil.js"));

    // A folder link planted in the cache does not lead writes out of it.
    std::filesystem::create_directory(scratch.path() / "outside");
    std::filesystem::create_directory_symlink(scratch.path() / "outside",
                                              work / "Cache" / kHost / "player/mac/build/out");
    for (const char* path : {"out/x.js", "out/new/y.js"}) {
        c.dataDownloadedForURL("x", std::string("http://static.test:8080/player/mac/build/") + path);
    }
    EXPECT_TRUE(std::filesystem::is_empty(scratch.path() / "outside"));
}

TEST_F(CacheControllerTest, AHostThatCannotNameAFolderDisablesTheCache) {
    arrangeNewerCache();
    ZELCacheController c(ZELCacheLocations{work, bundle, "..", "http://config.test"}, nullptr);
    EXPECT_EQ(c.cacheFilePath(kAppJS), std::nullopt);
    c.dataDownloadedForURL("x", "http://../player/mac/build/a.js");
    EXPECT_FALSE(std::filesystem::exists(work / "player"));
}

}  // namespace
}  // namespace zel
