#include "ui/app/AppDelegate.h"

#include "core/env/ZELEnv.h"
#include "core/log/ZELLog.h"
#include "core/media/ZELMediaKeyCommand.h"
#include "ui/app/ZELApplication.h"

namespace zel {

AppDelegate::AppDelegate(LaunchOptions options, ZELBundle bundle)
    : options_(std::move(options)), bundle_(std::move(bundle)) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::init(Gtk::Application& application) {
    application_ = &application;
    mainViewController_ = std::make_unique<MainViewController>(application, options_, bundle_);
}

void AppDelegate::applicationWillFinishLaunching() {
    zelLog("applicationWillFinishLaunching");
}

void AppDelegate::applicationDidFinishLaunching() {
    Value directories = Value::array();
    for (const auto& dir : ZELEnv::userDataDirectories()) directories.push_back(dir.string());
    zelLog("%@", directories);
    zelLog("applicationDidFinishLaunching");
    ZELMenuPopulator::setInfoSource([this](const std::string& key) { return bundle_.infoValue(key); });
    mainMenu_ = std::make_unique<ZELMainMenuBar>(
        *application_, mainViewController_->mainWindow().headerView(),
        ZELAboutInfo{ZELMenuPopulator::applicationName(),
                     bundle_.infoValue("CFBundleShortVersionString").value_or(""),
                     ZELApplication::kApplicationId, options_.settings.serviceHomeURL});
    mainViewController_->registerURLProtocol();
    mainViewController_->didReady();
    keyTap_ = std::make_unique<SPMediaKeyTap>(this);
    if (SPMediaKeyTap::usesGlobalMediaKeyTap()) {
        keyTap_->startWatchingMediaKeys();
    } else {
        // Media keys then arrive through the application's windows (ZELApplication) and the desktop controls.
        zelLog("Media key monitoring disabled");
    }
    mprisService_ = std::make_unique<ZELMprisService>(this);
    mprisService_->start();
}

void AppDelegate::applicationDidBecomeActive() {
    zelLog("applicationDidBecomeActive");
}
void AppDelegate::applicationDidResignActive() {
    zelLog("applicationDidResignActive");
}

bool AppDelegate::applicationShouldHandleReopen(bool /*hasVisibleWindows*/) {
    mainViewController_->orderFront();
    return true;
}

void AppDelegate::showFeedbackWindow() {
    mainViewController_->showFeedbackWindow();
}

void AppDelegate::mediaKeyTap(SPMediaKeyTap* /*tap*/, const ZELMediaKeyEvent& event) {
    const ZELMediaKeyCommand command = ZELMediaKeyCommand::forEvent(event);
    if (command.unexpected) {
        zelLog(ZELMediaKeyCommand::kUnexpectedEventLog);
        return;
    }
    switch (command.action) {
        case ZELMediaKeyAction::TooglePlayPause:
            mainViewController_->tooglePlayPause();
            break;
        case ZELMediaKeyAction::PlayNextSong:
            mainViewController_->playNextSong();
            break;
        case ZELMediaKeyAction::PlayPreviousSong:
            mainViewController_->playPreviousSong();
            break;
        case ZELMediaKeyAction::None:
            break;
    }
    if (!command.logText.empty()) zelLog("mediaKeyTap %@", command.logText);
}

// The web app knows only a toggle, so Play and Pause toggle too.
void AppDelegate::mprisPlayPause() {
    mediaKeyTap(nullptr, ZELMediaKeyEvent::mediaKey(kMediaKeyPlay, true, false));
}

void AppDelegate::mprisPlay() {
    mprisPlayPause();
}

void AppDelegate::mprisPause() {
    mprisPlayPause();
}

void AppDelegate::mprisNext() {
    mediaKeyTap(nullptr, ZELMediaKeyEvent::mediaKey(kMediaKeyFast, true, false));
}

void AppDelegate::mprisPrevious() {
    mediaKeyTap(nullptr, ZELMediaKeyEvent::mediaKey(kMediaKeyRewind, true, false));
}

void AppDelegate::mprisRaise() {
    mainViewController_->orderFront();
}

}  // namespace zel
