// Benchmarks of the real program on the current display (run it through scripts/bench.sh):
//
// 1. The synchronous bridge: a page times 10,000 zelPlugin.exec round trips (getLocalVersion, answered before
//    exec returns) with performance.now and prints the figures to the console.
// 2. Cold start to a loaded web app (an index with ~100 stylesheets, scripts and images), Ostrelle against
//    MiniBrowser loading the same files from file://, alternately, several rounds. "Loaded" is the same event
//    for both: the page's load handler fetches a loopback address that this program serves. For Ostrelle
//    also the time from the process's start to its main window's first frame (its debug line).
//
// 3. API round trips: a page makes 1,000 sequential GETs of a loopback server, in Ostrelle (through the web
//    view's proxy) and in MiniBrowser (direct), and reports the median and 99th percentile.
//
// It prints figures and ratios; it asserts nothing.
#include "BenchCommon.h"
#include "support/Program.h"

#include <gio/gio.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace zel::test;
using namespace zel::bench;

namespace {

constexpr const char* kPageHost = "static.ostrelle.example";
constexpr const char* kMiniBrowser = "/usr/lib/x86_64-linux-gnu/webkitgtk-6.0/MiniBrowser";

struct Options {
    int calls = 10000;
    int rounds = 5;
    int assets = 100;
    std::string program = OSTRELLE_PROGRAM;
    std::string miniBrowser = kMiniBrowser;
};

bool busNameHasOwner(const char* name) {
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus) return false;
    GVariant* reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
        g_variant_new("(s)", name), G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    g_object_unref(bus);
    gboolean owned = FALSE;
    if (reply) {
        g_variant_get(reply, "(b)", &owned);
        g_variant_unref(reply);
    }
    return owned;
}

// A program that is still registered on the bus would take over the next start instead of a new process.
void waitForSingleInstanceNames() {
    waitFor([] {
        return !busNameHasOwner("org.ostrelle.Ostrelle") && !busNameHasOwner("org.webkitgtk.MiniBrowser");
    });
}

// --- The bridge round trip ---------------------------------------------------------------------------------

constexpr const char* kExecBenchScript = R"JS((function () {
  'use strict';
  const calls = Number(new URLSearchParams(location.search).get('calls'));
  let answered = 0;
  window.zelNativeCallback = () => { answered++; };
  const call = () => zelPlugin.exec('bench', 'cordovaAppUpdate', 'getLocalVersion', '[]');

  // The page's clock is coarse on purpose (1 ms in this engine); find its step, and time batches of calls long
  // enough that one step is a small part of a batch.
  let resolution = Infinity;
  for (let i = 0, last = performance.now(); i < 1e6 && resolution > 0.001; i++) {
    const now = performance.now();
    if (now > last) {
      resolution = Math.min(resolution, now - last);
      last = now;
    }
  }
  const batch = resolution <= 0.005 ? 1 : 25;

  for (let i = 0; i < 500; i++) call();
  answered = 0;
  const samples = [];
  const start = performance.now();
  for (let done = 0; done < calls; done += batch) {
    const t0 = performance.now();
    for (let k = 0; k < batch; k++) call();
    samples.push((performance.now() - t0) / batch);
  }
  const mean = (performance.now() - start) / calls;
  samples.sort((a, b) => a - b);
  const quantile = (q) => samples[Math.min(samples.length - 1, Math.floor(q * samples.length))];
  console.log('BENCH exec ' + JSON.stringify({calls, answered, resolution, batch, samples: samples.length,
                                              p50: quantile(0.5), p99: quantile(0.99), mean}));
})();
)JS";

void benchExec(const Options& options) {
    TempDir dir("ostrelle-bench");
    const fs::path bundle = fs::path(dir.path) / "bundle";
    writeFile(bundle / "cache_version", "");
    writeFile(bundle / "www/index.html",
              "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>exec</title>"
              "<script src=\"exec.js\"></script></head><body></body></html>");
    writeFile(bundle / "www/exec.js", kExecBenchScript);

    waitForSingleInstanceNames();
    Program app({options.program, "--console-log", "--bundle", bundle.string(), "--start-page",
                 std::string("http://") + kPageHost +
                     "/player/mac/www/index.html?calls=" + std::to_string(options.calls)},
                freshHome(fs::path(dir.path) / "home"));
    const std::string marker = " CONSOLE LOG BENCH exec ";
    const std::size_t at =
        app.expectLine([&](const std::string& line) { return line.find(marker) != std::string::npos; },
                       "with the figures", 0, std::chrono::minutes(5));
    const std::string text = app.lines()[at];
    const auto result = nlohmann::json::parse(text.substr(text.find(marker) + marker.size()));
    app.stop();

    std::printf(
        "Bridge round trip: synchronous zelPlugin.exec (cordovaAppUpdate.getLocalVersion), %d calls,\n",
        result["calls"].get<int>());
    std::printf("timed in the page with performance.now (answered before exec returned: %d of %d)\n",
                result["answered"].get<int>(), result["calls"].get<int>());
    if (result["batch"].get<int>() > 1) {
        std::printf(
            "  the page's clock steps by %.3f ms, so per-call times are taken over %d batches of %d calls\n",
            result["resolution"].get<double>(), result["samples"].get<int>(), result["batch"].get<int>());
    }
    std::printf("  p50 %.3f ms   p99 %.3f ms   mean %.3f ms   (target: p50 under 0.5 ms)\n\n",
                result["p50"].get<double>(), result["p99"].get<double>(), result["mean"].get<double>());
}

// --- Cold start --------------------------------------------------------------------------------------------

// index.html and its assets; the load handler reports to pingURL.
void writeWebApp(const fs::path& www, int assets, const std::string& pingURL) {
    std::string head, body;
    for (int i = 0; i < assets; ++i) {
        const std::string n = std::to_string(i);
        switch (i % 10) {
            case 0:
            case 1: {  // scripts
                std::string js = "(function () {\n  'use strict';\n  const table" + n + " = [];\n";
                for (int k = 0; k < 120; ++k) {
                    js += "  table" + n + ".push({id: " + std::to_string(k) + ", name: 'item " +
                          std::to_string(k) + "', weight: " + std::to_string((k * 37) % 101) + "});\n";
                }
                js += "  window.asset" + n + " = table" + n +
                      ".reduce((sum, row) => sum + row.weight, 0);\n})();\n";
                writeFile(www / ("js/a" + n + ".js"), js);
                head += "<script src=\"js/a" + n + ".js\"></script>\n";
                break;
            }
            case 2: {  // images
                std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"64\" height=\"64\">";
                for (int k = 0; k < 40; ++k) {
                    svg += "<circle cx=\"" + std::to_string(k % 64) + "\" cy=\"" +
                           std::to_string((k * 7) % 64) + "\" r=\"" + std::to_string(2 + k % 9) +
                           "\" fill=\"#" + std::to_string(100 + k * 7) + "\"/>";
                }
                writeFile(www / ("img/a" + n + ".svg"), svg + "</svg>\n");
                body += "<img src=\"img/a" + n + ".svg\" width=\"32\" height=\"32\" alt=\"\">\n";
                break;
            }
            default: {  // stylesheets
                std::string css;
                for (int k = 0; k < 80; ++k) {
                    css += ".c" + n + "-" + std::to_string(k) + " { margin: " + std::to_string(k % 13) +
                           "px; color: #" + std::to_string(100 + (k * 11) % 900) +
                           "; font-size: " + std::to_string(10 + k % 8) + "px; }\n";
                }
                writeFile(www / ("css/a" + n + ".css"), css);
                head += "<link rel=\"stylesheet\" href=\"css/a" + n + ".css\">\n";
            }
        }
    }
    // The report says how many assets really arrived, so that a run whose files failed (and so ended early)
    // cannot pass for a fast one.
    const std::string onLoad = R"JS(
window.addEventListener('load', () => {
  const sheets = Array.from(document.querySelectorAll('link[rel=stylesheet]')).filter((l) => l.sheet).length;
  const images = Array.from(document.images).filter((i) => i.naturalWidth > 0).length;
  const scripts = Object.keys(window).filter((k) => /^asset\d+$/.test(k)).length;
  fetch('PING?assets=' + (sheets + images + scripts), {mode: 'no-cors', cache: 'no-store'});
});
)JS";
    std::string script = onLoad;
    script.replace(script.find("PING"), 4, pingURL);
    writeFile(www / "index.html",
              "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>cold start</title>\n" +
                  head + "<script>" + script + "</script>\n</head>\n<body>\n<h1>Cold start</h1>\n" + body +
                  "</body>\n</html>\n");
}

struct ColdStart {
    double milliseconds;
    int assetsLoaded;
    double firstFrame = 0;  // to the main window's first frame; Ostrelle only
};

// The debug line Ostrelle writes (G_MESSAGES_DEBUG=Ostrelle) when its main window has drawn its first frame.
constexpr const char* kFirstFrameLine = "main window first frame";

// From starting the browser to the page's load event reaching the recorder. Runs follow one another and each
// ends before the next starts, so the first report after the start is this run's.
ColdStart timeColdStart(Loopback& recorder, const std::string& program, const std::vector<std::string>& args,
                        const fs::path& home, bool firstFrame = false) {
    waitForSingleInstanceNames();
    const std::size_t before = recorder.requests().size();
    auto env = freshHome(home);
    if (firstFrame) env["G_MESSAGES_DEBUG"] = "Ostrelle";
    const auto started = Clock::now();
    std::vector<std::string> argv{program};
    argv.insert(argv.end(), args.begin(), args.end());
    Program browser(argv, env);
    ColdStart result{};
    // Lines carry no time stamps, so the frame is timed as its line arrives; the recorder stamps the page's
    // ping itself, so waiting for the line first loses nothing.
    if (firstFrame) {
        browser.expectLine([](const std::string& l) { return l.find(kFirstFrameLine) != l.npos; },
                           "first frame", 0, std::chrono::minutes(2));
        result.firstFrame = std::chrono::duration<double, std::milli>(Clock::now() - started).count();
    }
    const Loopback::Request loaded = recorder.expectRequest("/loaded", before, std::chrono::minutes(2));
    browser.stop();
    result.milliseconds = std::chrono::duration<double, std::milli>(loaded.at - started).count();
    result.assetsLoaded = std::stoi(loaded.path.substr(loaded.path.find('=') + 1));
    return result;
}

void benchColdStart(const Options& options) {
    TempDir dir("ostrelle-bench");
    Loopback recorder;
    const fs::path bundle = fs::path(dir.path) / "bundle";
    writeFile(bundle / "cache_version", "");
    writeWebApp(bundle / "www", options.assets, "http://" + recorder.host() + "/loaded");

    int runs = 0;
    const auto home = [&] { return fs::path(dir.path) / ("home" + std::to_string(++runs)); };
    // Ostrelle on its own start page (the bundle's index.html under its scheme); MiniBrowser on that file.
    const auto ostrelle = [&] {
        return timeColdStart(recorder, options.program, {"--bundle", bundle.string()}, home(), true);
    };
    const auto miniBrowser = [&] {
        return timeColdStart(recorder, options.miniBrowser,
                             {"--automation", "file://" + (bundle / "www/index.html").string()}, home());
    };

    // One unrecorded start of each first, so that both find their libraries in the page cache alike.
    ostrelle();
    miniBrowser();

    std::printf(
        "Cold start to a loaded web app (index + %d assets; its load handler pings a loopback server),\n",
        options.assets);
    std::printf(
        "Ostrelle (bundle, through its proxy) and MiniBrowser --automation (file://), alternately, %d "
        "rounds\n",
        options.rounds);
    std::printf("  round   Ostrelle      MiniBrowser   (Ostrelle's first window frame)\n");
    std::vector<double> ours, theirs, frames;
    int incomplete = 0;
    for (int round = 1; round <= options.rounds; ++round) {
        ColdStart o, m;
        // Who starts first changes every round, so neither always follows the other.
        if (round % 2) {
            o = ostrelle();
            m = miniBrowser();
        } else {
            m = miniBrowser();
            o = ostrelle();
        }
        ours.push_back(o.milliseconds);
        theirs.push_back(m.milliseconds);
        frames.push_back(o.firstFrame);
        std::printf("  %-5d   %7.1f ms    %7.1f ms    (%7.1f ms)\n", round, o.milliseconds, m.milliseconds,
                    o.firstFrame);
        for (const auto& [who, run] : {std::pair{"Ostrelle", o}, std::pair{"MiniBrowser", m}}) {
            if (run.assetsLoaded != options.assets) {
                ++incomplete;
                std::printf("          (%s loaded only %d of %d assets)\n", who, run.assetsLoaded,
                            options.assets);
            }
        }
        std::fflush(stdout);
    }
    const double a = median(ours), b = median(theirs);
    std::printf("  median  %7.1f ms    %7.1f ms\n", a, b);
    std::printf("  process start to Ostrelle's first window frame: median %.1f ms\n", median(frames));
    std::printf("  ratio Ostrelle / MiniBrowser = %.3f   (target: at most 1.0)\n", a / b);
    if (incomplete == 0) std::printf("  every run loaded all %d assets\n", options.assets);
}

// A page that times `count` sequential fetches of the recorder and sends the figures to it.
void writeApiPage(const fs::path& www, const Loopback& recorder, int count) {
    std::string script = R"JS(
(async () => {
  const times = [];
  const begin = performance.now();
  for (let i = 0; i < COUNT; ++i) {
    const start = performance.now();
    await fetch('API?' + i, {cache: 'no-store'});
    times.push(performance.now() - start);
  }
  const mean = (performance.now() - begin) / times.length;
  times.sort((a, b) => a - b);
  const at = (q) => times[Math.min(times.length - 1, Math.floor(q * times.length))];
  fetch('RESULT?mean=' + mean.toFixed(4) + '&p50=' + at(0.5).toFixed(3) + '&p99=' + at(0.99).toFixed(3),
        {cache: 'no-store'});
})();
)JS";
    script.replace(script.find("COUNT"), 5, std::to_string(count));
    script.replace(script.find("API"), 3, "http://" + recorder.host() + "/api");
    script.replace(script.find("RESULT"), 6, "http://" + recorder.host() + "/result");
    writeFile(www / "index.html",
              "<!DOCTYPE html>\n<meta charset=\"utf-8\"><title>api</title><script>" + script + "</script>\n");
}

// The API as a service answers it: 200 with a small JSON body on a connection kept open; or, with `empty`,
// 204 without a body, after which the test server closes the connection, so every request connects anew.
void benchApi(const Options& options, bool empty) {
    TempDir dir("ostrelle-bench");
    Loopback recorder([empty](SoupServerMessage* msg, const std::string& path) {
        soup_message_headers_append(soup_server_message_get_response_headers(msg),
                                    "Access-Control-Allow-Origin", "*");
        if (empty || path != "/api") return soup_server_message_set_status(msg, 204, nullptr);
        static const char kBody[] = R"({"code":200,"data":{"ok":true}})";
        soup_server_message_set_status(msg, 200, nullptr);
        soup_server_message_set_response(msg, "application/json", SOUP_MEMORY_STATIC, kBody,
                                         sizeof kBody - 1);
    });
    const fs::path bundle = fs::path(dir.path) / "bundle";
    writeFile(bundle / "cache_version", "");
    constexpr int kRequests = 1000;
    writeApiPage(bundle / "www", recorder, kRequests);
    struct Timing {
        double mean = 0, p50 = 0, p99 = 0;
    };
    // The page's figures, in milliseconds (its clock has coarse steps; the mean over all requests does not).
    const auto run = [&](const std::string& program, const std::vector<std::string>& args, const char* home) {
        waitForSingleInstanceNames();
        const std::size_t before = recorder.requests().size();
        std::vector<std::string> argv{program};
        argv.insert(argv.end(), args.begin(), args.end());
        Program browser(argv, freshHome(fs::path(dir.path) / home));
        const std::string path = recorder.expectRequest("/result", before, std::chrono::minutes(2)).path;
        browser.stop();
        const auto field = [&](const std::string& key) {
            const std::size_t at = path.find(key + "=");
            return at == std::string::npos ? 0.0 : std::stod(path.substr(at + key.size() + 1));
        };
        return Timing{field("mean"), field("p50"), field("p99")};
    };
    std::printf(
        "API round trip, %d sequential GETs of a loopback server from the page (%s), %d rounds alternating\n",
        kRequests, empty ? "204, a new connection each" : "200 with JSON, kept alive", options.rounds);
    std::printf("  round   Ostrelle (through its proxy)          MiniBrowser (direct)\n");
    std::vector<double> ours, theirs;
    for (int round = 1; round <= options.rounds; ++round) {
        Timing o, m;
        const auto runOurs = [&] { o = run(options.program, {"--bundle", bundle.string()}, "ostrelle"); };
        const auto runTheirs = [&] {
            m = run(options.miniBrowser, {"--automation", "file://" + (bundle / "www/index.html").string()},
                    "mini");
        };
        if (round % 2) {
            runOurs();
            runTheirs();
        } else {
            runTheirs();
            runOurs();
        }
        ours.push_back(o.mean);
        theirs.push_back(m.mean);
        std::printf("  %-5d   mean %6.3f  p50 %5.1f  p99 %5.1f ms   mean %6.3f  p50 %5.1f  p99 %5.1f ms\n",
                    round, o.mean, o.p50, o.p99, m.mean, m.p50, m.p99);
        std::fflush(stdout);
    }
    std::printf("  ratio of the median means Ostrelle / MiniBrowser = %.3f   (target: under 1.2)\n",
                median(ours) / median(theirs));
}

int usage(const char* program) {
    std::cerr << "usage: " << program
              << " [--calls N] [--rounds N] [--assets N] [--program PATH] [--minibrowser PATH] "
                 "[exec|start|api]...\n"
                 "Runs on the current display; scripts/bench.sh gives it a private one.\n";
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    std::vector<std::string> parts;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const auto value = [&]() -> std::string { return i + 1 < argc ? argv[++i] : ""; };
        if (arg == "--calls") {
            options.calls = std::stoi(value());
        } else if (arg == "--rounds") {
            options.rounds = std::stoi(value());
        } else if (arg == "--assets") {
            options.assets = std::stoi(value());
        } else if (arg == "--program") {
            options.program = value();
        } else if (arg == "--minibrowser") {
            options.miniBrowser = value();
        } else if (arg == "exec" || arg == "start" || arg == "api") {
            parts.push_back(arg);
        } else {
            return usage(argv[0]);
        }
    }
    if (parts.empty()) parts = {"exec", "start", "api"};
    try {
        for (const std::string& part : parts) {
            if (part == "exec") benchExec(options);
            if (part == "start") benchColdStart(options);
            if (part == "api") {
                benchApi(options, false);
                benchApi(options, true);
            }
        }
    } catch (const std::exception& e) {
        std::cerr << "bridge_bench: " << e.what() << std::endl;
        return 1;
    }
    return 0;
}
