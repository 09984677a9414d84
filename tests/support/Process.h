// Runs a real program for a test: its own process group, stdout and stderr collected line by line on a
// thread, waits for a line that matches, and a clean stop that leaves no process of the group behind.
//
// A wait is given a generous limit: when it expires the test fails (WaitTimeout carries what the program said
// so far), it does not measure anything. Thread-safe.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace zel::test {

using Clock = std::chrono::steady_clock;

// Long enough for a cold start of the web view on a loaded two-core machine; only reached when something is
// wrong.
inline constexpr Clock::duration kPatience = std::chrono::seconds(40);

class WaitTimeout : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

enum class Stream { Stdout, Stderr };

struct OutputLine {
    Stream stream;
    std::string text;  // without the line feed; may hold any bytes, NUL included
};

// Changes to the test's own environment: a value sets the variable, nullopt removes it.
using EnvironmentChanges = std::map<std::string, std::optional<std::string>>;

class Process {
  public:
    // Starts program (a path, or a name looked up in PATH) with args; stdin is /dev/null. Throws
    // std::runtime_error when it cannot be started.
    Process(const std::string& program, const std::vector<std::string>& args,
            const EnvironmentChanges& env = {});
    // Stops the process group if it still runs.
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t pid() const { return pid_; }
    const std::string& program() const { return program_; }

    using LinePredicate = std::function<bool(const OutputLine&)>;

    // The index of the first line at or after `from` that matches, once it has arrived; nullopt when the time
    // runs out or the output ends without one.
    std::optional<std::size_t> waitForLine(const LinePredicate& matches, std::size_t from = 0,
                                           Clock::duration timeout = kPatience);
    // As waitForLine, but throws WaitTimeout naming `what` and showing the output so far.
    std::size_t expectLine(const LinePredicate& matches, const std::string& what, std::size_t from = 0,
                           Clock::duration timeout = kPatience);

    std::vector<OutputLine> lines() const;
    std::size_t lineCount() const;
    // Everything received on one stream, line feeds included (a last unterminated line too).
    std::string text(Stream stream) const;
    // The last lines received, for failure messages.
    std::string tail(std::size_t count = 40) const;

    // True once the process itself has ended (its children may still run).
    bool exited();
    // The wait status (as from waitpid) once the process has ended; nullopt when the time runs out first.
    std::optional<int> waitForExit(Clock::duration timeout = kPatience);
    // Sends a signal to the whole process group.
    void signalGroup(int signal);
    // SIGTERM to the group, SIGKILL after `grace`; waits for the process and for the group's output to end.
    // Returns the process's wait status.
    int stop(Clock::duration grace = std::chrono::seconds(5));

  private:
    void readOutput(int outFd, int errFd);
    void append(Stream stream, std::string& pending, const char* data, std::size_t size);
    bool reap(bool block);

    std::string program_;
    pid_t pid_ = -1;
    int pidFd_ = -1;
    int wakeFds_[2] = {-1, -1};
    std::optional<int> status_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<OutputLine> lines_;
    std::string stdoutText_, stderrText_;
    bool outputEnded_ = false;
    std::thread reader_;
};

struct CommandResult {
    int exitCode = -1;  // -1 when the command did not end normally
    std::string out;
    std::string err;
};

// Runs a short-lived helper (xdotool, xwininfo) to completion. Throws WaitTimeout if it does not end in time.
CommandResult runCommand(const std::vector<std::string>& argv, Clock::duration timeout = kPatience);

// Processes below `ancestor` (at any depth) whose command name (as in /proc/PID/comm, at most 15 bytes)
// is `name`.
std::vector<pid_t> descendantsNamed(pid_t ancestor, const std::string& name);

// Checks `condition` repeatedly until it holds, for state that no event announces (another process's
// windows); false when the time runs out.
bool waitUntil(const std::function<bool()>& condition, Clock::duration timeout = kPatience);

// A fresh directory under the system's temporary folder, removed with everything in it on destruction.
class TempDir {
  public:
    explicit TempDir(const std::string& prefix = "ostrelle-test");
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

}  // namespace zel::test
