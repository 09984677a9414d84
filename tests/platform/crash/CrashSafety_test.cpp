// Kills a refreshing program (cache_refresh_runner: the real controller and downloaders) at random moments,
// many times, against a static file server whose web app keeps changing, and checks after each kill that a
// new start would serve a consistent web app: every web-app path of the stored maps answered with the
// complete file its hashed path names (the published digest of its content is in the name), or everything
// from the bundle; no partial file anywhere a request can reach.
#include "core/cache/CacheURL.h"
#include "core/cache/ZELCacheController.h"
#include "core/fs/Files.h"
#include "core/json/DictionaryJSON.h"
#include "core/support/TestSupport.h"
#include "platform/net/ZELDevServer.h"
#include "platform/publish/ZELPublisher.h"
#include "platform/support/TestHTTPServer.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <string>

extern char** environ;

namespace zel::platform {
namespace {

using Clock = std::chrono::steady_clock;

// Runs the main loop (which serves the files) for a while.
void serveFor(Clock::duration duration) {
    const auto until = Clock::now() + duration;
    test::runUntil([&] { return Clock::now() >= until; });
}

class CrashSafetyTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(fs::writeFileAtomically(bundle / "cache_version", "2014/03/28"));
        ASSERT_TRUE(server.listen(0));
    }

    // Version `n` of a web app: most files change with every version (so every refresh has as much to do as
    // the first), some never; sizes up to a few hundred kilobytes so that kills land inside large writes too.
    void publishVersion(int n) {
        const std::filesystem::path www = scratch.path() / ("www" + std::to_string(n));
        for (int i = 0; i < 40; ++i) {
            const int generation = i % 5 == 0 ? 0 : n;
            const std::size_t size = (i * 7919u) % 300000u;
            std::string body =
                "file " + std::to_string(i) + " generation " + std::to_string(generation) + "\n";
            body.resize(std::max(body.size(), size), static_cast<char>('a' + i % 26));
            const char* ext = i % 4 == 0 ? "js" : i % 4 == 1 ? "css" : i % 4 == 2 ? "png" : "html";
            ASSERT_TRUE(fs::writeFileAtomically(
                www / ("d" + std::to_string(i % 5)) / ("f" + std::to_string(i) + "." + ext), body));
            if (n == 0) {
                ASSERT_TRUE(fs::writeFileAtomically(
                    bundle / "www" / ("d" + std::to_string(i % 5)) / ("f" + std::to_string(i) + "." + ext),
                    body));
            }
        }
        ZELPublisher publisher(www, published, version(n));
        ASSERT_TRUE(publisher.publish()) << publisher.error();
    }
    static std::string version(int n) { return "2015/01/" + std::to_string(1 + n % 28); }

    // Starts the runner; returns its process id.
    pid_t startRunner(const std::string& publishedVersion) {
        const std::string host = server.hostPort();
        const std::string config = "http://" + host + "/player/mac/config";
        std::vector<std::string> args = {
            OSTRELLE_CACHE_REFRESH_RUNNER, work.string(), bundle.string(), host, config, publishedVersion};
        std::vector<char*> argv;
        for (auto& arg : args) argv.push_back(arg.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        pid_t pid = -1;
        EXPECT_EQ(posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        return pid;
    }
    // Serves until the runner ends by itself; its wait status.
    int waitForRunner(pid_t pid) {
        int status = 0;
        EXPECT_TRUE(
            test::runUntil([&] { return waitpid(pid, &status, WNOHANG) == pid; }, std::chrono::seconds(60)));
        return status;
    }

    // What a new start would serve, checked file by file. Returns whether the cache (not the bundle) answers.
    bool expectConsistentStart() {
        // No file the stored maps could name may be partial, whatever maps are stored.
        const std::filesystem::path build = work / "Cache" / server.hostPort() / "player/mac/build";
        if (std::filesystem::exists(build)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(build)) {
                if (!entry.is_regular_file()) continue;
                const std::string name = entry.path().stem().string();
                const std::string digest = name.substr(name.rfind('_') + 1);
                EXPECT_EQ(ZELPublisher::contentDigest(fs::readFile(entry.path()).value_or("")), digest)
                    << "partial file " << entry.path();
            }
        }
        if (const auto version = fs::readFile(work / "cache_version")) {
            EXPECT_TRUE(ZELCacheController::convertCacheVersion(*version))
                << "torn version '" << *version << "'";
        }

        ZELCacheController start(ZELCacheLocations{work, bundle, server.hostPort(), "http://unused"},
                                 nullptr);
        const Value maps = ZELCacheController::getLocalHashMap(work / "cache_hashmap");
        EXPECT_EQ(start.hasLocalHashMap(), !isNil(maps)) << "unreadable cache_hashmap";
        const bool fromCache = !start.cacheOlderThanBundle() && start.hasLocalHashMap();
        if (!fromCache) return false;
        for (const auto& [kind, map] : maps.items()) {
            for (const auto& [path, hashed] : map.items()) {
                const std::string url = "http://" + server.hostPort() + "/player/mac/www" + path;
                const std::optional<std::string> data = start.getLocalDataWithURLRequest(url);
                EXPECT_TRUE(data) << "no file for " << path;
                const std::string name = std::filesystem::path(hashed.get<std::string>()).stem().string();
                if (data) {
                    EXPECT_EQ(ZELPublisher::contentDigest(*data), name.substr(name.rfind('_') + 1)) << path;
                }
            }
        }
        return true;
    }

    test::ScratchDirectory scratch;
    std::filesystem::path work = scratch.path() / "work";
    std::filesystem::path bundle = scratch.path() / "bundle";
    std::filesystem::path published = scratch.path() / "published";
    ZELDevServer server{published};
    test::LogCapture quiet;
};

TEST_F(CrashSafetyTest, EveryStartAfterAKillServesAConsistentWebApp) {
    // Kill moments are counted in requests the server has seen, so they spread over every phase of a refresh
    // (documents, each file, storing the maps) whatever the machine's speed; a few milliseconds more put some
    // of them inside a file's write.
    std::size_t requests = 0;
    server.setRequestLogger([&](const std::string&, const std::string&, int) { ++requests; });
    publishVersion(0);
    const int status = waitForRunner(startRunner(version(0)));
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const std::size_t requestsPerRefresh = requests;
    EXPECT_TRUE(expectConsistentStart());

    std::mt19937 random(20141128);
    int killed = 0, completed = 0, fromCache = 0;
    for (int run = 1; run <= 40; ++run) {
        SCOPED_TRACE("run " + std::to_string(run));
        publishVersion(run);
        const std::size_t killAt =
            requests + std::uniform_int_distribution<std::size_t>(0, requestsPerRefresh)(random);
        const pid_t pid = startRunner(version(run));
        int status = 0;
        bool ended = false;
        test::runUntil([&] {
            ended = ended || waitpid(pid, &status, WNOHANG) == pid;
            return ended || requests >= killAt;
        });
        serveFor(std::chrono::microseconds(std::uniform_int_distribution<long>(0, 3000)(random)));
        if (ended || waitpid(pid, &status, WNOHANG) == pid) {
            ++completed;
        } else {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            ++killed;
        }
        fromCache += expectConsistentStart() ? 1 : 0;
        if (HasFailure()) break;
    }
    // The kills must really have hit refreshes under way.
    EXPECT_GE(killed, 20);
    std::cout << "killed " << killed << ", completed " << completed << ", starts from the cache " << fromCache
              << std::endl;
}

}  // namespace
}  // namespace zel::platform
