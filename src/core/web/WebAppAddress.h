// Addresses of the web app: which requests are the web app's own, the start page, and where a request's file
// lies in a folder. Pure functions; any thread.
//
// The web app lives at its service's own address, http://<staticFileHost>/player/mac/www/<file>; its origin
// (http://<staticFileHost>) is the one whose pages get the bridge and stay in the program.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zel::web {

inline constexpr std::string_view kWebAppPathPrefix = "/player/mac/www";

std::string startPageURL(const std::string& staticFileHost);
// "http://" + staticFileHost: the web app's origin.
std::string webAppOrigin(const std::string& staticFileHost);
// The url's origin is `origin` (scheme and host compared without regard to case, an explicit default port
// equal to none).
bool hasOrigin(std::string_view url, std::string_view origin);
// The origin as a page's location.origin reads it ("http://h.example:8080"); empty for an address without
// one.
std::string normalizedOrigin(std::string_view url);
// A user-script URL pattern for every page of the address's host, on any port ("http://h.example/*").
std::string hostPattern(std::string_view url);

// The request belongs to the web app: its address contains "/player/mac/www" anywhere, or it is a file URL.
bool belongsToWebApp(std::string_view url);

// Navigation that stays inside the program (pages of the web app's origin, file pages, about:, data:, blob:);
// anything else goes to the user's browser.
bool isInAppNavigation(std::string_view url, std::string_view webAppOrigin);

// root/relative, only when its real location (symbolic links resolved) is a regular file inside root's real
// location; nullopt otherwise.
std::optional<std::filesystem::path> resolveInside(const std::filesystem::path& root,
                                                   const std::string& relative);

// A MIME type from the file name's extension (lower-case comparison); "application/octet-stream" if unknown.
std::string mimeTypeForPath(std::string_view path);

}  // namespace zel::web
