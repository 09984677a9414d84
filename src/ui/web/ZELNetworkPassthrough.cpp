#include "ui/web/ZELNetworkPassthrough.h"

#include "core/log/ZELLog.h"

#include <strings.h>

#include <utility>

namespace zel {
namespace {

struct HeaderCopy {
    SoupMessageHeaders* to;
    bool decoded;
};

bool isTransportField(const char* name, bool decoded) {
    for (const char* field : {"Connection", "Keep-Alive", "Transfer-Encoding"}) {
        if (g_ascii_strcasecmp(name, field) == 0) return true;
    }
    return decoded && (g_ascii_strcasecmp(name, "Content-Encoding") == 0 ||
                       g_ascii_strcasecmp(name, "Content-Length") == 0);
}

}  // namespace

ZELNetworkPassthrough::ZELNetworkPassthrough(SoupSession* session, WebKitURISchemeRequest* request,
                                             std::string url, EndedHandler ended)
    : session_(session), request_(request), url_(std::move(url)), ended_(std::move(ended)) {
    g_object_weak_ref(G_OBJECT(request_), &ZELNetworkPassthrough::requestGone, this);
}

ZELNetworkPassthrough::~ZELNetworkPassthrough() {
    if (link_ != nullptr) {
        link_->detach();
        g_cancellable_cancel(cancellable_);
    }
    if (request_ != nullptr)
        g_object_weak_unref(G_OBJECT(request_), &ZELNetworkPassthrough::requestGone, this);
    g_clear_object(&cancellable_);
    g_clear_object(&message_);
}

void ZELNetworkPassthrough::start() {
    message_ = soup_message_new(SOUP_METHOD_GET, url_.c_str());
    if (message_ == nullptr) {
        zelLog("cannot load %@: not an HTTP address", url_);
        GError* error =
            g_error_new(G_IO_ERROR, G_IO_ERROR_INVALID_ARGUMENT, "Not an HTTP address: %s", url_.c_str());
        webkit_uri_scheme_request_finish_error(request_, error);
        g_error_free(error);
        end();
        return;
    }
    cancellable_ = g_cancellable_new();
    link_ = platform::AsyncLink<ZELNetworkPassthrough>::start(this, &ZELNetworkPassthrough::responded);
    soup_session_send_async(session_, message_, G_PRIORITY_DEFAULT, cancellable_,
                            platform::AsyncLink<ZELNetworkPassthrough>::callback, link_);
}

void ZELNetworkPassthrough::requestGone(gpointer self, GObject* /*finalizedRequest*/) {
    auto* passthrough = static_cast<ZELNetworkPassthrough*>(self);
    passthrough->request_ = nullptr;
    // The completion still arrives (cancelled) and ends this object.
    if (passthrough->cancellable_ != nullptr) g_cancellable_cancel(passthrough->cancellable_);
}

void ZELNetworkPassthrough::responded(GObject* source, GAsyncResult* result) {
    link_ = nullptr;
    GError* error = nullptr;
    GInputStream* body = soup_session_send_finish(SOUP_SESSION(source), result, &error);
    if (request_ == nullptr) {
        zelLog("load cancelled %@", url_);
    } else if (body == nullptr) {
        zelLog("load failed %@: %@", url_, error->message);
        webkit_uri_scheme_request_finish_error(request_, error);
    } else {
        finishWithResponse(body);
    }
    if (body != nullptr) g_object_unref(body);
    if (error != nullptr) g_error_free(error);
    end();
}

void ZELNetworkPassthrough::finishWithResponse(GInputStream* body) {
    SoupMessageHeaders* received = soup_message_get_response_headers(message_);
    const char* encoding = soup_message_headers_get_one(received, "Content-Encoding");
    const bool decoded = encoding != nullptr && g_ascii_strcasecmp(encoding, "identity") != 0;
    const gint64 length =
        !decoded && soup_message_headers_get_encoding(received) == SOUP_ENCODING_CONTENT_LENGTH
            ? soup_message_headers_get_content_length(received)
            : -1;

    WebKitURISchemeResponse* response = webkit_uri_scheme_response_new(body, length);
    const char* reason = soup_message_get_reason_phrase(message_);
    webkit_uri_scheme_response_set_status(response, soup_message_get_status(message_), reason ? reason : "");
    if (const char* type = soup_message_headers_get_one(received, "Content-Type")) {
        webkit_uri_scheme_response_set_content_type(response, type);
    }
    HeaderCopy copy{soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE), decoded};
    soup_message_headers_foreach(
        received,
        [](const char* name, const char* value, gpointer data) {
            auto* copy = static_cast<HeaderCopy*>(data);
            if (!isTransportField(name, copy->decoded)) soup_message_headers_append(copy->to, name, value);
        },
        &copy);
    webkit_uri_scheme_response_set_http_headers(response, copy.to);  // takes the headers
    webkit_uri_scheme_request_finish_with_response(request_, response);
    g_object_unref(response);
}

void ZELNetworkPassthrough::end() {
    if (request_ != nullptr) {
        g_object_weak_unref(G_OBJECT(request_), &ZELNetworkPassthrough::requestGone, this);
        request_ = nullptr;
    }
    EndedHandler ended = std::move(ended_);
    if (ended) ended(this);  // may destroy this object
}

}  // namespace zel
