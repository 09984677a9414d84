// A borderless button drawn from an image, with an optional title centred over it: the history buttons, the
// full-screen button, the user menu button, "登录" and "注册". Emits `clicked` when a primary press is
// released over it. Main thread.
#pragma once

#include "ui/controls/ZELImage.h"

#include <gtkmm.h>

#include <string>

namespace zel {

class ZELImageButton : public Gtk::Widget {
  public:
    explicit ZELImageButton(const std::string& imageName);

    // A title drawn in the chrome's font at `points`, in `color`; the button then sizes to fit image and
    // title.
    void setTitle(const std::string& title, const ZELColor& color, double points = 12);
    // The size that fits image and title (sizeToFit).
    int fitWidth() const;
    int fitHeight() const;

    sigc::signal<void()>& signalClicked() { return clicked_; }

  protected:
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                       int& minimumBaseline, int& naturalBaseline) const override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

  private:
    ZELImage image_;
    Glib::RefPtr<Pango::Layout> title_;
    Gdk::RGBA titleColor_;
    Glib::RefPtr<Gtk::GestureClick> click_;
    sigc::signal<void()> clicked_;
};

}  // namespace zel
