#include "ui/windows/ZELWindowHeaderView.h"

#include "core/chrome/ZELChromeGeometry.h"

namespace zel {

ZELWindowHeaderView::ZELWindowHeaderView(double width, double height)
    : ZELPlacedView(int(width), int(height)) {
    const chrome::ZELHeaderLayout l = chrome::headerLayout(width, height);
    for (const auto& [control, frame] : controls()) add(*control, l.*frame);
    userInfoView_.setDelegate(this);
    inputTextField_.setSearchTextFieldDelegate(this);
    historyBackButton_.signalClicked().connect([this] {
        if (delegate_) delegate_->historyBack();
    });
    historyForwardButton_.signalClicked().connect([this] {
        if (delegate_) delegate_->historyForward();
    });
    setLayout([this](double w, double h) { layoutSubviews(w, h); });
}

std::array<std::pair<Gtk::Widget*, ZELRect chrome::ZELHeaderLayout::*>, 5> ZELWindowHeaderView::controls() {
    using L = chrome::ZELHeaderLayout;
    return {{{&bgView_, &L::background},
             {&userInfoView_, &L::userInfo},
             {&historyBackButton_, &L::historyBack},
             {&historyForwardButton_, &L::historyForward},
             {&inputTextField_, &L::searchField}}};
}

void ZELWindowHeaderView::layoutSubviews(double w, double h) {
    const chrome::ZELHeaderLayout l = chrome::headerLayout(w, h);
    for (const auto& [control, frame] : controls()) setFrame(*control, l.*frame);
}

void ZELWindowHeaderView::updateUserName(const Value& name, const Value& avatarSrc) {
    userInfoView_.setUserName(name);
    userInfoView_.setAvatarSrc(avatarSrc);
}

void ZELWindowHeaderView::submitSearchQuery(const std::string& query) {
    if (delegate_) delegate_->submitSearchQuery(query);
}
void ZELWindowHeaderView::updateSearchQuery(const std::string& query) {
    if (delegate_) delegate_->updateSearchQuery(query);
}
void ZELWindowHeaderView::showSearchSuggestion() {
    if (delegate_) delegate_->showSearchSuggestion();
}
void ZELWindowHeaderView::hideSearchSuggestion() {
    if (delegate_) delegate_->hideSearchSuggestion();
}
void ZELWindowHeaderView::showLoginWindowButtonClick() {
    if (delegate_) delegate_->showLoginWindowButtonClick();
}
void ZELWindowHeaderView::showRegisterWindowButtonClick() {
    if (delegate_) delegate_->showRegisterWindowButtonClick();
}
void ZELWindowHeaderView::logoutButtonClick() {
    if (delegate_) delegate_->logoutButtonClick();
}

}  // namespace zel
