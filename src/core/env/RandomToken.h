// Per-process secrets (the bridge's prompt marker, the web proxy's password): lower-case hexadecimal digits
// from the system's random source. Any thread.
#pragma once

#include <random>
#include <string>

namespace zel {

inline std::string randomToken(int hexDigits = 32) {
    std::random_device source;
    std::uniform_int_distribution<unsigned> digit(0, 15);
    std::string token;
    for (int i = 0; i < hexDigits; ++i) token.push_back("0123456789abcdef"[digit(source)]);
    return token;
}

}  // namespace zel
