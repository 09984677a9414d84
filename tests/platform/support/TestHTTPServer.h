// A real HTTP server on loopback for the network tests: libsoup's SoupServer on 127.0.0.1 (a free port), run
// by the test thread's main context, so a test drives client and server by iterating one loop (runUntil).
//
// Each path (without its query) gets one behaviour: an answer (any status and body), an answer held back
// until release(), a connection dropped part-way through the body, or no answer at all. The server records
// every request in arrival order, and how many answers had been written completely when each request arrived.
#pragma once

#include <libsoup/soup.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zel::test {

// Iterates the thread-default main context until done() holds; false if `patience` runs out first (a hang
// guard for a broken test, not a measurement).
bool runUntil(const std::function<bool()>& done, std::chrono::seconds patience = std::chrono::seconds(20));

class TestHTTPServer {
  public:
    TestHTTPServer();
    ~TestHTTPServer();
    TestHTTPServer(const TestHTTPServer&) = delete;
    TestHTTPServer& operator=(const TestHTTPServer&) = delete;

    // "127.0.0.1:<port>"
    const std::string& hostPort() const { return hostPort_; }
    std::string url(const std::string& path) const { return "http://" + hostPort_ + path; }

    void serve(const std::string& path, std::string body, int status = 200,
               std::string contentType = "application/octet-stream");
    // Answers are taken but not sent until release(path) (all held ones, in arrival order).
    void hold(const std::string& path);
    void release(const std::string& path);
    // Sends the header of a declaredLength-byte body, then only `partial`, then closes the connection.
    void dropMidBody(const std::string& path, std::string partial, std::size_t declaredLength);
    // Takes the request and never answers (the connection stays open until the server goes).
    void stall(const std::string& path);

    struct Request {
        std::string path;   // as sent, without the query
        std::string query;  // empty when there was none
        std::map<std::string, std::string> headers;
        int answersFinishedBefore;  // complete answers written when this request arrived
    };
    const std::vector<Request>& requests() const { return requests_; }
    std::size_t count(const std::string& path) const;
    std::size_t heldCount(const std::string& path) const;

  private:
    enum class Mode { Serve, Drop, Stall };
    struct Route {
        Mode mode = Mode::Serve;
        int status = 200;
        std::string body;
        std::string contentType;
        std::size_t declaredLength = 0;
        bool held = false;
    };

    static void handle(SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer self);
    static void finished(SoupServer*, SoupServerMessage*, gpointer self);
    void answer(SoupServerMessage* message, const Route& route);

    SoupServer* server_ = nullptr;
    std::string hostPort_;
    std::map<std::string, Route> routes_;
    std::map<std::string, std::vector<SoupServerMessage*>> heldMessages_;
    std::vector<GIOStream*> stolen_;
    std::vector<Request> requests_;
    int finished_ = 0;
};

}  // namespace zel::test
