#include "core/chrome/ZELColorHex.h"
#include "core/value/HexDigit.h"

#include <cstdint>

namespace zel {
namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

}  // namespace

ZELColor colorWithHexColorString(std::optional<std::string_view> hex) {
    std::uint64_t value = 0;
    if (hex) {
        std::string_view s = *hex;
        std::size_t i = 0;
        while (i < s.size() && isSpace(s[i])) ++i;
        // "0x" counts as a prefix only when a digit follows; a bare "0x" reads as the digit 0.
        if (i + 2 < s.size() && s[i] == '0' && (s[i + 1] == 'x' || s[i + 1] == 'X') &&
            hexDigit(s[i + 2]) >= 0) {
            i += 2;
        }
        for (; i < s.size() && hexDigit(s[i]) >= 0; ++i) {
            value = value * 16 + static_cast<std::uint64_t>(hexDigit(s[i]));
            if (value > 0xffffffffu) value = 0x1ffffffffull;  // stays saturated whatever follows
        }
        if (value > 0xffffffffu) value = 0xffffffffu;
    }
    const auto byte = [value](int shift) { return static_cast<double>((value >> shift) & 0xff) / 255.0; };
    return {byte(16), byte(8), byte(0), 1.0};
}

}  // namespace zel
