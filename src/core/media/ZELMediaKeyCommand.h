// What the application does with one media-key event: the playback call it makes and the text it logs as
// "mediaKeyTap %@". Key-ups do nothing; key-downs (fresh or repeated, a repeat acts like a new press) of
// play/pause, fast-forward and rewind play, skip forward and skip back; the other keys are only logged.
// Pure; any thread.
#pragma once

#include "core/media/ZELMediaKeyEvent.h"

#include <string>

namespace zel {

enum class ZELMediaKeyAction { None, TooglePlayPause, PlayNextSong, PlayPreviousSong };

struct ZELMediaKeyCommand {
    ZELMediaKeyAction action = ZELMediaKeyAction::None;
    // Empty when nothing is logged (key-ups and events that are not media keys).
    std::string logText;
    // The event was not a media-key event at all: the caller logs kUnexpectedEventLog and does nothing.
    bool unexpected = false;

    static constexpr const char* kUnexpectedEventLog =
        "Unexpected NSEvent in mediaKeyTap:receivedMediaKeyEvent:";

    static ZELMediaKeyCommand forEvent(const ZELMediaKeyEvent& event);
};

}  // namespace zel
