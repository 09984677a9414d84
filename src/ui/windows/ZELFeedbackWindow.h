// The feedback dialog: a feedback text and an optional contact, sent to the web app. Created once and reused.
// Main thread only.
#pragma once

#include <gtkmm.h>

#include <string>

namespace zel {

class ZELFeedbackWindowDelegate {
  public:
    virtual ~ZELFeedbackWindowDelegate() = default;
    virtual void submitFeedback(const std::string& /*text*/, const std::string& /*email*/) {}
};

class ZELFeedbackWindow : public Gtk::Window {
  public:
    ZELFeedbackWindow(int contentWidth, int contentHeight);

    void setFeedbackWindowDelegate(ZELFeedbackWindowDelegate* delegate) { delegate_ = delegate; }
    void performClose() { close(); }

  private:
    ZELFeedbackWindowDelegate* delegate_ = nullptr;
    Gtk::Box box_{Gtk::Orientation::VERTICAL, 6};
    Gtk::Entry feedback_, contact_;
    Gtk::Button submit_;
};

}  // namespace zel
