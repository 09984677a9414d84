// The main window's own chrome on a real display: the traffic lights' images by main status and hover, the
// search field's calls into the web app, history and the signed-in user, and the window's moves and states
// under a real window manager.
#include "Desktop.h"
#include "ShellTest.h"
#include "support/X11Probe.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <future>

namespace zel::test {
namespace {

class ChromeTest : public ShellTest {
  protected:
    WindowGeometry showMainWindow(const std::string& testCase, const std::string& query = {}) {
        launch(testCase, {}, query);
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

// Serves a 1 x 1 red PNG at /avatar.png on 127.0.0.1, from a libsoup server on a thread of its own.
class AvatarServer {
  public:
    AvatarServer() {
        std::promise<unsigned> port;
        thread_ = std::thread([this, &port] {
            g_main_context_push_thread_default(context_);
            SoupServer* server = soup_server_new(nullptr, nullptr);
            soup_server_add_handler(server, "/avatar.png", &AvatarServer::handle, this, nullptr);
            soup_server_listen_local(server, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr);
            GSList* uris = soup_server_get_uris(server);
            port.set_value(uris ? g_uri_get_port(static_cast<GUri*>(uris->data)) : 0);
            g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
            g_main_loop_run(loop_);
            g_object_unref(server);
            g_main_context_pop_thread_default(context_);
        });
        url_ = "http://127.0.0.1:" + std::to_string(port.get_future().get()) + "/avatar.png";
    }
    ~AvatarServer() {
        g_main_context_invoke(
            context_, +[](gpointer loop) { return g_main_loop_quit(static_cast<GMainLoop*>(loop)), 0; },
            loop_);
        thread_.join();
        g_main_loop_unref(loop_);
        g_main_context_unref(context_);
    }
    const std::string& url() const { return url_; }
    std::atomic<int> requests = 0;

  private:
    static void handle(SoupServer*, SoupServerMessage* msg, const char*, GHashTable*, gpointer self) {
        static const char kRedPng[] =
            "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x01\0\0\0\x01\x08\x02\0\0\0\x90wS\xde\0\0\0\x0cIDATx\x9c"
            "c\xf8\xcf\xc0\0\0\x03\x01\x01\0\xc9\xfe\x92\xef\0\0\0\0IEND\xae\x42\x60\x82";
        ++static_cast<AvatarServer*>(self)->requests;
        soup_server_message_set_status(msg, 200, nullptr);
        soup_server_message_set_response(msg, "image/png", SOUP_MEMORY_STATIC, kRedPng, sizeof kRedPng - 1);
    }
    GMainContext* context_ = g_main_context_new();
    GMainLoop* loop_ = g_main_loop_new(context_, FALSE);
    std::string url_;
    std::thread thread_;
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

TEST_F(ChromeTest, SearchFieldHistoryAndUserReachTheWebApp) {
    AvatarServer avatar;
    const WindowGeometry g = showMainWindow("search", "avatar=" + avatar.url());
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

    // Back and forward, left of the search field's row.
    std::size_t back = 0;
    clickAt(g.x + 21, g.y + 33);
    EXPECT_EQ(expectReport("popstate", 0, &back)["hash"], "");
    clickAt(g.x + 48, g.y + 33);
    EXPECT_EQ(expectReport("popstate", back + 1)["hash"], "#two");

    // The signed-in user's name, and the avatar from the loopback server inside the user area.
    expectLog("setUserName alice");
    X11Probe x11;
    const ScreenRect user{int(g.x + g.width - 415), int(g.y + 5), 200, 42};
    EXPECT_TRUE(waitUntil([&] {
        const Screenshot s = x11.capture(user);
        return std::any_of(s.pixels.begin(), s.pixels.end(), [](std::uint32_t p) {
            const Rgb c = rgb(p);
            return c.r > 220 && c.g < 30 && c.b < 30;
        });
    })) << "no avatar shown; requests: "
        << avatar.requests;
    // The menu button at the user area's right; its one item "退出".
    const std::size_t from = app().lineCount();
    clickAt(g.x + g.width - 415 + 187, g.y + 26);
    pressKey("Return");
    app().expectLine(
        [](const OutputLine& l) { return l.text.find(R"(PROBE call {"name":"logout")") != l.text.npos; },
        "with the web app's logout call", from);
}

// The window manager's view of the window's state (xprop's _NET_WM_STATE line).
std::string wmState(XWindow window) {
    return runCommand({"xprop", "-id", std::to_string(window), "_NET_WM_STATE"}).out;
}
bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST_F(ChromeTest, UnderAWindowManagerTheHeaderMovesMinimisesZoomsAndGoesFullScreen) {
    Process wm("openbox", {"--sm-disable"});
    ASSERT_TRUE(waitUntil([] {
        return has(runCommand({"xprop", "-root"}).out, "_NET_SUPPORTING_WM_CHECK");
    }));
    const WindowGeometry g = showMainWindow("idle");
    const XWindow window = *mainWindow();
    X11Probe x11;
    const auto lightsLit = [&](long x, long y) {
        const Rgb c = rgb(x11.capture({int(x) + 13, int(y) + 6, 1, 1}).at(0, 0));
        return c.r > 200 && c.g < 140;
    };

    // A drag on the header's empty middle moves the window by the drag's distance.
    runCommand({"xdotool",
                "mousemove",
                std::to_string(g.x + 400),
                std::to_string(g.y + 20),
                "mousedown",
                "1",
                "mousemove_relative",
                "--",
                "10",
                "5",
                "sleep",
                "0.1",
                "mousemove_relative",
                "--",
                "20",
                "15",
                "sleep",
                "0.1",
                "mouseup",
                "1"});
    EXPECT_TRUE(waitUntil([&] {
        const WindowGeometry now = windowGeometry(window);
        return now.x == g.x + 30 && now.y == g.y + 20;
    })) << "window at "
        << windowGeometry(window).x << "," << windowGeometry(window).y;
    const WindowGeometry moved = windowGeometry(window);

    clickAt(moved.x + 34, moved.y + 10);
    EXPECT_TRUE(waitUntil([&] { return has(wmState(window), "_NET_WM_STATE_HIDDEN"); })) << wmState(window);
    runCommand({"xdotool", "windowactivate", std::to_string(window)});
    ASSERT_TRUE(waitUntil([&] { return !has(wmState(window), "_NET_WM_STATE_HIDDEN"); })) << wmState(window);

    clickAt(moved.x + 54, moved.y + 10);
    EXPECT_TRUE(waitUntil([&] { return has(wmState(window), "_NET_WM_STATE_MAXIMIZED_HORZ"); }));
    const WindowGeometry zoomed = windowGeometry(window);
    clickAt(zoomed.x + 54, zoomed.y + 10);
    EXPECT_TRUE(waitUntil([&] { return !has(wmState(window), "_NET_WM_STATE_MAXIMIZED"); }))
        << wmState(window);

    // Full screen: the full-screen button at the header's right; the traffic lights go and come back. The
    // window is laid out anew after each change of size: a click waits until the button's light strokes show.
    const auto fullScreenClick = [&](const WindowGeometry& w) {
        EXPECT_TRUE(waitUntil([&] {
            const Screenshot b = x11.capture({int(w.x + w.width) - 16, int(w.y) + 5, 14, 14});
            return std::any_of(b.pixels.begin(), b.pixels.end(),
                               [](std::uint32_t p) { return rgb(p).g > 150; });
        })) << "no full-screen button at the window's right";
        clickAt(w.x + w.width - 9, w.y + 12);
    };
    ASSERT_TRUE(waitUntil([&] { return lightsLit(moved.x, moved.y); }));
    fullScreenClick(moved);
    // The state comes before the new size: wait for the window to cover the screen.
    const long screenWidth = windowGeometry(rootWindow()).width;
    WindowGeometry full;
    EXPECT_TRUE(waitUntil([&] {
        full = windowGeometry(window);
        return has(wmState(window), "_NET_WM_STATE_FULLSCREEN") && full.width == screenWidth;
    })) << wmState(window)
        << " width " << full.width;
    EXPECT_TRUE(waitUntil([&] { return !lightsLit(full.x, full.y); })) << "lights shown in full screen";
    fullScreenClick(full);
    EXPECT_TRUE(waitUntil([&] { return !has(wmState(window), "_NET_WM_STATE_FULLSCREEN"); }));
    EXPECT_TRUE(waitUntil([&] { return lightsLit(moved.x, moved.y); })) << "lights gone after full screen";
}

}  // namespace
}  // namespace zel::test
