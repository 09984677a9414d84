// The right-hand end of the header: "登录", a separator and "注册" while nobody is signed in; the user's
// round avatar, name and a menu button while someone is. A press on avatar, name or menu button opens the
// one-item menu "退出". Reports the three user actions to its delegate (not owned). Main thread.
#pragma once

#include "core/value/Value.h"
#include "ui/controls/ZELImageButton.h"
#include "ui/controls/ZELPlacedView.h"
#include "ui/controls/ZELUserAvatarView.h"
#include "ui/controls/ZELUserNameTextView.h"

#include <gtkmm.h>

namespace zel {

class ZELUserInfoViewDelegate {
  public:
    virtual ~ZELUserInfoViewDelegate() = default;
    virtual void showLoginWindowButtonClick() {}
    virtual void showRegisterWindowButtonClick() {}
    virtual void logoutButtonClick() {}
};

class ZELUserInfoView : public ZELPlacedView,
                        public ZELUserNameTextViewDelegate,
                        public ZELUserAvatarViewDelegate {
  public:
    explicit ZELUserInfoView(double width = 200, double height = 36);
    ~ZELUserInfoView() override;

    void setDelegate(ZELUserInfoViewDelegate* delegate) { delegate_ = delegate; }
    // The empty text signs out; any other value (also an absent one) shows the signed-in look.
    void setUserName(const Value& name);
    // Starts loading the avatar; a value that is not text leaves the disc empty.
    void setAvatarSrc(const Value& src);

    void userNameMouseDown() override { userNameClick(); }
    void userAvatarMouseDown() override { userNameClick(); }
    void userNameClick();

    ZELUserAvatarView& avatarView() { return userAvatarView_; }

  protected:
    void size_allocate_vfunc(int width, int height, int baseline) override;

  private:
    void placeButtons();

    ZELUserInfoViewDelegate* delegate_ = nullptr;
    double width_;
    ZELUserAvatarView userAvatarView_;
    ZELUserNameTextView nickNameTextView_;
    ZELImageButton userMenuButton_{"btn_userinfo_menu.png"};
    ZELImageButton loginButton_{"btn_login.png"};
    ZELImageButton seperator_{"seperator.png"};
    ZELImageButton registerButton_{"btn_login.png"};
    Glib::RefPtr<Gio::SimpleActionGroup> actions_;
    Gtk::PopoverMenu userMenu_;
};

}  // namespace zel
