// The song and playlist menus in the real program: right clicks in the page open native menus at the click
// point; a choice calls the page's function with the record's JSON text before the page's request returns;
// dismissing calls nothing.
#include "Desktop.h"
#include "MenuPageTest.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace zel::test {
namespace {

// The records as the system's own JSON writer prints them (keys in record order, no spaces).
constexpr const char* kNormalSong =
    R"({"songId":1,"songName":"晴天","albumName":"叶惠美","artistName":"周杰伦","source":"list"})";
constexpr const char* kFavSong =
    R"({"songId":2,"songName":"后来","albumName":"我的失败与伟大","artistName":"刘若英","source":"fav"})";
constexpr const char* kItunesSong =
    R"({"songId":"3","songName":"平凡之路","albumName":"猎户星座","artistName":"朴树","source":"itunes"})";

std::string quoted(const char* text) {
    return json(text).dump();
}

using MenuTest = MenuPageTest;

TEST_F(MenuTest, RightClickOpensTheMenuAtTheClickPoint) {
    start();
    for (int row : {0, 3}) {
        const auto [x, y] = rowPoint(row);
        const std::size_t from = app().lineCount();
        const ScreenRect menu = openMenu(row);
        // The menu's top left corner sits at the pointer, as a context menu does.
        EXPECT_LE(std::abs(menu.x - x), 6)
            << "menu at " << menu.x << "," << menu.y << " click " << x << "," << y;
        EXPECT_LE(std::abs(menu.y - y), 6)
            << "menu at " << menu.x << "," << menu.y << " click " << x << "," << y;
        EXPECT_GT(menu.height, 40);
        const json opening = expectReport("menuOpening", from);
        expectLog(row == 0 ? "songSource list" : "showDiyListMenu 7", from);
        key("Escape");
        EXPECT_EQ(expectMenuClosed(from)["calls"], json::array());
        EXPECT_EQ(opening["x"].get<long>() + originX_, x);
    }
}

TEST_F(MenuTest, ChoicesCallThePageWithTheRecordBeforeItsRequestReturns) {
    start();
    // The focus starts on the first item; Down moves on.
    std::size_t from = app().lineCount();
    openMenu(1);
    key("Return");
    EXPECT_EQ(expectMenuClosed(from)["calls"], json::array({"deloveSong"}));

    from = app().lineCount();
    openMenu(0);
    key("Down Return");
    EXPECT_EQ(expectMenuClosed(from)["calls"], json::array({"loveSong"}));

    from = app().lineCount();
    openMenu(2);
    key("Return");
    expectMenuClosed(from);

    from = app().lineCount();
    openMenu(3);
    key("Down Return");
    expectMenuClosed(from);

    EXPECT_EQ(callsSoFar(), (std::vector<std::string>{
                                "deloveSong(" + quoted(kFavSong) + ")",
                                "loveSong(" + quoted(kNormalSong) + ")",
                                "removeSongFromITunes(" + quoted(kItunesSong) + ")",
                                R"(removeDiyList("{\"listId\":7,\"name\":\"A\"}"))",
                            }));
}

TEST_F(MenuTest, PlaylistSubmenuListsTheNewestPlaylistFirst) {
    start();
    // 添加到歌单 opens the submenu: 创建歌单, separator, B, A.
    std::size_t from = app().lineCount();
    openMenu(0);
    key("Down Down Return");
    key("Down Return");
    EXPECT_EQ(expectMenuClosed(from)["calls"], json::array({"addSongToDiyList"}));
    expectLog("diyListId 9", from);

    from = app().lineCount();
    openMenu(1);
    key("Down Down Return");
    key("Down Down Return");
    expectMenuClosed(from);

    from = app().lineCount();
    openMenu(1);
    key("Down Down Return");
    key("Return");
    expectMenuClosed(from);

    EXPECT_EQ(callsSoFar(), (std::vector<std::string>{
                                "addSongToDiyList(" + quoted(kNormalSong) + ", 9)",
                                "addSongToDiyList(" + quoted(kFavSong) + ", 7)",
                                "createDiyList()",
                            }));
}

TEST_F(MenuTest, EscapeOrAClickOutsideClosesTheMenuWithoutACall) {
    start();
    std::size_t from = app().lineCount();
    openMenu(0);
    key("Escape");
    EXPECT_EQ(expectMenuClosed(from)["calls"], json::array());

    from = app().lineCount();
    const ScreenRect menu = openMenu(3);
    rightClick(menu.x + menu.width + 200, menu.y + menu.height + 100);
    EXPECT_EQ(expectMenuClosed(from)["calls"], json::array());

    // The page is responsive again and nothing was called.
    from = app().lineCount();
    leftClick(originX_ + 300, originY_ + 400);
    expectReport("click", from);
    EXPECT_TRUE(callsSoFar().empty());
}

TEST_F(MenuTest, ABadRequestStillOpensAMenuInsideTheView) {
    start();
    const std::optional<XWindow> window = mainWindow();
    ASSERT_TRUE(window);
    const WindowGeometry g = windowGeometry(*window);
    // The window and some room to its right, where the menu may reach.
    const ScreenRect area{static_cast<int>(g.x), static_cast<int>(g.y), static_cast<int>(g.width) + 300,
                          static_cast<int>(g.height)};
    const Screenshot before = x_.capture(area);
    const std::size_t from = app().lineCount();
    const auto [x, y] = rowPoint(4);
    rightClick(x, y);
    expectLog("songSource (null)", from);
    // No such place: the menu hangs from the nearest point of the view, its top right corner.
    std::optional<ScreenRect> menu;
    ASSERT_TRUE(waitUntil([&] {
        menu = changedArea(before, x_.capture(area));
        return menu && menu->height > 30;
    }));
    EXPECT_LE(std::abs(menu->y - originY_), 6) << menu->y;
    EXPECT_LE(std::abs(menu->x - (g.x + g.width - 1)), 6) << menu->x;
    key("Escape");
    EXPECT_EQ(expectMenuClosed(from)["calls"], json::array());
    expectLog("showSongMenu (null)", from);
}

}  // namespace
}  // namespace zel::test
