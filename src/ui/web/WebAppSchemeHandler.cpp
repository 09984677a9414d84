#include "ui/web/WebAppSchemeHandler.h"

#include "core/cache/CacheURL.h"
#include "core/log/ZELLog.h"
#include "core/web/WebAppAddress.h"
#include "ui/web/ZELURLHashMapProtocol.h"

#include <string>

namespace zel {
namespace {

void finishWithStatus(WebKitURISchemeRequest* request, int status, const char* reason) {
    GInputStream* empty = g_memory_input_stream_new();
    WebKitURISchemeResponse* response = webkit_uri_scheme_response_new(empty, 0);
    webkit_uri_scheme_response_set_status(response, status, reason);
    webkit_uri_scheme_response_set_content_type(response, "text/plain");
    webkit_uri_scheme_request_finish_with_response(request, response);
    g_object_unref(response);
    g_object_unref(empty);
}

// The path as it was sent (still percent-encoded): only then can an encoded separator be told from a real
// one.
bool isAcceptablePath(const std::string& uri) {
    const std::optional<cache::URLParts> parts = cache::splitURL(uri);
    return parts && (parts->path == "/" || cache::safeRelativePath(parts->path).has_value());
}

}  // namespace

WebAppSchemeHandler::WebAppSchemeHandler(ZELURLProtocolDelegate& delegate)
    : delegate_(delegate),
      // Like the web view's own loads: a minute without progress fails, and pages get decoded bodies.
      session_(soup_session_new_with_options("timeout", 60u, "max-conns-per-host", 6u, "user-agent",
                                             "Ostrelle/0.1", nullptr)) {
    if (!soup_session_has_feature(session_, SOUP_TYPE_CONTENT_DECODER)) {
        soup_session_add_feature_by_type(session_, SOUP_TYPE_CONTENT_DECODER);
    }
}

WebAppSchemeHandler::~WebAppSchemeHandler() {
    transfers_.clear();
    soup_session_abort(session_);
    g_object_unref(session_);
}

void WebAppSchemeHandler::registerWith(WebKitWebContext* context) {
    const std::string scheme(web::kScheme);
    webkit_web_context_register_uri_scheme(
        context, scheme.c_str(),
        [](WebKitURISchemeRequest* request, gpointer self) {
            static_cast<WebAppSchemeHandler*>(self)->handle(request);
        },
        this, nullptr);
    WebKitSecurityManager* security = webkit_web_context_get_security_manager(context);
    webkit_security_manager_register_uri_scheme_as_secure(security, scheme.c_str());
    webkit_security_manager_register_uri_scheme_as_cors_enabled(security, scheme.c_str());
}

void WebAppSchemeHandler::handle(WebKitURISchemeRequest* request) {
    const std::string uri = webkit_uri_scheme_request_get_uri(request);
    if (!web::belongsToWebApp(uri) || !isAcceptablePath(uri)) {
        zelLog("refused web app request %@", uri);
        finishWithStatus(request, 403, "Forbidden");
        return;
    }
    ZELURLHashMapProtocol protocol(
        request, web::networkAddress(uri), &delegate_,
        [this](WebKitURISchemeRequest* r, const std::string& url) { startNetwork(r, url); });
    protocol.startLoading();
}

void WebAppSchemeHandler::startNetwork(WebKitURISchemeRequest* request, const std::string& url) {
    auto transfer = std::make_unique<ZELNetworkPassthrough>(
        session_, request, url, [this](ZELNetworkPassthrough* ended) { transfers_.erase(ended); });
    ZELNetworkPassthrough* started = transfer.get();
    transfers_.emplace(started, std::move(transfer));
    started->start();  // may end (and destroy) it at once
}

}  // namespace zel
