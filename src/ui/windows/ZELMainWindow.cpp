#include "ui/windows/ZELMainWindow.h"

#include "core/chrome/ZELChromeGeometry.h"
#include "core/log/ZELLog.h"
#include "ui/support/ZELDisplayStyle.h"

namespace zel {
namespace {

// Transparent outside the drawn shapes; corners, shadow and radius go while maximised, tiled or full screen.
// Without a compositor there is no shadow to draw, and the toolkit's solid frame would make the window larger
// than its content and header: it goes too.
constexpr const char* kChromeCSS = R"css(
window.ostrelle-main { background: transparent; border-radius: 10px 10px 6px 6px; }
window.ostrelle-main.maximized, window.ostrelle-main.fullscreen, window.ostrelle-main.tiled,
window.ostrelle-main.tiled-top, window.ostrelle-main.tiled-bottom, window.ostrelle-main.tiled-left,
window.ostrelle-main.tiled-right { border-radius: 0; box-shadow: none; }
window.ostrelle-main.solid-csd { padding: 0; border: none; box-shadow: none; }
.ostrelle-content { background: white; border-radius: 6px; }
.ostrelle-content.square { border-radius: 0; }
text.ostrelle-search-text { font-family: "Hiragino Sans GB", "Noto Sans CJK SC", sans-serif; font-size: 12px;
  color: #eeeeee; caret-color: #eeeeee; background: none; }
text.ostrelle-search-text > placeholder { color: #8a8d93; }
text.ostrelle-search-text > selection { background-color: #4a6fa5; color: #ffffff; }
label.ostrelle-user-name { font-family: "Hiragino Sans GB", "Noto Sans CJK SC", sans-serif; font-size: 12px;
  color: #eeeeee; }
)css";

constexpr GdkToplevelState kSquareStates =
    GdkToplevelState(GDK_TOPLEVEL_STATE_MAXIMIZED | GDK_TOPLEVEL_STATE_FULLSCREEN | GDK_TOPLEVEL_STATE_TILED |
                     GDK_TOPLEVEL_STATE_TOP_TILED | GDK_TOPLEVEL_STATE_BOTTOM_TILED |
                     GDK_TOPLEVEL_STATE_LEFT_TILED | GDK_TOPLEVEL_STATE_RIGHT_TILED);

}  // namespace

ZELMainWindow::ZELMainWindow(int contentWidth, int contentHeight)
    : headerView_(contentWidth, chrome::kHeaderHeight) {
    addDisplayStyle(kChromeCSS);
    add_css_class("ostrelle-main");
    set_title("Ostrelle");
    const ZELRect frame =
        chrome::frameRectForContentRect({0, 0, double(contentWidth), double(contentHeight)});
    set_default_size(int(frame.width), int(frame.height));

    const chrome::ZELMainWindowLayout l = chrome::mainWindowLayout(
        frame.width, frame.height,
        {double(fullScreenButton_.fitWidth()), double(fullScreenButton_.fitHeight())});
    childContentWrapperView_.add_css_class("ostrelle-content");
    childContentWrapperView_.set_overflow(Gtk::Overflow::HIDDEN);
    childContentWrapperView_.setLayout([this](double w, double h) {
        if (childContentView_) childContentWrapperView_.setFrame(*childContentView_, {0, 0, w, h});
    });
    mainFrameView_.add(headerView_, l.header);
    mainFrameView_.add(childContentWrapperView_, l.content);
    mainFrameView_.setLayout([this](double w, double h) { layoutSubviews(w, h); });
    headerView_.setDelegate(this);

    headerView_.add(trafficLights(), l.lights.hover);
    headerView_.add(fullScreenButton_, l.fullScreenButton);
    headerView_.setLayout([this](double w, double h) {
        headerView_.layoutSubviews(w, h);
        const chrome::ZELMainWindowLayout now = chrome::mainWindowLayout(
            w, h + 50, {double(fullScreenButton_.fitWidth()), double(fullScreenButton_.fitHeight())});
        headerView_.setFrame(fullScreenButton_, now.fullScreenButton);
    });
    fullScreenButton_.signalClicked().connect([this] {
        if (is_fullscreen()) {
            unfullscreen();
        } else {
            fullscreen();
        }
    });

    handle_.set_child(mainFrameView_);
    set_child(handle_);
    // The content area holds the keyboard until the content view arrives: the search field must not take it
    // when the window first shows.
    childContentWrapperView_.set_focusable(true);
    set_focus(childContentWrapperView_);

    property_fullscreened().signal_changed().connect([this] {
        trafficLights().set_visible(!is_fullscreen());
        updateCorners();
    });
    property_maximized().signal_changed().connect([this] { updateCorners(); });
    // A debug line at the first frame, for start-up timing (G_MESSAGES_DEBUG=Ostrelle).
    signal_map().connect([this] {
        if (firstFrame_.connected() || drawn_) return;
        const Glib::RefPtr<Gdk::FrameClock> clock = get_frame_clock();
        if (!clock) return;
        // After the toolkit's own handler, which draws the window.
        firstFrame_ = clock->signal_paint().connect(
            [this] {
                drawn_ = true;
                g_log("Ostrelle", G_LOG_LEVEL_DEBUG, "main window first frame");
                firstFrame_.disconnect();
            },
            true);
    });
    signal_realize().connect([this] {
        surface_ = get_surface() ? get_surface()->gobj() : nullptr;
        if (!surface_ || !GDK_IS_TOPLEVEL(surface_)) return;
        surfaceStateHandler_ = g_signal_connect_swapped(
            surface_, "notify::state", G_CALLBACK(+[](ZELMainWindow* self) { self->updateCorners(); }), this);
    });
    unrealized_ = signal_unrealize().connect([this] { forgetSurface(); });
}

ZELMainWindow::~ZELMainWindow() {
    firstFrame_.disconnect();
    forgetSurface();
}

void ZELMainWindow::forgetSurface() {
    if (surface_ && surfaceStateHandler_) g_signal_handler_disconnect(surface_, surfaceStateHandler_);
    surface_ = nullptr;
    surfaceStateHandler_ = 0;
}

void ZELMainWindow::layoutSubviews(double w, double h) {
    const chrome::ZELMainWindowLayout l = chrome::mainWindowLayout(w, h, {});
    mainFrameView_.setFrame(headerView_, l.header);
    mainFrameView_.setFrame(childContentWrapperView_, l.content);
}

void ZELMainWindow::updateCorners() {
    const bool square = surface_ && GDK_IS_TOPLEVEL(surface_) &&
                        (gdk_toplevel_get_state(GDK_TOPLEVEL(surface_)) & kSquareStates) != 0;
    headerView_.bgView().setSquareCorners(square || is_maximized() || is_fullscreen());
    if (square || is_maximized() || is_fullscreen()) {
        childContentWrapperView_.add_css_class("square");
    } else {
        childContentWrapperView_.remove_css_class("square");
    }
}

void ZELMainWindow::setContentView(Gtk::Widget& view) {
    if (childContentView_ == &view) return;
    if (childContentView_) childContentWrapperView_.remove(*childContentView_);
    childContentView_ = &view;
    zelLog("setContentView");
    childContentWrapperView_.add(view, {0, 0, double(view.get_width()), double(view.get_height())});
    // The page, not the search field, has the keyboard when the window first shows.
    set_focus(view);
}

void ZELMainWindow::updateUserName(const Value& name, const Value& avatarSrc) {
    headerView_.updateUserName(name, avatarSrc);
}

void ZELMainWindow::performClose() {
    if (!windowShouldClose()) return;
    set_visible(false);
}

void ZELMainWindow::historyBack() {
    if (delegate_) delegate_->historyBack();
}
void ZELMainWindow::historyForward() {
    if (delegate_) delegate_->historyForward();
}
void ZELMainWindow::submitSearchQuery(const std::string& query) {
    if (delegate_) delegate_->submitSearchQuery(query);
}
void ZELMainWindow::updateSearchQuery(const std::string& query) {
    if (delegate_) delegate_->updateSearchQuery(query);
}
void ZELMainWindow::showSearchSuggestion() {
    if (delegate_) delegate_->showSearchSuggestion();
}
void ZELMainWindow::hideSearchSuggestion() {
    if (delegate_) delegate_->hideSearchSuggestion();
}
void ZELMainWindow::showLoginWindowButtonClick() {
    if (delegate_) delegate_->showLoginWindowButtonClick();
}
void ZELMainWindow::showRegisterWindowButtonClick() {
    if (delegate_) delegate_->showRegisterWindowButtonClick();
}
void ZELMainWindow::logoutButtonClick() {
    if (delegate_) delegate_->logoutButtonClick();
}

}  // namespace zel
