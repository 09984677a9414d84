#include "platform/net/ZELSoupDownloaderFactory.h"

namespace zel::platform {

ZELSoupDownloaderFactory::ZELSoupDownloaderFactory(std::chrono::seconds timeout)
    // The four hash-map documents are fetched at the same time, so a host gets more than libsoup's default
    // two connections.
    : session_(soup_session_new_with_options("timeout", static_cast<guint>(timeout.count()),
                                             "max-conns-per-host", 6u, "user-agent", "Ostrelle/0.1",
                                             nullptr)) {}

ZELSoupDownloaderFactory::~ZELSoupDownloaderFactory() {
    running_.clear();  // cancels, and detaches the delegates
    soup_session_abort(session_);
    g_object_unref(session_);
}

void ZELSoupDownloaderFactory::startAsyncDownloader(const std::string& url,
                                                    ZELAsyncDownloaderDelegate& delegate) {
    auto downloader = std::make_unique<ZELAsyncDownloader>(
        session_, url, &delegate, [this](ZELAsyncDownloader* ended) { running_.erase(ended); });
    if (!downloader->running()) return;
    ZELAsyncDownloader* key = downloader.get();
    running_.emplace(key, std::move(downloader));
}

}  // namespace zel::platform
