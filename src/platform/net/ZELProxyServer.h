// The web view's HTTP proxy for everything its relay (ZELProxyRelay) does not pass straight to an origin,
// confined to the thread whose thread-default main context was current when it was made (the web proxy's own
// thread): every call, callback and job runs there.
//
// - A request the marker marks (the web app's own files) is paused while its owner looks it up (lookUp, which
//   may take its time on another thread and hands the delegate's answer back through answer()); then a
//   ZELURLHashMapProtocol answers it: a file from disk, or the network's answer for the build address.
// - Every other request is forwarded to where it was going, as it was made (ZELProxyTransfer); a WebSocket
//   upgrade or a CONNECT is tunnelled (ZELProxyTunnel).
// - Every request must carry the proxy credentials (Basic; the relay adds them). Only absolute-form requests
//   for other hosts are served; anything else gets 407 or 400 and nothing is forwarded.
//
// Upstream, a session of its own with no cookie jar, cache, decoder or authentication, and the given proxy
// resolver, so the user's proxy settings still hold. Owns the server, the session and every transfer and
// tunnel; destroying it closes them.
#pragma once

#include "platform/net/GObjectPtr.h"
#include "platform/net/ZELBodyPump.h"
#include "platform/net/ZELProxyTransfer.h"
#include "platform/net/ZELProxyTunnel.h"
#include "platform/net/ZELURLHashMapProtocol.h"

#include <libsoup/soup.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

namespace zel::platform {

class ZELProxyServer {
  public:
    // Whether a request's address is marked for the hash-map protocol.
    using Marker = std::function<bool(const std::string& url)>;
    // Asks for the delegate's answer for a marked address; the answer comes back through answer(id, ...).
    using Lookup = std::function<void(std::uint64_t id, const std::string& url)>;

    // resolver: the system's proxy resolver (or a cache of it), referenced by the session.
    ZELProxyServer(std::string user, std::string secret, Marker marks, Lookup lookUp,
                   GProxyResolver* resolver);
    ~ZELProxyServer();
    ZELProxyServer(const ZELProxyServer&) = delete;
    ZELProxyServer& operator=(const ZELProxyServer&) = delete;

    // Starts listening; false (and logged) when no loopback port could be had.
    bool listen();
    std::uint16_t port() const { return port_; }

    // The delegate's answer for lookup `id`; answers the request that waited for it.
    void answer(std::uint64_t id, ZELLocalAnswer answer);

  private:
    static void handle(SoupServer*, SoupServerMessage* msg, const char*, GHashTable*, gpointer self);
    void dispatch(SoupServerMessage* msg);
    bool isOwnAddress(GUri* uri) const;

    // Keeps a job until it ends; a job may end while it starts.
    template <class Job>
    void run(std::unique_ptr<Job> job) {
        Job* started = job.get();
        running_.emplace(started, std::shared_ptr<void>(std::move(job)));
        started->start();
    }
    void ended(const void* job) { running_.erase(job); }
    void startNetwork(SoupServerMessage* msg, const std::string& url);
    void startFile(SoupServerMessage* msg, GInputStream* body, gint64 length);

    std::string user_;
    std::string secret_;
    Marker marks_;
    Lookup lookUp_;
    std::uint16_t port_ = 0;
    GObjectPtr<SoupServer> server_;
    GObjectPtr<SoupAuthDomain> authDomain_;
    GObjectPtr<SoupSession> session_;
    // Each running job, keyed by its address, with what stops it.
    std::unordered_map<const void*, std::shared_ptr<void>> running_;
    // Marked requests waiting for their lookup, paused, with their address.
    struct Waiting {
        GObjectPtr<SoupServerMessage> msg;
        std::string url;
    };
    std::unordered_map<std::uint64_t, Waiting> waiting_;
    std::uint64_t lastLookup_ = 0;
};

}  // namespace zel::platform
