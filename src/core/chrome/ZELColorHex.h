// Colours written as six hexadecimal digits without a prefix ("e2e2e2"), as the chrome's drawing uses them.
// Pure functions; any thread.
#pragma once

#include <optional>
#include <string_view>

namespace zel {

struct ZELColor {
    double red = 0, green = 0, blue = 0, alpha = 1;
    bool operator==(const ZELColor&) const = default;
};

// An opaque colour from hex text. The text is scanned once as a hexadecimal integer: leading white space is
// skipped, an optional 0x/0X prefix is accepted, digits are read up to the first other character and the rest
// is ignored; a value beyond 32 bits saturates to ffffffff. Bits 16-23 are red, 8-15 green, 0-7 blue; the top
// byte is dropped. Absent text, or text without a leading digit ("#e2e2e2"), gives black.
ZELColor colorWithHexColorString(std::optional<std::string_view> hex);

}  // namespace zel
