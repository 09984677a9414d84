#include "platform/net/ZELRelayConnection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

namespace zel::platform {
namespace {

constexpr std::size_t kMaxHead = 64 * 1024;
// A request body up to this size is read whole before it goes out (and may go out again); larger ones stream.
constexpr std::size_t kWholeBody = 64 * 1024;
// One read, and the most a side may have waiting before the other is read again.
constexpr std::size_t kPiece = 64 * 1024;

using http::ZELBodyFraming;

std::string firstLine(std::string_view head) {
    std::string_view line = head.substr(0, head.find('\n'));
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return std::string(line);
}

bool isLoopbackName(const std::string& host) {
    return host == "127.0.0.1" || g_ascii_strcasecmp(host.c_str(), "localhost") == 0;
}

// Moves up to `count` bytes from the front of `from` to the end of `to`.
void move(std::string& from, std::string& to, std::size_t count) {
    to.append(from, 0, count);
    from.erase(0, count);
}

}  // namespace

ZELRelayConnection::ZELRelayConnection(Shared& shared, GObjectPtr<GSocketConnection> client, Closed closed)
    : shared_(shared), closed_(std::move(closed)) {
    attach(client_, ZELUpstreamPool::Connection{std::move(client), nullptr});
}

ZELRelayConnection::~ZELRelayConnection() {
    client_.watch.reset();
    upstream_.watch.reset();
    if (client_.stream) g_io_stream_close(G_IO_STREAM(client_.stream.get()), nullptr, nullptr);
    if (upstream_.stream) g_io_stream_close(G_IO_STREAM(upstream_.stream.get()), nullptr, nullptr);
    idleServer_.close();
}

void ZELRelayConnection::attach(Side& side, ZELUpstreamPool::Connection connection) {
    side = Side{};
    side.stream = std::move(connection.stream);
    GSocket* socket = g_socket_connection_get_socket(side.stream.get());
    side.fd = g_socket_get_fd(socket);
    const bool isClient = &side == &client_;
    // A connection without a watch is new here (one kept between requests brings its own): small answers must
    // not wait for Nagle's delay.
    if (!connection.watch) g_socket_set_option(socket, IPPROTO_TCP, TCP_NODELAY, TRUE, nullptr);
    auto handler = [this, isClient](GIOCondition happened) {
        Side& s = isClient ? client_ : upstream_;
        if (happened & (G_IO_IN | G_IO_HUP | G_IO_ERR)) s.readable = true;
        if (happened & (G_IO_OUT | G_IO_HUP | G_IO_ERR)) s.writable = true;
        advance();
    };
    side.watch = std::move(connection.watch);
    if (side.watch) {
        side.watch->setHandler(std::move(handler));
    } else {
        side.watch = std::make_unique<ZELSocketWatch>(side.fd, std::move(handler));
    }
}

void ZELRelayConnection::start() {
    client_.readable = true;
    advance();
}

void ZELRelayConnection::advance() {
    if (phase_ == Phase::Done) return;
    // finish() hands this connection back to the relay, which may let it go: it must live to the end of the
    // turn.
    const std::shared_ptr<ZELRelayConnection> self = shared_from_this();
    while (phase_ != Phase::Done) {
        if (step()) continue;
        // Writing waits until nothing more can be done, so that what a turn gathers (an answer's head and its
        // body) goes out in one piece.
        if (!flushBoth()) break;
    }
    if (phase_ != Phase::Done) updateWatches();
}

bool ZELRelayConnection::flushBoth() {
    const std::size_t waiting = client_.out.size() + upstream_.out.size();
    if (!flush(client_)) {
        finish();
        return false;
    }
    if (upstream_.stream && !flush(upstream_)) {
        upstream_.ended = true;
        upstream_.out.clear();
        return true;
    }
    return client_.out.size() + upstream_.out.size() != waiting;
}

bool ZELRelayConnection::step() {
    switch (phase_) {
        case Phase::Head:
            return readHead();
        case Phase::WholeBody:
            return readWholeBody();
        case Phase::Connecting:
            return watchClient();
        case Phase::Upload:
            return upload();
        case Phase::AnswerHead:
            return readAnswerHead();
        case Phase::AnswerBody:
            return passAnswerBody();
        case Phase::Tunnel:
            return tunnel();
        case Phase::Closing:
            if (client_.out.empty() && upstream_.out.empty()) finish();
            return false;
        case Phase::Done:
            return false;
    }
    return false;
}

bool ZELRelayConnection::readFrom(Side& side, std::string& into) {
    if (!side.readable || side.ended) return false;
    // One buffer for every connection of the thread: growing `into` by a piece would clear it first.
    static thread_local char buffer[kPiece];
    const ssize_t got = recv(side.fd, buffer, kPiece, 0);
    if (got > 0) {
        into.append(buffer, static_cast<std::size_t>(got));
        // A short read has taken what there was; the watch tells when there is more.
        if (static_cast<std::size_t>(got) < kPiece) side.readable = false;
        return true;
    }
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) {
        side.readable = false;
        return false;
    }
    side.ended = true;
    side.readable = false;
    return true;
}

bool ZELRelayConnection::flush(Side& side) {
    while (!side.out.empty() && side.writable) {
        const ssize_t sent = send(side.fd, side.out.data(), side.out.size(), MSG_NOSIGNAL);
        if (sent > 0) {
            side.out.erase(0, static_cast<std::size_t>(sent));
        } else if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            side.writable = false;
        } else if (sent < 0 && errno == EINTR) {
            continue;
        } else {
            return false;
        }
    }
    return true;
}

bool ZELRelayConnection::readHead() {
    if (const auto size = headLength(in_)) {
        route(*size);
        return true;
    }
    if (in_.size() > kMaxHead) {
        refuse("431 Request Header Fields Too Large", "", true);
        return true;
    }
    if (client_.ended) {
        finish();
        return false;
    }
    return readFrom(client_, in_);
}

void ZELRelayConnection::route(std::size_t headSize) {
    head_ = in_.substr(0, headSize);
    std::optional<ZELRelayRequest> request = parseRequestHead(head_);
    if (!request) {
        refuse("400 Bad Request", "", true);
        return;
    }
    request_ = std::move(*request);
    if (!trusted_) trusted_ = shared_.isOwnChild(g_socket_connection_get_socket(client_.stream.get()));
    const bool hasBody = request_.body.kind != ZELBodyFraming::None;
    if (!*trusted_ && request_.proxyAuthorization != shared_.authorization) {
        in_.erase(0, headSize);
        refuse("407 Proxy Authentication Required", "Proxy-Authenticate: Basic realm=\"Ostrelle\"\r\n",
               hasBody);
        return;
    }
    if (request_.body.kind == ZELBodyFraming::Invalid) {
        refuse("400 Bad Request", "", true);
        return;
    }
    const bool connect = request_.method == "CONNECT";
    if (!connect && (request_.scheme.empty() ||
                     (isLoopbackName(request_.host) &&
                      (request_.port == shared_.ownPort || request_.port == shared_.serverPort)))) {
        // Origin form, or the proxy itself: nothing to forward to (and a loop).
        in_.erase(0, headSize);
        refuse("400 Bad Request", "", hasBody);
        return;
    }
    if (request_.expectsContinue) client_.out += "HTTP/1.1 100 Continue\r\n\r\n";
    retried_ = false;
    answerStarted_ = false;
    const bool marked =
        (request_.method == "GET" || request_.method == "HEAD") && shared_.marks(request_.target);
    const bool small = request_.body.kind == ZELBodyFraming::None ||
                       (request_.body.kind == ZELBodyFraming::Length && request_.body.length <= kWholeBody);
    if (request_.scheme == "http" && request_.http11 && !request_.upgrade && !connect && !marked && small) {
        phase_ = Phase::WholeBody;
        return;
    }
    in_.erase(0, headSize);
    upload_ = http::ZELBodyReader(request_.body);
    phase_ = Phase::Upload;
    toServer(head_, "");
}

bool ZELRelayConnection::readWholeBody() {
    const std::size_t whole = head_.size() + request_.body.length;
    if (in_.size() < whole) {
        if (client_.ended) {
            finish();
            return false;
        }
        return readFrom(client_, in_);
    }
    sent_ = rewriteHead(head_, request_.method + " " + request_.originForm + " HTTP/1.1",
                        "proxy-authorization,proxy-connection,expect", "");
    sent_.append(in_, head_.size(), request_.body.length);
    in_.erase(0, whole);
    toOrigin();
    return true;
}

void ZELRelayConnection::toOrigin() {
    direct_ = true;
    std::optional<ZELUpstreamPool::Connection> pooled;
    if (!retried_) pooled = shared_.pool.take(request_.host, request_.port);
    if (!pooled) {
        phase_ = Phase::Connecting;
        std::weak_ptr<ZELRelayConnection> weak = weak_from_this();
        shared_.pool.connect(request_.host, request_.port, [weak](ZELUpstreamPool::Outcome outcome) {
            if (auto self = weak.lock()) self->connected(std::move(outcome));
        });
        return;
    }
    reusedUpstream_ = pooled->reused;
    attach(upstream_, std::move(*pooled));
    upstream_.out = sent_;
    phase_ = Phase::AnswerHead;
}

void ZELRelayConnection::connected(ZELUpstreamPool::Outcome outcome) {
    if (phase_ != Phase::Connecting) {
        if (outcome.connection)
            shared_.pool.put(request_.host, request_.port, std::move(*outcome.connection));
        return;
    }
    if (outcome.connection) {
        reusedUpstream_ = false;
        attach(upstream_, std::move(*outcome.connection));
        upstream_.out = sent_;
        phase_ = Phase::AnswerHead;
    } else if (!outcome.direct) {
        // Behind a proxy of the user's: the proxy server's session goes through it.
        phase_ = Phase::AnswerHead;
        toServer(head_, sent_.substr(sent_.find("\r\n\r\n") + 4));
    } else {
        badGateway(outcome.error);
    }
    advance();
}

void ZELRelayConnection::toServer(std::string head, std::string body) {
    direct_ = false;
    reusedUpstream_ = false;
    ZELUpstreamPool::Connection server = std::move(idleServer_);
    idleServer_ = {};
    if (server.stream && !server.looksOpen()) server.close();
    if (!server.stream) {
        GObjectPtr<GSocketClient> connector(g_socket_client_new());
        g_socket_client_set_enable_proxy(connector.get(), FALSE);
        GError* error = nullptr;
        // A loopback connect completes at once: the server's listening socket takes it.
        server.stream.reset(g_socket_client_connect_to_host(connector.get(), "127.0.0.1", shared_.serverPort,
                                                            nullptr, &error));
        if (!server.stream) {
            const std::string reason = error->message;
            g_error_free(error);
            badGateway(reason);
            return;
        }
    }
    attach(upstream_, std::move(server));
    upstream_.out = rewriteHead(head, firstLine(head), "proxy-authorization,expect",
                                "Proxy-Authorization: " + shared_.authorization + "\r\n") +
                    body;
}

bool ZELRelayConnection::upload() {
    if (!upstream_.stream) return false;
    const std::size_t room = upstream_.out.size() < kPiece ? kPiece - upstream_.out.size() : 0;
    const std::size_t count = upload_.feed(std::string_view(in_).substr(0, room));
    if (upload_.failed()) {
        finish();
        return false;
    }
    const bool done = upload_.done();
    move(in_, upstream_.out, count);
    if (done) {
        phase_ = Phase::AnswerHead;
        return true;
    }
    if (count > 0) return true;
    if (client_.ended) {
        finish();
        return false;
    }
    return room > 0 && in_.empty() && readFrom(client_, in_);
}

bool ZELRelayConnection::watchClient() {
    // Nothing is read from the client while its answer is pending but its end: a client that hangs up cancels
    // the request (a long poll must not keep its origin busy), a further request waits in `in_`.
    if (in_.size() < kMaxHead && readFrom(client_, in_)) {
        if (client_.ended) finish();
        return !client_.ended;
    }
    return false;
}

bool ZELRelayConnection::readAnswerHead() {
    if (const auto size = headLength(answerIn_)) {
        const std::string_view head(answerIn_.data(), *size);
        std::optional<ZELRelayAnswer> answer = parseAnswerHead(head, request_.method);
        if (!answer || answer->body.kind == ZELBodyFraming::Invalid) {
            badGateway("The server's answer could not be read.");
            return true;
        }
        if (answer->status >= 100 && answer->status < 200 && answer->status != 101) {
            move(answerIn_, client_.out, *size);
            return true;
        }
        answer_ = *answer;
        const ZELBodyFraming kind = answer_.body.kind;
        // A body that ends when the origin closes goes to an HTTP/1.1 client in chunks: the client's
        // connection outlives the origin's.
        rechunk_ = kind == ZELBodyFraming::UntilClose && request_.http11;
        if (rechunk_) {
            client_.out += rewriteHead(head, firstLine(head), "connection,keep-alive,content-length",
                                       "Transfer-Encoding: chunked\r\n");
            answerIn_.erase(0, *size);
        } else if (answer_.status == 204 && !answer_.framed) {
            // Bodiless by its status, yet a client of the web view's HTTP library takes an answer with
            // neither field as ending at close and drops the connection.
            client_.out += rewriteHead(head, firstLine(head), "", "Content-Length: 0\r\n");
            answerIn_.erase(0, *size);
        } else {
            move(answerIn_, client_.out, *size);
        }
        answerStarted_ = true;
        keepUpstream_ = answer_.http11 && !answer_.close && !request_.closeAfter &&
                        kind != ZELBodyFraming::UntilClose && kind != ZELBodyFraming::Tunnel;
        closeAfter_ =
            request_.closeAfter || (!rechunk_ && (answer_.close || kind == ZELBodyFraming::UntilClose));
        answerBody_ = http::ZELBodyReader(answer_.body);
        phase_ = kind == ZELBodyFraming::Tunnel ? Phase::Tunnel : Phase::AnswerBody;
        return true;
    }
    if (answerIn_.size() > kMaxHead) {
        badGateway("The server's answer head is too large.");
        return true;
    }
    if (upstream_.ended) {
        if (answerIn_.empty() && direct_ && reusedUpstream_ && !retried_) {
            // The origin had closed the pooled connection before the request reached it.
            retried_ = true;
            dropUpstream();
            toOrigin();
            return true;
        }
        badGateway("The server closed the connection without answering.");
        return true;
    }
    return readFrom(upstream_, answerIn_) || watchClient();
}

bool ZELRelayConnection::passAnswerBody() {
    const std::size_t room = client_.out.size() < kPiece ? kPiece - client_.out.size() : 0;
    std::size_t count = answerBody_.feed(std::string_view(answerIn_).substr(0, room));
    bool done = answerBody_.done();
    if (answerBody_.failed()) {
        // The client cannot find the end either: it learns of it as the connection closes.
        keepUpstream_ = false;
        closeAfter_ = true;
        done = true;
    } else if (answer_.body.kind == ZELBodyFraming::UntilClose) {
        done = upstream_.ended && answerIn_.size() == count;
        if (rechunk_ && count > 0) {
            char size[20];
            client_.out += std::string_view(size, std::snprintf(size, sizeof size, "%zx\r\n", count));
            move(answerIn_, client_.out, count);
            client_.out += "\r\n";
            count = 0;
            if (!done) return true;
        }
        if (rechunk_ && done) client_.out += "0\r\n\r\n";
    }
    move(answerIn_, client_.out, count);
    if (done) {
        answerDone();
        return true;
    }
    if (count > 0) return true;
    if (upstream_.ended) {
        // The origin stopped inside the body: the client learns it the same way.
        keepUpstream_ = false;
        closeAfter_ = true;
        answerDone();
        return true;
    }
    return (room > 0 && readFrom(upstream_, answerIn_)) || watchClient();
}

void ZELRelayConnection::answerDone() {
    // Bytes past the end of the answer were never asked for: the connection is not to be trusted again.
    if (!answerIn_.empty()) keepUpstream_ = false;
    if (keepUpstream_ && !upstream_.ended && upstream_.out.empty()) {
        ZELUpstreamPool::Connection kept{std::move(upstream_.stream), std::move(upstream_.watch)};
        kept.watch->watch(static_cast<GIOCondition>(0));
        kept.watch->setHandler([](GIOCondition) {});
        if (direct_) {
            shared_.pool.put(request_.host, request_.port, std::move(kept));
        } else {
            idleServer_ = std::move(kept);
        }
        upstream_ = Side{};
    } else {
        dropUpstream();
    }
    answerIn_.clear();
    phase_ = closeAfter_ ? Phase::Closing : Phase::Head;
}

bool ZELRelayConnection::tunnel() {
    bool moved = false;
    if (!in_.empty() && upstream_.out.size() < kPiece) {
        move(in_, upstream_.out, in_.size());
        moved = true;
    }
    if (!answerIn_.empty() && client_.out.size() < kPiece) {
        move(answerIn_, client_.out, answerIn_.size());
        moved = true;
    }
    if (client_.ended || upstream_.ended) {
        // Either end closing ends the tunnel, once what the other still has to get is out.
        phase_ = Phase::Closing;
        return true;
    }
    if (upstream_.out.size() < kPiece && readFrom(client_, in_)) moved = true;
    if (client_.out.size() < kPiece && readFrom(upstream_, answerIn_)) moved = true;
    return moved;
}

void ZELRelayConnection::dropUpstream() {
    upstream_.watch.reset();
    if (upstream_.stream) g_io_stream_close(G_IO_STREAM(upstream_.stream.get()), nullptr, nullptr);
    upstream_ = Side{};
    answerIn_.clear();
}

void ZELRelayConnection::refuse(const char* status, const std::string& extraFields, bool close) {
    client_.out += std::string("HTTP/1.1 ") + status + "\r\n" + extraFields + "Content-Length: 0\r\n" +
                   (close ? "Connection: close\r\n" : "") + "\r\n";
    phase_ = close ? Phase::Closing : Phase::Head;
}

void ZELRelayConnection::badGateway(const std::string& reason) {
    dropUpstream();
    if (answerStarted_) {
        phase_ = Phase::Closing;
        return;
    }
    client_.out += "HTTP/1.1 502 Bad Gateway\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: " +
                   std::to_string(reason.size()) + "\r\n" +
                   (request_.closeAfter ? "Connection: close\r\n" : "") + "\r\n" + reason;
    // A body not yet read from the client would be taken for the next request.
    const bool unread = phase_ == Phase::Upload && request_.body.kind != ZELBodyFraming::None;
    phase_ = request_.closeAfter || unread ? Phase::Closing : Phase::Head;
}

void ZELRelayConnection::finish() {
    if (phase_ == Phase::Done) return;
    phase_ = Phase::Done;
    client_.watch.reset();
    upstream_.watch.reset();
    closed_(this);
}

void ZELRelayConnection::updateWatches() {
    const auto conditions = [](bool in, bool out) {
        return static_cast<GIOCondition>((in ? G_IO_IN : 0) | (out ? G_IO_OUT : 0));
    };
    bool clientIn = false;
    bool upstreamIn = false;
    switch (phase_) {
        case Phase::Head:
        case Phase::WholeBody:
            clientIn = true;
            break;
        case Phase::Upload:
            clientIn = upstream_.out.size() < kPiece;
            break;
        case Phase::Connecting:
        case Phase::AnswerHead:
        case Phase::AnswerBody:
            clientIn = in_.size() < kMaxHead;
            upstreamIn = phase_ != Phase::Connecting && client_.out.size() < kPiece;
            break;
        case Phase::Tunnel:
            clientIn = upstream_.out.size() < kPiece;
            upstreamIn = client_.out.size() < kPiece;
            break;
        default:
            break;
    }
    // A side already known to be readable (or at its end) would wake the loop at once, again and again.
    client_.watch->watch(conditions(clientIn && !client_.readable && !client_.ended, !client_.out.empty()));
    if (upstream_.watch) {
        upstream_.watch->watch(
            conditions(upstreamIn && !upstream_.readable && !upstream_.ended, !upstream_.out.empty()));
    }
}

}  // namespace zel::platform
