#include "core/cache/CacheVersion.h"

#include <chrono>
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
    // The first second whose local date is the version's date or later, found by bisection around UTC
    // midnight. mktime would guess for a local midnight that never happened (a day the zone skipped, a
    // clock change at midnight) and its guess depends on earlier calls; localtime_r does not guess.
    const std::int64_t utcMidnight =
        std::int64_t{
            std::chrono::sys_days{std::chrono::year{*year} / *month / *day}.time_since_epoch().count()} *
        86400;
    std::int64_t before = utcMidnight - 26 * 3600;  // no zone is more than 14 hours ahead of UTC
    std::int64_t from = utcMidnight + 50 * 3600;    // 12 behind, plus a skipped day and a clock change
    const int wanted = (*year * 100 + *month) * 100 + *day;
    while (from - before > 1) {
        const std::int64_t middle = before + (from - before) / 2;
        const std::time_t t = static_cast<std::time_t>(middle);
        std::tm local{};
        if (localtime_r(&t, &local) == nullptr) return std::nullopt;
        const int date = ((local.tm_year + 1900) * 100 + local.tm_mon + 1) * 100 + local.tm_mday;
        (date >= wanted ? from : before) = middle;
    }
    return from;
}

bool isCacheOlderThanBundle(std::optional<std::int64_t> bundleSeconds,
                            std::optional<std::int64_t> cacheSeconds) {
    return bundleSeconds.value_or(0) >= cacheSeconds.value_or(0);
}

}  // namespace zel::cache
