// Peak memory of the program while a 200 MB file that neither the cache nor the bundle holds passes through
// the hash-map protocol from the network to the page, which reads it as a stream and keeps nothing. Baseline:
// the same program and page, without the transfer.
#include "BenchSupport.h"

#include "core/fs/Files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace zel::bench {
namespace {

constexpr long long kBigFileSize = 200LL * 1024 * 1024;

constexpr const char* kPage = R"(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>passthrough</title></head><body><script>
'use strict';
const report = (text) => console.log('BENCH ' + text);
const file = new URLSearchParams(location.search).get('file');
if (file) {
  fetch(file).then(async (response) => {
    const reader = response.body.getReader();
    let bytes = 0;
    for (;;) {
      const {done, value} = await reader.read();
      if (done) break;
      bytes += value.length;
    }
    report('done ' + response.status + ' ' + bytes);
  }).catch((error) => report('failed ' + error));
} else {
  setTimeout(() => report('done idle 0'), 3000);
}
</script></body></html>
)";

// Distinct bytes, so no layer can take a shortcut; written once, read from the page cache afterwards.
void writeBigFile(const std::filesystem::path& path) {
    std::filesystem::create_directories(path.parent_path());
    std::string block(1 << 20, '\0');
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>((i * 2654435761u) >> 13);
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    for (long long written = 0; written < kBigFileSize; written += static_cast<long long>(block.size())) {
        if (::write(fd, block.data(), block.size()) != static_cast<ssize_t>(block.size())) break;
    }
    ::close(fd);
}

struct Peak {
    long program = 0;  // the program's own process, where the protocol runs (kB)
    long tree = 0;     // with the web and network processes (kB)
    std::string result;
};

Peak runPage(const std::filesystem::path& root, const std::string& host, const std::string& file) {
    const std::filesystem::path data = root / "data";
    std::filesystem::remove_all(data);
    Child app({OSTRELLE_PROGRAM, "--console-log", "--bundle", (root / "bundle").string(),
               "--static-file-host", host, "--config-base-url", "http://" + host + "/player/mac/config",
               "--start-page", "http://" + host + "/player/mac/www/index.html?file=" + file},
              {{"XDG_DATA_HOME", data.string()}});
    Peak peak;
    std::thread sampler([&] {
        while (peak.result.empty()) {
            long tree = 0;
            for (const pid_t pid : processTree(app.pid())) tree += residentKilobytes(pid);
            peak.tree = std::max(peak.tree, tree);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
    const auto line =
        app.waitForLine([](const std::string& l) { return l.find("BENCH done") != std::string::npos; },
                        std::chrono::seconds(300));
    peak.program = peakResidentKilobytes(app.pid());
    peak.result = line ? line.value().substr(line->find("BENCH done") + 11) : "no answer";
    sampler.join();
    app.stop();
    return peak;
}

}  // namespace

void runPassthroughBenchmark() {
    if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr) {
        std::printf("passthrough: skipped, no display (run under tests/support/with-display.sh)\n");
        return;
    }
    ScratchFolder scratch("ostrelle-bench-passthrough");
    fs::writeFileAtomically(scratch.path() / "bundle/www/index.html", kPage);
    fs::writeFileAtomically(scratch.path() / "bundle/cache_version", "2000/01/01");
    // On the server only: it passes through the protocol from the network. In the bundle: a file from disk.
    writeBigFile(scratch.path() / "published/player/mac/www/big.bin");
    writeBigFile(scratch.path() / "bundle/www/local.bin");
    // Outside the web app's folder: the web proxy's relay passes it on from the service as it comes.
    std::filesystem::create_directories(scratch.path() / "published/media");
    std::filesystem::create_hard_link(scratch.path() / "published/player/mac/www/big.bin",
                                      scratch.path() / "published/media/big.bin");
    Child server({OSTRELLE_DEVSERVER, (scratch.path() / "published").string(), "--quiet"});
    const auto address =
        server.waitForLine([](const std::string& line) { return line.starts_with("http://"); });
    if (!address) {
        std::printf("passthrough: ostrelle-devserver did not start\n");
        return;
    }
    const std::string host = address->substr(7);

    // The figures vary from run to run with how the processes are scheduled: medians of three.
    const auto medianOf = [&](const std::string& file) {
        std::vector<Peak> runs;
        for (int i = 0; i < 3; ++i) runs.push_back(runPage(scratch.path(), host, file));
        std::sort(runs.begin(), runs.end(),
                  [](const Peak& a, const Peak& b) { return a.program < b.program; });
        Peak median = runs[1];
        std::vector<long> trees;
        for (const Peak& run : runs) trees.push_back(run.tree);
        std::sort(trees.begin(), trees.end());
        median.tree = trees[1];
        return median;
    };
    const Peak idle = medianOf("");
    const Peak network = medianOf("big.bin");
    const Peak disk = medianOf("local.bin");
    const Peak relayed = medianOf("/media/big.bin");
    const auto growth = [&](const Peak& peak) { return (peak.program - idle.program) / 1024.0; };
    std::printf(
        "passthrough: program peak RSS (median of 3), where the protocol runs: without a transfer %.1f MB; "
        "200 MB from the network (load raw) %.1f MB (+%.1f MB, %.1f%% of the file; page read %s); "
        "200 MB from disk %.1f MB (+%.1f MB); 200 MB from elsewhere on the service (relayed) %.1f MB (+%.1f "
        "MB; "
        "page read %s)\n",
        idle.program / 1024.0, network.program / 1024.0, growth(network),
        100.0 * growth(network) * 1024.0 * 1024.0 / static_cast<double>(kBigFileSize), network.result.c_str(),
        disk.program / 1024.0, growth(disk), relayed.program / 1024.0, growth(relayed),
        relayed.result.c_str());
    std::printf(
        "passthrough: all processes (web and network processes included): without a transfer %.1f MB, "
        "network %.1f MB, disk %.1f MB, relayed %.1f MB\n",
        idle.tree / 1024.0, network.tree / 1024.0, disk.tree / 1024.0, relayed.tree / 1024.0);
}

}  // namespace zel::bench
