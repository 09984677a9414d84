// The main window: a borderless window with a header strip (history, search field, signed-in user and the
// login/register/logout controls) above the web view. It reports what the user does in the header to its
// delegate. Main thread only.
#pragma once

#include "core/value/Value.h"

#include <gtkmm.h>

#include <string>

namespace zel {

class ZELMainWindowDelegate {
  public:
    virtual ~ZELMainWindowDelegate() = default;
    virtual void showSearchSuggestion() {}
    virtual void hideSearchSuggestion() {}
    virtual void updateSearchQuery(const std::string& /*query*/) {}
    virtual void submitSearchQuery(const std::string& /*query*/) {}
    virtual void historyBack() {}
    virtual void historyForward() {}
    virtual void showLoginWindowButtonClick() {}
    virtual void showRegisterWindowButtonClick() {}
    virtual void logoutButtonClick() {}
};

class ZELMainWindow : public Gtk::Window {
  public:
    // Content size in points; the window is borderless.
    ZELMainWindow(int contentWidth, int contentHeight);

    void setZelMainWindowDelegate(ZELMainWindowDelegate* delegate) { delegate_ = delegate; }
    // The content view shown under the header (the web view). Not owned.
    void setContentView(Gtk::Widget& view);
    // An empty or non-text name shows the signed-out state.
    void updateUserName(const Value& name, const Value& avatarSrc);

  private:
    void buildHeader();
    void showSignedIn(bool signedIn);

    ZELMainWindowDelegate* delegate_ = nullptr;
    Gtk::Box root_{Gtk::Orientation::VERTICAL};
    Gtk::WindowHandle handle_;
    Gtk::Box header_{Gtk::Orientation::HORIZONTAL, 6};
    Gtk::Button back_, forward_;
    Gtk::Label title_;
    Gtk::SearchEntry search_;
    Gtk::Label userName_;
    Gtk::Button login_, register_, logout_, close_;
    bool suggestionShown_ = false;
    std::string lastQuery_;
};

}  // namespace zel
