// Fetches a sequence of addresses strictly one after another: asks its delegate for the next address, fetches
// it whole, hands the body back, and asks again, until the delegate answers nullopt. A failed transfer ends
// the run silently (nothing further is asked or told). Calling start during a run begins a second,
// independent chain that draws from the same delegate.
//
// Does not own its delegate or the factory; both must outlive it (the factory's transfers never call back
// into a destroyed queue downloader once the factory is gone). Main thread.
#pragma once

#include "core/cache/ZELAsyncDownloaderDelegate.h"
#include "core/cache/ZELDownloaderFactory.h"
#include "core/cache/ZELQueueDownloaderDelegate.h"

namespace zel {

class ZELQueueDownloader : public ZELAsyncDownloaderDelegate {
  public:
    explicit ZELQueueDownloader(ZELDownloaderFactory& downloads);

    void setDelegate(ZELQueueDownloaderDelegate* delegate) { delegate_ = delegate; }
    ZELQueueDownloaderDelegate* delegate() const { return delegate_; }

    void start();
    void dataDownloadedForURLRequest(const std::string& data, const std::string& requestURL) override;

  private:
    ZELDownloaderFactory& downloads_;
    ZELQueueDownloaderDelegate* delegate_ = nullptr;
};

}  // namespace zel
