#include "core/menu/ZELMenuPopulator.h"

#include "core/i18n/ZELLocalized.h"
#include "core/log/ZELLog.h"

#include <cctype>

namespace zel {
namespace {

using Action = ZELMainMenuAction;

ZELMenuPopulator::InfoSource& infoSource() {
    static ZELMenuPopulator::InfoSource source;
    return source;
}

const auto localized = localizedString;

// "%@ %@" of two looked-up parts.
std::string joined(const std::string& first, const std::string& second) {
    return first + " " + second;
}

ZELMainMenuItem item(std::string title, Action action, std::string key, bool applicationTarget = false) {
    ZELMainMenuItem i;
    i.title = std::move(title);
    i.action = action;
    i.keyEquivalent = std::move(key);
    i.applicationTarget = applicationTarget;
    return i;
}

ZELMainMenuItem submenuItem(const std::string& title, ZELMainMenu submenu) {
    ZELMainMenuItem i;
    i.title = title;
    i.submenu = std::make_shared<const ZELMainMenu>(std::move(submenu));
    return i;
}

}  // namespace

void ZELMenuPopulator::setInfoSource(InfoSource source) {
    infoSource() = std::move(source);
}

ZELMainMenu ZELMenuPopulator::populateMainMenu() {
    ZELMainMenu bar{"MainMenu", {}};
    ZELMainMenu apple{"Apple", {}};
    populateApplicationMenu(apple);
    bar.items.push_back(submenuItem("Apple", std::move(apple)));
    ZELMainMenu edit{localized("Edit"), {}};
    populateEditMenu(edit);
    bar.items.push_back(submenuItem("Edit", std::move(edit)));
    ZELMainMenu window{localized("Window"), {}};
    populateWindowMenu(window);
    bar.items.push_back(submenuItem("Window", std::move(window)));
    ZELMainMenu help{localized("Help"), {}};
    populateHelpMenu(help);
    bar.items.push_back(submenuItem("Help", std::move(help)));
    return bar;
}

void ZELMenuPopulator::populateApplicationMenu(ZELMainMenu& menu) {
    const std::string& name = applicationName();
    auto& items = menu.items;
    items.push_back(item(joined(localized("About"), name), Action::OrderFrontStandardAboutPanel, "", true));
    items.push_back(ZELMainMenuItem::separatorItem());
    items.push_back(ZELMainMenuItem::separatorItem());
    items.push_back(item(localized("Preferences..."), Action::None, ","));
    items.push_back(ZELMainMenuItem::separatorItem());
    items.push_back(submenuItem(localized("Services"), ZELMainMenu{localized("Services"), {}}));
    items.push_back(ZELMainMenuItem::separatorItem());
    items.push_back(item(joined(localized("Hide"), name), Action::Hide, "h", true));
    ZELMainMenuItem hideOthers = item(localized("Hide Others"), Action::HideOtherApplications, "h", true);
    hideOthers.option = true;
    items.push_back(hideOthers);
    items.push_back(ZELMainMenuItem::separatorItem());
    items.push_back(item(joined(localized("Quit"), name), Action::Terminate, "q", true));
}

void ZELMenuPopulator::populateEditMenu(ZELMainMenu& menu) {
    auto& items = menu.items;
    items.push_back(item(localized("Undo"), Action::Undo, "z"));
    items.push_back(item(localized("Redo"), Action::Redo, "Z"));
    items.push_back(ZELMainMenuItem::separatorItem());
    items.push_back(item(localized("Cut"), Action::Cut, "x"));
    items.push_back(item(localized("Copy"), Action::Copy, "c"));
    items.push_back(item(localized("Paste"), Action::Paste, "v"));
    items.push_back(item(localized("Delete"), Action::Delete, ""));
    items.push_back(item(localized("Select All"), Action::SelectAll, "a"));
}

void ZELMenuPopulator::populateWindowMenu(ZELMainMenu& menu) {
    menu.items.push_back(item(localized("Minimize"), Action::PerformMiniaturize, "m"));
    menu.items.push_back(item(localized("Zoom"), Action::PerformZoom, ""));
}

void ZELMenuPopulator::populateHelpMenu(ZELMainMenu& menu) {
    menu.items.push_back(item(joined(applicationName(), localized("Help")), Action::ShowHelp, "?", true));
    menu.items.push_back(item(localized("Feedback"), Action::ShowFeedbackWindow, "f", true));
}

const std::string& ZELMenuPopulator::applicationName() {
    static std::optional<std::string> cached;
    if (cached) return *cached;
    std::optional<std::string> name = infoSource() ? infoSource()("CFBundleName") : std::nullopt;
    if (!name) {
        zelLog("[[NSBundle mainBundle] objectForInfoDictionaryKey:@\"CFBundleName\"] == nil");
        name = localized("Ostrelle");
    }
    cached = std::move(name);
    return *cached;
}

std::string accelerator(const ZELMainMenuItem& item) {
    if (item.keyEquivalent.size() != 1) return {};
    const unsigned char c = static_cast<unsigned char>(item.keyEquivalent[0]);
    std::string text = std::isupper(c) ? "<Shift><Control>" : "<Control>";
    if (item.option) text += "<Alt>";
    switch (c) {
        case ',':
            return text + "comma";
        case '?':
            return text + "question";
        default:
            return text + char(std::tolower(c));
    }
}

const char* actionName(ZELMainMenuAction action) {
    switch (action) {
        case Action::None:
            return "";
        case Action::OrderFrontStandardAboutPanel:
            return "about";
        case Action::Hide:
            return "hide";
        case Action::HideOtherApplications:
            return "hide-others";
        case Action::Terminate:
            return "quit";
        case Action::Undo:
            return "undo";
        case Action::Redo:
            return "redo";
        case Action::Cut:
            return "cut";
        case Action::Copy:
            return "copy";
        case Action::Paste:
            return "paste";
        case Action::Delete:
            return "delete";
        case Action::SelectAll:
            return "select-all";
        case Action::PerformMiniaturize:
            return "minimize";
        case Action::PerformZoom:
            return "zoom";
        case Action::ShowHelp:
            return "help";
        case Action::ShowFeedbackWindow:
            return "feedback";
    }
    return "";
}

}  // namespace zel
