#include "core/media/ZELMediaKeyDecoder.h"

namespace zel {

const std::vector<std::uint32_t>& ZELMediaKeyDecoder::mediaKeysyms() {
    static const std::vector<std::uint32_t> keysyms = {kKeysymAudioPlay,    kKeysymAudioPause,
                                                       kKeysymAudioNext,    kKeysymAudioPrev,
                                                       kKeysymAudioForward, kKeysymAudioRewind};
    return keysyms;
}

std::optional<int> ZELMediaKeyDecoder::keyCodeForKeysym(std::uint32_t keysym) {
    switch (keysym) {
        case kKeysymAudioPlay:
        case kKeysymAudioPause:
            return kMediaKeyPlay;
        case kKeysymAudioNext:
            return kMediaKeyFast;
        case kKeysymAudioPrev:
            return kMediaKeyRewind;
        case kKeysymAudioForward:
            return kMediaKeyNext;
        case kKeysymAudioRewind:
            return kMediaKeyPrevious;
        default:
            return std::nullopt;
    }
}

std::optional<ZELMediaKeyEvent> ZELMediaKeyDecoder::press(std::uint32_t keysym, unsigned physicalKey) {
    const std::optional<int> code = keyCodeForKeysym(keysym);
    if (!code) return std::nullopt;
    const bool repeat = !down_.insert(physicalKey).second;
    return ZELMediaKeyEvent::mediaKey(*code, true, repeat);
}

std::optional<ZELMediaKeyEvent> ZELMediaKeyDecoder::release(std::uint32_t keysym, unsigned physicalKey) {
    const std::optional<int> code = keyCodeForKeysym(keysym);
    if (!code) return std::nullopt;
    down_.erase(physicalKey);
    return ZELMediaKeyEvent::mediaKey(*code, false, false);
}

}  // namespace zel
