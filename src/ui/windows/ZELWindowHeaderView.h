// The main window's header bar: background and title, history back and forward, the user info view and the
// search field, placed by the header's layout for its width. Passes what the user does to its delegate (not
// owned), the main window. Main thread.
#pragma once

#include "core/chrome/ZELChromeGeometry.h"
#include "core/value/Value.h"
#include "ui/controls/ZELImageButton.h"
#include "ui/controls/ZELPlacedView.h"
#include "ui/controls/ZELSearchTextField.h"
#include "ui/controls/ZELUserInfoView.h"
#include "ui/windows/ZELWindowHeaderBgView.h"

#include <array>
#include <string>
#include <utility>

namespace zel {

class ZELWindowHeaderViewDelegate {
  public:
    virtual ~ZELWindowHeaderViewDelegate() = default;
    virtual void historyBack() {}
    virtual void historyForward() {}
    virtual void submitSearchQuery(const std::string& /*query*/) {}
    virtual void updateSearchQuery(const std::string& /*query*/) {}
    virtual void showSearchSuggestion() {}
    virtual void hideSearchSuggestion() {}
    virtual void showLoginWindowButtonClick() {}
    virtual void showRegisterWindowButtonClick() {}
    virtual void logoutButtonClick() {}
};

class ZELWindowHeaderView : public ZELPlacedView,
                            public ZELSearchTextFieldDelegate,
                            public ZELUserInfoViewDelegate {
  public:
    ZELWindowHeaderView(double width, double height);

    void setDelegate(ZELWindowHeaderViewDelegate* delegate) { delegate_ = delegate; }
    void updateUserName(const Value& name, const Value& avatarSrc);
    // Places the header's own subviews for a header w by h.
    void layoutSubviews(double w, double h);
    // Each control with its rectangle in the header's layout, in the order they are added.
    std::array<std::pair<Gtk::Widget*, ZELRect chrome::ZELHeaderLayout::*>, 5> controls();

    ZELWindowHeaderBgView& bgView() { return bgView_; }
    ZELSearchTextField& inputTextField() { return inputTextField_; }
    ZELUserInfoView& userInfoView() { return userInfoView_; }

    void submitSearchQuery(const std::string& query) override;
    void updateSearchQuery(const std::string& query) override;
    void showSearchSuggestion() override;
    void hideSearchSuggestion() override;
    void showLoginWindowButtonClick() override;
    void showRegisterWindowButtonClick() override;
    void logoutButtonClick() override;

  private:
    ZELWindowHeaderViewDelegate* delegate_ = nullptr;
    ZELWindowHeaderBgView bgView_{"Ostrelle"};
    ZELUserInfoView userInfoView_;
    ZELImageButton historyBackButton_{"history_back.png"};
    ZELImageButton historyForwardButton_{"history_forward.png"};
    ZELSearchTextField inputTextField_;
};

}  // namespace zel
