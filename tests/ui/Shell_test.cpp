// The application around the web view, driven the way a user and the desktop drive it: start-up, a second
// launch, the exported actions and the login and feedback windows.
#include "Desktop.h"
#include "ShellTest.h"

#include <sys/wait.h>

#include <gmock/gmock.h>

namespace zel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Waits for the one visible window with this title.
XWindow expectSingleWindow(const std::string& title) {
    std::vector<XWindow> windows;
    if (!waitUntil([&] { return (windows = visibleWindows("^" + title + "$")).size() == 1; })) {
        throw WaitTimeout("no single visible window \"" + title + "\" (found " +
                          std::to_string(windows.size()) + ")");
    }
    return windows.front();
}

XWindow expectMainWindow() {
    std::optional<XWindow> window;
    if (!waitUntil([&] { return (window = mainWindow()).has_value(); })) throw WaitTimeout("no main window");
    return *window;
}

class StartupTest : public ShellTest {};

TEST_F(StartupTest, LogsItsStartInOrderAndThenLoadsTheBundledStartPage) {
    launchWithArgs({"--console-log", "--bundle", bundle_.string()});
    std::size_t readyAt = 0;
    EXPECT_EQ(expectReport("ready", 0, &readyAt)["href"], webAppURL("index.html"));
    // What follows awakeFromNib (setting up the media keys) depends on what the desktop offers.
    const std::vector<std::string> started = withoutLifecycle(nativeLog(0, readyAt));
    ASSERT_GE(started.size(), 8u);
    EXPECT_THAT(
        std::vector(started.begin(), started.begin() + 8),
        ElementsAre("WebStoragePath is '" + workingDirectory().string() + "', modify in MainViewController.",
                    "WebStoragePath enabled', modify in MainViewController.", "setContentView",
                    "applicationWillFinishLaunching", "[\"" + dataHome().string() + "\"]",
                    "applicationDidFinishLaunching",
                    testing::StartsWith("web proxy listening on http://127.0.0.1:"), "awakeFromNib"));
}

TEST_F(StartupTest, ASecondLaunchRaisesTheRunningWindow) {
    launch("idle");
    expectReport("ready");
    const XWindow window = expectMainWindow();
    ASSERT_TRUE(waitUntil([&] { return focusedWindow() == window; }))
        << "the new window did not get the focus";
    // With the focus on the root window, keys go to the window under the pointer; so the pointer leaves too.
    movePointerTo(0, 0);
    focusWindow(rootWindow());
    const std::size_t resigned = expectLog("applicationDidResignActive");

    Process second(programPath().string(), {"--bundle", bundle_.string()}, environment());
    const std::optional<int> status = second.waitForExit();
    ASSERT_TRUE(status.has_value());
    EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 0) << "wait status " << *status;
    EXPECT_TRUE(waitUntil([&] { return focusedWindow() == window; })) << "focus is on " << focusedWindow();
    expectLog("applicationDidBecomeActive", resigned);
    // The second process only handed over; it built nothing of its own.
    for (const OutputLine& line : second.lines())
        EXPECT_FALSE(nativeLogText(line, second.pid())) << line.text;
}

class ActionsTest : public ShellTest {};

TEST_F(ActionsTest, HelpOpensTheServiceHomePageInTheBrowser) {
    launch("idle", {"--service-home-url", "http://home.example.test/"});
    expectReport("ready");
    activateApplicationAction("help");
    expectLog("showHelp");
    EXPECT_TRUE(waitUntil([&] { return !browserLog().empty(); }));
    EXPECT_THAT(browserLog(), ElementsAre("http://home.example.test/"));
}

TEST_F(ActionsTest, FeedbackOpensOneWindowWhoseTextGoesToTheWebApp) {
    launch("feedback");
    expectReport("ready");
    activateApplicationAction("feedback");
    const std::size_t first = expectLog("showFeedbackWindow");
    const XWindow window = expectSingleWindow("意见反馈");
    activateApplicationAction("feedback");
    expectLog("showFeedbackWindow", first + 1);
    EXPECT_EQ(expectSingleWindow("意见反馈"), window);

    ASSERT_TRUE(waitUntil([&] { return focusedWindow() == window; }));
    typeText("hello from the test");
    pressKey("Tab");
    typeText("me@example.test");
    pressKey("Tab");
    pressKey("Return");
    EXPECT_EQ(expectReport("feedback")["args"], json::array({"hello from the test", "me@example.test"}));
    EXPECT_TRUE(waitUntil([] { return visibleWindows("^意见反馈$").empty(); })) << "the window stayed open";
}

TEST_F(ActionsTest, QuitEndsTheProgram) {
    launch("idle");
    expectReport("ready");
    activateApplicationAction("quit");
    const std::optional<int> status = app().waitForExit();
    ASSERT_TRUE(status.has_value());
    EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 0) << "wait status " << *status;
}

class LoginTest : public ShellTest {};

TEST_F(LoginTest, TheWebAppOpensTheLoginWindowAndClosesItWithStatusZero) {
    launch("login");
    EXPECT_THAT(expectReport("login-shown")["answers"], IsEmpty());
    const XWindow window = expectSingleWindow("用户登录");
    ASSERT_TRUE(waitUntil([&] { return focusedWindow() == window; }));
    typeText("alice");
    pressKey("Tab");
    typeText("secret");
    pressKey("Return");
    // The window passes what was typed to the web app, which answers "0" (signed in) through the bridge.
    EXPECT_EQ(expectReport("login")["args"], json::array({"alice", "secret", ""}));
    expectLog("login alice ******, 1");
    for (const std::string& line : nativeLog()) EXPECT_EQ(line.find("secret"), std::string::npos) << line;
    EXPECT_TRUE(waitUntil([] { return visibleWindows("^用户登录$").empty(); }))
        << "the login window stayed open";
}

}  // namespace
}  // namespace zel::test
