#include "platform/net/ZELSocketWatch.h"

#include <utility>

namespace zel::platform {

ZELSocketWatch::ZELSocketWatch(int fd, Handler handler) : handler_(std::move(handler)), poll_{fd, 0, 0} {
    static GSourceFuncs funcs = {nullptr, &ZELSocketWatch::check, &ZELSocketWatch::dispatch, nullptr, nullptr,
                                 nullptr};
    source_ = g_source_new(&funcs, sizeof(Source));
    reinterpret_cast<Source*>(source_)->owner = this;
    // The loop polls with the events of this very record each time, so changing them needs no call into it
    // (g_source_modify_unix_fd would wake the loop up for every change).
    g_source_add_poll(source_, &poll_);
    // A source that may not recurse is taken out of the poll while it is dispatched and put back after, which
    // wakes the loop up twice for every dispatch. Nothing here runs a nested loop.
    g_source_set_can_recurse(source_, TRUE);
    g_source_attach(source_, g_main_context_get_thread_default());
}

ZELSocketWatch::~ZELSocketWatch() {
    g_source_destroy(source_);
    g_source_unref(source_);
}

void ZELSocketWatch::watch(GIOCondition conditions) {
    poll_.events = static_cast<gushort>(conditions);
}

gboolean ZELSocketWatch::check(GSource* source) {
    return reinterpret_cast<Source*>(source)->owner->poll_.revents != 0;
}

gboolean ZELSocketWatch::dispatch(GSource* source, GSourceFunc, gpointer) {
    ZELSocketWatch* watch = reinterpret_cast<Source*>(source)->owner;
    const auto happened = static_cast<GIOCondition>(watch->poll_.revents);
    watch->poll_.revents = 0;
    if ((happened & (G_IO_HUP | G_IO_ERR | G_IO_NVAL)) && watch->polled_) {
        g_source_remove_poll(source, &watch->poll_);
        watch->polled_ = false;
    }
    // The handler may destroy the watch: nothing of it is touched afterwards.
    if (happened != 0) watch->handler_(happened);
    return G_SOURCE_CONTINUE;
}

}  // namespace zel::platform
