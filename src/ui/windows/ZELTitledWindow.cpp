#include "ui/windows/ZELTitledWindow.h"

#include "core/chrome/ZELChromeGeometry.h"
#include "core/log/ZELLog.h"

namespace zel {
namespace {

// Longer than a popup grab's inactive/active round trip, short enough to look immediate.
constexpr unsigned kResignDelayMs = 150;

sigc::connection* pendingResign = nullptr;

}  // namespace

ZELTitledWindow::ZELTitledWindow() {
    // An empty titlebar keeps client-side decorations (shadow, resize edges) without a visible title bar.
    emptyTitlebar_.set_visible(false);
    set_titlebar(emptyTitlebar_);
    set_hide_on_close(true);

    // Lights relative to the hover region: the region starts at the close button's origin (lower left).
    const chrome::ZELTrafficLights lights = chrome::titledWindowLights(30);
    const double base = lights.close.y;
    const auto inRegion = [base](ZELRect r) { return ZELRect{r.x - 6, r.y - base, r.width, r.height}; };
    trafficLights_.add(closeButton_, inRegion(lights.close));
    trafficLights_.add(miniaturizeButton_, inRegion(lights.minimize));
    trafficLights_.add(zoomButton_, inRegion(lights.zoom));
    closeButton_.setIdentifier("close");
    miniaturizeButton_.setIdentifier("minimize");
    zoomButton_.setIdentifier("zoom");
    closeButton_.signalClicked().connect([this] { performClose(); });
    miniaturizeButton_.signalClicked().connect([this] { performMiniaturize(); });
    zoomButton_.signalClicked().connect([this] { performZoom(); });

    hover_ = Gtk::EventControllerMotion::create();
    hover_->signal_enter().connect([this](double, double) {
        for (auto* b : {&closeButton_, &miniaturizeButton_, &zoomButton_}) b->hoverIn();
    });
    hover_->signal_leave().connect([this] {
        for (auto* b : {&closeButton_, &miniaturizeButton_, &zoomButton_}) b->hoverOut();
    });
    trafficLights_.add_controller(hover_);

    property_is_active().signal_changed().connect([this] { mainWindowChanged(); });
}

ZELTitledWindow::~ZELTitledWindow() {
    pendingResign_.disconnect();
    if (pendingResign == &pendingResign_) pendingResign = nullptr;
}

void ZELTitledWindow::mainWindowChanged() {
    if (is_active()) {
        if (pendingResign) pendingResign->disconnect();
        for (auto* b : {&closeButton_, &miniaturizeButton_, &zoomButton_}) b->setActiveState();
        ZELTrafficLightButton::broadcastMainStatus(true);
        return;
    }
    pendingResign_.disconnect();
    pendingResign_ = Glib::signal_timeout().connect(
        [this] {
            if (!is_active()) {
                for (auto* b : {&closeButton_, &miniaturizeButton_, &zoomButton_}) b->setInactiveState();
                ZELTrafficLightButton::broadcastMainStatus(false);
            }
            return false;
        },
        kResignDelayMs);
    pendingResign = &pendingResign_;
}

void ZELTitledWindow::performClose() {
    zelLog("performCLose");
    if (!windowShouldClose()) return;
    set_visible(false);
}

void ZELTitledWindow::performZoom() {
    if (is_maximized()) {
        unmaximize();
    } else {
        maximize();
    }
}

}  // namespace zel
