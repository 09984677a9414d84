#include "ui/controls/ZELAsyncImageView.h"

#include "core/chrome/ZELChromeGeometry.h"

namespace zel {

ZELAsyncImageView::ZELAsyncImageView() = default;

ZELAsyncImageView::~ZELAsyncImageView() {
    cancelDownload();
    if (session_) g_object_unref(session_);
}

void ZELAsyncImageView::downloadImageFromURL(const std::string& url, Glib::RefPtr<Gdk::Texture> placeholder,
                                             Glib::RefPtr<Gdk::Texture> errorImage,
                                             bool displaySpinningWheel) {
    cancelDownload();
    isLoadingImage_ = true;
    didFailLoadingImage_ = false;
    userDidCancel_ = false;
    setImage(std::move(placeholder));
    errorImage_ = std::move(errorImage);

    if (!session_) session_ = soup_session_new();
    SoupMessage* message = soup_message_new("GET", url.c_str());
    if (displaySpinningWheel) {
        if (auto frame = chrome::spinningWheelFrame(get_width(), get_height())) {
            spinningWheel_ = std::make_unique<Gtk::Spinner>();
            spinningWheel_->set_parent(*this);
            spinningWheel_->start();
            queue_allocate();
        }
    }
    if (!message) {
        // Not a URL: fails like a transfer would, but from the main loop, never inside the caller.
        Glib::signal_idle().connect_once([this] {
            if (isLoadingImage_) failed();
        });
        return;
    }
    cancellable_ = g_cancellable_new();
    link_ = platform::AsyncLink<ZELAsyncImageView>::start(this, &ZELAsyncImageView::finished);
    soup_session_send_and_read_async(session_, message, G_PRIORITY_DEFAULT, cancellable_,
                                     platform::AsyncLink<ZELAsyncImageView>::callback, link_);
    g_object_unref(message);
}

void ZELAsyncImageView::cancelDownload() {
    userDidCancel_ = true;
    isLoadingImage_ = false;
    didFailLoadingImage_ = false;
    removeWheel();
    if (link_) {
        link_->detach();
        link_ = nullptr;
    }
    if (cancellable_) {
        g_cancellable_cancel(cancellable_);
        g_object_unref(cancellable_);
        cancellable_ = nullptr;
    }
    errorImage_.reset();
    setImage({});
}

void ZELAsyncImageView::finished(GObject* source, GAsyncResult* result) {
    link_ = nullptr;
    if (cancellable_) {
        g_object_unref(cancellable_);
        cancellable_ = nullptr;
    }
    GError* error = nullptr;
    GBytes* body = soup_session_send_and_read_finish(SOUP_SESSION(source), result, &error);
    if (!body) {
        g_clear_error(&error);
        failed();
        return;
    }
    GdkTexture* texture = gdk_texture_new_from_bytes(body, &error);
    g_bytes_unref(body);
    if (!texture) {
        g_clear_error(&error);
        failed();
        return;
    }
    didFailLoadingImage_ = false;
    userDidCancel_ = false;
    isLoadingImage_ = false;
    setImage(Glib::wrap(texture));
    removeWheel();
    errorImage_.reset();
}

void ZELAsyncImageView::failed() {
    isLoadingImage_ = false;
    didFailLoadingImage_ = true;
    userDidCancel_ = false;
    removeWheel();
    setImage(errorImage_);
    errorImage_.reset();
}

void ZELAsyncImageView::removeWheel() {
    if (!spinningWheel_) return;
    spinningWheel_->stop();
    spinningWheel_->unparent();
    spinningWheel_.reset();
}

void ZELAsyncImageView::setImage(Glib::RefPtr<Gdk::Texture> image) {
    image_ = std::move(image);
    queue_draw();
}

void ZELAsyncImageView::size_allocate_vfunc(int width, int height, int) {
    if (!spinningWheel_) return;
    if (auto frame = chrome::spinningWheelFrame(width, height)) {
        const ZELRect r = chrome::flipped(*frame, height);
        int m = 0, n = 0, b1 = 0, b2 = 0;
        spinningWheel_->measure(Gtk::Orientation::HORIZONTAL, -1, m, n, b1, b2);
        spinningWheel_->size_allocate(Gtk::Allocation(int(r.x), int(r.y), int(r.width), int(r.height)), -1);
    }
}

void ZELAsyncImageView::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const float w = float(get_width()), h = float(get_height());
    if (image_) {
        const graphene_rect_t bounds = GRAPHENE_RECT_INIT(0, 0, w, h);
        if (cornerRadius_ > 0) {
            GskRoundedRect clip;
            const float r = std::min({cornerRadius_, w / 2, h / 2});
            gsk_rounded_rect_init_from_rect(&clip, &bounds, r);
            gtk_snapshot_push_rounded_clip(snapshot->gobj(), &clip);
        }
        snapshot->append_texture(image_, &bounds);
        if (cornerRadius_ > 0) snapshot->pop();
    }
    if (spinningWheel_) snapshot_child(*spinningWheel_, snapshot);
}

}  // namespace zel
