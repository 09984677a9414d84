#include "platform/gobject/PostToContext.h"

#include <utility>

namespace zel::platform {

void postToContext(GMainContext* context, std::function<void()> job) {
    using Job = std::function<void()>;
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
            (*static_cast<Job*>(data))();
            return G_SOURCE_REMOVE;
        },
        new Job(std::move(job)), [](gpointer data) { delete static_cast<Job*>(data); });
    g_source_attach(source, context);
    g_source_unref(source);
}

}  // namespace zel::platform
