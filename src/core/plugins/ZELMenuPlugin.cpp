#include "core/plugins/ZELMenuPlugin.h"

#include <initializer_list>
#include <string>
#include <utility>

namespace zel {
namespace {

using KeyPair = std::pair<const char*, const char*>;  // record key, source key

// Like a terminated list of pairs: the record ends at the first absent value, so later pairs are dropped even
// when present. The null object is a value, not an absence.
Value recordFrom(const Value& source, std::initializer_list<KeyPair> pairs) {
    Value record = Value::object();
    for (const auto& [recordKey, sourceKey] : pairs) {
        Value value = valueForKey(source, sourceKey);
        if (isNil(value)) break;
        record[recordKey] = std::move(value);
    }
    return record;
}

ZELPoint originOf(const Value& argument) {
    return {doubleValue(valueForKey(argument, "x")), doubleValue(valueForKey(argument, "y"))};
}

}  // namespace

ZELMenuPlugin::ZELMenuPlugin() {
    exportMethod("showSongMenu", [this](const ZELPluginCommandRef& c) { showSongMenu(c); });
    exportMethod("showDiyListMenu", [this](const ZELPluginCommandRef& c) { showDiyListMenu(c); });
    exportMethod("updateSongMenuDiyListData",
                 [this](const ZELPluginCommandRef& c) { updateSongMenuDiyListData(c); });
}

void ZELMenuPlugin::showSongMenu(const ZELPluginCommandRef& command) {
    const Value argument = command->firstParam();
    if (!argument.is_object()) return;
    const Value song = recordFrom(valueForKey(argument, "song"), {{"songId", "songId"},
                                                                  {"songName", "songName"},
                                                                  {"albumName", "albumName"},
                                                                  {"artistName", "artistName"},
                                                                  {"source", "source"}});
    if (delegate_ != nullptr) delegate_->showSongMenu(song, originOf(argument));
}

void ZELMenuPlugin::showDiyListMenu(const ZELPluginCommandRef& command) {
    const Value argument = command->firstParam();
    if (!argument.is_object()) return;
    const Value list = recordFrom(valueForKey(argument, "list"), {{"listId", "listId"}, {"name", "name"}});
    if (delegate_ != nullptr) delegate_->showDiyListMenu(list, originOf(argument));
}

void ZELMenuPlugin::updateSongMenuDiyListData(const ZELPluginCommandRef& command) {
    const Value lists = command->firstParam();
    if (!lists.is_array()) return;
    Value entries = Value::array();
    for (const Value& list : lists) {
        if (!list.is_object()) continue;
        entries.push_back(recordFrom(list, {{"id", "listId"}, {"name", "name"}}));
    }
    if (delegate_ != nullptr) delegate_->updateSongMenuDiyListData(entries);
}

}  // namespace zel
