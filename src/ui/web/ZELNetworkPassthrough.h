// Answers one request of the web view with the network's answer for an address (a plain GET), passed through
// as it comes: status and reason, header fields, and the body streamed. WebKit reads the body from the
// transfer's own stream as the page consumes it, so nothing is buffered whole here and nothing is stored.
// libsoup decodes compressed bodies; the passed header fields then drop Content-Encoding and Content-Length,
// which would no longer describe the body, and the transport's own fields (Connection, Transfer-Encoding).
// A network failure is passed to WebKit as the request's error.
//
// The request is not kept alive by this object: when WebKit drops it (the page went away) before the header
// has arrived, the transfer is cancelled; once the answer has been handed over, WebKit owns the body stream,
// and dropping it closes the connection. Owned by the scheme handler until `ended` runs (which may destroy
// it); destroying it earlier cancels the transfer. Main thread.
#pragma once

#include "platform/net/AsyncLink.h"

#include <libsoup/soup.h>
#include <webkit/webkit.h>

#include <functional>
#include <string>

namespace zel {

class ZELNetworkPassthrough {
  public:
    using EndedHandler = std::function<void(ZELNetworkPassthrough*)>;

    // session: not owned, must outlive this object.
    ZELNetworkPassthrough(SoupSession* session, WebKitURISchemeRequest* request, std::string url,
                          EndedHandler ended);
    ~ZELNetworkPassthrough();
    ZELNetworkPassthrough(const ZELNetworkPassthrough&) = delete;
    ZELNetworkPassthrough& operator=(const ZELNetworkPassthrough&) = delete;

    // Sends the request; an address libsoup cannot send to ends at once with an error for the page.
    void start();

  private:
    static void requestGone(gpointer self, GObject* finalizedRequest);
    void responded(GObject* source, GAsyncResult* result);
    void finishWithResponse(GInputStream* body);
    void end();

    SoupSession* session_;
    WebKitURISchemeRequest* request_;  // weak: nullptr once WebKit has dropped it
    std::string url_;
    EndedHandler ended_;
    SoupMessage* message_ = nullptr;
    GCancellable* cancellable_ = nullptr;
    platform::AsyncLink<ZELNetworkPassthrough>* link_ = nullptr;
};

}  // namespace zel
