// Feeds a ZELQueueDownloader one address at a time and receives each body. Main thread.
#pragma once

#include <optional>
#include <string>

namespace zel {

class ZELQueueDownloaderDelegate {
  public:
    virtual ~ZELQueueDownloaderDelegate() = default;
    // The next address to fetch; nullopt ends the run.
    virtual std::optional<std::string> queueNextURL() { return std::nullopt; }
    // The whole body fetched from url.
    virtual void dataDownloadedForURL(const std::string& /*data*/, const std::string& /*url*/) {}
};

}  // namespace zel
