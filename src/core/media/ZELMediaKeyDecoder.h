// Turns key presses and releases of the keyboard's media keys, as the display server names them (keysyms),
// into media-key events, and tells a held key's automatic repeats from fresh presses.
//
// The display server reports a held key as a press followed by further presses without releases in between
// (detectable auto-repeat), so a press of a key that is already down is a repeat. Keysyms other than the
// media keys give no event. Not thread-safe: one decoder per key source.
#pragma once

#include "core/media/ZELMediaKeyEvent.h"

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

namespace zel {

class ZELMediaKeyDecoder {
  public:
    // X keysym values (protocol constants, XF86keysym.h).
    static constexpr std::uint32_t kKeysymAudioPlay = 0x1008FF14;
    static constexpr std::uint32_t kKeysymAudioPause = 0x1008FF31;
    static constexpr std::uint32_t kKeysymAudioNext = 0x1008FF17;
    static constexpr std::uint32_t kKeysymAudioPrev = 0x1008FF16;
    static constexpr std::uint32_t kKeysymAudioForward = 0x1008FF97;
    static constexpr std::uint32_t kKeysymAudioRewind = 0x1008FF3E;

    // The keysyms a key source listens for, in a fixed order.
    static const std::vector<std::uint32_t>& mediaKeysyms();
    // Play and Pause both toggle; Next and Prev skip songs (codes 19 and 20), Forward and Rewind are the
    // tap's next/previous codes (17 and 18).
    static std::optional<int> keyCodeForKeysym(std::uint32_t keysym);

    // physicalKey identifies the key (the server's key code) so that two keys with one keysym repeat apart.
    std::optional<ZELMediaKeyEvent> press(std::uint32_t keysym, unsigned physicalKey);
    std::optional<ZELMediaKeyEvent> release(std::uint32_t keysym, unsigned physicalKey);
    // Forget held keys, e.g. when the source lost its grab and may have missed releases.
    void reset() { down_.clear(); }

  private:
    std::set<unsigned> down_;
};

}  // namespace zel
