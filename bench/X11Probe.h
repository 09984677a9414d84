// Direct access to the test's private X display for what xdotool cannot do: screenshots of the root window,
// a window of the test's own that takes the focus and counts the keys it receives, probing whether a key is
// grabbed by another client, and synthetic key presses through XTest with no helper process in between
// (for latency figures).
//
// Throws std::runtime_error when the display cannot be reached. One thread at a time.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct xcb_connection_t;

namespace zel::test {

struct ScreenRect {
    int x = 0, y = 0, width = 0, height = 0;
};

// 0x00RRGGBB pixels, row by row.
struct Screenshot {
    ScreenRect area;
    std::vector<std::uint32_t> pixels;
    std::uint32_t at(int x, int y) const { return pixels[static_cast<std::size_t>(y) * area.width + x]; }
    // Writes a binary PPM (for looking at a failure).
    void save(const std::string& path) const;
};

// The bounding box (in screen coordinates) of the pixels that differ between two shots of one area.
std::optional<ScreenRect> changedArea(const Screenshot& before, const Screenshot& after);

class X11Probe {
  public:
    X11Probe();
    ~X11Probe();
    X11Probe(const X11Probe&) = delete;
    X11Probe& operator=(const X11Probe&) = delete;

    Screenshot capture(const ScreenRect& area);

    // A mapped top-level window that listens to key events; the caller focuses it.
    std::uint32_t createWindow(const ScreenRect& area, const std::string& title);
    void focus(std::uint32_t window);
    std::uint32_t focusedWindow();
    // Key presses and releases that the window received since the last call.
    int takeKeyEvents(std::uint32_t window);
    // Waits for the next key press in the window; false when none comes within the time.
    bool waitForKeyPress(std::uint32_t window, int timeoutMs);

    // The first key code that produces keysym; 0 when none does.
    unsigned keycodeFor(std::uint32_t keysym);
    // Whether this client could grab the key (any modifiers) on the root window, i.e. no one else holds it.
    // A successful probe grab is released again at once.
    bool canGrabKey(std::uint32_t keysym);

    // A synthetic press or release (XTest), sent at once.
    void fakeKey(std::uint32_t keysym, bool press);
    // Waits until the server has handled everything sent so far.
    void sync();

  private:
    xcb_connection_t* connection_ = nullptr;
    std::uint32_t root_ = 0;
    std::map<std::uint32_t, unsigned> keycodes_;
    std::vector<std::uint32_t> keyEvents_;  // windows of key events read while waiting for replies
};

}  // namespace zel::test
