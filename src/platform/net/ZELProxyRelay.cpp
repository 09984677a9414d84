#include "platform/net/ZELProxyRelay.h"

#include "core/log/ZELLog.h"

#include <utility>

namespace zel::platform {

ZELProxyRelay::ZELProxyRelay(const std::string& user, const std::string& secret, Marker marks,
                             std::uint16_t serverPort, GProxyResolver* resolver)
    : pool_(resolver),
      shared_{pool_, std::move(marks), [this](GSocket* client) { return peers_.isOwnChild(client); }, "",
              0,     serverPort},
      service_(g_socket_service_new()) {
    const std::string pair = user + ":" + secret;
    gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(pair.data()), pair.size());
    shared_.authorization = std::string("Basic ") + encoded;
    g_free(encoded);
    incoming_ = g_signal_connect(service_.get(), "incoming", G_CALLBACK(&ZELProxyRelay::incoming), this);
}

ZELProxyRelay::~ZELProxyRelay() {
    g_signal_handler_disconnect(service_.get(), incoming_);
    g_socket_service_stop(service_.get());
    g_socket_listener_close(G_SOCKET_LISTENER(service_.get()));
    connections_.clear();
}

bool ZELProxyRelay::listen() {
    GObjectPtr<GInetAddress> loopback(g_inet_address_new_loopback(G_SOCKET_FAMILY_IPV4));
    GObjectPtr<GSocketAddress> any(g_inet_socket_address_new(loopback.get(), 0));
    GSocketAddress* bound = nullptr;
    GError* error = nullptr;
    if (!g_socket_listener_add_address(G_SOCKET_LISTENER(service_.get()), any.get(), G_SOCKET_TYPE_STREAM,
                                       G_SOCKET_PROTOCOL_TCP, nullptr, &bound, &error)) {
        zelLog("web proxy: cannot listen on loopback: %@", error->message);
        g_error_free(error);
        return false;
    }
    shared_.ownPort = g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(bound));
    g_object_unref(bound);
    g_socket_service_start(service_.get());
    return shared_.ownPort != 0;
}

gboolean ZELProxyRelay::incoming(GSocketService*, GSocketConnection* connection, GObject*, gpointer self) {
    auto* relay = static_cast<ZELProxyRelay*>(self);
    auto served = std::make_shared<ZELRelayConnection>(
        relay->shared_, retained(connection),
        [relay](ZELRelayConnection* done) { relay->connections_.erase(done); });
    relay->connections_.emplace(served.get(), served);
    served->start();
    return TRUE;
}

}  // namespace zel::platform
