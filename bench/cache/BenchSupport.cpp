#include "BenchSupport.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace zel::bench {

ScratchFolder::ScratchFolder(const std::string& name, const std::filesystem::path& parent) {
    std::error_code ec;
    const bool useParent = !parent.empty() && std::filesystem::is_directory(parent, ec);
    path_ = (useParent ? parent : std::filesystem::temp_directory_path()) /
            (name + "-" + std::to_string(::getpid()));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

Child::Child(const std::vector<std::string>& args, const std::map<std::string, std::string>& env) {
    int out[2], err[2];
    if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    std::vector<std::string> environment;
    for (char** e = environ; *e != nullptr; ++e) {
        const std::string entry = *e;
        if (!env.count(entry.substr(0, entry.find('=')))) environment.push_back(entry);
    }
    for (const auto& [name, value] : env) environment.push_back(name + "=" + value);
    pid_ = ::fork();
    if (pid_ < 0) throw std::runtime_error("fork");
    if (pid_ == 0) {
        ::setpgid(0, 0);
        ::dup2(out[1], STDOUT_FILENO);
        ::dup2(err[1], STDERR_FILENO);
        std::vector<char*> argv, envp;
        for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        for (const auto& e : environment) envp.push_back(const_cast<char*>(e.c_str()));
        envp.push_back(nullptr);
        ::execve(argv[0], argv.data(), envp.data());
        ::_exit(127);
    }
    ::close(out[1]);
    ::close(err[1]);
    readers_.emplace_back([this, fd = out[0]] { read(fd); });
    readers_.emplace_back([this, fd = err[0]] { read(fd); });
}

Child::~Child() {
    stop();
}

void Child::read(int fd) {
    std::string pending;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0) break;
        pending.append(buffer, static_cast<std::size_t>(n));
        std::size_t newline;
        while ((newline = pending.find('\n')) != std::string::npos) {
            std::lock_guard lock(mutex_);
            lines_.push_back(pending.substr(0, newline));
            pending.erase(0, newline + 1);
            changed_.notify_all();
        }
    }
    ::close(fd);
    std::lock_guard lock(mutex_);
    --openStreams_;
    changed_.notify_all();
}

std::optional<std::string> Child::waitForLine(const std::function<bool(const std::string&)>& matches,
                                              std::chrono::seconds patience) {
    std::unique_lock lock(mutex_);
    std::size_t next = 0;
    const auto deadline = Clock::now() + patience;
    for (;;) {
        for (; next < lines_.size(); ++next) {
            if (matches(lines_[next])) return lines_[next];
        }
        if (openStreams_ == 0) return std::nullopt;
        if (changed_.wait_until(lock, deadline) == std::cv_status::timeout) return std::nullopt;
    }
}

int Child::stop() {
    if (stopped_) return 0;
    stopped_ = true;
    ::kill(-pid_, SIGTERM);
    int status = 0;
    for (int i = 0; i < 100; ++i) {
        if (::waitpid(pid_, &status, WNOHANG) == pid_) break;
        if (i == 99) {
            ::kill(-pid_, SIGKILL);
            ::waitpid(pid_, &status, 0);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    ::kill(-pid_, SIGKILL);  // whatever of the group is left (helper processes)
    for (auto& reader : readers_) reader.join();
    return status;
}

namespace {

long statusField(pid_t pid, const std::string& field) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind(field + ":", 0) == 0) return std::stol(line.substr(field.size() + 1));
    }
    return 0;
}

}  // namespace

long residentKilobytes(pid_t pid) {
    return statusField(pid, "VmRSS");
}
long peakResidentKilobytes(pid_t pid) {
    return statusField(pid, "VmHWM");
}

std::vector<pid_t> processTree(pid_t root) {
    std::map<pid_t, std::vector<pid_t>> children;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream in(entry.path() / "stat");
        std::string stat;
        std::getline(in, stat);
        const std::size_t close = stat.rfind(')');
        if (close == std::string::npos) continue;
        std::istringstream rest(stat.substr(close + 2));
        char state;
        pid_t parent;
        rest >> state >> parent;
        children[parent].push_back(std::stoi(name));
    }
    std::vector<pid_t> tree{root};
    for (std::size_t i = 0; i < tree.size(); ++i) {
        for (const pid_t child : children[tree[i]]) tree.push_back(child);
    }
    return tree;
}

}  // namespace zel::bench
