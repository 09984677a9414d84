#include "core/cache/ZELQueueDownloader.h"

#include "core/log/ZELLog.h"

#include <optional>

namespace zel {

ZELQueueDownloader::ZELQueueDownloader(ZELDownloaderFactory& downloads) : downloads_(downloads) {}

void ZELQueueDownloader::start() {
    const std::optional<std::string> next = delegate_ != nullptr ? delegate_->queueNextURL() : std::nullopt;
    zelLog("start %@", next ? Value(*next) : nil());
    if (next) downloads_.startAsyncDownloader(*next, *this);
}

void ZELQueueDownloader::dataDownloadedForURLRequest(const std::string& data, const std::string& requestURL) {
    if (delegate_ != nullptr) delegate_->dataDownloadedForURL(data, requestURL);
    start();
}

}  // namespace zel
