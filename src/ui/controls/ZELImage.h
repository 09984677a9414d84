// An image of the chrome by its file name ("close-active-color.tiff"), with its 2x version
// ("close-active-color@2x.tiff") for screens that scale by 2 or more. Loaded from the program's compiled-in
// resources; a missing image is empty and paints nothing. Main thread.
#pragma once

#include "core/chrome/ZELColorHex.h"

#include <gtkmm.h>

#include <string>

namespace zel {

// The chrome's font: the designed face where it is installed, else the CJK face every system here has.
inline constexpr const char* kChromeFontFamily = "Hiragino Sans GB, Noto Sans CJK SC, sans-serif";

Gdk::RGBA rgba(const ZELColor& color);

class ZELImage {
  public:
    ZELImage() = default;
    explicit ZELImage(const std::string& name);

    bool empty() const { return !normal_; }
    // Size in points (the 1x image's pixels).
    int width() const { return normal_ ? normal_->get_width() : 0; }
    int height() const { return normal_ ? normal_->get_height() : 0; }

    // Draws the image scaled into (x, y, w, h), top-left coordinates, picking the file for `scale`.
    void paint(const Glib::RefPtr<Gtk::Snapshot>& snapshot, float x, float y, float w, float h,
               int scale) const;
    // At its natural size with its top-left corner at (x, y).
    void paint(const Glib::RefPtr<Gtk::Snapshot>& snapshot, float x, float y, int scale) const {
        paint(snapshot, x, y, float(width()), float(height()), scale);
    }
    // A cairo pattern repeating the image at its natural size (for filling shapes).
    Cairo::RefPtr<Cairo::SurfacePattern> pattern(int scale) const;

  private:
    Glib::RefPtr<Gdk::Texture> texture(int scale) const { return scale >= 2 && large_ ? large_ : normal_; }

    Glib::RefPtr<Gdk::Texture> normal_, large_;
};

}  // namespace zel
