#include "core/plugins/ZELUserInfoPlugin.h"

#include "core/log/ZELLog.h"

namespace zel {

ZELUserInfoPlugin::ZELUserInfoPlugin() {
    exportMethod("setUserInfo", [this](const ZELPluginCommandRef& command) { setUserInfo(command); });
}

void ZELUserInfoPlugin::setUserInfo(const ZELPluginCommandRef& command) {
    // A first argument that is not an object reads as one without the keys.
    const Value info = command->firstParam();
    const Value nickName = valueForKey(info, "nickname");
    const Value avatarSrc = valueForKey(info, "avatarSrc");
    if (delegate_ != nullptr) delegate_->didUpdateUserInfo(std::string(), nickName, avatarSrc);
    zelLog("ZelUserInfo %@ %@", nickName, avatarSrc);
}

}  // namespace zel
