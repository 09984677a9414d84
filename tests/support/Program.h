// Processes, HTTP on loopback and waits for tests and benchmarks. All on the main thread: output, exits and
// servers advance only while a wait turns the default main context; an expect* that runs out throws.
#pragma once

#include <libsoup/soup.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zel::test {

using Clock = std::chrono::steady_clock;
inline constexpr Clock::duration kPatience = std::chrono::seconds(40);

// Turns the default main context until done() holds (checked at least every 50 ms); false on time-out.
bool waitFor(const std::function<bool()>& done, Clock::duration timeout = kPatience);

// Runs a short command to its end and returns its stdout; throws when it fails and mustSucceed.
std::string run(const std::vector<std::string>& argv, bool mustSucceed = true);

// A fresh folder under the temporary folder, removed with its content on destruction.
struct TempDir {
    explicit TempDir(const char* prefix = "ostrelle-test");
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    std::string path;
};

// A program in a process group of its own (stopping it stops its web processes), stdout+stderr as lines.
class Program {
  public:
    // env: a value sets the variable, nullopt removes it. Throws when the program cannot start.
    explicit Program(const std::vector<std::string>& argv,
                     const std::map<std::string, std::optional<std::string>>& env = {});
    ~Program();  // stop()
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t pid() const { return pid_; }
    bool ended() const { return ended_; }
    const std::vector<std::string>& lines() const { return lines_; }
    // The index of the first line at or after `from` that matches; throws (naming `what`) when none comes.
    std::size_t expectLine(const std::function<bool(const std::string&)>& matches, const std::string& what,
                           std::size_t from = 0, Clock::duration timeout = kPatience);
    // The exit code once the program has ended (-1 after a signal); nullopt when the time runs out.
    std::optional<int> wait(Clock::duration timeout = kPatience);
    // SIGTERM to the group, SIGKILL after five seconds, then whatever is left of the group.
    void stop();
    std::string tail() const;

  private:
    void readNext();

    GSubprocess* process_ = nullptr;
    GDataInputStream* output_ = nullptr;
    GCancellable* cancel_ = g_cancellable_new();
    pid_t pid_ = 0;
    bool ended_ = false, outputEnded_ = false;
    std::vector<std::string> lines_;
};

// A SoupServer on 127.0.0.1 that records every request; answers through `handler`, or 204 open to any origin.
class Loopback {
  public:
    using Handler = std::function<void(SoupServerMessage*, const std::string& path)>;
    explicit Loopback(Handler handler = {});
    ~Loopback();
    Loopback(const Loopback&) = delete;
    Loopback& operator=(const Loopback&) = delete;

    std::string host() const { return "127.0.0.1:" + std::to_string(port_); }
    struct Request {
        std::string path;  // with the query
        std::string cacheControl;
        Clock::time_point at;
        int answeredBefore;  // how many answers had been written whole when this request came
    };
    const std::vector<Request>& requests() const { return requests_; }
    // The first request at index >= from whose path starts with prefix; throws when none comes in time.
    Request expectRequest(const std::string& prefix, std::size_t from = 0,
                          Clock::duration timeout = kPatience);
    SoupServer* server() const { return server_; }
    // Answers with these raw bytes in place of the server, then closes the connection.
    static void writeRaw(SoupServerMessage* msg, const std::string& raw);

  private:
    SoupServer* server_;
    Handler handler_;
    int port_ = 0, answered_ = 0;
    std::vector<Request> requests_;
};

struct Reply {
    unsigned status = 0;  // 0 when no answer came
    std::string body;
    std::map<std::string, std::string> headers;
};
// One request with a fresh session (through `proxy` when given); gives up after a minute.
Reply httpRequest(const std::string& method, const std::string& url, const std::string& body = {},
                  const std::string& proxy = {});

}  // namespace zel::test
