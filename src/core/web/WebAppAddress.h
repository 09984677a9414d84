// Addresses of the web app: which requests are the web app's own, the start page, and where a request's file
// lies in a folder. Pure functions; any thread.
//
// The web app is served under the program's own URI scheme as the image of its http address on the static
// file server: ostrelle://<staticFileHost>/player/mac/www/<file>. A request's network address is the same
// address with the scheme http.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zel::web {

inline constexpr std::string_view kScheme = "ostrelle";
inline constexpr std::string_view kWebAppPathPrefix = "/player/mac/www";

std::string startPageURL(const std::string& staticFileHost);

// The request belongs to the web app: its address contains "/player/mac/www" anywhere, or it is a file URL.
bool belongsToWebApp(std::string_view url);

// Navigation that stays inside the program (web app pages, file pages, about:, data:, blob:); anything else
// goes to the user's browser.
bool isInAppNavigation(std::string_view url);

// ostrelle://host/path -> http://host/path; other addresses unchanged.
std::string networkAddress(std::string_view url);

// root/relative, only when its real location (symbolic links resolved) is a regular file inside root's real
// location; nullopt otherwise.
std::optional<std::filesystem::path> resolveInside(const std::filesystem::path& root,
                                                   const std::string& relative);

// A MIME type from the file name's extension (lower-case comparison); "application/octet-stream" if unknown.
std::string mimeTypeForPath(std::string_view path);

}  // namespace zel::web
