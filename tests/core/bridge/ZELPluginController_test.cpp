#include "core/bridge/ZELPluginController.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

// echo resolves with its first argument, keep holds the command, refuse fails, throws throws.
struct ProbePlugin : ZELPlugin {
    ProbePlugin() {
        exportMethod("echo", [this](const ZELPluginCommandRef& c) {
            seen.push_back(c);
            c->resolve(c->firstParam());
        });
        exportMethod("keep", [this](const ZELPluginCommandRef& c) { seen.push_back(c); });
        exportMethod("refuse", [](const ZELPluginCommandRef& c) { c->fail(Value("no")); });
        exportMethod("throws", [](const ZELPluginCommandRef&) { (void)Value().at("missing"); });
    }
    std::vector<ZELPluginCommandRef> seen;
};

struct PluginControllerTest : testing::Test, test::BridgeHarness {
    PluginControllerTest() { controller->registerPlugin(probe, "cordovaProbe"); }
    ProbePlugin probe;
};

TEST_F(PluginControllerTest, AnswersReachTheCallbackWithStatusAndResult) {
    exec("cordovaProbe", "echo", R"([{"a":1},2])", "7");
    exec("cordovaProbe", "refuse", "[]", 8);
    exec("cordovaProbe", "echo", "[]", 3);  // no result: two arguments
    EXPECT_EQ(page.names, std::vector<std::string>(3, "zelNativeCallback"));
    EXPECT_EQ(page.calls, (std::vector<ArgList>{{"7", 0, Value::object({{"a", 1}})}, {8, 1, "no"}, {3, 0}}));
    EXPECT_EQ(probe.seen.at(0)->params(), Value::parse(R"([{"a":1},2])"));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(PluginControllerTest, UnknownNamesAndHostileArgumentsNeitherAnswerNorThrow) {
    exec("cordovaNothing", "echo", "[1]");
    EXPECT_TRUE(log.lines.empty());
    // The method table is the only way in: no prefix, suffix or case variant reaches a method.
    for (const char* name : {"showSongMenu", "", "echo:", "Echo", "ech"}) exec("cordovaProbe", name, "[]");
    EXPECT_EQ(log.lines.front(), "ERROR: Method 'showSongMenu' not defined in ZEL Plugin 'cordovaProbe'");
    EXPECT_EQ(log.lines.size(), 5u);
    EXPECT_TRUE(page.calls.empty());

    const std::string malformed[] = {"not json", "[\"\xC0\xAF\"]",
                                     std::string(100000, '[') + std::string(100000, ']')};
    for (const std::string& params : malformed) {
        exec("cordovaProbe", "keep", params);
        EXPECT_TRUE(isNil(probe.seen.back()->firstParam())) << params.substr(0, 10);
    }
    exec("cordovaProbe", "throws", "[]");
    EXPECT_TRUE(log.lines.back().starts_with("ERROR: Method 'throws' of ZEL Plugin 'cordovaProbe' failed: "));
}

TEST_F(PluginControllerTest, DeferredAnswersRepeatAndStopWhenTheControllerIsGone) {
    exec("cordovaProbe", "keep", "[]", "r");
    const ZELPluginCommandRef kept = probe.seen.at(0);
    kept->resolve();
    kept->fail(Value("late"));
    EXPECT_EQ(page.calls, (std::vector<ArgList>{{"r", 0}, {"r", 1, "late"}}));
    controller.reset();
    kept->resolve(Value("after"));
    EXPECT_EQ(page.calls.size(), 2u);

    // Commands hold the controller weakly; one not owned by a shared pointer answers nowhere.
    ZELPluginController unshared;
    unshared.setWebView(&page);
    unshared.registerPlugin(probe, "p");
    unshared.exec(Value(1), "p", "echo", "[1]");
    EXPECT_EQ(probe.seen.size(), 2u);
    EXPECT_EQ(page.calls.size(), 2u);
}

}  // namespace
}  // namespace zel
