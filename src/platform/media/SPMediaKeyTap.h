// Takes the keyboard's media keys system-wide, even while another application has the focus, and keeps them
// from reaching other applications; hands every key it takes to its delegate on the main thread.
//
// On X11 the tap is a passive grab of the media keys (for any modifiers) on the root window, held by a
// connection of its own that a thread of its own reads. The grab is synchronous: the keyboard waits for the
// tap thread's decision on each press, so a key that is not taken (interception off) is replayed to the
// focused window unchanged, while a taken one is swallowed at once and posted to the main thread without
// waiting. The thread does nothing else, so the keyboard is never held up for long.
//
// No X display, a Wayland session or keys that another client already grabs are logged and leave those keys
// alone; the program goes on without them. Created, started, stopped and destroyed on the main thread; the
// delegate is not owned and is only ever called on the main thread (never after the tap is destroyed).
#pragma once

#include "core/media/ZELMediaKeyDecoder.h"
#include "core/media/ZELMediaKeyEvent.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

namespace zel {

class SPMediaKeyTap;
class ZELX11KeyGrab;

class SPMediaKeyTapDelegate {
  public:
    virtual ~SPMediaKeyTapDelegate() = default;
    // One call per event taken, in arrival order. tap is null for events that did not come through a tap.
    virtual void mediaKeyTap(SPMediaKeyTap* /*tap*/, const ZELMediaKeyEvent& /*event*/) {}
};

class SPMediaKeyTap {
  public:
    // User default that turns the global tap off.
    static constexpr const char* kIgnoreMediaKeysDefaultsKey = "SPIgnoreMediaKeys";

    // NO when the user default "SPIgnoreMediaKeys" is YES; otherwise YES exactly when the keys can be
    // grabbed: an X11 session whose display accepts a connection. Decided once per process (cheap
    // afterwards).
    static bool usesGlobalMediaKeyTap();

    explicit SPMediaKeyTap(SPMediaKeyTapDelegate* delegate);
    ~SPMediaKeyTap();
    SPMediaKeyTap(const SPMediaKeyTap&) = delete;
    SPMediaKeyTap& operator=(const SPMediaKeyTap&) = delete;

    // Replaces any earlier tap. Logs and leaves the tap stopped when no key could be grabbed.
    void startWatchingMediaKeys();
    // Releases the grab and ends the tap thread. Events already posted are dropped.
    void stopWatchingMediaKeys();

    // Any thread.
    bool shouldInterceptMediaKeyEvents() const;
    void setShouldInterceptMediaKeyEvents(bool intercept);

    // How many physical keys are grabbed; 0 when not watching.
    std::size_t grabbedKeyCount() const { return grabbedKeys_; }

  private:
    // What posted events need to find the tap, if it still exists, on the main thread.
    struct Anchor {
        SPMediaKeyTap* tap = nullptr;
    };

    void eventTapThread();
    // Tap thread: the tap's decision about one grabbed key event; posts what it takes.
    bool tapEventCallback(std::uint32_t keysym, unsigned keycode, bool press);
    void postToMainThread(const ZELMediaKeyEvent& event);
    void handleAndReleaseMediaKeyEvent(const ZELMediaKeyEvent& event);

    SPMediaKeyTapDelegate* delegate_;
    std::shared_ptr<Anchor> anchor_;
    std::unique_ptr<ZELX11KeyGrab> grab_;
    ZELMediaKeyDecoder decoder_;  // tap thread only
    std::thread tapThread_;
    int wakeFd_ = -1;
    std::size_t grabbedKeys_ = 0;
    mutable std::mutex lock_;
    bool shouldInterceptMediaKeyEvents_ = false;
};

}  // namespace zel
