// Told by the cache controller, on the main thread, each time a refresh of the web cache ends.
#pragma once

namespace zel {

class ZELCacheControllerDelegate {
  public:
    virtual ~ZELCacheControllerDelegate() = default;
    virtual void didFinishRefreshingWebCache() {}
};

}  // namespace zel
