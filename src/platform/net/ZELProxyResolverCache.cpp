#include "platform/net/ZELProxyResolverCache.h"

#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace zel::platform {
namespace {

constexpr std::size_t kMaxAnswers = 256;

struct Answer {
    std::vector<std::string> proxies;
    gint64 expires = 0;
};

// The C++ side of one resolver.
struct Cache {
    GProxyResolver* inner = nullptr;
    gint64 lifetime = 0;
    std::mutex mutex;
    std::unordered_map<std::string, Answer> answers;

    bool find(const std::string& uri, gchar*** proxies) {
        std::lock_guard lock(mutex);
        const auto it = answers.find(uri);
        if (it == answers.end()) return false;
        if (it->second.expires <= g_get_monotonic_time()) {
            answers.erase(it);
            return false;
        }
        const std::vector<std::string>& found = it->second.proxies;
        *proxies = g_new0(gchar*, found.size() + 1);
        for (std::size_t i = 0; i < found.size(); ++i) (*proxies)[i] = g_strdup(found[i].c_str());
        return true;
    }

    void keep(const std::string& uri, gchar** proxies) {
        Answer answer;
        for (gchar** proxy = proxies; *proxy != nullptr; ++proxy) answer.proxies.emplace_back(*proxy);
        answer.expires = g_get_monotonic_time() + lifetime;
        std::lock_guard lock(mutex);
        // Destinations are few (the hosts of one web app); a flood of them only costs fresh lookups.
        if (answers.size() >= kMaxAnswers) answers.clear();
        answers.insert_or_assign(uri, std::move(answer));
    }
};

}  // namespace
}  // namespace zel::platform

extern "C" {

struct ZelProxyResolverCache {
    GObject parent;
    zel::platform::Cache* cache;
};

struct ZelProxyResolverCacheClass {
    GObjectClass parent;
};

static void zel_proxy_resolver_cache_iface_init(GProxyResolverInterface* iface);

G_DEFINE_TYPE_WITH_CODE(ZelProxyResolverCache, zel_proxy_resolver_cache, G_TYPE_OBJECT,
                        G_IMPLEMENT_INTERFACE(G_TYPE_PROXY_RESOLVER, zel_proxy_resolver_cache_iface_init))

static zel::platform::Cache* cacheOf(gpointer resolver) {
    return G_TYPE_CHECK_INSTANCE_CAST(resolver, zel_proxy_resolver_cache_get_type(), ZelProxyResolverCache)
        ->cache;
}

static void zel_proxy_resolver_cache_init(ZelProxyResolverCache* self) {
    self->cache = new zel::platform::Cache;
}

static void zel_proxy_resolver_cache_finalize(GObject* object) {
    zel::platform::Cache* cache = cacheOf(object);
    if (cache->inner != nullptr) g_object_unref(cache->inner);
    delete cache;
    G_OBJECT_CLASS(zel_proxy_resolver_cache_parent_class)->finalize(object);
}

static void zel_proxy_resolver_cache_class_init(ZelProxyResolverCacheClass* klass) {
    G_OBJECT_CLASS(klass)->finalize = zel_proxy_resolver_cache_finalize;
}

static gboolean isSupported(GProxyResolver* resolver) {
    return g_proxy_resolver_is_supported(cacheOf(resolver)->inner);
}

static gchar** lookup(GProxyResolver* resolver, const gchar* uri, GCancellable* cancellable, GError** error) {
    zel::platform::Cache* cache = cacheOf(resolver);
    gchar** proxies = nullptr;
    if (cache->find(uri, &proxies)) return proxies;
    proxies = g_proxy_resolver_lookup(cache->inner, uri, cancellable, error);
    if (proxies != nullptr) cache->keep(uri, proxies);
    return proxies;
}

static void innerLookedUp(GObject* inner, GAsyncResult* result, gpointer data) {
    GTask* task = G_TASK(data);
    GError* error = nullptr;
    gchar** proxies = g_proxy_resolver_lookup_finish(G_PROXY_RESOLVER(inner), result, &error);
    if (proxies == nullptr) {
        g_task_return_error(task, error);
    } else {
        cacheOf(g_task_get_source_object(task))
            ->keep(static_cast<const char*>(g_task_get_task_data(task)), proxies);
        g_task_return_pointer(task, proxies, reinterpret_cast<GDestroyNotify>(g_strfreev));
    }
    g_object_unref(task);
}

static void lookupAsync(GProxyResolver* resolver, const gchar* uri, GCancellable* cancellable,
                        GAsyncReadyCallback callback, gpointer data) {
    GTask* task = g_task_new(resolver, cancellable, callback, data);
    g_task_set_source_tag(task, reinterpret_cast<gpointer>(&lookupAsync));
    zel::platform::Cache* cache = cacheOf(resolver);
    gchar** proxies = nullptr;
    if (cache->find(uri, &proxies)) {
        g_task_return_pointer(task, proxies, reinterpret_cast<GDestroyNotify>(g_strfreev));
        g_object_unref(task);
        return;
    }
    g_task_set_task_data(task, g_strdup(uri), g_free);
    g_proxy_resolver_lookup_async(cache->inner, uri, cancellable, innerLookedUp, task);
}

static gchar** lookupFinish(GProxyResolver*, GAsyncResult* result, GError** error) {
    return static_cast<gchar**>(g_task_propagate_pointer(G_TASK(result), error));
}

static void zel_proxy_resolver_cache_iface_init(GProxyResolverInterface* iface) {
    iface->is_supported = isSupported;
    iface->lookup = lookup;
    iface->lookup_async = lookupAsync;
    iface->lookup_finish = lookupFinish;
}

}  // extern "C"

namespace zel::platform {

GProxyResolver* newProxyResolverCache(GProxyResolver* inner, gint64 lifetime) {
    auto* resolver =
        static_cast<ZelProxyResolverCache*>(g_object_new(zel_proxy_resolver_cache_get_type(), nullptr));
    resolver->cache->inner = G_PROXY_RESOLVER(g_object_ref(inner));
    resolver->cache->lifetime = lifetime;
    return G_PROXY_RESOLVER(resolver);
}

}  // namespace zel::platform
