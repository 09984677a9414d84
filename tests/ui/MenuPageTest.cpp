#include "MenuPageTest.h"

#include "Desktop.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace zel::test {
namespace {

constexpr int kRowHeight = 60;

}  // namespace

MenuPageTest::MenuPageTest() {
    bundle_ = testBundle().parent_path() / "menu-bundle";
}

void MenuPageTest::start(const std::vector<std::string>& extraArgs) {
    launch("menus", extraArgs);
    expectReport("ready");
    std::optional<XWindow> window;
    ASSERT_TRUE(waitUntil([&] { return (window = mainWindow()).has_value(); })) << app().tail();
    const WindowGeometry g = windowGeometry(*window);
    // A left click on the blank part of the page tells where the web view's top left is.
    const long x = g.x + g.width / 2, y = g.y + g.height - 80;
    const std::size_t from = app().lineCount();
    leftClick(x, y);
    const json click = expectReport("click", from);
    originX_ = x - click["x"].get<long>();
    originY_ = y - click["y"].get<long>();
}

std::pair<long, long> MenuPageTest::onScreen(long pageX, long pageY) const {
    return {originX_ + pageX, originY_ + pageY};
}

std::pair<long, long> MenuPageTest::rowPoint(int row) const {
    return onScreen(120, kRowHeight * row + kRowHeight / 2);
}

ScreenRect MenuPageTest::openMenu(int row) {
    const auto [x, y] = rowPoint(row);
    const ScreenRect around{static_cast<int>(x) - 40, static_cast<int>(y) - 40, 520, 420};
    const Screenshot before = x_.capture(around);
    const std::size_t from = app().lineCount();
    rightClick(x, y);
    expectReport("menuOpening", from);
    std::optional<ScreenRect> menu;
    const bool shown = waitUntil([&] {
        menu = changedArea(before, x_.capture(around));
        return menu && menu->width > 60 && menu->height > 30;
    });
    if (!shown) throw std::runtime_error("no menu appeared near the click\n" + app().tail());
    return *menu;
}

json MenuPageTest::expectMenuClosed(std::size_t from) {
    return expectReport("menuClosed", from);
}

std::vector<std::string> MenuPageTest::callsSoFar() const {
    std::vector<std::string> calls;
    for (const json& call : reportsSoFar("called")) {
        std::string text = call["name"].get<std::string>() + "(";
        for (std::size_t i = 0; i < call["args"].size(); ++i) {
            if (i) text += ", ";
            text += call["args"][i].dump();
        }
        calls.push_back(text + ")");
    }
    return calls;
}

void MenuPageTest::rightClick(long x, long y) {
    runCommand({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "3"});
}

// Not xdotool's --sync: it waits for pointer motion that never comes when the pointer is already there.
void MenuPageTest::leftClick(long x, long y) {
    runCommand({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"});
}

void MenuPageTest::key(const std::string& keys) {
    std::istringstream names(keys);
    std::string name;
    while (names >> name) pressKey(name);
}

std::string MenuPageTest::gdbusCall(const std::string& method) {
    const CommandResult result =
        runCommand({"gdbus", "call", "--session", "--dest", "org.mpris.MediaPlayer2.ostrelle",
                    "--object-path", "/org/mpris/MediaPlayer2", "--method", method});
    if (result.exitCode != 0) throw std::runtime_error("gdbus call " + method + " failed: " + result.err);
    return result.out;
}

void MenuPageTest::writeDefaults(const std::string& text) {
    const std::filesystem::path dir = std::filesystem::path(home()) / "config" / "Ostrelle";
    std::filesystem::create_directories(dir);
    std::ofstream(dir / "defaults.conf") << text;
}

}  // namespace zel::test
