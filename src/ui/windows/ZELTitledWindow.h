// The base of the program's own windows: a window that draws its own close, minimise and zoom buttons.
//
// The three buttons live in a 55 x 30 hover group (trafficLights()) whose pointer enter/leave turns all three
// to their rollover images; subclasses place the group. Client-side decorations with an empty titlebar keep
// the desktop's shadow and resize edges while the whole surface is the subclass's. Main status ("is-active")
// of any window of the program is broadcast to every traffic-light button; a resign is held back briefly, so
// the inactive/active flicker of a popup menu's grab never shows. Closing only hides. Main thread.
#pragma once

#include "ui/controls/ZELPlacedView.h"
#include "ui/controls/ZELTrafficLightButton.h"

#include <gtkmm.h>

namespace zel {

class ZELTitledWindow : public Gtk::Window {
  public:
    ZELTitledWindow();
    ~ZELTitledWindow() override;

    // Logs "performCLose", asks windowShouldClose and hides the window when allowed.
    virtual void performClose();
    void performMiniaturize() { minimize(); }
    void performZoom();
    virtual bool windowShouldClose() { return true; }

    ZELTrafficLightButton& closeButton() { return closeButton_; }
    ZELTrafficLightButton& miniaturizeButton() { return miniaturizeButton_; }
    ZELTrafficLightButton& zoomButton() { return zoomButton_; }
    // The hover region holding the three buttons, 55 x 30, the close button at its lower-left corner.
    ZELPlacedView& trafficLights() { return trafficLights_; }

  protected:
    virtual void mainWindowChanged();

  private:
    Gtk::Box emptyTitlebar_;
    ZELTrafficLightButton closeButton_, miniaturizeButton_, zoomButton_;
    ZELPlacedView trafficLights_{55, 30};
    Glib::RefPtr<Gtk::EventControllerMotion> hover_;
    sigc::connection pendingResign_;  // disconnected in the destructor
};

}  // namespace zel
