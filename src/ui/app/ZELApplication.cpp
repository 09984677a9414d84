#include "ui/app/ZELApplication.h"

#include "core/log/ZELLog.h"
#include "platform/browser/BrowserLauncher.h"
#include "platform/media/SPMediaKeyTap.h"
#include "ui/app/AppDelegate.h"

#include <gdk/x11/gdkx.h>

#include <algorithm>
#include <system_error>

namespace zel {

Glib::RefPtr<ZELApplication> ZELApplication::create(const ZELSettings& settings, bool unique) {
    return Glib::make_refptr_for_instance<ZELApplication>(new ZELApplication(settings, unique));
}

ZELApplication::ZELApplication(const ZELSettings& settings, bool unique)
    : Gtk::Application(kApplicationId,
                       unique ? Gio::Application::Flags::NONE : Gio::Application::Flags::NON_UNIQUE),
      settings_(settings) {
    Glib::set_application_name("Ostrelle");
}

void ZELApplication::on_startup() {
    Gtk::Application::on_startup();
    useApplicationIdentity();
    add_action("help", sigc::mem_fun(*this, &ZELApplication::showHelp));
    add_action("feedback", sigc::mem_fun(*this, &ZELApplication::showFeedbackWindow));
    add_action("quit", sigc::mem_fun(*this, &ZELApplication::quit));
    set_accel_for_action("app.quit", "<Control>q");
    set_accel_for_action("app.help", "F1");
    if (delegate_) {
        delegate_->init(*this);
        delegate_->applicationWillFinishLaunching();
    }
}

void ZELApplication::useApplicationIdentity() {
    auto display = Gdk::Display::get_default();
    if (display && !iconSearchPath_.empty()) {
        std::error_code ec;
        if (std::filesystem::is_directory(iconSearchPath_, ec)) {
            Gtk::IconTheme::get_for_display(display)->add_search_path(iconSearchPath_.string());
        }
    }
    Gtk::Window::set_default_icon_name(kApplicationId);
    // The toolkit capitalises the program name for the X11 class; the desktop entry names it exactly.
    if (display && GDK_IS_X11_DISPLAY(display->gobj())) {
        gdk_x11_display_set_program_class(display->gobj(), kApplicationId);
    }
}

void ZELApplication::on_activate() {
    if (!delegate_) return;
    if (!launched_) {
        launched_ = true;
        delegate_->applicationDidFinishLaunching();
        return;
    }
    // A later activation is another launch of the program while this one runs.
    bool visible = false;
    for (Gtk::Window* w : get_windows()) visible = visible || w->get_visible();
    delegate_->applicationShouldHandleReopen(visible);
}

void ZELApplication::on_window_added(Gtk::Window* window) {
    Gtk::Application::on_window_added(window);
    // The window may outlive the application object: every slot is tracked, so it goes with the application.
    window->property_is_active().signal_changed().connect(sigc::track_obj(
        [this] {
            // Focus moving between two of our windows passes through "none active"; settle before deciding.
            Glib::signal_idle().connect_once(sigc::mem_fun(*this, &ZELApplication::updateActive));
        },
        *this));
    auto keys = Gtk::EventControllerKey::create();
    keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    keys->signal_key_pressed().connect(
        sigc::track_obj(
            [this, k = keys.get()](guint keyval, guint keycode, Gdk::ModifierType) {
                sendKeyEvent(keyval, keycode, true, k->get_current_event_time());
                return false;
            },
            *this),
        false);
    keys->signal_key_released().connect(sigc::track_obj(
        [this, k = keys.get()](guint keyval, guint keycode, Gdk::ModifierType) {
            sendKeyEvent(keyval, keycode, false, k->get_current_event_time());
        },
        *this));
    window->add_controller(keys);
}

void ZELApplication::sendKeyEvent(unsigned keyval, unsigned keycode, bool press, std::uint32_t time) {
    if (!delegate_ || SPMediaKeyTap::usesGlobalMediaKeyTap()) return;
    // The web view hands keys the page left alone back to the window, where they pass this filter again,
    // possibly after later events: one event is known by its key, direction and time.
    const SeenKey seen{keycode, press, time};
    if (std::find(seenKeys_.begin(), seenKeys_.end(), seen) != seenKeys_.end()) return;
    seenKeys_[nextSeenKey_] = seen;
    nextSeenKey_ = (nextSeenKey_ + 1) % seenKeys_.size();
    const auto event =
        press ? windowMediaKeys_.press(keyval, keycode) : windowMediaKeys_.release(keyval, keycode);
    if (event) delegate_->mediaKeyTap(nullptr, *event);
}

void ZELApplication::updateActive() {
    bool active = false;
    for (Gtk::Window* w : get_windows()) active = active || w->is_active();
    if (active == active_ || !delegate_) return;
    active_ = active;
    if (active) {
        delegate_->applicationDidBecomeActive();
    } else {
        delegate_->applicationDidResignActive();
    }
}

void ZELApplication::showHelp() {
    zelLog("showHelp");
    platform::openURL(settings_.serviceHomeURL);
}

void ZELApplication::showFeedbackWindow() {
    if (delegate_) delegate_->showFeedbackWindow();
}

}  // namespace zel
