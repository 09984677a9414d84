#include "core/cache/CacheVersion.h"

#include <ctime>

namespace zel::cache {
namespace {

// Reads 1 to maxDigits decimal digits from the front of text.
std::optional<int> takeNumber(std::string_view& text, std::size_t maxDigits) {
    std::size_t n = 0;
    int value = 0;
    while (n < text.size() && n < maxDigits && text[n] >= '0' && text[n] <= '9') {
        value = value * 10 + (text[n] - '0');
        ++n;
    }
    if (n == 0) return std::nullopt;
    text.remove_prefix(n);
    return value;
}

bool takeSlash(std::string_view& text) {
    if (!text.starts_with('/')) return false;
    text.remove_prefix(1);
    return true;
}

int daysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : kDays[month - 1];
}

}  // namespace

std::optional<std::int64_t> secondsOfCacheVersion(std::string_view text) {
    const std::optional<int> year = takeNumber(text, 4);
    if (!year || !takeSlash(text)) return std::nullopt;
    const std::optional<int> month = takeNumber(text, 2);
    if (!month || !takeSlash(text)) return std::nullopt;
    const std::optional<int> day = takeNumber(text, 2);
    if (!day || !text.empty()) return std::nullopt;
    if (*year < 1 || *month < 1 || *month > 12 || *day < 1 || *day > daysInMonth(*year, *month)) {
        return std::nullopt;
    }
    std::tm local{};
    local.tm_year = *year - 1900;
    local.tm_mon = *month - 1;
    local.tm_mday = *day;
    local.tm_isdst = -1;  // whatever the zone's rule is on that date
    const std::time_t seconds = std::mktime(&local);
    // -1 is also the failure value; no zone puts a local midnight one second before 1970.
    if (seconds == static_cast<std::time_t>(-1)) return std::nullopt;
    return static_cast<std::int64_t>(seconds);
}

bool isCacheOlderThanBundle(std::optional<std::int64_t> bundleSeconds,
                            std::optional<std::int64_t> cacheSeconds) {
    return bundleSeconds.value_or(0) >= cacheSeconds.value_or(0);
}

}  // namespace zel::cache
