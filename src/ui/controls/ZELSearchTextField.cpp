#include "ui/controls/ZELSearchTextField.h"

#include "core/chrome/ZELChromeGeometry.h"
#include "core/log/ZELLog.h"

#include <cmath>

namespace zel {

ZELSearchTextField::ZELSearchTextField() {
    text_.set_placeholder_text("搜索");
    text_.set_enable_undo(true);
    text_.set_truncate_multiline(true);
    text_.add_css_class("ostrelle-search-text");
    text_.set_parent(*this);

    focus_ = Gtk::EventControllerFocus::create();
    focus_->signal_enter().connect([this] {
        zelLog("searchtextfield becomeFirstRespnder %hhd", true);
        if (delegate_) delegate_->showSearchSuggestion();
    });
    focus_->signal_leave().connect([this] {
        editing_ = false;
        zelLog("textDidEndEditing");
        if (delegate_) delegate_->hideSearchSuggestion();
    });
    text_.add_controller(focus_);

    text_.signal_changed().connect([this] {
        if (settingText_) return;
        if (!editing_) {
            editing_ = true;
            zelLog("textDidBeginEditing");
        }
        const std::string now = text_.get_text();
        zelLog("controlTextDidChange: %@", now);
        if (delegate_) {
            delegate_->updateSearchQuery(now);
            delegate_->showSearchSuggestion();
        }
    });

    // Before the text input's own bindings, so Return never reaches its activation.
    keys_ = Gtk::EventControllerKey::create();
    keys_->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    keys_->signal_key_pressed().connect(
        [this](guint keyval, guint, Gdk::ModifierType state) { return handleKey(keyval, state); }, false);
    text_.add_controller(keys_);
}

ZELSearchTextField::~ZELSearchTextField() {
    text_.unparent();
}

void ZELSearchTextField::setText(const std::string& text) {
    settingText_ = true;
    text_.set_text(text);
    settingText_ = false;
}

bool ZELSearchTextField::handleKey(guint keyval, Gdk::ModifierType state) {
    if (keyval == GDK_KEY_Return || keyval == GDK_KEY_KP_Enter || keyval == GDK_KEY_ISO_Enter) {
        const std::string now = text_.get_text();
        if (delegate_) {
            zelLog("submitSearchQuery delegate %@", now);
            delegate_->submitSearchQuery(now);
        }
        return true;
    }
    // Up and Down move the caret to the start or the end, as in a single-line field, instead of moving the
    // focus out of the field (which would hide the suggestions).
    if (keyval == GDK_KEY_Up || keyval == GDK_KEY_KP_Up || keyval == GDK_KEY_Down ||
        keyval == GDK_KEY_KP_Down) {
        text_.set_position(keyval == GDK_KEY_Up || keyval == GDK_KEY_KP_Up ? 0 : -1);
        return true;
    }
    if ((state & Gdk::ModifierType::CONTROL_MASK) != Gdk::ModifierType::CONTROL_MASK) return false;
    int start = 0, end = 0;
    const bool selected = text_.get_selection_bounds(start, end) && start != end;
    switch (gdk_keyval_to_lower(keyval)) {
        case GDK_KEY_z:
            // Undo only when there is something to undo; otherwise the key goes on.
            return text_.activate_action("text.undo");
        case GDK_KEY_x:
            return selected && text_.activate_action("clipboard.cut");
        case GDK_KEY_c:
            return selected && text_.activate_action("clipboard.copy");
        case GDK_KEY_v:
            text_.activate_action("clipboard.paste");
            return true;
        default:
            return false;
    }
}

void ZELSearchTextField::measure_vfunc(Gtk::Orientation orientation, int, int& minimum, int& natural,
                                       int& minimumBaseline, int& naturalBaseline) const {
    minimum = 0;
    natural = orientation == Gtk::Orientation::HORIZONTAL ? 174 : 23;
    minimumBaseline = naturalBaseline = -1;
}

void ZELSearchTextField::size_allocate_vfunc(int, int height, int) {
    const ZELRect r = chrome::flipped(chrome::searchTextRect({0, 0, 174, 23}), height);
    int minW = 0, minH = 0, nat = 0, b1 = 0, b2 = 0;
    text_.measure(Gtk::Orientation::HORIZONTAL, -1, minW, nat, b1, b2);
    text_.measure(Gtk::Orientation::VERTICAL, -1, minH, nat, b1, b2);
    text_.size_allocate(
        Gtk::Allocation(int(r.x), int(r.y), std::max(minW, int(r.width)), std::max(minH, int(r.height))), -1);
}

void ZELSearchTextField::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    background_.paint(snapshot, 0, 0, get_scale_factor());
    snapshot_child(text_, snapshot);
}

}  // namespace zel
