// The login dialog: user name, password and (when the web app asks for one) a verification code. The login
// itself is done by the web app; the window passes the entered texts to its delegate and shows the state the
// web app reports back. Created once and reused. Main thread only.
#pragma once

#include "core/value/Value.h"

#include <gtkmm.h>

#include <string>

namespace zel {

class ZELLoginWindowDelegate {
  public:
    virtual ~ZELLoginWindowDelegate() = default;
    virtual void login(const std::string& /*userName*/, const std::string& /*password*/,
                       const std::string& /*verifyCode*/, bool /*isPhone*/, bool /*remember*/) {}
    virtual void updateVerifyCode() {}
};

class ZELLoginWindow : public Gtk::Window {
  public:
    ZELLoginWindow(int contentWidth, int contentHeight);

    void setLoginWindowDelegate(ZELLoginWindowDelegate* delegate) { delegate_ = delegate; }
    void setStatus(const Value& status);
    void setErrorMessage(const Value& message);
    void setNeedVerifyCode(bool need);
    void setVerifyCodeImageSrc(const Value& src);
    void performClose();

  private:
    void submit();

    ZELLoginWindowDelegate* delegate_ = nullptr;
    Gtk::Grid grid_;
    Gtk::Entry userName_, password_, verifyCode_;
    Gtk::Label verifyLabel_, verifySrc_, error_;
    Gtk::Button refreshCode_, submit_;
};

}  // namespace zel
