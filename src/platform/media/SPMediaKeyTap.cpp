#include "platform/media/SPMediaKeyTap.h"

#include "core/log/ZELLog.h"
#include "platform/defaults/ZELUserDefaults.h"
#include "platform/x11/ZELX11KeyGrab.h"

#include <glib.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <optional>

namespace zel {

bool SPMediaKeyTap::usesGlobalMediaKeyTap() {
    static const bool uses = [] {
        if (ZELUserDefaults::standardUserDefaults().boolForKey(kIgnoreMediaKeysDefaultsKey)) return false;
        // Under Wayland an X connection (Xwayland) sees keys only while one of its own windows has the focus.
        const char* wayland = std::getenv("WAYLAND_DISPLAY");
        if (wayland && *wayland) return false;
        return ZELX11KeyGrab::displayAvailable();
    }();
    return uses;
}

SPMediaKeyTap::SPMediaKeyTap(SPMediaKeyTapDelegate* delegate)
    : delegate_(delegate), anchor_(std::make_shared<Anchor>(Anchor{this})) {}

SPMediaKeyTap::~SPMediaKeyTap() {
    stopWatchingMediaKeys();
    anchor_->tap = nullptr;
}

void SPMediaKeyTap::startWatchingMediaKeys() {
    stopWatchingMediaKeys();
    setShouldInterceptMediaKeyEvents(true);

    auto grab = std::make_unique<ZELX11KeyGrab>();
    if (!grab->isConnected()) {
        zelLog("Media key tap: cannot connect to the X display; media keys work only in Ostrelle's window");
        return;
    }
    grabbedKeys_ = grab->grab(ZELMediaKeyDecoder::mediaKeysyms());
    if (grabbedKeys_ == 0) {
        zelLog("Media key tap: no media key could be grabbed");
        return;
    }
    wakeFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd_ < 0) {
        zelLog("Media key tap: cannot create the tap thread's wake-up");
        grabbedKeys_ = 0;
        return;
    }
    grab_ = std::move(grab);
    decoder_.reset();
    tapThread_ = std::thread([this] { eventTapThread(); });
    zelLog("Media key tap: watching %@ keys", static_cast<long>(grabbedKeys_));
}

void SPMediaKeyTap::stopWatchingMediaKeys() {
    if (tapThread_.joinable()) {
        const std::uint64_t one = 1;
        if (write(wakeFd_, &one, sizeof one) < 0) zelLog("Media key tap: cannot wake the tap thread");
        tapThread_.join();
    }
    if (wakeFd_ >= 0) {
        close(wakeFd_);
        wakeFd_ = -1;
    }
    grab_.reset();
    grabbedKeys_ = 0;
    // Events posted before the stop find no tap any more.
    anchor_->tap = nullptr;
    anchor_ = std::make_shared<Anchor>(Anchor{this});
}

bool SPMediaKeyTap::shouldInterceptMediaKeyEvents() const {
    std::lock_guard guard(lock_);
    return shouldInterceptMediaKeyEvents_;
}

void SPMediaKeyTap::setShouldInterceptMediaKeyEvents(bool intercept) {
    std::lock_guard guard(lock_);
    shouldInterceptMediaKeyEvents_ = intercept;
}

void SPMediaKeyTap::eventTapThread() {
    const auto decide = [this](std::uint32_t keysym, unsigned keycode, bool press) {
        return tapEventCallback(keysym, keycode, press);
    };
    pollfd fds[2] = {{grab_->fileDescriptor(), POLLIN, 0}, {wakeFd_, POLLIN, 0}};
    while (grab_->dispatch(decide)) {
        if (poll(fds, 2, -1) < 0 && errno != EINTR) {
            zelLog("Media key tap: poll failed; media keys stop");
            return;
        }
        if (fds[1].revents != 0) return;
    }
}

bool SPMediaKeyTap::tapEventCallback(std::uint32_t keysym, unsigned keycode, bool press) {
    const std::optional<ZELMediaKeyEvent> event =
        press ? decoder_.press(keysym, keycode) : decoder_.release(keysym, keycode);
    if (!event || !shouldTakeMediaKeyEvent(*event, shouldInterceptMediaKeyEvents())) return false;
    postToMainThread(*event);
    return true;
}

void SPMediaKeyTap::postToMainThread(const ZELMediaKeyEvent& event) {
    struct Posted {
        std::shared_ptr<Anchor> anchor;
        ZELMediaKeyEvent event;
    };
    // High priority: a key press should not wait behind redraws and other idle work.
    g_idle_add_full(
        G_PRIORITY_HIGH,
        [](gpointer data) -> gboolean {
            const auto* posted = static_cast<const Posted*>(data);
            if (SPMediaKeyTap* tap = posted->anchor->tap) tap->handleAndReleaseMediaKeyEvent(posted->event);
            return G_SOURCE_REMOVE;
        },
        new Posted{anchor_, event}, [](gpointer data) { delete static_cast<Posted*>(data); });
}

void SPMediaKeyTap::handleAndReleaseMediaKeyEvent(const ZELMediaKeyEvent& event) {
    if (delegate_) delegate_->mediaKeyTap(this, event);
}

}  // namespace zel
