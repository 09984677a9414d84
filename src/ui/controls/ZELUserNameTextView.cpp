#include "ui/controls/ZELUserNameTextView.h"

namespace zel {

ZELUserNameTextView::ZELUserNameTextView() {
    set_selectable(false);
    set_focusable(false);
    set_xalign(0);
    set_single_line_mode(true);
    add_css_class("ostrelle-user-name");
    click_ = Gtk::GestureClick::create();
    click_->set_button(GDK_BUTTON_PRIMARY);
    click_->signal_pressed().connect([this](int, double, double) {
        click_->set_state(Gtk::EventSequenceState::CLAIMED);
        if (delegate_) delegate_->userNameMouseDown();
    });
    add_controller(click_);
}

}  // namespace zel
