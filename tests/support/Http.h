// Just enough HTTP/1.1 over loopback for tests and benchmarks: a blocking client (one request per
// connection) and a small server that records the requests it receives.
#pragma once

#include "Process.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace zel::test {

struct HttpResponse {
    int status = 0;
    std::string body;
};

// Sends one request to 127.0.0.1:port and reads the whole answer (Content-Length, chunked, or up to the
// connection's end). Throws std::runtime_error when the connection fails, WaitTimeout when no answer comes.
HttpResponse httpRequest(std::uint16_t port, const std::string& method, const std::string& path,
                         const std::string& body = {}, Clock::duration timeout = kPatience);

// A port on 127.0.0.1 that nothing listens on at the moment of the call.
std::uint16_t freeLoopbackPort();

// Listens on 127.0.0.1 (a free port) and answers every request with 204 and an open CORS header, so pages of
// any origin can reach it with fetch(), except paths under /page/, which get a small HTML page. Records each
// request's path with the time it arrived.
class RequestRecorder {
  public:
    RequestRecorder();
    ~RequestRecorder();
    RequestRecorder(const RequestRecorder&) = delete;
    RequestRecorder& operator=(const RequestRecorder&) = delete;

    std::uint16_t port() const { return port_; }
    std::string url(const std::string& path) const;

    struct Request {
        std::string path;  // with the query
        Clock::time_point received;
    };
    // The first request at index >= from whose path starts with prefix; WaitTimeout when none comes in time.
    Request expectRequest(const std::string& prefix, std::size_t from = 0,
                          Clock::duration timeout = kPatience);
    std::size_t count() const;

  private:
    void serve();

    int listenFd_ = -1;
    int wakeFds_[2] = {-1, -1};
    std::uint16_t port_ = 0;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Request> requests_;
    std::thread thread_;
};

}  // namespace zel::test
