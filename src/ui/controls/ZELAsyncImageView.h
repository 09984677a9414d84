// An image view that fetches its picture from a URL with libsoup, without blocking the interface: shows an
// optional placeholder and progress wheel while loading, the decoded picture when done, the error image (or
// nothing) when the transfer fails or the data is not an image.
//
// One download at a time: a new download, cancelDownload or destroying the view cancels the running one, and
// its callbacks never arrive afterwards. Callbacks run on the main context. With a corner radius the picture
// is clipped to a rounded rectangle (the avatar's disc). Main thread.
#pragma once

#include "platform/net/AsyncLink.h"
#include "ui/controls/ZELImage.h"

#include <gtkmm.h>
#include <libsoup/soup.h>

#include <string>

namespace zel {

class ZELAsyncImageView : public Gtk::Widget {
  public:
    ZELAsyncImageView();
    ~ZELAsyncImageView() override;

    void downloadImageFromURL(const std::string& url, Glib::RefPtr<Gdk::Texture> placeholder,
                              Glib::RefPtr<Gdk::Texture> errorImage, bool displaySpinningWheel);
    void downloadImageFromURL(const std::string& url) { downloadImageFromURL(url, {}, {}, false); }
    void cancelDownload();

    void setImage(Glib::RefPtr<Gdk::Texture> image);
    Glib::RefPtr<Gdk::Texture> image() const { return image_; }
    void setCornerRadius(float radius) { cornerRadius_ = radius; }

    bool isLoadingImage() const { return isLoadingImage_; }
    bool userDidCancel() const { return userDidCancel_; }
    bool didFailLoadingImage() const { return didFailLoadingImage_; }

  protected:
    void size_allocate_vfunc(int width, int height, int baseline) override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

  private:
    void finished(GObject* source, GAsyncResult* result);
    void failed();
    void removeWheel();

    SoupSession* session_ = nullptr;
    GCancellable* cancellable_ = nullptr;
    platform::AsyncLink<ZELAsyncImageView>* link_ = nullptr;
    Glib::RefPtr<Gdk::Texture> image_, errorImage_;
    std::unique_ptr<Gtk::Spinner> spinningWheel_;
    float cornerRadius_ = 0;
    bool isLoadingImage_ = false;
    bool userDidCancel_ = false;
    bool didFailLoadingImage_ = false;
};

}  // namespace zel
