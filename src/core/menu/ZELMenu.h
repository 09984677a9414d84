// A context menu as plain data: what the toolkit shows and what a chosen item does, built and tested without
// a display. Menus are values; the toolkit layer only turns them into widgets and reports which action item
// was chosen.
#pragma once

#include "core/value/Value.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace zel {

// What choosing an item does; None for items that only open a submenu (and for separators).
enum class ZELMenuAction {
    None,
    LoveSong,
    DeloveSong,
    AddSongToITunes,
    RemoveSongFromITunes,
    CreateDiyList,
    RemoveDiyList,
    RenameDiyList,
    AddToDiyList,
};

struct ZELMenu;

struct ZELMenuItem {
    std::string title;
    ZELMenuAction action = ZELMenuAction::None;
    // The record the action receives; nil when the item carries none.
    Value representedObject = nil();
    // Shared because menus are copied as values and never changed once built.
    std::shared_ptr<const ZELMenu> submenu;
    bool separator = false;

    static ZELMenuItem separatorItem() {
        ZELMenuItem item;
        item.separator = true;
        return item;
    }
    // Enabled the way automatic enabling decides: an item with an action or with a submenu.
    bool enabled() const { return !separator && (action != ZELMenuAction::None || submenu != nullptr); }
};

struct ZELMenu {
    std::string title;
    std::vector<ZELMenuItem> items;

    // Inserts before the item at index; an index past the end appends.
    void insertItem(ZELMenuItem item, std::size_t index) {
        items.insert(items.begin() + static_cast<std::ptrdiff_t>(std::min(index, items.size())),
                     std::move(item));
    }
};

}  // namespace zel
