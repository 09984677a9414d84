#include "platform/net/ZELProxyTransfer.h"

#include "core/log/ZELLog.h"
#include "platform/net/UriText.h"

#include <string>
#include <string_view>
#include <utility>

namespace zel::platform {
namespace {

struct FieldCopy {
    SoupMessageHeaders* to;
    const char* connection;
};

void copyFields(SoupMessageHeaders* from, SoupMessageHeaders* to) {
    FieldCopy copy{to, soup_message_headers_get_list(from, "Connection")};
    soup_message_headers_foreach(
        from,
        [](const char* name, const char* value, gpointer data) {
            auto* copy = static_cast<FieldCopy*>(data);
            if (!isHopByHopField(name, copy->connection)) soup_message_headers_append(copy->to, name, value);
        },
        &copy);
}

// An answer that never has a body (RFC 9110 6.4.1); 1xx answers are the session's own business.
bool isBodiless(SoupMessage* message) {
    const guint status = soup_message_get_status(message);
    return soup_message_get_method(message) == SOUP_METHOD_HEAD || status == SOUP_STATUS_NO_CONTENT ||
           status == SOUP_STATUS_NOT_MODIFIED;
}

// The session takes a bodiless answer with neither a length nor chunks as ending at close, and would not
// reuse its connection: such an answer ends with its header.
void endBodilessAtHeader(SoupMessage* message) {
    SoupMessageHeaders* headers = soup_message_get_response_headers(message);
    if (isBodiless(message) && soup_message_headers_get_encoding(headers) == SOUP_ENCODING_EOF)
        soup_message_headers_set_encoding(headers, SOUP_ENCODING_NONE);
}

void answerBadGateway(SoupServerMessage* msg, const char* why) {
    soup_message_headers_clear(soup_server_message_get_response_headers(msg));
    soup_server_message_set_status(msg, SOUP_STATUS_BAD_GATEWAY, nullptr);
    soup_server_message_set_response(msg, "text/plain", SOUP_MEMORY_COPY, why,
                                     std::char_traits<char>::length(why));
    soup_server_message_unpause(msg);
}

}  // namespace

bool isHopByHopField(const char* name, const char* connection) {
    static constexpr const char* kFields[] = {"Connection",
                                              "Keep-Alive",
                                              "Proxy-Authenticate",
                                              "Proxy-Authorization",
                                              "Proxy-Connection",
                                              "TE",
                                              "Trailer",
                                              "Transfer-Encoding",
                                              "Upgrade",
                                              "Host",
                                              "Content-Length"};
    for (const char* field : kFields) {
        if (g_ascii_strcasecmp(name, field) == 0) return true;
    }
    return connection != nullptr && soup_header_contains(connection, name);
}

ZELProxyTransfer::ZELProxyTransfer(SoupSession* session, SoupServerMessage* msg, SoupMessage* upstream,
                                   EndedHandler ended)
    : session_(session),
      msg_(retained(msg)),
      upstream_(upstream),
      cancellable_(g_cancellable_new()),
      ended_(std::move(ended)) {
    // The web view follows redirects itself, with its own cookies and checks.
    soup_message_add_flags(upstream_.get(), SOUP_MESSAGE_NO_REDIRECT);
    g_signal_connect(upstream_.get(), "got-headers", G_CALLBACK(endBodilessAtHeader), nullptr);
    soup_server_message_pause(msg_.get());
    finished_ = g_signal_connect(msg_.get(), "finished", G_CALLBACK(onFinished), this);
}

std::unique_ptr<ZELProxyTransfer> ZELProxyTransfer::forward(SoupSession* session, SoupServerMessage* msg,
                                                            EndedHandler ended) {
    SoupMessage* upstream =
        soup_message_new_from_uri(soup_server_message_get_method(msg), soup_server_message_get_uri(msg));
    copyFields(soup_server_message_get_request_headers(msg), soup_message_get_request_headers(upstream));
    SoupMessageBody* body = soup_server_message_get_request_body(msg);
    if (body->length > 0) {
        GBytes* bytes = soup_message_body_flatten(body);
        soup_message_set_request_body_from_bytes(upstream, nullptr, bytes);
        g_bytes_unref(bytes);
    }
    return std::unique_ptr<ZELProxyTransfer>(new ZELProxyTransfer(session, msg, upstream, std::move(ended)));
}

std::unique_ptr<ZELProxyTransfer> ZELProxyTransfer::plainGet(SoupSession* session, SoupServerMessage* msg,
                                                             const std::string& url, EndedHandler ended) {
    SoupMessage* upstream = soup_message_new(SOUP_METHOD_GET, url.c_str());
    if (upstream == nullptr) {
        zelLog("cannot load %@: not an HTTP address", url);
        answerBadGateway(msg, "not an HTTP address");
        return nullptr;
    }
    return std::unique_ptr<ZELProxyTransfer>(new ZELProxyTransfer(session, msg, upstream, std::move(ended)));
}

ZELProxyTransfer::~ZELProxyTransfer() {
    stopWatchingClient();
    if (link_ != nullptr) link_->detach();
    g_cancellable_cancel(cancellable_.get());
    if (finished_ != 0) g_signal_handler_disconnect(msg_.get(), finished_);
}

void ZELProxyTransfer::start() {
    link_ = AsyncLink<ZELProxyTransfer>::start(this, &ZELProxyTransfer::responded);
    soup_session_send_async(session_, upstream_.get(), G_PRIORITY_DEFAULT, cancellable_.get(),
                            AsyncLink<ZELProxyTransfer>::callback, link_);
    watchClient();
}

void ZELProxyTransfer::watchClient() {
    GSocket* socket = soup_server_message_get_socket(msg_.get());
    if (socket == nullptr) return;
    clientWatch_ =
        g_socket_create_source(socket, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), nullptr);
    g_source_set_callback(clientWatch_, G_SOURCE_FUNC(&ZELProxyTransfer::onClientActivity), this, nullptr);
    g_source_attach(clientWatch_, g_main_context_get_thread_default());
}

gboolean ZELProxyTransfer::onClientActivity(GSocket* socket, GIOCondition, gpointer self) {
    char byte;
    GInputVector vector{&byte, 1};
    gint flags = G_SOCKET_MSG_PEEK;
    GError* error = nullptr;
    const gssize peeked =
        g_socket_receive_message(socket, nullptr, &vector, 1, nullptr, nullptr, &flags, nullptr, &error);
    const bool wouldBlock = error != nullptr && g_error_matches(error, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK);
    g_clear_error(&error);
    if (wouldBlock) return G_SOURCE_CONTINUE;
    auto* transfer = static_cast<ZELProxyTransfer*>(self);
    g_source_unref(std::exchange(transfer->clientWatch_, nullptr));
    // A further request on the connection (peeked > 0) is the server's to read; only an end counts.
    if (peeked <= 0) transfer->clientGone();
    return G_SOURCE_REMOVE;
}

void ZELProxyTransfer::stopWatchingClient() {
    if (clientWatch_ == nullptr) return;
    g_source_destroy(clientWatch_);
    g_source_unref(std::exchange(clientWatch_, nullptr));
}

void ZELProxyTransfer::responded(GObject* source, GAsyncResult* result) {
    link_ = nullptr;
    stopWatchingClient();
    GError* error = nullptr;
    GInputStream* body = soup_session_send_finish(SOUP_SESSION(source), result, &error);
    if (body == nullptr) {
        zelLog("load failed %@: %@", uriText(soup_message_get_uri(upstream_.get())), error->message);
        answerBadGateway(msg_.get(), error->message);
        g_error_free(error);
        end();
        return;
    }
    GObjectPtr<GInputStream> owned(body);
    SoupMessageHeaders* received = soup_message_get_response_headers(upstream_.get());
    SoupMessageHeaders* sent = soup_server_message_get_response_headers(msg_.get());
    soup_server_message_set_status(msg_.get(), soup_message_get_status(upstream_.get()),
                                   soup_message_get_reason_phrase(upstream_.get()));
    // The server dated the answer when the request came in; the origin's own date is the one to pass on.
    if (soup_message_headers_get_one(received, "Date") != nullptr) soup_message_headers_remove(sent, "Date");
    copyFields(received, sent);
    const bool bodiless = isBodiless(upstream_.get());
    const bool sized = soup_message_headers_get_encoding(received) == SOUP_ENCODING_CONTENT_LENGTH;
    const goffset length = soup_message_headers_get_content_length(received);
    if (sized && soup_message_get_status(upstream_.get()) != SOUP_STATUS_NO_CONTENT) {
        // For HEAD and 304 this is the length a GET would have had: passed on, no body is sent.
        soup_message_headers_set_content_length(sent, length);
    } else {
        // Chunks keep the client's connection open after a body that ends when the origin closes, and after
        // an answer without a body: the web view's network stack takes one with neither a length nor chunks
        // as ending at close, and the server drops a Content-Length from a 204, even "0" (so a 204 says
        // "chunked", although it carries no body and the client reads none).
        soup_message_headers_set_encoding(sent, SOUP_ENCODING_CHUNKED);
    }
    if (bodiless) {
        // Nothing to pump: the answer goes out first, and the upstream side is finished after it (finished).
        answered_ = std::move(owned);
        soup_message_body_complete(soup_server_message_get_response_body(msg_.get()));
        soup_server_message_unpause(msg_.get());
        return;
    }
    if (sized && length <= static_cast<goffset>(ZELBodyPump::kPieceSize)) {
        readWhole(std::move(owned), static_cast<gsize>(length));
        return;
    }
    pump_ = std::make_unique<ZELBodyPump>(msg_.get(), body, -1, [this](bool) { end(); });
    pump_->start();
}

void ZELProxyTransfer::readWhole(GObjectPtr<GInputStream> body, gsize length) {
    whole_.resize(length);
    reading_ = std::move(body);
    // Usually the body came with the header and waits in the connection's buffer: taken without a round of
    // the loop.
    if (G_IS_POLLABLE_INPUT_STREAM(reading_.get()) &&
        g_pollable_input_stream_can_poll(G_POLLABLE_INPUT_STREAM(reading_.get()))) {
        while (wholeLength_ < length) {
            const gssize read = g_pollable_input_stream_read_nonblocking(
                G_POLLABLE_INPUT_STREAM(reading_.get()), whole_.data() + wholeLength_, length - wholeLength_,
                nullptr, nullptr);
            if (read <= 0) break;  // not there yet, or a failure the read below reports
            wholeLength_ += static_cast<gsize>(read);
        }
    }
    if (wholeLength_ == length) {
        answerWhole();
        return;
    }
    link_ = AsyncLink<ZELProxyTransfer>::start(this, &ZELProxyTransfer::wholeRead);
    g_input_stream_read_all_async(reading_.get(), whole_.data() + wholeLength_, length - wholeLength_,
                                  G_PRIORITY_DEFAULT, cancellable_.get(),
                                  AsyncLink<ZELProxyTransfer>::callback, link_);
    watchClient();
}

void ZELProxyTransfer::wholeRead(GObject* source, GAsyncResult* result) {
    link_ = nullptr;
    stopWatchingClient();
    gsize read = 0;
    GError* error = nullptr;
    const bool whole = g_input_stream_read_all_finish(G_INPUT_STREAM(source), result, &read, &error) &&
                       wholeLength_ + read == whole_.size();
    if (!whole) {
        const char* why = error != nullptr ? error->message : "the body ended early";
        zelLog("load failed %@: %@", uriText(soup_message_get_uri(upstream_.get())), why);
        // Nothing went out yet: the client learns it as it would of a failure before the header.
        answerBadGateway(msg_.get(), why);
        g_clear_error(&error);
        end();
        return;
    }
    wholeLength_ += read;
    answerWhole();
}

void ZELProxyTransfer::answerWhole() {
    answered_ = std::move(reading_);
    SoupMessageBody* body = soup_server_message_get_response_body(msg_.get());
    soup_message_body_append(body, SOUP_MEMORY_COPY, whole_.data(), whole_.size());
    soup_message_body_complete(body);
    soup_server_message_unpause(msg_.get());
}

void ZELProxyTransfer::onFinished(SoupServerMessage*, gpointer self) {
    auto* transfer = static_cast<ZELProxyTransfer*>(self);
    if (transfer->answered_ == nullptr) {
        transfer->clientGone();
        return;
    }
    // Reading the body to its end, which is there and takes no waiting, lets the upstream connection go back
    // to its pool; closing it unread would not.
    char none;
    g_input_stream_read(transfer->answered_.get(), &none, 1, nullptr, nullptr);
    transfer->end();
}

void ZELProxyTransfer::clientGone() {
    // The client left before the answer's header arrived (a page that went away): stop the transfer. Once the
    // body flows, the pump sees the client go.
    if (pump_ != nullptr) return;
    zelLog("load cancelled %@", uriText(soup_message_get_uri(upstream_.get())));
    end();
}

void ZELProxyTransfer::end() {
    if (link_ != nullptr) {
        link_->detach();
        link_ = nullptr;
    }
    g_cancellable_cancel(cancellable_.get());
    EndedHandler ended = std::move(ended_);
    ended_ = nullptr;
    if (ended) ended(this);  // may destroy this object
}

}  // namespace zel::platform
