// The longest main-loop stall while the web cache does its disk work, with the disk work done on the main
// thread (the baseline: the controller's default worker) and on the background disk worker the program uses.
// A 1 ms timeout on the main context records the largest gap between its ticks while
//   - a refresh of 1,000 files of 10 KB from ostrelle-devserver is stored (files, sync, maps), and
//   - a cache of 1,000 files of 200 KB (200 MB, synced to disk) is cleared.
// The cache lives on the temporary folder's disk, not tmpfs: the disk's own latency is what is measured.
#include "BenchSupport.h"

#include "core/cache/ZELCacheController.h"
#include "core/fs/Files.h"
#include "platform/fs/ZELBackgroundDiskWorker.h"
#include "platform/net/ZELSoupDownloaderFactory.h"
#include "platform/publish/ZELPublisher.h"

#include <fcntl.h>
#include <unistd.h>

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace zel::bench {
namespace {

constexpr int kRefreshFiles = 1000;
constexpr std::size_t kRefreshFileSize = 10 * 1024;
constexpr int kClearFiles = 1000;
constexpr std::size_t kClearFileSize = 200 * 1024;
constexpr int kRepetitions = 5;

std::string randomText(std::mt19937& random, std::size_t size) {
    std::string body(size, ' ');
    for (char& c : body) c = static_cast<char>('a' + random() % 26);
    return body;
}

struct Stall {
    double longest;  // ms: the longest gap between two ticks of the meter
    double total;    // ms: from the start of the operation to its end
};

// Starts `operation` from the main loop (as a bridge call would), runs the loop until `finished`, and
// measures the gaps between the ticks of a 1 ms timeout meanwhile.
Stall longestStall(std::function<void()> operation, const std::function<bool()>& finished) {
    struct Meter {
        gint64 last = g_get_monotonic_time();
        gint64 longest = 0;
    } meter;
    const guint tick = g_timeout_add(
        1,
        [](gpointer data) -> gboolean {
            auto* m = static_cast<Meter*>(data);
            const gint64 now = g_get_monotonic_time();
            m->longest = std::max(m->longest, now - m->last);
            m->last = now;
            return G_SOURCE_CONTINUE;
        },
        &meter);
    struct Start {
        std::function<void()> operation;
        gint64 at = 0;
    } start{std::move(operation)};
    g_timeout_add_once(
        20,
        [](gpointer data) {
            auto* s = static_cast<Start*>(data);
            s->at = g_get_monotonic_time();
            s->operation();
        },
        &start);
    while (start.at == 0 || !finished()) g_main_context_iteration(nullptr, TRUE);
    const gint64 end = g_get_monotonic_time();
    // The loop goes on a little, so that a stall that ended with the operation is recorded by the next tick.
    while (g_get_monotonic_time() - end < 20 * 1000) g_main_context_iteration(nullptr, TRUE);
    g_source_remove(tick);
    return Stall{static_cast<double>(meter.longest) / 1000.0, static_cast<double>(end - start.at) / 1000.0};
}

void syncFolder(const std::filesystem::path& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::syncfs(fd);
    ::close(fd);
}

struct Finished : ZELCacheControllerDelegate {
    void didFinishRefreshingWebCache() override { done = true; }
    bool done = false;
};

std::unique_ptr<ZELDiskWorker> worker(bool background, ZELDiskWorker*& raw) {
    std::unique_ptr<ZELDiskWorker> made = background ? std::make_unique<platform::ZELBackgroundDiskWorker>()
                                                     : std::make_unique<ZELDiskWorker>();
    raw = made.get();
    return made;
}

const char* name(bool background) {
    return background ? "background worker:" : "main thread (before):";
}

}  // namespace

void runStallBenchmark() {
    ScratchFolder served("ostrelle-bench-stall-served", "/dev/shm");
    ScratchFolder disk("ostrelle-bench-stall");
    std::mt19937 random(5);
    for (int i = 0; i < kRefreshFiles; ++i) {
        fs::writeFileAtomically(
            served.path() / "www" / ("m" + std::to_string(i % 20)) / ("f" + std::to_string(i) + ".js"),
            randomText(random, kRefreshFileSize));
    }
    platform::ZELPublisher publisher(served.path() / "www", served.path() / "published", "2030/01/01");
    if (!publisher.publish()) {
        std::printf("stall: cannot publish: %s\n", publisher.error().c_str());
        return;
    }
    Child server({OSTRELLE_DEVSERVER, (served.path() / "published").string(), "--quiet"});
    const auto address =
        server.waitForLine([](const std::string& line) { return line.starts_with("http://"); });
    if (!address) {
        std::printf("stall: ostrelle-devserver did not start\n");
        return;
    }
    const std::string host = address->substr(7);
    const std::string chunk = randomText(random, kClearFileSize);

    std::vector<Stall> refresh[2], clear[2];
    int run = 0;
    for (int repetition = 0; repetition < kRepetitions; ++repetition) {
        // Alternating, so that load from elsewhere on the machine weighs on both alike.
        for (const bool background : {false, true}) {
            const std::filesystem::path work = disk.path() / ("work" + std::to_string(run++));
            ZELDiskWorker* rawWorker = nullptr;
            {
                ZELCacheController controller(ZELCacheLocations{work, disk.path() / "bundle", host,
                                                                "http://" + host + "/player/mac/config"},
                                              std::make_unique<platform::ZELSoupDownloaderFactory>(),
                                              worker(background, rawWorker));
                Finished finished;
                controller.setDelegate(&finished);
                syncFolder(disk.path());
                refresh[background].push_back(
                    longestStall([&] { controller.refreshLocalCache(); }, [&] { return finished.done; }));
            }

            // A large cache, on disk before it is cleared, as one left by earlier runs would be.
            for (int i = 0; i < kClearFiles; ++i) {
                const std::filesystem::path file = work / "Cache" / host / "player/mac/build" /
                                                   ("d" + std::to_string(i % 20)) /
                                                   ("f" + std::to_string(i) + ".js");
                fs::writeFileAtomically(file, chunk);
            }
            syncFolder(disk.path());
            ZELCacheController controller(
                ZELCacheLocations{work, disk.path() / "bundle", host, "http://unused"}, nullptr,
                worker(background, rawWorker));
            bool cleared = false;
            clear[background].push_back(longestStall(
                [&] {
                    controller.clearLocalCache();
                    // Jobs run in order: this completion comes when the folder is gone.
                    rawWorker->run([] {}, [&] { cleared = true; });
                },
                [&] { return cleared; }));
            if (std::filesystem::exists(work / "Cache")) std::printf("stall: the cache was not cleared\n");
        }
    }
    auto worst = [](const std::vector<Stall>& v) {
        double w = 0;
        for (const Stall& stall : v) w = std::max(w, stall.longest);
        return w;
    };
    auto median = [](const std::vector<Stall>& v) {
        std::vector<double> values;
        for (const Stall& stall : v) values.push_back(stall.longest);
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    };
    for (const bool background : {false, true}) {
        std::printf(
            "stall: %-20s longest main-loop stall storing a refresh of %d files: median %6.1f ms, worst "
            "%6.1f ms; clearing %d files (%zu MB): median %6.1f ms, worst %6.1f ms (%d runs; target: "
            "under 16 ms)\n",
            name(background), kRefreshFiles, median(refresh[background]), worst(refresh[background]),
            kClearFiles, kClearFiles * kClearFileSize / (1024 * 1024), median(clear[background]),
            worst(clear[background]), kRepetitions);
    }
    for (int i = 0; i < kRepetitions; ++i) {
        std::printf(
            "stall: run %d: refresh (%.0f ms) stall %.1f ms -> (%.0f ms) %.1f ms; clear (%.0f ms) stall "
            "%.1f ms -> (%.0f ms) %.1f ms\n",
            i + 1, refresh[0][i].total, refresh[0][i].longest, refresh[1][i].total, refresh[1][i].longest,
            clear[0][i].total, clear[0][i].longest, clear[1][i].total, clear[1][i].longest);
    }
}

}  // namespace zel::bench
