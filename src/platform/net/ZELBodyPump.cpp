#include "platform/net/ZELBodyPump.h"

#include <algorithm>
#include <utility>

namespace zel::platform {

ZELBodyPump::ZELBodyPump(SoupServerMessage* msg, GInputStream* source, std::int64_t limit, DoneHandler done)
    : msg_(retained(msg)),
      source_(retained(source)),
      cancellable_(g_cancellable_new()),
      remaining_(limit),
      done_(std::move(done)) {}

ZELBodyPump::~ZELBodyPump() {
    if (link_ != nullptr) link_->detach();
    g_cancellable_cancel(cancellable_.get());
    if (wroteChunk_ != 0) g_signal_handler_disconnect(msg_.get(), wroteChunk_);
    if (finished_ != 0) g_signal_handler_disconnect(msg_.get(), finished_);
}

void ZELBodyPump::start() {
    // Pieces are written and forgotten; the body is never held whole.
    soup_message_body_set_accumulate(soup_server_message_get_response_body(msg_.get()), FALSE);
    wroteChunk_ = g_signal_connect(msg_.get(), "wrote-chunk", G_CALLBACK(onWroteChunk), this);
    finished_ = g_signal_connect(msg_.get(), "finished", G_CALLBACK(onFinished), this);
    soup_server_message_unpause(msg_.get());  // the status line and header fields go out now
    readNext();
}

void ZELBodyPump::readNext() {
    if (remaining_ == 0) {
        soup_message_body_complete(soup_server_message_get_response_body(msg_.get()));
        soup_server_message_unpause(msg_.get());
        finish(true);
        return;
    }
    const gsize size =
        remaining_ < 0 ? kPieceSize : static_cast<gsize>(std::min<std::int64_t>(remaining_, kPieceSize));
    link_ = AsyncLink<ZELBodyPump>::start(this, &ZELBodyPump::pieceRead);
    g_input_stream_read_bytes_async(source_.get(), size, G_PRIORITY_DEFAULT, cancellable_.get(),
                                    AsyncLink<ZELBodyPump>::callback, link_);
}

void ZELBodyPump::pieceRead(GObject* source, GAsyncResult* result) {
    link_ = nullptr;
    GError* error = nullptr;
    GBytes* piece = g_input_stream_read_bytes_finish(G_INPUT_STREAM(source), result, &error);
    if (piece == nullptr) {
        g_error_free(error);
        // Status and length are already on their way: only a closed connection tells the client.
        if (!ended_) g_io_stream_close(soup_server_message_steal_connection(msg_.get()), nullptr, nullptr);
        finish(false);
        return;
    }
    const gsize size = g_bytes_get_size(piece);
    if (size == 0) {
        g_bytes_unref(piece);
        remaining_ = 0;
        readNext();
        return;
    }
    if (remaining_ > 0) remaining_ -= static_cast<std::int64_t>(size);
    waitingForWrite_ = true;
    soup_message_body_append_bytes(soup_server_message_get_response_body(msg_.get()), piece);
    g_bytes_unref(piece);
    soup_server_message_unpause(msg_.get());
}

void ZELBodyPump::onWroteChunk(SoupServerMessage*, gpointer self) {
    auto* pump = static_cast<ZELBodyPump*>(self);
    if (!pump->waitingForWrite_) return;
    pump->waitingForWrite_ = false;
    pump->readNext();
}

void ZELBodyPump::onFinished(SoupServerMessage*, gpointer self) {
    auto* pump = static_cast<ZELBodyPump*>(self);
    pump->ended_ = true;
    pump->finish(false);  // no-op when the body was already complete
}

void ZELBodyPump::finish(bool complete) {
    if (!done_) return;
    if (link_ != nullptr) {
        link_->detach();
        link_ = nullptr;
        g_cancellable_cancel(cancellable_.get());
    }
    DoneHandler done = std::move(done_);
    done_ = nullptr;
    done(complete);  // may destroy this object
}

}  // namespace zel::platform
