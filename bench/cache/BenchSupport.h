// Small helpers of the cache benchmarks: a child process whose output lines are collected, a scratch folder,
// wall-clock timing, and the memory figures of a process.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace zel::bench {

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class ScratchFolder {
  public:
    // Under `parent` when it is a folder, else under the system's temporary folder.
    explicit ScratchFolder(const std::string& name, const std::filesystem::path& parent = {});
    ~ScratchFolder();
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

// A program run with stdout and stderr read line by line on a thread. Stopped (SIGTERM, then SIGKILL) when
// destroyed.
class Child {
  public:
    Child(const std::vector<std::string>& args, const std::map<std::string, std::string>& env = {});
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return pid_; }
    // The first line (either stream) for which matches holds; nullopt after `patience` or the output's end.
    std::optional<std::string> waitForLine(const std::function<bool(const std::string&)>& matches,
                                           std::chrono::seconds patience = std::chrono::seconds(60));
    int stop();

  private:
    void read(int fd);

    pid_t pid_ = -1;
    std::vector<std::thread> readers_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> lines_;
    int openStreams_ = 2;
    bool stopped_ = false;
};

// Resident set size now and at its peak (kilobytes) of a process, from /proc; 0 when it is gone.
long residentKilobytes(pid_t pid);
long peakResidentKilobytes(pid_t pid);
// The process and all its descendants.
std::vector<pid_t> processTree(pid_t root);

}  // namespace zel::bench
