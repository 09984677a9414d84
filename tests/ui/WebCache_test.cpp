// The web cache seen from the page: the web app comes from the bundle, a refresh from the loopback dev server
// fills the cache, and once the page has recorded the new version the next start serves the cached copy;
// misses are answered by the server itself, and leaving the page cancels a transfer still waiting. The web
// app is published with ostrelle-publish and served by ostrelle-devserver, the web team's own tools.
#include "App.h"

#include <fstream>

namespace zel::test {
namespace {

const std::string kPublished = "2099/01/01";
const json kLocalHeaders = json::array({"content-length", "content-type", "x-hy-hashmap-cache"});

// Takes one connection on loopback, reads the request, never answers, and notices when the client hangs up.
struct SilentServer {
    SilentServer() {
        GSocketAddress* any = g_inet_socket_address_new_from_string("127.0.0.1", 0);
        GSocketAddress* bound = nullptr;
        g_socket_listener_add_address(G_SOCKET_LISTENER(service), any, G_SOCKET_TYPE_STREAM,
                                      G_SOCKET_PROTOCOL_TCP, nullptr, &bound, nullptr);
        host = "127.0.0.1:" + std::to_string(g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(bound)));
        g_object_unref(any);
        g_object_unref(bound);
        g_signal_connect(service, "incoming",
                         G_CALLBACK(+[](GSocketService*, GSocketConnection* c, GObject*, gpointer self) {
                             static_cast<SilentServer*>(self)->connection = G_IO_STREAM(g_object_ref(c));
                             static_cast<SilentServer*>(self)->read();
                             return TRUE;
                         }),
                         this);
    }
    ~SilentServer() {
        g_cancellable_cancel(cancel);
        g_socket_service_stop(service);
        for (GObject* o : {G_OBJECT(service), G_OBJECT(cancel), G_OBJECT(connection)}) {
            if (o) g_object_unref(o);
        }
    }
    void read() {
        g_input_stream_read_bytes_async(
            g_io_stream_get_input_stream(connection), 4096, G_PRIORITY_DEFAULT, cancel,
            [](GObject* stream, GAsyncResult* result, gpointer self) {
                GError* error = nullptr;
                const std::string got =
                    take(g_input_stream_read_bytes_finish(G_INPUT_STREAM(stream), result, &error));
                if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) return g_error_free(error);
                g_clear_error(&error);
                auto* server = static_cast<SilentServer*>(self);
                server->received += got;
                got.empty() ? void(server->hungUp = true) : server->read();
            },
            this);
    }
    GSocketService* service = g_socket_service_new();
    GCancellable* cancel = g_cancellable_new();
    GIOStream* connection = nullptr;
    std::string host, received;
    bool hungUp = false;
};

class WebCache : public App {
  protected:
    void SetUp() override {
        const fs::path root = home_.path;
        fs::copy(kUiDir / "cache-bundle", root / "bundle", fs::copy_options::recursive);
        bundle_ = root / "bundle";
        // The published web app differs from the bundled one in its build mark, and has a file more.
        fs::copy(bundle_ / "www", root / "www", fs::copy_options::recursive);
        std::string probe = readFile(root / "www/js/cache-probe.js");
        probe.replace(probe.find("'bundle'"), 8, "'published'");
        std::ofstream(root / "www/js/cache-probe.js", std::ios::trunc) << probe;
        std::ofstream(root / "www/extra.txt") << "extra file";
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
    const json first = report("ready");
    EXPECT_EQ(first["build"], "bundle");
    EXPECT_EQ(first["script"]["cache"], "local");
    EXPECT_EQ(first["script"]["headerNames"], kLocalHeaders);
    EXPECT_EQ(first["page"]["cache"], "local");
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

    // The next start serves the published copy from the cache; a miss is the server's own answer.
    SilentServer silent;
    start("case=miss&stall=" + silent.host);
    const json second = report("ready");
    EXPECT_EQ(second["build"], "published");
    EXPECT_EQ(second["script"]["headerNames"], kLocalHeaders);
    EXPECT_TRUE(logged("getLocalData http://" + pageHost_ + "/player/mac/www/js/cache-probe.js " +
                       (workDir() / "Cache" / pageHost_ / "player/mac/build/js/cache-probe_").string()));
    const json miss = report("miss");
    SCOPED_TRACE(miss.dump());
    EXPECT_EQ(miss["missing"]["status"], 404);
    EXPECT_EQ(miss["missing"]["server"], "ostrelle-devserver");
    EXPECT_EQ(miss["missing"]["cacheControl"], "no-cache");
    EXPECT_EQ(miss["missing"]["cache"], nullptr);
    EXPECT_EQ(miss["extra"]["body"], "extra file");
    expectLog("load raw http://" + pageHost_ + "/player/mac/www/missing.js");

    report("waiting");
    EXPECT_TRUE(waitFor([&] { return silent.received.find("GET /player/mac/www/stall.js") == 0; }));
    const std::string stall = "http://" + silent.host + "/player/mac/www/stall.js";
    expectLog("load raw " + stall);
    EXPECT_FALSE(silent.hungUp);
    const Rect window = mainWindow();
    click(window.x + window.width / 2, window.y + window.height * 2 / 3);
    expectLog("load cancelled " + stall);
    EXPECT_TRUE(waitFor([&] { return silent.hungUp; })) << "the connection was left open";
}

}  // namespace
}  // namespace zel::test
