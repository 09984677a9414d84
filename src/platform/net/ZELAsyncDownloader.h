// Fetches one address into memory and hands the whole body to its delegate.
//
// GET, with every cache bypassed (no local cache, "no-cache" to intermediaries). The transfer starts when the
// downloader is made. The status is not examined: an error page's body is handed over like any other. A
// failed transfer (network error, connection dropped mid-body, time-out of the session) hands over nothing
// and is only logged; there is no failure callback and no retry.
//
// Held by whoever runs it (ZELSoupDownloaderFactory); destroying a running downloader cancels its transfer
// and the delegate is then never called. When the transfer ends, `ended` runs first (it may destroy the
// downloader) and then the delegate gets the body. The delegate is not owned. Callbacks arrive on the main
// context of the thread that made the downloader.
#pragma once

#include "core/cache/ZELAsyncDownloaderDelegate.h"
#include "platform/net/AsyncLink.h"

#include <libsoup/soup.h>

#include <functional>
#include <string>

namespace zel::platform {

class ZELAsyncDownloader {
  public:
    using EndedHandler = std::function<void(ZELAsyncDownloader*)>;

    // session: not owned, must outlive the downloader; its time-out applies to the transfer.
    ZELAsyncDownloader(SoupSession* session, std::string url, ZELAsyncDownloaderDelegate* delegate,
                       EndedHandler ended);
    ~ZELAsyncDownloader();
    ZELAsyncDownloader(const ZELAsyncDownloader&) = delete;
    ZELAsyncDownloader& operator=(const ZELAsyncDownloader&) = delete;

    const std::string& url() const { return url_; }
    // False once the transfer has ended, or when it could not start (an address that is not a URL).
    bool running() const { return link_ != nullptr; }

  private:
    void finished(GObject* source, GAsyncResult* result);

    std::string url_;
    ZELAsyncDownloaderDelegate* delegate_;
    EndedHandler ended_;
    SoupMessage* message_ = nullptr;
    GCancellable* cancellable_ = nullptr;
    AsyncLink<ZELAsyncDownloader>* link_ = nullptr;
};

}  // namespace zel::platform
