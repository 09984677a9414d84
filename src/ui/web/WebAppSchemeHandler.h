// Answers the web view's requests under the program's URI scheme, the image of the static file server's http
// addresses (ostrelle://<host>/player/mac/www/... stands for http://<host>/player/mac/www/...).
//
// Each request of the web app (an address containing "/player/mac/www") goes to a ZELURLHashMapProtocol with
// the given delegate: a file from disk (cache or bundle, "X-HY-HASHMAP-CACHE: local"), or the network's
// answer passed through as it streams. Any other address under the scheme, and a path that could name
// something outside a folder (dot segments, encoded separators, control characters), is refused with 403 and
// logged.
//
// Owns the HTTP session of the passed-through requests and the transfers that run; destroying the handler
// cancels them. The delegate is not owned and must outlive the handler. Main thread.
#pragma once

#include "ui/web/ZELNetworkPassthrough.h"
#include "ui/web/ZELURLProtocolDelegate.h"

#include <libsoup/soup.h>
#include <webkit/webkit.h>

#include <memory>
#include <unordered_map>

namespace zel {

class WebAppSchemeHandler {
  public:
    explicit WebAppSchemeHandler(ZELURLProtocolDelegate& delegate);
    ~WebAppSchemeHandler();
    WebAppSchemeHandler(const WebAppSchemeHandler&) = delete;
    WebAppSchemeHandler& operator=(const WebAppSchemeHandler&) = delete;

    // Registers the scheme (secure, CORS-enabled) with the context. Call once, before the first load; the
    // handler must outlive the context's use of it.
    void registerWith(WebKitWebContext* context);

    void handle(WebKitURISchemeRequest* request);

    // Network answers still waiting for their header.
    std::size_t runningCount() const { return transfers_.size(); }

  private:
    void startNetwork(WebKitURISchemeRequest* request, const std::string& url);

    ZELURLProtocolDelegate& delegate_;
    SoupSession* session_;
    std::unordered_map<ZELNetworkPassthrough*, std::unique_ptr<ZELNetworkPassthrough>> transfers_;
};

}  // namespace zel
