#include "platform/net/ZELLoopbackPeer.h"
#include "platform/net/ZELSoupDownloaderFactory.h"
#include "platform/net/ZELWebProxy.h"

#include "core/support/TestSupport.h"
#include "support/Program.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <tuple>

namespace zel::platform {
namespace {

TEST(LoopbackPeerTest, OnlyAnEstablishedRowWithBothPortsNamesTheSocket) {
    const std::string table =
        "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode\n"
        "   0: 0100007F:A1B2 0100007F:1F90 06 00000000:00000000 03:00000000 00000000     0        0 0 3\n"
        "   1: 0100007F:1F90 0100007F:A1B2 01 00000000:00000000 00:00000000 00000000     0        0 111 1\n"
        "   2: garbage\n"
        "   3: 0100007F:A1B2 0100007F:1F90 01 00000000:00000000 00:00000000 00000000  1000        0 12345 "
        "1\n";
    EXPECT_EQ(ZELLoopbackPeer::socketInode(table, 0xA1B2, 0x1F90), 12345u);
    EXPECT_EQ(ZELLoopbackPeer::socketInode(table, 0xA1B3, 0x1F90), 0u);
}

// A connection from a child (a shell opening the port) is ours; one from this process itself is not.
TEST(LoopbackPeerTest, APeerHeldByAChildIsOurs) {
    GSocketListener* listener = g_socket_listener_new();
    const guint16 port = g_socket_listener_add_any_inet_port(listener, nullptr, nullptr);
    const std::string script = "exec 3<>/dev/tcp/127.0.0.1/" + std::to_string(port) + "; read -t 20 <&3";
    GSubprocess* child =
        g_subprocess_new(G_SUBPROCESS_FLAGS_NONE, nullptr, "bash", "-c", script.c_str(), nullptr);
    ASSERT_NE(child, nullptr);
    GSocket* fromChild = g_socket_listener_accept_socket(listener, nullptr, nullptr, nullptr);
    GSocketClient* client = g_socket_client_new();
    GSocketConnection* own = g_socket_client_connect_to_host(client, "127.0.0.1", port, nullptr, nullptr);
    GSocket* fromSelf = g_socket_listener_accept_socket(listener, nullptr, nullptr, nullptr);
    ZELLoopbackPeer peers;
    EXPECT_TRUE(peers.isOwnChild(fromChild));
    EXPECT_TRUE(peers.isOwnChild(fromChild));  // from the mark
    EXPECT_FALSE(peers.isOwnChild(fromSelf));
    g_subprocess_force_exit(child);
    g_subprocess_wait(child, nullptr, nullptr);
    for (gpointer object : {G_OBJECT(fromChild), G_OBJECT(fromSelf), G_OBJECT(own), G_OBJECT(client),
                            G_OBJECT(child), G_OBJECT(listener)})
        g_object_unref(object);
}

struct DownloadersTest : testing::Test, ZELAsyncDownloaderDelegate {
    void dataDownloadedForURLRequest(const std::string& data, const std::string&) override {
        bodies.push_back(data);
    }
    std::vector<std::string> bodies;
    std::vector<SoupServerMessage*> held;
    test::Loopback server{[this](SoupServerMessage* message, const std::string&) {
        soup_server_message_pause(message);
        held.push_back(SOUP_SERVER_MESSAGE(g_object_ref(message)));
    }};
};

TEST_F(DownloadersTest, ADestroyedFactoryNeverCallsBack) {
    auto factory = std::make_unique<ZELSoupDownloaderFactory>();
    factory->startAsyncDownloader("http://" + server.host() + "/late", *this);
    ASSERT_TRUE(test::waitFor([&] { return held.size() == 1; }));
    factory.reset();
    soup_server_message_set_status(held[0], 200, nullptr);
    soup_server_message_set_response(held[0], "text/plain", SOUP_MEMORY_STATIC, "too late", 8);
    soup_server_message_unpause(held[0]);
    g_object_unref(held[0]);
    test::waitFor([] { return false; }, std::chrono::milliseconds(100));
    EXPECT_TRUE(bodies.empty());
}

// A libsoup client using the web proxy with its credentials, as the web view does.
struct WebProxyTest : testing::Test {
    void SetUp() override {
        ASSERT_TRUE(proxy.listen());
        resolver.reset(g_simple_proxy_resolver_new(proxy.uri().c_str(), nullptr));
        client.reset(soup_session_new_with_options("proxy-resolver", resolver.get(), nullptr));
        const std::string pair = proxy.user() + ":" + proxy.secret();
        gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(pair.data()), pair.size());
        credentials = std::string("Basic ") + encoded;
        g_free(encoded);
    }
    // Sends a request and waits for the whole answer; a body of -1 bytes goes in chunks.
    std::string send(SoupMessage* message, const std::string& body = {}, bool chunked = false) {
        SoupMessageHeaders* headers = soup_message_get_request_headers(message);
        soup_message_headers_replace(headers, "Proxy-Authorization", credentials.c_str());
        soup_message_headers_replace(headers, "X-Page", "p");
        if (!body.empty()) {
            GObjectPtr<GInputStream> stream(
                g_memory_input_stream_new_from_data(body.data(), body.size(), nullptr));
            soup_message_set_request_body(message, "text/plain", stream.get(), chunked ? -1 : body.size());
        }
        struct Received {
            bool done = false;
            GBytes* bytes = nullptr;  // none when the answer failed
        } received;
        soup_session_send_and_read_async(
            client.get(), message, G_PRIORITY_DEFAULT, nullptr,
            +[](GObject* session, GAsyncResult* result, gpointer out) {
                auto* received = static_cast<Received*>(out);
                received->bytes = soup_session_send_and_read_finish(SOUP_SESSION(session), result, nullptr);
                received->done = true;
            },
            &received);
        EXPECT_TRUE(test::waitFor([&] { return received.done; }));
        std::string text;
        if (received.bytes != nullptr) {
            text.assign(static_cast<const char*>(g_bytes_get_data(received.bytes, nullptr)),
                        g_bytes_get_size(received.bytes));
            g_bytes_unref(received.bytes);
        }
        return text;
    }

    ZELURLProtocolDelegate noFiles;
    ZELWebProxy proxy{noFiles, [](const std::string&) { return false; }};
    GObjectPtr<GProxyResolver> resolver;
    GObjectPtr<SoupSession> client;
    std::string credentials;
};

// The web view drops a connection after an answer that ends at close: every kind must keep it, with one Date.
TEST_F(WebProxyTest, EveryKindOfAnswerKeepsTheClientsConnection) {
    test::Loopback origin{[](SoupServerMessage* message, const std::string& path) {
        if (path == "/204-length")  // as most servers send it (a SoupServer never would)
            return test::Loopback::writeRaw(message, "HTTP/1.1 204 No Content\r\nContent-Length: 0\r\n\r\n");
        const guint status = g_ascii_isdigit(path[1]) ? std::stoi(path.substr(1)) : 200;
        soup_server_message_set_status(message, status, nullptr);
        soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_STATIC, "body",
                                         status == 200 ? 4 : 0);
        SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
        if (path == "/chunked") soup_message_headers_set_encoding(headers, SOUP_ENCODING_CHUNKED);
        if (path == "/eof") soup_message_headers_set_encoding(headers, SOUP_ENCODING_EOF);
        soup_message_body_complete(soup_server_message_get_response_body(message));
    }};
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
        GObjectPtr<SoupMessage> message(soup_message_new(method, ("http://" + origin.host() + path).c_str()));
        EXPECT_EQ(send(message.get()).size(), length);
        SoupMessageHeaders* headers = soup_message_get_response_headers(message.get());
        EXPECT_STREQ(soup_message_headers_get_list(headers, "Date"),
                     soup_message_headers_get_one(headers, "Date"));
        connections.insert(soup_message_get_connection_id(message.get()));
    }
    EXPECT_EQ(connections.size(), 1u);
}

// Small bodies go to the origin whole, larger and chunked ones stream through the proxy server: either way
// the origin gets the request as the page made it, without the proxy's credentials; and a pooled connection
// the origin has closed meanwhile is not sent on.
TEST_F(WebProxyTest, RequestsReachTheOriginAsMade) {
    test::Loopback origin{[](SoupServerMessage* message, const std::string& path) {
        if (path == "/once")
            return test::Loopback::writeRaw(message, "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nonce");
        SoupMessageHeaders* headers = soup_server_message_get_request_headers(message);
        const std::string seen =
            std::string(soup_server_message_get_method(message)) + " " +
            std::to_string(soup_server_message_get_request_body(message)->length) + " " +
            soup_message_headers_get_one(headers, "X-Page") +
            (soup_message_headers_get_one(headers, "Proxy-Authorization") ? " +auth" : "");
        soup_server_message_set_status(message, 200, nullptr);
        soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_COPY, seen.data(), seen.size());
    }};
    for (const auto& [method, path, size, chunked, expected] :
         {std::tuple{"POST", "/small", 1000, false, "POST 1000 p"},
          {"PUT", "/large", 300000, false, "PUT 300000 p"},
          {"POST", "/chunked", 5000, true, "POST 5000 p"},
          {"GET", "/once", 0, false, "once"},
          {"GET", "/after", 0, false, "GET 0 p"}}) {
        SCOPED_TRACE(path);
        GObjectPtr<SoupMessage> message(soup_message_new(method, ("http://" + origin.host() + path).c_str()));
        EXPECT_EQ(send(message.get(), std::string(size, 'x'), chunked), expected);
    }
}

// What an origin sends wrongly reaches the page as a gateway error or a cut answer, never as a wrong body,
// and the proxy goes on serving.
TEST_F(WebProxyTest, AMalformedAnswerBecomesAGatewayErrorOrACutAnswer) {
    test::Loopback origin{[](SoupServerMessage* message, const std::string& path) {
        if (path == "/fine") return soup_server_message_set_status(message, 204, nullptr);
        const std::map<std::string, std::string> raw{
            {"/garbage", "hello\r\n\r\n"},
            {"/length", "HTTP/1.1 200 OK\r\nContent-Length: 4x\r\n\r\nbody"},
            {"/lengths", "HTTP/1.1 200 OK\r\nContent-Length: 4\r\nContent-Length: 5\r\n\r\nbody"},
            {"/silent", ""},
            {"/short", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nbody"}};  // and then the origin closes
        test::Loopback::writeRaw(message, raw.at(path));
    }};
    for (const auto& [path, status] : {std::pair{"/garbage", 502u},
                                       {"/length", 502u},
                                       {"/lengths", 502u},
                                       {"/silent", 502u},
                                       {"/short", 0u},
                                       {"/fine", 204u}}) {
        SCOPED_TRACE(path);
        GObjectPtr<SoupMessage> message(soup_message_new("GET", ("http://" + origin.host() + path).c_str()));
        const std::string body = send(message.get());
        // A cut answer fails in the client.
        EXPECT_NE(body, "body");
        EXPECT_EQ(status != 0 ? guint{soup_message_get_status(message.get())} : 0u, status);
    }
}

}  // namespace
}  // namespace zel::platform
