#include "core/menu/ZELContextMenus.h"

#include "core/json/HXAddtions.h"
#include "core/log/ZELLog.h"
#include "core/menu/ZELMenuGeometry.h"

#include <memory>

namespace zel {
namespace {

// An entry's name is normally text; a number still reads as its description, and no name gives no title.
std::string titleOf(const Value& name) {
    if (isNil(name)) return {};
    if (const std::string* text = textOf(name)) return *text;
    return hx::description(name);
}

bool textEquals(const Value& value, const char* text) {
    const std::string* s = textOf(value);
    return s != nullptr && *s == text;
}

}  // namespace

ZELContextMenus::ZELContextMenus() {
    diyListArray_ = Value::array();
    Value entry = Value::object();
    entry["id"] = 123;
    entry["name"] = "xxxx";
    diyListArray_.push_back(std::move(entry));
}

void ZELContextMenus::updateSongMenuDiyListData(const Value& entries) {
    if (!entries.is_array()) {
        zelLog("updateSongMenuDiyListData: ignored %@", entries);
        return;
    }
    diyListArray_ = entries;
}

ZELMenuPopUp ZELContextMenus::songMenuPopUp(const Value& song, ZELPoint origin, double webViewHeight) const {
    zelLog("showSongMenu %@", valueForKey(song, "songId"));
    const ZELPoint location = menuLocationInWindow(origin, webViewHeight);
    zelLog("songSource %@", valueForKey(song, "source"));
    return {songMenu(song), location};
}

ZELMenuPopUp ZELContextMenus::diyListMenuPopUp(const Value& list, ZELPoint origin,
                                               double webViewHeight) const {
    zelLog("showDiyListMenu %@", valueForKey(list, "listId"));
    return {generateDiyListMenu(list), menuLocationInWindow(origin, webViewHeight)};
}

ZELMenu ZELContextMenus::songMenu(const Value& song) const {
    const Value source = valueForKey(song, "source");
    if (textEquals(source, "itunes")) return generateSongMenuItunes(song);
    if (textEquals(source, "fav")) return generateSongMenuFav(song);
    return generateSongMenuNormal(song);
}

ZELMenu ZELContextMenus::generateSongMenuNormal(const Value& song) const {
    ZELMenu menu{kMenuTitle, {}};
    menu.items.push_back(generateMenuItem("下载到iTunes", song, ZELMenuAction::AddSongToITunes));
    menu.items.push_back(generateMenuItem("收藏", song, ZELMenuAction::LoveSong));
    menu.items.push_back(diyListSubmenuItem(song));
    return menu;
}

ZELMenu ZELContextMenus::generateSongMenuFav(const Value& song) const {
    ZELMenu menu{kMenuTitle, {}};
    menu.items.push_back(generateMenuItem("取消收藏", song, ZELMenuAction::DeloveSong));
    menu.items.push_back(generateMenuItem("下载到iTunes", song, ZELMenuAction::AddSongToITunes));
    menu.items.push_back(diyListSubmenuItem(song));
    return menu;
}

ZELMenu ZELContextMenus::generateSongMenuItunes(const Value& song) const {
    ZELMenu menu{kMenuTitle, {}};
    menu.items.push_back(generateMenuItem("从iTunes移除", song, ZELMenuAction::RemoveSongFromITunes));
    return menu;
}

ZELMenu ZELContextMenus::generateDiyListMenu(const Value& list) const {
    ZELMenu menu{kMenuTitle, {}};
    menu.items.push_back(generateMenuItem("重命名歌单", list, ZELMenuAction::RenameDiyList));
    menu.items.push_back(generateMenuItem("删除歌单...", list, ZELMenuAction::RemoveDiyList));
    return menu;
}

ZELMenuItem ZELContextMenus::generateMenuItem(const std::string& title, const Value& record,
                                              ZELMenuAction action) {
    ZELMenuItem item;
    item.title = title;
    item.action = action;
    item.representedObject = record;
    return item;
}

ZELMenuItem ZELContextMenus::diyListSubmenuItem(const Value& song) const {
    auto submenu = std::make_shared<ZELMenu>();
    submenu->title = kDiyListSubmenuTitle;
    submenu->items.push_back(generateMenuItem("创建歌单", nil(), ZELMenuAction::CreateDiyList));
    submenu->items.push_back(ZELMenuItem::separatorItem());
    // Each playlist goes directly below the separator, so the last entry ends up on top.
    for (const Value& entry : diyListArray_) {
        Value record = Value::object();
        record["song"] = song;
        const Value id = valueForKey(entry, "id");
        if (!isNil(id)) record["listId"] = id;
        submenu->insertItem(
            generateMenuItem(titleOf(valueForKey(entry, "name")), record, ZELMenuAction::AddToDiyList), 2);
    }
    ZELMenuItem item;
    item.title = "添加到歌单";
    item.submenu = std::move(submenu);
    return item;
}

void ZELContextMenus::perform(const ZELMenuItem& item) const {
    const Value& record = item.representedObject;
    if (item.action == ZELMenuAction::AddToDiyList) zelLog("diyListId %@", valueForKey(record, "listId"));
    if (delegate_ == nullptr) return;
    switch (item.action) {
        case ZELMenuAction::None:
            break;
        case ZELMenuAction::LoveSong:
            delegate_->loveSong(record);
            break;
        case ZELMenuAction::DeloveSong:
            delegate_->deloveSong(record);
            break;
        case ZELMenuAction::AddSongToITunes:
            delegate_->addSongToITunes(record);
            break;
        case ZELMenuAction::RemoveSongFromITunes:
            delegate_->removeSongFromITunes(record);
            break;
        case ZELMenuAction::CreateDiyList:
            delegate_->createDiyList();
            break;
        case ZELMenuAction::RemoveDiyList:
            delegate_->removeDiyList(record);
            break;
        case ZELMenuAction::RenameDiyList:
            delegate_->renameDiyList(record);
            break;
        case ZELMenuAction::AddToDiyList:
            delegate_->addSongToDiyList(valueForKey(record, "song"), valueForKey(record, "listId"));
            break;
    }
}

}  // namespace zel
