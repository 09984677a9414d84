// One connection from a client (the web view's network process) to the web proxy's relay: reads each request
// head, then passes the request on as bytes, unchanged but for the fields that belong to the proxy, and
// passes the answer back the same way, body delimited by its own framing, one request at a time, at the pace
// of the slower side.
//
// - A plain request (HTTP/1.1, http, no upgrade, a body of at most 64 KiB, not one of the web app's files)
//   goes straight to its origin on a pooled connection; a pooled connection that turns out closed before any
//   answer arrived is tried once more on a new one.
// - Everything else (the web app's own files, bodies that stream, upgrades, CONNECT, HTTP/1.0, destinations
//   behind a proxy of the user's) goes to the proxy server with the proxy's credentials, over a connection
//   kept for this client connection.
// - A client that is not the web view's network process must show the credentials (Basic), else it gets 407;
//   a request in origin form or naming the proxy itself gets 400; a head over 64 KiB gets 431.
// - An answer whose body ends when the origin closes goes to the client in chunks, so the client's connection
//   stays open.
// - A failure before any of the answer was passed back becomes "502 Bad Gateway" with the reason as text;
//   after that, the client's connection is closed, as the origin's was.
//
// Owned by the relay through a shared pointer until `closed` runs; destroying it closes both sides. The
// relay's thread only (its thread-default main context).
#pragma once

#include "core/http/ZELBodyReader.h"
#include "core/http/ZELMessageFraming.h"
#include "platform/net/GObjectPtr.h"
#include "platform/net/ZELRelayHead.h"
#include "platform/net/ZELSocketWatch.h"
#include "platform/net/ZELUpstreamPool.h"

#include <gio/gio.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zel::platform {

class ZELRelayConnection : public std::enable_shared_from_this<ZELRelayConnection> {
  public:
    // What every connection of one relay shares; outlives them.
    struct Shared {
        ZELUpstreamPool& pool;
        std::function<bool(const std::string& url)> marks;
        std::function<bool(GSocket* client)> isOwnChild;
        std::string authorization;  // the Proxy-Authorization value that lets a client in
        std::uint16_t ownPort = 0;
        std::uint16_t serverPort = 0;  // the proxy server's
    };
    using Closed = std::function<void(ZELRelayConnection*)>;

    ZELRelayConnection(Shared& shared, GObjectPtr<GSocketConnection> client, Closed closed);
    ~ZELRelayConnection();
    ZELRelayConnection(const ZELRelayConnection&) = delete;
    ZELRelayConnection& operator=(const ZELRelayConnection&) = delete;

    void start();

  private:
    enum class Phase { Head, WholeBody, Connecting, Upload, AnswerHead, AnswerBody, Tunnel, Closing, Done };
    struct Side {
        GObjectPtr<GSocketConnection> stream;
        int fd = -1;
        std::unique_ptr<ZELSocketWatch> watch;
        std::string out;        // waiting to be written to this side
        bool readable = false;  // may have bytes (or its end) to read
        bool writable = true;
        bool ended = false;  // it closed its sending side, or failed
    };

    void advance();
    // One piece of the phase's work: false when it must wait (for bytes, or for room to put them).
    bool step();
    // Writes what waits for either side: false when nothing went (or the client failed, which finishes).
    bool flushBoth();
    bool readHead();
    bool readWholeBody();
    bool upload();
    bool readAnswerHead();
    bool passAnswerBody();
    bool tunnel();
    bool watchClient();

    void route(std::size_t headSize);
    void toOrigin();
    // Sends the request to the proxy server; on failure answers 502 and leaves the phase badGateway chose.
    void toServer(std::string head, std::string body);
    void connected(ZELUpstreamPool::Outcome outcome);
    // Makes the connection this side's, with its watch if it brings one.
    void attach(Side& side, ZELUpstreamPool::Connection connection);
    void answerDone();
    void dropUpstream();
    void refuse(const char* status, const std::string& extraFields, bool close);
    void badGateway(const std::string& reason);
    void finish();
    void updateWatches();

    // Reads what the side has into `into`: false when nothing was read.
    bool readFrom(Side& side, std::string& into);
    // Writes what waits for the side: false on failure.
    bool flush(Side& side);

    Shared& shared_;
    Closed closed_;
    Phase phase_ = Phase::Head;
    Side client_;
    Side upstream_;
    std::string in_;        // from the client, not yet passed on
    std::string answerIn_;  // from upstream, not yet passed on
    std::optional<bool> trusted_;

    // The request being served.
    ZELRelayRequest request_;
    std::string head_;     // its head as received
    std::string sent_;     // what went to the origin, kept to send again on a new connection
    bool direct_ = false;  // upstream is the origin (else the proxy server)
    bool reusedUpstream_ = false;
    bool retried_ = false;
    http::ZELBodyReader upload_;
    ZELRelayAnswer answer_;
    bool answerStarted_ = false;
    http::ZELBodyReader answerBody_;
    bool rechunk_ = false;  // the answer's body goes out in chunks of the relay's own
    bool keepUpstream_ = false;
    bool closeAfter_ = false;
    // The connection to the proxy server between its requests.
    ZELUpstreamPool::Connection idleServer_;
};

}  // namespace zel::platform
