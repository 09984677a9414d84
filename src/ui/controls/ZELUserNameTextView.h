// The signed-in user's name: a label that never selects text; a press reports userNameMouseDown to the
// delegate (not owned) instead. Main thread.
#pragma once

#include <gtkmm.h>

namespace zel {

class ZELUserNameTextViewDelegate {
  public:
    virtual ~ZELUserNameTextViewDelegate() = default;
    virtual void userNameMouseDown() {}
};

class ZELUserNameTextView : public Gtk::Label {
  public:
    ZELUserNameTextView();
    void setUserNameDelegate(ZELUserNameTextViewDelegate* delegate) { delegate_ = delegate; }

  private:
    ZELUserNameTextViewDelegate* delegate_ = nullptr;
    Glib::RefPtr<Gtk::GestureClick> click_;
};

}  // namespace zel
