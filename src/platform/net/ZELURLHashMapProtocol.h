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
// One object per request; it lives only while it decides. The file's pump and a network answer are handed to
// the starters, whose owner keeps them until they end. A delegate with no answer to either question gets the
// page "502 Bad Gateway" instead of a request that never ends. Main thread.
#pragma once

#include "core/cache/ZELURLProtocolDelegate.h"

#include <libsoup/soup.h>

#include <filesystem>
#include <functional>
#include <string>

namespace zel::platform {

class ZELURLHashMapProtocol {
  public:
    using NetworkStarter = std::function<void(SoupServerMessage* msg, const std::string& url)>;
    using FileStarter = std::function<void(SoupServerMessage* msg, GInputStream* body, gint64 length)>;

    // msg, delegate: not owned. url: the request's address.
    ZELURLHashMapProtocol(SoupServerMessage* msg, std::string url, ZELURLProtocolDelegate* delegate,
                          NetworkStarter startNetwork, FileStarter startFile);

    void startLoading();

  private:
    // False when the file could not be opened after all (it went away); the network is asked then.
    bool deliverData(const std::filesystem::path& file);

    SoupServerMessage* msg_;
    std::string url_;
    ZELURLProtocolDelegate* delegate_;
    NetworkStarter startNetwork_;
    FileStarter startFile_;
};

}  // namespace zel::platform
