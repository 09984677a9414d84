#include "Desktop.h"

#include "support/Process.h"

#include <gio/gio.h>

#include <sstream>
#include <stdexcept>

namespace zel::test {
namespace {

std::string xdotool(const std::vector<std::string>& args, bool mustSucceed = true) {
    std::vector<std::string> argv{"xdotool"};
    argv.insert(argv.end(), args.begin(), args.end());
    const CommandResult result = runCommand(argv);
    if (mustSucceed && result.exitCode != 0) {
        std::string command;
        for (const auto& a : argv) command += a + " ";
        throw std::runtime_error(command + "failed: " + result.err);
    }
    return result.out;
}

std::vector<XWindow> parseWindows(const std::string& text) {
    std::vector<XWindow> windows;
    std::istringstream in(text);
    XWindow id;
    while (in >> id) windows.push_back(id);
    return windows;
}

GDBusConnection* sessionBus() {
    GError* error = nullptr;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    if (!bus) {
        const std::string message = error ? error->message : "unknown error";
        g_clear_error(&error);
        throw std::runtime_error("no session bus: " + message);
    }
    return bus;
}

}  // namespace

std::vector<XWindow> visibleWindows(const std::string& titlePattern) {
    // xdotool search exits with 1 when nothing matches.
    return parseWindows(xdotool({"search", "--onlyvisible", "--name", titlePattern}, false));
}

WindowGeometry windowGeometry(XWindow window) {
    WindowGeometry g;
    std::istringstream in(xdotool({"getwindowgeometry", "--shell", std::to_string(window)}));
    std::string line;
    while (std::getline(in, line)) {
        const auto eq = line.find('=');
        if (eq == std::string::npos) continue;
        const std::string key = line.substr(0, eq);
        const long value = std::stol(line.substr(eq + 1));
        if (key == "X") g.x = value;
        if (key == "Y") g.y = value;
        if (key == "WIDTH") g.width = value;
        if (key == "HEIGHT") g.height = value;
    }
    return g;
}

std::optional<XWindow> mainWindow() {
    std::optional<XWindow> best;
    long bestArea = 0;
    for (XWindow w : visibleWindows("^Ostrelle$")) {
        const WindowGeometry g = windowGeometry(w);
        if (g.width * g.height > bestArea) {
            bestArea = g.width * g.height;
            best = w;
        }
    }
    return best;
}

XWindow rootWindow() {
    const CommandResult result = runCommand({"xwininfo", "-root"});
    const auto at = result.out.find("Window id: ");
    if (result.exitCode != 0 || at == std::string::npos) throw std::runtime_error("xwininfo -root failed");
    return std::stoul(result.out.substr(at + 11), nullptr, 0);
}

XWindow focusedWindow() {
    const auto windows = parseWindows(xdotool({"getwindowfocus", "-f"}));
    return windows.empty() ? 0 : windows.front();
}

void focusWindow(XWindow window) {
    xdotool({"windowfocus", std::to_string(window)});
}

void movePointerTo(long x, long y) {
    xdotool({"mousemove", std::to_string(x), std::to_string(y)});
}

// No --sync: it waits for the pointer to change place, which never happens when it is already there; the X
// server handles the move before the click anyway.
void clickAt(long x, long y) {
    xdotool({"mousemove", std::to_string(x), std::to_string(y), "click", "1"});
}

void typeText(const std::string& text) {
    xdotool({"type", "--delay", "40", "--", text});
}

void pressKey(const std::string& key) {
    xdotool({"key", key});
}

bool busNameHasOwner(const std::string& name) {
    GDBusConnection* bus = sessionBus();
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus", "NameHasOwner",
                                                  g_variant_new("(s)", name.c_str()), G_VARIANT_TYPE("(b)"),
                                                  G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    g_object_unref(bus);
    if (!reply) {
        const std::string message = error ? error->message : "unknown error";
        g_clear_error(&error);
        throw std::runtime_error("NameHasOwner failed: " + message);
    }
    gboolean owned = FALSE;
    g_variant_get(reply, "(b)", &owned);
    g_variant_unref(reply);
    return owned;
}

void activateApplicationAction(const std::string& action) {
    GDBusConnection* bus = sessionBus();
    GError* error = nullptr;
    GVariantBuilder noParameters, noPlatformData;
    g_variant_builder_init(&noParameters, G_VARIANT_TYPE("av"));
    g_variant_builder_init(&noPlatformData, G_VARIANT_TYPE("a{sv}"));
    GVariant* reply = g_dbus_connection_call_sync(
        bus, kApplicationId, kApplicationPath, "org.gtk.Actions", "Activate",
        g_variant_new("(sava{sv})", action.c_str(), &noParameters, &noPlatformData), nullptr,
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    g_object_unref(bus);
    if (!reply) {
        const std::string message = error ? error->message : "unknown error";
        g_clear_error(&error);
        throw std::runtime_error("activating app." + action + " failed: " + message);
    }
    g_variant_unref(reply);
}

}  // namespace zel::test
