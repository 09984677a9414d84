#include "core/web/WebAppAddress.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

namespace zel::web {
namespace {

std::string lowercase(std::string_view s) {
    std::string out(s);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
}

// The scheme of an address, lower-cased; empty when the address has none.
std::string schemeOf(std::string_view url) {
    const std::size_t colon = url.find(':');
    if (colon == std::string_view::npos || colon == 0) return {};
    const std::string_view scheme = url.substr(0, colon);
    const auto isSchemeChar = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
               c == '-' || c == '.';
    };
    if (!std::all_of(scheme.begin(), scheme.end(), isSchemeChar)) return {};
    return lowercase(scheme);
}

// Whether inner lies at or below outer, both already free of "." and ".." and links.
bool isWithin(const std::filesystem::path& inner, const std::filesystem::path& outer) {
    auto innerIt = inner.begin();
    for (auto outerIt = outer.begin(); outerIt != outer.end(); ++outerIt, ++innerIt) {
        if (innerIt == inner.end() || *innerIt != *outerIt) return false;
    }
    return true;
}

// Scheme and authority of an address, lower-cased, an explicit default port dropped; nullopt for an address
// without an authority or with credentials in it.
std::optional<std::pair<std::string, std::string>> originParts(std::string_view url) {
    const std::string scheme = schemeOf(url);
    if (scheme.empty() || url.substr(scheme.size(), 3) != "://") return std::nullopt;
    std::string_view rest = url.substr(scheme.size() + 3);
    rest = rest.substr(0, rest.find_first_of("/?#"));
    if (rest.find('@') != std::string_view::npos) return std::nullopt;
    std::string authority = lowercase(rest);
    const std::string defaultPort = scheme == "https" ? ":443" : scheme == "http" ? ":80" : "";
    if (!defaultPort.empty() && authority.ends_with(defaultPort)) {
        authority.resize(authority.size() - defaultPort.size());
    }
    return std::make_pair(scheme, authority);
}

}  // namespace

std::string startPageURL(const std::string& staticFileHost) {
    return webAppOrigin(staticFileHost) + std::string(kWebAppPathPrefix) + "/index.html";
}

std::string webAppOrigin(const std::string& staticFileHost) {
    return "http://" + staticFileHost;
}

bool hasOrigin(std::string_view url, std::string_view origin) {
    const auto a = originParts(url);
    const auto b = originParts(origin);
    return a && b && !a->second.empty() && *a == *b;
}

std::string normalizedOrigin(std::string_view url) {
    const auto parts = originParts(url);
    return parts ? parts->first + "://" + parts->second : std::string();
}

std::string hostPattern(std::string_view url) {
    const auto parts = originParts(url);
    if (!parts) return {};
    const std::string& authority = parts->second;
    const std::size_t colon = authority.rfind(':');
    const bool hasPort = colon != std::string::npos && authority.find(']', colon) == std::string::npos;
    return parts->first + "://" + (hasPort ? authority.substr(0, colon) : authority) + "/*";
}

bool belongsToWebApp(std::string_view url) {
    return url.find(kWebAppPathPrefix) != std::string_view::npos || schemeOf(url) == "file";
}

bool isInAppNavigation(std::string_view url, std::string_view webAppOrigin) {
    // An http(s) page of another origin, even one whose address mentions the web app's folder, belongs in the
    // user's browser.
    static constexpr std::array<std::string_view, 4> kInAppSchemes = {"file", "about", "data", "blob"};
    const std::string scheme = schemeOf(url);
    return hasOrigin(url, webAppOrigin) ||
           std::find(kInAppSchemes.begin(), kInAppSchemes.end(), scheme) != kInAppSchemes.end();
}

std::optional<std::filesystem::path> resolveInside(const std::filesystem::path& root,
                                                   const std::string& relative) {
    if (relative.empty()) return std::nullopt;
    const std::filesystem::path relativePath(relative);
    if (relativePath.is_absolute()) return std::nullopt;

    std::error_code ec;
    const std::filesystem::path realRoot = std::filesystem::canonical(root, ec);
    if (ec) return std::nullopt;
    // canonical follows every link and fails for a missing file, so what is left is the real file.
    const std::filesystem::path real = std::filesystem::canonical(realRoot / relativePath, ec);
    if (ec || !isWithin(real, realRoot)) return std::nullopt;
    if (!std::filesystem::is_regular_file(real, ec) || ec) return std::nullopt;
    return real;
}

std::string mimeTypeForPath(std::string_view path) {
    static constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
        {"html", "text/html"},      {"htm", "text/html"},         {"js", "text/javascript"},
        {"mjs", "text/javascript"}, {"css", "text/css"},          {"json", "application/json"},
        {"png", "image/png"},       {"jpg", "image/jpeg"},        {"jpeg", "image/jpeg"},
        {"gif", "image/gif"},       {"svg", "image/svg+xml"},     {"webp", "image/webp"},
        {"ico", "image/x-icon"},    {"woff", "font/woff"},        {"woff2", "font/woff2"},
        {"ttf", "font/ttf"},        {"otf", "font/otf"},          {"mp3", "audio/mpeg"},
        {"m4a", "audio/mp4"},       {"ogg", "audio/ogg"},         {"wav", "audio/wav"},
        {"mp4", "video/mp4"},       {"webm", "video/webm"},       {"txt", "text/plain"},
        {"xml", "application/xml"}, {"wasm", "application/wasm"}, {"map", "application/json"},
    };
    const std::size_t slash = path.find_last_of('/');
    const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.find_last_of('.');
    if (dot != std::string_view::npos) {
        const std::string extension = lowercase(name.substr(dot + 1));
        for (const auto& [ext, type] : kTypes) {
            if (ext == extension) return std::string(type);
        }
    }
    return "application/octet-stream";
}

}  // namespace zel::web
