#include "platform/net/ZELUpstreamPool.h"

#include <poll.h>

#include <utility>

namespace zel::platform {
namespace {

constexpr gint64 kIdleLifetime = 60 * G_USEC_PER_SEC;
constexpr std::size_t kIdlePerDestination = 16;

std::string key(const std::string& host, std::uint16_t port) {
    return host + ":" + std::to_string(port);
}

}  // namespace

struct ZELUpstreamPool::Pending {
    std::weak_ptr<int> alive;
    ZELUpstreamPool* pool;
    std::string host;
    std::uint16_t port;
    Ready ready;
};

bool ZELUpstreamPool::Connection::looksOpen() const {
    pollfd probe{g_socket_get_fd(g_socket_connection_get_socket(stream.get())), POLLIN | POLLRDHUP, 0};
    return poll(&probe, 1, 0) == 0;
}

void ZELUpstreamPool::Connection::close() {
    // The watch goes first: the loop must not poll a descriptor that is closed, or already another's.
    watch.reset();
    if (stream) g_io_stream_close(G_IO_STREAM(stream.get()), nullptr, nullptr);
    stream.reset();
}

ZELUpstreamPool::ZELUpstreamPool(GProxyResolver* resolver)
    : resolver_(retained(resolver)), client_(g_socket_client_new()) {
    // The resolver has decided by the time a connection is made: the client itself goes direct.
    g_socket_client_set_enable_proxy(client_.get(), FALSE);
}

ZELUpstreamPool::~ZELUpstreamPool() {
    for (auto& [destination, connections] : idle_) {
        for (Idle& idle : connections) idle.connection.close();
    }
}

std::optional<ZELUpstreamPool::Connection> ZELUpstreamPool::take(const std::string& host,
                                                                 std::uint16_t port) {
    const auto found = idle_.find(key(host, port));
    if (found == idle_.end()) return std::nullopt;
    const gint64 now = g_get_monotonic_time();
    std::vector<Idle>& connections = found->second;
    while (!connections.empty()) {
        Idle idle = std::move(connections.back());
        connections.pop_back();
        if (now - idle.since < kIdleLifetime && idle.connection.looksOpen()) {
            idle.connection.reused = true;
            return std::move(idle.connection);
        }
        idle.connection.close();
    }
    return std::nullopt;
}

void ZELUpstreamPool::put(const std::string& host, std::uint16_t port, Connection connection) {
    const gint64 now = g_get_monotonic_time();
    dropExpired(now);
    std::vector<Idle>& connections = idle_[key(host, port)];
    if (connections.size() >= kIdlePerDestination) {
        connection.close();
        return;
    }
    connections.push_back(Idle{std::move(connection), now});
}

void ZELUpstreamPool::dropExpired(gint64 now) {
    for (auto it = idle_.begin(); it != idle_.end();) {
        std::erase_if(it->second, [now](Idle& idle) {
            if (now - idle.since < kIdleLifetime) return false;
            idle.connection.close();
            return true;
        });
        it = it->second.empty() ? idle_.erase(it) : std::next(it);
    }
}

void ZELUpstreamPool::connect(const std::string& host, std::uint16_t port, Ready ready) {
    auto* pending = new Pending{alive_, this, host, port, std::move(ready)};
    const std::string uri = "http://" + (host.find(':') != std::string::npos ? "[" + host + "]" : host) +
                            ":" + std::to_string(port);
    g_proxy_resolver_lookup_async(resolver_.get(), uri.c_str(), nullptr, &ZELUpstreamPool::resolved, pending);
}

void ZELUpstreamPool::resolved(GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Pending> pending(static_cast<Pending*>(data));
    GError* error = nullptr;
    gchar** proxies = g_proxy_resolver_lookup_finish(G_PROXY_RESOLVER(source), result, &error);
    const bool direct = proxies != nullptr && proxies[0] != nullptr &&
                        g_strcmp0(proxies[0], "direct://") == 0 && proxies[1] == nullptr;
    g_strfreev(proxies);
    g_clear_error(&error);
    if (pending->alive.expired()) return;
    if (!direct) {
        // The proxy server's session asks the resolver again and speaks to whatever it names.
        pending->ready(Outcome{std::nullopt, false, {}});
        return;
    }
    GSocketClient* client = pending->pool->client_.get();
    const std::string host = pending->host;
    const std::uint16_t port = pending->port;
    GObjectPtr<GSocketConnectable> address(g_network_address_new(host.c_str(), port));
    g_socket_client_connect_async(client, address.get(), nullptr, &ZELUpstreamPool::connected,
                                  pending.release());
}

void ZELUpstreamPool::connected(GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Pending> pending(static_cast<Pending*>(data));
    GError* error = nullptr;
    GObjectPtr<GSocketConnection> stream(
        g_socket_client_connect_finish(G_SOCKET_CLIENT(source), result, &error));
    if (pending->alive.expired()) {
        g_clear_error(&error);
        return;
    }
    if (!stream) {
        Outcome failed{std::nullopt, true, error != nullptr ? error->message : "cannot connect"};
        g_clear_error(&error);
        pending->ready(std::move(failed));
        return;
    }
    pending->ready(Outcome{Connection{std::move(stream), nullptr, false}, true, {}});
}

}  // namespace zel::platform
