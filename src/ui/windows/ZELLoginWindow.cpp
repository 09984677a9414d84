#include "ui/windows/ZELLoginWindow.h"

namespace zel {

ZELLoginWindow::ZELLoginWindow(int contentWidth, int contentHeight) {
    set_title("用户登录");
    set_default_size(contentWidth, contentHeight);
    set_resizable(false);
    set_hide_on_close(true);

    userName_.set_placeholder_text("用户名/邮箱/手机号");
    password_.set_placeholder_text("密码");
    password_.set_visibility(false);
    verifyLabel_.set_text("验证码");
    verifyCode_.set_placeholder_text("验证码");
    refreshCode_.set_label("看不清?");
    submit_.set_label("登录");
    error_.set_wrap(true);

    grid_.set_margin(12);
    grid_.set_row_spacing(6);
    grid_.set_column_spacing(6);
    grid_.attach(userName_, 0, 0, 2);
    grid_.attach(password_, 0, 1, 2);
    grid_.attach(verifyCode_, 0, 2);
    grid_.attach(refreshCode_, 1, 2);
    grid_.attach(verifySrc_, 0, 3, 2);
    grid_.attach(error_, 0, 4, 2);
    grid_.attach(submit_, 0, 5, 2);
    set_child(grid_);
    setNeedVerifyCode(false);

    submit_.signal_clicked().connect([this] { submit(); });
    password_.signal_activate().connect([this] { submit(); });
    refreshCode_.signal_clicked().connect([this] {
        if (delegate_) delegate_->updateVerifyCode();
    });
}

void ZELLoginWindow::submit() {
    error_.set_text("");
    submit_.set_sensitive(false);
    // The window has no controls for a phone login or for remembering the user.
    if (delegate_)
        delegate_->login(userName_.get_text(), password_.get_text(), verifyCode_.get_text(), false, true);
}

void ZELLoginWindow::setStatus(const Value& /*status*/) {
    submit_.set_sensitive(true);
}

void ZELLoginWindow::setErrorMessage(const Value& message) {
    const std::string* text = textOf(message);
    error_.set_text(text ? *text : "");
}

void ZELLoginWindow::setNeedVerifyCode(bool need) {
    verifyCode_.set_visible(need);
    refreshCode_.set_visible(need);
    verifySrc_.set_visible(need);
}

void ZELLoginWindow::setVerifyCodeImageSrc(const Value& src) {
    const std::string* text = textOf(src);
    verifySrc_.set_text(text ? *text : "");
}

void ZELLoginWindow::performClose() {
    close();
}

}  // namespace zel
