// A connection of the web view that leaves HTTP for another protocol, carried through the proxy as bytes: a
// WebSocket upgrade (the request is passed on and everything after it flows both ways untouched) or a
// CONNECT tunnel. The client's connection is taken from the server; the upstream one is made through GIO's
// socket client, so the user's own proxy settings still apply.
//
// Owned by the proxy until `ended` runs; destroying it earlier closes both sides. The proxy server's thread.
#pragma once

#include "platform/net/AsyncLink.h"
#include "platform/net/GObjectPtr.h"

#include <libsoup/soup.h>

#include <functional>
#include <string>

namespace zel::platform {

class ZELProxyTunnel {
  public:
    using EndedHandler = std::function<void(ZELProxyTunnel*)>;

    // For CONNECT, the client is told "200 Connection established" once upstream answers; for an upgrade,
    // the request's head is written upstream in origin form.
    ZELProxyTunnel(SoupServerMessage* msg, EndedHandler ended);
    ~ZELProxyTunnel();
    ZELProxyTunnel(const ZELProxyTunnel&) = delete;
    ZELProxyTunnel& operator=(const ZELProxyTunnel&) = delete;

    void start();

  private:
    void connected(GObject* source, GAsyncResult* result);
    void written(GObject* source, GAsyncResult* result);
    void spliced(GObject* source, GAsyncResult* result);
    void fail(const char* why);
    void end();

    GObjectPtr<GIOStream> client_;
    GObjectPtr<GSocketConnection> upstream_;
    GObjectPtr<GCancellable> cancellable_;
    std::string host_;
    int port_ = 0;
    std::string greeting_;  // written first: to the client for CONNECT, upstream for an upgrade
    bool isConnect_ = false;
    EndedHandler ended_;
    AsyncLink<ZELProxyTunnel>* link_ = nullptr;
};

}  // namespace zel::platform
