// The application's delegate: builds the system in its start-up order and handles application-level events
// (reopen, Help, Feedback). Owns the main view controller for the life of the process. Main thread only.
#pragma once

#include "core/env/CommandLine.h"
#include "core/env/ZELBundle.h"
#include "ui/controllers/MainViewController.h"

#include <gtkmm.h>

#include <memory>

namespace zel {

class AppDelegate {
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

    MainViewController* mainViewController() { return mainViewController_.get(); }

private:
    LaunchOptions options_;
    ZELBundle bundle_;
    std::unique_ptr<MainViewController> mainViewController_;
};

}  // namespace zel
