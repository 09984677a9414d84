// The bridge's plugins: the web cache's version and refresh, and the page's records handed to delegates.
#include "core/fs/Files.h"
#include "core/json/HXAddtions.h"
#include "core/plugins/ZELAppUpdatePlugin.h"
#include "core/plugins/ZELMenuPlugin.h"
#include "core/plugins/ZELUserInfoPlugin.h"
#include "core/plugins/ZELUserLoginPlugin.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

// Each delegate call as one line, values as "%@" prints them.
struct PluginsTest : testing::Test,
                     test::BridgeHarness,
                     ZELAppUpdatePluginDelegate,
                     ZELUserInfoPluginDelegate,
                     ZELUserLoginPluginDelegate,
                     ZELMenuPluginDelegate {
    PluginsTest() {
        plugin.setDelegate(this);
        info.setDelegate(this);
        login.setDelegate(this);
        menu.setDelegate(this);
        controller->registerPlugin(plugin, "cordovaAppUpdate");
        controller->registerPlugin(info, "cordovaUserInfo");
        controller->registerPlugin(login, "cordovaUserLogin");
        controller->registerPlugin(menu, "cordovaMenu");
    }
    void refreshWebCache() override { add("refresh", {}); }
    void clearWebCache() override { add("clear", {}); }
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
    // An answer runs script, which may start the next refresh from inside its callback.
    void callJavascriptFunc(const std::string& name, const ArgList& params) override {
        BridgeHarness::callJavascriptFunc(name, params);
        if (reenter > 0 && --reenter == 0) call("next", "refreshWebCache");
    }
    void call(Value id, const std::string& method, const std::string& params = "[]") {
        exec("cordovaAppUpdate", method, params, std::move(id));
    }
    // The web app passes the version object as JSON text inside the argument array.
    static std::string putText(const std::string& object) {
        return "[" + hx::jsonStringWithString(object) + "]";
    }

    test::ScratchDirectory scratch;
    std::filesystem::path workingDirectory = scratch.path() / "not" / "yet" / "there";
    ZELAppUpdatePlugin plugin{"0.1.0", workingDirectory};
    ZELUserInfoPlugin info;
    ZELUserLoginPlugin login;
    ZELMenuPlugin menu;
    std::vector<std::string> calls;
    int reenter = 0;
};

TEST_F(PluginsTest, VersionRoundTripIgnoringWrongInput) {
    const std::string wrong[] = {"nonsense", R"([{"cacheVersion":"2014/04/01"}])", putText("not json"),
                                 putText(R"({"cacheVersion":20140401})")};
    for (const auto& params : wrong) call(1, "putLocalVersion", params);
    EXPECT_EQ(log.lines, std::vector<std::string>(std::size(wrong),
                                                  "putLocalVersion: ignored, expected a JSON "
                                                  "object text with a text cacheVersion"));
    call("7", "getLocalVersion");
    call(8, "putLocalVersion", putText(R"({"cacheVersion":"2014/04/01"})"));
    EXPECT_EQ(fs::readFile(workingDirectory / "cache_version"), "2014/04/01");
    call(9, "getLocalVersion");
    // The answer ends at the first absent value: a version file that is not UTF-8 leaves out cacheVersion.
    ASSERT_TRUE(fs::writeFileAtomically(plugin.localVersionFilePath(), "\xFF\xFE"));
    call(10, "getLocalVersion");
    ZELAppUpdatePlugin unversioned(std::nullopt, workingDirectory);
    controller->registerPlugin(unversioned, "cordovaAppUpdate");
    call(11, "getLocalVersion");
    EXPECT_EQ(answers,
              (std::vector<ArgList>{{"7", 0, R"({"bundleVersion":"0.1.0","cacheVersion":""})"},
                                    {9, 0, R"({"bundleVersion":"0.1.0","cacheVersion":"2014/04/01"})"},
                                    {10, 0, R"({"bundleVersion":"0.1.0"})"},
                                    {11, 0, "{}"}}));
}

// Writes wait for the disk worker in order; meanwhile the page reads what it asked for last.
TEST_F(PluginsTest, QueuedVersionWritesKeepTheirOrder) {
    struct Deferred : ZELDiskWorker {
        void run(std::function<void()> job, std::function<void()> done) override {
            jobs.emplace_back(std::move(job), std::move(done));
        }
        std::vector<std::pair<std::function<void()>, std::function<void()>>> jobs;
    } disk;
    plugin.setDiskWorker(&disk);
    call(1, "putLocalVersion", putText(R"({"cacheVersion":"2014/04/01"})"));
    call(2, "getLocalVersion");
    call(3, "clearWebCache");
    call(4, "getLocalVersion");
    ASSERT_EQ(disk.jobs.size(), 2u);
    disk.jobs[0].first();
    EXPECT_EQ(fs::readFile(plugin.localVersionFilePath()), "2014/04/01");
    disk.jobs[1].first();
    EXPECT_FALSE(std::filesystem::exists(plugin.localVersionFilePath()));
    for (auto& [job, done] : disk.jobs) done();
    EXPECT_EQ(answers,
              (std::vector<ArgList>{{2, 0, R"({"bundleVersion":"0.1.0","cacheVersion":"2014/04/01"})"},
                                    {4, 0, R"({"bundleVersion":"0.1.0","cacheVersion":""})"}}));
}

TEST_F(PluginsTest, RefreshAnswersTheLatestKeptCommandEachTime) {
    plugin.didFinishRefreshingWebCache();  // nothing kept yet
    call("a", "refreshWebCache");
    EXPECT_TRUE(answers.empty());
    plugin.didFinishRefreshingWebCache();
    call("b", "refreshWebCache");
    plugin.didFinishRefreshingWebCache();
    plugin.didFinishRefreshingWebCache();
    call("c", "clearWebCache");
    plugin.setDelegate(nullptr);
    call("d", "refreshWebCache");  // kept even without a delegate
    reenter = 1;                   // the answer to d starts "next", which replaces d while it is answered
    plugin.didFinishRefreshingWebCache();
    plugin.didFinishRefreshingWebCache();
    EXPECT_EQ(answers, (std::vector<ArgList>{{"a", 0}, {"b", 0}, {"b", 0}, {"d", 0}, {"next", 0}}));
    EXPECT_EQ(calls, (std::vector<std::string>{"refresh", "refresh", "clear"}));
}

TEST_F(PluginsTest, UserArgumentsPassUnconvertedExceptTheVerifyCodeFlag) {
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

TEST_F(PluginsTest, MenuRecordsInKeyOrderEndingAtTheFirstAbsentValue) {
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
