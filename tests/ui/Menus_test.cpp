// The song and playlist menus, the media keys and the desktop's media controls on menu-bundle's page.
#include "App.h"

#include <fstream>

namespace zel::test {
namespace {

using Strings = std::vector<std::string>;

const char* kMpris = "org.mpris.MediaPlayer2.ostrelle";

class Menus : public App {
  protected:
    Menus() { bundle_ = kUiDir / "menu-bundle"; }

    // Starts the page and finds where the web view's top left is, from a left click on its blank part.
    void start() {
        launchPage("case=menus");
        report("ready");
        const Rect w = mainWindow();
        const std::size_t from = app().lines().size();
        click(w.x + w.width / 2, w.y + w.height - 80);
        const json at = report("click", from);
        originX_ = w.x + w.width / 2 - at["x"].get<long>();
        originY_ = w.y + w.height - 80 - at["y"].get<long>();
    }
    // Right-clicks a page row (songs 0..2, the playlist, a bad request) and returns the menu that appears.
    Rect openMenu(int row, std::size_t* from = nullptr) {
        if (from) *from = app().lines().size();
        const std::vector<unsigned long> before = windows("");
        const long x = originX_ + 120, y = originY_ + 60 * row + 30;
        click(x, y, 3);
        // The new window nearest the click: the toolkit may map others meanwhile (a tooltip).
        Rect menu;
        const auto distance = [&](const Rect& r) { return std::abs(r.x - x) + std::abs(r.y - y); };
        const bool shown = waitFor([&] {
            for (unsigned long id : windows("")) {
                const Rect r =
                    std::find(before.begin(), before.end(), id) == before.end() ? geometry(id) : Rect{};
                if (r.height > 30 && (!menu.id || distance(r) < distance(menu))) menu = r;
            }
            return menu.id != 0;
        });
        if (!shown) throw std::runtime_error("no menu appeared\n" + app().tail());
        return menu;
    }
    json closed(std::size_t from) { return report("menuClosed", from)["calls"]; }
    // The page functions called at or after line `from`, as "name(arg, ...)" with the arguments' JSON texts.
    Strings calls(std::size_t from) {
        Strings found;
        for (const json& call : reports("called", from)) found.push_back(call["text"]);
        return found;
    }

    long originX_ = 0, originY_ = 0;
};

std::string record(const char* text) {
    return json(text).dump();
}
const std::string kNormal =
    record(R"({"songId":1,"songName":"晴天","albumName":"叶惠美","artistName":"周杰伦","source":"list"})");
const std::string kItunes = record(
    R"({"songId":"3","songName":"平凡之路","albumName":"猎户星座","artistName":"朴树","source":"itunes"})");

TEST_F(Menus, MenusAndMediaKeysCallThePage) {
    start();
    std::size_t from = 0;
    for (int row : {0, 3}) {  // at the click point, the menu's top left corner at the pointer
        const Rect menu = openMenu(row, &from);
        EXPECT_LE(std::abs(menu.x - (originX_ + 120)), 6) << menu.x;
        EXPECT_LE(std::abs(menu.y - (originY_ + 60 * row + 30)), 6) << menu.y;
        expectLog(row == 0 ? "songSource list" : "showDiyListMenu 7", from);
        keys("Escape");
        EXPECT_EQ(closed(from), json::array());
    }
    // Each row's menu (focus on the first item): the keys, the calls made before the request returned.
    const std::vector<std::tuple<int, std::string, Strings>> choices{
        {2, "Return", {"removeSongFromITunes(" + kItunes + ")"}},
        {3, "Down Return", {R"(removeDiyList("{\"listId\":7,\"name\":\"A\"}"))"}},
        // 添加到歌单 opens the submenu: 创建歌单, a separator, then the newest playlist first.
        {0, "Down Down Return Down Return", {"addSongToDiyList(" + kNormal + ", 9)"}},
        {1, "Down Down Return Return", {"createDiyList()"}},
    };
    for (const auto& [row, pressed, expected] : choices) {
        SCOPED_TRACE(pressed + " on row " + std::to_string(row));
        openMenu(row, &from);
        keys(pressed);
        EXPECT_EQ(closed(from).size(), 1u);
        EXPECT_EQ(calls(from), expected);
    }
    expectLog("diyListId 9");

    // A click outside closes without a call; so does a request with no place and no record.
    for (int row : {3, 4}) {
        const Rect menu = openMenu(row, &from);
        click(menu.x + menu.width + 200, menu.y + menu.height + 100, 3);
        EXPECT_EQ(closed(from), json::array());
    }
    expectLog("showSongMenu (null)", from);

    // The media keys, with another application in front: once per press, none reaching that application.
    expectLog("Media key tap: watching 8 keys");
    Program other({"xev", "-geometry", "300x200+1500+100", "-name", "other", "-event", "keyboard"});
    const auto pressesInOther = [&] {
        return std::count_if(other.lines().begin(), other.lines().end(),
                             [](const std::string& l) { return l.starts_with("KeyPress"); });
    };
    std::vector<unsigned long> found;
    ASSERT_TRUE(waitFor([&] { return !(found = windows("^other$")).empty(); }));
    xdotool({"windowfocus", "--sync", std::to_string(found[0])});
    from = app().lines().size();
    keys("XF86AudioPlay XF86AudioPlay XF86AudioPlay XF86AudioPrev XF86AudioNext");
    expectLog("mediaKeyTap Ffwd pressed.", from);
    const Strings pressed{"tooglePlayPause()", "tooglePlayPause()", "tooglePlayPause()", "backward()",
                          "forward()"};
    EXPECT_TRUE(waitFor([&] { return calls(from).size() >= 5; }));
    EXPECT_EQ(calls(from), pressed);
    keys("a");  // an ordinary key is not the tap's
    EXPECT_TRUE(waitFor([&] { return pressesInOther() == 1; }))
        << "the other application got " << pressesInOther();

    // A held key repeats, and every repeat skips a song.
    from = app().lines().size();
    xdotool({"keydown", "XF86AudioNext"});
    const std::size_t repeated = expectLog("mediaKeyTap Ffwd pressed, repeated.", from);
    xdotool({"keyup", "XF86AudioNext"});
    EXPECT_EQ(nativeLog(from, repeated), Strings{"mediaKeyTap Ffwd pressed."});
    keys("XF86AudioPrev");
    EXPECT_TRUE(waitFor([&] { return !calls(from).empty() && calls(from).back() == "backward()"; }));
    const Strings skipped = calls(from);
    EXPECT_GE(std::count(skipped.begin(), skipped.end(), "forward()"), 2);

    // The desktop's media controls: Play and Pause toggle too (the page has only the toggle), Stop does
    // nothing.
    from = app().lines().size();
    for (const char* method : {"PlayPause", "Play", "Pause", "Next", "Previous", "Stop"})
        busCall(kMpris, "/org/mpris/MediaPlayer2", std::string("org.mpris.MediaPlayer2.Player.") + method);
    const Strings media{"tooglePlayPause()", "tooglePlayPause()", "tooglePlayPause()", "forward()",
                        "backward()"};
    EXPECT_TRUE(waitFor([&] { return calls(from).size() >= media.size(); }));
    EXPECT_EQ(calls(from), media);

    // The user default turns the tap off: keys go to the focused application, ours included.
    fs::create_directories(home_.path + "/config/Ostrelle");
    std::ofstream(home_.path + "/config/Ostrelle/defaults.conf") << "[Defaults]\nSPIgnoreMediaKeys=YES\n";
    start();
    expectLog("Media key monitoring disabled");
    xdotool({"windowfocus", "--sync", std::to_string(found[0])});
    keys("XF86AudioPlay");
    EXPECT_TRUE(waitFor([&] { return pressesInOther() == 2; }))
        << "the other application got " << pressesInOther();
    xdotool({"windowfocus", "--sync", std::to_string(mainWindow().id)});
    from = app().lines().size();
    keys("XF86AudioNext");
    expectLog("mediaKeyTap Ffwd pressed.", from);
    EXPECT_TRUE(waitFor([&] { return !calls(from).empty(); }));
    EXPECT_EQ(calls(from), Strings{"forward()"});
}

}  // namespace
}  // namespace zel::test
