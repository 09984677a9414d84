#include "platform/x11/ZELX11KeyGrab.h"

#include "core/log/ZELLog.h"

#include <xcb/xcb.h>
// The XKB header names a member "explicit", a C++ keyword.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace zel {
namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <class T>
using XReply = std::unique_ptr<T, FreeDeleter>;

std::string keysymName(std::uint32_t keysym) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", keysym);
    return text;
}

// Without it the server reports a held key as release/press pairs, and every repeat looks like a fresh press.
void enableDetectableAutoRepeat(xcb_connection_t* c) {
    XReply<xcb_xkb_use_extension_reply_t> use(xcb_xkb_use_extension_reply(
        c, xcb_xkb_use_extension(c, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION), nullptr));
    if (!use || !use->supported) {
        zelLog("Media key tap: the X server has no XKB; repeats of a held key count as presses");
        return;
    }
    const uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    XReply<xcb_xkb_per_client_flags_reply_t> flags(xcb_xkb_per_client_flags_reply(
        c, xcb_xkb_per_client_flags(c, XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0), nullptr));
    if (!flags || !(flags->value & flag)) {
        zelLog("Media key tap: no detectable auto-repeat; repeats of a held key count as presses");
    }
}

}  // namespace

ZELX11KeyGrab::ZELX11KeyGrab() {
    int screenNumber = 0;
    xcb_connection_t* c = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(c)) {
        xcb_disconnect(c);
        return;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) xcb_screen_next(&screens);
    if (screens.rem == 0) {
        xcb_disconnect(c);
        return;
    }
    connection_ = c;
    root_ = screens.data->root;
    enableDetectableAutoRepeat(c);
}

ZELX11KeyGrab::~ZELX11KeyGrab() {
    if (connection_) xcb_disconnect(connection_);
}

bool ZELX11KeyGrab::displayAvailable() {
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    const bool ok = xcb_connection_has_error(c) == 0;
    xcb_disconnect(c);
    return ok;
}

int ZELX11KeyGrab::fileDescriptor() const {
    return connection_ ? xcb_get_file_descriptor(connection_) : -1;
}

std::size_t ZELX11KeyGrab::grab(const std::vector<std::uint32_t>& keysyms) {
    keysyms_ = keysyms;
    regrab();
    return grabbed_.size();
}

void ZELX11KeyGrab::releaseGrabs() {
    for (const auto& [keycode, keysym] : grabbed_) {
        xcb_ungrab_key(connection_, static_cast<xcb_keycode_t>(keycode), root_, XCB_MOD_MASK_ANY);
    }
    grabbed_.clear();
}

void ZELX11KeyGrab::regrab() {
    if (!connection_) return;
    releaseGrabs();
    const xcb_setup_t* setup = xcb_get_setup(connection_);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    XReply<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
        connection_, xcb_get_keyboard_mapping(connection_, setup->min_keycode, count), nullptr));
    if (!mapping) {
        zelLog("Media key tap: cannot read the keyboard mapping");
        return;
    }
    const xcb_keysym_t* table = xcb_get_keyboard_mapping_keysyms(mapping.get());
    const int perKeycode = mapping->keysyms_per_keycode;
    for (std::uint32_t keysym : keysyms_) {
        bool mapped = false;
        for (int k = 0; k < count; ++k) {
            const xcb_keysym_t* row = table + k * perKeycode;
            if (std::find(row, row + perKeycode, keysym) == row + perKeycode) continue;
            mapped = true;
            const unsigned keycode = setup->min_keycode + k;
            if (grabbed_.count(keycode)) continue;
            // Pointer asynchronous, keyboard synchronous: each press waits for our decision.
            xcb_void_cookie_t cookie = xcb_grab_key_checked(connection_, 1, root_, XCB_MOD_MASK_ANY,
                                                            static_cast<xcb_keycode_t>(keycode),
                                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC);
            if (XReply<xcb_generic_error_t> error{xcb_request_check(connection_, cookie)}) {
                zelLog("Media key tap: key %@ (keysym %@) is grabbed by another client",
                       static_cast<int>(keycode), keysymName(keysym));
                continue;
            }
            grabbed_[keycode] = keysym;
        }
        if (!mapped) zelLog("Media key tap: no key produces keysym %@", keysymName(keysym));
    }
    xcb_flush(connection_);
}

bool ZELX11KeyGrab::dispatch(const Decide& decide) {
    if (!connection_) return false;
    while (XReply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
        switch (event->response_type & 0x7F) {
            case XCB_KEY_PRESS: {
                const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event.get());
                auto it = grabbed_.find(key->detail);
                const bool take = it != grabbed_.end() && decide(it->second, key->detail, true);
                // Replaying a press that arrived while the keyboard was not frozen (a repeat) does nothing.
                xcb_allow_events(connection_, take ? XCB_ALLOW_ASYNC_KEYBOARD : XCB_ALLOW_REPLAY_KEYBOARD,
                                 key->time);
                break;
            }
            case XCB_KEY_RELEASE: {
                const auto* key = reinterpret_cast<const xcb_key_release_event_t*>(event.get());
                auto it = grabbed_.find(key->detail);
                if (it != grabbed_.end()) decide(it->second, key->detail, false);
                break;
            }
            case XCB_MAPPING_NOTIFY: {
                const auto* notify = reinterpret_cast<const xcb_mapping_notify_event_t*>(event.get());
                if (notify->request == XCB_MAPPING_KEYBOARD) regrab();
                break;
            }
            case 0: {
                const auto* error = reinterpret_cast<const xcb_generic_error_t*>(event.get());
                zelLog("Media key tap: X error %@ (request %@)", static_cast<int>(error->error_code),
                       static_cast<int>(error->major_code));
                break;
            }
            default:
                break;
        }
    }
    xcb_flush(connection_);
    if (xcb_connection_has_error(connection_)) {
        zelLog("Media key tap: lost the connection to the X display");
        return false;
    }
    return true;
}

}  // namespace zel
