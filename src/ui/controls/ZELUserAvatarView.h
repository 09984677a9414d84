// The signed-in user's picture as a disc under the frame image "avatar_bg2.png". A press reports
// userAvatarMouseDown to the delegate (not owned). Main thread.
#pragma once

#include "ui/controls/ZELAsyncImageView.h"
#include "ui/controls/ZELPlacedView.h"

#include <string>

namespace zel {

class ZELUserAvatarViewDelegate {
  public:
    virtual ~ZELUserAvatarViewDelegate() = default;
    virtual void userAvatarMouseDown() {}
};

class ZELUserAvatarView : public ZELPlacedView {
  public:
    ZELUserAvatarView();

    void setDelegate(ZELUserAvatarViewDelegate* delegate) { delegate_ = delegate; }
    void downloadImageFromURL(const std::string& url) { avatarImageView_.downloadImageFromURL(url); }
    ZELAsyncImageView& avatarImageView() { return avatarImageView_; }

  protected:
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

  private:
    ZELUserAvatarViewDelegate* delegate_ = nullptr;
    ZELAsyncImageView avatarImageView_;
    ZELImage avatarBg_{"avatar_bg2.png"};
    Glib::RefPtr<Gtk::GestureClick> click_;
};

}  // namespace zel
