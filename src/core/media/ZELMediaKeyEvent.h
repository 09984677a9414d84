// A media-key event as the key handler and the tap see it: a system-defined event (type 14) of the media-key
// subtype (8) whose data1 packs the key code (bits 16-31), the key state (bits 8-15, 0x0A down, 0x0B up) and
// the auto-repeat flag (bit 0). The platform's key sources (the global key grab, the window key events, the
// desktop media controls) all produce this one form. Plain value; any thread.
#pragma once

#include <cstdint>

namespace zel {

enum ZELMediaKeyCode : int {
    kMediaKeyPlay = 16,
    kMediaKeyNext = 17,
    kMediaKeyPrevious = 18,
    kMediaKeyFast = 19,
    kMediaKeyRewind = 20,
};

struct ZELMediaKeyEvent {
    static constexpr int kSystemDefinedType = 14;
    static constexpr int kMediaKeySubtype = 8;
    static constexpr int kKeyDownState = 0x0A;
    static constexpr int kKeyUpState = 0x0B;

    int type = 0;
    int subtype = 0;
    std::int64_t data1 = 0;

    static ZELMediaKeyEvent mediaKey(int keyCode, bool down, bool repeat);

    int keyCode() const { return static_cast<int>((data1 & 0xFFFF0000) >> 16); }
    int keyState() const { return static_cast<int>((data1 & 0x0000FF00) >> 8); }
    bool isRepeat() const { return (data1 & 0x1) != 0; }
    bool isKeyDown() const { return keyState() == kKeyDownState; }
    bool isMediaKeyEvent() const { return type == kSystemDefinedType && subtype == kMediaKeySubtype; }
};

// The tap's decision: take (and swallow) the event only when it is a media-key event of one of the five
// keys and interception is on; everything else is passed on unchanged.
bool shouldTakeMediaKeyEvent(const ZELMediaKeyEvent& event, bool intercepting);

}  // namespace zel
