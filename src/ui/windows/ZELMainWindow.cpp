#include "ui/windows/ZELMainWindow.h"

namespace zel {

ZELMainWindow::ZELMainWindow(int contentWidth, int contentHeight) {
    set_decorated(false);
    set_title("Ostrelle");
    set_default_size(contentWidth, contentHeight);
    buildHeader();
    set_child(root_);
}

void ZELMainWindow::buildHeader() {
    back_.set_icon_name("go-previous-symbolic");
    forward_.set_icon_name("go-next-symbolic");
    back_.set_tooltip_text("后退");
    forward_.set_tooltip_text("前进");
    title_.set_text("Ostrelle");
    title_.set_margin_start(12);
    title_.set_margin_end(12);
    // GtkSearchEntry is not a GtkEntry; its placeholder is a property of its own.
    g_object_set(search_.gobj(), "placeholder-text", "搜索歌曲、歌手、专辑", nullptr);
    search_.set_size_request(240, -1);
    search_.set_hexpand(true);
    search_.set_halign(Gtk::Align::CENTER);
    // Submitting should not wait for the entry's change delay: the web app shows suggestions as the user
    // types.
    search_.set_search_delay(0);
    login_.set_label("登录");
    register_.set_label("注册");
    logout_.set_label("退出");
    close_.set_icon_name("window-close-symbolic");
    close_.set_tooltip_text("关闭");

    for (Gtk::Widget* w : std::initializer_list<Gtk::Widget*>{
             &back_, &forward_, &title_, &search_, &userName_, &login_, &register_, &logout_, &close_}) {
        header_.append(*w);
    }
    header_.set_margin(6);
    handle_.set_child(header_);
    root_.append(handle_);

    back_.signal_clicked().connect([this] {
        if (delegate_) delegate_->historyBack();
    });
    forward_.signal_clicked().connect([this] {
        if (delegate_) delegate_->historyForward();
    });
    login_.signal_clicked().connect([this] {
        if (delegate_) delegate_->showLoginWindowButtonClick();
    });
    register_.signal_clicked().connect([this] {
        if (delegate_) delegate_->showRegisterWindowButtonClick();
    });
    logout_.signal_clicked().connect([this] {
        if (delegate_) delegate_->logoutButtonClick();
    });
    close_.signal_clicked().connect([this] { hide(); });

    search_.signal_search_changed().connect([this] {
        const std::string text = search_.get_text();
        // The entry also reports a change when nothing changed (on realisation); the web app hears real
        // edits.
        if (text == lastQuery_ || !delegate_) return;
        lastQuery_ = text;
        if (!suggestionShown_ && !text.empty()) {
            suggestionShown_ = true;
            delegate_->showSearchSuggestion();
        }
        delegate_->updateSearchQuery(text);
    });
    search_.signal_activate().connect([this] {
        suggestionShown_ = false;
        if (delegate_) delegate_->submitSearchQuery(search_.get_text());
    });
    search_.signal_stop_search().connect([this] {
        if (!suggestionShown_) return;
        suggestionShown_ = false;
        if (delegate_) delegate_->hideSearchSuggestion();
    });
    showSignedIn(false);
}

void ZELMainWindow::setContentView(Gtk::Widget& view) {
    view.set_vexpand(true);
    view.set_hexpand(true);
    root_.append(view);
}

void ZELMainWindow::updateUserName(const Value& name, const Value& /*avatarSrc*/) {
    const std::string* text = textOf(name);
    const bool signedIn = text && !text->empty();
    userName_.set_text(signedIn ? *text : "");
    showSignedIn(signedIn);
}

void ZELMainWindow::showSignedIn(bool signedIn) {
    userName_.set_visible(signedIn);
    logout_.set_visible(signedIn);
    login_.set_visible(!signedIn);
    register_.set_visible(!signedIn);
}

}  // namespace zel
