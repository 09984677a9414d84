// The application's delegate: builds the system in its start-up order and handles application-level events
// (reopen, Help, Feedback). Owns the main view controller, the media-key tap and the desktop media controls
// for the life of the process, and handles the media keys from all of them. Main thread only.
#pragma once

#include "core/env/CommandLine.h"
#include "core/env/ZELBundle.h"
#include "platform/media/SPMediaKeyTap.h"
#include "platform/media/ZELMprisService.h"
#include "ui/app/ZELMainMenuBar.h"
#include "ui/controllers/MainViewController.h"

#include <gtkmm.h>

#include <memory>

namespace zel {

class AppDelegate : public SPMediaKeyTapDelegate, public ZELMprisServiceDelegate {
  public:
    AppDelegate(LaunchOptions options, ZELBundle bundle);
    ~AppDelegate();

    // Creates the main view controller (and with it the main window, on screen); needs the toolkit started.
    void init(Gtk::Application& application);

    void applicationWillFinishLaunching();
    void applicationDidFinishLaunching();
    void applicationDidBecomeActive();
    void applicationDidResignActive();
    // A second launch of the program while it runs; the window comes to the front whatever is visible.
    bool applicationShouldHandleReopen(bool hasVisibleWindows);
    void showFeedbackWindow();

    // The media-key handler: key-downs of play/pause, fast-forward and rewind become playback calls on the
    // main view controller; everything else is only logged. tap is null for keys from our own windows.
    void mediaKeyTap(SPMediaKeyTap* tap, const ZELMediaKeyEvent& event) override;

    // ZELMprisServiceDelegate: the desktop's controls act like the matching media keys.
    void mprisPlayPause() override;
    void mprisPlay() override;
    void mprisPause() override;
    void mprisNext() override;
    void mprisPrevious() override;
    void mprisRaise() override;

    MainViewController* mainViewController() { return mainViewController_.get(); }

  private:
    LaunchOptions options_;
    ZELBundle bundle_;
    Gtk::Application* application_ = nullptr;
    std::unique_ptr<MainViewController> mainViewController_;
    std::unique_ptr<ZELMainMenuBar> mainMenu_;
    std::unique_ptr<SPMediaKeyTap> keyTap_;
    std::unique_ptr<ZELMprisService> mprisService_;
};

}  // namespace zel
