#include "core/value/Value.h"

#include <charconv>
#include <cmath>

namespace zel {
namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Leading white space and a decimal prefix, as a text's double value reads it, whatever the process locale
// says the decimal separator is. No prefix, or one that does not fit a double, reads as 0.
double parseNumericPrefix(const std::string& s) {
    const char* p = s.data();
    const char* const end = s.data() + s.size();
    while (p != end && isSpace(*p)) ++p;
    bool negative = false;
    if (p != end && (*p == '+' || *p == '-')) {
        negative = *p == '-';
        ++p;
    }
    // from_chars would also take "inf" and "nan", which are no decimal numbers.
    if (p == end || !(isDigit(*p) || (*p == '.' && p + 1 != end && isDigit(p[1])))) return 0.0;
    double value = 0.0;
    const auto [ptr, ec] = std::from_chars(p, end, value, std::chars_format::general);
    if (ec != std::errc() || !std::isfinite(value)) return 0.0;
    return negative ? -value : value;
}

}  // namespace

double doubleValue(const Value& v) {
    if (v.is_number()) return v.get<double>();
    if (v.is_boolean()) return v.get<bool>() ? 1.0 : 0.0;
    if (const std::string* s = textOf(v)) return parseNumericPrefix(*s);
    return 0.0;
}

}  // namespace zel
