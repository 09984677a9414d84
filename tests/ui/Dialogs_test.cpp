// The login and feedback windows and the main menu's keys under a window manager.
#include "App.h"

#include <algorithm>

namespace zel::test {
namespace {

class Dialogs : public App {
  protected:
    json nextLogin(std::size_t& from) {
        std::size_t at = 0;
        json args = report("login", from, &at)["args"];
        from = at + 1;
        return args;
    }
    // Dark (label) pixels in an area of the screen.
    static long darkPixels(const Rect& area) {
        return shot(area).count([](std::uint32_t p) { return (p & 0xff) < 0x50; });
    }

    std::unique_ptr<Program> wm_ = windowManager();
};

bool isField(std::uint32_t p) {
    return (p & 0xff) > 0xf4 && (p >> 8 & 0xff) > 0xf4;
}

TEST_F(Dialogs, LoginShowsErrorsGrowsForTheCodeAndResetsOnClosing) {
    Loopback codeServer;
    launchPage("case=login&code=http://" + codeServer.host() + "/code.png");
    report("login-shown");
    const unsigned long login = focusedWindow("用户登录");
    const Rect g = geometry(login);
    EXPECT_EQ(g.width, 340);
    EXPECT_EQ(g.height, 172);
    // From the top: user name 42-65, password 77-100, the login button from 115; the window's grey between.
    const auto controlsInPlace = [&] {
        const Shot s = shot(g);
        return isField(s.at(100, 53)) && isField(s.at(300, 88)) && !isField(s.at(100, 70)) &&
               !isField(s.at(100, 110)) && !isField(s.at(10, 53));
    };
    EXPECT_TRUE(waitFor(controlsInPlace)) << "the fields are not where they belong";
    type("alice");
    keys("Tab");
    type("secret");
    keys("Return");
    std::size_t from = 0;
    EXPECT_EQ(nextLogin(from), json::array({"alice", "secret", ""}));
    expectLog("login alice ******, 1");
    focusedWindow("出错了");
    keys("Return");
    expectLog("alertDidEnd");

    // Return in the password field again: the page asks for a code; the window grows 30 at the bottom.
    focusedWindow("用户登录");
    keys("Return");
    EXPECT_EQ(nextLogin(from), json::array({"alice", "secret", ""}));
    expectLog("setNeedVerifyCode 1");
    codeServer.expectRequest("/code.png");
    Rect grown;
    EXPECT_TRUE(waitFor([&] { return (grown = geometry(login)).height == 202; })) << grown.height;
    EXPECT_EQ(grown.y, g.y);
    // Tab follows placed positions: the code field comes next once the login button has left its row.
    EXPECT_TRUE(waitFor([&] {
        return darkPixels({0, grown.x + 20, grown.y + 115, 115, 20}) == 0;
    })) << "the login button stayed in the code row";
    keys("Tab");
    type("7k3p");
    keys("Return");
    EXPECT_EQ(nextLogin(from), json::array({"alice", "secret", "7k3p"}));
    // Signed in: the window closes, collapsed and empty for the next opening, where it was left.
    EXPECT_TRUE(waitFor([] { return windows("^用户登录$").empty(); }));
    ASSERT_TRUE(focus(mainWindow().id));
    keys("l");
    focusedWindow("用户登录");
    const Rect again = geometry(login);
    EXPECT_EQ(again.height, 172);
    EXPECT_EQ(again.y, g.y);
    keys("Return");
    EXPECT_EQ(nextLogin(from), json::array({"", "", ""}));
    for (const std::string& line : nativeLog()) EXPECT_EQ(line.find("secret"), std::string::npos) << line;
}

TEST_F(Dialogs, MenuKeysReachFeedbackThePageTheMenuBarAndQuit) {
    launchPage("case=login");
    report("login-shown");
    focusedWindow("用户登录");
    keys("Escape");
    const Rect m = mainWindow();
    ASSERT_TRUE(focus(m.id));
    keys("ctrl+c");
    EXPECT_EQ(report("copied"), "copy me");

    // Feedback asked for twice shows one window.
    keys("ctrl+f");
    const std::size_t first = expectLog("showFeedbackWindow");
    const unsigned long feedback = focusedWindow("意见反馈");
    action("feedback");
    expectLog("showFeedbackWindow", first + 1);
    EXPECT_EQ(focusedWindow("意见反馈"), feedback);
    const Rect f = geometry(feedback);
    EXPECT_EQ(f.height, 212);
    // "发送" (bottom 185, right edge 10 in from the right): dark label pixels only while enabled.
    const Rect send{0, f.x + f.width - 110, f.y + 160, 100, 25};
    EXPECT_EQ(darkPixels(send), 0);
    type("hello, world ");
    EXPECT_TRUE(waitFor([&] { return darkPixels(send) > 0; })) << "发送 stayed disabled";
    keys("Tab");
    type("me@example.test");
    keys("Tab Return");
    EXPECT_EQ(report("feedback")["args"], json::array({"hello, world ", "me@example.test"}));
    EXPECT_TRUE(waitFor([] { return windows("^意见反馈$").empty(); }));

    ASSERT_TRUE(focus(m.id));
    const Rect corner{0, m.x, m.y, 300, 200};
    const std::string before = shot(corner).rgb;
    keys("F10");
    EXPECT_TRUE(waitFor([&] { return shot(corner).rgb != before; })) << "F10 opened nothing at the top left";
    // A click outside closes the menus.
    click(m.x + 600, m.y + 400);
    ASSERT_TRUE(focus(m.id));
    keys("ctrl+q");
    EXPECT_EQ(app().wait(), 0);
}

}  // namespace
}  // namespace zel::test
