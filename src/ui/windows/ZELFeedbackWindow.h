// The feedback dialog: a multi-line feedback text and a contact line; "发送" is enabled exactly while the
// feedback text is not empty (whitespace counts) and hands both texts, as typed, to the delegate, which
// closes the window. The texts stay for the next opening.
//
// A titled window (title "意见反馈"), created once and reused; closing hides it. The delegate is not owned.
// Main thread only.
#pragma once

#include "ui/controls/ZELPlacedView.h"
#include "ui/windows/ZELDialogChrome.h"
#include "ui/windows/ZELTitledWindow.h"

#include <gtkmm.h>

#include <memory>
#include <string>

namespace zel {

class ZELFeedbackWindowDelegate {
  public:
    virtual ~ZELFeedbackWindowDelegate() = default;
    virtual void submitFeedback(const std::string& /*text*/, const std::string& /*email*/) {}
};

class ZELFeedbackWindow : public ZELTitledWindow {
  public:
    // The content below the title bar is contentWidth x contentHeight.
    ZELFeedbackWindow(int contentWidth, int contentHeight);
    ~ZELFeedbackWindow() override;

    void setFeedbackWindowDelegate(ZELFeedbackWindowDelegate* delegate) { delegate_ = delegate; }
    void submitButtonClick();

  private:
    void controlTextDidChange();
    std::string feedbackText() const;

    ZELFeedbackWindowDelegate* delegate_ = nullptr;
    Gtk::TextView contentText_;
    Gtk::Label placeholder_;
    Gtk::ScrolledWindow contentScroll_;
    Gtk::Overlay contentTextField_;
    Gtk::Entry contactTextField_;
    Gtk::Button submitButton_;
    // Children before their parents, so a parent goes first and lets its children go.
    ZELPlacedView frameView_;
    std::unique_ptr<ZELDialogChrome> chrome_;
};

}  // namespace zel
