// Window placement the toolkit leaves to the window manager. Main thread only.
#pragma once

#include <gtkmm.h>

namespace zel {

// Centres the window on its monitor when it is first mapped. Only where the display server lets clients place
// their windows (X11); elsewhere the window manager's placement stands.
void centerOnScreen(Gtk::Window& window);

}  // namespace zel
