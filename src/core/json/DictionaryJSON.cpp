#include "core/json/DictionaryJSON.h"
#include "core/value/HexDigit.h"

#include "core/json/detail/ValueWriter.h"

#include <optional>
#include <string>

namespace zel::json {
namespace {

// The parser builds values of any depth, but copying, comparing or dumping them recurses; so the nesting is
// measured first, in one pass that only has to know which brackets stand inside strings. The same pass
// refuses NUL bytes, which are never valid JSON but at which the parser would stop reading and accept what it
// had.
bool isAcceptableText(std::string_view text, std::size_t limit) {
    std::size_t depth = 0;
    bool inString = false;
    bool escaped = false;
    for (const char c : text) {
        if (c == '\0') return false;
        if (inString) {
            if (escaped) {
                escaped = false;
            } else if (c == '\\') {
                escaped = true;
            } else if (c == '"') {
                inString = false;
            }
            continue;
        }
        switch (c) {
            case '"':
                inString = true;
                break;
            case '[':
            case '{':
                if (++depth > limit) return false;
                break;
            case ']':
            case '}':
                // Unbalanced closers make the text invalid anyway; the parser rejects it.
                if (depth > 0) --depth;
                break;
            default:
                break;
        }
    }
    return true;
}

// JSON text may escape a lone UTF-16 surrogate ("\ud800"): the grammar allows any \u escape, and a web page's
// JSON.stringify writes one for a string that holds a lone surrogate. The parser refuses such text, which
// would cost a whole argument list for one odd character; as nothing can carry a lone surrogate in UTF-8,
// each such escape reads as U+FFFD instead. Returns the repaired text, or nullopt when there is nothing to
// repair.
std::optional<std::string> withLoneSurrogatesReplaced(std::string_view text) {
    // 1 for the escape of a high surrogate at i, 2 for a low one, 0 for anything else.
    const auto surrogateEscapeAt = [text](std::size_t i) {
        if (i + 6 > text.size() || text[i] != '\\' || text[i + 1] != 'u') return 0;
        unsigned value = 0;
        for (std::size_t k = i + 2; k < i + 6; ++k) {
            const int digit = hexDigit(text[k]);
            if (digit < 0) return 0;
            value = value * 16 + static_cast<unsigned>(digit);
        }
        return value >= 0xD800 && value < 0xDC00 ? 1 : (value >= 0xDC00 && value < 0xE000 ? 2 : 0);
    };
    std::optional<std::string> repaired;
    std::size_t copied = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') continue;
        const int kind = surrogateEscapeAt(i);
        if (kind == 0) {
            ++i;  // the escaped character goes with its backslash, so "\\ud800" stays as it is
            continue;
        }
        if (kind == 1 && surrogateEscapeAt(i + 6) == 2) {
            i += 11;
            continue;
        }
        if (!repaired) repaired.emplace();
        repaired->append(text.substr(copied, i - copied)).append("\\ufffd");
        copied = i + 6;
        i += 5;
    }
    if (repaired) repaired->append(text.substr(copied));
    return repaired;
}

struct TransportStyle {
    static constexpr int kCompact = -1;
    void scalar(const Value& v, std::string& out) const {
        if (isNil(v)) {
            out += "null";
        } else {
            out += v.dump(kCompact, ' ', false, Value::error_handler_t::replace);
        }
    }
    void key(const std::string& k, std::string& out) const { scalar(Value(k), out); }
};

}  // namespace

Value dictionaryWithJSONString(std::string_view text) {
    return dictionaryWithJSONData(text);
}

Value dictionaryWithJSONData(std::string_view bytes) {
    if (!isAcceptableText(bytes, kMaxJSONDepth)) return nil();
    const std::optional<std::string> repaired = withLoneSurrogatesReplaced(bytes);
    const std::string_view text = repaired ? std::string_view(*repaired) : bytes;
    // Without exceptions a failed parse yields the discarded value, which is exactly nil; invalid UTF-8 is a
    // parse error.
    return Value::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
}

std::string transportJSON(const Value& value) {
    std::string out;
    detail::writeValue(value, out, TransportStyle{});
    return out;
}

}  // namespace zel::json
