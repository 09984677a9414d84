#include "core/cache/CacheURL.h"
#include "core/value/HexDigit.h"

namespace zel::cache {
namespace {

bool isSchemeChar(char c, bool first) {
    const bool alpha = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (first) return alpha;
    return alpha || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

bool isPlainName(std::string_view name) {
    if (name.empty() || name == "." || name == "..") return false;
    for (const char c : name) {
        const auto u = static_cast<unsigned char>(c);
        if (c == '/' || c == '\\' || u < 0x20 || u == 0x7F) return false;
    }
    return true;
}

// One segment decoded; nullopt for an invalid escape or a raw "?" / "#" (a query left on the path).
std::optional<std::string> decodeSegment(std::string_view segment) {
    std::string decoded;
    decoded.reserve(segment.size());
    for (std::size_t i = 0; i < segment.size(); ++i) {
        const char c = segment[i];
        if (c == '?' || c == '#') return std::nullopt;
        if (c != '%') {
            decoded += c;
            continue;
        }
        if (i + 2 >= segment.size()) return std::nullopt;
        const int high = hexDigit(segment[i + 1]);
        const int low = hexDigit(segment[i + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        decoded += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return decoded;
}

}  // namespace

std::optional<URLParts> splitURL(std::string_view url) {
    const std::size_t colon = url.find(':');
    if (colon == std::string_view::npos || colon == 0) return std::nullopt;
    for (std::size_t i = 0; i < colon; ++i) {
        if (!isSchemeChar(url[i], i == 0)) return std::nullopt;
    }
    URLParts parts;
    parts.scheme = url.substr(0, colon);
    std::string_view rest = url.substr(colon + 1);
    if (const std::size_t hash = rest.find('#'); hash != std::string_view::npos) rest = rest.substr(0, hash);
    if (const std::size_t question = rest.find('?'); question != std::string_view::npos) {
        parts.query = rest.substr(question + 1);
        rest = rest.substr(0, question);
    }
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const std::size_t slash = rest.find('/');
        parts.authority = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash);
    }
    parts.path = rest;
    return parts;
}

std::string urlPath(std::string_view url) {
    const std::optional<URLParts> parts = splitURL(url);
    if (!parts) return {};
    std::string path;
    path.reserve(parts->path.size());
    const std::string_view encoded = parts->path;
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        if (encoded[i] == '%' && i + 2 < encoded.size()) {
            const int high = hexDigit(encoded[i + 1]);
            const int low = hexDigit(encoded[i + 2]);
            if (high >= 0 && low >= 0) {
                path += static_cast<char>(high * 16 + low);
                i += 2;
                continue;
            }
        }
        path += encoded[i];
    }
    if (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::string_view pathExtension(std::string_view path) {
    const std::size_t slash = path.find_last_of('/');
    const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.find_last_of('.');
    if (dot == std::string_view::npos || dot == 0) return {};
    return name.substr(dot + 1);
}

std::string removingOccurrences(std::string_view text, std::string_view part) {
    std::string out;
    out.reserve(text.size());
    for (;;) {
        const std::size_t at = part.empty() ? std::string_view::npos : text.find(part);
        if (at == std::string_view::npos) {
            out += text;
            return out;
        }
        out += text.substr(0, at);
        text.remove_prefix(at + part.size());
    }
}

std::optional<std::string> safeRelativePath(std::string_view encodedPath) {
    std::string relative;
    std::string_view rest = encodedPath;
    while (!rest.empty()) {
        const std::size_t slash = rest.find('/');
        const std::string_view segment = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        if (segment.empty()) continue;
        const std::optional<std::string> name = decodeSegment(segment);
        if (!name || !isPlainName(*name)) return std::nullopt;
        if (!relative.empty()) relative += '/';
        relative += *name;
    }
    if (relative.empty()) return std::nullopt;
    return relative;
}

bool isSafeDecodedPath(std::string_view decodedPath) {
    bool any = false;
    std::string_view rest = decodedPath;
    while (!rest.empty()) {
        const std::size_t slash = rest.find('/');
        const std::string_view segment = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        if (segment.empty()) continue;
        if (!isPlainName(segment)) return false;
        any = true;
    }
    return any;
}

}  // namespace zel::cache
