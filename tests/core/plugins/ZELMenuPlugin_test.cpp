#include "core/plugins/ZELMenuPlugin.h"

#include "core/json/HXAddtions.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

struct MenuRecorder : ZELMenuPluginDelegate {
    void showSongMenu(const Value& song, ZELPoint origin) override {
        calls.push_back({"song", song, origin});
    }
    void showDiyListMenu(const Value& list, ZELPoint origin) override {
        calls.push_back({"list", list, origin});
    }
    void updateSongMenuDiyListData(const Value& entries) override { calls.push_back({"lists", entries, {}}); }
    struct Call {
        std::string method;
        Value record;
        ZELPoint origin;
    };
    std::vector<Call> calls;
};

class MenuPluginTest : public testing::Test, protected test::BridgeHarness {
  protected:
    void SetUp() override {
        menu.setDelegate(&recorder);
        controller->registerPlugin(menu, "cordovaMenu");
    }
    void call(const std::string& method, const std::string& params) { exec("cordovaMenu", method, params); }
    std::string lastRecord() const { return hx::description(recorder.calls.back().record); }

    MenuRecorder recorder;
    ZELMenuPlugin menu;
};

TEST_F(MenuPluginTest, SongMenuRecordInKeyOrderWithUnflippedOrigin) {
    call("showSongMenu", R"([{"y":45,"x":120,"song":{"source":"fav","artistName":"Ar","albumName":"Al",
                                "songName":"S","songId":42,"extra":1}}])");
    ASSERT_EQ(recorder.calls.size(), 1u);
    EXPECT_EQ(recorder.calls[0].method, "song");
    EXPECT_EQ(lastRecord(),
              R"({"songId":42,"songName":"S","albumName":"Al","artistName":"Ar","source":"fav"})");
    EXPECT_EQ(recorder.calls[0].origin, (ZELPoint{120, 45}));
    EXPECT_TRUE(page.calls.empty());
}

TEST_F(MenuPluginTest, RecordsEndAtTheFirstAbsentValue) {
    call("showSongMenu",
         R"([{"x":"12.5px","song":{"songId":"a","songName":"b","artistName":"c","source":"d"}}])");
    EXPECT_EQ(lastRecord(), R"({"songId":"a","songName":"b"})");
    EXPECT_EQ(recorder.calls.back().origin, (ZELPoint{12.5, 0}));
    call("showSongMenu", R"([{"x":true,"y":[1],"song":"text"}])");
    EXPECT_EQ(lastRecord(), "{}");
    EXPECT_EQ(recorder.calls.back().origin, (ZELPoint{1, 0}));
    // The null object is a value: it does not end the record.
    call("showDiyListMenu", R"([{"x":1,"y":2,"list":{"listId":null,"name":"N"}}])");
    EXPECT_EQ(recorder.calls.back().method, "list");
    EXPECT_EQ(lastRecord(), R"({"listId":<null>,"name":"N"})");
    call("showDiyListMenu", R"([{"list":{"name":"N"}}])");
    EXPECT_EQ(lastRecord(), "{}");
}

TEST_F(MenuPluginTest, PlaylistEntriesInOrderSkippingNonObjects) {
    call("updateSongMenuDiyListData", "[[]]");
    EXPECT_EQ(lastRecord(), "[]");
    call("updateSongMenuDiyListData",
         R"([[{"name":"A","listId":7},5,"x",null,{"listId":9,"name":"B"},{"name":"C"}]])");
    EXPECT_EQ(lastRecord(), R"([{"id":7,"name":"A"},{"id":9,"name":"B"},{}])");
}

TEST_F(MenuPluginTest, WrongKindsSkipTheCall) {
    call("showSongMenu", "[]");
    call("showSongMenu", R"(["x"])");
    call("showDiyListMenu", "[[1]]");
    call("showDiyListMenu", "not json");
    call("updateSongMenuDiyListData", R"([{"listId":1}])");
    call("updateSongMenuDiyListData", "{}");
    EXPECT_TRUE(recorder.calls.empty());

    menu.setDelegate(nullptr);
    call("showSongMenu", R"([{"song":{}}])");
    call("updateSongMenuDiyListData", "[[]]");
    EXPECT_TRUE(recorder.calls.empty());
}

}  // namespace
}  // namespace zel
