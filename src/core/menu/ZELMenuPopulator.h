// The application's main menu as plain data: the menu bar "MainMenu" with the application menu, Edit, Window
// and Help, their titles (looked up in the translation catalogue, the English title being the key), order,
// separators, actions and key equivalents. The toolkit layer turns it into a menu model, actions and
// accelerators; nothing here needs a display.
//
// Key equivalents are single characters with Command implied; an upper-case character adds Shift. On this
// platform Command is Ctrl (accelerator()). Main thread (the application name is cached process-wide).
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zel {

enum class ZELMainMenuAction {
    None,
    OrderFrontStandardAboutPanel,
    Hide,
    HideOtherApplications,
    Terminate,
    Undo,
    Redo,
    Cut,
    Copy,
    Paste,
    Delete,
    SelectAll,
    PerformMiniaturize,
    PerformZoom,
    ShowHelp,
    ShowFeedbackWindow,
};

struct ZELMainMenu;

struct ZELMainMenuItem {
    std::string title;
    ZELMainMenuAction action = ZELMainMenuAction::None;
    std::string keyEquivalent;  // one character, empty for none
    bool option = false;        // Option together with Command
    bool applicationTarget = false;
    bool separator = false;
    std::shared_ptr<const ZELMainMenu> submenu;

    static ZELMainMenuItem separatorItem() {
        ZELMainMenuItem item;
        item.separator = true;
        return item;
    }
    // Items without an action are shown disabled; so is hiding the other applications, which no desktop of
    // this platform offers.
    bool enabled() const {
        return !separator && action != ZELMainMenuAction::None &&
               action != ZELMainMenuAction::HideOtherApplications;
    }
};

struct ZELMainMenu {
    std::string title;
    std::vector<ZELMainMenuItem> items;
};

class ZELMenuPopulator {
  public:
    // Where "CFBundleName" comes from; by default nowhere (the fallback name is used).
    using InfoSource = std::function<std::optional<std::string>(const std::string& key)>;
    static void setInfoSource(InfoSource source);

    // The menu bar: items "Apple", "Edit", "Window", "Help", each with its filled submenu.
    static ZELMainMenu populateMainMenu();
    static void populateApplicationMenu(ZELMainMenu& menu);
    static void populateEditMenu(ZELMainMenu& menu);
    static void populateWindowMenu(ZELMainMenu& menu);
    static void populateHelpMenu(ZELMainMenu& menu);
    // "CFBundleName", cached on first use; without it the log line names the missing entry (once) and the
    // translated "Ostrelle" is used.
    static const std::string& applicationName();
};

// The toolkit accelerator for an item's key equivalent with Command as Ctrl ("q" -> "<Control>q",
// "Z" -> "<Shift><Control>z", Option -> "<Alt>", "?" -> "<Control>question"); empty for none.
std::string accelerator(const ZELMainMenuItem& item);

// The action's name among the application's actions ("quit", "copy"); empty for None.
const char* actionName(ZELMainMenuAction action);

}  // namespace zel
