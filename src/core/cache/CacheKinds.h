// The web cache's fixed tables: the four kinds of web-app file, the file extensions that belong to each, the
// name of each kind's hash map and the configuration document that publishes it. Any thread.
#pragma once

#include "core/value/Value.h"

#include <array>
#include <optional>
#include <string_view>

namespace zel::cache {

// The kinds in the order in which an answer's address is matched against their map names.
inline constexpr std::array<std::string_view, 4> kKinds = {"js", "css", "media", "html"};

// The configuration documents in the order in which a refresh asks for them.
inline constexpr std::array<std::string_view, 4> kMapDocuments = {"js_map.json", "media_map.json",
                                                                  "html_map.json", "css_map.json"};

inline constexpr std::string_view kWebAppPathPrefix = "/player/mac/www";
inline constexpr std::string_view kBuildPathPrefix = "/player/mac/build";
inline constexpr std::string_view kBundlePathPrefix = "/player/mac";

// The kind of a file extension, compared as written ("PNG" has none). "less" and "json" files are media.
std::optional<std::string_view> kindForExtension(std::string_view extension);

// "js" -> "js_map" and so on; empty for a text that is not a kind.
std::string_view mapNameForKind(std::string_view kind);

// Index of a kind in kKinds; nullopt for other texts.
std::optional<std::size_t> kindIndex(std::string_view kind);

// A hash map is usable only as a dictionary whose values are all texts (web-app path -> hashed path).
bool isMapOfTexts(const Value& map);

}  // namespace zel::cache
