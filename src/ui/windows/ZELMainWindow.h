// The program's main window: frameless, its whole surface drawn here. A 52-point header bar (traffic lights,
// history buttons, title, user area, search field, full-screen button) above a white content area with
// rounded corners that holds the content view (the web view). Frame = content grown 25 at the top and at the
// bottom, so content 1200 x 620 gives a 1200 x 670 window whose content view is exactly 1200 x 620. On a
// resize the header stays at the top at full width and the content area fills the rest.
//
// A press and drag on any part that no control takes moves the window; a double click there zooms and a right
// click opens the desktop's window menu. Closing hides. Reports the header's actions to its
// zelMainWindowDelegate (not owned). Main thread.
#pragma once

#include "core/value/Value.h"
#include "ui/controls/ZELImageButton.h"
#include "ui/controls/ZELPlacedView.h"
#include "ui/support/ZELScopedConnection.h"
#include "ui/windows/ZELTitledWindow.h"
#include "ui/windows/ZELWindowHeaderView.h"

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

class ZELMainWindow : public ZELTitledWindow, public ZELWindowHeaderViewDelegate {
  public:
    // The content size in points.
    ZELMainWindow(int contentWidth, int contentHeight);
    ~ZELMainWindow() override;

    void setZelMainWindowDelegate(ZELMainWindowDelegate* delegate) { delegate_ = delegate; }
    // The view shown in the content area (the web view); not owned. The same view again changes nothing.
    void setContentView(Gtk::Widget& view);
    Gtk::Widget* contentView() const { return childContentView_; }
    void updateUserName(const Value& name, const Value& avatarSrc);
    // Hides the window when windowShouldClose allows it.
    void performClose() override;

    ZELWindowHeaderView& headerView() { return headerView_; }

    void historyBack() override;
    void historyForward() override;
    void submitSearchQuery(const std::string& query) override;
    void updateSearchQuery(const std::string& query) override;
    void showSearchSuggestion() override;
    void hideSearchSuggestion() override;
    void showLoginWindowButtonClick() override;
    void showRegisterWindowButtonClick() override;
    void logoutButtonClick() override;

  private:
    void layoutSubviews(double w, double h);
    void updateCorners();
    void forgetSurface();  // disconnects from the toplevel surface, if any

    ZELMainWindowDelegate* delegate_ = nullptr;
    Gtk::Widget* childContentView_ = nullptr;
    // Children before their parents, so a parent goes first and lets its children go.
    ZELImageButton fullScreenButton_{"fullscreen.png"};
    ZELPlacedView childContentWrapperView_;
    ZELWindowHeaderView headerView_;
    ZELPlacedView mainFrameView_;
    Gtk::WindowHandle handle_;
    GdkSurface* surface_ = nullptr;
    gulong surfaceStateHandler_ = 0;
    sigc::connection firstFrame_;     // disconnected after the first frame and in the destructor
    ZELScopedConnection unrealized_;  // gone before the base class's destructor unrealizes the window
    bool drawn_ = false;
};

}  // namespace zel
