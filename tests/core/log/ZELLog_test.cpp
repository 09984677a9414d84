#include "core/log/ZELLog.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

#include <regex>
#include <thread>

namespace zel {

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
    const std::regex shape(R"(thread \d line \d+)");
    for (const auto& l : capture.lines) EXPECT_TRUE(std::regex_match(l, shape)) << l;
}

// Without a sink, lines go to standard error behind a time stamp; a password only as the mask.
TEST(ZELLogTest, StandardErrorLinesAreStampedAndMaskPasswords) {
    for (const std::string& password : {std::string(), std::string("s3cr%@t\n\"x"), std::string(300, 'x')}) {
        SCOPED_TRACE(password);
        testing::internal::CaptureStderr();
        zelLog("login %@ %@, %hhd", "alice", Secret(password), true);
        const std::string err = testing::internal::GetCapturedStderr();
        const std::regex line(
            R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} ostrelle\[\d+\] login alice \*{6}, 1\n)");
        EXPECT_TRUE(std::regex_match(err, line)) << err;
    }
}

}  // namespace zel
