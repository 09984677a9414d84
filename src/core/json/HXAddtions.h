// The system's own JSON text writer and the text-cleaning operations used by the cache.
//
// The writer is deliberately not a general-purpose JSON encoder: only line feed and double quote are escaped,
// numbers are written as their description, true/false as 1/0 and the null object as "<null>", dictionary
// keys unescaped and in the dictionary's own order, no white space. Every JSON text the system produces comes
// from here. Stateless; any thread. Deeply nested values are written without recursion.
#pragma once

#include "core/value/Value.h"

#include <optional>
#include <string>

namespace zel::hx {

// JSON text of any value; nullopt for the absent value. A number, boolean or null object gives its
// description text (what formatting it with "%@" would print), not JSON text.
std::optional<std::string> jsonStringWithObject(const Value& value);
std::string jsonStringWithString(const std::string& text);
// Precondition (checked): an array / a dictionary; other kinds give the empty text.
std::string jsonStringWithArray(const Value& array);
std::string jsonStringWithDictionary(const Value& dictionary);

// The description of a value as "%@" prints it: texts as they are, containers as JSON text of this writer,
// numbers in decimal, booleans as 1/0, the null object as "<null>", the absent value as "(null)".
std::string description(const Value& value);

bool containsString(const std::string& text, const std::string& part);
// Every white-space character (space, tab and the other horizontal spaces) removed, wherever it stands.
std::string trimWhiteSpace(const std::string& text);
// Every line-break character (LF, VT, FF, CR, NEL, LS, PS) removed, wherever it stands.
std::string trimNewLine(const std::string& text);
std::string trim(const std::string& text);

}  // namespace zel::hx
