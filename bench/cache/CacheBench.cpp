// Benchmarks of the web cache. Each prints its figures next to a baseline measured in the same run.
//
//   1. getHashedURL lookups with 10,000-entry hash maps, against the same lookup in the parsed maps without
//      the index.
//   2. A refresh of 1,000 files of 10 KB from ostrelle-devserver on loopback, against curl fetching the same
//      addresses one after another over one connection (and writing them to files).
//   3. Peak memory of the program while a 200 MB file passes through the hash-map protocol to the page,
//      against the same page without the transfer (needs a display: run under tests/support/with-display.sh).
//   4. The longest main-loop stall while a refresh of 1,000 files is stored and while a 200 MB cache is
//      cleared, with the disk work on the main thread against on the background disk worker.
//
// Usage: cache_bench [lookup] [refresh] [passthrough] [stall]   (default: all four)
#include "BenchSupport.h"

#include "core/cache/CacheKinds.h"
#include "core/cache/CacheURL.h"
#include "core/cache/ZELCacheController.h"
#include "core/fs/Files.h"
#include "core/log/ZELLog.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace zel::bench {

void runRefreshBenchmark();
void runPassthroughBenchmark();
void runStallBenchmark();

namespace {

void runLookupBenchmark() {
    constexpr int kEntries = 10000;
    ScratchFolder scratch("ostrelle-bench-lookup");
    std::mt19937 random(7);
    Value maps = Value::object();
    std::vector<std::string> urls;
    const char* extensions[] = {"js", "css", "png", "html"};
    for (const std::string_view kind : cache::kKinds) {
        Value& map = maps[std::string(kind)];
        map = Value::object();
        const char* ext = kind == "js" ? "js" : kind == "css" ? "css" : kind == "media" ? "png" : "html";
        for (int i = 0; i < kEntries; ++i) {
            const std::string path =
                "/dir" + std::to_string(i % 97) + "/file" + std::to_string(i) + "." + ext;
            map[path] = "/dir" + std::to_string(i % 97) + "/file" + std::to_string(i) + "_" +
                        std::to_string(random() % 100000000) + "." + ext;
        }
    }
    // Nine in ten requests have an entry; the rest keep their own address.
    for (int i = 0; i < kEntries; ++i) {
        const int n = static_cast<int>(random() % (kEntries * 10 / 9));
        const char* ext = extensions[random() % 4];
        urls.push_back("http://static.example/player/mac/www/dir" + std::to_string(n % 97) + "/file" +
                       std::to_string(n) + "." + ext);
    }
    fs::writeFileAtomically(scratch.path() / "work/cache_hashmap", maps.dump());
    const ZELCacheController controller(ZELCacheLocations{scratch.path() / "work", scratch.path() / "bundle",
                                                          "static.example", "http://unused"},
                                        nullptr);

    std::size_t mapped = 0;
    const int indexedRounds = 200;
    Clock::time_point start = Clock::now();
    for (int round = 0; round < indexedRounds; ++round) {
        for (const std::string& url : urls) mapped += controller.getHashedURL(url).size();
    }
    const double indexedRate = indexedRounds * static_cast<double>(urls.size()) / secondsSince(start);

    // Baseline: the same translation, looking the path up in the parsed document itself (a linear search).
    const int baselineRounds = 1;
    start = Clock::now();
    for (int round = 0; round < baselineRounds; ++round) {
        for (const std::string& url : urls) {
            const std::string path = cache::urlPath(url);
            const auto kind = cache::kindForExtension(cache::pathExtension(path));
            const Value& map = maps[std::string(*kind)];
            const auto it = map.find(cache::removingOccurrences(path, cache::kWebAppPathPrefix));
            mapped += it != map.end() ? it->get_ref<const std::string&>().size() : url.size();
        }
    }
    const double baselineRate = baselineRounds * static_cast<double>(urls.size()) / secondsSince(start);
    std::printf(
        "lookup: getHashedURL with 4 maps of %d entries: %.0f lookups/s; unindexed baseline %.0f "
        "lookups/s; ratio %.0fx (checksum %zu)\n",
        kEntries, indexedRate, baselineRate, indexedRate / baselineRate, mapped % 1000);
}

}  // namespace
}  // namespace zel::bench

int main(int argc, char** argv) {
    std::set<std::string> wanted(argv + 1, argv + argc);
    const bool all = wanted.empty();
    // Log lines are formatted as in the program, then dropped: the terminal would be the bottleneck.
    zel::setLogSink([](const std::string&) {});
    if (all || wanted.count("lookup")) zel::bench::runLookupBenchmark();
    if (all || wanted.count("refresh")) zel::bench::runRefreshBenchmark();
    if (all || wanted.count("passthrough")) zel::bench::runPassthroughBenchmark();
    if (all || wanted.count("stall")) zel::bench::runStallBenchmark();
    return 0;
}
