#include "core/cache/ZELCacheController.h"

#include "core/fs/Files.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

#include <fstream>

namespace zel {
namespace {

constexpr const char* kHost = "static.test:8080";
constexpr const char* kAppJS = "http://static.test:8080/player/mac/www/js/app.js";
const std::string kBuild = "http://static.test:8080/player/mac/build";

struct CacheControllerTest : testing::Test {
    CacheControllerTest() {
        for (const char* path : {"www/index.html", "www/js/app.js", "www/data/list.json", "index.html"})
            write(bundle / path, std::string("bundle ") + path);
        write(bundle / "cache_version", "2014/03/28\n");
    }
    static void write(const std::filesystem::path& path, const std::string& text) {
        ASSERT_TRUE(fs::writeFileAtomically(path, text)) << path;
    }
    void arrangeNewerCache(const std::string& version = "2014/03/29") {
        write(work / "cache_version", version);
        write(work / "cache_hashmap",
              R"({"js":{"/js/app.js":"/js/app_1a.js","/img/a.png":"/wrong_kind.png"},"css":{"/a.css":7},)"
              R"("html":{"/index.html":"/index_9.html"},)"
              R"("media":{"/data/list.json":"/data/list_2b.json","/img/a.png":"/img/a_3.png"}})");
        write(cached / "js/app_1a.js", "cached app");
        write(cached / "data/list_2b.json", "cached list");
    }
    ZELCacheController& controller() {
        if (!controller_) {
            controller_ = std::make_unique<ZELCacheController>(
                ZELCacheLocations{work, bundle, kHost, "http://config.test/player/mac/config"}, nullptr);
        }
        return *controller_;
    }
    std::optional<std::string> data(const std::string& path) {
        return controller().getLocalDataWithURLRequest("http://h/player/mac/www" + path);
    }

    test::ScratchDirectory scratch;
    std::filesystem::path work = scratch.path() / "work", bundle = scratch.path() / "bundle",
                          cached = work / "Cache" / kHost / "player/mac/build";
    test::LogCapture log;
    std::unique_ptr<ZELCacheController> controller_;
};

TEST_F(CacheControllerTest, TheNewerVersionAnswersTheBundleWinsATie) {
    // Version texts may hold white space anywhere; unreadable or missing ones count as the bundle's.
    const std::pair<const char*, bool> versions[] = {
        {"2014/ 03/29\n", false}, {"\t2014/03/2 8\r\n", true}, {"not a date", true}};
    for (const auto& [version, older] : versions) {
        write(work / "cache_version", version);
        EXPECT_EQ(controller().isCacheOlderThanBundle(), older) << version;
    }
    arrangeNewerCache("2014/03/28");
    controller_.reset();  // a new start reads the arranged files
    EXPECT_EQ(data("/js/app.js"), "bundle www/js/app.js");
    EXPECT_EQ(controller().getLocalDataWithURLRequest("file:///"), "bundle index.html");
    write(work / "cache_version", "2099/01/01");  // newer, but without usable stored maps
    for (const char* maps : {"{not json", R"(["/js/app.js"])"}) {
        write(work / "cache_hashmap", maps);
        ZELCacheController c(ZELCacheLocations{work, bundle, kHost, "http://config.test"}, nullptr);
        EXPECT_EQ(c.getHashedURL(kAppJS), kAppJS);
        EXPECT_EQ(c.getLocalDataWithURLRequest(kAppJS), "bundle www/js/app.js");
    }
    EXPECT_TRUE(log.has("ignored " + (work / "cache_hashmap").string() + ": not a dictionary of hash maps"));
}

TEST_F(CacheControllerTest, ANewerCacheAnswersThroughTheMapOfTheExtensionsKind) {
    arrangeNewerCache();
    ZELCacheController& c = controller();
    EXPECT_EQ(data("/js/app.js"), "cached app");
    EXPECT_EQ(data("/data/list.json"), "cached list");
    // No fall-back: a file the cache lacks is not looked for in the bundle.
    EXPECT_EQ(data("/index.html"), std::nullopt);
    EXPECT_EQ(log.lines.back(),
              "getLocalData http://h/player/mac/www/index.html " + (cached / "index_9.html").string());
    EXPECT_EQ(c.getHashedURL("ostrelle://any/player/mac/www/js/app.js?v=2#x"), kBuild + "/js/app_1a.js");
    EXPECT_EQ(c.getHashedURL("http://h/player/mac/www/img/a.png"), kBuild + "/img/a_3.png");
    // Extensions are compared as written; unknown paths and kinds without a usable map keep their address.
    for (const char* path : {"/img/a.PNG", "/js/other.js", "/a.css"})
        EXPECT_EQ(c.getHashedURL(std::string("http://h") + path), std::string("http://h") + path);
    EXPECT_EQ(log.lines.front(), "ignored stored css map: not a dictionary of texts");
}

TEST_F(CacheControllerTest, UnsafePathsAreNeitherReadNorWrittenNorFollowed) {
    write(work / "cache_version", "2099/01/01");
    write(work / "cache_hashmap", R"({"js":{"/js/app.js":"/../../../../secret.js",)"
                                  R"("/js/b.js":"/js/b%2F..%2F..%2Fx.js","/js/link.js":"/js/link.js"}})");
    write(scratch.path() / "secret.js", "secret");
    std::filesystem::create_directories(cached / "js");
    std::filesystem::create_symlink(scratch.path() / "secret.js", cached / "js/link.js");
    for (const char* path : {"/js/app.js", "/js/b.js", "/js/link.js"})
        EXPECT_EQ(data(path), std::nullopt) << path;
    EXPECT_TRUE(log.has("refused cache path for " + kBuild + "/../../../../secret.js"));
    const std::string evil = kBuild + "/%2E%2E/%2E%2E/%2E%2E/evil.js";
    controller().dataDownloadedForURL("evil", evil);
    EXPECT_EQ(log.lines.back(), "refused cache path for " + evil);
    EXPECT_FALSE(std::filesystem::exists(work / "evil.js"));
    // A folder link planted in the cache does not lead writes out of it.
    std::filesystem::create_directory_symlink(scratch.path(), cached / "out");
    for (const char* path : {"/out/x.js", "/out/new/y.js"})
        controller().dataDownloadedForURL("x", kBuild + path);
    EXPECT_FALSE(std::filesystem::exists(scratch.path() / "x.js"));
    EXPECT_FALSE(std::filesystem::exists(scratch.path() / "new"));
    // A host that cannot name a folder disables the cache.
    ZELCacheController dotted(ZELCacheLocations{work, bundle, "..", "http://config.test"}, nullptr);
    EXPECT_EQ(dotted.cacheFilePath(kAppJS), std::nullopt);
    dotted.dataDownloadedForURL("x", "http://../player/mac/build/a.js");
    EXPECT_FALSE(std::filesystem::exists(work / "player"));
}

TEST_F(CacheControllerTest, DownloadsReplaceFilesWhollyAndClearingKeepsTheStartsDecisions) {
    arrangeNewerCache();
    ZELCacheController& c = controller();
    std::ifstream reader(cached / "js/app_1a.js");  // the old file stays whole: the new one takes its place
    c.dataDownloadedForURL("new body", kBuild + "/js/app_1a.js");
    EXPECT_EQ(fs::readFile(cached / "js/app_1a.js"), "new body");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "cached app");
    EXPECT_TRUE(std::filesystem::is_empty(work / "Cache" / ".incoming"));
    c.clearLocalCache();
    for (const char* gone : {"Cache", "cache_hashmap", "cache_version"})
        EXPECT_FALSE(std::filesystem::exists(work / gone)) << gone;
    EXPECT_FALSE(c.cacheOlderThanBundle());
    EXPECT_EQ(c.getHashedURL(kAppJS), kBuild + "/js/app_1a.js");
    EXPECT_EQ(c.getLocalDataWithURLRequest(kAppJS), std::nullopt);  // goes to the network now
    c.clearLocalCache();                                            // nothing left to remove: still fine
}

TEST(CacheControllerFilesTest, FileArraysKeepDuplicatesAndOnlyTheFourKinds) {
    const Value maps = Value::parse(
        R"({"js":{"/a.js":"/a_1.js","/b.js":"/a_1.js"},"media":{"/c.png":"/c_2.png"},"other":{"/x":"/y"}})");
    EXPECT_EQ(ZELCacheController::getFileArray(maps),
              (std::vector<std::string>{"/a_1.js", "/a_1.js", "/c_2.png"}));
}

}  // namespace
}  // namespace zel
