// The test's hands and eyes on the private X display and session bus: windows by name, focus, pointer and
// keyboard (xdotool), and the application's exported actions and bus name (D-Bus).
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zel::test {

using XWindow = unsigned long;

struct WindowGeometry {
    long x = 0, y = 0, width = 0, height = 0;
};

// Mapped windows whose title matches the regular expression.
std::vector<XWindow> visibleWindows(const std::string& titlePattern);
WindowGeometry windowGeometry(XWindow window);
// The program's main window: its largest mapped window titled "Ostrelle"; nullopt while there is none.
std::optional<XWindow> mainWindow();

XWindow rootWindow();
XWindow focusedWindow();
void focusWindow(XWindow window);

void movePointerTo(long x, long y);
void clickAt(long x, long y);
void typeText(const std::string& text);
// One key or chord in xdotool's names ("Return", "ctrl+a").
void pressKey(const std::string& key);

inline constexpr const char* kApplicationId = "org.ostrelle.Ostrelle";
inline constexpr const char* kApplicationPath = "/org/ostrelle/Ostrelle";

bool busNameHasOwner(const std::string& name);
// Activates one of the application's exported actions (org.gtk.Actions), as a desktop shell or gapplication
// would. Throws std::runtime_error when the call fails.
void activateApplicationAction(const std::string& action);

}  // namespace zel::test
