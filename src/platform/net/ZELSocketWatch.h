// Watches one file descriptor in the thread-default main context of the thread that made the watch, and calls
// back whenever one of the conditions asked for holds (hang-ups and errors come as such, or as a readable
// end).
//
// One source for the watch's whole life, so asking for other conditions on every turn of a connection costs
// neither an allocation, nor a new source, nor a wake-up of the loop: the conditions are read anew each time
// the loop polls, and only the watch's own thread changes them. The descriptor is not owned and must stay
// open while it is watched. The handler may destroy the watch. The watch's own thread only.
#pragma once

#include <glib.h>

#include <functional>
#include <utility>

namespace zel::platform {

class ZELSocketWatch {
  public:
    using Handler = std::function<void(GIOCondition)>;

    // Watches nothing until watch() is called.
    ZELSocketWatch(int fd, Handler handler);
    ~ZELSocketWatch();
    ZELSocketWatch(const ZELSocketWatch&) = delete;
    ZELSocketWatch& operator=(const ZELSocketWatch&) = delete;

    // What to wait for from now on; 0 for nothing.
    void watch(GIOCondition conditions);
    void setHandler(Handler handler) { handler_ = std::move(handler); }

  private:
    struct Source {
        GSource base;
        ZELSocketWatch* owner;
    };
    static gboolean check(GSource* source);
    static gboolean dispatch(GSource* source, GSourceFunc, gpointer);

    Handler handler_;
    GSource* source_;
    GPollFD poll_;
    bool polled_ = true;
};

}  // namespace zel::platform
