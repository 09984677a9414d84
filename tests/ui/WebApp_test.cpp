// The web app at its service's address (a loopback server): origin, cookies, files, links out, the proxy.
#include "App.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

namespace zel::test {
namespace {

using testing::ElementsAre;

const std::string kBundleSecret = "bundle-cache-version-7f3a";  // tests/ui/bundle/cache_version, beside www
const std::string kOutsideSecret = "outside-secret-5d1c";

// The service's API: pings that set cookies, an open and a closed CORS answer, a page for a frame.
void serve(SoupServerMessage* msg, const std::string& path) {
    SoupMessageHeaders* in = soup_server_message_get_request_headers(msg);
    SoupMessageHeaders* out = soup_server_message_get_response_headers(msg);
    const char* cookie = soup_message_headers_get_one(in, "Cookie");
    json body = {{"method", soup_server_message_get_method(msg)}, {"cookie", cookie ? cookie : ""}};
    if (path == "/api/ping") {
        SoupMessageBody* got = soup_server_message_get_request_body(msg);
        body["body"] = std::string(got->data ? got->data : "", got->length);
        if (!cookie) soup_message_headers_append(out, "Set-Cookie", "session=s1; Max-Age=3600; Path=/");
        soup_message_headers_append(out, "Set-Cookie", "seen=1; Max-Age=3600; Path=/");
    } else if (path == "/api/cors-open") {
        soup_message_headers_append(out, "Access-Control-Allow-Origin",
                                    soup_message_headers_get_one(in, "Origin"));
        soup_message_headers_append(out, "Access-Control-Allow-Credentials", "true");
    } else if (path == "/frame") {
        const char* page = "<script>parent.postMessage(typeof window.zelPlugin, '*')</script>";
        return soup_server_message_set_response(msg, "text/html", SOUP_MEMORY_STATIC, page, strlen(page)),
               soup_server_message_set_status(msg, 200, nullptr);
    } else if (path != "/api/cors-closed") {
        return soup_server_message_set_status(msg, 404, nullptr);
    }
    const std::string text = body.dump();
    soup_server_message_set_status(msg, 200, nullptr);
    soup_server_message_set_response(msg, "application/json", SOUP_MEMORY_COPY, text.data(), text.size());
}

void echo(SoupServer*, SoupServerMessage*, const char*, SoupWebsocketConnection* connection, gpointer) {
    g_object_ref(connection);
    g_signal_connect(connection, "message", G_CALLBACK(+[](SoupWebsocketConnection* c, gint type, GBytes* m) {
                         soup_websocket_connection_send_message(c, static_cast<SoupWebsocketDataType>(type),
                                                                m);
                     }),
                     nullptr);
    g_signal_connect(connection, "closed", G_CALLBACK(g_object_unref), nullptr);
}

class WebApp : public App {
  protected:
    // A copy of the test web app with symbolic links out of its folder, and one that stays inside.
    void SetUp() override {
        const fs::path root = home_.path;
        copyBundle();
        fs::create_directories(root / "outside");
        std::ofstream(root / "outside/secret.txt") << kOutsideSecret;
        fs::create_symlink("../../outside/secret.txt", bundle_ / "www/link-out.txt");
        fs::create_directory_symlink(root / "outside", bundle_ / "www/dir-out");
        fs::create_symlink("index.html", bundle_ / "www/alias.html");
        soup_server_add_websocket_handler(service_.server(), "/api/echo", nullptr, nullptr, echo, nullptr,
                                          nullptr);
        pageHost_ = service_.host();
    }
    Loopback service_{serve}, other_{serve}, outside_{serve};
};

TEST_F(WebApp, LivesAtItsServicesAddressAndStaysInItsFolderAndPage) {
    // The bundle's files, files it lacks, and places outside its folder in any spelling.
    std::vector<std::string> served{"js/probe.js", "/player/mac/www/frame.html", "alias.html"};
    std::vector<std::string> missing{"missing.js", "js/missing.js"};
    std::vector<std::string> contained;
    std::istringstream in(
        "..%2fcache_version js%2f..%2f..%2fcache_version ..%5ccache_version %2e%2e/cache_version "
        "/player/mac/cache_version /etc/passwd js/ link-out.txt dir-out/secret.txt "
        "%252e%252e/cache_version nul%00.js ..%c0%afcache_version");
    for (std::string target; in >> target;) contained.push_back(target);
    std::string query = "case=origin&other=" + other_.host() + "&away=http://" + outside_.host() + "/frame";
    for (const auto* list : {&served, &missing, &contained}) {
        for (const std::string& target : *list) {
            char* escaped = g_uri_escape_string(target.c_str(), nullptr, FALSE);
            query += "&target=" + std::string(escaped);
            g_free(escaped);
        }
    }
    launchPage(query);

    const json page = report("origin");
    SCOPED_TRACE(page.dump());
    EXPECT_EQ(page["origin"], "http://" + service_.host());
    EXPECT_EQ(page["get"]["json"]["cookie"], "");
    EXPECT_EQ(page["cookie"], "session=s1; seen=1");  // both Set-Cookie fields arrived
    EXPECT_EQ(page["post"]["json"],
              json::parse(R"({"method":"POST","body":"posted text","cookie":"session=s1; seen=1"})"));
    // Cookies belong to the host, not the port: a credentialed request to the other origin carries them.
    EXPECT_EQ(page["corsOpen"]["json"]["cookie"], "session=s1; seen=1");
    EXPECT_TRUE(page["corsClosed"].contains("error"));  // the answer reached the page's browser, not the page
    EXPECT_EQ(
        page["range"],
        json::parse(R"({"status":206,"contentRange":"bytes 100-199/16044","length":100,"cache":"local"})"));
    EXPECT_EQ(page["beyond"], 416);
    EXPECT_EQ(page["media"], json::parse(R"({"duration":2,"at":1.5})"));
    EXPECT_EQ(page["socket"], "hello over the proxy");
    EXPECT_EQ(page["frame"], "undefined");

    std::map<std::string, json> results;
    for (const json& result : report("scheme")) results[result["target"]] = result;
    for (const std::string& target : served) {
        SCOPED_TRACE(results[target].dump());
        EXPECT_EQ(results[target]["status"], 200);
        EXPECT_EQ(results[target]["cache"], "local");
        EXPECT_EQ(results[target]["headerNames"],
                  json::array({"content-length", "content-type", "x-hy-hashmap-cache"}));
    }
    EXPECT_EQ(results["js/probe.js"]["body"], readFile(bundle_ / "www/js/probe.js").substr(0, 200));
    for (const std::string& target : missing) {  // asked of the service where the folder lacks them
        EXPECT_EQ(results[target]["status"], 404) << target;
        EXPECT_EQ(results[target]["cache"], nullptr) << target;
        service_.expectRequest("/player/mac/www/" + target);
        expectLog("load raw http://" + service_.host() + "/player/mac/www/" + target);
    }
    for (const std::string& target : contained)
        EXPECT_FALSE(results[target]["status"] == 200 && results[target]["cache"] == "local")
            << results[target];
    for (const auto& [target, result] : results) {
        for (const std::string& secret : {kBundleSecret, kOutsideSecret, std::string("root:")})
            EXPECT_EQ(result.value("body", "").find(secret), std::string::npos) << target;
    }
    for (const Loopback::Request& request : service_.requests()) {  // the bundled files never left the disk
        EXPECT_NE(request.path, "/player/mac/www/js/probe.js");
        EXPECT_FALSE(request.path.starts_with("/player/mac/www/index.html")) << request.path;
    }

    // Links, new windows and a script leaving the page open the browser; the page stays.
    const json layout = report("layout");
    const Rect main = mainWindow();
    const long width = layout["width"], height = layout["height"];
    const long left = main.x + main.width - width, top = main.y + main.height - height;  // below the header
    const auto clickQuadrant = [&](int column, int row, const std::string& text) {
        // Moved onto the quadrant until the page sees it there: before its first frame it may miss a move.
        const long x = left + width * (2 * column + 1) / 4, y = top + height * (2 * row + 1) / 4;
        const std::size_t from = app().lines().size();
        const auto hovered = [&] {
            return !reports("hover", from).empty() && reports("hover", from).back() == text;
        };
        for (int nudge = 0; !waitFor(hovered, std::chrono::milliseconds(300)); ++nudge) {
            ASSERT_LT(nudge, 100) << "the page never saw the pointer on " << text;
            xdotool({"mousemove", std::to_string(x + nudge % 2), std::to_string(y)});
        }
        click(x, y);
    };
    const std::size_t before = browserLog().size();
    for (const auto& [column, row, text] :
         {std::tuple{0, 0, "link"}, {1, 0, "new window link"}, {0, 1, "window.open"}}) {
        clickQuadrant(column, row, text);
        EXPECT_TRUE(waitFor([&] { return browserLog().size() > before; })) << text;
    }
    clickQuadrant(1, 1, "still here?");
    const json alive = report("alive"), stayed = report("stayed");
    outside_.expectRequest("/frame");  // asked for: only its answer showed it was outside
    EXPECT_THAT(
        browserLog(),
        ElementsAre("http://external.example.test/link?from=probe", "http://external.example.test/blank",
                    "http://external.example.test/open", "http://" + outside_.host() + "/frame"));
    EXPECT_EQ(stayed, alive);
    EXPECT_EQ(reports("ready").size(), 1u);

    // Another local process cannot use the proxy, whatever it asks for.
    const auto log = nativeLog();
    const auto listening = std::find_if(log.begin(), log.end(), [](const std::string& l) {
        return l.starts_with("web proxy listening on ");
    });
    ASSERT_NE(listening, log.end());
    const std::string proxy = listening->substr(23);
    const std::size_t asked = service_.requests().size();
    EXPECT_EQ(httpRequest("GET", "http://" + service_.host() + "/api/ping", {}, proxy).status, 407u);
    EXPECT_EQ(httpRequest("GET", webAppURL("index.html", "", pageHost_), {}, proxy).status, 407u);
    EXPECT_EQ(service_.requests().size(), asked);

    // The service's cookie outlives the program.
    launchPage("case=origin&pass=again");
    EXPECT_EQ(report("origin")["get"]["json"]["cookie"], "session=s1; seen=1");
}

}  // namespace
}  // namespace zel::test
