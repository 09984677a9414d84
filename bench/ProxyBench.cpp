// The web proxy's own cost per request, without a browser around it: a libsoup client sends sequential GETs
// to a loopback server that answers 200 with a small JSON body, directly and through the proxy, alternately,
// several rounds. The server runs on a thread of its own, as it would in a process of its own; the client
// sends the proxy's credentials, being no child of this process.
#include "BenchCommon.h"

#include "core/cache/ZELURLProtocolDelegate.h"
#include "platform/net/ZELWebProxy.h"

#include <libsoup/soup.h>

#include <chrono>
#include <cstdio>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// A loopback server on a thread and main context of its own.
class Service {
  public:
    Service() : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE)) {
        std::promise<int> port;
        thread_ = std::thread([this, &port] {
            g_main_context_push_thread_default(context_);
            SoupServer* server = soup_server_new(nullptr, nullptr);
            soup_server_add_handler(
                server, nullptr,
                [](SoupServer*, SoupServerMessage* msg, const char*, GHashTable*, gpointer) {
                    static const char kBody[] = R"({"code":200,"data":{"ok":true}})";
                    soup_server_message_set_status(msg, 200, nullptr);
                    soup_server_message_set_response(msg, "application/json", SOUP_MEMORY_STATIC, kBody,
                                                     sizeof kBody - 1);
                },
                nullptr, nullptr);
            soup_server_listen_local(server, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr);
            GSList* uris = soup_server_get_uris(server);
            port.set_value(g_uri_get_port(static_cast<GUri*>(uris->data)));
            g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
            g_main_loop_run(loop_);
            soup_server_disconnect(server);
            g_object_unref(server);
            g_main_context_pop_thread_default(context_);
        });
        port_ = port.get_future().get();
    }
    ~Service() {
        g_main_context_invoke(
            context_,
            [](gpointer loop) -> gboolean { return g_main_loop_quit(static_cast<GMainLoop*>(loop)), FALSE; },
            loop_);
        thread_.join();
        g_main_loop_unref(loop_);
        g_main_context_unref(context_);
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/api"; }

  private:
    GMainContext* context_;
    GMainLoop* loop_;
    std::thread thread_;
    int port_ = 0;
};

// Mean milliseconds of `count` sequential GETs of `url` from a client using `proxy` (empty: none).
double meanRoundTrip(const std::string& url, const std::string& proxy, const std::string& credentials,
                     int count) {
    GProxyResolver* resolver = proxy.empty() ? nullptr : g_simple_proxy_resolver_new(proxy.c_str(), nullptr);
    SoupSession* session = soup_session_new_with_options("proxy-resolver", resolver, nullptr);
    const auto begin = Clock::now();
    for (int i = 0; i < count; ++i) {
        SoupMessage* message = soup_message_new("GET", (url + "?" + std::to_string(i)).c_str());
        if (!credentials.empty()) {
            soup_message_headers_replace(soup_message_get_request_headers(message), "Proxy-Authorization",
                                         credentials.c_str());
        }
        GBytes* body = nullptr;
        soup_session_send_and_read_async(
            session, message, G_PRIORITY_DEFAULT, nullptr,
            [](GObject* source, GAsyncResult* result, gpointer out) {
                GBytes* bytes = soup_session_send_and_read_finish(SOUP_SESSION(source), result, nullptr);
                *static_cast<GBytes**>(out) = bytes != nullptr ? bytes : g_bytes_new(nullptr, 0);
            },
            &body);
        while (body == nullptr) g_main_context_iteration(nullptr, TRUE);
        g_bytes_unref(body);
        g_object_unref(message);
    }
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    g_object_unref(session);
    if (resolver != nullptr) g_object_unref(resolver);
    return ms / count;
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
    constexpr int kRequests = 2000;
    Service service;
    zel::ZELURLProtocolDelegate noFiles;
    zel::platform::ZELWebProxy proxy(noFiles, [](const std::string&) { return false; });
    if (!proxy.listen()) return 1;
    const std::string pair = proxy.user() + ":" + proxy.secret();
    gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(pair.data()), pair.size());
    const std::string credentials = std::string("Basic ") + encoded;
    g_free(encoded);
    std::printf(
        "Proxy cost, %d sequential GETs of a loopback server (200, small JSON) from a libsoup client, "
        "%d rounds alternating\n  round   through the proxy   direct\n",
        kRequests, rounds);
    std::vector<double> through, direct;
    meanRoundTrip(service.url(), proxy.uri(), credentials, 50);  // warm both roads
    meanRoundTrip(service.url(), "", "", 50);
    for (int round = 1; round <= rounds; ++round) {
        through.push_back(meanRoundTrip(service.url(), proxy.uri(), credentials, kRequests));
        direct.push_back(meanRoundTrip(service.url(), "", "", kRequests));
        std::printf("  %-5d   %7.3f ms          %7.3f ms\n", round, through.back(), direct.back());
        std::fflush(stdout);
    }
    const double t = zel::bench::median(through), d = zel::bench::median(direct);
    std::printf("  median: %.3f ms through, %.3f ms direct; the proxy adds %.3f ms a request (ratio %.3f)\n",
                t, d, t - d, t / d);
    return 0;
}
