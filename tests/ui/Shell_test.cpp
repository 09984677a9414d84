// The application around the web view, driven as a user and the desktop drive it: start-up, the login and
// feedback windows, the exported actions, a second launch.
#include "App.h"

#include <gmock/gmock.h>

namespace zel::test {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

void type(const std::string& text) {
    App::xdotool({"type", "--delay", "40", "--", text});
}

unsigned long singleWindow(const std::string& title) {
    std::vector<unsigned long> found;
    if (!waitFor([&] { return (found = App::windows("^" + title + "$")).size() == 1; }))
        throw std::runtime_error("no single window " + title + ", " + std::to_string(found.size()) +
                                 " found");
    return found[0];
}

class Shell : public App {};

TEST_F(Shell, StartsInOrderAndServesItsWindowsActionsAndASecondLaunch) {
    launch({"--console-log", "--bundle", bundle_.string()});
    std::size_t at = 0;
    EXPECT_EQ(report("ready", 0, &at)["href"], webAppURL("index.html"));
    const std::vector<std::string> started = nativeLog(0, at);
    ASSERT_GE(started.size(), 7u);
    EXPECT_THAT(std::vector(started.begin(), started.begin() + 7),
                ElementsAre("WebStoragePath is '" + workDir().string() + "', modify in MainViewController.",
                            "WebStoragePath enabled', modify in MainViewController.",
                            "applicationWillFinishLaunching", "[\"" + dataHome().string() + "\"]",
                            "applicationDidFinishLaunching",
                            StartsWith("web proxy listening on http://127.0.0.1:"), "awakeFromNib"));

    // The web app opens the login window; what is typed reaches the page, which answers "signed in".
    launchPage("case=login", {"--service-home-url", "http://home.example.test/"});
    EXPECT_EQ(report("login-shown")["answers"], json::array());
    const unsigned long login = singleWindow("用户登录");
    ASSERT_TRUE(waitFor([&] { return focused() == login; }));
    type("alice");
    keys("Tab");
    type("secret");
    keys("Return");
    EXPECT_EQ(report("login")["args"], json::array({"alice", "secret", ""}));
    expectLog("login alice ******, 1");
    for (const std::string& line : nativeLog()) EXPECT_EQ(line.find("secret"), std::string::npos) << line;
    EXPECT_TRUE(waitFor([] { return windows("^用户登录$").empty(); })) << "the login window stayed open";

    // Feedback twice still shows one window; its text goes to the page.
    action("feedback");
    const std::size_t first = expectLog("showFeedbackWindow");
    const unsigned long feedback = singleWindow("意见反馈");
    action("feedback");
    expectLog("showFeedbackWindow", first + 1);
    EXPECT_EQ(singleWindow("意见反馈"), feedback);
    ASSERT_TRUE(waitFor([&] { return focused() == feedback; }));
    type("hello from the test");
    keys("Tab");
    type("me@example.test");
    keys("Tab Return");
    EXPECT_EQ(report("feedback")["args"], json::array({"hello from the test", "me@example.test"}));
    EXPECT_TRUE(waitFor([] { return windows("^意见反馈$").empty(); })) << "the feedback window stayed open";

    action("help");
    expectLog("showHelp");
    EXPECT_TRUE(waitFor([&] { return !browserLog().empty(); }));
    EXPECT_THAT(browserLog(), ElementsAre("http://home.example.test/"));

    // A second launch only hands over to the running one, which comes to the front.
    const unsigned long main = mainWindow().id;
    xdotool({"windowfocus", std::to_string(main)});
    ASSERT_TRUE(waitFor([&] { return focused() == main; }));
    const std::string root = run({"xwininfo", "-root"});
    xdotool({"mousemove", "0", "0"});  // with the focus on the root, keys go to the window under the pointer
    xdotool(
        {"windowfocus", std::to_string(std::stoul(root.substr(root.find("Window id: ") + 11), nullptr, 0))});
    const std::size_t resigned = expectLog("applicationDidResignActive");
    Program second({OSTRELLE_PROGRAM, "--bundle", bundle_.string()}, environment());
    EXPECT_EQ(second.wait(), 0);
    EXPECT_TRUE(waitFor([&] { return focused() == main; })) << "the window did not come to the front";
    expectLog("applicationDidBecomeActive", resigned);
    for (const std::string& line : second.lines())
        EXPECT_EQ(line.find(" ostrelle["), std::string::npos) << line;

    action("quit");
    EXPECT_EQ(app().wait(), 0);
}

}  // namespace
}  // namespace zel::test
