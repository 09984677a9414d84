// The parts of URL text that the web cache works with: the path of a request, its extension, and the file a
// path names inside a folder. Pure functions; any thread.
//
// Paths come from the web app and from hash maps received over the network, so turning one into a file name
// is strict: see safeRelativePath.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zel::cache {

struct URLParts {
    std::string_view scheme;
    std::string_view authority;  // empty when the URL has none
    std::string_view path;       // as written (percent-encoded)
    std::string_view query;      // without "?"
};

// Splits an absolute URL (scheme ":" ["//" authority] path ["?" query] ["#" fragment]); nullopt when the text
// has no scheme. The views point into url.
std::optional<URLParts> splitURL(std::string_view url);

// The URL's path, percent-decoded, with a trailing "/" dropped unless the path is "/" itself; empty when the
// text is not an absolute URL or has no path. Malformed escapes stay as written.
std::string urlPath(std::string_view url);

// The extension of a path's last component (the text after its last "."), unchanged in case; empty when the
// component has no dot or starts with its only one.
std::string_view pathExtension(std::string_view path);

// Every occurrence of part removed from text.
std::string removingOccurrences(std::string_view text, std::string_view part);

// The relative file path ("js/app.js") named by an encoded URL path ("/js/app.js"), percent-decoded, or
// nullopt when it could name anything but a file below the folder it is joined to: a dot segment, a
// separator or NUL in any spelling, a control character, a raw "?" or "#", an invalid escape, or no segment
// at all. Empty segments ("//") are skipped, as a file system would.
std::optional<std::string> safeRelativePath(std::string_view encodedPath);

// The same check for a path that has already been decoded (no escapes are interpreted).
bool isSafeDecodedPath(std::string_view decodedPath);

}  // namespace zel::cache
