// Runs the cache's transfers over libsoup: one HTTP session (connections kept alive and reused, so a queue of
// files fetched one after another travels over one connection) and the downloaders that are running in it.
//
// Owns the session and every running ZELAsyncDownloader; a finished downloader is dropped at once. Destroying
// the factory cancels the running transfers without calling their delegates, so an owner may destroy the
// factory and then the delegates. Main thread (the thread whose main context runs the transfers).
#pragma once

#include "core/cache/ZELDownloaderFactory.h"
#include "platform/net/ZELAsyncDownloader.h"

#include <libsoup/soup.h>

#include <chrono>
#include <memory>
#include <unordered_map>

namespace zel::platform {

class ZELSoupDownloaderFactory : public ZELDownloaderFactory {
  public:
    static constexpr std::chrono::seconds kTimeout{60};

    // timeout: how long a transfer may wait for the network before it fails (tests shorten it).
    explicit ZELSoupDownloaderFactory(std::chrono::seconds timeout = kTimeout);
    ~ZELSoupDownloaderFactory() override;
    ZELSoupDownloaderFactory(const ZELSoupDownloaderFactory&) = delete;
    ZELSoupDownloaderFactory& operator=(const ZELSoupDownloaderFactory&) = delete;

    void startAsyncDownloader(const std::string& url, ZELAsyncDownloaderDelegate& delegate) override;

    std::size_t runningCount() const { return running_.size(); }

  private:
    SoupSession* session_;
    std::unordered_map<ZELAsyncDownloader*, std::unique_ptr<ZELAsyncDownloader>> running_;
};

}  // namespace zel::platform
