#include "ui/controls/ZELImage.h"

#include <gio/gio.h>

#include <algorithm>

extern "C" GResource* ostrelle_art_get_resource(void);
extern "C" void ostrelle_art_register_resource(void);

namespace zel {
namespace {

Glib::RefPtr<Gdk::Texture> load(const std::string& name) {
    static const bool registered = [] {
        ostrelle_art_register_resource();
        return true;
    }();
    (void)registered;
    const std::string path = "/org/ostrelle/art/" + name;
    if (!g_resources_get_info(path.c_str(), G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr, nullptr, nullptr)) {
        return {};
    }
    GdkTexture* texture = gdk_texture_new_from_resource(path.c_str());
    return texture ? Glib::wrap(texture) : Glib::RefPtr<Gdk::Texture>();
}

std::string largeName(const std::string& name) {
    const auto dot = name.rfind('.');
    return dot == std::string::npos ? name + "@2x" : name.substr(0, dot) + "@2x" + name.substr(dot);
}

}  // namespace

Gdk::RGBA rgba(const ZELColor& c) {
    Gdk::RGBA color;
    color.set_rgba(c.red, c.green, c.blue, c.alpha);
    return color;
}

ZELImage::ZELImage(const std::string& name) : normal_(load(name)), large_(load(largeName(name))) {}

void ZELImage::paint(const Glib::RefPtr<Gtk::Snapshot>& snapshot, float x, float y, float w, float h,
                     int scale) const {
    if (auto t = texture(scale)) {
        const graphene_rect_t r = GRAPHENE_RECT_INIT(x, y, w, h);
        snapshot->append_texture(t, &r);
    }
}

Cairo::RefPtr<Cairo::SurfacePattern> ZELImage::pattern(int scale) const {
    auto t = texture(scale);
    if (!t) return {};
    auto surface =
        Cairo::ImageSurface::create(Cairo::Surface::Format::ARGB32, t->get_width(), t->get_height());
    surface->flush();
    // The default download format is cairo's own (premultiplied, native-endian ARGB).
    t->download(surface->get_data(), surface->get_stride());
    surface->mark_dirty();
    const double factor = double(t->get_width()) / std::max(1, width());
    cairo_surface_set_device_scale(surface->cobj(), factor, factor);
    auto pattern = Cairo::SurfacePattern::create(surface);
    pattern->set_extend(Cairo::Pattern::Extend::REPEAT);
    return pattern;
}

}  // namespace zel
