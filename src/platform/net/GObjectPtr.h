// Owns one reference to a GObject and releases it when it goes; the platform layer's equivalent of
// Glib::RefPtr for the C libraries (GIO, libsoup) it uses directly.
#pragma once

#include <glib-object.h>

#include <memory>

namespace zel::platform {

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};

// Takes over a reference the caller already holds (a "transfer full" return value).
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

// Takes a new reference of its own to an object the caller does not own.
template <class T>
GObjectPtr<T> retained(T* object) {
    return GObjectPtr<T>(object != nullptr ? static_cast<T*>(g_object_ref(object)) : nullptr);
}

}  // namespace zel::platform
