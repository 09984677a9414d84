// Window placement the toolkit leaves to the window manager. Main thread only.
#pragma once

#include <gtkmm.h>

namespace zel {

// Centres the window on its monitor when it is first mapped. Only where the display server lets clients place
// their windows (X11); elsewhere the window manager's placement stands.
void centerOnScreen(Gtk::Window& window);
// Centres the window on `parent` (as it is on screen then) when the window is first mapped; later showings
// put it back where it was left. X11 only; both windows must live as long as the process's main loop.
void centerOnWindow(Gtk::Window& window, Gtk::Window& parent);

}  // namespace zel
