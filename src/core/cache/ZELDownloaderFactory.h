// How the cache reaches the network without depending on an HTTP library: the platform layer implements this
// with real transfers (ZELAsyncDownloader). Main thread.
#pragma once

#include "core/cache/ZELAsyncDownloaderDelegate.h"

#include <string>

namespace zel {

class ZELDownloaderFactory {
  public:
    virtual ~ZELDownloaderFactory() = default;
    // Starts fetching url at once (GET, no caches); the body goes to delegate when the transfer succeeds. The
    // delegate is held weakly: it is never called once the factory is gone, so its owner may destroy the
    // factory and then itself while transfers run. This default fetches nothing, as if every transfer failed.
    virtual void startAsyncDownloader(const std::string& /*url*/, ZELAsyncDownloaderDelegate& /*delegate*/) {}
};

}  // namespace zel
