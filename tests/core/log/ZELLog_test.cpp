#include "core/log/ZELLog.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

#include <thread>

namespace zel {
namespace {

// Whether text has the shape: '#' stands for one digit, '*' for one or more digits, anything else for itself.
bool hasShape(std::string_view text, std::string_view shape) {
    std::size_t t = 0;
    for (const char s : shape) {
        const bool digit = t < text.size() && text[t] >= '0' && text[t] <= '9';
        if ((s == '#' || s == '*') != digit || (s != '#' && s != '*' && (t == text.size() || text[t] != s)))
            return false;
        for (++t; s == '*' && t < text.size() && text[t] >= '0' && text[t] <= '9';) ++t;
    }
    return t == text.size();
}

TEST(ZELLogTest, Directives) {
    const std::pair<std::string, std::string> rows[] = {
        {formatLog("ZelUserInfo %@ %@", {"N", "A"}), "ZelUserInfo N A"},
        {formatLog("%@|%@|%@", {Value::array({1, "x"}), Value(nullptr), nil()}), R"([1,"x"]|<null>|(null))"},
        {formatLog("flag %hhd %hhd %hhd", {true, 42, 2.9}), "flag 1 42 2"},
        {formatLog("100%% %d %", {}), "100% %d %"},
        {formatLog("%@ and %@", {"one"}), "one and (null)"},  // missing arguments are absent values
        {formatLog("none", {"x", "y"}), "none"},
        {formatLog("%@ %@", {"%@", "b"}), "%@ b"},  // a directive inside an argument is text
    };
    for (const auto& [written, expected] : rows) EXPECT_EQ(written, expected);
}

TEST(ZELLogTest, LinesFromManyThreadsReachTheSinkWhole) {
    test::LogCapture capture;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) zelLog("thread %hhd line %hhd", t, i);
        });
    }
    for (auto& thread : threads) thread.join();
    ASSERT_EQ(capture.lines.size(), 800u);
    for (const auto& l : capture.lines) EXPECT_TRUE(hasShape(l, "thread # line *")) << l;
}

// Without a sink, lines go to standard error behind a time stamp; a password only as the mask.
TEST(ZELLogTest, StandardErrorLinesAreStampedAndMaskPasswords) {
    for (const std::string& password : {std::string(), std::string("s3cr%@t\n\"x"), std::string(300, 'x')}) {
        SCOPED_TRACE(password);
        testing::internal::CaptureStderr();
        zelLog("login %@ %@, %hhd", "alice", Secret(password), true);
        const std::string err = testing::internal::GetCapturedStderr();
        const std::size_t text = err.find("] ") + 2;
        EXPECT_TRUE(hasShape(err.substr(0, text), "####-##-## ##:##:##.### ostrelle[*] ")) << err;
        EXPECT_EQ(err.substr(text), "login alice ******, 1\n");
    }
}

}  // namespace
}  // namespace zel
