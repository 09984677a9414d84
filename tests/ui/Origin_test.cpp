// The web app at its service's own address: the page's origin is the service's, its API calls reach the
// service with its cookies, other origins are treated as a browser treats them, the bundled files never reach
// the network, and only the program itself can use the proxy that makes this so.
#include "ShellTest.h"

#include <libsoup/soup.h>

#include <cstring>
#include <future>
#include <mutex>
#include <regex>
#include <thread>

namespace zel::test {
namespace {

// A stand-in for the service on loopback, on two ports (two origins), run by libsoup on a thread of its own.
// Records the path and Cookie field of every request it gets.
class LoopbackService {
  public:
    LoopbackService() {
        std::promise<void> ready;
        thread_ = std::thread([this, &ready] {
            g_main_context_push_thread_default(context_);
            server_ = soup_server_new(nullptr, nullptr);
            soup_server_add_handler(server_, nullptr, &LoopbackService::handle, this, nullptr);
            soup_server_add_websocket_handler(server_, "/api/echo", nullptr, nullptr, &LoopbackService::echo,
                                              nullptr, nullptr);
            for (std::uint16_t* port : {&port_, &otherPort_}) {
                soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr);
                GSList* uris = soup_server_get_uris(server_);
                for (GSList* u = uris; u; u = u->next) {
                    const auto p = static_cast<std::uint16_t>(g_uri_get_port(static_cast<GUri*>(u->data)));
                    if (p != port_) *port = p;
                }
                g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
            }
            ready.set_value();
            g_main_loop_run(loop_);
            soup_server_disconnect(server_);
            g_object_unref(server_);
            g_main_context_pop_thread_default(context_);
        });
        ready.get_future().wait();
    }
    ~LoopbackService() {
        g_main_context_invoke(
            context_,
            [](gpointer loop) {
                g_main_loop_quit(static_cast<GMainLoop*>(loop));
                return G_SOURCE_REMOVE;
            },
            loop_);
        thread_.join();
        g_main_loop_unref(loop_);
        g_main_context_unref(context_);
    }
    std::string host() const { return "127.0.0.1:" + std::to_string(port_); }
    std::string otherHost() const { return "127.0.0.1:" + std::to_string(otherPort_); }
    std::vector<std::pair<std::string, std::string>> requests() const {
        std::lock_guard lock(mutex_);
        return requests_;
    }

  private:
    static void handle(SoupServer*, SoupServerMessage* msg, const char* path, GHashTable*, gpointer self) {
        auto* service = static_cast<LoopbackService*>(self);
        SoupMessageHeaders* in = soup_server_message_get_request_headers(msg);
        SoupMessageHeaders* out = soup_server_message_get_response_headers(msg);
        const char* cookie = soup_message_headers_get_one(in, "Cookie");
        {
            std::lock_guard lock(service->mutex_);
            service->requests_.emplace_back(path, cookie ? cookie : "");
        }
        const std::string p = path;
        json body = {{"method", soup_server_message_get_method(msg)}, {"cookie", cookie ? cookie : ""}};
        if (p == "/api/ping") {
            SoupMessageBody* received = soup_server_message_get_request_body(msg);
            body["body"] = std::string(received->data ? received->data : "", received->length);
            if (!cookie) soup_message_headers_append(out, "Set-Cookie", "session=s1; Max-Age=3600; Path=/");
            soup_message_headers_append(out, "Set-Cookie", "seen=1; Max-Age=3600; Path=/");
        } else if (p == "/api/cors-open") {
            soup_message_headers_append(out, "Access-Control-Allow-Origin",
                                        soup_message_headers_get_one(in, "Origin"));
            soup_message_headers_append(out, "Access-Control-Allow-Credentials", "true");
        } else if (p == "/frame") {
            const char* page = "<script>parent.postMessage(typeof window.zelPlugin, '*')</script>";
            soup_server_message_set_status(msg, 200, nullptr);
            soup_server_message_set_response(msg, "text/html", SOUP_MEMORY_STATIC, page, strlen(page));
            return;
        } else if (p != "/api/cors-closed") {
            soup_server_message_set_status(msg, 404, nullptr);
            return;
        }
        const std::string text = body.dump();
        soup_server_message_set_status(msg, 200, nullptr);
        soup_server_message_set_response(msg, "application/json", SOUP_MEMORY_COPY, text.data(), text.size());
    }
    static void echo(SoupServer*, SoupServerMessage*, const char*, SoupWebsocketConnection* connection,
                     gpointer) {
        g_object_ref(connection);
        g_signal_connect(
            connection, "message", G_CALLBACK(+[](SoupWebsocketConnection* c, gint type, GBytes* m) {
                soup_websocket_connection_send_message(c, static_cast<SoupWebsocketDataType>(type), m);
            }),
            nullptr);
        g_signal_connect(connection, "closed", G_CALLBACK(g_object_unref), nullptr);
    }

    GMainContext* context_ = g_main_context_new();
    GMainLoop* loop_ = g_main_loop_new(context_, FALSE);
    SoupServer* server_ = nullptr;
    std::uint16_t port_ = 0, otherPort_ = 0;
    mutable std::mutex mutex_;
    std::vector<std::pair<std::string, std::string>> requests_;
    std::thread thread_;
};

// The status of one GET through the proxy at `proxyPort` without its credentials.
guint statusWithoutTheSecret(int proxyPort, const std::string& url) {
    const std::string proxy = "http://127.0.0.1:" + std::to_string(proxyPort);
    GProxyResolver* resolver = g_simple_proxy_resolver_new(proxy.c_str(), nullptr);
    SoupSession* session = soup_session_new_with_options("proxy-resolver", resolver, "timeout", 10u, nullptr);
    SoupMessage* msg = soup_message_new("GET", url.c_str());
    GBytes* body = soup_session_send_and_read(session, msg, nullptr, nullptr);
    const guint status = soup_message_get_status(msg);
    if (body) g_bytes_unref(body);
    g_object_unref(msg);
    g_object_unref(session);
    g_object_unref(resolver);
    return status;
}

class OriginTest : public ShellTest {};

TEST_F(OriginTest, TheWebAppLivesAtItsServicesAddress) {
    LoopbackService service;
    bundle_ = testBundle().parent_path() / "origin-bundle";
    pageHost_ = service.host();
    const std::string query = "other=" + service.otherHost();
    const std::vector<std::string> args{"--console-log",
                                        "--bundle",
                                        bundle_.string(),
                                        "--static-file-host",
                                        pageHost_,
                                        "--start-page",
                                        webAppURL("index.html", query + "&pass=first", pageHost_)};
    launchWithArgs(args);
    const json page = expectReport("origin");
    SCOPED_TRACE(page.dump());
    EXPECT_EQ(page["origin"], "http://" + service.host());
    EXPECT_EQ(page["bridge"], "object");
    EXPECT_EQ(page["get"]["body"]["method"], "GET");
    EXPECT_EQ(page["get"]["body"]["cookie"], "");
    EXPECT_EQ(page["cookie"], "session=s1; seen=1");  // both Set-Cookie fields arrived
    EXPECT_EQ(page["post"]["body"]["method"], "POST");
    EXPECT_EQ(page["post"]["body"]["body"], "posted text");
    EXPECT_EQ(page["post"]["body"]["cookie"], "session=s1; seen=1");
    EXPECT_EQ(page["corsOpen"]["status"], 200);
    // Cookies belong to the host, not the port: a credentialed request to the other origin carries them.
    EXPECT_EQ(page["corsOpen"]["body"]["cookie"], "session=s1; seen=1");
    EXPECT_TRUE(page["corsClosed"].contains("error"));  // the answer reached the page's browser, not the page
    EXPECT_EQ(page["missing"], 404);
    EXPECT_EQ(
        page["range"],
        json(
            {{"status", 206}, {"contentRange", "bytes 100-199/16044"}, {"length", 100}, {"cache", "local"}}));
    EXPECT_EQ(page["media"]["duration"], 2);
    EXPECT_EQ(page["media"]["at"], 1.5);
    EXPECT_EQ(page["socket"], "hello over the proxy");
    EXPECT_EQ(page["frame"], "undefined");

    // The bundled files never reached the service; the missing one was asked for where it was missing.
    std::vector<std::string> paths;
    for (const auto& [path, cookie] : service.requests()) paths.push_back(path);
    EXPECT_EQ(std::count(paths.begin(), paths.end(), "/player/mac/www/missing.js"), 1);
    for (const std::string& path : paths)
        EXPECT_EQ(path.find("/player/mac/www/js/"), std::string::npos) << path;
    expectLog("load raw http://" + service.host() + "/player/mac/www/missing.js");

    // Another local process cannot use the proxy, whatever it asks for.
    std::smatch port;
    const auto lines = nativeLog();
    const auto listening = std::find_if(lines.begin(), lines.end(), [](const std::string& l) {
        return l.starts_with("web proxy listening on");
    });
    ASSERT_NE(listening, lines.end());
    ASSERT_TRUE(std::regex_search(*listening, port, std::regex(R"(:(\d+)$)")));
    const std::size_t before = service.requests().size();
    EXPECT_EQ(statusWithoutTheSecret(std::stoi(port[1]), "http://" + service.host() + "/api/ping"), 407u);
    EXPECT_EQ(statusWithoutTheSecret(std::stoi(port[1]), webAppURL("index.html", "", pageHost_)), 407u);
    EXPECT_EQ(service.requests().size(), before);

    // The service's cookie outlives the program.
    std::vector<std::string> again = args;
    again.back() = webAppURL("index.html", query + "&pass=again", pageHost_);
    relaunchWithArgs(again);
    const json second = expectReport("origin");
    EXPECT_EQ(second["get"]["body"]["cookie"], "session=s1; seen=1") << second;
}

}  // namespace
}  // namespace zel::test
