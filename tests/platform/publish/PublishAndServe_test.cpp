// The web app team's road: publish a www folder, serve it on loopback, and let a refresh fetch it; after a
// restart with the new version, every file of the web app is answered from the cache.
#include "core/cache/CacheURL.h"
#include "core/cache/ZELCacheController.h"
#include "core/fs/Files.h"
#include "core/json/DictionaryJSON.h"
#include "core/support/TestSupport.h"
#include "platform/net/ZELDevServer.h"
#include "platform/net/ZELSoupDownloaderFactory.h"
#include "platform/publish/ZELPublisher.h"
#include "platform/support/TestHTTPServer.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

namespace zel::platform {
namespace {

struct FinishCounter : ZELCacheControllerDelegate {
    void didFinishRefreshingWebCache() override { ++count; }
    int count = 0;
};

struct Answer {
    int status = 0;
    std::string body;
    std::map<std::string, std::string> headers;
};

Answer fetch(const std::string& method, const std::string& url) {
    SoupSession* session = soup_session_new();
    SoupMessage* message = soup_message_new(method.c_str(), url.c_str());
    GBytes* body = soup_session_send_and_read(session, message, nullptr, nullptr);
    Answer answer{static_cast<int>(soup_message_get_status(message)), "", {}};
    if (body != nullptr) {
        gsize size = 0;
        const auto* data = static_cast<const char*>(g_bytes_get_data(body, &size));
        answer.body.assign(data != nullptr ? data : "", size);
        g_bytes_unref(body);
    }
    soup_message_headers_foreach(
        soup_message_get_response_headers(message),
        [](const char* name, const char* value, gpointer headers) {
            (*static_cast<std::map<std::string, std::string>*>(headers))[name] = value;
        },
        &answer.headers);
    g_object_unref(message);
    g_object_unref(session);
    return answer;
}

class PublishTest : public testing::Test {
  protected:
    void SetUp() override {
        const std::map<std::string, std::string> files = {{"index.html", "<html>app</html>"},
                                                          {"js/app.js", "console.log(1)"},
                                                          {"js/lib/x.min.js", "x"},
                                                          {"css/app.css", "body{}"},
                                                          {"img/logo.png", "\x89PNG"},
                                                          {"styles/theme.less", "@a: 1;"},
                                                          {"data/list.json", "[1]"},
                                                          {"notes.txt", "plain"},
                                                          {"img/two words.gif", "GIF89a"},
                                                          {".hidden/secret.js", "secret"},
                                                          {"js/.swap.js", "swap"}};
        for (const auto& [path, text] : files) ASSERT_TRUE(fs::writeFileAtomically(www / path, text));
        std::filesystem::create_symlink(www / "js/app.js", www / "js/link.js");
    }

    Value document(const std::string& name) const {
        return json::dictionaryWithJSONString(fs::readFile(out / "player/mac/config" / name).value_or(""));
    }

    test::ScratchDirectory scratch;
    std::filesystem::path www = scratch.path() / "www";
    std::filesystem::path out = scratch.path() / "published";
};

TEST_F(PublishTest, HashesEachKindAndMirrorsTheRest) {
    ZELPublisher publisher(www, out, "2099/01/02");
    const auto result = publisher.publish();
    ASSERT_TRUE(result) << publisher.error();
    EXPECT_EQ(result->files, 9u);
    EXPECT_EQ(result->hashed, 8u);

    const Value js = document("js_map.json");
    const std::string digest = ZELPublisher::contentDigest("console.log(1)");
    EXPECT_EQ(js.at("/js/app.js"), "/js/app_" + digest + ".js");
    EXPECT_EQ(js.at("/js/lib/x.min.js"), "/js/lib/x.min_" + ZELPublisher::contentDigest("x") + ".js");
    EXPECT_EQ(js.size(), 2u);  // hidden files and links are left out
    const Value media = document("media_map.json");
    for (const char* path :
         {"/img/logo.png", "/styles/theme.less", "/data/list.json", "/img/two words.gif"}) {
        EXPECT_TRUE(media.contains(path)) << path;
    }
    EXPECT_EQ(media.at("/img/two words.gif"),
              "/img/two%20words_" + ZELPublisher::contentDigest("GIF89a") + ".gif");
    EXPECT_EQ(document("css_map.json").size(), 1u);
    EXPECT_EQ(document("html_map.json").size(), 1u);
    EXPECT_EQ(fs::readFile(out / "player/mac/build/js" / ("app_" + digest + ".js")), "console.log(1)");
    EXPECT_EQ(fs::readFile(out / "player/mac/build/img" /
                           ("two words_" + ZELPublisher::contentDigest("GIF89a") + ".gif")),
              "GIF89a");
    EXPECT_EQ(fs::readFile(out / "player/mac/www/notes.txt"), "plain");
    EXPECT_EQ(fs::readFile(out / "player/mac/www/version.txt"), "2099/01/02");
    EXPECT_EQ(fs::readFile(out / "player/mac/config/cache_version"), "2099/01/02");
    EXPECT_FALSE(std::filesystem::exists(out / "player/mac/www/.hidden"));

    // A changed file gets a new hashed path; the old one stays for refreshes still under way.
    ASSERT_TRUE(fs::writeFileAtomically(www / "js/app.js", "console.log(2)"));
    ASSERT_TRUE(ZELPublisher(www, out, "2099/01/03").publish());
    EXPECT_EQ(document("js_map.json").at("/js/app.js"),
              "/js/app_" + ZELPublisher::contentDigest("console.log(2)") + ".js");
    EXPECT_TRUE(std::filesystem::exists(out / "player/mac/build/js" / ("app_" + digest + ".js")));

    ZELPublisher missing(scratch.path() / "nothing", out, "2099/01/04");
    EXPECT_FALSE(missing.publish());
    EXPECT_NE(missing.error().find("not a folder"), std::string::npos);
}

TEST_F(PublishTest, TheDevServerServesThePublishedFolderAndNothingElse) {
    ASSERT_TRUE(ZELPublisher(www, out, "2099/01/02").publish());
    std::filesystem::create_symlink(www / "notes.txt", out / "player/mac/www/link-out.txt");
    ZELDevServer server(out);
    std::vector<std::string> access;
    server.setRequestLogger([&](const std::string& method, const std::string& path, int status) {
        access.push_back(method + " " + path + " " + std::to_string(status));
    });
    ASSERT_TRUE(server.listen(0)) << server.error();
    const std::string base = "http://" + server.hostPort();

    // The client runs synchronously on a thread of its own while this thread's loop serves.
    const auto ask = [&](const std::string& method, const std::string& path) {
        Answer answer;
        bool done = false;
        std::thread client([&] {
            answer = fetch(method, base + path);
            done = true;
        });
        EXPECT_TRUE(test::runUntil([&] { return done; }));
        client.join();
        return answer;
    };
    const Answer version = ask("GET", "/player/mac/config/cache_version");
    EXPECT_EQ(version.status, 200);
    EXPECT_EQ(version.body, "2099/01/02");
    EXPECT_EQ(version.headers.at("Cache-Control"), "no-cache");
    EXPECT_EQ(version.headers.at("Access-Control-Allow-Origin"), "*");
    EXPECT_EQ(ask("GET", "/player/mac/www/css/app.css").headers.at("Content-Type"), "text/css");
    const Answer head = ask("HEAD", "/player/mac/www/index.html");
    EXPECT_EQ(head.status, 200);
    EXPECT_TRUE(head.body.empty());
    EXPECT_EQ(ask("GET", "/player/mac/www/missing.js").status, 404);
    EXPECT_EQ(ask("GET", "/player/mac/www/link-out.txt").status, 404);
    EXPECT_EQ(ask("GET", "/player/mac/www/a%5Cb").status, 403);
    EXPECT_EQ(ask("POST", "/player/mac/config/cache_version").status, 405);
    EXPECT_EQ(access.front(), "GET /player/mac/config/cache_version 200");
}

TEST_F(PublishTest, ARefreshFromTheDevServerServesThePublishedAppAfterARestart) {
    ASSERT_TRUE(ZELPublisher(www, out, "2099/01/02").publish());
    ZELDevServer server(out);
    ASSERT_TRUE(server.listen(0));
    const std::filesystem::path work = scratch.path() / "work";
    const std::filesystem::path bundle = scratch.path() / "bundle";
    ASSERT_TRUE(fs::writeFileAtomically(bundle / "cache_version", "2014/03/28"));
    ASSERT_TRUE(fs::writeFileAtomically(bundle / "www/js/app.js", "bundled"));
    const ZELCacheLocations locations{work, bundle, server.hostPort(),
                                      "http://" + server.hostPort() + "/player/mac/config"};
    test::LogCapture log;
    FinishCounter finished;
    {
        ZELCacheController controller(locations, std::make_unique<ZELSoupDownloaderFactory>());
        controller.setDelegate(&finished);
        EXPECT_EQ(controller.getLocalDataWithURLRequest("http://h/player/mac/www/js/app.js"), "bundled");
        controller.refreshLocalCache();
        ASSERT_TRUE(test::runUntil([&] { return finished.count == 1; }));
    }
    ASSERT_TRUE(fs::writeFileAtomically(work / "cache_version", "2099/01/02"));  // what the web app records

    ZELCacheController restarted(locations, nullptr);
    EXPECT_FALSE(restarted.cacheOlderThanBundle());
    for (const char* path : {"index.html", "js/app.js", "js/lib/x.min.js", "css/app.css", "img/logo.png",
                             "styles/theme.less", "data/list.json", "img/two%20words.gif"}) {
        const std::string url = "http://" + server.hostPort() + "/player/mac/www/" + path;
        EXPECT_EQ(
            restarted.getLocalDataWithURLRequest(url),
            fs::readFile(out / "player/mac/www" / cache::urlPath("http://h/" + std::string(path)).substr(1)))
            << path;
    }
    // Files no map names are not cached; the web app gets them from the network.
    EXPECT_EQ(restarted.getLocalDataWithURLRequest("http://h/player/mac/www/notes.txt"), std::nullopt);
}

}  // namespace
}  // namespace zel::platform
