#include "core/menu/ZELContextMenus.h"

#include "core/json/DictionaryJSON.h"
#include "core/json/HXAddtions.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

// One line per menu: "title[action] | ---- | title>{submenu}".
std::string outline(const ZELMenu& menu) {
    static const char* const actions[] = {"",       "love",   "delove", "addITunes", "removeITunes",
                                          "create", "remove", "rename", "addToList"};
    std::string out;
    for (const ZELMenuItem& item : menu.items) {
        if (!out.empty()) out += " | ";
        if (item.separator) {
            out += "----";
            continue;
        }
        out += item.title;
        if (item.action != ZELMenuAction::None)
            out += std::string("[") + actions[static_cast<int>(item.action)] + "]";
        if (item.submenu) out += ">{" + outline(*item.submenu) + "}";
    }
    return out;
}

Value json(const char* text) {
    return json::dictionaryWithJSONString(text);
}

struct ChoiceRecorder : ZELMenuControllerDelegate {
    void loveSong(const Value& s) override { add("loveSong", s); }
    void deloveSong(const Value& s) override { add("deloveSong", s); }
    void addSongToITunes(const Value& s) override { add("addSongToITunes", s); }
    void removeSongFromITunes(const Value& s) override { add("removeSongFromITunes", s); }
    void createDiyList() override { calls.push_back("createDiyList"); }
    void removeDiyList(const Value& l) override { add("removeDiyList", l); }
    void renameDiyList(const Value& l) override { add("renameDiyList", l); }
    void addSongToDiyList(const Value& s, const Value& id) override {
        calls.push_back("addSongToDiyList " + hx::description(s) + " " + hx::description(id));
    }
    void add(const std::string& name, const Value& v) { calls.push_back(name + " " + hx::description(v)); }
    std::vector<std::string> calls;
};

class ContextMenusTest : public testing::Test {
  protected:
    void SetUp() override { menus.setDelegate(&recorder); }
    // The chosen item by path of indexes, as the toolkit would hand it back.
    void choose(const ZELMenu& menu, std::size_t index, std::optional<std::size_t> subIndex = std::nullopt) {
        const ZELMenuItem& item = menu.items.at(index);
        menus.perform(subIndex ? item.submenu->items.at(*subIndex) : item);
    }

    const Value song =
        json(R"({"songId":42,"songName":"S","albumName":"Al","artistName":"Ar","source":"x"})");
    ZELContextMenus menus;
    ChoiceRecorder recorder;
};

TEST_F(ContextMenusTest, SongMenuChosenBySourceExactly) {
    const char* normal =
        "下载到iTunes[addITunes] | 收藏[love] | 添加到歌单>{创建歌单[create] | ---- | xxxx[addToList]}";
    const char* fav =
        "取消收藏[delove] | 下载到iTunes[addITunes] | 添加到歌单>{创建歌单[create] | ---- | xxxx[addToList]}";
    const char* itunes = "从iTunes移除[removeITunes]";
    EXPECT_EQ(outline(menus.songMenu(json(R"({"source":"itunes"})"))), itunes);
    EXPECT_EQ(outline(menus.songMenu(json(R"({"source":"fav"})"))), fav);
    EXPECT_EQ(outline(menus.songMenu(json(R"({"source":"Itunes"})"))), normal);
    EXPECT_EQ(outline(menus.songMenu(json(R"({"source":"FAV"})"))), normal);
    EXPECT_EQ(outline(menus.songMenu(json(R"({"source":7})"))), normal);
    EXPECT_EQ(outline(menus.songMenu(json(R"({"songId":1})"))), normal);
    EXPECT_EQ(outline(menus.songMenu(Value::object())), normal);
    EXPECT_EQ(menus.songMenu(song).title, "Contextual Menu");
    EXPECT_EQ(menus.songMenu(song).items[2].submenu->title, "歌单");
}

TEST_F(ContextMenusTest, PlaylistsListedNewestFirstBelowTheSeparator) {
    menus.updateSongMenuDiyListData(
        json(R"([{"id":1,"name":"A"},{"id":"2","name":"B"},{"id":3,"name":"C"}])"));
    EXPECT_EQ(outline(*menus.generateSongMenuNormal(song).items[2].submenu),
              "创建歌单[create] | ---- | C[addToList] | B[addToList] | A[addToList]");

    menus.updateSongMenuDiyListData(Value::array());
    EXPECT_EQ(outline(*menus.generateSongMenuFav(song).items[2].submenu), "创建歌单[create] | ----");

    // Entries cut short by the plugin: no name gives no title, a number name reads as its text.
    menus.updateSongMenuDiyListData(json(R"([{"id":5},{},{"id":6,"name":12}])"));
    EXPECT_EQ(outline(*menus.generateSongMenuNormal(song).items[2].submenu),
              "创建歌单[create] | ---- | 12[addToList] | [addToList] | [addToList]");

    // Not an array: the playlists stay.
    test::LogCapture log;
    menus.updateSongMenuDiyListData(json(R"({"id":1})"));
    EXPECT_EQ(menus.diyListArray().size(), 3u);
    EXPECT_EQ(log.lines, std::vector<std::string>{R"(updateSongMenuDiyListData: ignored {"id":1})"});
}

TEST_F(ContextMenusTest, EveryItemCarriesItsRecord) {
    const ZELMenu normal = menus.generateSongMenuNormal(song);
    EXPECT_EQ(normal.items[0].representedObject, song);
    EXPECT_EQ(normal.items[1].representedObject, song);
    EXPECT_TRUE(isNil(normal.items[2].representedObject));
    const ZELMenu& sub = *normal.items[2].submenu;
    EXPECT_TRUE(isNil(sub.items[0].representedObject));
    EXPECT_EQ(
        hx::description(sub.items[2].representedObject),
        R"({"song":{"songId":42,"songName":"S","albumName":"Al","artistName":"Ar","source":"x"},"listId":123})");

    const Value list = json(R"({"listId":"L9","name":"N"})");
    const ZELMenu listMenu = menus.generateDiyListMenu(list);
    EXPECT_EQ(outline(listMenu), "重命名歌单[rename] | 删除歌单...[remove]");
    EXPECT_EQ(listMenu.items[0].representedObject, list);
    EXPECT_EQ(listMenu.items[1].representedObject, list);

    // Everything is enabled: action items, and the submenu item because of its submenu.
    for (const ZELMenuItem& item : normal.items) EXPECT_TRUE(item.enabled()) << item.title;
    EXPECT_FALSE(sub.items[1].enabled());
}

TEST_F(ContextMenusTest, ChoicesReachTheDelegateWithTheirRecords) {
    menus.updateSongMenuDiyListData(json(R"([{"id":7,"name":"A"},{"name":"NoId"}])"));
    const ZELMenu normal = menus.generateSongMenuNormal(json(R"({"songId":1})"));
    const ZELMenu fav = menus.generateSongMenuFav(json(R"({"songId":2,"source":"fav"})"));
    const ZELMenu itunes = menus.generateSongMenuItunes(json(R"({"songId":3,"source":"itunes"})"));
    const ZELMenu list = menus.generateDiyListMenu(json(R"({"listId":4})"));
    test::LogCapture log;
    choose(normal, 0);
    choose(normal, 1);
    choose(normal, 2);  // only opens the submenu
    choose(normal, 2, 0);
    choose(normal, 2, 1);  // the separator
    choose(normal, 2, 2);  // NoId, now on top
    choose(normal, 2, 3);
    choose(fav, 0);
    choose(itunes, 0);
    choose(list, 0);
    choose(list, 1);
    EXPECT_EQ(recorder.calls, (std::vector<std::string>{
                                  R"(addSongToITunes {"songId":1})",
                                  R"(loveSong {"songId":1})",
                                  "createDiyList",
                                  R"(addSongToDiyList {"songId":1} (null))",
                                  R"(addSongToDiyList {"songId":1} 7)",
                                  R"(deloveSong {"songId":2,"source":"fav"})",
                                  R"(removeSongFromITunes {"songId":3,"source":"itunes"})",
                                  R"(renameDiyList {"listId":4})",
                                  R"(removeDiyList {"listId":4})",
                              }));
    EXPECT_EQ(log.lines, (std::vector<std::string>{"diyListId (null)", "diyListId 7"}));

    // Without a delegate a choice is only logged.
    menus.setDelegate(nullptr);
    choose(normal, 1);
    choose(normal, 2, 3);
    EXPECT_EQ(recorder.calls.size(), 9u);
    EXPECT_EQ(log.lines.back(), "diyListId 7");
}

TEST_F(ContextMenusTest, PopUpsLogAndConvertTheClickPoint) {
    test::LogCapture log;
    const ZELMenuPopUp songPopUp = menus.songMenuPopUp(song, {100, 30}, 600);
    EXPECT_EQ(songPopUp.location, (ZELPoint{100, 570}));
    EXPECT_EQ(outline(songPopUp.menu), outline(menus.generateSongMenuNormal(song)));
    const ZELMenuPopUp cutShort = menus.songMenuPopUp(Value::object(), {5, 6}, 0);
    EXPECT_EQ(cutShort.location, (ZELPoint{5, -6}));
    const ZELMenuPopUp listPopUp =
        menus.diyListMenuPopUp(json(R"({"listId":"L1","name":"N"})"), {0, 600}, 600);
    EXPECT_EQ(listPopUp.location, (ZELPoint{0, 0}));
    EXPECT_EQ(log.lines, (std::vector<std::string>{"showSongMenu 42", "songSource x", "showSongMenu (null)",
                                                   "songSource (null)", "showDiyListMenu L1"}));
}

}  // namespace
}  // namespace zel
