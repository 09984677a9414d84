// Refresh of 1,000 files of 10 KB from ostrelle-devserver (a separate process) against curl fetching the same
// addresses one after another on one connection.
#include "BenchSupport.h"

#include "core/cache/ZELCacheController.h"
#include "core/fs/Files.h"
#include "core/json/DictionaryJSON.h"
#include "platform/net/ZELSoupDownloaderFactory.h"
#include "platform/publish/ZELPublisher.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace zel::bench {
namespace {

constexpr int kFiles = 1000;
constexpr std::size_t kFileSize = 10 * 1024;
constexpr int kRepetitions = 5;

struct Finished : ZELCacheControllerDelegate {
    void didFinishRefreshingWebCache() override { done = true; }
    bool done = false;
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

void runRefreshBenchmark() {
    // Both sides write the same files; on tmpfs the file system's own costs (ext4's inode allocation after
    // mass deletions dominates otherwise) stay out of the comparison.
    ScratchFolder scratch("ostrelle-bench-refresh", "/dev/shm");
    std::mt19937 random(11);
    for (int i = 0; i < kFiles; ++i) {
        std::string body(kFileSize, ' ');
        for (char& c : body) c = static_cast<char>('a' + random() % 26);
        fs::writeFileAtomically(
            scratch.path() / "www" / ("m" + std::to_string(i % 20)) / ("f" + std::to_string(i) + ".js"),
            body);
    }
    platform::ZELPublisher publisher(scratch.path() / "www", scratch.path() / "published", "2030/01/01");
    if (!publisher.publish()) {
        std::printf("refresh: cannot publish: %s\n", publisher.error().c_str());
        return;
    }
    Child server({OSTRELLE_DEVSERVER, (scratch.path() / "published").string(), "--quiet"});
    const auto address =
        server.waitForLine([](const std::string& line) { return line.starts_with("http://"); });
    if (!address) {
        std::printf("refresh: ostrelle-devserver did not start\n");
        return;
    }
    const std::string host = address->substr(7);

    // The addresses a refresh fetches: every hashed path of the published maps.
    const Value js = json::dictionaryWithJSONString(
        fs::readFile(scratch.path() / "published/player/mac/config/js_map.json").value_or("{}"));
    const std::filesystem::path curlConfig = scratch.path() / "curl.cfg";
    {
        std::ofstream config(curlConfig);
        int n = 0;
        for (const auto& [path, hashed] : js.items()) {
            config << "url = \"http://" << host << "/player/mac/build" << hashed.get<std::string>() << "\"\n"
                   << "output = \"" << (scratch.path() / "curl" / std::to_string(n++)).string() << "\"\n";
        }
    }
    std::filesystem::create_directories(scratch.path() / "curl");
    const std::string curlCommand =
        "curl --silent --show-error --fail --config '" + curlConfig.string() + "'";
    if (std::system(curlCommand.c_str()) != 0) {  // also warms the server and the page cache
        std::printf("refresh: curl failed\n");
        return;
    }

    std::vector<double> curlTimes, refreshTimes;
    for (int repetition = 0; repetition < kRepetitions; ++repetition) {
        std::filesystem::remove_all(scratch.path() / "curl");
        std::filesystem::create_directories(scratch.path() / "curl");
        Clock::time_point start = Clock::now();
        std::system(curlCommand.c_str());
        curlTimes.push_back(secondsSince(start));

        const std::filesystem::path work = scratch.path() / ("work" + std::to_string(repetition));
        ZELCacheController controller(
            ZELCacheLocations{work, scratch.path() / "bundle", host, "http://" + host + "/player/mac/config"},
            std::make_unique<platform::ZELSoupDownloaderFactory>());
        Finished finished;
        controller.setDelegate(&finished);
        start = Clock::now();
        controller.refreshLocalCache();
        while (!finished.done) g_main_context_iteration(nullptr, TRUE);
        refreshTimes.push_back(secondsSince(start));
    }
    // Each refresh is compared with the curl run just before it, so that load from elsewhere on the machine
    // weighs on both sides of a ratio alike.
    std::vector<double> ratios;
    for (int i = 0; i < kRepetitions; ++i) ratios.push_back(refreshTimes[i] / curlTimes[i]);
    const double curlTime = median(curlTimes), refreshTime = median(refreshTimes);
    std::printf(
        "refresh: %d files of %zu KB from the loopback dev server: refresh %.3f s (%.0f files/s); "
        "curl, one connection, same files %.3f s; ratio %.2f (medians of %d paired runs)\n",
        kFiles, kFileSize / 1024, refreshTime, kFiles / refreshTime, curlTime, refreshTime / curlTime,
        kRepetitions);
}

}  // namespace zel::bench
