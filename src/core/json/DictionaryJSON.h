// Parsing JSON text into the system's value type.
//
// A bare value at top level is allowed; the result is whatever the text holds (object, array, text, number,
// boolean, null object), or nil for text that is not JSON, is not valid UTF-8, or nests deeper than
// kMaxJSONDepth (so hostile input can neither exhaust the stack nor be half-read). The escape of a lone
// UTF-16 surrogate ("\ud800", as script's JSON.stringify writes it) reads as U+FFFD. Never throws. Any
// thread.
#pragma once

#include "core/value/Value.h"

#include <cstddef>
#include <string_view>

namespace zel::json {

inline constexpr std::size_t kMaxJSONDepth = 512;

Value dictionaryWithJSONString(std::string_view text);
Value dictionaryWithJSONData(std::string_view bytes);

// Standard JSON text of a value for transport to script (not the system's writer): every string escaped,
// invalid UTF-8 replaced, the absent value written as null; any depth. Used only where the receiving side
// parses with JSON.parse.
std::string transportJSON(const Value& value);

}  // namespace zel::json
