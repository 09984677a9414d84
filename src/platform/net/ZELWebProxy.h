// The web view's HTTP proxy on 127.0.0.1 (a random port): the one road of the web view's http requests.
//
// - A request its delegate marks (the web app's own files) goes to a ZELURLHashMapProtocol: a file from disk,
//   or the network's answer for the build address.
// - Every other request is forwarded to where it was going, as it was made (ZELProxyTransfer); a WebSocket
//   upgrade or a CONNECT is tunnelled (ZELProxyTunnel).
// - Only the web view may use it: a connection from a process this one started (the web view's network
//   process) is let in; any other must carry proxy credentials with a per-process secret (Basic, which the
//   web view also answers when asked, should the first check fail). Only absolute-form requests for other
//   hosts are served; anything else gets 407 or 400 and nothing is forwarded.
//
// Upstream, a session of its own with no cookie jar, cache, decoder or authentication, and the system's proxy
// resolver, so the user's proxy settings still hold. Owns the server, the session and every transfer and
// tunnel; destroying the proxy closes them. The delegate is not owned and must outlive it. Main thread.
#pragma once

#include "core/cache/ZELURLProtocolDelegate.h"
#include "platform/net/GObjectPtr.h"
#include "platform/net/ZELBodyPump.h"
#include "platform/net/ZELLoopbackPeer.h"
#include "platform/net/ZELProxyTransfer.h"
#include "platform/net/ZELProxyTunnel.h"

#include <libsoup/soup.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

namespace zel::platform {

class ZELWebProxy {
  public:
    // Whether a request's address is marked for the hash-map protocol.
    using Marker = std::function<bool(const std::string& url)>;

    ZELWebProxy(ZELURLProtocolDelegate& delegate, Marker marks);
    ~ZELWebProxy();
    ZELWebProxy(const ZELWebProxy&) = delete;
    ZELWebProxy& operator=(const ZELWebProxy&) = delete;

    // Starts listening; false (and logged) when no loopback port could be had.
    bool listen();
    std::uint16_t port() const { return port_; }
    // "http://127.0.0.1:<port>", for the web view's proxy settings.
    std::string uri() const;
    // The credentials the web view answers the proxy's challenge with.
    const std::string& user() const { return user_; }
    const std::string& secret() const { return secret_; }

    // Transfers, tunnels and file answers still running.
    std::size_t runningCount() const { return running_.size(); }

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

    ZELURLProtocolDelegate& delegate_;
    Marker marks_;
    std::string user_ = "ostrelle";
    std::string secret_;
    std::uint16_t port_ = 0;
    ZELLoopbackPeer peers_;
    GObjectPtr<SoupServer> server_;
    GObjectPtr<SoupAuthDomain> authDomain_;
    GObjectPtr<SoupSession> session_;
    // Each running job, keyed by its address, with what stops it.
    std::unordered_map<const void*, std::shared_ptr<void>> running_;
};

}  // namespace zel::platform
