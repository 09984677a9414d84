#include "core/plugins/ZELMenuPlugin.h"

#include "core/json/HXAddtions.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

// Each delegate call as one line: "method record x,y".
struct MenuPluginTest : testing::Test, test::BridgeHarness, ZELMenuPluginDelegate {
    MenuPluginTest() {
        menu.setDelegate(this);
        controller->registerPlugin(menu, "cordovaMenu");
    }
    void showSongMenu(const Value& song, ZELPoint o) override { add("song", song, o); }
    void showDiyListMenu(const Value& list, ZELPoint o) override { add("list", list, o); }
    void updateSongMenuDiyListData(const Value& entries) override { add("lists", entries, {}); }
    void add(const char* method, const Value& record, ZELPoint o) {
        calls.push_back(formatLog("%@ %@ %@,%@", {method, record, o.x, o.y}));
    }
    ZELMenuPlugin menu;
    std::vector<std::string> calls;
};

TEST_F(MenuPluginTest, RecordsInKeyOrderEndingAtTheFirstAbsentValue) {
    const std::pair<const char*, const char*> rows[] = {
        {"showSongMenu", R"({"y":45,"x":120,"song":{"source":"fav","artistName":"Ar","albumName":"Al",
                            "songName":"S","songId":42,"extra":1}})"},
        {"showSongMenu", R"({"x":"12.5px","y":[1],"song":{"songId":"a","songName":"b","artistName":"c"}})"},
        {"showDiyListMenu", R"({"x":1,"y":2,"list":{"listId":null,"name":"N"}})"},  // null is a value
        {"showDiyListMenu", R"({"list":{"name":"N"}})"},
        {"updateSongMenuDiyListData",
         R"([{"name":"A","listId":7},5,"x",null,{"listId":9,"name":"B"},{"name":"C"}])"},
        // Wrong kinds skip the call.
        {"showSongMenu", R"("x")"},
        {"showDiyListMenu", "[1]"},
        {"updateSongMenuDiyListData", R"({"listId":1})"},
    };
    for (const auto& [method, argument] : rows)
        exec("cordovaMenu", method, std::string("[") + argument + "]");
    exec("cordovaMenu", "showSongMenu", "not json");
    EXPECT_EQ(
        calls,
        (std::vector<std::string>{
            R"(song {"songId":42,"songName":"S","albumName":"Al","artistName":"Ar","source":"fav"} 120,45)",
            R"(song {"songId":"a","songName":"b"} 12.5,0)", R"(list {"listId":<null>,"name":"N"} 1,2)",
            "list {} 0,0", R"(lists [{"id":7,"name":"A"},{"id":9,"name":"B"},{}] 0,0)"}));
    menu.setDelegate(nullptr);
    exec("cordovaMenu", "showSongMenu", R"([{"song":{}}])");
    EXPECT_EQ(calls.size(), 5u);
    EXPECT_TRUE(answers.empty());
}

}  // namespace
}  // namespace zel
