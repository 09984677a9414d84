#include "core/bridge/ZELPluginController.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

// Records what reaches it and answers as told; echo resolves with its first argument, keep holds the command.
class ProbePlugin : public ZELPlugin {
  public:
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

class PluginControllerTest : public testing::Test, protected test::BridgeHarness {
  protected:
    void SetUp() override { controller->registerPlugin(probe, "cordovaProbe"); }
    ProbePlugin probe;
};

TEST_F(PluginControllerTest, SynchronousAnswerReachesTheCallback) {
    exec("cordovaProbe", "echo", R"([{"a":1},2])", "7");
    ASSERT_EQ(probe.seen.size(), 1u);
    EXPECT_EQ(probe.seen[0]->defId(), Value("7"));
    EXPECT_EQ(probe.seen[0]->params(), Value::parse(R"([{"a":1},2])"));
    ASSERT_EQ(page.calls.size(), 1u);
    EXPECT_EQ(page.calls[0].name, "zelNativeCallback");
    EXPECT_EQ(page.calls[0].args, (ArgList{"7", 0, Value::object({{"a", 1}})}));

    exec("cordovaProbe", "refuse", "[]", 8);
    EXPECT_EQ(page.calls.back().args, (ArgList{8, 1, "no"}));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(PluginControllerTest, NilResultGivesTwoArguments) {
    exec("cordovaProbe", "echo", "[]", 3);
    ASSERT_EQ(page.calls.size(), 1u);
    EXPECT_EQ(page.calls[0].args, (ArgList{3, 0}));
}

TEST_F(PluginControllerTest, FailureTable) {
    exec("cordovaNothing", "echo", "[1]", 1);
    EXPECT_TRUE(log.lines.empty());
    EXPECT_TRUE(page.calls.empty());

    exec("cordovaProbe", "showSongMenu", "[1]", 2);
    EXPECT_EQ(log.lines, std::vector<std::string>{
                             "ERROR: Method 'showSongMenu' not defined in ZEL Plugin 'cordovaProbe'"});
    EXPECT_TRUE(page.calls.empty());

    // The method table is the only way in: no prefix, suffix or case variant reaches a method.
    for (const char* name : {"", "echo:", "Echo", "ech"}) exec("cordovaProbe", name, "[]", 2);
    EXPECT_EQ(log.lines.size(), 5u);
    EXPECT_TRUE(probe.seen.empty());

    exec("cordovaProbe", "keep", "not json", 4);
    ASSERT_EQ(probe.seen.size(), 1u);
    EXPECT_TRUE(isNil(probe.seen[0]->params()));
    EXPECT_TRUE(isNil(probe.seen[0]->firstParam()));
}

TEST_F(PluginControllerTest, HostileArgumentTextsNeverThrow) {
    const std::string megabyte(1 << 20, 'x');
    exec("cordovaProbe", "echo", "[\"" + megabyte + "\"]", 1);
    ASSERT_EQ(page.calls.size(), 1u);
    EXPECT_EQ(page.calls[0].args.at(2), Value(megabyte));

    exec("cordovaProbe", "keep", std::string(100000, '[') + std::string(100000, ']'), 2);
    exec("cordovaProbe", "keep", megabyte, 3);
    exec("cordovaProbe", "keep", "[\"\xC0\xAF\"]", 4);
    ASSERT_EQ(probe.seen.size(), 4u);  // the echo and the three kept
    for (std::size_t i = 1; i < 4; ++i) EXPECT_TRUE(isNil(probe.seen[i]->params())) << i;

    exec("cordovaProbe", "throws", "[]", 5);
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_TRUE(log.lines[0].starts_with("ERROR: Method 'throws' of ZEL Plugin 'cordovaProbe' failed: "))
        << log.lines[0];
}

TEST_F(PluginControllerTest, DeferredAnswersRepeatAndStopWhenTheControllerIsGone) {
    exec("cordovaProbe", "keep", "[]", "r");
    const ZELPluginCommandRef kept = probe.seen.at(0);
    EXPECT_TRUE(page.calls.empty());
    kept->resolve();
    kept->fail(Value("late"));
    ASSERT_EQ(page.calls.size(), 2u);
    EXPECT_EQ(page.calls[1].args, (ArgList{"r", 1, "late"}));

    controller.reset();
    kept->resolve(Value("after"));
    EXPECT_EQ(page.calls.size(), 2u);
}

// Commands hold the controller weakly; one not owned by a shared pointer must not make exec throw.
TEST(PluginControllerSetupTest, ControllerNotOwnedBySharedPointerAnswersNowhere) {
    ProbePlugin probe;
    ZELPluginController unshared;
    test::RecordingScriptTarget page;
    unshared.setWebView(&page);
    unshared.registerPlugin(probe, "p");
    unshared.exec(Value(1), "p", "echo", "[1]");
    EXPECT_EQ(probe.seen.size(), 1u);
    EXPECT_TRUE(page.calls.empty());
}

}  // namespace
}  // namespace zel
