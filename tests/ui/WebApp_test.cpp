// The web app's home in the program: the files it is served from, the addresses it may not leave for, and a
// web process that dies under it.
#include "Desktop.h"
#include "ShellTest.h"
#include "support/Http.h"

#include <signal.h>

#include <fstream>

#include <gmock/gmock.h>

namespace zel::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

const std::string kBundleSecret = "bundle-cache-version-7f3a";  // tests/ui/bundle/cache_version, beside www
const std::string kOutsideSecret = "outside-secret-5d1c";

std::string queryValue(const std::string& text) {
    static const char* hex = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : text) {
        if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~') {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
    return out;
}

class SchemeTest : public ShellTest {
  protected:
    // A copy of the test web app with symbolic links out of its folder, and one that stays inside.
    void SetUp() override {
        const fs::path root = fs::path(home()) / "bundle-copy";
        fs::create_directories(root);
        fs::copy(testBundle(), root / "bundle", fs::copy_options::recursive);
        fs::create_directories(root / "outside");
        std::ofstream(root / "outside" / "secret.txt") << kOutsideSecret;
        fs::create_symlink("../../outside/secret.txt", root / "bundle" / "www" / "link-out.txt");
        fs::create_directory_symlink(root / "outside", root / "bundle" / "www" / "dir-out");
        fs::create_symlink("index.html", root / "bundle" / "www" / "alias.html");
        bundle_ = root / "bundle";
    }
};

TEST_F(SchemeTest, ServesTheWebAppFolderAndNothingOutsideIt) {
    // Files the web app folder lacks are fetched from the static file server: here one on loopback.
    RequestRecorder staticServer;
    pageHost_ = "127.0.0.1:" + std::to_string(staticServer.port());
    const std::vector<std::string> served{"js/probe.js", "/player/mac/www/frame.html", "alias.html"};
    const std::vector<std::string> missing{"missing.js", "js/missing.js"};
    // Addresses that name a place outside the folder, in any spelling, are not answered from disk: the
    // server is asked, and nothing from outside the folder comes back.
    const std::vector<std::string> contained{"..%2fcache_version",
                                             "js%2f..%2f..%2fcache_version",
                                             "..%5ccache_version",
                                             "%2e%2e/cache_version",
                                             "/player/mac/cache_version",
                                             "/etc/passwd",
                                             "js/",
                                             "link-out.txt",
                                             "dir-out/secret.txt",
                                             "%252e%252e/cache_version",
                                             "nul%00.js",
                                             "..%c0%afcache_version"};
    std::string query;
    for (const auto* list : {&served, &missing, &contained}) {
        for (const std::string& target : *list)
            query += (query.empty() ? "target=" : "&target=") + queryValue(target);
    }
    launch("scheme", {}, query);

    std::map<std::string, json> results;
    for (const json& result : expectReport("scheme")) results[result["target"]] = result;
    for (const std::string& target : served) {
        SCOPED_TRACE(results[target].dump());
        EXPECT_EQ(results[target]["status"], 200);
        EXPECT_EQ(results[target]["cache"], "local");
        EXPECT_EQ(results[target]["headerNames"],
                  json::array({"content-length", "content-type", "x-hy-hashmap-cache"}));
    }
    EXPECT_EQ(results["js/probe.js"]["body"], readFile(bundle_ / "www/js/probe.js").substr(0, 200));
    for (const std::string& target : missing) {
        SCOPED_TRACE(results[target].dump());
        EXPECT_EQ(results[target]["status"], 204);  // the server's answer, passed through
        EXPECT_EQ(results[target]["cache"], nullptr);
        staticServer.expectRequest("/player/mac/www/" + target);
    }
    for (const std::string& target : contained) {
        EXPECT_FALSE(results[target]["status"] == 200 && results[target]["cache"] == "local")
            << results[target];
    }
    for (const auto& [target, result] : results) {
        if (!result.contains("body")) continue;
        const std::string body = result["body"];
        EXPECT_EQ(body.find(kBundleSecret), std::string::npos) << target;
        EXPECT_EQ(body.find(kOutsideSecret), std::string::npos) << target;
        EXPECT_EQ(body.find("root:"), std::string::npos) << target;
    }
}

class NavigationTest : public ShellTest {};

TEST_F(NavigationTest, ExternalLinksAndWindowsOpenInTheBrowserAndThePageStays) {
    launch("external");
    const json ready = expectReport("ready");
    const json layout = expectReport("layout");
    const WindowGeometry main = windowGeometry(*mainWindow());
    // The page fills the window below the header; it is split into four quadrants (see probe.js).
    const long width = layout["width"], height = layout["height"];
    const long left = main.x + main.width - width, top = main.y + main.height - height;
    // The pointer is moved onto a quadrant until the page reports it there, then clicked: before its first
    // frame is drawn the page may miss a move, and every move is a new chance.
    const auto clickQuadrant = [&](int column, int row, const std::string& text) {
        const long x = left + width * (2 * column + 1) / 4, y = top + height * (2 * row + 1) / 4;
        const std::size_t from = app().lineCount();
        const auto hovered = [&text](const OutputLine& line) {
            return line.text.find(R"(PROBE hover {"text":")" + text + "\"}") != std::string::npos;
        };
        const auto deadline = Clock::now() + kPatience;
        for (int nudge = 0; !app().waitForLine(hovered, from, std::chrono::milliseconds(300)); ++nudge) {
            if (Clock::now() > deadline)
                throw WaitTimeout("the page never saw the pointer on \"" + text + "\"");
            movePointerTo(x + nudge % 2, y);
        }
        clickAt(x, y);
    };
    const auto expectBrowserOpened = [&](std::size_t count) {
        if (!waitUntil([&] { return browserLog().size() >= count; }))
            throw WaitTimeout("the browser was not opened:\n" + app().tail());
    };

    clickQuadrant(0, 0, "link");
    expectBrowserOpened(1);
    clickQuadrant(1, 0, "new window link");
    expectBrowserOpened(2);
    clickQuadrant(0, 1, "window.open");
    expectBrowserOpened(3);
    clickQuadrant(1, 1, "still here?");
    const json alive = expectReport("alive");

    EXPECT_THAT(browserLog(),
                ElementsAre("http://external.example.test/link?from=probe",
                            "http://external.example.test/blank", "http://external.example.test/open"));
    EXPECT_EQ(alive["loadId"], ready["loadId"]);
    EXPECT_EQ(alive["href"], ready["href"]);
    EXPECT_EQ(alive["type"], "object");
    EXPECT_EQ(reportsSoFar("ready").size(), 1u);
}

TEST_F(NavigationTest, AScriptSendingTheViewOutsideOpensTheBrowserInstead) {
    RequestRecorder outside;
    const std::string away = outside.url("/page/away");
    launch("leave", {}, "away=" + queryValue(away));
    const json alive = expectReport("alive");
    outside.expectRequest("/page/away");
    EXPECT_THAT(browserLog(), ElementsAre(away));
    EXPECT_EQ(alive["type"], "object");
    EXPECT_NE(alive["href"].get<std::string>().find("case=leave"), std::string::npos) << alive;
}

TEST_F(NavigationTest, ACrashedWebProcessIsReloadedWithTheBridge) {
    launch("idle");
    std::size_t at = 0;
    const json first = expectReport("ready", 0, &at);
    const std::vector<pid_t> webProcesses = descendantsNamed(app().pid(), "WebKitWebProces");
    ASSERT_FALSE(webProcesses.empty());
    for (pid_t pid : webProcesses) kill(pid, SIGKILL);

    expectLog("web process ended (crash); reloading", at);
    const json again = expectReport("ready", at + 1);
    EXPECT_NE(again["loadId"], first["loadId"]);
    EXPECT_EQ(again["href"], first["href"]);
    EXPECT_EQ(again["early"]["ownKeys"], json::array({"exec"}));
    EXPECT_TRUE(again["answered"]);
}

}  // namespace
}  // namespace zel::test
