#include "core/cache/ZELQueueDownloader.h"
#include "core/support/TestSupport.h"
#include "platform/net/ZELSoupDownloaderFactory.h"
#include "platform/net/ZELWebProxy.h"
#include "platform/support/Loopback.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <set>

namespace zel::platform {
namespace {

// Hands out a fixed list of addresses and records every body that comes back, by address.
struct Recorder : ZELAsyncDownloaderDelegate, ZELQueueDownloaderDelegate {
    void dataDownloadedForURLRequest(const std::string& data, const std::string& url) override {
        bodies[url] = data;
    }
    void dataDownloadedForURL(const std::string& data, const std::string& url) override {
        bodies[url] = data;
    }
    std::optional<std::string> queueNextURL() override {
        ++asked;
        if (urls.empty()) return std::nullopt;
        std::string next = std::move(urls.front());
        urls.pop_front();
        return next;
    }
    std::deque<std::string> urls;
    std::map<std::string, std::string> bodies;
    int asked = 0;
};

struct DownloadersTest : testing::Test {
    std::string big = std::string(300 * 1024, 'x') + "y";
    std::vector<SoupServerMessage*> held;
    test::LoopbackServer server{[this](SoupServerMessage* message, const std::string& path) {
        if (path == "/late") {
            soup_server_message_pause(message);
            held.push_back(SOUP_SERVER_MESSAGE(g_object_ref(message)));
        } else {
            test::LoopbackServer::answer(message, path == "/big" ? big : "<h1>Not Found</h1>",
                                         path == "/big" ? 200 : 404);
        }
    }};
    test::LogCapture log;
    ZELSoupDownloaderFactory downloads{std::chrono::seconds(1)};
    Recorder recorder;
};

TEST_F(DownloadersTest, AnyStatusHandsOverTheWholeBodyBypassingCaches) {
    for (const char* url : {"/big?1", "/missing", "http://127.0.0.1:1/refused", "not a url"})
        downloads.startAsyncDownloader(url[0] == '/' ? server.url(url) : url, recorder);
    ASSERT_TRUE(test::runUntil([&] { return downloads.runningCount() == 0; }));
    EXPECT_EQ(recorder.bodies,
              (std::map<std::string, std::string>{{server.url("/big?1"), big},
                                                  {server.url("/missing"), "<h1>Not Found</h1>"}}));
    EXPECT_EQ(server.noCache, (std::vector<std::string>{"no-cache", "no-cache"}));
    EXPECT_EQ(log.lines.front(), "download " + server.url("/big?1"));
    EXPECT_TRUE(log.has("download failed not a url: not an HTTP address"));
}

TEST_F(DownloadersTest, ADestroyedFactoryNeverCallsBack) {
    auto factory = std::make_unique<ZELSoupDownloaderFactory>();
    factory->startAsyncDownloader(server.url("/late"), recorder);
    ASSERT_TRUE(test::runUntil([&] { return held.size() == 1; }));
    factory.reset();
    test::LoopbackServer::answer(held[0], "too late");
    soup_server_message_unpause(held[0]);
    g_object_unref(held[0]);
    const gint64 until = g_get_monotonic_time() + 100000;
    test::runUntil([&] { return g_get_monotonic_time() > until; });
    EXPECT_TRUE(recorder.bodies.empty());
}

TEST_F(DownloadersTest, AQueueFetchesStrictlyOneAfterAnother) {
    for (int i = 0; i < 6; ++i) recorder.urls.push_back(server.url("/big?" + std::to_string(i)));
    ZELQueueDownloader queue(downloads);
    queue.setDelegate(&recorder);
    queue.start();
    ASSERT_TRUE(test::runUntil([&] { return recorder.asked == 7; }));
    EXPECT_EQ(recorder.bodies.size(), 6u);
    // The next file is asked for only once the previous answer has been written completely.
    for (int i = 0; i < 6; ++i) EXPECT_GE(server.finishedBefore[i], i);
    EXPECT_EQ(log.lines.back(), "start (null)");
}

// The web view's network stack drops a connection after an answer it takes as ending at close; through the
// proxy, answers with and without a body must all leave it open, each with a single Date field.
TEST(WebProxyTest, EveryKindOfAnswerKeepsTheClientsConnection) {
    test::LoopbackServer origin{[](SoupServerMessage* message, const std::string& path) {
        if (path == "/204-length") {  // as most servers send it (a SoupServer never would)
            GIOStream* stream = soup_server_message_steal_connection(message);
            const std::string raw = "HTTP/1.1 204 No Content\r\nContent-Length: 0\r\n\r\n";
            g_output_stream_write_all(g_io_stream_get_output_stream(stream), raw.data(), raw.size(), nullptr,
                                      nullptr, nullptr);
            g_io_stream_close(stream, nullptr, nullptr);
            g_object_unref(stream);
            return;
        }
        const guint status = g_ascii_isdigit(path[1]) ? std::stoi(path.substr(1)) : 200;
        test::LoopbackServer::answer(message, status == 200 ? "body" : "", status);
        SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
        if (path == "/chunked") soup_message_headers_set_encoding(headers, SOUP_ENCODING_CHUNKED);
        if (path == "/eof") soup_message_headers_set_encoding(headers, SOUP_ENCODING_EOF);
        soup_message_body_complete(soup_server_message_get_response_body(message));
    }};
    ZELURLProtocolDelegate noFiles;
    ZELWebProxy proxy(noFiles, [](const std::string&) { return false; });
    ASSERT_TRUE(proxy.listen());
    GObjectPtr<GProxyResolver> resolver(g_simple_proxy_resolver_new(proxy.uri().c_str(), nullptr));
    GObjectPtr<SoupSession> client(soup_session_new_with_options("proxy-resolver", resolver.get(), nullptr));
    const std::string pair = proxy.user() + ":" + proxy.secret();
    gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(pair.data()), pair.size());
    const std::string credentials = std::string("Basic ") + encoded;
    g_free(encoded);
    std::set<guint64> connections;
    for (const auto& [method, path, length] : {std::tuple{"GET", "/204", 0u},
                                               {"GET", "/304", 0u},
                                               {"HEAD", "/200", 0u},
                                               {"GET", "/200", 4u},
                                               {"GET", "/chunked", 4u},
                                               {"GET", "/eof", 4u},
                                               {"GET", "/204-length", 0u},
                                               {"GET", "/204", 0u}}) {
        SCOPED_TRACE(std::string(method) + " " + path);
        GObjectPtr<SoupMessage> message(soup_message_new(method, origin.url(path).c_str()));
        soup_message_headers_replace(soup_message_get_request_headers(message.get()), "Proxy-Authorization",
                                     credentials.c_str());
        GBytes* received = nullptr;
        soup_session_send_and_read_async(
            client.get(), message.get(), G_PRIORITY_DEFAULT, nullptr,
            +[](GObject* session, GAsyncResult* result, gpointer out) {
                *static_cast<GBytes**>(out) =
                    soup_session_send_and_read_finish(SOUP_SESSION(session), result, nullptr);
            },
            &received);
        ASSERT_TRUE(test::runUntil([&] { return received != nullptr; }));
        EXPECT_EQ(g_bytes_get_size(received), length);
        g_bytes_unref(received);
        SoupMessageHeaders* headers = soup_message_get_response_headers(message.get());
        EXPECT_STREQ(soup_message_headers_get_list(headers, "Date"),
                     soup_message_headers_get_one(headers, "Date"));
        connections.insert(soup_message_get_connection_id(message.get()));
    }
    EXPECT_EQ(connections.size(), 1u);
}

}  // namespace
}  // namespace zel::platform
