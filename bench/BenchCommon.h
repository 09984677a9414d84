// Helpers the benchmarks that run the real program share: files of a test web app, a fresh home per run, the
// median of a sample.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zel::bench {

inline void writeFile(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

// Each run gets folders of its own, so nothing of an earlier run (website data, caches) helps it.
inline std::map<std::string, std::optional<std::string>> freshHome(const std::filesystem::path& home) {
    for (const char* dir : {"data", "cache", "config"}) std::filesystem::create_directories(home / dir);
    return {{"XDG_DATA_HOME", (home / "data").string()},
            {"XDG_CACHE_HOME", (home / "cache").string()},
            {"XDG_CONFIG_HOME", (home / "config").string()},
            {"OSTRELLE_BROWSER_LOG", (home / "browser.log").string()}};
}

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

}  // namespace zel::bench
