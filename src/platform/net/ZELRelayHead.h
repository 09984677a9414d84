// The heads of the messages the relay passes on: read with libsoup's header parser, rewritten as text so that
// every field the relay does not own reaches the other side exactly as it came (order, case, repeats).
//
// Pure functions of the head's text; any thread.
#pragma once

#include "core/http/ZELMessageFraming.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zel::platform {

// Where a head ends in `bytes` (just past its empty line, CRLF or LF), or nullopt while it is incomplete.
std::optional<std::size_t> headLength(std::string_view bytes);

struct ZELRelayRequest {
    std::string method;
    std::string target;   // as the client wrote it: absolute form for a proxy
    bool http11 = false;  // HTTP/1.1 (else 1.0)
    std::string scheme;   // lower case; empty unless the target is in absolute form
    std::string host;     // without brackets
    std::uint16_t port = 0;
    std::string originForm;   // path and query, for the origin
    bool closeAfter = false;  // the client asked to close the connection after this answer
    bool expectsContinue = false;
    bool upgrade = false;  // Connection: Upgrade with an Upgrade field
    std::string proxyAuthorization;
    http::ZELFraming body;
};

// Reads a request head (the bytes up to and including its empty line); nullopt when it is not one.
std::optional<ZELRelayRequest> parseRequestHead(std::string_view head);

struct ZELRelayAnswer {
    unsigned status = 0;
    bool http11 = false;
    bool close = false;   // Connection: close, or HTTP/1.0 without keep-alive
    bool framed = false;  // it has a Content-Length or Transfer-Encoding field
    http::ZELFraming body;
};

// Reads an answer head to a request made with `method`; nullopt when it is not one.
std::optional<ZELRelayAnswer> parseAnswerHead(std::string_view head, std::string_view method);

// `head` with its first line replaced by `firstLine` (without line end), the fields named in `drop` (lower
// case, ',' separated, e.g. "proxy-authorization,expect") left out, and `extra` (whole lines, each ending in
// CRLF) added before the empty line.
std::string rewriteHead(std::string_view head, std::string_view firstLine, std::string_view drop,
                        std::string_view extra);

}  // namespace zel::platform
