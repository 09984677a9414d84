// Strict UTF-8 decoding shared by the text-cleaning operations and the readers of UTF-8 files.
#pragma once

#include <cstddef>
#include <string_view>

namespace zel::utf8 {

struct Decoded {
    char32_t codePoint = 0;
    std::size_t length = 0;  // bytes consumed; 0 when the bytes at the position are not a valid sequence
};

// Overlong forms, surrogates and values above U+10FFFF count as invalid, as they do for the platform's
// decoder.
inline Decoded decode(std::string_view s, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char b0 = byte(i);
    if (b0 < 0x80) return {b0, 1};
    std::size_t length = 0;
    char32_t cp = 0;
    char32_t minimum = 0;
    if ((b0 & 0xE0) == 0xC0) {
        length = 2, cp = b0 & 0x1F, minimum = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
        length = 3, cp = b0 & 0x0F, minimum = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
        length = 4, cp = b0 & 0x07, minimum = 0x10000;
    } else {
        return {};
    }
    if (s.size() - i < length) return {};
    for (std::size_t k = 1; k < length; ++k) {
        const unsigned char b = byte(i + k);
        if ((b & 0xC0) != 0x80) return {};
        cp = (cp << 6) | (b & 0x3F);
    }
    if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return {};
    return {cp, length};
}

inline bool isValid(std::string_view s) {
    for (std::size_t i = 0; i < s.size();) {
        const Decoded d = decode(s, i);
        if (d.length == 0) return false;
        i += d.length;
    }
    return true;
}

}  // namespace zel::utf8
