#include "ui/controls/ZELTrafficLightButton.h"

#include <set>

namespace zel {
namespace {

std::set<ZELTrafficLightButton*>& allButtons() {
    static std::set<ZELTrafficLightButton*> buttons;
    return buttons;
}

}  // namespace

ZELTrafficLightButton::ZELTrafficLightButton() {
    set_focusable(false);
    allButtons().insert(this);
    click_ = Gtk::GestureClick::create();
    click_->set_button(GDK_BUTTON_PRIMARY);
    click_->signal_pressed().connect([this](int, double, double) {
        click_->set_state(Gtk::EventSequenceState::CLAIMED);
        hoverState_ = false;
    });
    click_->signal_released().connect([this](int, double x, double y) {
        hoverState_ = true;
        if (enabled_ && contains(x, y)) clicked_.emit();
    });
    add_controller(click_);
}

ZELTrafficLightButton::~ZELTrafficLightButton() {
    allButtons().erase(this);
}

void ZELTrafficLightButton::setIdentifier(const std::string& identifier) {
    identifier_ = identifier;
    active_ = ZELImage(identifier + "-active-color.tiff");
    hover_ = ZELImage(identifier + "-rollover-color.tiff");
    inactive_ = ZELImage(identifier + "-activenokey-color.tiff");
    // Not yet in an active window: the first main-status change sets the real look.
    auto* window = dynamic_cast<Gtk::Window*>(get_root());
    if (window && window->is_active()) {
        setActiveState();
    } else {
        setInactiveState();
    }
}

void ZELTrafficLightButton::setActiveState() {
    activeState_ = true;
    if (hoverState_) {
        show(Shown::hover);
    } else if (enabled_) {
        show(Shown::active);
    } else {
        setInactiveState();
    }
}

void ZELTrafficLightButton::setInactiveState() {
    activeState_ = false;
    show(Shown::inactive);
}

void ZELTrafficLightButton::hoverIn() {
    hoverState_ = true;
    if (enabled_) {
        show(Shown::hover);
    } else {
        setInactiveState();
    }
}

void ZELTrafficLightButton::hoverOut() {
    hoverState_ = false;
    if (activeState_) {
        setActiveState();
    } else {
        setInactiveState();
    }
}

// Enabling shows the inactive image and disabling the active path, as the windows that disable their
// minimise and zoom buttons expect: a disabled button that is not hovered ends inactive either way.
void ZELTrafficLightButton::setEnabled(bool enabled) {
    enabled_ = enabled;
    if (enabled) {
        setInactiveState();
    } else {
        setActiveState();
    }
}

const char* ZELTrafficLightButton::shownImage() const {
    switch (shown_) {
        case Shown::active:
            return "active";
        case Shown::hover:
            return "rollover";
        case Shown::inactive:
            return "inactive";
        case Shown::none:
            break;
    }
    return "none";
}

void ZELTrafficLightButton::broadcastMainStatus(bool becameMain) {
    for (ZELTrafficLightButton* b : allButtons()) {
        if (becameMain) {
            b->setActiveState();
        } else {
            b->setInactiveState();
        }
    }
}

void ZELTrafficLightButton::show(Shown shown) {
    if (shown_ == shown) return;
    shown_ = shown;
    queue_draw();
}

void ZELTrafficLightButton::measure_vfunc(Gtk::Orientation orientation, int, int& minimum, int& natural,
                                          int& minimumBaseline, int& naturalBaseline) const {
    minimum = 0;
    natural = orientation == Gtk::Orientation::HORIZONTAL ? 14 : 16;
    minimumBaseline = naturalBaseline = -1;
}

void ZELTrafficLightButton::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const ZELImage* image = shown_ == Shown::active     ? &active_
                            : shown_ == Shown::hover    ? &hover_
                            : shown_ == Shown::inactive ? &inactive_
                                                        : nullptr;
    if (image) image->paint(snapshot, 0, 0, float(get_width()), float(get_height()), get_scale_factor());
}

}  // namespace zel
