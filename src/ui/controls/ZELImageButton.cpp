#include "ui/controls/ZELImageButton.h"

#include <algorithm>

namespace zel {

ZELImageButton::ZELImageButton(const std::string& imageName) : image_(imageName) {
    set_focusable(false);
    click_ = Gtk::GestureClick::create();
    click_->set_button(GDK_BUTTON_PRIMARY);
    // Claimed, so a press here never moves or zooms the window.
    click_->signal_pressed().connect(
        [this](int, double, double) { click_->set_state(Gtk::EventSequenceState::CLAIMED); });
    click_->signal_released().connect([this](int, double x, double y) {
        if (contains(x, y)) clicked_.emit();
    });
    add_controller(click_);
}

void ZELImageButton::setTitle(const std::string& title, const ZELColor& color, double points) {
    title_ = create_pango_layout(title);
    Pango::FontDescription font(kChromeFontFamily);
    font.set_absolute_size(points * PANGO_SCALE);
    title_->set_font_description(font);
    titleColor_ = rgba(color);
    queue_resize();
}

int ZELImageButton::fitWidth() const {
    int w = image_.width();
    if (title_) {
        int tw = 0, th = 0;
        title_->get_pixel_size(tw, th);
        w = std::max(w, tw + 6);
    }
    return w;
}

int ZELImageButton::fitHeight() const {
    int h = image_.height();
    if (title_) {
        int tw = 0, th = 0;
        title_->get_pixel_size(tw, th);
        h = std::max(h, th);
    }
    return h;
}

void ZELImageButton::measure_vfunc(Gtk::Orientation orientation, int, int& minimum, int& natural,
                                   int& minimumBaseline, int& naturalBaseline) const {
    minimum = 0;
    natural = orientation == Gtk::Orientation::HORIZONTAL ? fitWidth() : fitHeight();
    minimumBaseline = naturalBaseline = -1;
}

void ZELImageButton::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const int w = get_width(), h = get_height(), scale = get_scale_factor();
    // Centred: the history buttons' images fill their frames, the title buttons' image sits behind the title.
    image_.paint(snapshot, float(w - image_.width()) / 2, float(h - image_.height()) / 2, scale);
    if (title_) {
        int tw = 0, th = 0;
        title_->get_pixel_size(tw, th);
        snapshot->save();
        const graphene_point_t at = GRAPHENE_POINT_INIT(float(w - tw) / 2, float(h - th) / 2);
        gtk_snapshot_translate(snapshot->gobj(), &at);
        snapshot->append_layout(title_, titleColor_);
        snapshot->restore();
    }
}

}  // namespace zel
