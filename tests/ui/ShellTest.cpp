#include "ShellTest.h"

#include "Desktop.h"

#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

namespace zel::test {
namespace {

constexpr std::string_view kReportMarker = " CONSOLE LOG PROBE ";

// The tag and JSON text of a probe report line.
std::optional<std::pair<std::string, std::string>> probeReport(const OutputLine& line) {
    if (line.stream != Stream::Stderr) return std::nullopt;
    const auto at = line.text.find(kReportMarker);
    if (at == std::string::npos) return std::nullopt;
    const auto tagStart = at + kReportMarker.size();
    const auto space = line.text.find(' ', tagStart);
    if (space == std::string::npos) return std::nullopt;
    return std::make_pair(line.text.substr(tagStart, space - tagStart), line.text.substr(space + 1));
}

}  // namespace

std::filesystem::path programPath() {
    return OSTRELLE_PROGRAM;
}
std::filesystem::path testBundle() {
    return OSTRELLE_TEST_BUNDLE;
}

std::string webAppURL(const std::string& page, const std::string& query, const std::string& host) {
    return "http://" + host + "/player/mac/www/" + page + (query.empty() ? "" : "?") + query;
}

std::optional<std::string> nativeLogText(const OutputLine& line, pid_t pid) {
    static const std::regex prefix(R"(^\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3} ostrelle\[(\d+)\] )");
    if (line.stream != Stream::Stderr) return std::nullopt;
    std::smatch m;
    // Only the start of the line is matched, so a megabyte line costs no more than a short one.
    const std::string head = line.text.substr(0, 64);
    if (!std::regex_search(head, m, prefix) || std::stol(m[1].str()) != pid) return std::nullopt;
    return line.text.substr(static_cast<std::size_t>(m.length(0)));
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::vector<std::string> withoutLifecycle(std::vector<std::string> lines) {
    std::erase_if(lines, [](const std::string& text) {
        return text == "applicationDidBecomeActive" || text == "applicationDidResignActive";
    });
    return lines;
}

std::string unknownMethodLine(const std::string& method, const std::string& plugin) {
    return "ERROR: Method '" + method + "' not defined in ZEL Plugin '" + plugin + "'";
}

ShellTest::ShellTest() : home_("ostrelle-ui") {
    for (const char* dir : {"data", "cache", "config"})
        std::filesystem::create_directories(home_.path() + "/" + dir);
}

void ShellTest::TearDown() {
    if (!app_) return;
    app_->stop();
    // The next test's launch must not find this instance still registered on the bus.
    EXPECT_TRUE(waitUntil([] { return !busNameHasOwner(kApplicationId); }))
        << "the program's bus name is still taken after it ended";
}

EnvironmentChanges ShellTest::environment() const {
    return {
        {"XDG_DATA_HOME", dataHome().string()},
        {"XDG_CACHE_HOME", home_.path() + "/cache"},
        {"XDG_CONFIG_HOME", home_.path() + "/config"},
        {"OSTRELLE_BROWSER_LOG", browserLogPath().string()},
    };
}

Process& ShellTest::launchWithArgs(const std::vector<std::string>& args) {
    if (!std::getenv("DISPLAY") || !std::getenv("DBUS_SESSION_BUS_ADDRESS")) {
        throw std::runtime_error("no display or session bus: run through tests/support/with-display.sh");
    }
    if (busNameHasOwner(kApplicationId)) {
        throw std::runtime_error("an instance of the program already runs on this test's session bus");
    }
    app_ = std::make_unique<Process>(programPath().string(), args, environment());
    return *app_;
}

Process& ShellTest::relaunchWithArgs(const std::vector<std::string>& args) {
    app_->stop();
    if (!waitUntil([] { return !busNameHasOwner(kApplicationId); }))
        throw WaitTimeout("the program's bus name is still taken after it ended");
    return launchWithArgs(args);
}

Process& ShellTest::launch(const std::string& testCase, const std::vector<std::string>& extraArgs,
                           const std::string& moreQuery) {
    const std::string query = "case=" + testCase + (moreQuery.empty() ? "" : "&" + moreQuery);
    std::vector<std::string> args{"--console-log",
                                  "--bundle",
                                  bundle_.string(),
                                  "--static-file-host",
                                  pageHost_,
                                  "--start-page",
                                  webAppURL("index.html", query, pageHost_)};
    args.insert(args.end(), extraArgs.begin(), extraArgs.end());
    return launchWithArgs(args);
}

json ShellTest::expectReport(const std::string& tag, std::size_t from, std::size_t* index) {
    const std::size_t at = app_->expectLine(
        [&tag](const OutputLine& line) {
            const auto report = probeReport(line);
            return report && report->first == tag;
        },
        "with the page's report \"" + tag + "\"", from);
    if (index) *index = at;
    return json::parse(probeReport(app_->lines()[at])->second);
}

std::vector<json> ShellTest::reportsSoFar(const std::string& tag) const {
    std::vector<json> found;
    for (const OutputLine& line : app_->lines()) {
        const auto report = probeReport(line);
        if (report && report->first == tag) found.push_back(json::parse(report->second));
    }
    return found;
}

std::size_t ShellTest::expectLog(const std::string& text, std::size_t from) {
    const pid_t pid = app_->pid();
    return app_->expectLine(
        [&](const OutputLine& line) {
            const auto logged = nativeLogText(line, pid);
            return logged && *logged == text;
        },
        "logging \"" + text + "\"", from);
}

std::vector<std::string> ShellTest::nativeLog(std::size_t from, std::size_t to) const {
    std::vector<std::string> texts;
    const auto lines = app_->lines();
    for (std::size_t i = from; i < std::min(to, lines.size()); ++i) {
        if (auto text = nativeLogText(lines[i], app_->pid())) texts.push_back(*text);
    }
    return texts;
}

std::vector<std::string> ShellTest::browserLog() const {
    std::vector<std::string> urls;
    std::istringstream in(readFile(browserLogPath()));
    std::string line;
    while (std::getline(in, line)) urls.push_back(line);
    return urls;
}

}  // namespace zel::test
