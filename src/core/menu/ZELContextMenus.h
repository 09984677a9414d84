// The song and playlist context menus, as data: the user's playlists for the "添加到歌单" submenu, the menu
// builders, and what each chosen item does. The toolkit's menu controller asks for a menu, shows it, and
// hands the chosen item back to perform().
//
// Records are passed through unconverted (ids may be texts or numbers) and may be cut short; nothing here
// fails. Holds the delegate without owning it. Main thread only.
#pragma once

#include "core/menu/ZELMenu.h"
#include "core/menu/ZELMenuControllerDelegate.h"
#include "core/plugins/ZELMenuPlugin.h"

#include <string>

namespace zel {

// A menu ready to pop up, with its location in window coordinates (origin at the bottom left).
struct ZELMenuPopUp {
    ZELMenu menu;
    ZELPoint location;
};

class ZELContextMenus {
  public:
    static constexpr const char* kMenuTitle = "Contextual Menu";
    static constexpr const char* kDiyListSubmenuTitle = "歌单";

    // Starts with one placeholder playlist, {"id": 123, "name": "xxxx"}, until the web app sends its list.
    ZELContextMenus();

    void setDelegate(ZELMenuControllerDelegate* delegate) { delegate_ = delegate; }

    // Replaces the playlists wholesale. Entries are {"id", "name"} dictionaries in the web app's order; a
    // value that is not an array is logged and leaves the playlists as they are.
    void updateSongMenuDiyListData(const Value& entries);
    const Value& diyListArray() const { return diyListArray_; }

    // Logs "showSongMenu %@" and "songSource %@", picks the menu by the record's "source".
    ZELMenuPopUp songMenuPopUp(const Value& song, ZELPoint origin, double webViewHeight) const;
    // Logs "showDiyListMenu %@".
    ZELMenuPopUp diyListMenuPopUp(const Value& list, ZELPoint origin, double webViewHeight) const;

    // "source" "itunes" -> the iTunes menu, "fav" -> the favourite menu, anything else (or none) -> the
    // ordinary one; exact, case-sensitive comparison.
    ZELMenu songMenu(const Value& song) const;
    ZELMenu generateSongMenuNormal(const Value& song) const;
    ZELMenu generateSongMenuFav(const Value& song) const;
    ZELMenu generateSongMenuItunes(const Value& song) const;
    ZELMenu generateDiyListMenu(const Value& list) const;
    static ZELMenuItem generateMenuItem(const std::string& title, const Value& record, ZELMenuAction action);

    // The chosen item's action with its record, to the delegate. Items without an action do nothing.
    void perform(const ZELMenuItem& item) const;

  private:
    // "添加到歌单" with its submenu, built afresh from the current playlists.
    ZELMenuItem diyListSubmenuItem(const Value& song) const;

    Value diyListArray_;
    ZELMenuControllerDelegate* delegate_ = nullptr;
};

}  // namespace zel
