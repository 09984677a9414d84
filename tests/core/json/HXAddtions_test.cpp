#include "core/json/HXAddtions.h"

#include <gtest/gtest.h>

namespace zel::hx {
namespace {

TEST(HXWriterTest, EscapesOnlyLineFeedAndDoubleQuote) {
    const std::string written = jsonStringWithString("a\"b\nc");
    EXPECT_EQ(written, R"("a\"b\nc")");
    EXPECT_EQ(written.size(), 9u);
    EXPECT_EQ(jsonStringWithString("a\\b\r\t\xC3\xA9"), "\"a\\b\r\t\xC3\xA9\"");
    EXPECT_EQ(jsonStringWithString(""), "\"\"");
}

TEST(HXWriterTest, ArraysAndScalarsUseDescriptions) {
    EXPECT_EQ(jsonStringWithArray(Value::array({"x", 5, true})), R"(["x",5,1])");
    EXPECT_EQ(jsonStringWithArray(Value::array()), "[]");
    EXPECT_EQ(jsonStringWithArray(Value::array({nullptr, false, -3, 1.5, 0.1, 18446744073709551615u})),
              "[<null>,0,-3,1.5,0.1,18446744073709551615]");
    // Numbers written as descriptions are not text: no quotes, and a float that is whole has no fraction.
    EXPECT_EQ(jsonStringWithObject(Value(5.0)), "5");
    EXPECT_EQ(jsonStringWithObject(nil()), std::nullopt);
    EXPECT_EQ(jsonStringWithObject(Value(nullptr)), "<null>");
}

TEST(HXWriterTest, DictionariesKeepTheirOwnKeyOrderAndUnescapedKeys) {
    EXPECT_EQ(jsonStringWithDictionary(Value::object()), "{}");
    Value dict = Value::object();
    dict["z"] = 1;
    dict["a"] = Value::array({"p", "q"});
    dict["m\"k"] = Value::object({{"inner", "v\n"}});
    EXPECT_EQ(jsonStringWithDictionary(dict), R"({"z":1,"a":["p","q"],"m"k":{"inner":"v\n"}})");
    EXPECT_EQ(jsonStringWithDictionary(Value::array()), "");  // wrong kind
}

TEST(HXWriterTest, WritesVeryDeepValuesWithoutRecursion) {
    constexpr int kDepth = 100000;
    Value deep = Value::array();
    Value* innermost = &deep;
    for (int i = 1; i < kDepth; ++i) {
        innermost->push_back(Value::object());
        innermost = &innermost->back();
        (*innermost)["k"] = Value::array();
        innermost = &(*innermost)["k"];
    }
    const std::string written = jsonStringWithArray(deep);
    // "[" + (depth - 1) times "{"k":[" and "]}" + "]"
    EXPECT_EQ(written.size(), 2 + 8 * static_cast<size_t>(kDepth - 1));
    EXPECT_EQ(written.substr(0, 9), R"([{"k":[{")");
    EXPECT_EQ(written.substr(written.size() - 4), "}]}]");
    EXPECT_EQ(written.find("[]"), 6 * static_cast<size_t>(kDepth - 1));
    EXPECT_EQ(description(deep), written);
}  // the value is destroyed here; the library frees nested values without recursion

TEST(HXDescriptionTest, TextsAsTheyAreAbsentAsNull) {
    EXPECT_EQ(description(Value("plain \"text\"\n")), "plain \"text\"\n");
    EXPECT_EQ(description(nil()), "(null)");
    EXPECT_EQ(description(Value(1e300)), "1e+300");
}

TEST(HXTrimTest, RemovesCharactersWhereverTheyStand) {
    EXPECT_EQ(trim(" a b \r\n"), "ab");
    EXPECT_EQ(trim("1 2\n"), "12");
    // U+00A0 no-break space is white space but no line break; U+2028 line separator the other way round.
    const std::string nbsp = "\xC2\xA0", lineSeparator = "\xE2\x80\xA8";
    EXPECT_EQ(trimWhiteSpace("x" + nbsp + "y" + lineSeparator), "xy" + lineSeparator);
    EXPECT_EQ(trimNewLine("x" + nbsp + "y" + lineSeparator + "\v\f\xC2\x85"), "x" + nbsp + "y");
    EXPECT_EQ(trimWhiteSpace("\t\xE3\x80\x80z"), "z");  // ideographic space
    // Bytes that are not UTF-8 are no characters of either set and stay.
    EXPECT_EQ(trim("\xFF \xC2"), "\xFF\xC2");
    EXPECT_EQ(trim("\xE4\xB8\xAD \xE6\x96\x87"), "\xE4\xB8\xAD\xE6\x96\x87");
    // Removing the line break joins the bytes around it into an ideographic space, which goes too.
    EXPECT_EQ(trim("1\xE3\x80\n\x80"), "1");
}

}  // namespace
}  // namespace zel::hx
