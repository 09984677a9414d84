// One GObject signal handler, connected for as long as this object lives: it holds a reference to the
// instance, so disconnecting in the destructor (or in disconnect()) is always safe, whichever of the two the
// owner happens to release first. The callback's data (usually the owner's this) is never used after that.
// Move-only; main thread (the instance's thread) only.
#pragma once

#include "platform/net/GObjectPtr.h"

#include <utility>

namespace zel::platform {

class ZELSignalConnection {
  public:
    ZELSignalConnection() = default;
    ZELSignalConnection(gpointer instance, const char* signal, GCallback callback, gpointer data)
        : instance_(retained(G_OBJECT(instance))), id_(g_signal_connect(instance, signal, callback, data)) {}
    ~ZELSignalConnection() { disconnect(); }
    ZELSignalConnection(ZELSignalConnection&& other) noexcept
        : instance_(std::move(other.instance_)), id_(std::exchange(other.id_, 0)) {}
    ZELSignalConnection& operator=(ZELSignalConnection&& other) noexcept {
        if (this != &other) {
            disconnect();
            instance_ = std::move(other.instance_);
            id_ = std::exchange(other.id_, 0);
        }
        return *this;
    }

    void disconnect() {
        if (id_ != 0 && instance_) g_signal_handler_disconnect(instance_.get(), id_);
        id_ = 0;
        instance_.reset();
    }

  private:
    GObjectPtr<GObject> instance_;
    gulong id_ = 0;
};

}  // namespace zel::platform
