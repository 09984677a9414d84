#include "App.h"

#include <fstream>
#include <sstream>

namespace zel::test {
namespace {

constexpr const char* kAppId = "org.ostrelle.Ostrelle";
constexpr std::string_view kReport = "CONSOLE LOG PROBE ";

// The JSON text of a probe report with this tag, or "".
std::string reportText(const std::string& line, const std::string& tag) {
    const auto at = line.find(kReport);
    if (at == std::string::npos || line.compare(at + kReport.size(), tag.size() + 1, tag + " ") != 0)
        return {};
    return line.substr(at + kReport.size() + tag.size() + 1);
}

// The text of a native log line of process `pid` ("2026-01-02 03:04:05.678 ostrelle[pid] text"), or nullopt.
std::optional<std::string> logText(const std::string& line, pid_t pid) {
    const std::string who = "ostrelle[" + std::to_string(pid) + "] ";
    if (line.size() < 24 + who.size() || line[4] != '-' || line.compare(24, who.size(), who) != 0) return {};
    return line.substr(24 + who.size());
}

bool busNameOwned(const std::string& name) {
    return App::busCall("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner",
                        {name}) == "(true,)\n";
}

}  // namespace

std::string webAppURL(const std::string& page, const std::string& query, const std::string& host) {
    return "http://" + host + "/player/mac/www/" + page + (query.empty() ? "" : "?") + query;
}

std::string unknownMethod(const std::string& method, const std::string& plugin) {
    return "ERROR: Method '" + method + "' not defined in ZEL Plugin '" + plugin + "'";
}

std::string readFile(const fs::path& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

App::App() {
    for (const char* dir : {"/data", "/cache", "/config"}) fs::create_directories(home_.path + dir);
}

void App::TearDown() {
    if (app_) app_->stop();
    // A next launch on this bus must not find this instance still registered.
    EXPECT_TRUE(waitFor([] { return !busNameOwned(kAppId); })) << "the bus name outlived the program";
}

std::map<std::string, std::optional<std::string>> App::environment() const {
    return {{"XDG_DATA_HOME", dataHome().string()},
            {"XDG_CACHE_HOME", home_.path + "/cache"},
            {"XDG_CONFIG_HOME", home_.path + "/config"},
            {"OSTRELLE_BROWSER_LOG", home_.path + "/browser.log"}};
}

Program& App::launch(const std::vector<std::string>& args) {
    if (app_) app_->stop();
    if (!waitFor([] { return !busNameOwned(kAppId); })) throw std::runtime_error("the bus name is taken");
    std::vector<std::string> argv{OSTRELLE_PROGRAM};
    argv.insert(argv.end(), args.begin(), args.end());
    app_ = std::make_unique<Program>(argv, environment());
    return *app_;
}

Program& App::launchPage(const std::string& query, const std::vector<std::string>& extra) {
    std::vector<std::string> args{"--console-log", "--bundle", bundle_, "--static-file-host", pageHost_};
    args.insert(args.end(), {"--start-page", webAppURL("index.html", query, pageHost_)});
    args.insert(args.end(), extra.begin(), extra.end());
    return launch(args);
}

json App::report(const std::string& tag, std::size_t from, std::size_t* at) {
    const std::size_t line = app_->expectLine(
        [&](const std::string& l) { return !reportText(l, tag).empty(); }, "PROBE " + tag, from);
    if (at) *at = line;
    return json::parse(reportText(app_->lines()[line], tag));
}

std::vector<json> App::reports(const std::string& tag, std::size_t from) const {
    std::vector<json> found;
    for (std::size_t i = from; i < app_->lines().size(); ++i) {
        if (const std::string text = reportText(app_->lines()[i], tag); !text.empty())
            found.push_back(json::parse(text));
    }
    return found;
}

std::size_t App::expectLog(const std::string& text, std::size_t from) {
    return app_->expectLine([&](const std::string& l) { return logText(l, app_->pid()) == text; },
                            "logging \"" + text + "\"", from);
}

std::vector<std::string> App::nativeLog(std::size_t from, std::size_t to) const {
    std::vector<std::string> texts;
    for (std::size_t i = from; i < std::min(to, app_->lines().size()); ++i) {
        const auto text = logText(app_->lines()[i], app_->pid());
        if (text && *text != "applicationDidBecomeActive" && *text != "applicationDidResignActive")
            texts.push_back(*text);
    }
    return texts;
}

std::vector<std::string> App::browserLog() const {
    std::vector<std::string> urls;
    std::istringstream in(readFile(home_.path + "/browser.log"));
    for (std::string line; std::getline(in, line);) urls.push_back(line);
    return urls;
}

std::string App::xdotool(const std::vector<std::string>& args) {
    std::vector<std::string> argv{"xdotool"};
    argv.insert(argv.end(), args.begin(), args.end());
    return run(argv, args[0] != "search");  // search fails when nothing matches
}

std::vector<unsigned long> App::windows(const std::string& title) {
    std::istringstream in(xdotool({"search", "--onlyvisible", "--name", title}));
    std::vector<unsigned long> found;
    for (unsigned long id; in >> id;) found.push_back(id);
    return found;
}

Rect App::geometry(unsigned long window) {
    std::istringstream in(xdotool({"getwindowgeometry", "--shell", std::to_string(window)}));
    std::map<std::string, long> values;
    for (std::string line; std::getline(in, line);) {
        if (const auto eq = line.find('='); eq != std::string::npos)
            values[line.substr(0, eq)] = std::stol(line.substr(eq + 1));
    }
    return {window, values["X"], values["Y"], values["WIDTH"], values["HEIGHT"]};
}

// The top-level window: the toolkit focuses an input-only child of it, which xdotool walks up from.
unsigned long App::focused() {
    return std::stoul("0" + run({"xdotool", "getwindowfocus"}, false));
}

bool App::focus(unsigned long window) {
    xdotool({"windowfocus", std::to_string(window)});
    return waitFor([&] { return focused() == window; });
}

Rect App::mainWindow() {
    Rect best;
    // The largest window titled "Ostrelle": the toolkit maps smaller helper windows with the same title.
    const bool found = waitFor([&] {
        for (unsigned long w : windows("^Ostrelle$")) {
            if (const Rect g = geometry(w); g.width * g.height > best.width * best.height) best = g;
        }
        return best.width > 0;
    });
    if (!found) throw std::runtime_error("no main window\n" + app_->tail());
    return best;
}

// No --sync: it waits for the pointer to move, which it never does when it is already there.
void App::click(long x, long y, int button) {
    xdotool({"mousemove", std::to_string(x), std::to_string(y), "click", std::to_string(button)});
}

void App::keys(const std::string& names) {
    std::istringstream in(names);
    for (std::string name; in >> name;) xdotool({"key", name});
}

std::string App::busCall(const std::string& dest, const std::string& path, const std::string& method,
                         const std::vector<std::string>& args) {
    std::vector<std::string> argv{"gdbus",         "call", "--session", "--dest", dest,
                                  "--object-path", path,   "--method",  method,   "--"};
    argv.insert(argv.end(), args.begin(), args.end());
    return run(argv);
}

void App::action(const std::string& name) {
    busCall(kAppId, "/org/ostrelle/Ostrelle", "org.gtk.Actions.Activate", {name, "[]", "{}"});
}

void App::type(const std::string& text) {
    xdotool({"type", "--delay", "40", "--", text});
}

unsigned long App::focusedWindow(const std::string& title) {
    std::vector<unsigned long> found;
    if (!waitFor([&] { return (found = windows("^" + title + "$")).size() == 1 && focused() == found[0]; }))
        throw std::runtime_error("no single focused window " + title + ", " + std::to_string(found.size()) +
                                 " found");
    return found[0];
}

std::unique_ptr<Program> App::windowManager() {
    auto wm = std::make_unique<Program>(std::vector<std::string>{"openbox", "--sm-disable"});
    // Windows mapped before the window manager runs are taken over without the focus.
    if (!waitFor([] {
            return run({"xprop", "-root"}).find("_NET_SUPPORTING_WM_CHECK") != std::string::npos;
        }))
        throw std::runtime_error("openbox did not start\n" + wm->tail());
    return wm;
}

App::Shot App::shot(const Rect& r) {
    const std::string area = std::to_string(r.width) + "x" + std::to_string(r.height) + "+" +
                             std::to_string(r.x) + "+" + std::to_string(r.y);
    return {r.width, run({"import", "-window", "root", "-crop", area, "-depth", "8", "rgb:-"})};
}

std::uint32_t App::Shot::at(long x, long y) const {
    const auto* p = reinterpret_cast<const unsigned char*>(rgb.data()) + 3 * (y * width + x);
    return std::uint32_t(p[0]) << 16 | p[1] << 8 | p[2];
}

long App::Shot::count(const std::function<bool(std::uint32_t)>& matches) const {
    long n = 0;
    for (long k = 0; k < long(rgb.size() / 3); ++k) n += matches(at(k % width, k / width));
    return n;
}

}  // namespace zel::test
