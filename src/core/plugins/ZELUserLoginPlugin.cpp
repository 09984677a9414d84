#include "core/plugins/ZELUserLoginPlugin.h"

namespace zel {

ZELUserLoginPlugin::ZELUserLoginPlugin() {
    exportMethod("setLoginStatus", [this](const ZELPluginCommandRef& c) { setLoginStatus(c); });
    exportMethod("setLoginErrorMessage", [this](const ZELPluginCommandRef& c) { setLoginErrorMessage(c); });
    exportMethod("setLoginNeedVerifyCode",
                 [this](const ZELPluginCommandRef& c) { setLoginNeedVerifyCode(c); });
    exportMethod("setLoginVerifyCodeImageSrc",
                 [this](const ZELPluginCommandRef& c) { setLoginVerifyCodeImageSrc(c); });
    exportMethod("showLoginWindow", [this](const ZELPluginCommandRef& c) { showLoginWindow(c); });
}

void ZELUserLoginPlugin::setLoginStatus(const ZELPluginCommandRef& command) {
    const Value status = command->firstParam();
    if (delegate_ != nullptr) delegate_->setLoginStatus(status);
}

void ZELUserLoginPlugin::setLoginErrorMessage(const ZELPluginCommandRef& command) {
    const Value message = command->firstParam();
    if (delegate_ != nullptr) delegate_->setLoginErrorMessage(message);
}

void ZELUserLoginPlugin::setLoginNeedVerifyCode(const ZELPluginCommandRef& command) {
    const Value need = command->firstParam();
    if (delegate_ == nullptr) return;
    // Only the text "true" means yes: the boolean true, 1 or "TRUE" do not.
    const std::string* text = textOf(need);
    delegate_->setLoginNeedVerifyCode(text != nullptr && *text == "true");
}

void ZELUserLoginPlugin::setLoginVerifyCodeImageSrc(const ZELPluginCommandRef& command) {
    const Value src = command->firstParam();
    if (delegate_ != nullptr) delegate_->setLoginVerifyCodeImageSrc(src);
}

void ZELUserLoginPlugin::showLoginWindow(const ZELPluginCommandRef& /*command*/) {
    if (delegate_ != nullptr) delegate_->showLoginWindow();
}

}  // namespace zel
