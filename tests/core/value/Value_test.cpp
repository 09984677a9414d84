#include "core/value/Value.h"

#include <gtest/gtest.h>

namespace zel {

TEST(ValueTest, ArgListStopsAtTheFirstAbsentValueAndDoubleValueReadsADecimalPrefix) {
    EXPECT_EQ(argList(1, "a", nil(), 3), (ArgList{1, "a"}));
    EXPECT_EQ(argList(Value(nullptr), 2), (ArgList{nullptr, 2}));  // the null object is a value
    const std::pair<Value, double> cases[] = {
        {Value(120), 120},      {Value(-2.5), -2.5},  {Value(true), 1},      {Value(" \t\n45"), 45},
        {Value("+7.5px"), 7.5}, {Value("-.5"), -0.5}, {Value("1e3x"), 1000}, {Value("abc"), 0},
        {Value("inf"), 0},      {Value("nan"), 0},    {Value("1e999"), 0},   {Value("0x10"), 0},
        {Value(nullptr), 0},    {nil(), 0},
    };
    for (const auto& [value, expected] : cases)
        EXPECT_DOUBLE_EQ(doubleValue(value), expected) << value.dump();
}

}  // namespace zel
