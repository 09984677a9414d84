// The program under a WebDriver session (Debian's WebKitWebDriver): scripts and navigation with the bridge.
#include "App.h"

namespace zel::test {
namespace {

class WebDriver : public App {};

TEST_F(WebDriver, RunsScriptsAndNavigatesInTheRealProgram) {
    GSocketListener* probe = g_socket_listener_new();
    const int port = g_socket_listener_add_any_inet_port(probe, nullptr, nullptr);
    g_object_unref(probe);
    Program driver({"WebKitWebDriver", "--port=" + std::to_string(port)}, environment());
    const std::string base = "http://127.0.0.1:" + std::to_string(port);
    ASSERT_TRUE(waitFor([&] { return httpRequest("GET", base + "/status").status == 200; })) << driver.tail();

    std::string session = base;
    const auto command = [&](const std::string& method, const std::string& path, const json& body = nullptr) {
        const Reply reply = httpRequest(method, session + path, body.is_null() ? "" : body.dump());
        if (reply.status != 200) throw std::runtime_error(method + " " + path + ": " + reply.body);
        return json::parse(reply.body)["value"];
    };
    const auto execute = [&](const std::string& script, const json& args = json::array()) {
        return command("POST", "/execute/sync", {{"script", script}, {"args", args}});
    };
    // A session sets its own proxy, past the web app's road: the driver loads the test page from its files.
    const std::string startPage = "file://" + (bundle_ / "www/index.html").string() + "?case=idle";
    const json options = {
        {"binary", OSTRELLE_PROGRAM},
        {"args", {"--automation", "--bundle", bundle_.string(), "--start-page", startPage}}};
    session +=
        "/session/" +
        command("POST", "/session",
                {{"capabilities", {{"alwaysMatch", {{"webkitgtk:browserOptions", options}}}}}})["sessionId"]
            .get<std::string>();
    EXPECT_EQ(command("GET", "/url"), startPage);

    const json seen = execute(R"(
        const answers = [];
        window.zelNativeCallback = (id, status, result) => answers.push([id, status, result]);
        zelPlugin.exec('put', 'cordovaAppUpdate', 'putLocalVersion', JSON.stringify([JSON.stringify({cacheVersion: arguments[0]})]));
        zelPlugin.exec('get', 'cordovaAppUpdate', 'getLocalVersion', '[]');
        return {keys: Reflect.ownKeys(zelPlugin), answers};)",
                              {"set by \"webdriver\""});
    EXPECT_EQ(seen["keys"], json::array({"exec"}));
    EXPECT_EQ(
        seen["answers"],
        json::parse(
            R"([["get",0,"{\"bundleVersion\":\"0.1.0\",\"cacheVersion\":\"set by \\\"webdriver\\\"\"}"]])"));
    EXPECT_TRUE(waitFor([&] { return readFile(workDir() / "cache_version") == "set by \"webdriver\""; }));

    command("POST", "/url", {{"url", "file://" + (bundle_ / "www/second.html").string() + "?case=idle"}});
    EXPECT_EQ(execute("return [location.pathname, typeof zelPlugin, Reflect.ownKeys(zelPlugin)]"),
              json::array({(bundle_ / "www/second.html").string(), "object", {"exec"}}));

    // Ending the session the way a client does when it is done: the driver closes the window.
    EXPECT_EQ(httpRequest("DELETE", session).status, 200u);
}

}  // namespace
}  // namespace zel::test
