// The web cache seen from the page, in the real program: the web app comes from the bundle, a refresh from
// the loopback dev server fills the cache, and after the page records the new version and the program
// restarts, the web app comes from the cache; misses are answered by the server itself. The published web app
// is made with ostrelle-publish and served by ostrelle-devserver, the tools the web app's team uses.
#include "Desktop.h"
#include "ShellTest.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <thread>

namespace zel::test {
namespace {

namespace fs = std::filesystem;

const std::string kPublishedVersion = "2099/01/01";
// An answer from disk: its type and length, and the mark, nothing else.
const json kLocalHeaderNames = json::array({"content-length", "content-type", "x-hy-hashmap-cache"});

// Takes one connection on loopback, reads the request, never answers, and notices when the client hangs up.
class SilentServer {
  public:
    SilentServer() {
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
            ::listen(listener_, 4) != 0 ||
            ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
            throw std::runtime_error("cannot listen on loopback");
        }
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { serve(); });
    }
    ~SilentServer() {
        ::shutdown(listener_, SHUT_RDWR);
        ::close(listener_);
        thread_.join();
    }
    std::string hostPort() const { return "127.0.0.1:" + std::to_string(port_); }
    bool requested() const { return requested_; }
    bool hungUp() const { return hungUp_; }

  private:
    void serve() {
        const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) return;
        std::string request;
        char buffer[4096];
        for (;;) {
            const ssize_t n = ::recv(connection, buffer, sizeof buffer, 0);
            if (n <= 0) break;
            request.append(buffer, static_cast<std::size_t>(n));
            if (request.find("\r\n\r\n") != std::string::npos) requested_ = true;
        }
        hungUp_ = true;
        ::close(connection);
    }

    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> requested_{false}, hungUp_{false};
    std::thread thread_;
};

class WebCacheTest : public ShellTest {
  protected:
    void SetUp() override {
        const fs::path root = home();
        fs::copy(testBundle().parent_path() / "cache-bundle", root / "bundle", fs::copy_options::recursive);
        bundle_ = root / "bundle";

        // The published web app differs from the bundled one only in its build mark, and has a file more.
        fs::copy(bundle_ / "www", root / "www", fs::copy_options::recursive);
        std::string probe = readFile(root / "www/js/cache-probe.js");
        probe.replace(probe.find("'bundle'"), 8, "'published'");
        std::ofstream(root / "www/js/cache-probe.js", std::ios::trunc) << probe;
        std::ofstream(root / "www/extra.txt") << "extra file";
        const fs::path tools = programPath().parent_path();
        const CommandResult published =
            runCommand({(tools / "ostrelle-publish").string(), (root / "www").string(),
                        (root / "published").string(), "--version", kPublishedVersion});
        ASSERT_EQ(published.exitCode, 0) << published.err;

        server_ =
            std::make_unique<Process>((tools / "ostrelle-devserver").string(),
                                      std::vector<std::string>{(root / "published").string(), "--port", "0"});
        const std::size_t at = server_->expectLine(
            [](const OutputLine& line) {
                return line.stream == Stream::Stdout && line.text.starts_with("http://");
            },
            "printing its address");
        host_ = server_->lines()[at].text.substr(7);
        pageHost_ = host_;
    }

    std::vector<std::string> args(const std::string& testCase) const {
        return {"--console-log",
                "--bundle",
                bundle_.string(),
                "--static-file-host",
                host_,
                "--config-base-url",
                "http://" + host_ + "/player/mac/config",
                "--start-page",
                webAppURL("index.html", "case=" + testCase, host_)};
    }
    void restart(const std::string& testCase) { relaunchWithArgs(args(testCase)); }
    bool loggedStartingWith(const std::string& prefix) const {
        const auto lines = nativeLog();
        return std::any_of(lines.begin(), lines.end(),
                           [&](const std::string& l) { return l.starts_with(prefix); });
    }
    // The next answer report at or after `from`; `from` moves past it.
    json nextAnswer(std::size_t& from) {
        std::size_t at = 0;
        json answer = expectReport("answer", from, &at);
        from = at + 1;
        return answer;
    }
    static int countOf(const std::vector<json>& answers, const std::string& id) {
        return static_cast<int>(
            std::count_if(answers.begin(), answers.end(), [&](const json& a) { return a["id"] == id; }));
    }

    std::unique_ptr<Process> server_;
    std::string host_;
};

TEST_F(WebCacheTest, TheBundleServesUntilARefreshedCacheIsNewer) {
    launchWithArgs(args("refresh"));
    const json first = expectReport("ready");
    EXPECT_EQ(first["build"], "bundle");
    EXPECT_EQ(first["script"]["status"], 200);
    EXPECT_EQ(first["script"]["cache"], "local");
    EXPECT_EQ(first["script"]["headerNames"], kLocalHeaderNames);
    EXPECT_EQ(first["page"]["cache"], "local");

    // The published version is not in the bundle: it comes from the server through the protocol.
    const json version = expectReport("published");
    EXPECT_EQ(version["status"], 200);
    EXPECT_EQ(version["body"], kPublishedVersion);
    EXPECT_EQ(version["cache"], nullptr);
    EXPECT_TRUE(loggedStartingWith("load raw http://" + host_ + "/player/mac/www/version.txt?"));

    std::size_t from = 0;
    const json refreshed = nextAnswer(from);
    EXPECT_EQ(refreshed, json({{"id", "refresh"}, {"status", 0}, {"argc", 2}, {"result", nullptr}}));
    const json recorded = nextAnswer(from);
    ASSERT_EQ(recorded["id"], "recorded");
    EXPECT_EQ(json::parse(recorded["result"].get<std::string>())["cacheVersion"], kPublishedVersion);
    expectLog("finish download cache file");
    EXPECT_EQ(countOf(reportsSoFar("answer"), "refresh"), 1);
    // The page hears the version at once; the file follows on the disk worker.
    EXPECT_TRUE(
        waitUntil([&] { return readFile(workingDirectory() / "cache_version") == kPublishedVersion; }));

    // The next start serves the published copy from the cache.
    restart("again");
    const json second = expectReport("ready");
    EXPECT_EQ(second["build"], "published");
    EXPECT_EQ(second["script"]["cache"], "local");
    EXPECT_EQ(second["script"]["headerNames"], kLocalHeaderNames);
    EXPECT_TRUE(loggedStartingWith(
        "getLocalData http://" + host_ + "/player/mac/www/js/cache-probe.js " +
        (workingDirectory() / "Cache" / host_ / "player/mac/build/js/cache-probe_").string()));
}

TEST_F(WebCacheTest, EachEndOfARefreshAnswersTheLatestCallOnce) {
    launchWithArgs(args("again"));
    expectReport("ready");
    // The first refresh of a process ends once, when the last of the four documents is in.
    std::size_t from = 0;
    EXPECT_EQ(nextAnswer(from)["id"], "again");
    // The page then asks again: every kind already holds a map, so each of the four documents starts the
    // comparison anew (here each time with the whole web app to fetch, as nothing was stored at start), and
    // each end answers the new call only.
    for (int i = 0; i < 4; ++i) {
        const json answer = nextAnswer(from);
        EXPECT_EQ(answer["id"], "again2") << i;
        EXPECT_EQ(answer["argc"], 2);
    }
    const std::vector<json> answers = reportsSoFar("answer");
    EXPECT_EQ(countOf(answers, "again"), 1);
    EXPECT_EQ(countOf(answers, "again2"), 4);
    // A refresh ends when its queue runs dry (files fetched, maps stored) or when there is nothing to fetch.
    const auto log = nativeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), "finish download cache file") +
                  std::count(log.begin(), log.end(), "0"),
              5);
}

TEST_F(WebCacheTest, AMissIsAnsweredByTheServerItself) {
    launchWithArgs(args("miss"));
    const json miss = expectReport("miss");
    SCOPED_TRACE(miss.dump());
    EXPECT_EQ(miss["missing"]["status"], 404);
    EXPECT_EQ(miss["missing"]["server"], "ostrelle-devserver");
    EXPECT_EQ(miss["missing"]["cacheControl"], "no-cache");
    EXPECT_EQ(miss["missing"]["cache"], nullptr);
    EXPECT_EQ(miss["extra"]["status"], 200);
    EXPECT_EQ(miss["extra"]["body"], "extra file");
    expectLog("load raw http://" + host_ + "/player/mac/www/missing.js");
    expectLog("load raw http://" + host_ + "/player/mac/www/extra.txt");
}

TEST_F(WebCacheTest, LeavingThePageCancelsATransferStillWaiting) {
    SilentServer silent;
    launchWithArgs(args("cancel&stall=" + silent.hostPort()));
    expectReport("waiting");
    ASSERT_TRUE(waitUntil([&] { return silent.requested(); })) << "the file was never asked for";
    expectLog("load raw http://" + silent.hostPort() + "/player/mac/www/stall.js");
    EXPECT_FALSE(silent.hungUp());

    std::optional<XWindow> window;
    ASSERT_TRUE(waitUntil([&] { return (window = mainWindow()).has_value(); }));
    const WindowGeometry geometry = windowGeometry(*window);
    clickAt(geometry.x + geometry.width / 2, geometry.y + geometry.height * 2 / 3);
    expectLog("load cancelled http://" + silent.hostPort() + "/player/mac/www/stall.js");
    EXPECT_TRUE(waitUntil([&] { return silent.hungUp(); })) << "the connection was left open";
}

}  // namespace
}  // namespace zel::test
