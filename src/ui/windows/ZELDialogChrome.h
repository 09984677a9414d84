// What the login and feedback windows share: the look of a titled window (a 22-point title bar of ours with
// the title centred, the traffic lights in it, minimise and zoom shown inactive) and the plain controls'
// style at the dialogs' small sizes. Main thread.
#pragma once

#include "ui/controls/ZELPlacedView.h"
#include "ui/windows/ZELTitledWindow.h"

#include <gtkmm.h>

#include <string>

namespace zel {

class ZELDialogChrome {
  public:
    // Makes frameView (sized width x height, the window's whole surface) the window's content: title bar at
    // the top. The window is not resizable and has only the close light working.
    ZELDialogChrome(ZELTitledWindow& window, ZELPlacedView& frameView, const std::string& title, double width,
                    double height);
    ~ZELDialogChrome();

    // Adds the lights in front of everything added so far; call once, after the window's own controls.
    void addTrafficLights(double height);
    // Places title bar and lights for a frame of the given size; call from the frame view's layout after
    // placing the window's own controls.
    void layout(double width, double height);
    // The frame's height (the window's) from now on; the window follows at its next size request.
    void setFrameHeight(double height);

  private:
    ZELTitledWindow& window_;
    ZELPlacedView& frameView_;
    double width_;
    Gtk::WindowHandle handle_;
    Gtk::Label titleBar_;
};

}  // namespace zel
