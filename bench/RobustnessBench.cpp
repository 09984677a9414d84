// Robustness figures of the real program on the current display (run it through scripts/bench.sh):
//
// 1. calls: a page fires N (default 1,000,000) bridge calls through zelPlugin.exec with random plugin and
//    method names (the real ones and others), random call ids, and random, malformed, huge and deep argument
//    texts, in batches; the program's resident memory is read at the start, after every batch and at the end.
//    The menus' pop-ups (which wait for the user) are left out; the cache's refresh goes to a closed loopback
//    port.
// 2. crash: the web process is killed while the web app shows; the time until the reloaded page has answered
//    a bridge call again, several rounds (the program reloads by itself up to three times a minute).
//
// It prints figures; it asserts nothing.
#include "BenchCommon.h"
#include "cache/BenchSupport.h"
#include "support/Program.h"

#include <nlohmann/json.hpp>

#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace zel::test;
using namespace zel::bench;

namespace {

constexpr const char* kPageHost = "static.ostrelle.example";

struct Options {
    long calls = 1000000;
    long batch = 50000;
    int rounds = 3;
    std::string program = OSTRELLE_PROGRAM;
};

constexpr const char* kStressScript = R"JS((function () {
  'use strict';
  const query = new URLSearchParams(location.search);
  const total = Number(query.get('calls')), batch = Number(query.get('batch'));
  let state = 0x2545f491;
  const random = () => {  // xorshift32: the same calls every run
    state ^= state << 13; state >>>= 0; state ^= state >>> 17; state ^= state << 5; state >>>= 0;
    return state / 4294967296;
  };
  const pick = (list) => list[Math.floor(random() * list.length)];
  const plugins = ['cordovaAppUpdate', 'cordovaUserInfo', 'cordovaUserLogin', 'cordovaMenu', '', 'nope',
                   '__proto__', 'constructor', 'cordovaMenu\u0000', 'CORDOVAAPPUPDATE', '\ud800', '插件'];
  const methods = ['getLocalVersion', 'putLocalVersion', 'clearWebCache', 'setUserInfo', 'setLoginStatus',
                   'setLoginErrorMessage', 'setLoginNeedVerifyCode', 'setLoginVerifyCodeImageSrc',
                   'updateSongMenuDiyListData', '', 'toString', 'hasOwnProperty', 'exec', 'x'.repeat(300)];
  const value = (depth) => {
    const r = random();
    if (depth > 3 || r < 0.3) return pick([0, -1, 1e308, 0.5, true, false, null, '', 'text', '"\\\u2028',
                                          '{"cacheVersion":"2014/04/01"}', '\ud83c', 'ä'.repeat(50)]);
    if (r < 0.65) return Array.from({length: Math.floor(random() * 4)}, () => value(depth + 1));
    const object = {};
    for (let i = 0; i < 3; i++) object[pick(['a', 'cacheVersion', 'nickName', '', '__proto__'])] = value(depth + 1);
    return object;
  };
  const huge = 'x'.repeat(1 << 20), deep = '['.repeat(100000) + ']'.repeat(100000);
  const argument = () => {
    const r = random();
    if (r < 0.5) return JSON.stringify(Array.from({length: Math.floor(random() * 3)}, () => value(0)));
    if (r < 0.8) return pick(['[', '{"a":', ']', '[1,]', 'nonsense', '["\\ud800"]', '[1e999]', '',
                              '[' + JSON.stringify(JSON.stringify(value(0))) + ']', '\u0000', '[[[[[[[[[[']);
    if (r < 0.9998) return pick([undefined, null, 7, {}, [], () => 1]);
    return random() < 0.5 ? '["' + huge + '"]' : deep;
  };
  const callId = () => pick(['id', 0, -1, 1.5, null, undefined, {}, [], '\u2028', 'y'.repeat(1000)]);
  let answered = 0, thrown = 0, done = 0;
  window.zelNativeCallback = () => { answered++; };
  const report = (what) => console.log('STRESS ' + JSON.stringify({what, done, answered, thrown}));
  const step = () => {
    const end = Math.min(total, done + batch);
    for (; done < end; done++) {
      // A cache refresh in one call of a thousand: it asks a closed loopback port for the maps.
      const method = random() < 0.001 ? 'refreshWebCache' : pick(methods);
      try {
        zelPlugin.exec(callId(), pick(plugins), method, argument());
      } catch (e) {
        thrown++;
      }
    }
    report(done < total ? 'batch' : 'end');
    if (done < total) setTimeout(step, 0);
  };
  report('start');
  setTimeout(step, 0);
})();
)JS";

std::vector<std::string> command(const std::string& program, const fs::path& bundle,
                                 const std::string& page) {
    return {program, "--console-log", "--bundle", bundle.string(), "--static-file-host", kPageHost,
            // A refresh asks a closed port on loopback; nothing leaves the machine.
            "--config-base-url", "http://127.0.0.1:9/config", "--start-page",
            std::string("http://") + kPageHost + "/player/mac/www/index.html" + page};
}

// The JSON after marker on a console line at or after from; at is set to the line's index.
nlohmann::json expectReport(Program& app, const std::string& marker, std::size_t from, std::size_t& at,
                            Clock::duration timeout) {
    at = app.expectLine([&](const std::string& line) { return line.find(marker) != std::string::npos; },
                        marker, from, timeout);
    const std::string text = app.lines()[at];
    return nlohmann::json::parse(text.substr(text.find(marker) + marker.size()));
}

// A bundle of one page that runs `script`, in `dir`.
fs::path writeBundle(const TempDir& dir, const std::string& title, const char* script) {
    const fs::path bundle = fs::path(dir.path) / "bundle";
    writeFile(bundle / "cache_version", "");
    writeFile(bundle / "www/index.html",
              "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>" + title +
                  "</title><script src=\"page.js\"></script></head><body></body></html>");
    writeFile(bundle / "www/page.js", script);
    return bundle;
}

void benchCalls(const Options& options) {
    TempDir dir("ostrelle-bench");
    const fs::path bundle = writeBundle(dir, "stress", kStressScript);
    Program app(
        command(options.program, bundle,
                "?calls=" + std::to_string(options.calls) + "&batch=" + std::to_string(options.batch)),
        freshHome(fs::path(dir.path) / "home"));
    std::size_t at = 0;
    expectReport(app, "STRESS ", 0, at, std::chrono::minutes(1));
    const long before = residentKilobytes(app.pid());
    const auto started = Clock::now();
    std::printf("Random bridge calls from a page through the real program: %ld calls in batches of %ld\n",
                options.calls, options.batch);
    std::printf("  program RSS at the start %.1f MB\n", before / 1024.0);
    long highest = before;
    nlohmann::json last;
    do {
        last = expectReport(app, "STRESS ", at + 1, at, std::chrono::minutes(10));
        const long rss = residentKilobytes(app.pid());
        highest = std::max(highest, rss);
        std::printf("  %8ld calls  %6.1f s  RSS %.1f MB\n", last["done"].get<long>(),
                    std::chrono::duration<double>(Clock::now() - started).count(), rss / 1024.0);
        std::fflush(stdout);
    } while (last["what"] != "end");
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
    const long after = residentKilobytes(app.pid());
    const bool alive = !app.wait(Clock::duration::zero());
    app.stop();
    std::printf("  %ld calls in %.1f s (%.1f us a call); answered %ld, thrown in the page %ld\n",
                last["done"].get<long>(), seconds, seconds * 1e6 / options.calls,
                last["answered"].get<long>(), last["thrown"].get<long>());
    std::printf("  program RSS before %.1f MB, after %.1f MB (ratio %.3f), highest %.1f MB; %s\n\n",
                before / 1024.0, after / 1024.0, double(after) / double(before), highest / 1024.0,
                alive ? "the program ran throughout" : "THE PROGRAM ENDED");
}

constexpr const char* kReadyScript = R"JS((function () {
  'use strict';
  let answered = false;
  window.zelNativeCallback = () => { answered = true; };
  zelPlugin.exec('ready', 'cordovaAppUpdate', 'getLocalVersion', '[]');
  console.log('READY ' + JSON.stringify({loadId: Math.random(), answered}));
})();
)JS";

void benchCrash(const Options& options) {
    TempDir dir("ostrelle-bench");
    const fs::path bundle = writeBundle(dir, "ready", kReadyScript);
    Program app(command(options.program, bundle, ""), freshHome(fs::path(dir.path) / "home"));
    std::size_t at = 0;
    nlohmann::json ready = expectReport(app, "READY ", 0, at, std::chrono::minutes(1));
    std::printf(
        "Recovery after the web process is killed (SIGKILL), to the reloaded page's answered bridge "
        "call\n");
    std::vector<double> times;
    for (int round = 1; round <= options.rounds; ++round) {
        std::vector<pid_t> web;
        std::istringstream found(run({"pgrep", "-g", std::to_string(app.pid()), "WebKitWebProces"}, false));
        for (pid_t pid; found >> pid;) web.push_back(pid);
        if (web.empty()) {
            std::printf("  round %d: no web process found\n", round);
            break;
        }
        const auto killed = Clock::now();
        for (const pid_t pid : web) ::kill(pid, SIGKILL);
        nlohmann::json again;
        do {
            again = expectReport(app, "READY ", at + 1, at, std::chrono::seconds(30));
        } while (again["loadId"] == ready["loadId"]);
        const double ms = std::chrono::duration<double, std::milli>(Clock::now() - killed).count();
        times.push_back(ms);
        std::printf("  round %d: %7.1f ms  (bridge answered: %s)\n", round, ms,
                    again["answered"].get<bool>() ? "yes" : "NO");
        std::fflush(stdout);
        ready = again;
    }
    app.stop();
    if (!times.empty()) {
        std::printf("  median %.1f ms, worst %.1f ms   (target: under 2000 ms)\n", median(times),
                    *std::max_element(times.begin(), times.end()));
    }
}

int usage(const char* program) {
    std::cerr << "usage: " << program
              << " [--calls N] [--batch N] [--rounds N] [--program PATH] [calls|crash]...\n"
                 "Runs on the current display; scripts/bench.sh gives it a private one.\n";
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    std::vector<std::string> parts;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const auto value = [&]() -> std::string { return i + 1 < argc ? argv[++i] : "0"; };
        if (arg == "--calls") {
            options.calls = std::stol(value());
        } else if (arg == "--batch") {
            options.batch = std::max(1L, std::stol(value()));
        } else if (arg == "--rounds") {
            options.rounds = std::clamp(std::stoi(value()), 1, 3);
        } else if (arg == "--program") {
            options.program = value();
        } else if (arg == "calls" || arg == "crash") {
            parts.push_back(arg);
        } else {
            return usage(argv[0]);
        }
    }
    if (parts.empty()) parts = {"crash", "calls"};
    try {
        for (const std::string& part : parts) {
            if (part == "calls") benchCalls(options);
            if (part == "crash") benchCrash(options);
        }
    } catch (const std::exception& e) {
        std::cerr << "robustness_bench: " << e.what() << std::endl;
        return 1;
    }
    return 0;
}
