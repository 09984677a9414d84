#include "ui/controls/ZELUserAvatarView.h"

#include "core/chrome/ZELChromeGeometry.h"

namespace zel {

ZELUserAvatarView::ZELUserAvatarView() : ZELPlacedView(40, 40) {
    const chrome::ZELAvatarLayout layout = chrome::avatarLayout();
    avatarImageView_.setCornerRadius(float(layout.pictureCornerRadius));
    add(avatarImageView_, layout.picture);
    click_ = Gtk::GestureClick::create();
    click_->set_button(GDK_BUTTON_PRIMARY);
    click_->signal_pressed().connect([this](int, double, double) {
        click_->set_state(Gtk::EventSequenceState::CLAIMED);
        if (delegate_) delegate_->userAvatarMouseDown();
    });
    add_controller(click_);
}

void ZELUserAvatarView::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    ZELPlacedView::snapshot_vfunc(snapshot);
    const ZELRect frame = chrome::flipped(chrome::avatarLayout().frame, get_height());
    avatarBg_.paint(snapshot, float(frame.x), float(frame.y), float(frame.width), float(frame.height),
                    get_scale_factor());
}

}  // namespace zel
