// The media keys in the real program: the global key tap takes them while another window has the focus and
// calls the page's playback functions, once per press; the user default turns the tap off (the keys then
// work only in Ostrelle's own window); the desktop's media controls (MPRIS) reach the same functions.
#include "Desktop.h"
#include "MenuPageTest.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zel::test {
namespace {

using MediaKeysTest = MenuPageTest;

// The names of the page functions called so far.
std::vector<std::string> names(const std::vector<json>& calls) {
    std::vector<std::string> out;
    for (const json& call : calls) out.push_back(call["name"].get<std::string>());
    return out;
}

TEST_F(MediaKeysTest, KeysReachThePageOncePerPressWhileAnotherWindowHasTheFocus) {
    start();
    expectLog("Media key tap: watching 8 keys");
    // Ostrelle holds the grab: nobody else can have the key.
    EXPECT_FALSE(x_.canGrabKey(kKeysymAudioPlay));

    const std::uint32_t other = x_.createWindow({1500, 100, 300, 200}, "Another application");
    x_.focus(other);
    ASSERT_EQ(x_.focusedWindow(), other);
    key("XF86AudioPlay XF86AudioPlay XF86AudioPlay XF86AudioPrev XF86AudioNext");
    // Keys are handled in order, so the last one marks the end.
    std::size_t from = 0;
    for (const char* name :
         {"tooglePlayPause", "tooglePlayPause", "tooglePlayPause", "backward", "forward"}) {
        std::size_t at = 0;
        EXPECT_EQ(expectReport("called", from, &at)["name"], name);
        from = at + 1;
    }
    EXPECT_EQ(names(reportsSoFar("called")).size(), 5u) << "a key-up or a repeat called the page";
    // The page writes its reports itself, so its lines and the program's log lines may interleave.
    const std::size_t lastLog = expectLog("mediaKeyTap Ffwd pressed.");
    std::vector<std::string> handled = withoutLifecycle(nativeLog(0, lastLog + 1));
    std::erase_if(handled, [](const std::string& line) { return !line.starts_with("mediaKeyTap "); });
    EXPECT_EQ(handled,
              (std::vector<std::string>{"mediaKeyTap Play/pause pressed.", "mediaKeyTap Play/pause pressed.",
                                        "mediaKeyTap Play/pause pressed.", "mediaKeyTap Rewind pressed.",
                                        "mediaKeyTap Ffwd pressed."}));
    // The other application saw none of them, and kept the focus.
    EXPECT_EQ(x_.takeKeyEvents(other), 0);
    EXPECT_EQ(x_.focusedWindow(), other);

    // An ordinary key is not the tap's: it reaches the focused window.
    key("a");
    EXPECT_EQ(x_.takeKeyEvents(other), 2);
}

TEST_F(MediaKeysTest, AHeldKeyRepeatsAndEveryRepeatActs) {
    start();
    expectLog("Media key tap: watching 8 keys");
    runCommand({"xdotool", "keydown", "XF86AudioNext"});
    const std::size_t repeated = expectLog("mediaKeyTap Ffwd pressed, repeated.");
    runCommand({"xdotool", "keyup", "XF86AudioNext"});
    EXPECT_EQ(withoutLifecycle(nativeLog(0, repeated)).back(), "mediaKeyTap Ffwd pressed.");
    // Every press, the first and each repeat, skipped a song.
    const std::size_t marker = app().lineCount();
    key("XF86AudioPrev");
    std::size_t at = 0;
    expectReport("called", marker, &at);
    const auto calls = names(reportsSoFar("called"));
    const auto skips = std::count(calls.begin(), calls.end(), "forward");
    EXPECT_GE(skips, 2);
    auto logged = withoutLifecycle(nativeLog(0, at));
    EXPECT_EQ(std::count_if(logged.begin(), logged.end(),
                            [](const std::string& l) { return l.starts_with("mediaKeyTap Ffwd"); }),
              skips);
}

TEST_F(MediaKeysTest, IgnoreMediaKeysDefaultInstallsNoGrab) {
    writeDefaults("[Defaults]\nSPIgnoreMediaKeys=YES\n");
    start();
    expectLog("Media key monitoring disabled");
    EXPECT_TRUE(x_.canGrabKey(kKeysymAudioPlay));
    EXPECT_TRUE(x_.canGrabKey(kKeysymAudioNext));

    // With another window in front, the key is that window's.
    const std::uint32_t other = x_.createWindow({1500, 100, 300, 200}, "Another application");
    x_.focus(other);
    key("XF86AudioPlay");
    EXPECT_EQ(x_.takeKeyEvents(other), 2);

    // In Ostrelle's own window the key still works, through the window's key events.
    const std::optional<XWindow> window = mainWindow();
    ASSERT_TRUE(window);
    focusWindow(*window);
    ASSERT_TRUE(waitUntil([&] { return x_.focusedWindow() != other; }));
    key("XF86AudioNext");
    expectReport("called");
    EXPECT_EQ(names(reportsSoFar("called")), std::vector<std::string>{"forward"}) << app().tail();
    expectLog("mediaKeyTap Ffwd pressed.");
}

TEST_F(MediaKeysTest, DesktopMediaControlsReachThePage) {
    start();
    expectLog("MPRIS: published as org.mpris.MediaPlayer2.ostrelle");
    const std::string identity =
        runCommand({"gdbus", "call", "--session", "--dest", "org.mpris.MediaPlayer2.ostrelle",
                    "--object-path", "/org/mpris/MediaPlayer2", "--method",
                    "org.freedesktop.DBus.Properties.Get", "org.mpris.MediaPlayer2", "Identity"})
            .out;
    EXPECT_NE(identity.find("'Ostrelle'"), std::string::npos) << identity;

    for (const char* method : {"PlayPause", "Play", "Pause", "Next", "Previous", "Stop"}) {
        EXPECT_EQ(gdbusCall(std::string("org.mpris.MediaPlayer2.Player.") + method), "()\n");
    }
    gdbusCall("org.mpris.MediaPlayer2.Raise");
    // A call with arguments the player ignores, and one it does not know, leave it running.
    runCommand({"gdbus", "call", "--session", "--dest", "org.mpris.MediaPlayer2.ostrelle", "--object-path",
                "/org/mpris/MediaPlayer2", "--method", "org.mpris.MediaPlayer2.Player.Seek", "--",
                "-5000000"});
    EXPECT_NE(runCommand({"gdbus", "call", "--session", "--dest", "org.mpris.MediaPlayer2.ostrelle",
                          "--object-path", "/org/mpris/MediaPlayer2", "--method",
                          "org.mpris.MediaPlayer2.Player.Explode"})
                  .exitCode,
              0);
    gdbusCall("org.mpris.MediaPlayer2.Player.Next");

    // Play and Pause toggle too: the page has only the toggle. Stop does nothing.
    const std::vector<std::string> expected{"tooglePlayPause", "tooglePlayPause", "tooglePlayPause",
                                            "forward",         "backward",        "forward"};
    std::size_t from = 0;
    for (const std::string& name : expected) {
        std::size_t at = 0;
        EXPECT_EQ(expectReport("called", from, &at)["name"], name);
        from = at + 1;
    }
    EXPECT_EQ(names(reportsSoFar("called")), expected);
}

}  // namespace
}  // namespace zel::test
