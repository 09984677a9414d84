// "cordovaUserInfo": the web app reports the signed-in user's nickname and avatar address.
// Never answers its commands. Main thread only.
#pragma once

#include "core/bridge/ZELPlugin.h"

#include <string>

namespace zel {

class ZELUserInfoPluginDelegate {
  public:
    virtual ~ZELUserInfoPluginDelegate() = default;
    // The first argument is always the empty text. Values are passed as the web app sent them (nil if
    // absent).
    virtual void didUpdateUserInfo(const std::string& /*unused*/, const Value& /*nickName*/,
                                   const Value& /*avatarSrc*/) {}
};

class ZELUserInfoPlugin : public ZELPlugin {
  public:
    ZELUserInfoPlugin();
    void setDelegate(ZELUserInfoPluginDelegate* delegate) { delegate_ = delegate; }

    // First argument: an object with "nickname" and "avatarSrc". Logs "ZelUserInfo %@ %@" in every case.
    void setUserInfo(const ZELPluginCommandRef& command);

  private:
    ZELUserInfoPluginDelegate* delegate_ = nullptr;
};

}  // namespace zel
