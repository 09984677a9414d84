// Answers one request of the web app (an address under "/player/mac/www", or a file address) for the web
// view's URI scheme handler, through its delegate (the web view delegate, which asks the cache controller):
//
// - the file on disk that answers it (cache or bundle): status 200, a MIME type from the file name and
// exactly
//   one header field, "X-HY-HASHMAP-CACHE: local"; the file is streamed, not read whole;
// - otherwise the delegate's real request (the build address on the static file server, or the request's own
//   http address when the hash maps have no entry): logged "load raw %@" and passed through from the network
//   as it comes (ZELNetworkPassthrough); nothing is stored.
//
// One object per request; it lives only while it decides. A network answer is handed to `startNetwork`, whose
// owner keeps the transfer until it ends or WebKit drops the request. A delegate with no answer to either
// question gets the page an error instead of a request that never ends. Main thread.
#pragma once

#include "ui/web/ZELURLProtocolDelegate.h"

#include <webkit/webkit.h>

#include <filesystem>
#include <functional>
#include <string>

namespace zel {

class ZELURLHashMapProtocol {
  public:
    using NetworkStarter = std::function<void(WebKitURISchemeRequest* request, const std::string& url)>;

    // url: the request's network address. request, delegate: not owned.
    ZELURLHashMapProtocol(WebKitURISchemeRequest* request, std::string url, ZELURLProtocolDelegate* delegate,
                          NetworkStarter startNetwork);

    void startLoading();

  private:
    // False when the file could not be opened after all (it went away); the network is asked then.
    bool deliverData(const std::filesystem::path& file);

    WebKitURISchemeRequest* request_;
    std::string url_;
    ZELURLProtocolDelegate* delegate_;
    NetworkStarter startNetwork_;
};

}  // namespace zel
