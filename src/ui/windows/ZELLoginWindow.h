// The login dialog: user name, password and, when the web app asks for one, a verification-code row (code,
// code picture, "看不清?") for which the window grows 30 at the bottom. The login itself is the web app's: a
// click on "登录" or Return in any field hands the texts to the delegate, and the outcome comes back through
// setStatus, setErrorMessage (the "出错了" dialog), setNeedVerifyCode and setVerifyCodeImageSrc.
//
// A titled window (title "用户登录"), created once and reused: closing hides it and resets it for the next
// opening (code row collapsed, fields emptied, focus on the user name). The delegate is not owned. Main
// thread only.
#pragma once

#include "core/chrome/ZELDialogGeometry.h"
#include "core/value/Value.h"
#include "ui/controls/ZELAsyncImageView.h"
#include "ui/controls/ZELPlacedView.h"
#include "ui/windows/ZELDialogChrome.h"
#include "ui/windows/ZELTitledWindow.h"

#include <gtkmm.h>

#include <array>
#include <memory>
#include <string>
#include <utility>

namespace zel {

class ZELLoginWindowDelegate {
  public:
    virtual ~ZELLoginWindowDelegate() = default;
    virtual void login(const std::string& /*userName*/, const std::string& /*password*/,
                       const std::string& /*verifyCode*/, bool /*isPhone*/, bool /*remember*/) {}
    virtual void updateVerifyCode() {}
};

class ZELLoginWindow : public ZELTitledWindow {
  public:
    // The content below the title bar is contentWidth x contentHeight; the "忘记密码?" link leads to the
    // password-recovery page on accountHost.
    ZELLoginWindow(int contentWidth, int contentHeight, const std::string& accountHost);
    ~ZELLoginWindow() override;

    void setLoginWindowDelegate(ZELLoginWindowDelegate* delegate) { delegate_ = delegate; }
    // Logs "setStatus %@" and leaves the logging-in state; the text is not shown.
    void setStatus(const Value& status);
    void setErrorMessage(const Value& message);
    void setNeedVerifyCode(bool need);
    void setVerifyCodeImageSrc(const Value& src);
    void setIsLogining(bool logining);

    void loginButtonClick();
    void updateVerifyCodeButtonClick();

  private:
    void windowWillClose();
    void layoutSubviews(double width, double height);
    // Each control with its rectangle in a layout, in the order they are added.
    std::array<std::pair<Gtk::Widget*, ZELRect chrome::ZELLoginLayout::*>, 8> controls();

    ZELLoginWindowDelegate* delegate_ = nullptr;
    double frameHeight_;
    bool verifyCodeShown_ = false;
    Gtk::Entry usernameTextField_, passwordTextField_, verifyCodeTextField_;
    ZELAsyncImageView verifyCodeImage_;
    Gtk::Button updateVerifyCodeButton_, loginButton_;
    Gtk::Spinner progressIndicator_;
    Gtk::Label forgetTextField_;
    // Children before their parents, so a parent goes first and lets its children go.
    ZELPlacedView frameView_;
    std::unique_ptr<ZELDialogChrome> chrome_;
    std::unique_ptr<Gtk::MessageDialog> alert_;
    sigc::connection willClose_;  // disconnected in the destructor: the toolkit hides a window it destroys
};

}  // namespace zel
