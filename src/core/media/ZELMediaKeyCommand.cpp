#include "core/media/ZELMediaKeyCommand.h"

#include "core/log/ZELLog.h"

namespace zel {

ZELMediaKeyCommand ZELMediaKeyCommand::forEvent(const ZELMediaKeyEvent& event) {
    ZELMediaKeyCommand command;
    if (!event.isMediaKeyEvent()) {
        command.unexpected = true;
        return command;
    }
    if (!event.isKeyDown()) return command;
    const char* suffix = event.isRepeat() ? ", repeated." : ".";
    switch (event.keyCode()) {
        case kMediaKeyPlay:
            command.action = ZELMediaKeyAction::TooglePlayPause;
            command.logText = std::string("Play/pause pressed") + suffix;
            break;
        case kMediaKeyFast:
            command.action = ZELMediaKeyAction::PlayNextSong;
            command.logText = std::string("Ffwd pressed") + suffix;
            break;
        case kMediaKeyRewind:
            command.action = ZELMediaKeyAction::PlayPreviousSong;
            command.logText = std::string("Rewind pressed") + suffix;
            break;
        default:
            command.logText = formatLog("Key %@ pressed%@", {event.keyCode(), suffix});
            break;
    }
    return command;
}

}  // namespace zel
