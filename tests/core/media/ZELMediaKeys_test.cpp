#include "core/media/ZELMediaKeyCommand.h"
#include "core/media/ZELMediaKeyDecoder.h"
#include "core/media/ZELMediaKeyEvent.h"

#include <gtest/gtest.h>

namespace zel {

constexpr auto raw = [](int type, int subtype, std::int64_t data1) {
    return ZELMediaKeyEvent{type, subtype, data1};
};

TEST(MediaKeyEventTest, TheTapTakesTheFiveKeysDownOrUpOnlyWhileIntercepting) {
    // Unused bits 1-7 and bits above 31 do not disturb decoding; only state 0x0A is down.
    const ZELMediaKeyEvent noisy = raw(14, 8, 0x7'0011'0AFEll);
    EXPECT_EQ(noisy.keyCode(), 17);
    EXPECT_TRUE(noisy.isKeyDown() && !noisy.isRepeat());
    EXPECT_FALSE(raw(14, 8, 0x100B00).isKeyDown());
    for (int code = 0; code < 64; ++code) {
        for (int state : {0x0A, 0x0B}) {
            const ZELMediaKeyEvent event = raw(14, 8, (code << 16) | (state << 8));
            EXPECT_EQ(shouldTakeMediaKeyEvent(event, true), code >= 16 && code <= 20) << code;
            EXPECT_FALSE(shouldTakeMediaKeyEvent(event, false)) << code;
        }
    }
    EXPECT_FALSE(shouldTakeMediaKeyEvent(raw(14, 7, 0x100A00), true));  // other subtypes and types pass
    EXPECT_FALSE(shouldTakeMediaKeyEvent(raw(10, 8, 0x100A00), true));
}

TEST(MediaKeyCommandTest, KeyDownsActAndLogKeyUpsDoNothing) {
    const std::tuple<int, bool, ZELMediaKeyAction, const char*> cases[] = {
        {16, false, ZELMediaKeyAction::TooglePlayPause, "Play/pause pressed."},
        {16, true, ZELMediaKeyAction::TooglePlayPause, "Play/pause pressed, repeated."},
        {19, false, ZELMediaKeyAction::PlayNextSong, "Ffwd pressed."},
        {20, false, ZELMediaKeyAction::PlayPreviousSong, "Rewind pressed."},
        {18, true, ZELMediaKeyAction::None, "Key 18 pressed, repeated."},
    };
    for (const auto& [code, repeat, action, text] : cases) {
        const auto down = ZELMediaKeyCommand::forEvent(ZELMediaKeyEvent::mediaKey(code, true, repeat));
        const auto up = ZELMediaKeyCommand::forEvent(ZELMediaKeyEvent::mediaKey(code, false, repeat));
        EXPECT_EQ(std::tie(down.action, down.logText), std::tie(action, text)) << text;
        EXPECT_EQ(std::tie(up.action, up.logText), std::make_tuple(ZELMediaKeyAction::None, "")) << text;
        EXPECT_FALSE(down.unexpected || up.unexpected);
    }
    EXPECT_TRUE(ZELMediaKeyCommand::forEvent(raw(14, 7, 0x100A00)).unexpected);
    EXPECT_TRUE(ZELMediaKeyCommand::forEvent(raw(1, 8, 0x100A00)).unexpected);
}

TEST(MediaKeyDecoderTest, KeysymsBecomeTapEventsAndAHeldKeyRepeatsUntilReleased) {
    using D = ZELMediaKeyDecoder;
    ZELMediaKeyDecoder decoder;
    auto data = [](const std::optional<ZELMediaKeyEvent>& e) { return e ? e->data1 : -1; };
    const std::tuple<bool, std::uint32_t, unsigned, std::int64_t> steps[] = {
        // press or release
        {true, D::kKeysymAudioPlay, 172, 0x100A00},
        {true, D::kKeysymAudioPlay, 172, 0x100A01},
        {true, D::kKeysymAudioNext, 171, 0x130A00},  // another key held at the same time
        {true, D::kKeysymAudioPlay, 172, 0x100A01},
        {false, D::kKeysymAudioPlay, 172, 0x100B00},
        {true, D::kKeysymAudioPlay, 172, 0x100A00},
        {true, D::kKeysymAudioPause, 209, 0x100A00},  // another physical key is a fresh press
        {true, D::kKeysymAudioPrev, 173, 0x140A00},
        {false, D::kKeysymAudioRewind, 176, 0x120B00},  // a release without a press still reports
        {true, 'a', 38, -1},
    };
    for (const auto& [press, keysym, key, expected] : steps)
        EXPECT_EQ(data(press ? decoder.press(keysym, key) : decoder.release(keysym, key)), expected)
            << keysym;
    decoder.reset();
    EXPECT_EQ(data(decoder.press(D::kKeysymAudioNext, 171)), 0x130A00);
}

}  // namespace zel
