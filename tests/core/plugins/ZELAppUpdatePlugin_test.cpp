#include "core/plugins/ZELAppUpdatePlugin.h"

#include "core/fs/Files.h"
#include "core/json/HXAddtions.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

struct AppUpdatePluginTest : testing::Test, test::BridgeHarness, ZELAppUpdatePluginDelegate {
    AppUpdatePluginTest() {
        plugin.setDelegate(this);
        controller->registerPlugin(plugin, "cordovaAppUpdate");
    }
    void refreshWebCache() override { ++refreshes; }
    void clearWebCache() override { ++clears; }
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
    int refreshes = 0, clears = 0, reenter = 0;
};

TEST_F(AppUpdatePluginTest, VersionRoundTripIgnoringWrongInput) {
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
TEST_F(AppUpdatePluginTest, QueuedVersionWritesKeepTheirOrder) {
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

TEST_F(AppUpdatePluginTest, RefreshAnswersTheLatestKeptCommandEachTime) {
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
    EXPECT_EQ(refreshes, 2);
    EXPECT_EQ(clears, 1);
}

}  // namespace
}  // namespace zel
