// A SoupServer on 127.0.0.1 whose requests the test answers; both sides run on the main context (runUntil).
#pragma once

#include <libsoup/soup.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace zel::test {

// Iterates the main context until done() holds; false after 20 s (a hang guard, not a measurement).
inline bool runUntil(const std::function<bool()>& done) {
    const gint64 deadline = g_get_monotonic_time() + 20 * G_USEC_PER_SEC;
    while (!done()) {
        if (g_get_monotonic_time() > deadline) return false;
        g_main_context_iteration(nullptr, FALSE);
        g_usleep(200);
    }
    return true;
}

struct LoopbackServer {
    // Called for each request with its path (query left off); the handler answers, pauses or steals it.
    using Handler = std::function<void(SoupServerMessage*, const std::string& path)>;

    explicit LoopbackServer(Handler h) : handler(std::move(h)) {
        soup_server_add_handler(soup, nullptr, &LoopbackServer::handle, this, nullptr);
        g_signal_connect_swapped(soup, "request-finished", G_CALLBACK(+[](int* n) { ++*n; }), &finished);
        if (!soup_server_listen_local(soup, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr))
            throw std::runtime_error("cannot listen on loopback");
        GSList* uris = soup_server_get_uris(soup);
        hostPort = "127.0.0.1:" + std::to_string(g_uri_get_port(static_cast<GUri*>(uris->data)));
        g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    }
    ~LoopbackServer() {
        soup_server_disconnect(soup);
        g_object_unref(soup);
        for (GIOStream* stream : stolen) g_object_unref(stream);
    }

    std::string url(const std::string& path) const { return "http://" + hostPort + path; }
    std::size_t count(const std::string& path) const { return std::count(paths.begin(), paths.end(), path); }
    static void answer(SoupServerMessage* message, const std::string& body, guint status = 200) {
        soup_server_message_set_status(message, status, nullptr);
        soup_server_message_set_response(message, "application/octet-stream", SOUP_MEMORY_COPY, body.data(),
                                         body.size());
    }
    // With `partial`, a header promising more than that body, then a close; without, no answer at all.
    void breakConnection(SoupServerMessage* message, const char* partial = nullptr) {
        GIOStream* stream = stolen.emplace_back(soup_server_message_steal_connection(message));
        if (partial == nullptr) return;
        const std::string text = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + std::string(partial);
        g_output_stream_write_all(g_io_stream_get_output_stream(stream), text.data(), text.size(), nullptr,
                                  nullptr, nullptr);
        g_io_stream_close(stream, nullptr, nullptr);
    }

    Handler handler;
    SoupServer* soup = soup_server_new(nullptr, nullptr);
    std::string hostPort;
    // Per request in arrival order: path, query, Cache-Control header, answers written completely before it.
    std::vector<std::string> paths, queries, noCache;
    std::vector<int> finishedBefore;
    int finished = 0;
    std::vector<GIOStream*> stolen;

    static void handle(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*,
                       gpointer data) {
        auto* self = static_cast<LoopbackServer*>(data);
        const char* query = g_uri_get_query(soup_server_message_get_uri(message));
        const char* cacheControl =
            soup_message_headers_get_one(soup_server_message_get_request_headers(message), "Cache-Control");
        self->paths.push_back(path);
        self->queries.push_back(query ? query : "");
        self->noCache.push_back(cacheControl ? cacheControl : "");
        self->finishedBefore.push_back(self->finished);
        self->handler(message, path);
    }
};

}  // namespace zel::test
