// Latency of a media key: from the X key press (XTest) to the web app's "tooglePlayPause" running, while
// another window has the focus, over 200 presses. Baseline measured in the same run: an ordinary key from
// XTest to a plain X client's window (the display server's own share).
//
// Run on a display with its own session bus, e.g.:
//   tests/support/with-display.sh build/bench/media_key_latency
// Prints figures; asserts nothing.
#include "X11Probe.h"
#include "support/Program.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace zel::test;
using Millis = std::chrono::duration<double, std::milli>;

constexpr int kPresses = 200;
constexpr int kWarmUp = 10;
constexpr std::uint32_t kKeysymAudioPlay = 0x1008FF14;
constexpr std::uint32_t kKeysymA = 'a';

double wallClockMs() {
    return std::chrono::duration<double, std::milli>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

void printFigures(const char* what, std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    const auto at = [&](double q) {
        return samples[static_cast<std::size_t>(q * (samples.size() - 1) + 0.5)];
    };
    std::printf("%-44s n=%zu  p50 %6.2f ms  p90 %6.2f ms  p99 %6.2f ms  max %6.2f ms\n", what, samples.size(),
                at(0.50), at(0.90), at(0.99), samples.back());
}

// The page's time stamp in a "PROBE called" line.
std::optional<double> calledAt(const std::string& line) {
    const auto at = line.find(" CONSOLE LOG PROBE called ");
    if (at == std::string::npos) return std::nullopt;
    const auto call = nlohmann::json::parse(line.substr(at + 26), nullptr, false);
    if (call.is_discarded() || call["name"] != "tooglePlayPause") return std::nullopt;
    return call["t"].get<double>();
}

}  // namespace

int main() {
    X11Probe x;
    TempDir home("ostrelle-bench");
    for (const char* dir : {"data", "cache", "config"})
        std::filesystem::create_directories(home.path + "/" + dir);
    const std::string start = "http://static.ostrelle.example/player/mac/www/index.html?case=bench";
    Program app({OSTRELLE_PROGRAM, "--console-log", "--bundle", OSTRELLE_MENU_BUNDLE, "--start-page", start},
                {{"XDG_DATA_HOME", home.path + "/data"},
                 {"XDG_CACHE_HOME", home.path + "/cache"},
                 {"XDG_CONFIG_HOME", home.path + "/config"}});
    app.expectLine(
        [](const std::string& l) { return l.find("CONSOLE LOG PROBE ready") != std::string::npos; },
        "the page to be ready");
    app.expectLine(
        [](const std::string& l) { return l.find("Media key tap: watching") != std::string::npos; },
        "the media-key tap");

    const std::uint32_t other = x.createWindow({1500, 100, 300, 200}, "Another application");
    x.focus(other);

    // Baseline: an ordinary key, XTest to a plain client.
    std::vector<double> baseline;
    for (int i = 0; i < kPresses + kWarmUp; ++i) {
        const auto sent = std::chrono::steady_clock::now();
        x.fakeKey(kKeysymA, true);
        const bool received = x.waitForKeyPress(other, 5000);
        const auto done = std::chrono::steady_clock::now();
        x.fakeKey(kKeysymA, false);
        if (!received) {
            std::fprintf(stderr, "the plain window received no key\n");
            return 1;
        }
        if (i >= kWarmUp) baseline.push_back(Millis(done - sent).count());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

    std::vector<double> toPage, toReport;
    std::size_t from = app.lines().size();
    for (int i = 0; i < kPresses + kWarmUp; ++i) {
        const double sentWall = wallClockMs();
        const auto sent = std::chrono::steady_clock::now();
        x.fakeKey(kKeysymAudioPlay, true);
        x.fakeKey(kKeysymAudioPlay, false);
        const std::size_t at = app.expectLine([](const std::string& l) { return calledAt(l).has_value(); },
                                              "the page's tooglePlayPause", from);
        const auto reported = std::chrono::steady_clock::now();
        from = at + 1;
        if (i < kWarmUp) continue;
        toPage.push_back(*calledAt(app.lines()[at]) - sentWall);
        toReport.push_back(Millis(reported - sent).count());
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    app.stop();

    std::printf("Media key latency, %d presses (after %d warm-up), another window focused\n", kPresses,
                kWarmUp);
    printFigures("baseline: key to a plain X client", baseline);
    // The page stamps its clock with about a millisecond's precision, so this figure can dip below zero.
    printFigures("key press -> page function running", toPage);
    // Also carries the console message back to the program and out to us: an upper bound on one clock.
    printFigures("key press -> page's report read back", toReport);
    return 0;
}
