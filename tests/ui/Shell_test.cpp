// The application around the web view, driven the way a user and the desktop drive it: start-up, a second
// launch and the exported actions.
#include "Desktop.h"
#include "ShellTest.h"

#include <sys/wait.h>

#include <gmock/gmock.h>

namespace zel::test {
namespace {

using testing::ElementsAre;

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

TEST_F(ActionsTest, QuitEndsTheProgram) {
    launch("idle");
    expectReport("ready");
    activateApplicationAction("quit");
    const std::optional<int> status = app().waitForExit();
    ASSERT_TRUE(status.has_value());
    EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 0) << "wait status " << *status;
}

}  // namespace
}  // namespace zel::test
