// The header's background: "head_bg.png" tiled from the top-left corner inside a shape with rounded top
// corners (radius 10; square while the window is maximised, tiled or full screen), and the title centred
// near the top. Main thread.
#pragma once

#include "ui/controls/ZELImage.h"

#include <gtkmm.h>

#include <string>

namespace zel {

class ZELWindowHeaderBgView : public Gtk::Widget {
  public:
    explicit ZELWindowHeaderBgView(const std::string& title);
    void setSquareCorners(bool square);

  protected:
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

  private:
    ZELImage image_{"head_bg.png"};
    Glib::RefPtr<Pango::Layout> title_;
    Gdk::RGBA titleColor_;
    bool square_ = false;
};

}  // namespace zel
