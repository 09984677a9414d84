#include "core/json/HXAddtions.h"

#include "core/json/detail/ValueWriter.h"
#include "core/value/Utf8.h"

#include <charconv>
#include <cstdint>
#include <utility>

namespace zel::hx {
namespace {

void appendDouble(double d, std::string& out) {
    // Shortest text that reads back to the same value, independent of the locale.
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, d);
    out.append(buffer, result.ptr);
}

void appendQuoted(const std::string& text, std::string& out) {
    out.reserve(out.size() + text.size() + 2);
    out += '"';
    for (const char c : text) {
        if (c == '\n') {
            out += "\\n";
        } else if (c == '"') {
            out += "\\\"";
        } else {
            out += c;
        }
    }
    out += '"';
}

// What "%@" prints for a value that is not a container.
void appendScalarDescription(const Value& v, std::string& out) {
    switch (v.type()) {
        case Value::value_t::string:
            out += *v.get_ptr<const std::string*>();
            break;
        case Value::value_t::number_integer:
            out += std::to_string(*v.get_ptr<const Value::number_integer_t*>());
            break;
        case Value::value_t::number_unsigned:
            out += std::to_string(*v.get_ptr<const Value::number_unsigned_t*>());
            break;
        case Value::value_t::number_float:
            appendDouble(*v.get_ptr<const Value::number_float_t*>(), out);
            break;
        case Value::value_t::boolean:
            out += *v.get_ptr<const bool*>() ? '1' : '0';
            break;
        case Value::value_t::null:
            out += "<null>";
            break;
        case Value::value_t::binary: {
            static constexpr char kHex[] = "0123456789abcdef";
            out += '<';
            for (const std::uint8_t b : *v.get_ptr<const Value::binary_t*>()) {
                out += kHex[b >> 4];
                out += kHex[b & 0xF];
            }
            out += '>';
            break;
        }
        case Value::value_t::discarded:
        default:
            out += "(null)";
            break;
    }
}

struct HXStyle {
    // Inside a container a text is quoted; every other scalar is its description, as "%@" formats it.
    void scalar(const Value& v, std::string& out) const {
        if (const std::string* text = textOf(v)) {
            appendQuoted(*text, out);
        } else {
            appendScalarDescription(v, out);
        }
    }
    // Keys go out as they are; the web app's keys are plain identifiers.
    void key(const std::string& k, std::string& out) const {
        out += '"';
        out += k;
        out += '"';
    }
};

std::string writeContainer(const Value& v) {
    std::string out;
    json::detail::writeValue(v, out, HXStyle{});
    return out;
}

bool isWhiteSpace(char32_t c) {
    // Tab and the Unicode space separators (category Zs).
    return c == 0x09 || c == 0x20 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) ||
           c == 0x202F || c == 0x205F || c == 0x3000;
}

bool isLineBreak(char32_t c) {
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

// Bytes that are not valid UTF-8 are kept: they are no character of either set. Removing a character between
// such bytes can join them into one that is to be removed too, so passes repeat until one removes nothing.
template <class Predicate>
std::string removeCharacters(const std::string& text, Predicate remove) {
    std::string out = text;
    for (;;) {
        std::string next;
        next.reserve(out.size());
        for (std::size_t i = 0; i < out.size();) {
            const utf8::Decoded d = utf8::decode(out, i);
            const std::size_t length = d.length == 0 ? 1 : d.length;
            if (d.length == 0 || !remove(d.codePoint)) next.append(out, i, length);
            i += length;
        }
        if (next.size() == out.size()) return next;
        out = std::move(next);
    }
}

}  // namespace

std::optional<std::string> jsonStringWithObject(const Value& value) {
    if (isNil(value)) return std::nullopt;
    if (const std::string* text = textOf(value)) return jsonStringWithString(*text);
    if (value.is_object()) return jsonStringWithDictionary(value);
    if (value.is_array()) return jsonStringWithArray(value);
    std::string out;
    appendScalarDescription(value, out);
    return out;
}

std::string jsonStringWithString(const std::string& text) {
    std::string out;
    appendQuoted(text, out);
    return out;
}

std::string jsonStringWithArray(const Value& array) {
    return array.is_array() ? writeContainer(array) : std::string();
}

std::string jsonStringWithDictionary(const Value& dictionary) {
    return dictionary.is_object() ? writeContainer(dictionary) : std::string();
}

std::string description(const Value& value) {
    if (value.is_object() || value.is_array()) return writeContainer(value);
    std::string out;
    appendScalarDescription(value, out);
    return out;
}

bool containsString(const std::string& text, const std::string& part) {
    // The platform's search finds nothing for an empty argument.
    return !part.empty() && text.find(part) != std::string::npos;
}

std::string trimWhiteSpace(const std::string& text) {
    return removeCharacters(text, isWhiteSpace);
}

std::string trimNewLine(const std::string& text) {
    return removeCharacters(text, isLineBreak);
}

std::string trim(const std::string& text) {
    return removeCharacters(text, [](char32_t c) { return isWhiteSpace(c) || isLineBreak(c); });
}

}  // namespace zel::hx
