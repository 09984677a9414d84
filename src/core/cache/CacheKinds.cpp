#include "core/cache/CacheKinds.h"

#include <utility>

namespace zel::cache {

std::optional<std::string_view> kindForExtension(std::string_view extension) {
    static constexpr std::pair<std::string_view, std::string_view> kTable[] = {
        {"jpg", "media"},  {"png", "media"}, {"gif", "media"}, {"less", "media"},
        {"json", "media"}, {"js", "js"},     {"css", "css"},   {"html", "html"},
    };
    for (const auto& [ext, kind] : kTable) {
        if (ext == extension) return kind;
    }
    return std::nullopt;
}

std::string_view mapNameForKind(std::string_view kind) {
    if (kind == "js") return "js_map";
    if (kind == "css") return "css_map";
    if (kind == "media") return "media_map";
    if (kind == "html") return "html_map";
    return {};
}

std::optional<std::size_t> kindIndex(std::string_view kind) {
    for (std::size_t i = 0; i < kKinds.size(); ++i) {
        if (kKinds[i] == kind) return i;
    }
    return std::nullopt;
}

bool isMapOfTexts(const Value& map) {
    if (!map.is_object()) return false;
    for (const auto& [key, value] : map.items()) {
        if (!value.is_string()) return false;
    }
    return true;
}

}  // namespace zel::cache
