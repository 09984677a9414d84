#include "platform/net/ZELProxyServer.h"

#include "core/log/ZELLog.h"
#include "platform/net/UriText.h"

#include <string>
#include <utility>

namespace zel::platform {
namespace {

bool isUpgrade(SoupServerMessage* msg) {
    SoupMessageHeaders* headers = soup_server_message_get_request_headers(msg);
    return soup_message_headers_header_contains(headers, "Connection", "Upgrade") &&
           soup_message_headers_get_one(headers, "Upgrade") != nullptr;
}

}  // namespace

ZELProxyServer::ZELProxyServer(std::string user, std::string secret, Marker marks, Lookup lookUp,
                               GProxyResolver* resolver)
    : user_(std::move(user)),
      secret_(std::move(secret)),
      marks_(std::move(marks)),
      lookUp_(std::move(lookUp)) {
    server_.reset(soup_server_new(nullptr, nullptr));
    // Like a browser's own connections: as many per host as a page opens, no time limit of the session's own
    // (long polls and streams are the page's business), idle connections closed after a minute.
    session_.reset(soup_session_new_with_options("max-conns", 64, "max-conns-per-host", 16, "timeout", 0u,
                                                 "idle-timeout", 60u, "proxy-resolver", resolver, nullptr));
    soup_session_remove_feature_by_type(session_.get(), SOUP_TYPE_AUTH_MANAGER);
    soup_session_remove_feature_by_type(session_.get(), SOUP_TYPE_CONTENT_DECODER);

    soup_server_add_handler(server_.get(), nullptr, &ZELProxyServer::handle, this, nullptr);
    // Its clients are the relay, which passes the credentials on, and whoever else finds the port.
    SoupAuthDomain* domain = soup_auth_domain_basic_new("realm", "Ostrelle", "proxy", TRUE, nullptr);
    soup_auth_domain_basic_set_auth_callback(
        domain,
        [](SoupAuthDomain*, SoupServerMessage*, const char* user, const char* password,
           gpointer self) -> gboolean {
            auto* proxy = static_cast<ZELProxyServer*>(self);
            return user != nullptr && password != nullptr && proxy->user_ == user &&
                   proxy->secret_ == password;
        },
        this, nullptr);
    soup_server_add_auth_domain(server_.get(), domain);
    authDomain_.reset(domain);
}

ZELProxyServer::~ZELProxyServer() {
    running_.clear();
    waiting_.clear();
    // The handler and the domain's check point at this proxy: neither may outlive it, whoever still holds
    // the server.
    soup_server_remove_handler(server_.get(), nullptr);
    soup_server_remove_auth_domain(server_.get(), authDomain_.get());
    soup_server_disconnect(server_.get());
    soup_session_abort(session_.get());
}

bool ZELProxyServer::listen() {
    GError* error = nullptr;
    if (!soup_server_listen_local(server_.get(), 0, SOUP_SERVER_LISTEN_IPV4_ONLY, &error)) {
        zelLog("web proxy: cannot listen on loopback: %@", error->message);
        g_error_free(error);
        return false;
    }
    GSList* uris = soup_server_get_uris(server_.get());
    if (uris != nullptr) port_ = static_cast<std::uint16_t>(g_uri_get_port(static_cast<GUri*>(uris->data)));
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    return port_ != 0;
}

void ZELProxyServer::handle(SoupServer*, SoupServerMessage* msg, const char*, GHashTable*, gpointer self) {
    static_cast<ZELProxyServer*>(self)->dispatch(msg);
}

bool ZELProxyServer::isOwnAddress(GUri* uri) const {
    const char* host = g_uri_get_host(uri);
    if (host == nullptr) return true;
    return g_uri_get_port(uri) == port_ &&
           (g_strcmp0(host, "127.0.0.1") == 0 || g_ascii_strcasecmp(host, "localhost") == 0);
}

void ZELProxyServer::dispatch(SoupServerMessage* msg) {
    GUri* uri = soup_server_message_get_uri(msg);
    // A request in origin form names the proxy itself: it is not for forwarding (and would loop).
    if (isOwnAddress(uri)) {
        soup_server_message_set_status(msg, SOUP_STATUS_BAD_REQUEST, nullptr);
        return;
    }
    const char* method = soup_server_message_get_method(msg);
    if (method == SOUP_METHOD_CONNECT || isUpgrade(msg)) {
        run(std::make_unique<ZELProxyTunnel>(msg, [this](ZELProxyTunnel* t) { ended(t); }));
        return;
    }
    const std::string url = uriText(uri);
    if ((method == SOUP_METHOD_GET || method == SOUP_METHOD_HEAD) && marks_(url)) {
        soup_server_message_pause(msg);
        const std::uint64_t id = ++lastLookup_;
        waiting_.emplace(id, Waiting{retained(msg), url});
        lookUp_(id, url);
        return;
    }
    run(ZELProxyTransfer::forward(session_.get(), msg, [this](ZELProxyTransfer* t) { ended(t); }));
}

void ZELProxyServer::answer(std::uint64_t id, ZELLocalAnswer answer) {
    const auto found = waiting_.find(id);
    if (found == waiting_.end()) return;
    const Waiting waiting = std::move(found->second);
    waiting_.erase(found);
    SoupServerMessage* msg = waiting.msg.get();
    bool handedOn = false;
    ZELURLHashMapProtocol protocol(
        msg, waiting.url,
        [this, &handedOn](SoupServerMessage* m, const std::string& real) {
            handedOn = true;
            startNetwork(m, real);
        },
        [this, &handedOn](SoupServerMessage* m, GInputStream* body, gint64 length) {
            handedOn = true;
            startFile(m, body, length);
        });
    protocol.startLoading(std::move(answer));
    // An answer made on the spot (an error, a range outside the file) goes out now.
    if (!handedOn) soup_server_message_unpause(msg);
}

void ZELProxyServer::startNetwork(SoupServerMessage* msg, const std::string& url) {
    if (auto transfer =
            ZELProxyTransfer::plainGet(session_.get(), msg, url, [this](ZELProxyTransfer* t) { ended(t); })) {
        run(std::move(transfer));
    }
}

void ZELProxyServer::startFile(SoupServerMessage* msg, GInputStream* body, gint64 length) {
    soup_server_message_pause(msg);
    auto key = std::make_shared<const void*>(nullptr);
    auto pump = std::make_unique<ZELBodyPump>(msg, body, length, [this, key](bool) { ended(*key); });
    *key = pump.get();
    run(std::move(pump));
}

}  // namespace zel::platform
