// A container that places each child at a rectangle given with the origin at its lower-left corner, y up,
// the way the chrome's geometry is written; the flip to the toolkit's top-left origin happens here only.
// The view keeps a reference on each child's toolkit object, so a child whose C++ object goes first (at the
// end of the process, owners are destroyed in any order) is only skipped. Main thread.
#pragma once

#include "core/geometry/Geometry.h"

#include <gtkmm.h>

#include <functional>
#include <vector>

namespace zel {

class ZELPlacedView : public Gtk::Widget {
  public:
    ZELPlacedView(int naturalWidth = 0, int naturalHeight = 0);
    ~ZELPlacedView() override;

    // Adds a child in front of the others.
    void add(Gtk::Widget& child, const ZELRect& frame);
    void remove(Gtk::Widget& child);
    void setFrame(Gtk::Widget& child, const ZELRect& frame);
    ZELRect frameOf(const Gtk::Widget& child) const;
    // Runs at every allocation with the new width and height, before the children are placed: the place to
    // call setFrame for a layout that follows the size.
    void setLayout(std::function<void(double, double)> layout) { layout_ = std::move(layout); }

  protected:
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                       int& minimumBaseline, int& naturalBaseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;

  private:
    struct Placed {
        GtkWidget* widget;  // a reference of ours
        ZELRect frame;
    };
    int naturalWidth_, naturalHeight_;
    std::vector<Placed> children_;
    std::function<void(double, double)> layout_;
};

}  // namespace zel
