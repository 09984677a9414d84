#include "core/plugins/ZELUserInfoPlugin.h"
#include "core/plugins/ZELUserLoginPlugin.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

// Each delegate call as one line, values as "%@" prints them.
struct UserPluginsTest : testing::Test,
                         test::BridgeHarness,
                         ZELUserInfoPluginDelegate,
                         ZELUserLoginPluginDelegate {
    UserPluginsTest() {
        info.setDelegate(this);
        login.setDelegate(this);
        controller->registerPlugin(info, "cordovaUserInfo");
        controller->registerPlugin(login, "cordovaUserLogin");
    }
    void didUpdateUserInfo(const std::string& unused, const Value& nick, const Value& avatar) override {
        calls.push_back(formatLog("info [%@] %@ %@", {unused, nick, avatar}));
    }
    void setLoginStatus(const Value& v) override { calls.push_back(formatLog("status %@", {v})); }
    void setLoginErrorMessage(const Value& v) override { calls.push_back(formatLog("error %@", {v})); }
    void setLoginNeedVerifyCode(bool need) override { calls.push_back(formatLog("verify %hhd", {need})); }
    void setLoginVerifyCodeImageSrc(const Value& v) override { calls.push_back(formatLog("image %@", {v})); }
    void showLoginWindow() override { calls.push_back("show"); }

    ZELUserInfoPlugin info;
    ZELUserLoginPlugin login;
    std::vector<std::string> calls;
};

TEST_F(UserPluginsTest, ArgumentsPassUnconvertedExceptTheVerifyCodeFlag) {
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

}  // namespace
}  // namespace zel
