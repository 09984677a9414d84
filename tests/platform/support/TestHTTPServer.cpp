#include "platform/support/TestHTTPServer.h"

#include <stdexcept>

namespace zel::test {

bool runUntil(const std::function<bool()>& done, std::chrono::seconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    GMainContext* context = g_main_context_get_thread_default();
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        // Blocking iterations would sleep through the deadline when nothing is pending; a source wakes the
        // loop.
        guint wake = g_timeout_add(
            50, [](gpointer) { return G_SOURCE_REMOVE; }, nullptr);
        g_main_context_iteration(context, TRUE);
        if (GSource* source = g_main_context_find_source_by_id(context, wake)) g_source_destroy(source);
    }
    return true;
}

TestHTTPServer::TestHTTPServer() {
    server_ = soup_server_new(nullptr, nullptr);
    soup_server_add_handler(server_, nullptr, &TestHTTPServer::handle, this, nullptr);
    g_signal_connect(server_, "request-finished", G_CALLBACK(&TestHTTPServer::finished), this);
    GError* error = nullptr;
    if (!soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, &error)) {
        const std::string message = error->message;
        g_error_free(error);
        throw std::runtime_error("cannot listen on loopback: " + message);
    }
    GSList* uris = soup_server_get_uris(server_);
    hostPort_ = "127.0.0.1:" + std::to_string(g_uri_get_port(static_cast<GUri*>(uris->data)));
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
}

TestHTTPServer::~TestHTTPServer() {
    for (auto& [path, messages] : heldMessages_) {
        for (SoupServerMessage* message : messages) g_object_unref(message);
    }
    for (GIOStream* stream : stolen_) {
        g_io_stream_close(stream, nullptr, nullptr);
        g_object_unref(stream);
    }
    soup_server_disconnect(server_);
    g_object_unref(server_);
}

void TestHTTPServer::serve(const std::string& path, std::string body, int status, std::string contentType) {
    Route& route = routes_[path];
    route.mode = Mode::Serve;
    route.status = status;
    route.body = std::move(body);
    route.contentType = std::move(contentType);
}

void TestHTTPServer::hold(const std::string& path) {
    routes_[path].held = true;
}

void TestHTTPServer::release(const std::string& path) {
    routes_[path].held = false;
    std::vector<SoupServerMessage*> messages = std::move(heldMessages_[path]);
    heldMessages_.erase(path);
    for (SoupServerMessage* message : messages) {
        answer(message, routes_[path]);
        soup_server_message_unpause(message);
        g_object_unref(message);
    }
}

void TestHTTPServer::dropMidBody(const std::string& path, std::string partial, std::size_t declaredLength) {
    Route& route = routes_[path];
    route.mode = Mode::Drop;
    route.body = std::move(partial);
    route.declaredLength = declaredLength;
}

void TestHTTPServer::stall(const std::string& path) {
    routes_[path].mode = Mode::Stall;
}

std::size_t TestHTTPServer::count(const std::string& path) const {
    std::size_t n = 0;
    for (const Request& request : requests_) n += request.path == path ? 1 : 0;
    return n;
}

std::size_t TestHTTPServer::heldCount(const std::string& path) const {
    const auto it = heldMessages_.find(path);
    return it == heldMessages_.end() ? 0 : it->second.size();
}

void TestHTTPServer::finished(SoupServer*, SoupServerMessage*, gpointer self) {
    ++static_cast<TestHTTPServer*>(self)->finished_;
}

void TestHTTPServer::handle(SoupServer*, SoupServerMessage* message, const char*, GHashTable*,
                            gpointer data) {
    auto* self = static_cast<TestHTTPServer*>(data);
    GUri* uri = soup_server_message_get_uri(message);
    Request request{
        g_uri_get_path(uri), g_uri_get_query(uri) ? g_uri_get_query(uri) : "", {}, self->finished_};
    soup_message_headers_foreach(
        soup_server_message_get_request_headers(message),
        [](const char* name, const char* value, gpointer headers) {
            (*static_cast<std::map<std::string, std::string>*>(headers))[name] = value;
        },
        &request.headers);
    self->requests_.push_back(request);

    const auto it = self->routes_.find(request.path);
    if (it == self->routes_.end()) {
        soup_server_message_set_status(message, 404, nullptr);
        soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_COPY, "no route", 8);
        return;
    }
    const Route& route = it->second;
    if (route.mode == Mode::Serve && route.held) {
        soup_server_message_pause(message);
        self->heldMessages_[request.path].push_back(SOUP_SERVER_MESSAGE(g_object_ref(message)));
        return;
    }
    self->answer(message, route);
}

void TestHTTPServer::answer(SoupServerMessage* message, const Route& route) {
    if (route.mode == Mode::Serve) {
        soup_server_message_set_status(message, static_cast<guint>(route.status), nullptr);
        soup_server_message_set_response(message, route.contentType.c_str(), SOUP_MEMORY_COPY,
                                         route.body.data(), route.body.size());
        return;
    }
    // Past libsoup: the raw connection, so the answer can break the protocol on purpose.
    GIOStream* stream = soup_server_message_steal_connection(message);
    stolen_.push_back(stream);
    if (route.mode == Mode::Stall) return;
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: " +
                             std::to_string(route.declaredLength) + "\r\n\r\n" + route.body;
    GOutputStream* out = g_io_stream_get_output_stream(stream);
    g_output_stream_write_all(out, head.data(), head.size(), nullptr, nullptr, nullptr);
    g_io_stream_close(stream, nullptr, nullptr);
}

}  // namespace zel::test
