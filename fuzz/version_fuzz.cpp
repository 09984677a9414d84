// Cache version texts, as the cache controller reads a version file: white space and line breaks removed,
// then read as "yyyy/MM/dd" in the local time zone. The first byte of the input picks the time zone (some
// with daylight saving time, one that skipped a whole day), the rest is the file's text.
//
// Invariants: cleaning leaves no white space or line break, only removes, and cleaning again changes
// nothing; a version reads exactly when the cleaned text is a valid date of 1-4, 1-2 and 1-2 digits, and then
// as the first moment of that day in the local time zone (of the next day, for a day the zone skipped).
#include "FuzzSupport.h"

#include "core/cache/CacheVersion.h"
#include "core/json/HXAddtions.h"
#include "core/value/Utf8.h"

#include <cstdlib>
#include <ctime>
#include <optional>
#include <tuple>

namespace {

constexpr const char* kZones[] = {
    "UTC",          "Asia/Shanghai",    "Europe/Berlin",       "America/Sao_Paulo",
    "Pacific/Apia", "America/St_Johns", "Australia/Lord_Howe", "Asia/Tehran"};

bool isWhiteSpaceOrBreak(char32_t c) {
    return c == 0x09 || c == 0x20 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) ||
           c == 0x202F || c == 0x205F || c == 0x3000 || (c >= 0x0A && c <= 0x0D) || c == 0x85 ||
           c == 0x2028 || c == 0x2029;
}

bool isSubsequence(std::string_view part, std::string_view whole) {
    std::size_t at = 0;
    for (const char c : part) {
        at = whole.find(c, at);
        if (at == std::string_view::npos) return false;
        ++at;
    }
    return true;
}

struct Date {
    int year, month, day;
};

// The date a text names, read independently of the code under test.
std::optional<Date> dateOf(std::string_view text) {
    int parts[3] = {0, 0, 0};
    const std::size_t maxDigits[3] = {4, 2, 2};
    for (int p = 0; p < 3; ++p) {
        std::size_t digits = 0;
        while (!text.empty() && text.front() >= '0' && text.front() <= '9' && digits <= maxDigits[p]) {
            parts[p] = parts[p] * 10 + (text.front() - '0');
            text.remove_prefix(1);
            ++digits;
        }
        if (digits == 0 || digits > maxDigits[p]) return std::nullopt;
        if (p < 2) {
            if (!text.starts_with('/')) return std::nullopt;
            text.remove_prefix(1);
        }
    }
    if (!text.empty()) return std::nullopt;
    const int year = parts[0], month = parts[1], day = parts[2];
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    const int days[] = {31, leap ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1 || month < 1 || month > 12 || day < 1 || day > days[month - 1]) return std::nullopt;
    return Date{year, month, day};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel;
    if (size == 0) return 0;
    static const char* zone = nullptr;
    const char* wanted = kZones[data[0] % std::size(kZones)];
    if (zone != wanted) {
        setenv("TZ", wanted, 1);
        tzset();
        zone = wanted;
    }
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);

    const std::string cleaned = hx::trim(text);
    fuzz::check(hx::trim(cleaned) == cleaned, "cleaning twice changes nothing");
    fuzz::check(isSubsequence(cleaned, text), "cleaning only removes");
    for (std::size_t i = 0; i < cleaned.size();) {
        const utf8::Decoded d = utf8::decode(cleaned, i);
        fuzz::check(d.length == 0 || !isWhiteSpaceOrBreak(d.codePoint),
                    "white space left at " + std::to_string(i));
        i += d.length == 0 ? 1 : d.length;
    }

    const std::optional<std::int64_t> seconds = cache::secondsOfCacheVersion(cleaned);
    const std::optional<Date> date = dateOf(cleaned);
    fuzz::check(seconds.has_value() == date.has_value(), "reads exactly the valid dates: " + cleaned);
    if (!seconds) return 0;
    const std::time_t t = static_cast<std::time_t>(*seconds);
    std::tm local{};
    fuzz::check(localtime_r(&t, &local) != nullptr, "a version is a representable time");
    // The first moment of the day: local midnight, or whenever a clock change lets the day begin; for a day
    // that the zone skipped altogether, of the next day there is.
    const auto dayOf = [](const std::tm& tm) {
        return std::tuple(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday);
    };
    const auto day = std::tuple(date->year, date->month, date->day);
    const std::time_t before = t - 1;
    std::tm previous{};
    localtime_r(&before, &previous);
    char shown[64];
    std::strftime(shown, sizeof shown, "%F %T", &local);
    const std::string where = std::string(wanted) + ": " + cleaned + " read as " + shown;
    fuzz::check(dayOf(local) >= day && dayOf(previous) < day, "the start of the day in " + where);
    fuzz::check(dayOf(local) != day || local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec <= 3600,
                "the day starts within an hour of midnight in " + where);
    return 0;
}
