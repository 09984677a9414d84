#include "ui/windows/ZELLoginWindow.h"

#include "core/chrome/ZELDialogGeometry.h"
#include "core/i18n/ZELLocalized.h"
#include "core/log/ZELLog.h"
#include "platform/browser/BrowserLauncher.h"

namespace zel {

ZELLoginWindow::ZELLoginWindow(int contentWidth, int contentHeight, const std::string& accountHost)
    : frameHeight_(contentHeight + chrome::kTitleBarHeight) {
    chrome_ = std::make_unique<ZELDialogChrome>(*this, frameView_, "用户登录", contentWidth, frameHeight_);

    usernameTextField_.set_placeholder_text("用户名 / Email");
    passwordTextField_.set_placeholder_text("密码");
    passwordTextField_.set_visibility(false);
    verifyCodeTextField_.set_placeholder_text("验证码");
    for (Gtk::Entry* field : {&usernameTextField_, &passwordTextField_, &verifyCodeTextField_}) {
        field->add_css_class("ostrelle-field");
        // Return logs in exactly as the button does.
        field->signal_activate().connect([this] { loginButtonClick(); });
    }
    updateVerifyCodeButton_.set_label("看不清?");
    loginButton_.set_label("登录");
    for (Gtk::Button* button : {&updateVerifyCodeButton_, &loginButton_})
        button->add_css_class("ostrelle-textured");
    updateVerifyCodeButton_.signal_clicked().connect([this] { updateVerifyCodeButtonClick(); });
    loginButton_.signal_clicked().connect([this] { loginButtonClick(); });
    progressIndicator_.set_can_target(false);

    const std::string recovery = "https://" + accountHost + "/?getpass_index";
    forgetTextField_.set_markup("<a href=\"" + Glib::Markup::escape_text(recovery) + "\">忘记密码?</a>");
    forgetTextField_.add_css_class("ostrelle-link");
    forgetTextField_.signal_activate_link().connect(
        [](const Glib::ustring& uri) {
            platform::openURL(uri);
            return true;
        },
        false);

    const chrome::ZELLoginLayout l = chrome::loginWindowLayout(frameHeight_, false);
    for (const auto& [control, frame] : controls()) frameView_.add(*control, l.*frame);
    chrome_->addTrafficLights(frameHeight_);
    frameView_.setLayout([this](double w, double h) { layoutSubviews(w, h); });
    for (Gtk::Widget* w : std::initializer_list<Gtk::Widget*>{
             &verifyCodeTextField_, &verifyCodeImage_, &updateVerifyCodeButton_, &progressIndicator_}) {
        w->set_visible(false);
    }
    set_focus(usernameTextField_);
    willClose_ = signal_hide().connect([this] { windowWillClose(); });
}

ZELLoginWindow::~ZELLoginWindow() {
    willClose_.disconnect();
}

std::array<std::pair<Gtk::Widget*, ZELRect chrome::ZELLoginLayout::*>, 8> ZELLoginWindow::controls() {
    using L = chrome::ZELLoginLayout;
    return {{{&usernameTextField_, &L::usernameTextField},
             {&passwordTextField_, &L::passwordTextField},
             {&verifyCodeTextField_, &L::verifyCodeTextField},
             {&verifyCodeImage_, &L::verifyCodeImage},
             {&updateVerifyCodeButton_, &L::updateVerifyCodeButton},
             {&loginButton_, &L::loginButton},
             {&progressIndicator_, &L::progressIndicator},
             {&forgetTextField_, &L::forgetTextField}}};
}

void ZELLoginWindow::layoutSubviews(double width, double height) {
    const chrome::ZELLoginLayout l = chrome::loginWindowLayout(height, verifyCodeShown_);
    for (const auto& [control, frame] : controls()) frameView_.setFrame(*control, l.*frame);
    chrome_->layout(width, height);
}

void ZELLoginWindow::setStatus(const Value& status) {
    zelLog("setStatus %@", status);
    setIsLogining(false);
}

void ZELLoginWindow::setErrorMessage(const Value& message) {
    setIsLogining(false);
    const std::string* text = textOf(message);
    alert_ = std::make_unique<Gtk::MessageDialog>(*this, "出错了", false, Gtk::MessageType::WARNING,
                                                  Gtk::ButtonsType::NONE, true);
    alert_->set_title("出错了");
    // One of the application's windows, so the application stays active while it shows.
    if (auto application = get_application()) application->add_window(*alert_);
    alert_->set_secondary_text(text ? *text : std::string());
    alert_->add_button(localizedString("OK"), Gtk::ResponseType::OK);
    alert_->signal_response().connect([this](int) {
        zelLog("alertDidEnd");
        // The dialog goes once the response is handled, not inside its own signal.
        Glib::signal_idle().connect_once([this] { alert_.reset(); });
        alert_->set_visible(false);
    });
    alert_->present();
}

void ZELLoginWindow::setNeedVerifyCode(bool need) {
    zelLog("setNeedVerifyCode %hhd", need);
    const auto change = chrome::verifyCodeChange(verifyCodeShown_, need);
    if (!change) return;
    verifyCodeShown_ = need;
    frameHeight_ += change->dy;
    // The toolkit resizes a fixed-size window from its top-left corner: the top edge stays on screen.
    chrome_->setFrameHeight(frameHeight_);
    frameView_.queue_allocate();
    for (Gtk::Widget* w : std::initializer_list<Gtk::Widget*>{&verifyCodeTextField_, &verifyCodeImage_,
                                                              &updateVerifyCodeButton_}) {
        w->set_visible(need);
    }
}

void ZELLoginWindow::setVerifyCodeImageSrc(const Value& src) {
    const std::string* url = textOf(src);
    verifyCodeImage_.downloadImageFromURL(url ? *url : std::string());
}

void ZELLoginWindow::setIsLogining(bool logining) {
    loginButton_.set_sensitive(!logining);
    progressIndicator_.set_visible(logining);
    progressIndicator_.set_spinning(logining);
}

void ZELLoginWindow::loginButtonClick() {
    if (!delegate_) return;
    setIsLogining(true);
    // The window has no controls for a phone login or for remembering the user.
    delegate_->login(usernameTextField_.get_text(), passwordTextField_.get_text(),
                     verifyCodeTextField_.get_text(), false, true);
}

void ZELLoginWindow::updateVerifyCodeButtonClick() {
    if (delegate_) delegate_->updateVerifyCode();
}

// The logging-in state stays: the next setStatus or setErrorMessage ends it.
void ZELLoginWindow::windowWillClose() {
    setNeedVerifyCode(false);
    for (Gtk::Entry* field : {&usernameTextField_, &passwordTextField_, &verifyCodeTextField_})
        field->set_text("");
    verifyCodeImage_.setImage({});
    set_focus(usernameTextField_);
}

}  // namespace zel
