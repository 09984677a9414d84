#include "core/json/DictionaryJSON.h"

#include "core/json/HXAddtions.h"

#include <gtest/gtest.h>

namespace zel::json {
namespace {

std::string nested(std::size_t depth, const std::string& inner = "") {
    return std::string(depth, '[') + inner + std::string(depth, ']');
}

TEST(DictionaryJSONTest, ParsesBareTopLevelValues) {
    EXPECT_EQ(dictionaryWithJSONString("[1,2]"), Value::array({1, 2}));
    EXPECT_EQ(dictionaryWithJSONString("5"), Value(5));
    EXPECT_EQ(dictionaryWithJSONString(" \"t\" "), Value("t"));
    EXPECT_TRUE(dictionaryWithJSONString("null").is_null());
    EXPECT_EQ(dictionaryWithJSONData("true"), Value(true));
}

TEST(DictionaryJSONTest, NonJSONIsNil) {
    for (const char* text : {"{", "", "   ", "[1,]", "{'a':1}", "[1] x", "// c\n1", "NaN"}) {
        EXPECT_TRUE(isNil(dictionaryWithJSONString(text))) << text;
    }
    EXPECT_TRUE(isNil(dictionaryWithJSONString("[\"\xFF\"]")));
    EXPECT_TRUE(isNil(dictionaryWithJSONString("[\"\xED\xA0\x80\"]")));  // encoded surrogate
    EXPECT_TRUE(isNil(dictionaryWithJSONString(std::string("[1]\0", 4))));
}

TEST(DictionaryJSONTest, EscapedLoneSurrogatesReadAsReplacementCharacters) {
    EXPECT_EQ(dictionaryWithJSONString(R"(["a\ud800b","\udc00","\uDBFF\ud800","\ud83d\ude00","\\ud800"])"),
              Value::array({"a\uFFFDb", "\uFFFD", "\uFFFD\uFFFD", "\U0001F600", "\\ud800"}));
    EXPECT_EQ(dictionaryWithJSONString(R"({"\ud800":"\udfff"})"), Value::object({{"\uFFFD", "\uFFFD"}}));
}

TEST(DictionaryJSONTest, ObjectsKeepTheTextsKeyOrder) {
    const Value v = dictionaryWithJSONString(R"({"b":1,"a":{"d":2,"c":3}})");
    EXPECT_EQ(hx::jsonStringWithDictionary(v), R"({"b":1,"a":{"d":2,"c":3}})");
}

TEST(DictionaryJSONTest, NestingLimit) {
    EXPECT_TRUE(dictionaryWithJSONString(nested(kMaxJSONDepth)).is_array());
    EXPECT_TRUE(isNil(dictionaryWithJSONString(nested(kMaxJSONDepth + 1))));
    EXPECT_TRUE(isNil(dictionaryWithJSONString(nested(100000))));
    EXPECT_TRUE(isNil(dictionaryWithJSONString(std::string(1 << 20, '{'))));
    // Brackets inside strings, also after escaped quotes, do not count.
    const std::string text = nested(kMaxJSONDepth, R"("[[[\"{{{")");
    EXPECT_TRUE(dictionaryWithJSONString(text).is_array());
}

TEST(DictionaryJSONTest, TransportJSONIsStandardJSON) {
    Value v = Value::object();
    v["line"] = "a\"b\nc\\";
    v["list"] = Value::array({1.5, nullptr, true});
    v["gap"] = nil();
    EXPECT_EQ(transportJSON(v), R"({"line":"a\"b\nc\\","list":[1.5,null,true],"gap":null})");
    EXPECT_EQ(transportJSON(Value("\xFF")), "\"\xEF\xBF\xBD\"");  // replaced, not thrown
    EXPECT_EQ(transportJSON(nil()), "null");

    Value deep = Value::array();
    Value* innermost = &deep;
    for (int i = 0; i < 100000; ++i) {
        innermost->push_back(Value::array());
        innermost = &innermost->back();
    }
    EXPECT_EQ(transportJSON(deep).size(), 200002u);
}

}  // namespace
}  // namespace zel::json
