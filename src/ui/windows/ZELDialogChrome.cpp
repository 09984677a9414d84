#include "ui/windows/ZELDialogChrome.h"

#include "core/chrome/ZELDialogGeometry.h"
#include "ui/support/ZELDisplayStyle.h"

namespace zel {
namespace {

// Entries and buttons at the dialogs' 23 and 25 point heights (the theme's own minimums are taller).
constexpr const char* kDialogCSS = R"css(
window.ostrelle-dialog { background: #ececec; }
window.ostrelle-dialog.solid-csd { padding: 0; border: none; box-shadow: none; border-radius: 0; }
label.ostrelle-titlebar { background: linear-gradient(#ebebeb, #d5d5d5); border-bottom: 1px solid #b4b4b4;
  color: #4d4d4d; font-family: "Hiragino Sans GB", "Noto Sans CJK SC", sans-serif; font-size: 13px; }
window.ostrelle-dialog:backdrop label.ostrelle-titlebar { background: #f6f6f6; color: #a8a8a8; }
entry.ostrelle-field { min-height: 21px; padding: 0 2px; border-radius: 0; font-size: 13px; }
button.ostrelle-textured { min-height: 21px; padding: 0 8px; font-size: 13px; }
scrolledwindow.ostrelle-field { border: 1px solid #b8b8b8; background: white; }
textview.ostrelle-field, textview.ostrelle-field text { font-size: 13px; }
label.ostrelle-placeholder { color: #a0a0a0; font-size: 13px; }
label.ostrelle-link { font-size: 10px; }
label.ostrelle-link link { color: #0b57d0; text-decoration-line: underline; }
)css";

}  // namespace

ZELDialogChrome::ZELDialogChrome(ZELTitledWindow& window, ZELPlacedView& frameView, const std::string& title,
                                 double width, double height)
    : window_(window), frameView_(frameView), width_(width) {
    addDisplayStyle(kDialogCSS);
    window.add_css_class("ostrelle-dialog");
    window.set_title(title);
    window.set_resizable(false);
    titleBar_.set_text(title);
    titleBar_.add_css_class("ostrelle-titlebar");
    frameView.add(titleBar_, chrome::titleBarRect(width, height));
    window.miniaturizeButton().setEnabled(false);
    window.zoomButton().setEnabled(false);
    setFrameHeight(height);
    // A press on any part no control takes moves the window, as on a title bar.
    handle_.set_child(frameView);
    window.set_child(handle_);
}

ZELDialogChrome::~ZELDialogChrome() {
    window_.unset_child();
}

void ZELDialogChrome::layout(double width, double height) {
    frameView_.setFrame(titleBar_, chrome::titleBarRect(width, height));
    frameView_.setFrame(window_.trafficLights(), chrome::titledWindowLights(height).hover);
}

void ZELDialogChrome::addTrafficLights(double height) {
    frameView_.add(window_.trafficLights(), chrome::titledWindowLights(height).hover);
}

void ZELDialogChrome::setFrameHeight(double height) {
    frameView_.set_size_request(int(width_), int(height));
}

}  // namespace zel
