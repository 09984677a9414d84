// The login and feedback windows and the main menu's keys on a real display with a window manager: the
// login road (error dialog, verification-code row, reset on closing), feedback, Copy in the page, F10 and
// Ctrl+Q.
#include "Desktop.h"
#include "ShellTest.h"
#include "support/Http.h"
#include "support/X11Probe.h"

#include <sys/wait.h>

namespace zel::test {
namespace {

class DialogsTest : public ShellTest {
  protected:
    DialogsTest() : windowManager_("openbox", {"--sm-disable"}) {
        // Windows mapped before the window manager runs are taken over without the focus.
        waitUntil([] {
            return runCommand({"xprop", "-root", "_NET_SUPPORTING_WM_CHECK"}).out.find("# 0x") !=
                   std::string::npos;
        });
    }

    XWindow expectWindow(const std::string& title) {
        std::vector<XWindow> found;
        if (!waitUntil([&] { return (found = visibleWindows("^" + title + "$")).size() == 1; }))
            throw WaitTimeout("no window " + title);
        // The toolkit focuses an input-only child of its window; xdotool names the window itself.
        const auto focused = [] { return std::stoul(runCommand({"xdotool", "getwindowfocus"}).out); };
        if (!waitUntil([&] { return focused() == found[0]; })) throw WaitTimeout(title + " not focused");
        return found[0];
    }
    json expectLogin(std::size_t& from) {
        std::size_t at = 0;
        json args = expectReport("login", from, &at)["args"];
        from = at + 1;
        return args;
    }

    Process windowManager_;
    RequestRecorder codeServer_;
};

bool isField(std::uint32_t p) {
    return (p & 0xff) > 0xf4 && (p >> 8 & 0xff) > 0xf4;
}

TEST_F(DialogsTest, LoginShowsErrorsGrowsForTheCodeAndResetsOnClosing) {
    launch("login", {}, "code=" + codeServer_.url("/code.png"));
    expectReport("login-shown");
    const XWindow login = expectWindow("用户登录");
    const WindowGeometry g = windowGeometry(login);
    EXPECT_EQ(g.width, 340);
    EXPECT_EQ(g.height, 172);
    // From the top: user name 42-65, password 77-100, the login button from 115; the window's grey between.
    X11Probe x11;
    const auto controlsInPlace = [&] {
        const Screenshot s = x11.capture({int(g.x), int(g.y), 340, 172});
        return isField(s.at(100, 53)) && isField(s.at(300, 88)) && !isField(s.at(100, 70)) &&
               !isField(s.at(100, 110)) && !isField(s.at(10, 53));
    };
    EXPECT_TRUE(waitUntil(controlsInPlace)) << "the fields are not where they belong";
    typeText("alice");
    pressKey("Tab");
    typeText("secret");
    pressKey("Return");
    std::size_t from = 0;
    EXPECT_EQ(expectLogin(from), json::array({"alice", "secret", ""}));
    expectLog("login alice ******, 1");
    expectWindow("出错了");
    pressKey("Return");
    expectLog("alertDidEnd");

    // Return in the password field again: the page asks for a code; the window grows 30 at the bottom.
    expectWindow("用户登录");
    pressKey("Return");
    EXPECT_EQ(expectLogin(from), json::array({"alice", "secret", ""}));
    expectLog("setNeedVerifyCode 1");
    codeServer_.expectRequest("/code.png");
    WindowGeometry grown;
    EXPECT_TRUE(waitUntil([&] { return (grown = windowGeometry(login)).height == 202; })) << grown.height;
    EXPECT_EQ(grown.y, g.y);
    pressKey("Tab");
    typeText("7k3p");
    pressKey("Return");
    EXPECT_EQ(expectLogin(from), json::array({"alice", "secret", "7k3p"}));
    // Signed in: the window closes, collapsed and empty for the next opening, where it was left.
    EXPECT_TRUE(waitUntil([] { return visibleWindows("^用户登录$").empty(); }));
    focusWindow(*mainWindow());
    pressKey("l");
    expectWindow("用户登录");
    const WindowGeometry again = windowGeometry(login);
    EXPECT_EQ(again.height, 172);
    EXPECT_EQ(again.y, g.y);
    pressKey("Return");
    EXPECT_EQ(expectLogin(from), json::array({"", "", ""}));
    for (const std::string& line : nativeLog()) EXPECT_EQ(line.find("secret"), std::string::npos) << line;
}

TEST_F(DialogsTest, MenuKeysReachFeedbackThePageTheMenuBarAndQuit) {
    launch("login");
    expectReport("login-shown");
    expectWindow("用户登录");
    pressKey("Escape");
    const XWindow main = *mainWindow();
    focusWindow(main);
    ASSERT_TRUE(waitUntil([&] { return focusedWindow() == main; }));
    pressKey("ctrl+c");
    EXPECT_EQ(expectReport("copied"), "copy me");

    pressKey("ctrl+f");
    expectLog("showFeedbackWindow");
    const XWindow feedback = expectWindow("意见反馈");
    const WindowGeometry f = windowGeometry(feedback);
    EXPECT_EQ(f.height, 212);
    // "发送" (bottom 185, right edge 10 in from the right): dark label pixels only while enabled.
    X11Probe x11;
    const auto darkInSend = [&] {
        const Screenshot s = x11.capture({int(f.x + f.width - 110), int(f.y + 160), 100, 25});
        return std::count_if(s.pixels.begin(), s.pixels.end(),
                             [](std::uint32_t p) { return (p & 0xff) < 0x50; });
    };
    EXPECT_EQ(darkInSend(), 0);
    typeText("hello, world ");
    EXPECT_TRUE(waitUntil([&] { return darkInSend() > 0; })) << "发送 stayed disabled";
    pressKey("Tab");
    typeText("me@example.test");
    pressKey("Tab");
    pressKey("Return");
    EXPECT_EQ(expectReport("feedback")["args"], json::array({"hello, world ", "me@example.test"}));
    EXPECT_TRUE(waitUntil([] { return visibleWindows("^意见反馈$").empty(); }));

    focusWindow(main);
    ASSERT_TRUE(waitUntil([&] { return focusedWindow() == main; }));
    const WindowGeometry m = windowGeometry(main);
    const ScreenRect corner{int(m.x), int(m.y), 300, 200};
    const Screenshot before = x11.capture(corner);
    pressKey("F10");
    EXPECT_TRUE(waitUntil([&] { return changedArea(before, x11.capture(corner)).has_value(); }))
        << "F10 opened nothing at the top left";
    // A click outside closes the menus.
    clickAt(m.x + 600, m.y + 400);
    focusWindow(main);
    ASSERT_TRUE(waitUntil([&] { return focusedWindow() == main; }));
    pressKey("ctrl+q");
    const std::optional<int> status = app().waitForExit();
    ASSERT_TRUE(status.has_value());
    EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 0) << *status;
}

}  // namespace
}  // namespace zel::test
