#include "ui/windows/WindowPlacement.h"

#include "core/geometry/Geometry.h"

#include <gdk/x11/gdkx.h>

#include <cmath>
#include <memory>
#include <optional>
#include <utility>

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

namespace {

// The X window of a realised toplevel, with its display; nullopt elsewhere (Wayland).
struct XSurface {
    Display* display;
    ::Window window;
};
std::optional<XSurface> xSurface(Gtk::Window& window) {
    GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(window.gobj()));
    if (!surface || !GDK_IS_X11_SURFACE(surface)) return std::nullopt;
    return XSurface{gdk_x11_display_get_xdisplay(gdk_surface_get_display(surface)),
                    gdk_x11_surface_get_xid(surface)};
}

std::pair<int, int> rootPosition(const XSurface& s) {
    int x = 0, y = 0;
    ::Window child = 0;
    XTranslateCoordinates(s.display, s.window, DefaultRootWindow(s.display), 0, 0, &x, &y, &child);
    return {x, y};
}

}  // namespace

void centerOnWindow(Gtk::Window& window, Gtk::Window& parent) {
    // Where the window was when it was hidden; empty before its first showing.
    auto left = std::make_shared<std::optional<std::pair<int, int>>>();
    window.signal_map().connect([&window, &parent, left] {
        const auto self = xSurface(window), over = xSurface(parent);
        if (!self || !over) return;
        if (*left) {
            // A window manager may place a window again when it is shown again (a transient one centred
            // on its parent, at the size it had when hidden).
            XMoveWindow(self->display, self->window, (*left)->first, (*left)->second);
            return;
        }
        const auto [px, py] = rootPosition(*over);
        // Not allocated yet at its first mapping: the size it asks for.
        int width = 0, height = 0, minimum = 0, b1 = 0, b2 = 0;
        window.measure(Gtk::Orientation::HORIZONTAL, -1, minimum, width, b1, b2);
        window.measure(Gtk::Orientation::VERTICAL, width, minimum, height, b1, b2);
        XMoveWindow(self->display, self->window, px + (parent.get_width() - width) / 2,
                    py + (parent.get_height() - height) / 2);
    });
    // Before the toolkit withdraws the window, while the window manager still has it where it is.
    window.signal_unmap().connect([&window, left] {
        if (const auto self = xSurface(window)) *left = rootPosition(*self);
    });
}

}  // namespace zel
