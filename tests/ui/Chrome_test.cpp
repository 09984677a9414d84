// The main window's chrome: lights, search field, history, user area, and its moves under a window manager.
#include "App.h"

#include <algorithm>
#include <array>

namespace zel::test {
namespace {

struct Rgb {
    int r, g, b;
};
Rgb rgb(std::uint32_t p) {
    return {int(p >> 16 & 0xff), int(p >> 8 & 0xff), int(p & 0xff)};
}
bool red(Rgb c) {
    return c.r > 200 && c.g < 140;
}

class Chrome : public App {
  protected:
    // The web app's calls from the chrome ("name(arg,...)"), once the last is `last`.
    std::vector<std::string> callsUntil(const std::string& last) {
        std::vector<std::string> calls;
        waitFor([&] {
            calls.clear();
            for (const json& c : reports("call")) calls.push_back(c);
            return !calls.empty() && calls.back() == last;
        });
        return calls;
    }
    Rect showMainWindow(const std::string& query) {
        launchPage(query);
        report("ready");
        const Rect window = mainWindow();
        if (!focus(window.id)) throw std::runtime_error("main window not focused");
        return geometry(window.id);  // where the window manager has placed it by now
    }
};

TEST_F(Chrome, LightsSearchFieldHistoryAndUser) {
    // Serves a 1 x 1 red PNG as the user's avatar.
    Loopback avatar([](SoupServerMessage* msg, const std::string&) {
        static const char kRedPng[] =
            "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x01\0\0\0\x01\x08\x02\0\0\0\x90wS\xde\0\0\0\x0cIDATx\x9c"
            "c\xf8\xcf\xc0\0\0\x03\x01\x01\0\xc9\xfe\x92\xef\0\0\0\0IEND\xae\x42\x60\x82";
        soup_server_message_set_status(msg, 200, nullptr);
        soup_server_message_set_response(msg, "image/png", SOUP_MEMORY_STATIC, kRedPng, sizeof kRedPng - 1);
    });
    const Rect g = showMainWindow("case=search&avatar=http://" + avatar.host() + "/avatar.png");
    EXPECT_EQ(g.width, 1200);
    EXPECT_EQ(g.height, 670);

    // The three lights' tops are 2 below the window's top, at x 6, 27 and 47, 14 x 16 each.
    const std::array<int, 3> left = {6, 27, 47};
    const auto lights = [&] { return shot({0, g.x, g.y, 64, 20}); };
    const auto colours = [&](const Shot& s) {  // above the glyphs, inside the disc: the light's colour
        std::array<Rgb, 3> c;
        for (int i = 0; i < 3; ++i) c[i] = rgb(s.at(left[i] + 7, 6));
        return c;
    };
    const auto lit = [&](const std::array<Rgb, 3>& c) {
        return red(c[0]) && c[1].r > 200 && c[1].g > 150 && c[1].b < 120 && c[2].g > 150 && c[2].r < 120;
    };
    const auto glyphs = [&](const Shot& s) {  // each light's whole image: the glyphs change it
        std::array<std::string, 3> c;
        for (int i = 0; i < 3; ++i) {
            for (int y = 2; y < 18; ++y) c[i] += s.rgb.substr(3 * (64 * y + left[i]), 3 * 14);
        }
        return c;
    };
    Shot active = lights();
    ASSERT_TRUE(waitFor([&] { return lit(colours(active = lights())); })) << "lights never lit";
    xdotool({"mousemove", std::to_string(g.x + 30), std::to_string(g.y + 10)});
    EXPECT_TRUE(waitFor([&] {
        const Shot hovered = lights();
        const auto now = glyphs(hovered), before = glyphs(active);
        return now[0] != before[0] && now[1] != before[1] && now[2] != before[2] && lit(colours(hovered));
    })) << "not all three lights showed their glyphs under the pointer";
    xdotool({"mousemove", std::to_string(g.x + 600), std::to_string(g.y + 300)});
    EXPECT_TRUE(waitFor([&] { return glyphs(lights()) == glyphs(active); })) << "glyphs stayed after leaving";

    // The field's text box: 35 right of the field's left edge (W - 192), 15 below the window's top.
    click(g.x + g.width - 192 + 60, g.y + 26);
    xdotool({"type", "a"});
    xdotool({"type", "b"});
    keys("Down Return");
    EXPECT_EQ(
        callsUntil("searchQuery(ab)"),
        (std::vector<std::string>{"showSuggestion()", "updateQuery(a)", "showSuggestion()", "updateQuery(ab)",
                                  "showSuggestion()", "hideSuggestion()", "searchQuery(ab)"}));

    // Back and forward, left of the search field's row.
    std::size_t back = 0;
    click(g.x + 21, g.y + 33);
    EXPECT_EQ(report("popstate", 0, &back)["hash"], "");
    click(g.x + 48, g.y + 33);
    EXPECT_EQ(report("popstate", back + 1)["hash"], "#two");

    // The signed-in user's name, and the avatar from the loopback server inside the user area.
    expectLog("setUserName alice");
    EXPECT_TRUE(waitFor([&] {
        return shot({0, g.x + g.width - 415, g.y + 5, 200, 42}).count([](std::uint32_t p) {
            const Rgb c = rgb(p);
            return c.r > 220 && c.g < 30 && c.b < 30;
        }) > 0;
    })) << "no avatar shown; requests: "
        << avatar.requests().size();
    // The menu button at the user area's right; its one item "退出".
    click(g.x + g.width - 415 + 187, g.y + 26);
    keys("Return");
    EXPECT_EQ(callsUntil("logout()").back(), "logout()");

    // Another client's window takes the focus: every light turns grey.
    Program other({"xev", "-geometry",
                   "100x100+" + std::to_string(g.x + 200) + "+" + std::to_string(g.y + 200), "-name",
                   "other"});
    ASSERT_TRUE(waitFor([&] { return !windows("^other$").empty(); }));
    xdotool({"windowfocus", std::to_string(windows("^other$")[0])});
    EXPECT_TRUE(waitFor([&] {
        return std::ranges::all_of(
            colours(lights()), [](Rgb p) { return std::abs(p.r - p.g) <= 16 && std::abs(p.g - p.b) <= 16; });
    })) << "lights stayed lit without the focus";
}

TEST_F(Chrome, UnderAWindowManagerTheHeaderMovesMinimisesZoomsAndGoesFullScreen) {
    const auto wm = windowManager();
    const Rect g = showMainWindow("case=idle");
    const auto state = [&] { return run({"xprop", "-id", std::to_string(g.id), "_NET_WM_STATE"}); };
    const auto has = [&](const char* part) { return state().find(part) != std::string::npos; };
    const auto lightsLit = [&](long x, long y) { return red(rgb(shot({0, x + 13, y + 6, 1, 1}).at(0, 0))); };

    // A drag on the header's empty middle moves the window by the drag's distance.
    xdotool({"mousemove", std::to_string(g.x + 400), std::to_string(g.y + 20), "mousedown", "1",
             "mousemove_relative", "--", "10", "5", "sleep", "0.1", "mousemove_relative", "--", "20", "15",
             "sleep", "0.1", "mouseup", "1"});
    EXPECT_TRUE(waitFor([&] {
        const Rect now = geometry(g.id);
        return now.x == g.x + 30 && now.y == g.y + 20;
    })) << "window at "
        << geometry(g.id).x << "," << geometry(g.id).y;
    const Rect moved = geometry(g.id);

    click(moved.x + 34, moved.y + 10);
    EXPECT_TRUE(waitFor([&] { return has("_NET_WM_STATE_HIDDEN"); })) << state();
    xdotool({"windowactivate", std::to_string(g.id)});
    ASSERT_TRUE(waitFor([&] { return !has("_NET_WM_STATE_HIDDEN"); })) << state();

    click(moved.x + 54, moved.y + 10);
    EXPECT_TRUE(waitFor([&] { return has("_NET_WM_STATE_MAXIMIZED_HORZ"); }));
    const Rect zoomed = geometry(g.id);
    click(zoomed.x + 54, zoomed.y + 10);
    EXPECT_TRUE(waitFor([&] { return !has("_NET_WM_STATE_MAXIMIZED"); })) << state();

    // Full screen and back; a click waits for the relaid-out button to show.
    const auto fullScreenClick = [&](const Rect& w) {
        EXPECT_TRUE(waitFor([&] {
            return shot({0, w.x + w.width - 16, w.y + 5, 14, 14}).count([](std::uint32_t p) {
                return rgb(p).g > 150;
            }) > 0;
        })) << "no full-screen button at the window's right";
        click(w.x + w.width - 9, w.y + 12);
    };
    ASSERT_TRUE(waitFor([&] { return lightsLit(moved.x, moved.y); }));
    fullScreenClick(moved);
    // The state comes before the new size: wait for the window to cover the screen.
    const long screenWidth = std::stol(run({"xdotool", "getdisplaygeometry"}));
    Rect full;
    EXPECT_TRUE(waitFor([&] {
        full = geometry(g.id);
        return has("_NET_WM_STATE_FULLSCREEN") && full.width == screenWidth;
    })) << state()
        << " width " << full.width;
    EXPECT_TRUE(waitFor([&] { return !lightsLit(full.x, full.y); })) << "lights shown in full screen";
    fullScreenClick(full);
    EXPECT_TRUE(waitFor([&] { return !has("_NET_WM_STATE_FULLSCREEN"); }));
    EXPECT_TRUE(waitFor([&] { return lightsLit(moved.x, moved.y); })) << "lights gone after full screen";
}

}  // namespace
}  // namespace zel::test
