// Ties the completion of one GIO asynchronous call to the object that started it, without the call ever
// reaching that object after it is gone.
//
// GIO always completes a started call, even a cancelled one, and passes the user data it was given. The link
// is that user data: the owner makes one per call (start) and forgets it when the completion arrives; if the
// owner is destroyed first it detaches the link, and the completion then only frees the link. An unfinished
// result is released by GIO itself. Main thread (the thread whose main context runs the call).
#pragma once

#include <gio/gio.h>

#include <memory>

namespace zel::platform {

template <class T>
class AsyncLink {
  public:
    using Method = void (T::*)(GObject* source, GAsyncResult* result);

    // A new link for one call: pass callback and the returned pointer as the call's callback and user data.
    static AsyncLink* start(T* owner, Method method) { return new AsyncLink(owner, method); }

    static void callback(GObject* source, GAsyncResult* result, gpointer data) {
        std::unique_ptr<AsyncLink> link(static_cast<AsyncLink*>(data));
        if (link->owner_ != nullptr) (link->owner_->*link->method_)(source, result);
    }

    // The owner is going away: the completion must not reach it.
    void detach() { owner_ = nullptr; }

  private:
    AsyncLink(T* owner, Method method) : owner_(owner), method_(method) {}

    T* owner_;
    Method method_;
};

}  // namespace zel::platform
