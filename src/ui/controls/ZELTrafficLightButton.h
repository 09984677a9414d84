// One of a titled window's close, minimise and zoom buttons. Shows one of three images named after its
// identifier ("<id>-active-color.tiff", "<id>-rollover-color.tiff", "<id>-activenokey-color.tiff"):
//
//   any window of the application becomes main -> rollover if hovered, else active if enabled, else inactive
//   every window of the application resigned main -> inactive
//   pointer enters the group's hover region -> rollover if enabled, else inactive (all three at once)
//   pointer leaves it -> back to active or inactive, as the last main status said
//
// Every button follows every window's main status (broadcastMainStatus). Emits `clicked` when a primary press
// is released over it. Main thread.
#pragma once

#include "ui/controls/ZELImage.h"

#include <gtkmm.h>

#include <string>

namespace zel {

class ZELTrafficLightButton : public Gtk::Widget {
  public:
    ZELTrafficLightButton();
    ~ZELTrafficLightButton() override;

    // Stores the identifier and loads its three images (setup).
    void setIdentifier(const std::string& identifier);
    const std::string& identifier() const { return identifier_; }

    void setActiveState();
    void setInactiveState();
    void hoverIn();
    void hoverOut();
    void setEnabled(bool enabled);
    bool enabled() const { return enabled_; }

    // The image now shown: "active", "rollover", "inactive" (tests and logs).
    const char* shownImage() const;

    // A window of the application became main (true) or resigned main (false): every button follows.
    static void broadcastMainStatus(bool becameMain);

    sigc::signal<void()>& signalClicked() { return clicked_; }

  protected:
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                       int& minimumBaseline, int& naturalBaseline) const override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

  private:
    enum class Shown { none, active, hover, inactive };
    void show(Shown shown);

    std::string identifier_;
    ZELImage inactive_, active_, hover_;
    bool activeState_ = false;
    bool hoverState_ = false;
    bool enabled_ = true;
    Shown shown_ = Shown::none;
    Glib::RefPtr<Gtk::GestureClick> click_;
    sigc::signal<void()> clicked_;
};

}  // namespace zel
