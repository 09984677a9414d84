// Where an HTTP/1.1 message's body ends, for a proxy that passes messages through byte for byte and must know
// when one is over to reuse the connection for the next (RFC 9112, section 6).
//
// Pure functions of the header fields' texts and a small reader; no I/O, any thread. Malformed framing (a
// length that is not a number or that disagrees with a repeated one, a broken chunk) is reported, never
// guessed at, so the caller can close the connection instead of reading a body wrongly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zel::http {

enum class ZELBodyFraming {
    None,        // no body follows
    Length,      // exactly `length` bytes follow
    Chunked,     // chunked transfer coding: read with ZELChunkedReader
    UntilClose,  // the body ends when the sender closes the connection (answers only)
    Tunnel,      // the connection becomes a two-way byte stream (101, or 2xx to CONNECT)
    Invalid,     // the framing cannot be trusted: close the connection
};

struct ZELFraming {
    ZELBodyFraming kind = ZELBodyFraming::None;
    std::uint64_t length = 0;  // for Length
};

// The fields as they arrived: nullopt when absent; a repeated field's values joined with ", ".
struct ZELFramingFields {
    std::optional<std::string_view> transferEncoding;
    std::optional<std::string_view> contentLength;
};

// A request's body: None without either field; Chunked when the last transfer coding is chunked; any other
// transfer coding, or both fields at once, is Invalid (a request smuggled past one reader to another).
ZELFraming requestFraming(const ZELFramingFields& fields);

// An answer's body, given the request's method ("HEAD", "CONNECT", ...) and the answer's status: None for
// HEAD and for 1xx (but 101), 204 and 304; Tunnel for 101 and for a 2xx answer to CONNECT; then
// Transfer-Encoding (Chunked when its last coding is chunked, else UntilClose), then Content-Length, else
// UntilClose.
ZELFraming answerFraming(std::string_view method, unsigned status, const ZELFramingFields& fields);

// Follows a chunked body (sizes, extensions, data, the last chunk and trailer fields) through the bytes it is
// fed, without changing them, and says where it ends. Lines (sizes, trailer fields) longer than 4 KiB and
// sizes beyond 2^60 fail.
class ZELChunkedReader {
  public:
    // Reads the next bytes of the body; returns how many of them belong to it: all of `data`, unless the body
    // ends (or fails) inside it; on failure, the bytes before the offending one. Nothing is read once done()
    // or failed().
    std::size_t feed(std::string_view data);
    bool done() const;
    bool failed() const;

  private:
    // Implementation's state: where in the chunk grammar the reader is, and what it has counted so far.
    enum class State {
        SizeDigits,    // the chunk-size's hex digits
        SizeSpace,     // whitespace after the digits
        Extension,     // from ';' to the line end, ignored
        SizeLineCR,    // a CR ended the size line: LF must follow
        Data,          // `remaining_` bytes of chunk data
        DataEnd,       // the line end after the data
        DataEndLF,     // its CR seen: LF must follow
        TrailerStart,  // the start of a trailer line (an empty one ends the body)
        Trailer,       // inside a trailer line
        TrailerLF,     // a trailer line's CR seen: LF must follow
        FinalLF,       // the empty line's CR seen: LF must follow
        Done,
        Failed,
    };
    // Takes one byte outside chunk data; false when the byte breaks the framing.
    bool step(unsigned char byte);
    // Counts a byte of the current line; false once the line is too long.
    bool countLineByte();
    void endSizeLine();

    State state_ = State::SizeDigits;
    std::uint64_t remaining_ = 0;  // the chunk's size while its line is read, then the data still to come
    std::size_t lineLength_ = 0;   // bytes of the current line so far, without its line end
    unsigned digits_ = 0;          // hex digits of the current size
};

}  // namespace zel::http
