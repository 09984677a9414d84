// The application object: one running instance per user session (a second launch activates the running one),
// the start-up order mapped onto the toolkit's startup and activate, application actions (help, feedback,
// quit), and application-wide activation changes. Main thread only.
#pragma once

#include "core/env/ZELSettings.h"
#include "core/media/ZELMediaKeyDecoder.h"

#include <gtkmm.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace zel {

class AppDelegate;

class ZELApplication : public Gtk::Application {
  public:
    static constexpr const char* kApplicationId = "org.ostrelle.Ostrelle";

    // unique: false for runs that must not hand over to an already running instance (automation).
    static Glib::RefPtr<ZELApplication> create(const ZELSettings& settings, bool unique);

    // Not owned; must outlive the run.
    void setDelegate(AppDelegate* delegate) { delegate_ = delegate; }
    AppDelegate* delegate() const { return delegate_; }
    // A folder of icon themes added to the toolkit's search path, so the application icon is found wherever
    // the program is installed (a staging folder, a prefix the desktop does not search, the build tree).
    void setIconSearchPath(std::filesystem::path folder) { iconSearchPath_ = std::move(folder); }

    void showHelp();
    void showFeedbackWindow();

  protected:
    ZELApplication(const ZELSettings& settings, bool unique);
    void on_startup() override;
    void on_activate() override;
    void on_window_added(Gtk::Window* window) override;

  private:
    // The application icon for every window, and the X11 class the desktop entry names.
    void useApplicationIdentity();
    void updateActive();
    // The event filter for key events of our own windows: while the global media-key tap is not in use, media
    // keys go to the delegate's media-key handler, and always on to the window.
    void sendKeyEvent(unsigned keyval, unsigned keycode, bool press, std::uint32_t time);

    const ZELSettings& settings_;
    AppDelegate* delegate_ = nullptr;
    std::filesystem::path iconSearchPath_;
    bool launched_ = false;
    bool active_ = false;
    ZELMediaKeyDecoder windowMediaKeys_;
    struct SeenKey {
        unsigned keycode = 0;
        bool press = false;
        std::uint32_t time = 0;
        bool operator==(const SeenKey&) const = default;
    };
    std::array<SeenKey, 8> seenKeys_{};
    std::size_t nextSeenKey_ = 0;
};

}  // namespace zel
