#include "core/json/DictionaryJSON.h"

#include "core/json/detail/ValueWriter.h"

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
    // Without exceptions a failed parse yields the discarded value, which is exactly nil; invalid UTF-8 is a
    // parse error.
    return Value::parse(bytes.begin(), bytes.end(), nullptr, /*allow_exceptions=*/false);
}

std::string transportJSON(const Value& value) {
    std::string out;
    detail::writeValue(value, out, TransportStyle{});
    return out;
}

}  // namespace zel::json
