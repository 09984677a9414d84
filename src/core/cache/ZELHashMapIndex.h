// The stored hash maps (kind -> web-app path -> hashed path) indexed for constant-time lookup, so that the
// per-request translation costs the same for a map of ten entries or of ten thousand.
//
// Built once from the parsed cache_hashmap document and never changed afterwards; lookups may then run on any
// thread. A kind whose value is not a dictionary of texts is left out (logged), as are members that are not
// one of the four kinds.
#pragma once

#include "core/cache/CacheKinds.h"
#include "core/value/Value.h"

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace zel {

class ZELHashMapIndex {
  public:
    explicit ZELHashMapIndex(const Value& maps);

    bool hasMap(std::string_view kind) const;
    // The hashed path of a web-app path in a kind's map; nullptr when the kind has no map or no such entry.
    const std::string* hashedPath(std::string_view kind, std::string_view webAppPath) const;
    // Number of entries over all maps.
    std::size_t size() const;

  private:
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    using Map = std::unordered_map<std::string, std::string, TextHash, std::equal_to<>>;

    std::array<std::optional<Map>, cache::kKinds.size()> maps_;
};

}  // namespace zel
