// Shows the song and playlist context menus that the web app asks for, as popover menus pointing at the
// click point in the web view, and sends the chosen item's action with its record to the delegate.
//
// A pop-up blocks its caller until the menu closes (a nested main loop), exactly like a native context menu:
// the script call that asked for the menu waits meanwhile, so the chosen action, performed after the menu
// has closed but before this returns, reaches the web app within that call. Escape or a click outside closes
// the menu without an action. A request while a menu is open, or while the web view is not on screen, is
// logged and dropped (it could never be answered otherwise).
//
// Window, web view and delegate are not owned and must outlive the controller. Main thread only.
#pragma once

#include "core/menu/ZELContextMenus.h"

#include <gtkmm.h>

namespace zel {

class ZELMenuController {
  public:
    ZELMenuController() = default;
    ZELMenuController(const ZELMenuController&) = delete;
    ZELMenuController& operator=(const ZELMenuController&) = delete;

    void setWindow(Gtk::Window* window) { window_ = window; }
    void setWebView(Gtk::Widget* webView) { webView_ = webView; }
    void setDelegate(ZELMenuControllerDelegate* delegate) { menus_.setDelegate(delegate); }

    // Origins are page pixels from the web view's top left.
    void showSongMenu(const Value& song, ZELPoint origin);
    void showDiyListMenu(const Value& list, ZELPoint origin);
    void updateSongMenuDiyListData(const Value& entries) { menus_.updateSongMenuDiyListData(entries); }

    bool isMenuOpen() const { return open_; }

  private:
    void popUpContextMenu(const ZELMenuPopUp& popUp);

    ZELContextMenus menus_;
    Gtk::Window* window_ = nullptr;
    Gtk::Widget* webView_ = nullptr;
    bool open_ = false;
};

}  // namespace zel
