#include "core/cache/ZELHashMapIndex.h"

#include "core/log/ZELLog.h"

namespace zel {

ZELHashMapIndex::ZELHashMapIndex(const Value& maps) {
    if (!maps.is_object()) return;
    for (const auto& [kind, map] : maps.items()) {
        const std::optional<std::size_t> index = cache::kindIndex(kind);
        if (!index) continue;
        if (!cache::isMapOfTexts(map)) {
            zelLog("ignored stored %@ map: not a dictionary of texts", kind);
            continue;
        }
        Map& entries = maps_[*index].emplace();
        entries.reserve(map.size());
        for (const auto& [path, hashed] : map.items()) entries.emplace(path, hashed.get<std::string>());
    }
}

bool ZELHashMapIndex::hasMap(std::string_view kind) const {
    const std::optional<std::size_t> index = cache::kindIndex(kind);
    return index && maps_[*index].has_value();
}

const std::string* ZELHashMapIndex::hashedPath(std::string_view kind, std::string_view webAppPath) const {
    const std::optional<std::size_t> index = cache::kindIndex(kind);
    if (!index || !maps_[*index]) return nullptr;
    const Map& map = *maps_[*index];
    const auto it = map.find(webAppPath);
    return it == map.end() ? nullptr : &it->second;
}

std::size_t ZELHashMapIndex::size() const {
    std::size_t total = 0;
    for (const auto& map : maps_) total += map ? map->size() : 0;
    return total;
}

}  // namespace zel
