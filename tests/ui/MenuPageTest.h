// The fixture of the menu and media-key tests: the real program showing the menu test page
// (menu-bundle/www), with the page's reports, the web view's place on the screen, and the private X display
// for screenshots, key presses and a window of the test's own.
#pragma once

#include "ShellTest.h"
#include "support/X11Probe.h"

#include <optional>
#include <string>
#include <utility>

namespace zel::test {

inline constexpr std::uint32_t kKeysymAudioPlay = 0x1008FF14;
inline constexpr std::uint32_t kKeysymAudioNext = 0x1008FF17;
inline constexpr std::uint32_t kKeysymAudioPrev = 0x1008FF16;

class MenuPageTest : public ShellTest {
  protected:
    MenuPageTest();

    // Starts the program on the test page and waits for it to be ready and located on the screen.
    void start(const std::vector<std::string>& extraArgs = {});

    // The screen point of a page point.
    std::pair<long, long> onScreen(long pageX, long pageY) const;
    // The screen point at the middle of a row of the page (songs 0..2, then the playlist).
    std::pair<long, long> rowPoint(int row) const;

    // Right-clicks the row, waits for the page's request and for a menu to appear on the screen; returns
    // where it appeared.
    ScreenRect openMenu(int row);
    // Waits for the page's report that the menu request has returned (at or after `from`).
    json expectMenuClosed(std::size_t from = 0);
    // The page's "called" reports so far, as "name(arg, ...)" with the arguments' JSON texts.
    std::vector<std::string> callsSoFar() const;

    void rightClick(long x, long y);
    void leftClick(long x, long y);
    void key(const std::string& keys);
    std::string gdbusCall(const std::string& method);

    // Writes the user defaults key file in this test's config folder.
    void writeDefaults(const std::string& text);

    X11Probe x_;
    long originX_ = 0, originY_ = 0;  // the web view's top left on the screen
};

}  // namespace zel::test
