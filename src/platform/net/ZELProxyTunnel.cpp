#include "platform/net/ZELProxyTunnel.h"

#include "core/log/ZELLog.h"

#include <utility>

namespace zel::platform {
namespace {

bool isProxyField(const char* name) {
    return g_ascii_strcasecmp(name, "Proxy-Authorization") == 0 ||
           g_ascii_strcasecmp(name, "Proxy-Connection") == 0 || g_ascii_strcasecmp(name, "Host") == 0;
}

// The request's head as the origin server expects it: origin-form target, the connection fields kept (an
// upgrade needs them), the proxy's own fields dropped.
std::string upstreamHead(SoupServerMessage* msg, const std::string& authority) {
    GUri* uri = soup_server_message_get_uri(msg);
    const char* query = g_uri_get_query(uri);
    std::string head = std::string(soup_server_message_get_method(msg)) + " " + g_uri_get_path(uri) +
                       (query != nullptr ? std::string("?") + query : std::string()) +
                       " HTTP/1.1\r\nHost: " + authority + "\r\n";
    soup_message_headers_foreach(
        soup_server_message_get_request_headers(msg),
        [](const char* name, const char* value, gpointer data) {
            if (!isProxyField(name))
                *static_cast<std::string*>(data) += std::string(name) + ": " + value + "\r\n";
        },
        &head);
    return head + "\r\n";
}

}  // namespace

ZELProxyTunnel::ZELProxyTunnel(SoupServerMessage* msg, EndedHandler ended)
    : cancellable_(g_cancellable_new()), ended_(std::move(ended)) {
    GUri* uri = soup_server_message_get_uri(msg);
    host_ = g_uri_get_host(uri) != nullptr ? g_uri_get_host(uri) : "";
    port_ = g_uri_get_port(uri) > 0 ? g_uri_get_port(uri) : 80;
    isConnect_ = soup_server_message_get_method(msg) == SOUP_METHOD_CONNECT;
    const std::string authority = host_ + (port_ == 80 ? "" : ":" + std::to_string(port_));
    greeting_ = isConnect_ ? "HTTP/1.1 200 Connection established\r\n\r\n" : upstreamHead(msg, authority);
    // What the server had not yet sent of its own answer is discarded with the connection it gives up.
    client_.reset(soup_server_message_steal_connection(msg));
}

ZELProxyTunnel::~ZELProxyTunnel() {
    if (link_ != nullptr) link_->detach();
    g_cancellable_cancel(cancellable_.get());
    if (client_) g_io_stream_close(client_.get(), nullptr, nullptr);
    if (upstream_) g_io_stream_close(G_IO_STREAM(upstream_.get()), nullptr, nullptr);
}

void ZELProxyTunnel::start() {
    GSocketClient* socketClient = g_socket_client_new();
    link_ = AsyncLink<ZELProxyTunnel>::start(this, &ZELProxyTunnel::connected);
    g_socket_client_connect_to_host_async(socketClient, host_.c_str(), static_cast<guint16>(port_),
                                          cancellable_.get(), AsyncLink<ZELProxyTunnel>::callback, link_);
    g_object_unref(socketClient);
}

void ZELProxyTunnel::connected(GObject* source, GAsyncResult* result) {
    link_ = nullptr;
    GError* error = nullptr;
    upstream_.reset(g_socket_client_connect_to_host_finish(G_SOCKET_CLIENT(source), result, &error));
    if (!upstream_) {
        zelLog("tunnel to %@ failed: %@", host_, error->message);
        g_error_free(error);
        fail("HTTP/1.1 502 Bad Gateway\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
        return;
    }
    GOutputStream* to = isConnect_ ? g_io_stream_get_output_stream(client_.get())
                                   : g_io_stream_get_output_stream(G_IO_STREAM(upstream_.get()));
    link_ = AsyncLink<ZELProxyTunnel>::start(this, &ZELProxyTunnel::written);
    g_output_stream_write_all_async(to, greeting_.data(), greeting_.size(), G_PRIORITY_DEFAULT,
                                    cancellable_.get(), AsyncLink<ZELProxyTunnel>::callback, link_);
}

void ZELProxyTunnel::written(GObject* source, GAsyncResult* result) {
    link_ = nullptr;
    if (!g_output_stream_write_all_finish(G_OUTPUT_STREAM(source), result, nullptr, nullptr)) {
        end();
        return;
    }
    link_ = AsyncLink<ZELProxyTunnel>::start(this, &ZELProxyTunnel::spliced);
    g_io_stream_splice_async(client_.get(), G_IO_STREAM(upstream_.get()),
                             static_cast<GIOStreamSpliceFlags>(G_IO_STREAM_SPLICE_CLOSE_STREAM1 |
                                                               G_IO_STREAM_SPLICE_CLOSE_STREAM2),
                             G_PRIORITY_DEFAULT, cancellable_.get(), AsyncLink<ZELProxyTunnel>::callback,
                             link_);
}

void ZELProxyTunnel::spliced(GObject*, GAsyncResult* result) {
    link_ = nullptr;
    g_io_stream_splice_finish(result, nullptr);
    end();
}

void ZELProxyTunnel::fail(const char* answer) {
    g_output_stream_write_all(g_io_stream_get_output_stream(client_.get()), answer,
                              std::char_traits<char>::length(answer), nullptr, nullptr, nullptr);
    end();
}

void ZELProxyTunnel::end() {
    EndedHandler ended = std::move(ended_);
    ended_ = nullptr;
    if (ended) ended(this);  // may destroy this object
}

}  // namespace zel::platform
