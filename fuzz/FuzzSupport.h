// Helpers shared by the fuzz targets: splitting an input into fields, failing loudly, a scratch folder, and a
// quiet log.
#pragma once

#include "core/log/ZELLog.h"

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace zel::fuzz {

// The input as fields: its first byte is the separator and the rest is split at each occurrence of it. Any
// field can hold any byte but the one its input chose, and seeds stay readable ("\nplugin\nmethod\n...").
inline std::vector<std::string_view> splitFields(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string_view> fields;
    if (size == 0) return fields;
    const char separator = static_cast<char>(data[0]);
    std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    for (;;) {
        const std::size_t at = rest.find(separator);
        fields.push_back(rest.substr(0, at));
        if (at == std::string_view::npos) return fields;
        rest.remove_prefix(at + 1);
    }
}

inline std::string_view field(const std::vector<std::string_view>& fields, std::size_t index) {
    return index < fields.size() ? fields[index] : std::string_view();
}

// A broken invariant: say which, and abort so that libFuzzer keeps the input.
[[noreturn]] inline void fail(const std::string& what) {
    std::fprintf(stderr, "\nINVARIANT BROKEN: %s\n", what.c_str());
    std::fflush(stderr);
    std::abort();
}

inline void check(bool condition, const std::string& what) {
    if (!condition) fail(what);
}

// Log lines go here instead of stderr (a line per call would drown libFuzzer's own output); the targets that
// have something to say about them read them, the others clear them.
inline std::vector<std::string>& quietLog() {
    static std::vector<std::string> lines;
    static const bool installed = [] {
        setLogSink([](const std::string& line) { lines.push_back(line); });
        return true;
    }();
    (void)installed;
    return lines;
}

// A folder of this process, on a memory file system where there is one (the cache target creates and
// removes a small tree per input); removed at exit.
inline const std::filesystem::path& scratchRoot() {
    static const std::filesystem::path root = [] {
        std::error_code ec;
        std::filesystem::path base = "/dev/shm";
        if (access(base.c_str(), W_OK) != 0) base = std::filesystem::temp_directory_path(ec);
        std::filesystem::path path = base / ("ostrelle-fuzz-" + std::to_string(getpid()));
        std::filesystem::remove_all(path, ec);
        std::filesystem::create_directories(path, ec);
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(scratchRoot(), ignored);
        });
        return path;
    }();
    return root;
}

}  // namespace zel::fuzz
