#include "core/plugins/ZELAppUpdatePlugin.h"

#include "core/fs/Files.h"
#include "core/json/HXAddtions.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

struct CacheRecorder : ZELAppUpdatePluginDelegate {
    void refreshWebCache() override { ++refreshes; }
    void clearWebCache() override { ++clears; }
    int refreshes = 0, clears = 0;
};

class AppUpdatePluginTest : public testing::Test, protected test::BridgeHarness {
  protected:
    void SetUp() override {
        plugin.setDelegate(&cache);
        controller->registerPlugin(plugin, "cordovaAppUpdate");
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
    CacheRecorder cache;
    ZELAppUpdatePlugin plugin{"0.1.0", workingDirectory};
};

TEST_F(AppUpdatePluginTest, VersionRoundTrip) {
    call("7", "getLocalVersion");
    ASSERT_EQ(page.calls.size(), 1u);
    EXPECT_EQ(page.calls[0].args, (ArgList{"7", 0, R"({"bundleVersion":"0.1.0","cacheVersion":""})"}));

    call(8, "putLocalVersion", putText(R"({"cacheVersion":"2014/04/01"})"));
    EXPECT_EQ(page.calls.size(), 1u);
    EXPECT_EQ(fs::readFile(workingDirectory / "cache_version"), "2014/04/01");
    call(9, "getLocalVersion");
    EXPECT_EQ(page.calls.back().args.at(2), R"({"bundleVersion":"0.1.0","cacheVersion":"2014/04/01"})");
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(AppUpdatePluginTest, VersionResultEndsAtTheFirstAbsentValue) {
    ASSERT_TRUE(fs::writeFileAtomically(plugin.localVersionFilePath(), "\xFF\xFE"));  // decodes to nothing
    call(1, "getLocalVersion");
    EXPECT_EQ(page.calls.back().args.at(2), R"({"bundleVersion":"0.1.0"})");

    ZELAppUpdatePlugin unversioned(std::nullopt, workingDirectory);
    controller->registerPlugin(unversioned, "cordovaAppUpdate");
    call(2, "getLocalVersion");
    EXPECT_EQ(page.calls.back().args.at(2), "{}");
}

TEST_F(AppUpdatePluginTest, PutLocalVersionIgnoresWrongInput) {
    const std::string wrong[] = {
        "[]",
        "nonsense",
        R"([{"cacheVersion":"2014/04/01"}])",
        putText("not json"),
        putText(R"({"cacheVersion":20140401})"),
        putText(R"({"version":"x"})"),
        putText(std::string(600, '[') + std::string(600, ']')),
    };
    for (const auto& params : wrong) call(1, "putLocalVersion", params);
    EXPECT_FALSE(std::filesystem::exists(plugin.localVersionFilePath()));
    ASSERT_EQ(log.lines.size(), std::size(wrong));
    EXPECT_EQ(log.lines[0], "putLocalVersion: ignored, expected a JSON object text with a text cacheVersion");
    EXPECT_TRUE(page.calls.empty());
}

TEST_F(AppUpdatePluginTest, RefreshAnswersTheLatestKeptCommandEachTime) {
    plugin.didFinishRefreshingWebCache();  // nothing kept yet
    call("a", "refreshWebCache");
    EXPECT_EQ(cache.refreshes, 1);
    EXPECT_TRUE(page.calls.empty());
    plugin.didFinishRefreshingWebCache();
    call("b", "refreshWebCache");
    plugin.didFinishRefreshingWebCache();
    plugin.didFinishRefreshingWebCache();
    call("c", "clearWebCache");
    EXPECT_EQ(cache.clears, 1);
    plugin.setDelegate(nullptr);
    call("d", "refreshWebCache");  // kept even without a delegate
    plugin.didFinishRefreshingWebCache();

    ASSERT_EQ(page.calls.size(), 4u);
    const ArgList expected[] = {{"a", 0}, {"b", 0}, {"b", 0}, {"d", 0}};
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(page.calls[i].args, expected[i]) << i;
}

// The answer runs script, and the script may start the next refresh from inside its callback, replacing the
// command that is being answered.
TEST_F(AppUpdatePluginTest, RefreshStartedFromInsideTheCallback) {
    struct ReenteringPage : test::RecordingScriptTarget {
        void callJavascriptFunc(const std::string& name, const ArgList& params) override {
            RecordingScriptTarget::callJavascriptFunc(name, params);
            if (calls.size() == 1) controller->exec("next", "cordovaAppUpdate", "refreshWebCache", "[]");
        }
        ZELPluginController* controller = nullptr;
    } reentering;
    reentering.controller = controller.get();
    controller->setWebView(&reentering);
    call("first", "refreshWebCache");
    plugin.didFinishRefreshingWebCache();
    plugin.didFinishRefreshingWebCache();
    ASSERT_EQ(reentering.calls.size(), 2u);
    EXPECT_EQ(reentering.calls[1].args, (ArgList{"next", 0}));
}

}  // namespace
}  // namespace zel
