#include "Process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

extern char** environ;

namespace zel::test {
namespace {

std::vector<std::string> mergedEnvironment(const EnvironmentChanges& changes) {
    std::map<std::string, std::string> merged;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        const auto eq = text.find('=');
        if (eq != std::string::npos) merged[text.substr(0, eq)] = text.substr(eq + 1);
    }
    for (const auto& [name, value] : changes) {
        if (value) {
            merged[name] = *value;
        } else {
            merged.erase(name);
        }
    }
    std::vector<std::string> result;
    for (const auto& [name, value] : merged) result.push_back(name + "=" + value);
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> result;
    for (std::string& s : strings) result.push_back(s.data());
    result.push_back(nullptr);
    return result;
}

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 60'000));
}

}  // namespace

Process::Process(const std::string& program, const std::vector<std::string>& args,
                 const EnvironmentChanges& env)
    : program_(program) {
    int outPipe[2], errPipe[2];
    if (pipe2(outPipe, O_CLOEXEC) != 0) fail("pipe");
    if (pipe2(errPipe, O_CLOEXEC) != 0) fail("pipe");
    if (pipe2(wakeFds_, O_CLOEXEC) != 0) fail("pipe");

    std::vector<std::string> argvStrings{program};
    argvStrings.insert(argvStrings.end(), args.begin(), args.end());
    std::vector<std::string> envStrings = mergedEnvironment(env);
    std::vector<char*> argv = pointers(argvStrings), envp = pointers(envStrings);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // A group of its own, so that stopping it also stops what it started (web processes, helpers).
    posix_spawnattr_setpgroup(&attributes, 0);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGTERM);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);

    const int spawned = posix_spawnp(&pid_, program.c_str(), &actions, &attributes, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(outPipe[1]);
    close(errPipe[1]);
    if (spawned != 0) {
        close(outPipe[0]);
        close(errPipe[0]);
        errno = spawned;
        fail("cannot start " + program);
    }
    pidFd_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
    reader_ = std::thread([this, out = outPipe[0], err = errPipe[0]] { readOutput(out, err); });
}

Process::~Process() {
    if (pid_ > 0) stop();
    {
        std::unique_lock lock(mutex_);
        if (!outputEnded_) {
            // Something outside the group still holds the output open; do not wait for it forever.
            changed_.wait_for(lock, std::chrono::seconds(2), [this] { return outputEnded_; });
        }
    }
    const char wake = 1;
    (void)!write(wakeFds_[1], &wake, 1);
    if (reader_.joinable()) reader_.join();
    for (int fd : {wakeFds_[0], wakeFds_[1], pidFd_}) {
        if (fd >= 0) close(fd);
    }
}

void Process::append(Stream stream, std::string& pending, const char* data, std::size_t size) {
    std::lock_guard lock(mutex_);
    (stream == Stream::Stdout ? stdoutText_ : stderrText_).append(data, size);
    pending.append(data, size);
    std::size_t start = 0, newline;
    bool added = false;
    while ((newline = pending.find('\n', start)) != std::string::npos) {
        lines_.push_back({stream, pending.substr(start, newline - start)});
        start = newline + 1;
        added = true;
    }
    pending.erase(0, start);
    if (added) changed_.notify_all();
}

void Process::readOutput(int outFd, int errFd) {
    std::string pendingOut, pendingErr;
    pollfd fds[3] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}, {wakeFds_[0], POLLIN, 0}};
    int open = 2;
    std::vector<char> buffer(1 << 16);
    while (open > 0) {
        if (poll(fds, 3, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (fds[2].revents) break;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !fds[i].revents) continue;
            const ssize_t n = read(fds[i].fd, buffer.data(), buffer.size());
            if (n > 0) {
                append(i == 0 ? Stream::Stdout : Stream::Stderr, i == 0 ? pendingOut : pendingErr,
                       buffer.data(), static_cast<std::size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    for (int i = 0; i < 2; ++i) {
        if (fds[i].fd >= 0) close(fds[i].fd);
    }
    std::lock_guard lock(mutex_);
    if (!pendingOut.empty()) lines_.push_back({Stream::Stdout, pendingOut});
    if (!pendingErr.empty()) lines_.push_back({Stream::Stderr, pendingErr});
    outputEnded_ = true;
    changed_.notify_all();
}

std::optional<std::size_t> Process::waitForLine(const LinePredicate& matches, std::size_t from,
                                                Clock::duration timeout) {
    const auto deadline = Clock::now() + timeout;
    std::unique_lock lock(mutex_);
    std::size_t next = from;
    while (true) {
        for (; next < lines_.size(); ++next) {
            if (matches(lines_[next])) return next;
        }
        if (outputEnded_) return std::nullopt;
        if (changed_.wait_until(lock, deadline) == std::cv_status::timeout && next == lines_.size()) {
            return std::nullopt;
        }
    }
}

std::size_t Process::expectLine(const LinePredicate& matches, const std::string& what, std::size_t from,
                                Clock::duration timeout) {
    if (auto index = waitForLine(matches, from, timeout)) return *index;
    throw WaitTimeout("no output line " + what + " from " + program_ + "; its output so far:\n" + tail());
}

std::vector<OutputLine> Process::lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
}

std::size_t Process::lineCount() const {
    std::lock_guard lock(mutex_);
    return lines_.size();
}

std::string Process::text(Stream stream) const {
    std::lock_guard lock(mutex_);
    return stream == Stream::Stdout ? stdoutText_ : stderrText_;
}

std::string Process::tail(std::size_t count) const {
    std::lock_guard lock(mutex_);
    std::ostringstream out;
    const std::size_t first = lines_.size() > count ? lines_.size() - count : 0;
    for (std::size_t i = first; i < lines_.size(); ++i) {
        std::string text = lines_[i].text;
        if (text.size() > 300) text = text.substr(0, 300) + "...";
        out << (lines_[i].stream == Stream::Stdout ? "  out| " : "  err| ") << text << "\n";
    }
    return out.str();
}

bool Process::reap(bool block) {
    if (status_) return true;
    int status = 0;
    pid_t r;
    do {
        r = waitpid(pid_, &status, block ? 0 : WNOHANG);
    } while (r < 0 && errno == EINTR);
    if (r == pid_) status_ = status;
    return status_.has_value();
}

bool Process::exited() {
    return reap(false);
}

std::optional<int> Process::waitForExit(Clock::duration timeout) {
    const auto deadline = Clock::now() + timeout;
    while (!reap(false)) {
        if (Clock::now() >= deadline) return std::nullopt;
        if (pidFd_ >= 0) {
            pollfd fd{pidFd_, POLLIN, 0};
            poll(&fd, 1, millisecondsUntil(deadline));
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    return status_;
}

void Process::signalGroup(int signal) {
    if (pid_ > 0) kill(-pid_, signal);
}

int Process::stop(Clock::duration grace) {
    if (!reap(false)) {
        signalGroup(SIGTERM);
        if (!waitForExit(grace)) {
            signalGroup(SIGKILL);
            reap(true);
        }
    }
    // Whatever the process left running in its group goes too.
    signalGroup(SIGKILL);
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, grace, [this] { return outputEnded_; });
    return status_.value_or(-1);
}

CommandResult runCommand(const std::vector<std::string>& argv, Clock::duration timeout) {
    Process process(argv.at(0), std::vector<std::string>(argv.begin() + 1, argv.end()));
    const std::optional<int> status = process.waitForExit(timeout);
    if (!status) {
        process.stop();
        throw WaitTimeout(argv.at(0) + " did not finish in time");
    }
    process.waitForLine([](const OutputLine&) { return false; });  // until the output has ended
    CommandResult result;
    result.exitCode = WIFEXITED(*status) ? WEXITSTATUS(*status) : -1;
    result.out = process.text(Stream::Stdout);
    result.err = process.text(Stream::Stderr);
    return result;
}

std::vector<pid_t> descendantsNamed(pid_t ancestor, const std::string& name) {
    std::map<pid_t, pid_t> parentOf;
    std::map<pid_t, std::string> nameOf;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string pidText = entry.path().filename().string();
        if (pidText.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream statFile(entry.path() / "stat");
        std::string stat;
        if (!std::getline(statFile, stat)) continue;
        // "pid (comm) state ppid ...": the name may hold spaces and parentheses, so read from the last ")".
        const auto open = stat.find('('), close = stat.rfind(')');
        if (open == std::string::npos || close == std::string::npos) continue;
        std::istringstream rest(stat.substr(close + 2));
        std::string state;
        pid_t parent = 0;
        rest >> state >> parent;
        const pid_t pid = std::stoi(pidText);
        parentOf[pid] = parent;
        nameOf[pid] = stat.substr(open + 1, close - open - 1);
    }
    std::vector<pid_t> found;
    for (const auto& [pid, processName] : nameOf) {
        if (processName != name) continue;
        for (pid_t p = parentOf[pid]; p > 1; p = parentOf.count(p) ? parentOf[p] : 0) {
            if (p == ancestor) {
                found.push_back(pid);
                break;
            }
        }
    }
    return found;
}

bool waitUntil(const std::function<bool()>& condition, Clock::duration timeout) {
    const auto deadline = Clock::now() + timeout;
    auto interval = std::chrono::milliseconds(10);
    while (!condition()) {
        if (Clock::now() >= deadline) return false;
        std::this_thread::sleep_for(interval);
        interval = std::min(interval * 2, std::chrono::milliseconds(200));
    }
    return true;
}

TempDir::TempDir(const std::string& prefix) {
    std::string pattern = (std::filesystem::temp_directory_path() / (prefix + ".XXXXXX")).string();
    if (!mkdtemp(pattern.data())) fail("mkdtemp");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace zel::test
