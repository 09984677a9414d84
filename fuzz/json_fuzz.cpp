// The JSON parser and both writers. Whatever the parser accepts must come back through a writer and the
// parser as the same value:
// - the transport writer (every text escaped, booleans and null as JSON has them) gives exactly the value;
// - the system's own writer escapes only line feed and double quote, writes keys as they are, booleans as
//   1/0, the null object as "<null>" and numbers as their description. So its text reads back only for values
//   without the null object, whose keys hold no control character, backslash or double quote and whose texts
//   no backslash or control character but line feed; those read back as the value with true and false
//   turned into the numbers 1 and 0.
#include "FuzzSupport.h"

#include "core/json/DictionaryJSON.h"
#include "core/json/HXAddtions.h"

#include <cmath>
#include <string_view>

namespace {

using zel::Value;

bool isPlainText(const std::string& text, bool isKey) {
    for (const char c : text) {
        const auto u = static_cast<unsigned char>(c);
        if (c == '\\' || (isKey && c == '"') || (u < 0x20 && (isKey || c != '\n'))) return false;
    }
    return true;
}

// Whether the system's writer's text of v is meant to read back (see above). Parsed values nest at most
// kMaxJSONDepth deep, so recursion is fine here.
bool writerTextReadsBack(const Value& v) {
    switch (v.type()) {
        case Value::value_t::null:
            return false;
        case Value::value_t::string:
            return isPlainText(v.get_ref<const std::string&>(), false);
        case Value::value_t::number_float:
            return std::isfinite(v.get<double>());
        case Value::value_t::array:
            for (const Value& element : v) {
                if (!writerTextReadsBack(element)) return false;
            }
            return true;
        case Value::value_t::object:
            for (const auto& [key, element] : v.items()) {
                if (!isPlainText(key, true) || !writerTextReadsBack(element)) return false;
            }
            return true;
        default:
            return true;
    }
}

Value booleansAsNumbers(const Value& v) {
    if (v.is_boolean()) return v.get<bool>() ? 1 : 0;
    if (!v.is_structured()) return v;
    Value out = v.is_object() ? Value::object() : Value::array();
    for (auto it = v.begin(); it != v.end(); ++it) {
        if (v.is_object()) {
            out[it.key()] = booleansAsNumbers(it.value());
        } else {
            out.push_back(booleansAsNumbers(it.value()));
        }
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const Value value = json::dictionaryWithJSONData(text);
    // Descriptions of anything, parsed or not, must not fail.
    (void)hx::description(value);
    if (isNil(value)) return 0;

    const std::string transport = json::transportJSON(value);
    fuzz::check(json::dictionaryWithJSONString(transport) == value,
                "transport text reads back: " + transport);

    const std::optional<std::string> written = hx::jsonStringWithObject(value);
    fuzz::check(written.has_value(), "a parsed value has writer text");
    if (writerTextReadsBack(value)) {
        fuzz::check(json::dictionaryWithJSONString(*written) == booleansAsNumbers(value),
                    "writer text reads back: " + *written);
    }
    return 0;
}
