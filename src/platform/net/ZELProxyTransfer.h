// One request answered through the network on behalf of the web view: sends a request upstream and passes the
// answer to the waiting proxy request as it comes (status and reason, every header field but the
// connection's own, all Set-Cookie fields, the body at the client's pace). Redirects are handed to the
// client, not followed; compressed bodies pass as they are (the client decodes them); no cookie jar, no cache
// and no authentication of the session's own stand in between.
//
// Two kinds: forward() sends the request as the client made it (method, header fields, body) to its own
// address; plainGet() sends a plain GET of another address, carrying nothing of the client's request. A
// network failure before the answer's header becomes "502 Bad Gateway" with the reason as text.
//
// The client's connection stays open for its next request after every whole answer (a body that ends when
// the origin closes goes out in chunks); the upstream one goes back to the session's pool unless the origin
// closes it. An answer without a body (204, 304, HEAD) goes out before the upstream side is finished; a body
// of a known length up to one piece is read whole and goes out with the header in one answer (most answers of
// an API are small: this spares them the pump's rounds), or, should it fail, as "502 Bad Gateway".
//
// Owned by the proxy until `ended` runs (which may destroy it); destroying it earlier cancels the transfer.
// The session is not owned and must outlive it. The proxy server's thread.
#pragma once

#include "platform/net/AsyncLink.h"
#include "platform/net/GObjectPtr.h"
#include "platform/net/ZELBodyPump.h"

#include <libsoup/soup.h>

#include <functional>
#include <memory>
#include <string>

namespace zel::platform {

class ZELProxyTransfer {
  public:
    using EndedHandler = std::function<void(ZELProxyTransfer*)>;

    static std::unique_ptr<ZELProxyTransfer> forward(SoupSession* session, SoupServerMessage* msg,
                                                     EndedHandler ended);
    static std::unique_ptr<ZELProxyTransfer> plainGet(SoupSession* session, SoupServerMessage* msg,
                                                      const std::string& url, EndedHandler ended);
    ~ZELProxyTransfer();
    ZELProxyTransfer(const ZELProxyTransfer&) = delete;
    ZELProxyTransfer& operator=(const ZELProxyTransfer&) = delete;

    // Sends the request; the client's answer may be complete (and this object ended) on return.
    void start();

  private:
    ZELProxyTransfer(SoupSession* session, SoupServerMessage* msg, SoupMessage* upstream, EndedHandler ended);
    void responded(GObject* source, GAsyncResult* result);
    void clientGone();
    void end();
    static void onFinished(SoupServerMessage*, gpointer self);
    // The server does not read from a connection while its answer is pending, so a client that hangs up
    // before the answer's header arrives is noticed by watching its socket.
    void watchClient();
    static gboolean onClientActivity(GSocket* socket, GIOCondition, gpointer self);
    void stopWatchingClient();
    void readWhole(GObjectPtr<GInputStream> body, gsize length);
    void wholeRead(GObject* source, GAsyncResult* result);
    void answerWhole();

    SoupSession* session_;
    GObjectPtr<SoupServerMessage> msg_;
    GObjectPtr<SoupMessage> upstream_;
    GObjectPtr<GCancellable> cancellable_;
    EndedHandler ended_;
    AsyncLink<ZELProxyTransfer>* link_ = nullptr;
    std::unique_ptr<ZELBodyPump> pump_;
    // A body read whole, and its stream while it is read.
    std::string whole_;
    gsize wholeLength_ = 0;
    GObjectPtr<GInputStream> reading_;
    // The upstream body once the whole answer is with the server (none, or read whole), until it is out.
    GObjectPtr<GInputStream> answered_;
    gulong finished_ = 0;
    GSource* clientWatch_ = nullptr;
};

// True for the header fields that belong to one connection rather than to the message (RFC 9110 7.6.1), and
// for those the proxy sets itself (Host, Content-Length); `connection` is the message's Connection field,
// whose listed names count too.
bool isHopByHopField(const char* name, const char* connection);

}  // namespace zel::platform
