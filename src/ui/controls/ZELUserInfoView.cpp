#include "ui/controls/ZELUserInfoView.h"

#include "core/chrome/ZELChromeGeometry.h"
#include "core/log/ZELLog.h"

namespace zel {

ZELUserInfoView::ZELUserInfoView(double width, double height)
    : ZELPlacedView(int(width), int(height)), width_(width) {
    const chrome::ZELUserInfoLayout l = chrome::userInfoLayout(width);
    const ZELColor titleColor = colorWithHexColorString("eeeeee");
    loginButton_.setTitle("登录", titleColor);
    registerButton_.setTitle("注册", titleColor);
    add(userAvatarView_, l.avatar);
    add(nickNameTextView_, l.name);
    add(userMenuButton_, l.menuButton);
    add(loginButton_, l.login);
    add(seperator_, l.seperator);
    add(registerButton_, l.registerButton);
    placeButtons();
    for (Gtk::Widget* w :
         std::initializer_list<Gtk::Widget*>{&userAvatarView_, &nickNameTextView_, &userMenuButton_,
                                             &loginButton_, &seperator_, &registerButton_}) {
        w->set_visible(false);
    }
    userAvatarView_.setDelegate(this);
    nickNameTextView_.setUserNameDelegate(this);
    userMenuButton_.signalClicked().connect([this] { userNameClick(); });
    loginButton_.signalClicked().connect([this] {
        if (delegate_) delegate_->showLoginWindowButtonClick();
    });
    registerButton_.signalClicked().connect([this] {
        if (delegate_) delegate_->showRegisterWindowButtonClick();
    });

    actions_ = Gio::SimpleActionGroup::create();
    actions_->add_action("logout", [this] {
        if (delegate_) delegate_->logoutButtonClick();
    });
    insert_action_group("userinfo", actions_);
    auto menu = Gio::Menu::create();
    menu->append("退出", "userinfo.logout");
    userMenu_.set_menu_model(menu);
    userMenu_.set_has_arrow(false);
    userMenu_.set_position(Gtk::PositionType::BOTTOM);
    userMenu_.set_parent(*this);
}

ZELUserInfoView::~ZELUserInfoView() {
    userMenu_.unparent();
}

void ZELUserInfoView::placeButtons() {
    const chrome::ZELUserInfoLayout l = chrome::userInfoLayout(width_);
    // Sized to fit from their origins.
    setFrame(loginButton_,
             {l.login.x, l.login.y, double(loginButton_.fitWidth()), double(loginButton_.fitHeight())});
    setFrame(registerButton_, {l.registerButton.x, l.registerButton.y, double(registerButton_.fitWidth()),
                               double(registerButton_.fitHeight())});
}

void ZELUserInfoView::setUserName(const Value& name) {
    const std::string* text = textOf(name);
    nickNameTextView_.set_text(text ? *text : std::string());
    // The text's own size, never truncated; measured on the layout, since a hidden label measures 0.
    int tw = 0, th = 0;
    nickNameTextView_.get_layout()->get_pixel_size(tw, th);
    const chrome::ZELUserNamePlacement p = chrome::userNamePlacement(width_, {double(tw), double(th)});
    setFrame(nickNameTextView_, p.name);
    setFrame(userAvatarView_, p.avatar);
    const bool signedIn = !(text && text->empty());
    for (Gtk::Widget* w :
         std::initializer_list<Gtk::Widget*>{&nickNameTextView_, &userAvatarView_, &userMenuButton_}) {
        w->set_visible(signedIn);
    }
    for (Gtk::Widget* w : std::initializer_list<Gtk::Widget*>{&loginButton_, &seperator_, &registerButton_}) {
        w->set_visible(!signedIn);
    }
    zelLog("setUserName %@", std::string(nickNameTextView_.get_text()));
}

void ZELUserInfoView::setAvatarSrc(const Value& src) {
    const std::string* url = textOf(src);
    userAvatarView_.downloadImageFromURL(url ? *url : std::string());
}

void ZELUserInfoView::userNameClick() {
    zelLog("userNameClick");
    const chrome::ZELChromePoint at = chrome::userMenuPoint(frameOf(userMenuButton_));
    const ZELRect r = chrome::flipped({at.x, at.y, 1, 1}, get_height());
    userMenu_.set_pointing_to(Gdk::Rectangle(int(r.x), int(r.y), 1, 1));
    userMenu_.popup();
}

void ZELUserInfoView::size_allocate_vfunc(int width, int height, int baseline) {
    ZELPlacedView::size_allocate_vfunc(width, height, baseline);
    userMenu_.present();
}

}  // namespace zel
