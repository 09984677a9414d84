// The framing of messages that come from the network, as the web proxy's relay reads it: an answer's
// Transfer-Encoding and Content-Length fields and status, and a body read in pieces. Fields (see
// splitFields): status, method, Transfer-Encoding ("-" for none), Content-Length ("-" for none), the sizes of
// the pieces the body is fed in (one byte each, cycled), the body.
//
// Invariants: Length only with a Content-Length of digits whose repeated values agree, and then of that
// value; a request never frames a body both ways; reading a body gives the same count, end and failure
// whether it is fed whole, in the chosen pieces or byte by byte; no more than the input is taken, and nothing
// once the body has ended or failed.
#include "FuzzSupport.h"

#include "core/http/ZELBodyReader.h"
#include "core/http/ZELMessageFraming.h"

#include <charconv>
#include <optional>
#include <string>

namespace {

using namespace zel::http;
using zel::fuzz::check;

std::optional<std::string_view> optionalField(std::string_view text) {
    if (text == "-") return std::nullopt;
    return text;
}

// The value all comma-separated parts of a Content-Length name, read independently: nullopt when any part is
// not digits (spaces and tabs around allowed) or they disagree.
std::optional<std::uint64_t> lengthOf(std::string_view text) {
    std::optional<std::uint64_t> value;
    for (;;) {
        const std::size_t comma = text.find(',');
        std::string_view part = text.substr(0, comma);
        while (!part.empty() && (part.front() == ' ' || part.front() == '\t')) part.remove_prefix(1);
        while (!part.empty() && (part.back() == ' ' || part.back() == '\t')) part.remove_suffix(1);
        std::uint64_t v = 0;
        const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), v);
        if (part.empty() || error != std::errc() || end != part.data() + part.size()) return std::nullopt;
        if (value && *value != v) return std::nullopt;
        value = v;
        if (comma == std::string_view::npos) return value;
        text.remove_prefix(comma + 1);
    }
}

struct Read {
    std::size_t taken = 0;
    bool done = false, failed = false;
    bool operator==(const Read&) const = default;
};

template <class NextPiece>
Read readBody(ZELFraming framing, std::string_view body, NextPiece nextPiece) {
    ZELBodyReader reader(framing);
    Read read;
    std::string_view rest = body;
    while (!rest.empty() && !reader.done() && !reader.failed()) {
        const std::string_view piece = rest.substr(0, std::max<std::size_t>(1, nextPiece()));
        const std::size_t taken = reader.feed(piece);
        check(taken <= piece.size(), "the reader took more than it was given");
        read.taken += taken;
        rest.remove_prefix(taken);
        if (taken < piece.size()) break;
    }
    read.done = reader.done();
    read.failed = reader.failed();
    if (read.done || read.failed) check(reader.feed(rest) == 0, "the reader took bytes after the body's end");
    return read;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto fields = zel::fuzz::splitFields(data, size);
    const std::string_view statusText = zel::fuzz::field(fields, 0);
    unsigned status = 0;
    std::from_chars(statusText.data(), statusText.data() + statusText.size(), status);
    const std::string method(zel::fuzz::field(fields, 1));
    const ZELFramingFields framingFields{optionalField(zel::fuzz::field(fields, 2)),
                                         optionalField(zel::fuzz::field(fields, 3))};
    const std::string_view pieces = zel::fuzz::field(fields, 4);
    const std::string_view body = zel::fuzz::field(fields, 5);

    const ZELFraming answer = answerFraming(method, status, framingFields);
    if (answer.kind == ZELBodyFraming::Length) {
        const auto expected =
            framingFields.contentLength ? lengthOf(*framingFields.contentLength) : std::nullopt;
        check(expected && *expected == answer.length,
              "Length framing without a Content-Length of that value");
        check(!framingFields.transferEncoding, "Length framing despite a Transfer-Encoding");
    }
    const ZELFraming request = requestFraming(framingFields);
    if (framingFields.transferEncoding && framingFields.contentLength)
        check(request.kind == ZELBodyFraming::Invalid, "a request framed by both fields");

    for (const ZELFraming framing : {answer, request, ZELFraming{ZELBodyFraming::Chunked, 0}}) {
        const Read whole = readBody(framing, body, [&] { return body.size(); });
        std::size_t next = 0;
        const Read inPieces = readBody(framing, body, [&]() -> std::size_t {
            return pieces.empty() ? 1 : static_cast<unsigned char>(pieces[next++ % pieces.size()]);
        });
        const Read byByte = readBody(framing, body, [] { return std::size_t{1}; });
        check(whole == inPieces && whole == byByte, "the body's end depends on how it is fed");
    }
    return 0;
}
