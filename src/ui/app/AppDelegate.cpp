#include "ui/app/AppDelegate.h"

#include "core/env/ZELEnv.h"
#include "core/log/ZELLog.h"

namespace zel {

AppDelegate::AppDelegate(LaunchOptions options, ZELBundle bundle)
    : options_(std::move(options)), bundle_(std::move(bundle)) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::init(Gtk::Application& application) {
    mainViewController_ = std::make_unique<MainViewController>(application, options_, bundle_);
}

void AppDelegate::applicationWillFinishLaunching() { zelLog("applicationWillFinishLaunching"); }

void AppDelegate::applicationDidFinishLaunching() {
    Value directories = Value::array();
    for (const auto& dir : ZELEnv::userDataDirectories()) directories.push_back(dir.string());
    zelLog("%@", directories);
    zelLog("applicationDidFinishLaunching");
    // The main menu is built by the application object (actions and accelerators) before launching ends.
    mainViewController_->registerURLProtocol();
    mainViewController_->didReady();
    // Media keys reach the web app only while its window has focus, through the web page itself.
    zelLog("Media key monitoring disabled");
}

void AppDelegate::applicationDidBecomeActive() { zelLog("applicationDidBecomeActive"); }
void AppDelegate::applicationDidResignActive() { zelLog("applicationDidResignActive"); }

bool AppDelegate::applicationShouldHandleReopen(bool /*hasVisibleWindows*/) {
    mainViewController_->orderFront();
    return true;
}

void AppDelegate::showFeedbackWindow() { mainViewController_->showFeedbackWindow(); }

}  // namespace zel
