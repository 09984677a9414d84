// The program under a WebDriver session (Debian's WebKitWebDriver), as web app developers automate it:
// scripts run in the real page with the real bridge, navigation keeps the bridge, screenshots show the page.
#include "ShellTest.h"
#include "support/Http.h"

#include <gmock/gmock.h>

#include <utility>

namespace zel::test {
namespace {

std::string base64Decode(const std::string& text) {
    static const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    unsigned bits = 0;
    int count = 0;
    for (char c : text) {
        const auto value = alphabet.find(c);
        if (value == std::string::npos) continue;  // padding, line breaks
        bits = (bits << 6) | static_cast<unsigned>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            out += static_cast<char>((bits >> count) & 0xFF);
        }
    }
    return out;
}

unsigned bigEndian32(const std::string& bytes, std::size_t at) {
    unsigned value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = (value << 8) | static_cast<unsigned char>(bytes.at(at + i));
    return value;
}

class WebDriverSession {
  public:
    WebDriverSession(std::uint16_t port, const json& browserOptions) : port_(port) {
        const json capabilities = {
            {"capabilities", {{"alwaysMatch", {{"webkitgtk:browserOptions", browserOptions}}}}}};
        id_ = command("POST", "/session", capabilities)["sessionId"];
    }
    ~WebDriverSession() {
        if (id_.empty()) return;
        try {
            httpRequest(port_, "DELETE", "/session/" + id_);
        } catch (const std::exception&) {
            // The driver is stopped with the test anyway.
        }
    }
    // Ends the session the way a client does when it is done: the driver closes the window.
    HttpResponse end() {
        return httpRequest(port_, "DELETE", "/session/" + std::exchange(id_, std::string()));
    }

    json command(const std::string& method, const std::string& path, const json& body = nullptr) {
        const std::string fullPath = id_.empty() ? path : "/session/" + id_ + path;
        const HttpResponse response = httpRequest(port_, method, fullPath, body.is_null() ? "" : body.dump());
        const json answer = json::parse(response.body);
        if (response.status != 200) throw std::runtime_error(method + " " + path + ": " + response.body);
        return answer["value"];
    }
    json execute(const std::string& script, const json& args = json::array()) {
        return command("POST", "/execute/sync", {{"script", script}, {"args", args}});
    }

  private:
    std::uint16_t port_;
    std::string id_;
};

class WebDriverTest : public ShellTest {};

TEST_F(WebDriverTest, ScriptsNavigationAndScreenshotsWorkInTheRealProgram) {
    const std::uint16_t port = freeLoopbackPort();
    EnvironmentChanges env = environment();
    // A snapshot waits for a composited frame, which never comes with compositing switched off.
    env["WEBKIT_DISABLE_COMPOSITING_MODE"] = std::nullopt;
    Process driver("WebKitWebDriver", {"--port=" + std::to_string(port)}, env);
    ASSERT_TRUE(waitUntil([&] {
        try {
            return httpRequest(port, "GET", "/status").status == 200;
        } catch (const std::runtime_error&) {
            return false;
        }
    }));

    // A driver's session sets the network's proxy from its own capabilities, so the web app's road (bundle,
    // cache) is not in use under WebDriver: the driver loads the test web app from its files.
    const std::string startPage = "file://" + (bundle_ / "www/index.html").string() + "?case=idle";
    WebDriverSession session(
        port, {{"binary", programPath().string()},
               {"args", {"--automation", "--bundle", bundle_.string(), "--start-page", startPage}}});
    EXPECT_EQ(session.command("GET", "/url"), startPage);

    const json seen = session.execute(R"(
        const answers = [];
        window.zelNativeCallback = (id, status, result) => answers.push([id, status, result]);
        const version = JSON.stringify({cacheVersion: arguments[0]});
        zelPlugin.exec('put', 'cordovaAppUpdate', 'putLocalVersion', JSON.stringify([version]));
        zelPlugin.exec('get', 'cordovaAppUpdate', 'getLocalVersion', '[]');
        return {keys: Reflect.ownKeys(zelPlugin), answers, size: [innerWidth, innerHeight]};)",
                                      {"set by \"webdriver\""});
    EXPECT_EQ(seen["keys"], json::array({"exec"}));
    EXPECT_EQ(
        seen["answers"],
        json::parse(
            R"([["get",0,"{\"bundleVersion\":\"0.1.0\",\"cacheVersion\":\"set by \\\"webdriver\\\"\"}"]])"));
    EXPECT_TRUE(
        waitUntil([&] { return readFile(workingDirectory() / "cache_version") == "set by \"webdriver\""; }));

    session.command("POST", "/url",
                    {{"url", "file://" + (bundle_ / "www/second.html").string() + "?case=idle"}});
    EXPECT_EQ(session.execute("return [location.pathname, typeof zelPlugin, Reflect.ownKeys(zelPlugin)]"),
              json::array({(bundle_ / "www/second.html").string(), "object", {"exec"}}));

    const std::string png = base64Decode(session.command("GET", "/screenshot"));
    ASSERT_GT(png.size(), 24u);
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_EQ(png.substr(12, 4), "IHDR");
    EXPECT_EQ(bigEndian32(png, 16), seen["size"][0].get<unsigned>());
    EXPECT_EQ(bigEndian32(png, 20), seen["size"][1].get<unsigned>());

    const HttpResponse ended = session.end();
    EXPECT_EQ(ended.status, 200) << ended.body;
}

}  // namespace
}  // namespace zel::test
