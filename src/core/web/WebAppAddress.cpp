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

}  // namespace

std::string startPageURL(const std::string& staticFileHost) {
    return std::string(kScheme) + "://" + staticFileHost + std::string(kWebAppPathPrefix) + "/index.html";
}

bool belongsToWebApp(std::string_view url) {
    return url.find(kWebAppPathPrefix) != std::string_view::npos || schemeOf(url) == "file";
}

bool isInAppNavigation(std::string_view url) {
    // Decided by the scheme alone: an http(s) page, even one whose address mentions the web app's folder,
    // belongs in the user's browser.
    static constexpr std::array<std::string_view, 5> kInAppSchemes = {kScheme, "file", "about", "data",
                                                                      "blob"};
    const std::string scheme = schemeOf(url);
    return std::find(kInAppSchemes.begin(), kInAppSchemes.end(), scheme) != kInAppSchemes.end();
}

std::string networkAddress(std::string_view url) {
    if (schemeOf(url) != kScheme) return std::string(url);
    return "http" + std::string(url.substr(kScheme.size()));
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
