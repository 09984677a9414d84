// Answers one request of the web app (an address the web view delegate marked: it contains
// "/player/mac/www") that reached the web view's proxy, through its delegate (the web view delegate, which
// asks the cache controller):
//
// - the file on disk that answers it (cache or bundle): status 200, a MIME type from the file name and the
//   header field "X-HY-HASHMAP-CACHE: local"; a Range request gets 206 with Content-Range (416 when no byte
//   of the range exists), so media under the web app's folder plays and seeks. The file is streamed at the
//   client's pace, never read whole;
// - otherwise the delegate's real request (the build address on the static file server, or the request's own
//   address when the hash maps have no entry): logged "load raw %@" and passed through from the network as it
//   comes; nothing is stored.
//
// Two steps on two threads: lookUp() asks the delegate on the thread the delegate lives on and opens the file
// there; startLoading() answers on the proxy's thread, which alone touches the request. One object per
// request; it lives only while it answers. The file's pump and a network answer are handed to the starters,
// whose owner keeps them until they end. A delegate with no answer to either question gets the page "502 Bad
// Gateway" instead of a request that never ends.
#pragma once

#include "core/cache/ZELURLProtocolDelegate.h"
#include "platform/net/GObjectPtr.h"

#include <libsoup/soup.h>

#include <functional>
#include <optional>
#include <string>

namespace zel::platform {

// What the delegate answered for one address: the file, opened, and the real request.
struct ZELLocalAnswer {
    GObjectPtr<GInputStream> file;
    std::string fileName;
    std::optional<std::string> real;
};

class ZELURLHashMapProtocol {
  public:
    using NetworkStarter = std::function<void(SoupServerMessage* msg, const std::string& url)>;
    using FileStarter = std::function<void(SoupServerMessage* msg, GInputStream* body, gint64 length)>;

    // The delegate's thread. delegate: not owned, may be null (no answers).
    static ZELLocalAnswer lookUp(ZELURLProtocolDelegate* delegate, const std::string& url);

    // msg: not owned. url: the request's address.
    ZELURLHashMapProtocol(SoupServerMessage* msg, std::string url, NetworkStarter startNetwork,
                          FileStarter startFile);

    // The proxy's thread.
    void startLoading(ZELLocalAnswer answer);

  private:
    // False when the file cannot be read where the range starts; the network is asked then.
    bool deliverData(GInputStream* stream, const std::string& fileName);

    SoupServerMessage* msg_;
    std::string url_;
    NetworkStarter startNetwork_;
    FileStarter startFile_;
};

}  // namespace zel::platform
