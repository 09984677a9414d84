#include "Http.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fcntl.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace zel::test {
namespace {

class Socket {
  public:
    explicit Socket(int fd) : fd_(fd) {}
    ~Socket() {
        if (fd_ >= 0) close(fd_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int fd() const { return fd_; }

  private:
    int fd_;
};

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void sendAll(int fd, const std::string& data) {
    std::size_t sent = 0;
    while (sent < data.size()) {
        const ssize_t n = send(fd, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) throw std::runtime_error(std::string("send: ") + std::strerror(errno));
        sent += static_cast<std::size_t>(n);
    }
}

// Reads until the peer closes or `complete` says the message is whole.
template <class Complete>
std::string receive(int fd, Clock::time_point deadline, Complete complete) {
    std::string data;
    char buffer[16384];
    while (!complete(data)) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) throw WaitTimeout("no complete HTTP message in time");
        pollfd p{fd, POLLIN, 0};
        if (poll(&p, 1, static_cast<int>(std::min<long long>(left, 60'000))) <= 0) continue;
        const ssize_t n = recv(fd, buffer, sizeof buffer, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        data.append(buffer, static_cast<std::size_t>(n));
    }
    return data;
}

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// The value of a header field in a head (status line and fields), or empty.
std::string headerValue(const std::string& head, const std::string& name) {
    const std::string h = lower(head);
    const std::string key = "\r\n" + lower(name) + ":";
    const auto at = h.find(key);
    if (at == std::string::npos) return {};
    auto start = at + key.size();
    const auto end = head.find("\r\n", start);
    while (start < end && head[start] == ' ') ++start;
    return head.substr(start, end - start);
}

std::string dechunk(const std::string& body) {
    std::string out;
    std::size_t at = 0;
    while (at < body.size()) {
        const auto lineEnd = body.find("\r\n", at);
        if (lineEnd == std::string::npos) break;
        const std::size_t size = std::stoul(body.substr(at, lineEnd - at), nullptr, 16);
        if (size == 0) break;
        out.append(body, lineEnd + 2, size);
        at = lineEnd + 2 + size + 2;
    }
    return out;
}

}  // namespace

HttpResponse httpRequest(std::uint16_t port, const std::string& method, const std::string& path,
                         const std::string& body, Clock::duration timeout) {
    const auto deadline = Clock::now() + timeout;
    Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopback(port);
    if (connect(socket.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("connect to port " + std::to_string(port) + ": " + std::strerror(errno));
    }
    std::string request = method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                          "\r\nConnection: close\r\nAccept: application/json\r\n";
    if (!body.empty() || method == "POST") {
        request += "Content-Type: application/json; charset=utf-8\r\nContent-Length: " +
                   std::to_string(body.size()) + "\r\n";
    }
    request += "\r\n" + body;
    sendAll(socket.fd(), request);

    const std::string data = receive(socket.fd(), deadline, [](const std::string& d) {
        const auto headEnd = d.find("\r\n\r\n");
        if (headEnd == std::string::npos) return false;
        const std::string head = d.substr(0, headEnd);
        const std::string length = headerValue(head, "Content-Length");
        if (!length.empty()) return d.size() >= headEnd + 4 + std::stoul(length);
        if (lower(headerValue(head, "Transfer-Encoding")) == "chunked") {
            return d.find("\r\n0\r\n\r\n", headEnd) != std::string::npos;
        }
        return false;  // until the connection closes
    });
    const auto headEnd = data.find("\r\n\r\n");
    if (data.compare(0, 5, "HTTP/") != 0 || headEnd == std::string::npos) {
        throw std::runtime_error("not an HTTP answer from port " + std::to_string(port));
    }
    HttpResponse response;
    response.status = std::stoi(data.substr(data.find(' ') + 1, 3));
    const std::string head = data.substr(0, headEnd);
    response.body = data.substr(headEnd + 4);
    if (lower(headerValue(head, "Transfer-Encoding")) == "chunked") response.body = dechunk(response.body);
    return response;
}

std::uint16_t freeLoopbackPort() {
    Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    if (bind(socket.fd(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(socket.fd(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::runtime_error(std::string("no free port: ") + std::strerror(errno));
    }
    return ntohs(address.sin_port);
}

RequestRecorder::RequestRecorder() {
    listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    setsockopt(listenFd_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    if (bind(listenFd_, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listenFd_, 64) != 0 ||
        getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        pipe2(wakeFds_, O_CLOEXEC) != 0) {
        throw std::runtime_error(std::string("cannot listen on loopback: ") + std::strerror(errno));
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

RequestRecorder::~RequestRecorder() {
    const char wake = 1;
    (void)!write(wakeFds_[1], &wake, 1);
    thread_.join();
    for (int fd : {listenFd_, wakeFds_[0], wakeFds_[1]}) close(fd);
}

std::string RequestRecorder::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

void RequestRecorder::serve() {
    pollfd fds[2] = {{listenFd_, POLLIN, 0}, {wakeFds_[0], POLLIN, 0}};
    while (true) {
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (fds[1].revents) return;
        const int fd = accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) continue;
        Socket client(fd);
        std::string head;
        try {
            head = receive(fd, Clock::now() + std::chrono::seconds(10),
                           [](const std::string& d) { return d.find("\r\n\r\n") != std::string::npos; });
        } catch (const std::exception&) {
            continue;
        }
        const auto firstSpace = head.find(' ');
        const auto secondSpace = head.find(' ', firstSpace + 1);
        if (firstSpace == std::string::npos || secondSpace == std::string::npos) continue;
        const Request request{head.substr(firstSpace + 1, secondSpace - firstSpace - 1), Clock::now()};
        try {
            // Addresses under /page/ are pages a browser would show; everything else is only recorded.
            if (request.path.rfind("/page/", 0) == 0) {
                sendAll(fd,
                        "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 19\r\n"
                        "Cache-Control: no-store\r\nConnection: close\r\n\r\n<p>outside page</p>");
            } else {
                sendAll(
                    fd,
                    "HTTP/1.1 204 No Content\r\nAccess-Control-Allow-Origin: *\r\nCache-Control: no-store\r\n"
                    "Connection: close\r\n\r\n");
            }
        } catch (const std::exception&) {
            // The page may have gone already; the request still counts.
        }
        std::lock_guard lock(mutex_);
        requests_.push_back(request);
        changed_.notify_all();
    }
}

RequestRecorder::Request RequestRecorder::expectRequest(const std::string& prefix, std::size_t from,
                                                        Clock::duration timeout) {
    std::unique_lock lock(mutex_);
    std::size_t next = from;
    const bool found = changed_.wait_for(lock, timeout, [&] {
        for (; next < requests_.size(); ++next) {
            if (requests_[next].path.compare(0, prefix.size(), prefix) == 0) return true;
        }
        return false;
    });
    if (!found) throw WaitTimeout("no request for " + prefix + " on port " + std::to_string(port_));
    return requests_[next];
}

std::size_t RequestRecorder::count() const {
    std::lock_guard lock(mutex_);
    return requests_.size();
}

}  // namespace zel::test
