#include "ui/app/ZELMainMenuBar.h"

#include "ui/windows/ZELTitledWindow.h"

#include <webkit/webkit.h>

namespace zel {
namespace {

using Action = ZELMainMenuAction;

constexpr const char* kUnavailable = "unavailable";

// Items without an action share one disabled action; the others have their own (disabled where unavailable).
std::string detailedName(const ZELMainMenuItem& item) {
    return std::string("app.") + (item.action == Action::None ? kUnavailable : actionName(item.action));
}

// Separators become sections; an empty submenu (Services) is an item that cannot be chosen.
Glib::RefPtr<Gio::Menu> toolkitMenu(const ZELMainMenu& menu) {
    auto model = Gio::Menu::create();
    auto section = Gio::Menu::create();
    for (const ZELMainMenuItem& item : menu.items) {
        if (item.separator) {
            if (section->get_n_items() > 0) model->append_section(section);
            section = Gio::Menu::create();
        } else if (item.submenu && !item.submenu->items.empty()) {
            // The bar shows each menu's own title, the application menu the application's name.
            const std::string title =
                item.title == "Apple" ? ZELMenuPopulator::applicationName() : item.submenu->title;
            section->append_submenu(title, toolkitMenu(*item.submenu));
        } else {
            auto entry = Gio::MenuItem::create(item.title, detailedName(item));
            const std::string accel = accelerator(item);
            if (!accel.empty())
                entry->set_attribute_value("accel", Glib::Variant<Glib::ustring>::create(accel));
            section->append_item(entry);
        }
    }
    if (section->get_n_items() > 0) model->append_section(section);
    return model;
}

const char* textAction(Action action) {
    switch (action) {
        case Action::Undo:
            return "text.undo";
        case Action::Redo:
            return "text.redo";
        case Action::Cut:
            return "clipboard.cut";
        case Action::Copy:
            return "clipboard.copy";
        case Action::Paste:
            return "clipboard.paste";
        case Action::Delete:
            return "selection.delete";
        case Action::SelectAll:
            return "selection.select-all";
        default:
            return nullptr;
    }
}

const char* webCommand(Action action) {
    switch (action) {
        case Action::Undo:
            return WEBKIT_EDITING_COMMAND_UNDO;
        case Action::Redo:
            return WEBKIT_EDITING_COMMAND_REDO;
        case Action::Cut:
            return WEBKIT_EDITING_COMMAND_CUT;
        case Action::Copy:
            return WEBKIT_EDITING_COMMAND_COPY;
        case Action::Paste:
            return WEBKIT_EDITING_COMMAND_PASTE;
        case Action::Delete:
            return "Delete";
        case Action::SelectAll:
            return WEBKIT_EDITING_COMMAND_SELECT_ALL;
        default:
            return nullptr;
    }
}

void forEachItem(const ZELMainMenu& menu, const std::function<void(const ZELMainMenuItem&)>& visit) {
    for (const ZELMainMenuItem& item : menu.items) {
        if (item.submenu) forEachItem(*item.submenu, visit);
        if (!item.separator) visit(item);
    }
}

}  // namespace

ZELMainMenuBar::ZELMainMenuBar(Gtk::Application& application, Gtk::Widget& anchor, ZELAboutInfo about)
    : application_(application), anchor_(anchor), about_(std::move(about)) {
    const ZELMainMenu bar = ZELMenuPopulator::populateMainMenu();
    model_ = toolkitMenu(bar);

    auto unavailable = Gio::SimpleAction::create(kUnavailable);
    unavailable->set_enabled(false);
    application_.add_action(unavailable);
    forEachItem(bar, [this](const ZELMainMenuItem& item) {
        const Action action = item.action;
        const std::string name = actionName(action);
        if (name.empty()) return;
        switch (action) {
            case Action::OrderFrontStandardAboutPanel:
                addAction(name, [this] { orderFrontStandardAboutPanel(); });
                break;
            case Action::Hide:
                addAction(name, [this] {
                    for (Gtk::Window* w : application_.get_windows()) w->minimize();
                });
                break;
            case Action::PerformMiniaturize:
            case Action::PerformZoom:
                addAction(name, [this, action] { windowCommand(action); });
                break;
            case Action::Terminate:
                addAction(name, [this] { application_.quit(); });
                break;
            case Action::ShowHelp:
            case Action::ShowFeedbackWindow:
            case Action::HideOtherApplications:
            case Action::None:
                addAction(name, {});
                break;
            default:
                addAction(name, [this, action] { editCommand(action); });
                break;
        }
        const Glib::ustring accel = accelerator(item);
        if (accel.empty() || !item.enabled()) return;
        std::vector<Glib::ustring> accels = application_.get_accels_for_action("app." + name);
        if (std::find(accels.begin(), accels.end(), accel) == accels.end())
            accels.insert(accels.begin(), accel);
        application_.set_accels_for_action("app." + name, accels);
    });
    if (auto hideOthers =
            std::dynamic_pointer_cast<Gio::SimpleAction>(application_.lookup_action("hide-others")))
        hideOthers->set_enabled(false);
    application_.set_menubar(model_);

    addAction("menubar", [this] { popupMenuBar(); });
    application_.set_accels_for_action("app.menubar", {"F10"});
    menuBar_ = std::make_unique<Gtk::PopoverMenuBar>(model_);
    popover_.set_child(*menuBar_);
    popover_.set_has_arrow(false);
    popover_.set_position(Gtk::PositionType::BOTTOM);
    popover_.set_parent(anchor_);
}

ZELMainMenuBar::~ZELMainMenuBar() {
    popover_.unparent();
}

// Actions the application already has (Quit, Help, Feedback are exported before launching ends) stay.
void ZELMainMenuBar::addAction(const std::string& name, std::function<void()> activate) {
    if (application_.lookup_action(name)) return;
    if (activate) {
        application_.add_action(name, activate);
    } else {
        auto action = Gio::SimpleAction::create(name);
        action->set_enabled(false);
        application_.add_action(action);
    }
}

void ZELMainMenuBar::popupMenuBar() {
    int minimum = 0, natural = 0, b1 = 0, b2 = 0;
    menuBar_->measure(Gtk::Orientation::HORIZONTAL, -1, minimum, natural, b1, b2);
    popover_.set_pointing_to(Gdk::Rectangle(0, 0, std::max(natural, 1), 1));
    popover_.popup();
    // The first menu opens, as F10 does on a window's own menu bar.
    if (GtkWidget* first = gtk_widget_get_first_child(GTK_WIDGET(menuBar_->gobj()))) {
        if (g_signal_lookup("activate", G_OBJECT_TYPE(first)) != 0) g_signal_emit_by_name(first, "activate");
    }
}

void ZELMainMenuBar::editCommand(ZELMainMenuAction action) {
    Gtk::Window* window = application_.get_active_window();
    Gtk::Widget* focus = window ? window->get_focus() : nullptr;
    for (GtkWidget* w = focus ? focus->gobj() : nullptr; w; w = gtk_widget_get_parent(w)) {
        if (GTK_IS_TEXT(w) || GTK_IS_TEXT_VIEW(w)) {
            gtk_widget_activate_action(w, textAction(action), nullptr);
            return;
        }
        if (WEBKIT_IS_WEB_VIEW(w)) {
            webkit_web_view_execute_editing_command(WEBKIT_WEB_VIEW(w), webCommand(action));
            return;
        }
    }
}

void ZELMainMenuBar::windowCommand(ZELMainMenuAction action) {
    Gtk::Window* window = application_.get_active_window();
    if (!window) return;
    auto* titled = dynamic_cast<ZELTitledWindow*>(window);
    if (action == Action::PerformMiniaturize) {
        if (titled) {
            titled->performMiniaturize();
        } else {
            window->minimize();
        }
    } else if (titled) {
        titled->performZoom();
    } else if (window->is_maximized()) {
        window->unmaximize();
    } else {
        window->maximize();
    }
}

void ZELMainMenuBar::orderFrontStandardAboutPanel() {
    if (!aboutPanel_) {
        aboutPanel_ = std::make_unique<Gtk::AboutDialog>();
        aboutPanel_->set_program_name(about_.name);
        aboutPanel_->set_version(about_.version);
        aboutPanel_->set_logo_icon_name(about_.iconName);
        aboutPanel_->set_website(about_.website);
        aboutPanel_->set_hide_on_close(true);
        application_.add_window(*aboutPanel_);
    }
    if (Gtk::Window* active = application_.get_active_window(); active && active != aboutPanel_.get())
        aboutPanel_->set_transient_for(*active);
    aboutPanel_->present();
}

}  // namespace zel
