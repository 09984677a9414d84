// The system's value type: what crosses between the web app, native code and files.
//
// Text, number, boolean, the null object, arrays and dictionaries whose keys keep the order in which they
// were parsed or inserted. "Absent" (the value that ends an argument list) is represented by a discarded
// value, which no parse ever yields as a member of a container, so it cannot be confused with the null
// object.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace zel {

using Value = nlohmann::ordered_json;

// The absent value.
inline Value nil() {
    return Value(Value::value_t::discarded);
}
inline bool isNil(const Value& v) {
    return v.is_discarded();
}

// Argument lists for script functions.
using ArgList = std::vector<Value>;

namespace detail {
inline bool appendArg(ArgList& list, const Value& v) {
    if (isNil(v)) return false;
    list.push_back(v);
    return true;
}
}  // namespace detail

// Builds an argument list the way a terminated list does: the first absent value ends it, so the values
// behind it are not passed.
template <class... Args>
ArgList argList(const Args&... args) {
    ArgList list;
    list.reserve(sizeof...(args));
    (void)(detail::appendArg(list, Value(args)) && ...);
    return list;
}

// The text held by a value, or nil when it is not a text.
inline const std::string* textOf(const Value& v) {
    return v.is_string() ? v.get_ptr<const std::string*>() : nullptr;
}
// The pointer would outlive a temporary value.
const std::string* textOf(const Value&&) = delete;

// The value under a key of a dictionary; nil when the value is not a dictionary or lacks the key.
inline Value valueForKey(const Value& dict, const std::string& key) {
    if (!dict.is_object()) return nil();
    auto it = dict.find(key);
    return it == dict.end() ? nil() : *it;
}

// The double value of a number or numeric text; 0 for anything else.
double doubleValue(const Value& v);

}  // namespace zel
