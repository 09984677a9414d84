// The web cache seen from the page, against the web team's own ostrelle-publish and ostrelle-devserver.
#include "App.h"

#include <sys/socket.h>

#include <fstream>

namespace zel::test {
namespace {

const std::string kPublished = "2099/01/01";
const json kLocalHeaders = json::array({"content-length", "content-type", "x-hy-hashmap-cache"});

class WebCache : public App {
  protected:
    void SetUp() override {
        const fs::path root = home_.path;
        copyBundle();
        // The published web app differs from the bundled one in its build mark.
        fs::copy(bundle_ / "www", root / "www", fs::copy_options::recursive);
        std::string probe = readFile(root / "www/js/probe.js");
        probe.replace(probe.find("'bundle'"), 8, "'published'");
        std::ofstream(root / "www/js/probe.js", std::ios::trunc) << probe;
        const fs::path tools = fs::path(OSTRELLE_PROGRAM).parent_path();
        run({tools / "ostrelle-publish", root / "www", root / "published", "--version", kPublished});
        server_ = std::make_unique<Program>(
            std::vector<std::string>{tools / "ostrelle-devserver", root / "published", "--port", "0"});
        const std::size_t at = server_->expectLine(
            [](const std::string& l) { return l.starts_with("http://"); }, "with its address");
        pageHost_ = server_->lines()[at].substr(7);
    }
    void start(const std::string& query) {
        launchPage(query, {"--config-base-url", "http://" + pageHost_ + "/player/mac/config"});
    }
    bool logged(const std::string& prefix) const {
        const auto log = nativeLog();
        return std::any_of(log.begin(), log.end(),
                           [&](const std::string& l) { return l.starts_with(prefix); });
    }

    std::unique_ptr<Program> server_;
};

TEST_F(WebCache, ServesTheBundleThenTheRefreshedCacheAndCancelsWhatAPageLeaves) {
    start("case=refresh");
    const json first = report("cached");
    EXPECT_EQ(first["build"], "bundle");
    EXPECT_EQ(first["script"]["cache"], "local");
    // The published version is not in the bundle: it comes from the server through the protocol.
    const json version = report("published");
    EXPECT_EQ(version["status"], 200);
    EXPECT_EQ(version["body"], kPublished);
    EXPECT_EQ(version["cache"], nullptr);
    EXPECT_TRUE(logged("load raw http://" + pageHost_ + "/player/mac/www/version.txt?"));
    std::size_t at = 0;
    EXPECT_EQ(report("answer", 0, &at),
              json({{"id", "refresh"}, {"status", 0}, {"argc", 2}, {"result", nullptr}}));
    const json recorded = report("answer", at + 1);
    ASSERT_EQ(recorded["id"], "recorded");
    EXPECT_EQ(json::parse(recorded["result"].get<std::string>())["cacheVersion"], kPublished);
    expectLog("finish download cache file");
    EXPECT_EQ(reports("answer", at + 1).size(), 1u) << "the refresh answered more than once";
    EXPECT_TRUE(waitFor([&] { return readFile(workDir() / "cache_version") == kPublished; }));

    // The next start serves the published copy from the cache; a miss is the server's own answer, and a
    // server that never answers sees the page leaving as the end of its connection.
    int stalled = -1;
    Loopback silent([&](SoupServerMessage* msg, const std::string&) {
        soup_server_message_pause(msg);
        stalled = g_socket_get_fd(soup_server_message_get_socket(msg));
    });
    const auto hungUp = [&] {
        char c;
        return recv(stalled, &c, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
    };
    start("case=miss&stall=" + silent.host());
    const json second = report("cached");
    EXPECT_EQ(second["build"], "published");
    EXPECT_EQ(second["script"]["headerNames"], kLocalHeaders);
    EXPECT_TRUE(logged("getLocalData http://" + pageHost_ + "/player/mac/www/js/probe.js " +
                       (workDir() / "Cache" / pageHost_ / "player/mac/build/js/probe_").string()));
    const json miss = report("miss");
    SCOPED_TRACE(miss.dump());
    EXPECT_EQ(miss["status"], 404);
    EXPECT_EQ(miss["server"], "ostrelle-devserver");
    EXPECT_EQ(miss["cacheControl"], "no-cache");
    EXPECT_EQ(miss["cache"], nullptr);
    expectLog("load raw http://" + pageHost_ + "/player/mac/www/missing.js");

    report("waiting");
    silent.expectRequest("/player/mac/www/stall.js");
    const std::string stall = "http://" + silent.host() + "/player/mac/www/stall.js";
    expectLog("load raw " + stall);
    EXPECT_FALSE(hungUp());
    const Rect window = mainWindow();
    click(window.x + window.width / 2, window.y + window.height * 2 / 3);
    expectLog("load cancelled " + stall);
    EXPECT_TRUE(waitFor(hungUp)) << "the connection was left open";
}

}  // namespace
}  // namespace zel::test
