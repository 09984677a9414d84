#include "core/plugins/ZELUserInfoPlugin.h"
#include "core/plugins/ZELUserLoginPlugin.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

// nil cannot sit inside a container; the recorder shows it as the text "nil".
Value shown(const Value& v) {
    return isNil(v) ? Value("nil") : v;
}

struct UserRecorder : ZELUserInfoPluginDelegate, ZELUserLoginPluginDelegate {
    void didUpdateUserInfo(const std::string& unused, const Value& nick, const Value& avatar) override {
        calls.push_back(Value::array({"info", unused, shown(nick), shown(avatar)}));
    }
    void setLoginStatus(const Value& v) override { calls.push_back(Value::array({"status", shown(v)})); }
    void setLoginErrorMessage(const Value& v) override { calls.push_back(Value::array({"error", shown(v)})); }
    void setLoginNeedVerifyCode(bool need) override { calls.push_back(Value::array({"verify", need})); }
    void setLoginVerifyCodeImageSrc(const Value& v) override {
        calls.push_back(Value::array({"image", shown(v)}));
    }
    void showLoginWindow() override { calls.push_back(Value::array({"show"})); }
    Value calls = Value::array();
};

class UserPluginsTest : public testing::Test, protected test::BridgeHarness {
  protected:
    void SetUp() override {
        info.setDelegate(&recorder);
        login.setDelegate(&recorder);
        controller->registerPlugin(info, "cordovaUserInfo");
        controller->registerPlugin(login, "cordovaUserLogin");
    }
    Value last() const { return recorder.calls.back(); }

    UserRecorder recorder;
    ZELUserInfoPlugin info;
    ZELUserLoginPlugin login;
};

TEST_F(UserPluginsTest, SetUserInfoPassesValuesAndLogsInEveryCase) {
    exec("cordovaUserInfo", "setUserInfo", R"([{"nickname":"N","avatarSrc":"A"}])");
    EXPECT_EQ(last(), Value::array({"info", "", "N", "A"}));
    exec("cordovaUserInfo", "setUserInfo", R"([{"nickname":""}])");
    EXPECT_EQ(last(), Value::array({"info", "", "", "nil"}));
    exec("cordovaUserInfo", "setUserInfo", R"(["not an object"])");
    EXPECT_EQ(last(), Value::array({"info", "", "nil", "nil"}));

    info.setDelegate(nullptr);
    exec("cordovaUserInfo", "setUserInfo", "{");
    EXPECT_EQ(recorder.calls.size(), 3u);
    EXPECT_EQ(log.lines,
              (std::vector<std::string>{"ZelUserInfo N A", "ZelUserInfo  (null)", "ZelUserInfo (null) (null)",
                                        "ZelUserInfo (null) (null)"}));
    EXPECT_TRUE(page.calls.empty());
}

TEST_F(UserPluginsTest, LoginMethodsPassTheFirstArgumentUnconverted) {
    exec("cordovaUserLogin", "setLoginStatus", R"(["0"])");
    EXPECT_EQ(last(), Value::array({"status", "0"}));
    exec("cordovaUserLogin", "setLoginErrorMessage", R"([{"m":1},"x"])");
    EXPECT_EQ(last(), Value::array({"error", Value::object({{"m", 1}})}));
    exec("cordovaUserLogin", "setLoginVerifyCodeImageSrc", "[]");
    EXPECT_EQ(last(), Value::array({"image", "nil"}));
    exec("cordovaUserLogin", "showLoginWindow", "garbage");
    EXPECT_EQ(last(), Value::array({"show"}));

    login.setDelegate(nullptr);
    for (const char* method : {"setLoginStatus", "setLoginNeedVerifyCode", "showLoginWindow"}) {
        exec("cordovaUserLogin", method, R"(["true"])");
    }
    EXPECT_EQ(recorder.calls.size(), 4u);
    EXPECT_TRUE(page.calls.empty());
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(UserPluginsTest, OnlyTheTextTrueNeedsAVerifyCode) {
    const std::pair<const char*, bool> cases[] = {
        {R"(["true"])", true}, {R"(["false"])", false}, {R"(["TRUE"])", false}, {R"(["1"])", false},
        {"[true]", false},     {"[1]", false},          {"[]", false},          {"nope", false},
    };
    for (const auto& [text, expected] : cases) {
        exec("cordovaUserLogin", "setLoginNeedVerifyCode", text);
        EXPECT_EQ(last(), Value::array({"verify", expected})) << text;
    }
}

}  // namespace
}  // namespace zel
