#include "platform/net/ZELWebProxy.h"

#include "core/env/RandomToken.h"
#include "platform/gobject/PostToContext.h"
#include "platform/net/ZELProxyResolverCache.h"

#include <future>
#include <utility>

namespace zel::platform {
namespace {

constexpr gint64 kResolverLifetime = 5 * G_USEC_PER_SEC;

}  // namespace

ZELWebProxy::ZELWebProxy(ZELURLProtocolDelegate& delegate, Marker marks)
    : delegate_(delegate),
      marks_(std::move(marks)),
      secret_(randomToken()),
      owner_(g_main_context_ref_thread_default()),
      context_(g_main_context_new()),
      loop_(g_main_loop_new(context_.get(), FALSE)),
      self_(std::make_shared<ZELWebProxy*>(this)) {}

ZELWebProxy::~ZELWebProxy() {
    *self_ = nullptr;
    if (!thread_.joinable()) return;
    postToContext(context_.get(), [loop = loop_.get()] { g_main_loop_quit(loop); });
    thread_.join();
}

bool ZELWebProxy::listen() {
    if (thread_.joinable()) return port_ != 0;
    std::promise<std::uint16_t> listening;
    std::future<std::uint16_t> port = listening.get_future();
    thread_ = std::thread(
        [this, &listening] { serve([&listening](std::uint16_t port) { listening.set_value(port); }); });
    port_ = port.get();
    return port_ != 0;
}

std::string ZELWebProxy::uri() const {
    return "http://127.0.0.1:" + std::to_string(port_);
}

void ZELWebProxy::serve(std::function<void(std::uint16_t)> listened) {
    g_main_context_push_thread_default(context_.get());
    // The system's resolver decides where each destination goes, its answers kept for a few seconds.
    GObjectPtr<GProxyResolver> resolver(
        newProxyResolverCache(g_proxy_resolver_get_default(), kResolverLifetime));
    server_ = std::make_unique<ZELProxyServer>(
        user_, secret_, marks_, [this](std::uint64_t id, const std::string& url) { lookUp(id, url); },
        resolver.get());
    bool listening = server_->listen();
    if (listening) {
        relay_ = std::make_unique<ZELProxyRelay>(user_, secret_, marks_, server_->port(), resolver.get());
        listening = relay_->listen();
    }
    listened(listening ? relay_->port() : 0);
    if (listening) g_main_loop_run(loop_.get());
    relay_.reset();
    server_.reset();
    // What the closed connections and the aborted session still have to finish, while their context is
    // current.
    while (g_main_context_iteration(context_.get(), FALSE)) {
    }
    g_main_context_pop_thread_default(context_.get());
}

void ZELWebProxy::lookUp(std::uint64_t id, const std::string& url) {
    postToContext(owner_.get(), [self = self_, id, url] {
        ZELWebProxy* proxy = *self;
        if (proxy == nullptr) return;
        auto answer = std::make_shared<ZELLocalAnswer>(ZELURLHashMapProtocol::lookUp(&proxy->delegate_, url));
        // The proxy outlives this job: its destructor waits for the thread, which alone runs it.
        postToContext(proxy->context_.get(), [proxy, id, answer] {
            if (proxy->server_) proxy->server_->answer(id, std::move(*answer));
        });
    });
}

}  // namespace zel::platform
