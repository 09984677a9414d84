// The relay's connections to origin servers: idle ones kept per destination for the next request, new ones
// made directly when the system's proxy resolver sends the destination direct (a destination behind a proxy
// of the user's is left to the proxy server, whose session speaks to that proxy).
//
// An idle connection is kept for a minute at most, a few per destination, and dropped when it is found
// closed or readable (an origin that hung up) when taken. Connections are TCP with Nagle's delay off.
// Destroying the pool closes the idle connections; a connect still on its way is then dropped when it ends.
// The thread-default main context of the thread that made it; that thread only.
#pragma once

#include "platform/net/GObjectPtr.h"
#include "platform/net/ZELSocketWatch.h"

#include <gio/gio.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zel::platform {

class ZELUpstreamPool {
  public:
    struct Connection {
        GObjectPtr<GSocketConnection> stream;
        // Its watch, kept with it between requests (watching nothing, calling nothing); none for a new one.
        std::unique_ptr<ZELSocketWatch> watch;
        // Served a request before: it may have been closed by its origin meanwhile.
        bool reused = false;
        // An idle connection is readable only when its peer closed it or sent something unasked: unusable
        // either way.
        bool looksOpen() const;
        // Stops the watch and closes the stream; the connection is empty afterwards.
        void close();
    };
    struct Outcome {
        std::optional<Connection> connection;
        // False when the destination goes through a proxy; with no connection and true, `error` says why.
        bool direct = true;
        std::string error;
    };
    using Ready = std::function<void(Outcome)>;

    // resolver: referenced for the pool's life.
    explicit ZELUpstreamPool(GProxyResolver* resolver);
    ~ZELUpstreamPool();
    ZELUpstreamPool(const ZELUpstreamPool&) = delete;
    ZELUpstreamPool& operator=(const ZELUpstreamPool&) = delete;

    // An idle connection to the destination that still looks open, or none.
    std::optional<Connection> take(const std::string& host, std::uint16_t port);
    // A new connection, asynchronously; `ready` runs later, never inside this call.
    void connect(const std::string& host, std::uint16_t port, Ready ready);
    // Keeps a connection that finished its answer cleanly for the next request to the destination.
    void put(const std::string& host, std::uint16_t port, Connection connection);

  private:
    struct Idle {
        Connection connection;
        gint64 since;
    };
    struct Pending;
    static void resolved(GObject* source, GAsyncResult* result, gpointer data);
    static void connected(GObject* source, GAsyncResult* result, gpointer data);
    void dropExpired(gint64 now);

    GObjectPtr<GProxyResolver> resolver_;
    GObjectPtr<GSocketClient> client_;
    std::map<std::string, std::vector<Idle>> idle_;
    // Ends with the pool: completions arriving later find it expired.
    std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

}  // namespace zel::platform
