#include "ui/windows/WindowPlacement.h"

#include "core/geometry/Geometry.h"

#include <gdk/x11/gdkx.h>

#include <cmath>
#include <memory>

namespace zel {

void centerOnScreen(Gtk::Window& window) {
    auto place = [&window] {
        GtkNative* native = GTK_NATIVE(window.gobj());
        GdkSurface* surface = gtk_native_get_surface(native);
        GdkDisplay* display = surface ? gdk_surface_get_display(surface) : nullptr;
        if (!display || !GDK_IS_X11_DISPLAY(display)) return;
        GdkMonitor* monitor = gdk_display_get_monitor_at_surface(display, surface);
        if (!monitor) return;
        GdkRectangle geometry;
        gdk_monitor_get_geometry(monitor, &geometry);
        int width = window.get_width(), height = window.get_height();
        if (width <= 0 || height <= 0) window.get_default_size(width, height);
        const ZELRect r = centeredRect(
            {double(geometry.x), double(geometry.y), double(geometry.width), double(geometry.height)}, width,
            height);
        XMoveWindow(gdk_x11_display_get_xdisplay(display), gdk_x11_surface_get_xid(surface),
                    static_cast<int>(std::lround(r.x)), static_cast<int>(std::lround(r.y)));
    };
    if (window.get_mapped()) {
        place();
    } else {
        window.signal_map().connect(place);
    }
}

void centerOnWindow(Gtk::Window& window, Gtk::Window& parent) {
    auto place = [&window, &parent] {
        GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(window.gobj()));
        GdkSurface* parentSurface = gtk_native_get_surface(GTK_NATIVE(parent.gobj()));
        if (!surface || !parentSurface || !GDK_IS_X11_SURFACE(surface) || !GDK_IS_X11_SURFACE(parentSurface))
            return;
        Display* display = gdk_x11_display_get_xdisplay(gdk_surface_get_display(surface));
        int px = 0, py = 0;
        ::Window child = 0;
        XTranslateCoordinates(display, gdk_x11_surface_get_xid(parentSurface), DefaultRootWindow(display), 0,
                              0, &px, &py, &child);
        int width = window.get_width(), height = window.get_height();
        if (width <= 0 || height <= 0) window.get_default_size(width, height);
        XMoveWindow(display, gdk_x11_surface_get_xid(surface), px + (parent.get_width() - width) / 2,
                    py + (parent.get_height() - height) / 2);
    };
    // Only the first showing: a later one finds the window where it was left.
    auto once = std::make_shared<sigc::connection>();
    *once = window.signal_map().connect([place, once] {
        once->disconnect();
        place();
    });
}

}  // namespace zel
