#include "platform/net/ZELSocketWatch.h"

#include <utility>

namespace zel::platform {
ZELSocketWatch::ZELSocketWatch(int fd, Handler handler) : handler_(std::move(handler)) {
    // Without prepare and check functions, GLib dispatches the source when its descriptor reports an event.
    static GSourceFuncs funcs = {nullptr, nullptr, &ZELSocketWatch::dispatch, nullptr, nullptr, nullptr};
    source_ = g_source_new(&funcs, sizeof(Source));
    reinterpret_cast<Source*>(source_)->owner = this;
    tag_ = g_source_add_unix_fd(source_, fd, conditions_);
    g_source_attach(source_, g_main_context_get_thread_default());
}

ZELSocketWatch::~ZELSocketWatch() {
    g_source_destroy(source_);
    g_source_unref(source_);
}

void ZELSocketWatch::watch(GIOCondition conditions) {
    if (conditions == conditions_) return;
    conditions_ = conditions;
    g_source_modify_unix_fd(source_, tag_, conditions);
}

gboolean ZELSocketWatch::dispatch(GSource* source, GSourceFunc, gpointer) {
    ZELSocketWatch* watch = reinterpret_cast<Source*>(source)->owner;
    const GIOCondition happened = g_source_query_unix_fd(source, watch->tag_);
    // The handler may destroy the watch: nothing of it is touched afterwards.
    if (happened != 0) watch->handler_(happened);
    return G_SOURCE_CONTINUE;
}

}  // namespace zel::platform
