// The application around the web view: start-up, the exported actions, a second launch.
#include "App.h"

#include <gmock/gmock.h>

namespace zel::test {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

class Shell : public App {};

TEST_F(Shell, StartsInOrderAndServesItsActionsAndASecondLaunch) {
    launch(
        {"--console-log", "--bundle", bundle_.string(), "--service-home-url", "http://home.example.test/"});
    std::size_t at = 0;
    EXPECT_EQ(report("ready", 0, &at)["href"], webAppURL("index.html"));
    const std::vector<std::string> started = nativeLog(0, at);
    ASSERT_GE(started.size(), 8u);
    EXPECT_THAT(std::vector(started.begin(), started.begin() + 8),
                ElementsAre("WebStoragePath is '" + workDir().string() + "', modify in MainViewController.",
                            "WebStoragePath enabled', modify in MainViewController.", "setContentView",
                            "applicationWillFinishLaunching", "[\"" + dataHome().string() + "\"]",
                            "applicationDidFinishLaunching",
                            StartsWith("web proxy listening on http://127.0.0.1:"), "awakeFromNib"));
    action("help");  // the service's home page, in the browser
    EXPECT_TRUE(
        waitFor([&] { return browserLog() == std::vector<std::string>{"http://home.example.test/"}; }));

    // A second launch only hands over to the running one, which comes to the front.
    const unsigned long main = mainWindow().id;
    ASSERT_TRUE(focus(main));
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
