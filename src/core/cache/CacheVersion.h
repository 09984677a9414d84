// Cache versions: dates written "yyyy/MM/dd" (for example 2014/03/28), read in the local time zone. Pure;
// any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zel::cache {

// Seconds since 1970-01-01 00:00:00 UTC of the start of the date in the local time zone (midnight, or when a
// clock change lets the day begin; for a day the zone skipped, the start of the next day), the same answer
// whatever was converted before; nullopt when the text is not exactly such a date: year of 1 to 4 digits,
// month 1 to 12 and a day of that month, of 1 or 2 digits each, separated by "/", nothing before or after.
// Callers clean white space first.
std::optional<std::int64_t> secondsOfCacheVersion(std::string_view text);

// Whether requests are answered from the bundle: the bundle's version is at least the cache's. A missing or
// unreadable version counts as 0 seconds, so equal versions, a missing cache version and two missing versions
// all mean the bundle.
bool isCacheOlderThanBundle(std::optional<std::int64_t> bundleSeconds,
                            std::optional<std::int64_t> cacheSeconds);

}  // namespace zel::cache
