#include "platform/net/ZELAsyncDownloader.h"

#include "core/log/ZELLog.h"

#include <utility>

namespace zel::platform {

ZELAsyncDownloader::ZELAsyncDownloader(SoupSession* session, std::string url,
                                       ZELAsyncDownloaderDelegate* delegate, EndedHandler ended)
    : url_(std::move(url)), delegate_(delegate), ended_(std::move(ended)) {
    zelLog("download %@", url_);
    message_ = soup_message_new(SOUP_METHOD_GET, url_.c_str());
    if (message_ == nullptr) {
        zelLog("download failed %@: not an HTTP address", url_);
        return;
    }
    SoupMessageHeaders* headers = soup_message_get_request_headers(message_);
    soup_message_headers_replace(headers, "Cache-Control", "no-cache");
    soup_message_headers_replace(headers, "Pragma", "no-cache");
    cancellable_ = g_cancellable_new();
    link_ = AsyncLink<ZELAsyncDownloader>::start(this, &ZELAsyncDownloader::finished);
    soup_session_send_and_read_async(session, message_, G_PRIORITY_DEFAULT, cancellable_,
                                     AsyncLink<ZELAsyncDownloader>::callback, link_);
}

ZELAsyncDownloader::~ZELAsyncDownloader() {
    if (link_ != nullptr) {
        link_->detach();
        g_cancellable_cancel(cancellable_);
    }
    g_clear_object(&cancellable_);
    g_clear_object(&message_);
}

void ZELAsyncDownloader::finished(GObject* source, GAsyncResult* result) {
    link_ = nullptr;
    GError* error = nullptr;
    GBytes* body = soup_session_send_and_read_finish(SOUP_SESSION(source), result, &error);
    std::string data;
    if (body != nullptr) {
        gsize size = 0;
        const auto* bytes = static_cast<const char*>(g_bytes_get_data(body, &size));
        if (size != 0) data.assign(bytes, size);
        g_bytes_unref(body);
    }
    // `ended` may destroy this object; everything needed afterwards is taken first.
    const std::string url = url_;
    ZELAsyncDownloaderDelegate* delegate = delegate_;
    EndedHandler ended = std::move(ended_);
    if (ended) ended(this);

    if (error != nullptr) {
        zelLog("download failed %@: %@", url, error->message);
        g_error_free(error);
        return;
    }
    if (delegate != nullptr) delegate->dataDownloadedForURLRequest(data, url);
}

}  // namespace zel::platform
