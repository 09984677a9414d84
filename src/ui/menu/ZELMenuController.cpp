#include "ui/menu/ZELMenuController.h"

#include "core/log/ZELLog.h"
#include "core/menu/ZELMenuGeometry.h"
#include "ui/support/ZELDisplayStyle.h"
#include "ui/support/ZELScopedConnection.h"

#include <cmath>
#include <vector>

namespace zel {
namespace {

constexpr const char* kActionGroup = "contextmenu";

// Menu model labels take "_" as a mnemonic marker; playlist names are shown as written.
std::string literalLabel(const std::string& title) {
    std::string label;
    for (char c : title) {
        if (c == '_') label += '_';
        label += c;
    }
    return label;
}

// The toolkit draws a separator between sections, so each separator item starts a new section. Action
// items point at their position in `chosen` through the parameter of the one "choose" action.
Glib::RefPtr<Gio::Menu> toolkitMenu(const ZELMenu& menu, std::vector<const ZELMenuItem*>& chosen) {
    auto model = Gio::Menu::create();
    auto section = Gio::Menu::create();
    for (const ZELMenuItem& item : menu.items) {
        if (item.separator) {
            model->append_section(section);
            section = Gio::Menu::create();
            continue;
        }
        auto entry = Gio::MenuItem::create(literalLabel(item.title), "");
        if (item.submenu) {
            entry->set_submenu(toolkitMenu(*item.submenu, chosen));
        } else if (item.action != ZELMenuAction::None) {
            entry->set_action_and_target(std::string(kActionGroup) + ".choose",
                                         Glib::Variant<int>::create(static_cast<int>(chosen.size())));
            chosen.push_back(&item);
        }
        section->append_item(entry);
    }
    model->append_section(section);
    return model;
}

// Without a compositor the menu's rounded corners and shadow would be painted black; such menus are square.
constexpr const char* kSolidMenuStyle = R"CSS(
popover.context-menu.solid > contents, popover.context-menu.solid popover > contents {
  box-shadow: none; border-radius: 0; margin: 0; border: 1px solid alpha(black, 0.25);
}
)CSS";

}  // namespace

void ZELMenuController::showSongMenu(const Value& song, ZELPoint origin) {
    const double height = webView_ ? webView_->get_height() : 0;
    popUpContextMenu(menus_.songMenuPopUp(song, origin, height));
}

void ZELMenuController::showDiyListMenu(const Value& list, ZELPoint origin) {
    const double height = webView_ ? webView_->get_height() : 0;
    popUpContextMenu(menus_.diyListMenuPopUp(list, origin, height));
}

void ZELMenuController::popUpContextMenu(const ZELMenuPopUp& popUp) {
    if (open_) {
        zelLog("popUpContextMenu: a menu is already open");
        return;
    }
    if (!webView_ || !window_ || !window_->get_visible() || !webView_->get_mapped()) {
        zelLog("popUpContextMenu: the web view is not on screen");
        return;
    }

    std::vector<const ZELMenuItem*> chosenItems;
    const ZELMenuItem* chosen = nullptr;
    auto actions = Gio::SimpleActionGroup::create();
    auto choose = Gio::SimpleAction::create("choose", Glib::VariantType("i"));
    // The toolkit may hold the action beyond this call; the slot points at locals of it.
    const ZELScopedConnection connection =
        choose->signal_activate().connect([&](const Glib::VariantBase& parameter) {
            const int index = Glib::VariantBase::cast_dynamic<Glib::Variant<int>>(parameter).get();
            if (index >= 0 && index < static_cast<int>(chosenItems.size())) chosen = chosenItems[index];
        });
    actions->add_action(choose);

    Gtk::PopoverMenu popover(toolkitMenu(popUp.menu, chosenItems), Gtk::PopoverMenu::Flags::NESTED);
    popover.insert_action_group(kActionGroup, actions);
    popover.add_css_class("context-menu");
    if (!webView_->get_display()->is_composited()) {
        addDisplayStyle(kSolidMenuStyle);
        popover.add_css_class("solid");
    }
    popover.set_has_arrow(false);
    popover.set_position(Gtk::PositionType::BOTTOM);
    popover.set_halign(Gtk::Align::START);
    const ZELRect anchor = menuAnchorInView(popUp.location, webView_->get_width(), webView_->get_height());
    const Gdk::Rectangle rect(static_cast<int>(std::lround(anchor.x)),
                              static_cast<int>(std::lround(anchor.y)), static_cast<int>(anchor.width),
                              static_cast<int>(anchor.height));
    popover.set_pointing_to(rect);
    popover.set_parent(*webView_);

    auto loop = Glib::MainLoop::create();
    // The item's action is activated in the same event that closes the menu: leave the loop only after it.
    popover.signal_closed().connect([loop] { Glib::signal_idle().connect_once([loop] { loop->quit(); }); });
    open_ = true;
    popover.popup();
    if (popover.get_visible()) loop->run();
    popover.unparent();
    open_ = false;

    if (chosen != nullptr) menus_.perform(*chosen);
}

}  // namespace zel
