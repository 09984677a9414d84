// "cordovaMenu": the web app asks for the native song and playlist menus and keeps the native copy of the
// user's playlists. Unpacks the arguments into records and hands them on; builds no menu, never answers.
// Records end at the first absent value. Arguments of the wrong kind skip the call. Main thread only.
#pragma once

#include "core/bridge/ZELPlugin.h"

namespace zel {

struct ZELPoint {
    double x = 0;
    double y = 0;
    bool operator==(const ZELPoint&) const = default;
};

class ZELMenuPluginDelegate {
  public:
    virtual ~ZELMenuPluginDelegate() = default;
    // Song record: "songId", "songName", "albumName", "artistName", "source". Origin: page pixels, top left.
    virtual void showSongMenu(const Value& /*song*/, ZELPoint /*origin*/) {}
    // Playlist record: "listId", "name".
    virtual void showDiyListMenu(const Value& /*list*/, ZELPoint /*origin*/) {}
    // Array of playlist entries: "id", "name".
    virtual void updateSongMenuDiyListData(const Value& /*entries*/) {}
};

class ZELMenuPlugin : public ZELPlugin {
  public:
    ZELMenuPlugin();
    void setDelegate(ZELMenuPluginDelegate* delegate) { delegate_ = delegate; }

    void showSongMenu(const ZELPluginCommandRef& command);
    void showDiyListMenu(const ZELPluginCommandRef& command);
    void updateSongMenuDiyListData(const ZELPluginCommandRef& command);

  private:
    ZELMenuPluginDelegate* delegate_ = nullptr;
};

}  // namespace zel
