// The main window's own chrome on a real display: the traffic lights' images by main status and hover, and
// the search field's calls into the web app.
#include "Desktop.h"
#include "ShellTest.h"
#include "support/X11Probe.h"

#include <array>

namespace zel::test {
namespace {

class ChromeTest : public ShellTest {
  protected:
    WindowGeometry showMainWindow(const std::string& testCase) {
        launch(testCase);
        expectReport("ready");
        std::optional<XWindow> window;
        if (!waitUntil([&] { return (window = mainWindow()).has_value(); }))
            throw WaitTimeout("no main window");
        focusWindow(*window);
        if (!waitUntil([&] { return focusedWindow() == *window; }))
            throw WaitTimeout("main window not focused");
        return windowGeometry(*window);
    }
};

struct Rgb {
    int r, g, b;
};
Rgb rgb(std::uint32_t p) {
    return {int(p >> 16 & 0xff), int(p >> 8 & 0xff), int(p & 0xff)};
}

TEST_F(ChromeTest, TrafficLightsFollowMainStatusAndHover) {
    const WindowGeometry g = showMainWindow("idle");
    EXPECT_EQ(g.width, 1200);
    EXPECT_EQ(g.height, 670);
    X11Probe x11;
    // The three lights' tops are 2 below the window's top, at x 6, 27 and 47, 14 x 16 each.
    const std::array<int, 3> left = {6, 27, 47};
    const auto shot = [&] { return x11.capture({int(g.x), int(g.y), 64, 20}); };
    // Above the glyphs, inside the disc: the light's colour.
    const auto colours = [&](const Screenshot& s) {
        std::array<Rgb, 3> c;
        for (int i = 0; i < 3; ++i) c[i] = rgb(s.at(left[i] + 7, 2 + 4));
        return c;
    };
    const auto lit = [&](const std::array<Rgb, 3>& c) {
        return c[0].r > 200 && c[0].g < 140 && c[1].r > 200 && c[1].g > 150 && c[1].b < 120 && c[2].g > 150 &&
               c[2].r < 120;
    };
    const auto grey = [&](const std::array<Rgb, 3>& c) {
        for (const Rgb& p : c) {
            if (std::abs(p.r - p.g) > 16 || std::abs(p.g - p.b) > 16) return false;
        }
        return true;
    };
    // A signature of each light's whole image: the glyphs change it.
    const auto glyphs = [&](const Screenshot& s) {
        std::array<std::uint64_t, 3> c{};
        for (int i = 0; i < 3; ++i) {
            for (int y = 2; y < 18; ++y) {
                for (int x = left[i]; x < left[i] + 14; ++x) c[i] = c[i] * 31 + s.at(x, y);
            }
        }
        return c;
    };

    Screenshot active = shot();
    ASSERT_TRUE(waitUntil([&] { return lit(colours(active = shot())); })) << "lights never lit";

    movePointerTo(g.x + 30, g.y + 10);
    Screenshot hovered = shot();
    EXPECT_TRUE(waitUntil([&] {
        hovered = shot();
        const auto now = glyphs(hovered), before = glyphs(active);
        return now[0] != before[0] && now[1] != before[1] && now[2] != before[2];
    })) << "not all three lights showed their glyphs under the pointer";
    EXPECT_TRUE(lit(colours(hovered)));

    movePointerTo(g.x + 600, g.y + 300);
    EXPECT_TRUE(waitUntil([&] { return glyphs(shot()) == glyphs(active); })) << "glyphs stayed after leaving";

    // Another client's window takes the focus: every light turns grey.
    const std::uint32_t other = x11.createWindow({int(g.x) + 200, int(g.y) + 200, 100, 100}, "other");
    x11.focus(other);
    EXPECT_TRUE(waitUntil([&] { return grey(colours(shot())); })) << "lights stayed lit without the focus";
}

TEST_F(ChromeTest, SearchFieldCallsTheWebAppInOrder) {
    const WindowGeometry g = showMainWindow("search");
    // The field's text box: 35 right of the field's left edge (W - 192), 15 below the window's top.
    clickAt(g.x + g.width - 192 + 60, g.y + 26);
    typeText("a");
    typeText("b");
    pressKey("Down");
    pressKey("Return");
    app().expectLine(
        [](const OutputLine& l) { return l.text.find(R"(PROBE call {"name":"searchQuery")") != l.text.npos; },
        "with the web app's searchQuery call");
    std::vector<std::string> calls;
    for (const json& c : reportsSoFar("call")) calls.push_back(c.dump());
    EXPECT_EQ(calls, (std::vector<std::string>{
                         R"({"args":[],"name":"showSuggestion"})", R"({"args":["a"],"name":"updateQuery"})",
                         R"({"args":[],"name":"showSuggestion"})", R"({"args":["ab"],"name":"updateQuery"})",
                         R"({"args":[],"name":"showSuggestion"})", R"({"args":[],"name":"hideSuggestion"})",
                         R"({"args":["ab"],"name":"searchQuery"})"}));
}

}  // namespace
}  // namespace zel::test
