#include "ui/windows/ZELWindowHeaderBgView.h"

#include "core/chrome/ZELChromeGeometry.h"

namespace zel {

ZELWindowHeaderBgView::ZELWindowHeaderBgView(const std::string& title)
    : titleColor_(rgba(colorWithHexColorString("e2e2e2"))) {
    set_can_target(false);
    title_ = create_pango_layout(title);
    Pango::FontDescription font(kChromeFontFamily);
    font.set_absolute_size(16 * PANGO_SCALE);
    title_->set_font_description(font);
    title_->set_alignment(Pango::Alignment::CENTER);
}

void ZELWindowHeaderBgView::setSquareCorners(bool square) {
    if (square_ == square) return;
    square_ = square;
    queue_draw();
}

void ZELWindowHeaderBgView::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const double w = get_width(), h = get_height();
    auto cr = snapshot->append_cairo(Gdk::Rectangle(0, 0, get_width(), get_height()));
    // The outline is written with y up; cairo's y grows down.
    cr->translate(0, h);
    cr->scale(1, -1);
    for (const auto& e : chrome::headerBackgroundShape(w, h)) {
        using K = chrome::ZELPathElement::Kind;
        const bool squareCorner = square_ && e.kind == K::curve;
        if (e.kind == K::move) {
            cr->move_to(e.to.x, e.to.y);
        } else if (e.kind == K::line) {
            cr->line_to(e.to.x, e.to.y);
        } else if (squareCorner) {
            cr->line_to(e.control1.x, e.control1.y);
            cr->line_to(e.to.x, e.to.y);
        } else {
            cr->curve_to(e.control1.x, e.control1.y, e.control2.x, e.control2.y, e.to.x, e.to.y);
        }
    }
    cr->close_path();
    // Tiles start at the view's top-left corner: in the flipped context that is (0, h).
    if (auto pattern = image_.pattern(get_scale_factor())) {
        pattern->set_matrix(Cairo::Matrix(1, 0, 0, -1, 0, h));
        cr->set_source(pattern);
        cr->fill();
    }
    cr.reset();

    const ZELRect t = chrome::flipped(chrome::headerLayout(w, h).title, h);
    title_->set_width(int(t.width * PANGO_SCALE));
    int tw = 0, th = 0;
    title_->get_pixel_size(tw, th);
    snapshot->save();
    const graphene_point_t at = GRAPHENE_POINT_INIT(float(t.x), float(t.y + (t.height - th) / 2));
    gtk_snapshot_translate(snapshot->gobj(), &at);
    snapshot->append_layout(title_, titleColor_);
    snapshot->restore();
}

}  // namespace zel
