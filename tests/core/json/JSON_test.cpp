#include "core/json/DictionaryJSON.h"
#include "core/json/HXAddtions.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

std::string nested(std::size_t depth, const std::string& inner = "") {
    return std::string(depth, '[') + inner + std::string(depth, ']');
}

TEST(HXWriterTest, WritesTextsQuotedAndEverythingElseAsDescriptions) {
    Value dict = Value::object();
    dict["z"] = 1;
    dict["a"] = Value::array({"p", "q"});
    dict["m\"k"] = Value::object({{"inner", "v\n"}});
    const std::pair<Value, std::optional<std::string>> rows[] = {
        // Only line feed and double quote are escaped.
        {Value("a\"b\nc\\\r\t\xC3\xA9"), "\"a\\\"b\\nc\\\r\t\xC3\xA9\""},
        {Value::array({"x", 5, true, nullptr, false, -3, 1.5, 0.1, 18446744073709551615u}),
         R"(["x",5,1,<null>,0,-3,1.5,0.1,18446744073709551615])"},
        {dict, R"({"z":1,"a":["p","q"],"m"k":{"inner":"v\n"}})"},  // own key order, keys unescaped
        {Value(5.0), "5"},
        {Value(nullptr), "<null>"},
        {nil(), std::nullopt},
    };
    for (const auto& [value, expected] : rows)
        EXPECT_EQ(hx::jsonStringWithObject(value), expected) << expected.value_or("nil");
    EXPECT_EQ(hx::jsonStringWithDictionary(Value::array()), "");  // wrong kind
    EXPECT_EQ(hx::description(Value("plain \"text\"\n")), "plain \"text\"\n");
}

TEST(HXTrimTest, RemovesCharactersWhereverTheyStand) {
    // U+00A0 no-break space is white space but no line break; U+2028 line separator the other way round.
    const std::string nbsp = "\xC2\xA0", lineSeparator = "\xE2\x80\xA8";
    EXPECT_EQ(hx::trim(" a b \r\n"), "ab");
    EXPECT_EQ(hx::trimWhiteSpace("\tx" + nbsp + "y\xE3\x80\x80" + lineSeparator), "xy" + lineSeparator);
    EXPECT_EQ(hx::trimNewLine("x" + nbsp + lineSeparator + "\v\f\xC2\x85"), "x" + nbsp);
    EXPECT_EQ(hx::trim("\xFF \xC2"), "\xFF\xC2");  // bytes that are not UTF-8 stay
    // Removing the line break joins the bytes around it into an ideographic space, which goes too.
    EXPECT_EQ(hx::trim("1\xE3\x80\n\x80"), "1");
}

TEST(DictionaryJSONTest, ParsesJSONAndNothingElse) {
    const std::string depthLimit = nested(json::kMaxJSONDepth, R"("[[[\"{{{")");  // brackets in strings
    const std::pair<std::string, Value> rows[] = {
        {"[1,2]", Value::array({1, 2})},
        {" \"t\" ", Value("t")},
        {"null", Value(nullptr)},
        // Escaped lone surrogates read as U+FFFD; pairs and escaped backslashes stay.
        {R"(["a\ud800b","\udc00","\uDBFF\ud800","\ud83d\ude00","\\ud800"])",
         Value::array({"a\uFFFDb", "\uFFFD", "\uFFFD\uFFFD", "\U0001F600", "\\ud800"})},
        {R"({"\ud800":"\udfff"})", Value::object({{"\uFFFD", "\uFFFD"}})},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(json::dictionaryWithJSONString(text), expected) << text;
    EXPECT_TRUE(json::dictionaryWithJSONString(depthLimit).is_array());
    for (const std::string& text :
         {std::string("{"), std::string("[1,]"), std::string("{'a':1}"), std::string("[1] x"),
          std::string("[\"\xFF\"]"), std::string("[\"\xED\xA0\x80\"]"), std::string("[1]\0", 4),
          nested(json::kMaxJSONDepth + 1), nested(100000)})
        EXPECT_TRUE(isNil(json::dictionaryWithJSONString(text))) << text.substr(0, 20);
    // Objects keep the text's key order.
    const Value ordered = json::dictionaryWithJSONString(R"({"b":1,"a":{"d":2,"c":3}})");
    EXPECT_EQ(hx::jsonStringWithDictionary(ordered), R"({"b":1,"a":{"d":2,"c":3}})");
}

TEST(DictionaryJSONTest, TransportJSONIsStandardJSONAtAnyDepth) {
    const Value v =
        Value::object({{"line", "a\"b\nc\\"}, {"list", Value::array({1.5, nullptr, true})}, {"gap", nil()}});
    EXPECT_EQ(json::transportJSON(v), R"({"line":"a\"b\nc\\","list":[1.5,null,true],"gap":null})");
    EXPECT_EQ(json::transportJSON(Value("\xFF")), "\"\xEF\xBF\xBD\"");  // replaced, not thrown

    // Deep values are written without recursion (and freed without it when they go).
    Value deep = Value::array();
    Value* innermost = &deep;
    for (int i = 1; i < 100000; ++i) innermost = &innermost->emplace_back(Value::array());
    EXPECT_EQ(json::transportJSON(deep), nested(100000));
    EXPECT_EQ(hx::jsonStringWithArray(deep), nested(100000));
}

}  // namespace
}  // namespace zel
