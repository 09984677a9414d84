#include "ui/controls/ZELPlacedView.h"

#include "core/chrome/ZELChromeGeometry.h"

#include <algorithm>
#include <cmath>

namespace zel {

ZELPlacedView::ZELPlacedView(int naturalWidth, int naturalHeight)
    : naturalWidth_(naturalWidth), naturalHeight_(naturalHeight) {}

ZELPlacedView::~ZELPlacedView() {
    for (auto& c : children_) {
        if (gtk_widget_get_parent(c.widget) == GTK_WIDGET(gobj())) gtk_widget_unparent(c.widget);
        g_object_unref(c.widget);
    }
}

void ZELPlacedView::add(Gtk::Widget& child, const ZELRect& frame) {
    children_.push_back({GTK_WIDGET(g_object_ref(child.gobj())), frame});
    child.set_parent(*this);
    queue_allocate();
}

void ZELPlacedView::remove(Gtk::Widget& child) {
    auto it = std::find_if(children_.begin(), children_.end(),
                           [&](const Placed& p) { return p.widget == child.gobj(); });
    if (it == children_.end()) return;
    child.unparent();
    g_object_unref(it->widget);
    children_.erase(it);
}

void ZELPlacedView::setFrame(Gtk::Widget& child, const ZELRect& frame) {
    for (auto& c : children_) {
        if (c.widget == child.gobj() && !(c.frame == frame)) {
            c.frame = frame;
            queue_allocate();
        }
    }
}

ZELRect ZELPlacedView::frameOf(const Gtk::Widget& child) const {
    for (const auto& c : children_) {
        if (c.widget == child.gobj()) return c.frame;
    }
    return {};
}

void ZELPlacedView::measure_vfunc(Gtk::Orientation orientation, int, int& minimum, int& natural,
                                  int& minimumBaseline, int& naturalBaseline) const {
    minimum = 0;
    natural = orientation == Gtk::Orientation::HORIZONTAL ? naturalWidth_ : naturalHeight_;
    minimumBaseline = naturalBaseline = -1;
}

void ZELPlacedView::size_allocate_vfunc(int width, int height, int) {
    if (layout_) layout_(width, height);
    for (auto& c : children_) {
        if (!gtk_widget_get_visible(c.widget) || gtk_widget_get_parent(c.widget) != GTK_WIDGET(gobj()))
            continue;
        const ZELRect r = chrome::flipped(c.frame, height);
        // The toolkit refuses sizes under a child's minimum; such a child overflows its frame instead.
        int minW = 0, minH = 0, nat = 0, b1 = 0, b2 = 0;
        gtk_widget_measure(c.widget, GTK_ORIENTATION_HORIZONTAL, -1, &minW, &nat, &b1, &b2);
        gtk_widget_measure(c.widget, GTK_ORIENTATION_VERTICAL, -1, &minH, &nat, &b1, &b2);
        const GtkAllocation a = {int(std::lround(r.x)), int(std::lround(r.y)),
                                 std::max(minW, int(std::lround(r.width))),
                                 std::max(minH, int(std::lround(r.height)))};
        gtk_widget_size_allocate(c.widget, &a, -1);
    }
}

}  // namespace zel
