#include "X11Probe.h"

#include <xcb/xcb.h>
#include <xcb/xproto.h>
#include <xcb/xtest.h>

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace zel::test {
namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <class T>
using Reply = std::unique_ptr<T, FreeDeleter>;

}  // namespace

void Screenshot::save(const std::string& path) const {
    std::ofstream out(path, std::ios::binary);
    out << "P6\n" << area.width << " " << area.height << "\n255\n";
    for (std::uint32_t p : pixels) {
        const char rgb[3] = {static_cast<char>(p >> 16), static_cast<char>(p >> 8), static_cast<char>(p)};
        out.write(rgb, 3);
    }
}

std::optional<ScreenRect> changedArea(const Screenshot& before, const Screenshot& after) {
    int left = after.area.width, top = after.area.height, right = -1, bottom = -1;
    for (int y = 0; y < after.area.height; ++y) {
        for (int x = 0; x < after.area.width; ++x) {
            if (before.at(x, y) == after.at(x, y)) continue;
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
    }
    if (right < 0) return std::nullopt;
    return ScreenRect{after.area.x + left, after.area.y + top, right - left + 1, bottom - top + 1};
}

X11Probe::X11Probe() {
    int screenNumber = 0;
    connection_ = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection_)) {
        xcb_disconnect(connection_);
        throw std::runtime_error("cannot connect to the X display");
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int i = 0; i < screenNumber; ++i) xcb_screen_next(&screens);
    root_ = screens.data->root;
}

X11Probe::~X11Probe() {
    xcb_disconnect(connection_);
}

Screenshot X11Probe::capture(const ScreenRect& area) {
    Reply<xcb_get_image_reply_t> image(xcb_get_image_reply(
        connection_,
        xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, static_cast<int16_t>(area.x),
                      static_cast<int16_t>(area.y), static_cast<uint16_t>(area.width),
                      static_cast<uint16_t>(area.height), ~0u),
        nullptr));
    if (!image) throw std::runtime_error("cannot read the screen");
    // A 24-bit visual stores 32 bits per pixel, blue first.
    const auto* data = reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(image.get()));
    Screenshot shot{area, {}};
    shot.pixels.assign(data, data + static_cast<std::size_t>(area.width) * area.height);
    for (std::uint32_t& p : shot.pixels) p &= 0xFFFFFF;
    return shot;
}

std::uint32_t X11Probe::createWindow(const ScreenRect& area, const std::string& title) {
    const std::uint32_t window = xcb_generate_id(connection_);
    const std::uint32_t values[] = {0xFFFFFF, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, root_, static_cast<int16_t>(area.x),
                      static_cast<int16_t>(area.y), static_cast<uint16_t>(area.width),
                      static_cast<uint16_t>(area.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        static_cast<uint32_t>(title.size()), title.data());
    xcb_map_window(connection_, window);
    sync();
    return window;
}

void X11Probe::focus(std::uint32_t window) {
    xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    sync();
}

std::uint32_t X11Probe::focusedWindow() {
    Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    return reply ? reply->focus : 0;
}

int X11Probe::takeKeyEvents(std::uint32_t window) {
    sync();
    while (Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
        const auto type = event->response_type & 0x7F;
        if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
            keyEvents_.push_back(reinterpret_cast<xcb_key_press_event_t*>(event.get())->event);
        }
    }
    const auto count = std::count(keyEvents_.begin(), keyEvents_.end(), window);
    std::erase(keyEvents_, window);
    return static_cast<int>(count);
}

bool X11Probe::waitForKeyPress(std::uint32_t window, int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        while (Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
            if ((event->response_type & 0x7F) != XCB_KEY_PRESS) continue;
            if (reinterpret_cast<xcb_key_press_event_t*>(event.get())->event == window) return true;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        pollfd fd{xcb_get_file_descriptor(connection_), POLLIN, 0};
        poll(&fd, 1, static_cast<int>(left.count()));
    }
}

unsigned X11Probe::keycodeFor(std::uint32_t keysym) {
    if (auto known = keycodes_.find(keysym); known != keycodes_.end()) return known->second;
    const xcb_setup_t* setup = xcb_get_setup(connection_);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    Reply<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
        connection_, xcb_get_keyboard_mapping(connection_, setup->min_keycode, static_cast<uint8_t>(count)),
        nullptr));
    if (!mapping) return 0;
    const xcb_keysym_t* table = xcb_get_keyboard_mapping_keysyms(mapping.get());
    const int per = mapping->keysyms_per_keycode;
    for (int k = 0; k < count; ++k) {
        if (std::find(table + k * per, table + (k + 1) * per, keysym) != table + (k + 1) * per) {
            return keycodes_[keysym] = setup->min_keycode + k;
        }
    }
    return 0;
}

bool X11Probe::canGrabKey(std::uint32_t keysym) {
    const unsigned keycode = keycodeFor(keysym);
    if (keycode == 0) throw std::runtime_error("no key produces the keysym");
    const auto code = static_cast<xcb_keycode_t>(keycode);
    Reply<xcb_generic_error_t> error(
        xcb_request_check(connection_, xcb_grab_key_checked(connection_, 1, root_, XCB_MOD_MASK_ANY, code,
                                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
    if (error) return false;
    xcb_ungrab_key(connection_, code, root_, XCB_MOD_MASK_ANY);
    sync();
    return true;
}

void X11Probe::fakeKey(std::uint32_t keysym, bool press) {
    const unsigned keycode = keycodeFor(keysym);
    if (keycode == 0) throw std::runtime_error("no key produces the keysym");
    xcb_test_fake_input(connection_, press ? XCB_KEY_PRESS : XCB_KEY_RELEASE, static_cast<uint8_t>(keycode),
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_flush(connection_);
}

void X11Probe::sync() {
    Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

}  // namespace zel::test
