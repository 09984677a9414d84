#include "core/media/ZELMediaKeyCommand.h"
#include "core/media/ZELMediaKeyDecoder.h"
#include "core/media/ZELMediaKeyEvent.h"

#include <gtest/gtest.h>

#include <string>

namespace zel {
namespace {

ZELMediaKeyEvent raw(int type, int subtype, std::int64_t data1) {
    return {type, subtype, data1};
}

TEST(MediaKeyEventTest, Data1PacksCodeStateAndRepeat) {
    EXPECT_EQ(ZELMediaKeyEvent::mediaKey(16, true, false).data1, 0x100A00);
    EXPECT_EQ(ZELMediaKeyEvent::mediaKey(19, true, true).data1, 0x130A01);
    EXPECT_EQ(ZELMediaKeyEvent::mediaKey(20, false, false).data1, 0x140B00);

    // Unused bits 1-7 and bits above 31 do not disturb decoding.
    const ZELMediaKeyEvent noisy = raw(14, 8, 0x7'0011'0AFEll);
    EXPECT_EQ(noisy.keyCode(), 17);
    EXPECT_TRUE(noisy.isKeyDown());
    EXPECT_FALSE(noisy.isRepeat());
    // Any state other than 0x0A is not down.
    for (int state : {0x00, 0x0B, 0x0C, 0xFF})
        EXPECT_FALSE(raw(14, 8, (16 << 16) | (state << 8)).isKeyDown());
}

TEST(MediaKeyEventTest, TapTakesOnlyTheFiveKeysWhileIntercepting) {
    for (int code = 0; code < 64; ++code) {
        const bool mediaKey = code >= 16 && code <= 20;
        for (int state : {0x0A, 0x0B}) {
            const ZELMediaKeyEvent event = raw(14, 8, (code << 16) | (state << 8));
            EXPECT_EQ(shouldTakeMediaKeyEvent(event, true), mediaKey) << code;
            EXPECT_FALSE(shouldTakeMediaKeyEvent(event, false)) << code;
        }
    }
    // Volume (0) and brightness (2) keys, other subtypes and types pass.
    EXPECT_FALSE(shouldTakeMediaKeyEvent(raw(14, 8, 0x000A00), true));
    EXPECT_FALSE(shouldTakeMediaKeyEvent(raw(14, 8, 0x020A00), true));
    EXPECT_FALSE(shouldTakeMediaKeyEvent(raw(14, 7, 0x100A00), true));
    EXPECT_FALSE(shouldTakeMediaKeyEvent(raw(10, 8, 0x100A00), true));
}

TEST(MediaKeyCommandTest, KeyDownsActAndLogKeyUpsDoNothing) {
    struct Case {
        int code;
        bool repeat;
        ZELMediaKeyAction action;
        const char* log;
    };
    const Case cases[] = {
        {16, false, ZELMediaKeyAction::TooglePlayPause, "Play/pause pressed."},
        {16, true, ZELMediaKeyAction::TooglePlayPause, "Play/pause pressed, repeated."},
        {19, false, ZELMediaKeyAction::PlayNextSong, "Ffwd pressed."},
        {19, true, ZELMediaKeyAction::PlayNextSong, "Ffwd pressed, repeated."},
        {20, false, ZELMediaKeyAction::PlayPreviousSong, "Rewind pressed."},
        {17, false, ZELMediaKeyAction::None, "Key 17 pressed."},
        {18, true, ZELMediaKeyAction::None, "Key 18 pressed, repeated."},
        {3, false, ZELMediaKeyAction::None, "Key 3 pressed."},
    };
    for (const Case& c : cases) {
        const ZELMediaKeyCommand down =
            ZELMediaKeyCommand::forEvent(ZELMediaKeyEvent::mediaKey(c.code, true, c.repeat));
        EXPECT_EQ(down.action, c.action) << c.log;
        EXPECT_EQ(down.logText, c.log);
        EXPECT_FALSE(down.unexpected);
        const ZELMediaKeyCommand up =
            ZELMediaKeyCommand::forEvent(ZELMediaKeyEvent::mediaKey(c.code, false, c.repeat));
        EXPECT_EQ(up.action, ZELMediaKeyAction::None);
        EXPECT_EQ(up.logText, "");
    }
    const ZELMediaKeyCommand other = ZELMediaKeyCommand::forEvent(raw(14, 7, 0x100A00));
    EXPECT_TRUE(other.unexpected);
    EXPECT_EQ(other.action, ZELMediaKeyAction::None);
    EXPECT_TRUE(ZELMediaKeyCommand::forEvent(raw(1, 8, 0x100A00)).unexpected);
}

TEST(MediaKeyDecoderTest, KeysymsMapToTheTapsCodes) {
    using D = ZELMediaKeyDecoder;
    EXPECT_EQ(D::keyCodeForKeysym(D::kKeysymAudioPlay), 16);
    EXPECT_EQ(D::keyCodeForKeysym(D::kKeysymAudioPause), 16);
    EXPECT_EQ(D::keyCodeForKeysym(D::kKeysymAudioNext), 19);
    EXPECT_EQ(D::keyCodeForKeysym(D::kKeysymAudioPrev), 20);
    EXPECT_EQ(D::keyCodeForKeysym(D::kKeysymAudioForward), 17);
    EXPECT_EQ(D::keyCodeForKeysym(D::kKeysymAudioRewind), 18);
    EXPECT_EQ(D::keyCodeForKeysym(0x1008FF15), std::nullopt);  // AudioStop
    EXPECT_EQ(D::keyCodeForKeysym(0x1008FF11), std::nullopt);  // AudioLowerVolume
    EXPECT_EQ(D::keyCodeForKeysym('a'), std::nullopt);
    for (std::uint32_t keysym : D::mediaKeysyms()) EXPECT_TRUE(D::keyCodeForKeysym(keysym)) << keysym;
    EXPECT_EQ(D::mediaKeysyms().size(), 6u);
}

TEST(MediaKeyDecoderTest, HeldKeyRepeatsUntilReleased) {
    ZELMediaKeyDecoder decoder;
    const auto play = ZELMediaKeyDecoder::kKeysymAudioPlay;
    const auto next = ZELMediaKeyDecoder::kKeysymAudioNext;
    auto data = [](const std::optional<ZELMediaKeyEvent>& e) { return e ? e->data1 : -1; };
    EXPECT_EQ(data(decoder.press(play, 172)), 0x100A00);
    EXPECT_EQ(data(decoder.press(play, 172)), 0x100A01);
    EXPECT_EQ(data(decoder.press(next, 171)), 0x130A00);  // another key held at the same time
    EXPECT_EQ(data(decoder.press(play, 172)), 0x100A01);
    EXPECT_EQ(data(decoder.release(play, 172)), 0x100B00);
    EXPECT_EQ(data(decoder.press(play, 172)), 0x100A00);
    // A second physical key with the same keysym is a fresh press.
    EXPECT_EQ(data(decoder.press(play, 209)), 0x100A00);
    // Other keysyms give nothing and do not count as held.
    EXPECT_EQ(data(decoder.press('a', 38)), -1);
    EXPECT_EQ(data(decoder.release('a', 38)), -1);
    decoder.reset();
    EXPECT_EQ(data(decoder.press(next, 171)), 0x130A00);
    // A release without a press (the press went elsewhere) still reports the key-up.
    EXPECT_EQ(data(decoder.release(ZELMediaKeyDecoder::kKeysymAudioRewind, 176)), 0x120B00);
}

}  // namespace
}  // namespace zel
