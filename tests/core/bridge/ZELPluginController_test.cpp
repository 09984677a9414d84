#include "core/bridge/ZELPluginController.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

// echo resolves with its first argument, keep holds the command, refuse fails, throws throws.
struct PluginControllerTest : testing::Test, test::BridgeHarness, ZELPlugin {
    PluginControllerTest() {
        exportMethod("echo", [this](const ZELPluginCommandRef& c) {
            seen.push_back(c);
            c->resolve(c->firstParam());
        });
        exportMethod("keep", [this](const ZELPluginCommandRef& c) { seen.push_back(c); });
        exportMethod("refuse", [](const ZELPluginCommandRef& c) { c->fail(Value("no")); });
        exportMethod("throws", [](const ZELPluginCommandRef&) { (void)Value().at("missing"); });
        controller->registerPlugin(*this, "cordovaProbe");
    }
    std::vector<ZELPluginCommandRef> seen;
};

TEST_F(PluginControllerTest, AnswersReachTheCallbackWithStatusAndResult) {
    exec("cordovaProbe", "echo", R"([{"a":1},2])", "7");
    exec("cordovaProbe", "refuse", "[]", 8);
    exec("cordovaProbe", "echo", "[]", 3);  // no result: two arguments
    EXPECT_EQ(names, std::vector<std::string>(3, "zelNativeCallback"));
    EXPECT_EQ(answers, (std::vector<ArgList>{{"7", 0, Value::object({{"a", 1}})}, {8, 1, "no"}, {3, 0}}));
    EXPECT_TRUE(log.lines.empty());

    // Unknown names, variants of a method's name and hostile arguments neither answer nor throw.
    exec("cordovaNothing", "echo", "[1]");
    for (const char* name : {"showSongMenu", "", "echo:", "Echo", "ech"}) exec("cordovaProbe", name, "[]");
    EXPECT_EQ(log.lines.front(), "ERROR: Method 'showSongMenu' not defined in ZEL Plugin 'cordovaProbe'");
    EXPECT_EQ(log.lines.size(), 5u);
    for (const std::string& params : {std::string("not json"), std::string("[\"\xC0\xAF\"]"),
                                      std::string(100000, '[') + std::string(100000, ']')}) {
        exec("cordovaProbe", "keep", params);
        EXPECT_TRUE(isNil(seen.back()->firstParam())) << params.substr(0, 10);
    }
    exec("cordovaProbe", "throws", "[]");
    EXPECT_TRUE(log.lines.back().starts_with("ERROR: Method 'throws' of ZEL Plugin 'cordovaProbe' failed: "));
    EXPECT_EQ(answers.size(), 3u);
}

TEST_F(PluginControllerTest, DeferredAnswersRepeatAndStopWhenTheControllerIsGone) {
    exec("cordovaProbe", "keep", "[]", "r");
    const ZELPluginCommandRef kept = seen.at(0);
    kept->resolve();
    kept->fail(Value("late"));
    EXPECT_EQ(answers, (std::vector<ArgList>{{"r", 0}, {"r", 1, "late"}}));
    controller.reset();
    kept->resolve(Value("after"));
    // Commands hold the controller weakly; one not owned by a shared pointer answers nowhere.
    ZELPluginController unshared;
    unshared.setWebView(this);
    unshared.registerPlugin(*this, "p");
    unshared.exec(Value(1), "p", "echo", "[1]");
    EXPECT_EQ(seen.size(), 2u);
    EXPECT_EQ(answers.size(), 2u);
}

}  // namespace
}  // namespace zel
