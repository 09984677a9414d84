#include "core/log/ZELLog.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

#include <thread>

namespace zel {
namespace {

// Whether text has the shape: '#' stands for one digit, '*' for one or more digits, anything else for itself.
bool hasShape(std::string_view text, std::string_view shape) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::size_t t = 0;
    for (const char s : shape) {
        if (s == '#' || s == '*') {
            if (t == text.size() || !isDigit(text[t])) return false;
            ++t;
            while (s == '*' && t < text.size() && isDigit(text[t])) ++t;
        } else {
            if (t == text.size() || text[t] != s) return false;
            ++t;
        }
    }
    return t == text.size();
}

TEST(FormatLogTest, Directives) {
    EXPECT_EQ(formatLog("ZelUserInfo %@ %@", {"N", "A"}), "ZelUserInfo N A");
    EXPECT_EQ(formatLog("%@|%@|%@", {Value::array({1, "x"}), Value(nullptr), nil()}),
              R"([1,"x"]|<null>|(null))");
    EXPECT_EQ(formatLog("flag %hhd %hhd %hhd", {true, 42, 2.9}), "flag 1 42 2");
    EXPECT_EQ(formatLog("100%% %d %", {}), "100% %d %");
    // Missing arguments print as the absent value; surplus ones are ignored.
    EXPECT_EQ(formatLog("%@ and %@", {"one"}), "one and (null)");
    EXPECT_EQ(formatLog("none", {"x", "y"}), "none");
    // A "%@" inside an argument is not a directive.
    EXPECT_EQ(formatLog("%@ %@", {"%@", "b"}), "%@ b");
}

TEST(LogLineTest, SinkReceivesTextAndStderrGetsPrefixedLine) {
    {
        test::LogCapture capture;
        zelLog("getLocalData %@ %@", "a", 3);
        ASSERT_EQ(capture.lines, std::vector<std::string>{"getLocalData a 3"});
    }
    testing::internal::CaptureStderr();
    zelLog("load raw %@", "x");
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(hasShape(err, "####-##-## ##:##:##.### ostrelle[*] load raw x\n")) << err;
}

TEST(LogLineTest, APasswordReachesStderrOnlyAsTheMask) {
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

TEST(LogLineTest, ConcurrentLinesStayWhole) {
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

}  // namespace
}  // namespace zel
