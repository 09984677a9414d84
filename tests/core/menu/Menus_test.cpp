#include "core/i18n/ZELLocalized.h"
#include "core/json/HXAddtions.h"
#include "core/menu/ZELContextMenus.h"
#include "core/menu/ZELMenuGeometry.h"
#include "core/menu/ZELMenuPopulator.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <limits>

namespace zel {
namespace {

// One line per menu: "title[action] | ---- | title>{submenu}".
std::string outline(const ZELMenu& menu) {
    static const char* const actions[] = {"",       "love",   "delove", "addITunes", "removeITunes",
                                          "create", "remove", "rename", "addToList"};
    std::string out;
    for (const ZELMenuItem& item : menu.items) {
        out += out.empty() ? "" : " | ";
        out += item.separator ? "----" : item.title;
        if (item.action != ZELMenuAction::None)
            out += std::string("[") + actions[static_cast<int>(item.action)] + "]";
        if (item.submenu) out += ">{" + outline(*item.submenu) + "}";
    }
    return out;
}

struct ContextMenusTest : testing::Test, ZELMenuControllerDelegate {
    ContextMenusTest() { menus.setDelegate(this); }
    void loveSong(const Value& s) override { add("loveSong", s); }
    void deloveSong(const Value& s) override { add("deloveSong", s); }
    void addSongToITunes(const Value& s) override { add("addSongToITunes", s); }
    void removeSongFromITunes(const Value& s) override { add("removeSongFromITunes", s); }
    void createDiyList() override { calls.push_back("createDiyList"); }
    void removeDiyList(const Value& l) override { add("removeDiyList", l); }
    void renameDiyList(const Value& l) override { add("renameDiyList", l); }
    void addSongToDiyList(const Value& s, const Value& id) override { add("addSongToDiyList", s, id); }
    void add(const std::string& name, const Value& v, const Value& id = nil()) {
        calls.push_back(name + " " + hx::description(v) + (isNil(id) ? "" : " " + hx::description(id)));
    }
    // The chosen item by path of indexes, as the toolkit would hand it back.
    void choose(const ZELMenu& menu, std::size_t index, int sub = -1) {
        menus.perform(sub < 0 ? menu.items.at(index) : menu.items.at(index).submenu->items.at(sub));
    }
    std::vector<std::string> calls;
    ZELContextMenus menus;
    test::LogCapture log;
};

TEST_F(ContextMenusTest, SongMenuChosenBySourceExactlyWithPlaylistsNewestFirst) {
    const std::string lists = ">{创建歌单[create] | ---- | xxxx[addToList]}";
    const std::string normal = "下载到iTunes[addITunes] | 收藏[love] | 添加到歌单" + lists;
    const std::pair<const char*, std::string> rows[] = {
        {R"({"source":"itunes"})", "从iTunes移除[removeITunes]"},
        {R"({"source":"fav"})", "取消收藏[delove] | 下载到iTunes[addITunes] | 添加到歌单" + lists},
        {R"({"source":"Itunes"})", normal},
        {R"({"source":7})", normal},
    };
    for (const auto& [song, expected] : rows)
        EXPECT_EQ(outline(menus.songMenu(Value::parse(song))), expected) << song;

    // Entries cut short by the plugin: no name gives no title, a number name reads as its text.
    menus.updateSongMenuDiyListData(Value::parse(R"([{"id":1,"name":"A"},{"id":"2"},{"id":3,"name":12}])"));
    EXPECT_EQ(outline(*menus.generateSongMenuFav(Value::parse("{}")).items[2].submenu),
              "创建歌单[create] | ---- | 12[addToList] | [addToList] | A[addToList]");
    menus.updateSongMenuDiyListData(Value::parse(R"({"id":1})"));  // not an array: the playlists stay
    EXPECT_EQ(menus.diyListArray().size(), 3u);
    EXPECT_EQ(log.lines, std::vector<std::string>{R"(updateSongMenuDiyListData: ignored {"id":1})"});
}

TEST_F(ContextMenusTest, ChoicesReachTheDelegateWithTheirRecords) {
    menus.updateSongMenuDiyListData(Value::parse(R"([{"id":7,"name":"A"},{"name":"NoId"}])"));
    const ZELMenu song = menus.generateSongMenuNormal(Value::parse(R"({"songId":1})"));
    const ZELMenu fav = menus.generateSongMenuFav(Value::parse(R"({"songId":2})"));
    const ZELMenu itunes = menus.generateSongMenuItunes(Value::parse(R"({"songId":3})"));
    const ZELMenu list = menus.generateDiyListMenu(Value::parse(R"({"listId":4})"));
    EXPECT_EQ(outline(list), "重命名歌单[rename] | 删除歌单...[remove]");
    // The submenu item only opens its submenu; the separator does nothing.
    const std::tuple<const ZELMenu*, int, int> choices[] = {
        {&song, 0, -1}, {&song, 1, -1}, {&song, 2, -1}, {&song, 2, 0},    {&song, 2, 1},  {&song, 2, 2},
        {&song, 2, 3},  {&fav, 0, -1},  {&fav, 1, -1},  {&itunes, 0, -1}, {&list, 0, -1}, {&list, 1, -1}};
    for (const auto& [menu, index, sub] : choices) choose(*menu, index, sub);
    EXPECT_EQ(calls, (std::vector<std::string>{
                         R"(addSongToITunes {"songId":1})", R"(loveSong {"songId":1})", "createDiyList",
                         R"(addSongToDiyList {"songId":1})", R"(addSongToDiyList {"songId":1} 7)",
                         R"(deloveSong {"songId":2})", R"(addSongToITunes {"songId":2})",
                         R"(removeSongFromITunes {"songId":3})", R"(renameDiyList {"listId":4})",
                         R"(removeDiyList {"listId":4})"}));
    // Without a delegate a choice is only logged.
    menus.setDelegate(nullptr);
    choose(song, 2, 3);
    EXPECT_EQ(calls.size(), 10u);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"diyListId (null)", "diyListId 7", "diyListId 7"}));
}

TEST_F(ContextMenusTest, PopUpsLogAndConvertTheClickPoint) {
    const Value song = Value::parse(R"({"songId":42,"source":"x"})");
    const ZELMenuPopUp songPopUp = menus.songMenuPopUp(song, {100, 30}, 600);
    EXPECT_EQ(songPopUp.location, (ZELPoint{100, 570}));
    EXPECT_EQ(outline(songPopUp.menu), outline(menus.generateSongMenuNormal(song)));
    menus.songMenuPopUp(Value::object(), {5, 6}, 0);
    EXPECT_EQ(menus.diyListMenuPopUp(Value::parse(R"({"listId":"L1"})"), {0, 600}, 600).location,
              (ZELPoint{0, 0}));
    EXPECT_EQ(log.lines, (std::vector<std::string>{"showSongMenu 42", "songSource x", "showSongMenu (null)",
                                                   "songSource (null)", "showDiyListMenu L1"}));
}

TEST(MenuGeometryTest, MenuAnchorsPointAtTheClickInsideTheView) {
    const double inf = std::numeric_limits<double>::infinity(),
                 nan = std::numeric_limits<double>::quiet_NaN();
    const std::pair<ZELPoint, ZELRect> clicks[] = {
        {{100, 30}, {100, 30, 1, 1}},     {{1199, 599}, {1199, 599, 1, 1}}, {{-40, -5}, {0, 0, 1, 1}},
        {{5000, 900}, {1199, 599, 1, 1}}, {{inf, -inf}, {1199, 0, 1, 1}},   {{nan, nan}, {0, 0, 1, 1}}};
    for (const auto& [page, anchor] : clicks)
        EXPECT_EQ(menuAnchorInView(menuLocationInWindow(page, 600), 1200, 600), anchor)
            << page.x << "," << page.y;
    EXPECT_EQ(menuAnchorInView({10, 10}, 0, 0), (ZELRect{0, 0, 1, 1}));  // a view not yet laid out
}

// Each item as "title|accelerator|enabled", separators as "-".
std::vector<std::string> shown(const ZELMainMenu& menu) {
    std::vector<std::string> out;
    for (const ZELMainMenuItem& i : menu.items)
        out.push_back(i.separator ? "-" : i.title + "|" + accelerator(i) + "|" + (i.enabled() ? "1" : "0"));
    return out;
}

TEST(ZELMenuPopulator, FourMenusInOrderWithCtrlKeysAndTranslatedTitles) {
    {
        // No "CFBundleName": the fallback name, and the line about it once.
        test::LogCapture log;
        EXPECT_EQ(ZELMenuPopulator::applicationName(), "Ostrelle");
        EXPECT_EQ(ZELMenuPopulator::applicationName(), "Ostrelle");
        EXPECT_EQ(log.lines,
                  (std::vector<std::string>{
                      "[[NSBundle mainBundle] objectForInfoDictionaryKey:@\"CFBundleName\"] == nil"}));
    }
    const std::vector<std::vector<std::string>> items = {
        {"About Ostrelle||1", "-", "-", "Preferences...|<Control>comma|0", "-", "Services||0", "-",
         "Hide Ostrelle|<Control>h|1", "Hide Others|<Control><Alt>h|0", "-", "Quit Ostrelle|<Control>q|1"},
        {"Undo|<Control>z|1", "Redo|<Shift><Control>z|1", "-", "Cut|<Control>x|1", "Copy|<Control>c|1",
         "Paste|<Control>v|1", "Delete||1", "Select All|<Control>a|1"},
        {"Minimize|<Control>m|1", "Zoom||1"},
        {"Ostrelle Help|<Control>question|1", "Feedback|<Control>f|1"}};
    std::setlocale(LC_ALL, "C.UTF-8");
    setenv("LANGUAGE", "en", 1);
    const ZELMainMenu bar = ZELMenuPopulator::populateMainMenu();
    EXPECT_EQ(bar.title, "MainMenu");
    ASSERT_EQ(bar.items.size(), 4u);
    for (std::size_t m = 0; m < 4; ++m) {
        EXPECT_EQ(bar.items[m].title, (std::vector<std::string>{"Apple", "Edit", "Window", "Help"})[m]);
        EXPECT_EQ(shown(*bar.items[m].submenu), items[m]) << m;
    }
#ifdef OSTRELLE_TEST_LOCALE_DIR
    // The same menus read through the compiled catalogues; the keys stay.
    bindTranslations(OSTRELLE_TEST_LOCALE_DIR);
    setenv("LANGUAGE", "zh_CN", 1);
    const ZELMainMenu zh = ZELMenuPopulator::populateMainMenu();
    EXPECT_EQ(zh.items[1].title, "Edit");
    EXPECT_EQ(zh.items[1].submenu->title, "编辑");
    EXPECT_EQ(shown(*zh.items[0].submenu).back(), "退出 Ostrelle|<Control>q|1");
#endif
    unsetenv("LANGUAGE");
}

}  // namespace
}  // namespace zel
