// "cordovaUserLogin": the web app drives the native login window. Never answers its commands.
// Values pass unconverted; a missing first argument passes nil. Main thread only.
#pragma once

#include "core/bridge/ZELPlugin.h"

namespace zel {

class ZELUserLoginPluginDelegate {
  public:
    virtual ~ZELUserLoginPluginDelegate() = default;
    virtual void setLoginStatus(const Value& /*status*/) {}
    virtual void setLoginErrorMessage(const Value& /*message*/) {}
    virtual void setLoginNeedVerifyCode(bool /*need*/) {}
    virtual void setLoginVerifyCodeImageSrc(const Value& /*src*/) {}
    virtual void showLoginWindow() {}
};

class ZELUserLoginPlugin : public ZELPlugin {
  public:
    ZELUserLoginPlugin();
    void setDelegate(ZELUserLoginPluginDelegate* delegate) { delegate_ = delegate; }

    void setLoginStatus(const ZELPluginCommandRef& command);
    void setLoginErrorMessage(const ZELPluginCommandRef& command);
    // YES exactly when the first argument is the text "true".
    void setLoginNeedVerifyCode(const ZELPluginCommandRef& command);
    void setLoginVerifyCodeImageSrc(const ZELPluginCommandRef& command);
    void showLoginWindow(const ZELPluginCommandRef& command);

  private:
    ZELUserLoginPluginDelegate* delegate_ = nullptr;
};

}  // namespace zel
