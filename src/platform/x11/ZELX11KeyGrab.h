// A connection of its own to the X display that grabs keys on the root window, for any modifiers, and
// decides about each grabbed press before the keyboard goes on: a key that is taken is swallowed, one that is
// not is replayed to the window that has the focus, as if no grab existed.
//
// Held keys report repeated presses without releases in between (detectable auto-repeat) where the server
// supports it. A change of the keyboard mapping re-grabs the keys at their new key codes. Grabs that another
// client holds already are logged and skipped. All failures are logged; nothing throws.
//
// Not thread-safe: after construction, use it from one thread only (the tap thread).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

struct xcb_connection_t;

namespace zel {

class ZELX11KeyGrab {
  public:
    // Decides about one grabbed key event; true takes (swallows) it. Releases cannot be replayed, so their
    // answer only says whether the caller wants them.
    using Decide = std::function<bool(std::uint32_t keysym, unsigned keycode, bool press)>;

    // Connects to the display named by $DISPLAY; see isConnected().
    ZELX11KeyGrab();
    // Disconnects, which releases every grab.
    ~ZELX11KeyGrab();
    ZELX11KeyGrab(const ZELX11KeyGrab&) = delete;
    ZELX11KeyGrab& operator=(const ZELX11KeyGrab&) = delete;

    // Whether a display accepts a connection at all (a short-lived probe connection).
    static bool displayAvailable();

    bool isConnected() const { return connection_ != nullptr; }
    // Grabs every key code that produces one of the keysyms; returns how many are held.
    std::size_t grab(const std::vector<std::uint32_t>& keysyms);
    std::size_t grabbedCount() const { return grabbed_.size(); }
    // Readable when events may be waiting.
    int fileDescriptor() const;
    // Handles every event that has arrived, calling decide for grabbed keys. False when the connection is
    // lost (the grabs with it).
    bool dispatch(const Decide& decide);

  private:
    void regrab();
    void releaseGrabs();

    xcb_connection_t* connection_ = nullptr;
    std::uint32_t root_ = 0;
    std::vector<std::uint32_t> keysyms_;
    std::map<unsigned, std::uint32_t> grabbed_;  // key code -> keysym
};

}  // namespace zel
