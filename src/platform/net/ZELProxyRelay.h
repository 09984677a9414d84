// The port the web view's network session uses as its HTTP proxy: accepts connections on 127.0.0.1 (a random
// port) and serves each with a ZELRelayConnection, which takes plain requests straight to their origins and
// hands everything else to the proxy server (ZELProxyServer) at `serverPort`, with the proxy's credentials.
//
// The web view's network process (a process below this one) is let in as it is; any other client must show
// the credentials. Owns the listening socket, the upstream pool and every connection; destroying it closes
// them. Made, used and destroyed on one thread, in whose thread-default main context it serves.
#pragma once

#include "platform/net/GObjectPtr.h"
#include "platform/net/ZELLoopbackPeer.h"
#include "platform/net/ZELRelayConnection.h"
#include "platform/net/ZELUpstreamPool.h"

#include <gio/gio.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

namespace zel::platform {

class ZELProxyRelay {
  public:
    using Marker = std::function<bool(const std::string& url)>;

    // resolver: the system's proxy resolver (or a cache of it), referenced.
    ZELProxyRelay(const std::string& user, const std::string& secret, Marker marks, std::uint16_t serverPort,
                  GProxyResolver* resolver);
    ~ZELProxyRelay();
    ZELProxyRelay(const ZELProxyRelay&) = delete;
    ZELProxyRelay& operator=(const ZELProxyRelay&) = delete;

    // Starts listening; false (and logged) when no loopback port could be had.
    bool listen();
    std::uint16_t port() const { return shared_.ownPort; }

  private:
    static gboolean incoming(GSocketService*, GSocketConnection* connection, GObject*, gpointer self);

    ZELLoopbackPeer peers_;
    ZELUpstreamPool pool_;
    ZELRelayConnection::Shared shared_;
    GObjectPtr<GSocketService> service_;
    gulong incoming_ = 0;
    std::unordered_map<ZELRelayConnection*, std::shared_ptr<ZELRelayConnection>> connections_;
};

}  // namespace zel::platform
