// The main menu on this desktop. The menus of ZELMenuPopulator become a menu model installed as the
// application's menu bar (desktops that show application menus export it); every item's action is an
// application action and its key equivalent an application accelerator, Command mapped to Ctrl. The main
// window has no room for a menu row: F10 opens the same menus as a popover menu bar at the top left of
// `anchor` (the main window's header).
//
// An application accelerator takes the key before the focused widget sees it, so each Edit command goes to
// the focus itself: a text widget's own clipboard, selection and undo actions, else the web view's editing
// commands. Minimize and Zoom act on the active window, Hide minimises all of the application's windows; Hide
// Others, Preferences... and Services are shown disabled. Quit, Help and Feedback use the application's
// actions of those names. Lives as long as anchor; main thread only.
#pragma once

#include "core/menu/ZELMenuPopulator.h"

#include <gtkmm.h>

#include <memory>
#include <string>

namespace zel {

struct ZELAboutInfo {
    std::string name, version, iconName, website;
};

class ZELMainMenuBar {
  public:
    ZELMainMenuBar(Gtk::Application& application, Gtk::Widget& anchor, ZELAboutInfo about);
    ~ZELMainMenuBar();

    const Glib::RefPtr<Gio::Menu>& model() const { return model_; }
    // Opens the menu bar popover with its first menu open.
    void popupMenuBar();

  private:
    void addAction(const std::string& name, std::function<void()> activate);
    void editCommand(ZELMainMenuAction action);
    void windowCommand(ZELMainMenuAction action);
    void orderFrontStandardAboutPanel();

    Gtk::Application& application_;
    Gtk::Widget& anchor_;
    ZELAboutInfo about_;
    Glib::RefPtr<Gio::Menu> model_;
    std::unique_ptr<Gtk::PopoverMenuBar> menuBar_;
    Gtk::Popover popover_;
    std::unique_ptr<Gtk::AboutDialog> aboutPanel_;
};

}  // namespace zel
