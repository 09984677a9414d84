// The web view's HTTP proxy on a thread of its own, so that passing the page's requests on never waits for
// the user interface to draw, nor the user interface for a request: a relay (ZELProxyRelay, the port the web
// view uses) that takes plain requests straight to their origins, and behind it the proxy server
// (ZELProxyServer) for the web app's files and everything else.
//
// The web app's own files (the addresses the marker marks) are looked up through the delegate on the thread
// that made the proxy, the one the delegate lives on, and answered on the proxy's thread; everything else
// stays on the proxy's thread. The marker runs on the proxy's thread: it must be a pure function of the
// address. The delegate is not owned and must outlive the proxy.
//
// Made, listened on and destroyed on one thread, whose thread-default main context must run for the web
// app's files to be answered. Destroying the proxy stops its thread and closes every connection; lookups
// still on their way are dropped.
#pragma once

#include "core/cache/ZELURLProtocolDelegate.h"
#include "platform/net/ZELProxyRelay.h"
#include "platform/net/ZELProxyServer.h"

#include <glib.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace zel::platform {

class ZELWebProxy {
  public:
    using Marker = ZELProxyServer::Marker;

    ZELWebProxy(ZELURLProtocolDelegate& delegate, Marker marks);
    ~ZELWebProxy();
    ZELWebProxy(const ZELWebProxy&) = delete;
    ZELWebProxy& operator=(const ZELWebProxy&) = delete;

    // Starts the proxy's thread and waits until it listens; false (and logged) when no loopback port could be
    // had. Once only.
    bool listen();
    std::uint16_t port() const { return port_; }
    // "http://127.0.0.1:<port>", for the web view's proxy settings.
    std::string uri() const;
    // The credentials the web view answers the proxy's challenge with.
    const std::string& user() const { return user_; }
    const std::string& secret() const { return secret_; }

  private:
    struct ContextUnref {
        void operator()(GMainContext* context) const { g_main_context_unref(context); }
    };
    struct LoopUnref {
        void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
    };

    // The proxy's thread: serves until the loop quits; `listened` gets the port, or 0.
    void serve(std::function<void(std::uint16_t)> listened);
    // The proxy's thread: has the delegate asked on the owner's thread, the answer sent back.
    void lookUp(std::uint64_t id, const std::string& url);

    ZELURLProtocolDelegate& delegate_;
    Marker marks_;
    const std::string user_ = "ostrelle";
    const std::string secret_;
    std::uint16_t port_ = 0;
    std::unique_ptr<GMainContext, ContextUnref> owner_;
    std::unique_ptr<GMainContext, ContextUnref> context_;
    std::unique_ptr<GMainLoop, LoopUnref> loop_;
    // This proxy while it lives; read and cleared on the owner's thread only, so a lookup that arrives after
    // the proxy went finds nothing to ask.
    std::shared_ptr<ZELWebProxy*> self_;
    // The proxy's thread only.
    std::unique_ptr<ZELProxyServer> server_;
    std::unique_ptr<ZELProxyRelay> relay_;
    std::thread thread_;
};

}  // namespace zel::platform
