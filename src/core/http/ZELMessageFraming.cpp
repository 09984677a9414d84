#include "core/http/ZELMessageFraming.h"

#include <algorithm>

namespace zel::http {

namespace {

constexpr std::uint64_t kMaxContentLength = std::uint64_t{1} << 62;
constexpr unsigned kMaxSizeDigits = 15;  // 16^15 = 2^60
constexpr std::size_t kMaxLineLength = 4096;

bool isSpace(char c) {
    return c == ' ' || c == '\t';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

std::optional<std::uint64_t> decimal(std::string_view digits) {
    if (digits.empty()) return std::nullopt;
    std::uint64_t value = 0;
    for (char c : digits) {
        if (c < '0' || c > '9' || value > kMaxContentLength / 10) return std::nullopt;
        value = value * 10 + static_cast<unsigned>(c - '0');
        if (value > kMaxContentLength) return std::nullopt;
    }
    return value;
}

// A repeated Content-Length arrives as "n, n": every value must be the same number, or the framing is
// ambiguous and nothing can be trusted.
std::optional<std::uint64_t> contentLength(std::string_view text) {
    std::optional<std::uint64_t> length;
    while (true) {
        const std::size_t comma = text.find(',');
        const auto value = decimal(trimmed(text.substr(0, comma)));
        if (!value || (length && *length != *value)) return std::nullopt;
        length = value;
        if (comma == std::string_view::npos) return length;
        text.remove_prefix(comma + 1);
    }
}

// Whether the last transfer coding is chunked. An empty last element ("chunked,") does not count: a reader
// further on might skip it where this one would not, and two readers must never disagree about a body's end.
bool endsChunked(std::string_view text) {
    const std::size_t comma = text.rfind(',');
    const std::string_view last = trimmed(comma == std::string_view::npos ? text : text.substr(comma + 1));
    constexpr std::string_view kChunked = "chunked";
    return std::ranges::equal(last, kChunked, [](char a, char b) {
        return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
    });
}

ZELFraming lengthFraming(std::string_view text) {
    if (const auto length = contentLength(text)) return {ZELBodyFraming::Length, *length};
    return {ZELBodyFraming::Invalid};
}

int hexValue(unsigned char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

ZELFraming requestFraming(const ZELFramingFields& fields) {
    if (fields.transferEncoding) {
        // Both fields, or a coding other than chunked last, is how a request is smuggled past one reader to
        // another that frames it differently.
        if (fields.contentLength || !endsChunked(*fields.transferEncoding)) return {ZELBodyFraming::Invalid};
        return {ZELBodyFraming::Chunked};
    }
    if (fields.contentLength) return lengthFraming(*fields.contentLength);
    return {ZELBodyFraming::None};
}

ZELFraming answerFraming(std::string_view method, unsigned status, const ZELFramingFields& fields) {
    if (status == 101) return {ZELBodyFraming::Tunnel};
    if ((status >= 100 && status < 200) || status == 204 || status == 304 || method == "HEAD") {
        return {ZELBodyFraming::None};
    }
    if (method == "CONNECT" && status >= 200 && status < 300) return {ZELBodyFraming::Tunnel};
    if (fields.transferEncoding) {
        // Content-Length is ignored next to Transfer-Encoding; without chunked last only the close ends it.
        return {endsChunked(*fields.transferEncoding) ? ZELBodyFraming::Chunked : ZELBodyFraming::UntilClose};
    }
    if (fields.contentLength) return lengthFraming(*fields.contentLength);
    return {ZELBodyFraming::UntilClose};
}

// On failure feed() returns the count of bytes before the offending one; the caller closes the connection.
std::size_t ZELChunkedReader::feed(std::string_view data) {
    std::size_t used = 0;
    while (used < data.size() && state_ != State::Done && state_ != State::Failed) {
        if (state_ == State::Data) {
            const auto take = std::min<std::uint64_t>(remaining_, data.size() - used);
            used += take;
            remaining_ -= take;
            if (remaining_ == 0) state_ = State::DataEnd;
            continue;
        }
        if (!step(static_cast<unsigned char>(data[used]))) {
            state_ = State::Failed;
            return used;
        }
        ++used;
    }
    return used;
}

bool ZELChunkedReader::done() const {
    return state_ == State::Done;
}

bool ZELChunkedReader::failed() const {
    return state_ == State::Failed;
}

bool ZELChunkedReader::countLineByte() {
    return ++lineLength_ <= kMaxLineLength;
}

void ZELChunkedReader::endSizeLine() {
    lineLength_ = 0;
    digits_ = 0;
    state_ = remaining_ == 0 ? State::TrailerStart : State::Data;
}

bool ZELChunkedReader::step(unsigned char byte) {
    switch (state_) {
        case State::SizeDigits:
            if (const int value = hexValue(byte); value >= 0) {
                if (++digits_ > kMaxSizeDigits) return false;
                remaining_ = remaining_ * 16 + static_cast<unsigned>(value);
                return countLineByte();
            }
            if (digits_ == 0) return false;
            [[fallthrough]];
        case State::SizeSpace:
            if (isSpace(static_cast<char>(byte))) {
                state_ = State::SizeSpace;
                return countLineByte();
            }
            if (byte == ';') {
                state_ = State::Extension;
                return countLineByte();
            }
            if (byte == '\r') {
                state_ = State::SizeLineCR;
                return true;
            }
            if (byte != '\n') return false;
            endSizeLine();
            return true;
        case State::Extension:
            if (byte == '\r') {
                state_ = State::SizeLineCR;
                return true;
            }
            if (byte == '\n') {
                endSizeLine();
                return true;
            }
            return countLineByte();
        case State::SizeLineCR:
            if (byte != '\n') return false;
            endSizeLine();
            return true;
        case State::DataEnd:
            if (byte == '\r') {
                state_ = State::DataEndLF;
                return true;
            }
            [[fallthrough]];
        case State::DataEndLF:
            if (byte != '\n') return false;
            state_ = State::SizeDigits;
            return true;
        case State::TrailerStart:
            if (byte == '\r') {
                state_ = State::FinalLF;
                return true;
            }
            if (byte == '\n') {
                state_ = State::Done;
                return true;
            }
            state_ = State::Trailer;
            return countLineByte();
        case State::Trailer:
            if (byte == '\r') {
                state_ = State::TrailerLF;
                return true;
            }
            if (byte != '\n') return countLineByte();
            [[fallthrough]];
        case State::TrailerLF:
            if (byte != '\n') return false;
            lineLength_ = 0;
            state_ = State::TrailerStart;
            return true;
        case State::FinalLF:
            if (byte != '\n') return false;
            state_ = State::Done;
            return true;
        case State::Data:
        case State::Done:
        case State::Failed:
            break;
    }
    return false;
}

}  // namespace zel::http
