// Receives the whole body of one finished transfer of a ZELAsyncDownloader, on the thread that started it.
// A failed transfer (network error, time-out) is never reported.
#pragma once

#include <string>

namespace zel {

class ZELAsyncDownloaderDelegate {
  public:
    virtual ~ZELAsyncDownloaderDelegate() = default;
    // data: the body as received, whatever the status; requestURL: the address that was fetched.
    virtual void dataDownloadedForURLRequest(const std::string& /*data*/, const std::string& /*requestURL*/) {
    }
};

}  // namespace zel
