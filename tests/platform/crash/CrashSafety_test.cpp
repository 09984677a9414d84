// Kills a refreshing runner at random moments; a new start must serve whole files from the cache or the
// bundle.
#include "core/cache/ZELCacheController.h"
#include "core/fs/Files.h"
#include "core/support/TestSupport.h"
#include "platform/net/ZELDevServer.h"
#include "platform/publish/ZELPublisher.h"
#include "support/Program.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <signal.h>

#include <random>

namespace zel::platform {
namespace {

std::string digestInName(const std::filesystem::path& path) {
    const std::string name = path.stem().string();
    return name.substr(name.rfind('_') + 1);
}

struct CrashSafetyTest : testing::Test {
    // Version n: most files change with every version, some never; up to 300 kB, so kills land inside writes.
    void publishVersion(int n) {
        const std::filesystem::path www = scratch.path() / ("www" + std::to_string(n));
        for (int i = 0; i < 40; ++i) {
            std::string body =
                "file " + std::to_string(i) + " generation " + std::to_string(i % 5 ? n : 0) + "\n";
            body.resize(std::max<std::size_t>(body.size(), (i * 7919u) % 300000u),
                        static_cast<char>('a' + i % 26));
            const char* ext = i % 4 == 0 ? "js" : i % 4 == 1 ? "css" : i % 4 == 2 ? "png" : "html";
            const std::string path = "d" + std::to_string(i % 5) + "/f" + std::to_string(i) + "." + ext;
            ASSERT_TRUE(fs::writeFileAtomically(www / path, body));
            ASSERT_TRUE(n != 0 || fs::writeFileAtomically(bundle / "www" / path, body));
        }
        ZELPublisher publisher(www, published, version(n));
        ASSERT_TRUE(publisher.publish()) << publisher.error();
    }
    static std::string version(int n) { return "2015/01/" + std::to_string(1 + n % 28); }

    // What a new start would serve, checked file by file. Returns whether the cache (not the bundle) answers.
    bool expectConsistentStart() {
        const std::filesystem::path build = work / "Cache" / server.hostPort() / "player/mac/build";
        std::error_code none;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(build, none)) {
            if (!entry.is_regular_file()) continue;
            EXPECT_EQ(ZELPublisher::contentDigest(*fs::readFile(entry.path())), digestInName(entry.path()));
        }
        const std::string version = fs::readFile(work / "cache_version").value_or("2015/01/01");
        EXPECT_TRUE(ZELCacheController::convertCacheVersion(version)) << "torn version " << version;

        ZELCacheController start(ZELCacheLocations{work, bundle, server.hostPort(), "http://unused"},
                                 nullptr);
        const Value maps = ZELCacheController::getLocalHashMap(work / "cache_hashmap");
        EXPECT_EQ(start.hasLocalHashMap(), !isNil(maps)) << "unreadable cache_hashmap";
        if (start.cacheOlderThanBundle() || !start.hasLocalHashMap()) return false;
        for (const auto& [kind, map] : maps.items()) {
            for (const auto& [path, hashed] : map.items()) {
                const auto data = start.getLocalDataWithURLRequest("http://h/player/mac/www" + path);
                EXPECT_EQ(ZELPublisher::contentDigest(data.value_or("<none>")),
                          digestInName(hashed.get<std::string>()))
                    << path;
            }
        }
        return true;
    }

    test::ScratchDirectory scratch;
    std::filesystem::path work = scratch.path() / "work", bundle = scratch.path() / "bundle",
                          published = scratch.path() / "published";
    ZELDevServer server{published};
    test::LogCapture quiet;
};

TEST_F(CrashSafetyTest, EveryStartAfterAKillServesAConsistentWebApp) {
    ASSERT_TRUE(fs::writeFileAtomically(bundle / "cache_version", "2014/03/28"));
    ASSERT_TRUE(server.listen(0));
    // Kill moments counted in requests (plus a few ms) spread over a refresh whatever the machine's speed.
    std::size_t requests = 0;
    server.setRequestLogger([&](const std::string&, const std::string&, int) { ++requests; });
    std::mt19937 random(20141128);
    std::size_t requestsPerRefresh = 0;
    int killed = 0, fromCache = 0;
    for (int run = 0; run <= 30 && !HasFailure(); ++run) {  // the first run refreshes undisturbed
        SCOPED_TRACE("run " + std::to_string(run));
        publishVersion(run);
        const std::size_t killAt =
            run ? requests + std::uniform_int_distribution<std::size_t>(0, requestsPerRefresh)(random)
                : SIZE_MAX;
        const std::string host = server.hostPort();
        test::Program runner({OSTRELLE_CACHE_REFRESH_RUNNER, work, bundle, host,
                              "http://" + host + "/player/mac/config", version(run)});
        test::waitFor([&] { return runner.ended() || requests >= killAt; });
        const gint64 until = g_get_monotonic_time() + std::uniform_int_distribution<gint64>(0, 3000)(random);
        while (!runner.ended() && g_get_monotonic_time() < until) g_main_context_iteration(nullptr, FALSE);
        killed += runner.ended() ? 0 : 1;
        if (!runner.ended()) kill(runner.pid(), SIGKILL);
        const std::optional<int> status = runner.wait();
        ASSERT_TRUE(status);
        EXPECT_TRUE(run || status == 0);
        requestsPerRefresh = run ? requestsPerRefresh : requests;
        fromCache += expectConsistentStart() ? 1 : 0;
    }
    EXPECT_GE(killed, 15);  // the kills must really have hit refreshes under way
    std::cout << "killed " << killed << ", starts from the cache " << fromCache << std::endl;
}

}  // namespace
}  // namespace zel::platform
