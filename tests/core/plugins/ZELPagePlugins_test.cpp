// The plugins that only hand the page's records to their delegates: user info, login and menus.
#include "core/plugins/ZELMenuPlugin.h"
#include "core/plugins/ZELUserInfoPlugin.h"
#include "core/plugins/ZELUserLoginPlugin.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

// Each delegate call as one line, values as "%@" prints them.
struct PagePluginsTest : testing::Test,
                         test::BridgeHarness,
                         ZELUserInfoPluginDelegate,
                         ZELUserLoginPluginDelegate,
                         ZELMenuPluginDelegate {
    PagePluginsTest() {
        info.setDelegate(this);
        login.setDelegate(this);
        menu.setDelegate(this);
        controller->registerPlugin(info, "cordovaUserInfo");
        controller->registerPlugin(login, "cordovaUserLogin");
        controller->registerPlugin(menu, "cordovaMenu");
    }
    void didUpdateUserInfo(const std::string& unused, const Value& nick, const Value& avatar) override {
        add("info [%@] %@ %@", {unused, nick, avatar});
    }
    void setLoginStatus(const Value& v) override { add("status %@", {v}); }
    void setLoginErrorMessage(const Value& v) override { add("error %@", {v}); }
    void setLoginNeedVerifyCode(bool need) override { add("verify %hhd", {need}); }
    void setLoginVerifyCodeImageSrc(const Value& v) override { add("image %@", {v}); }
    void showLoginWindow() override { add("show", {}); }
    void showSongMenu(const Value& song, ZELPoint o) override { add("song %@ %@,%@", {song, o.x, o.y}); }
    void showDiyListMenu(const Value& list, ZELPoint o) override { add("list %@ %@,%@", {list, o.x, o.y}); }
    void updateSongMenuDiyListData(const Value& entries) override { add("lists %@", {entries}); }
    void add(const char* format, const std::vector<LogArg>& args) {
        calls.push_back(formatLog(format, args));
    }

    ZELUserInfoPlugin info;
    ZELUserLoginPlugin login;
    ZELMenuPlugin menu;
    std::vector<std::string> calls;
};

TEST_F(PagePluginsTest, UserArgumentsPassUnconvertedExceptTheVerifyCodeFlag) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"cordovaUserInfo", "setUserInfo", R"([{"nickname":"N","avatarSrc":"A"}])"},
        {"cordovaUserInfo", "setUserInfo", R"([{"nickname":""}])"},
        {"cordovaUserLogin", "setLoginStatus", R"(["0"])"},
        {"cordovaUserLogin", "setLoginErrorMessage", R"([{"m":1},"x"])"},
        {"cordovaUserLogin", "setLoginVerifyCodeImageSrc", "[]"},
        {"cordovaUserLogin", "showLoginWindow", "garbage"},
        // Only the text "true" needs a verify code.
        {"cordovaUserLogin", "setLoginNeedVerifyCode", R"(["true"])"},
        {"cordovaUserLogin", "setLoginNeedVerifyCode", R"(["TRUE"])"},
        {"cordovaUserLogin", "setLoginNeedVerifyCode", "[true]"},
    };
    for (const auto& [plugin, method, params] : rows) exec(plugin, method, params);
    EXPECT_EQ(calls,
              (std::vector<std::string>{"info [] N A", "info []  (null)", "status 0", R"(error {"m":1})",
                                        "image (null)", "show", "verify 1", "verify 0", "verify 0"}));
    // The user info is logged in every case, also without a delegate.
    info.setDelegate(nullptr);
    login.setDelegate(nullptr);
    exec("cordovaUserInfo", "setUserInfo", "{");
    exec("cordovaUserLogin", "setLoginNeedVerifyCode", R"(["true"])");
    EXPECT_EQ(calls.size(), 9u);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"ZelUserInfo N A", "ZelUserInfo  (null)",
                                                   "ZelUserInfo (null) (null)"}));
    EXPECT_TRUE(answers.empty());
}

TEST_F(PagePluginsTest, MenuRecordsInKeyOrderEndingAtTheFirstAbsentValue) {
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
    menu.setDelegate(nullptr);
    exec("cordovaMenu", "showSongMenu", R"([{"song":{}}])");
    EXPECT_EQ(
        calls,
        (std::vector<std::string>{
            R"(song {"songId":42,"songName":"S","albumName":"Al","artistName":"Ar","source":"fav"} 120,45)",
            R"(song {"songId":"a","songName":"b"} 12.5,0)", R"(list {"listId":<null>,"name":"N"} 1,2)",
            "list {} 0,0", R"(lists [{"id":7,"name":"A"},{"id":9,"name":"B"},{}])"}));
    EXPECT_TRUE(answers.empty());
}

}  // namespace
}  // namespace zel
