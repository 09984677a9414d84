#include "ui/support/ZELDisplayStyle.h"

#include <gtkmm.h>

#include <set>

namespace zel {

void addDisplayStyle(const char* css) {
    static std::set<const char*> added;
    if (!added.insert(css).second) return;
    auto provider = Gtk::CssProvider::create();
    provider->load_from_data(css);
    Gtk::StyleContext::add_provider_for_display(Gdk::Display::get_default(), provider,
                                                GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

}  // namespace zel
