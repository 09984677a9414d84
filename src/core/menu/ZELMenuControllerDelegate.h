// Where the song and playlist menus send the user's choice. Implemented by the main view controller, which
// passes each on to the web app. Every method defaults to doing nothing, so a delegate that lacks one ignores
// that choice. Called on the main thread, after the menu has closed.
#pragma once

#include "core/value/Value.h"

namespace zel {

class ZELMenuControllerDelegate {
  public:
    virtual ~ZELMenuControllerDelegate() = default;
    // Song record: "songId", "songName", "albumName", "artistName", "source" (possibly cut short).
    virtual void loveSong(const Value& /*song*/) {}
    virtual void deloveSong(const Value& /*song*/) {}
    virtual void addSongToITunes(const Value& /*song*/) {}
    virtual void removeSongFromITunes(const Value& /*song*/) {}
    virtual void createDiyList() {}
    // Playlist record: "listId", "name" (possibly cut short).
    virtual void removeDiyList(const Value& /*list*/) {}
    virtual void renameDiyList(const Value& /*list*/) {}
    // The playlist id is nil when the playlist entry had no "id".
    virtual void addSongToDiyList(const Value& /*song*/, const Value& /*diyListId*/) {}
};

}  // namespace zel
