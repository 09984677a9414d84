#include "core/media/ZELMediaKeyEvent.h"

namespace zel {

ZELMediaKeyEvent ZELMediaKeyEvent::mediaKey(int keyCode, bool down, bool repeat) {
    const std::int64_t state = down ? kKeyDownState : kKeyUpState;
    return {kSystemDefinedType, kMediaKeySubtype,
            (static_cast<std::int64_t>(keyCode & 0xFFFF) << 16) | (state << 8) | (repeat ? 1 : 0)};
}

bool shouldTakeMediaKeyEvent(const ZELMediaKeyEvent& event, bool intercepting) {
    if (event.type != ZELMediaKeyEvent::kSystemDefinedType) return false;
    if (event.subtype != ZELMediaKeyEvent::kMediaKeySubtype) return false;
    switch (event.keyCode()) {
        case kMediaKeyPlay:
        case kMediaKeyFast:
        case kMediaKeyRewind:
        case kMediaKeyPrevious:
        case kMediaKeyNext:
            break;
        default:
            return false;
    }
    return intercepting;
}

}  // namespace zel
