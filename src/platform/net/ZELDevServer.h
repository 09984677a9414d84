// A static file server for development and tests: libsoup's SoupServer on loopback, serving one folder (for
// example what ostrelle-publish made) to GET and HEAD requests.
//
// Files are answered 200 with a MIME type from the name, "Cache-Control: no-cache" and an open CORS header,
// the body mapped from disk rather than read into memory (a large file costs no memory of its own). A path
// that is not a plain file name (control characters, backslashes) is answered 403, one that names nothing
// inside the folder (a symbolic link out included) 404, other methods 405. Runs on the main context of the
// thread that made it. Owns its server; stops listening when destroyed.
#pragma once

#include <libsoup/soup.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace zel::platform {

class ZELDevServer {
  public:
    // Called for each request with method, path (as sent) and status, e.g. to print an access log.
    using RequestLogger = std::function<void(const std::string& method, const std::string& path, int status)>;

    explicit ZELDevServer(std::filesystem::path root);
    ~ZELDevServer();
    ZELDevServer(const ZELDevServer&) = delete;
    ZELDevServer& operator=(const ZELDevServer&) = delete;

    // Listens on 127.0.0.1 at port (0: any free port). False, with error() set, when it cannot.
    bool listen(std::uint16_t port);
    const std::string& error() const { return error_; }
    std::uint16_t port() const { return port_; }
    // "127.0.0.1:<port>"
    std::string hostPort() const { return "127.0.0.1:" + std::to_string(port_); }

    void setRequestLogger(RequestLogger logger) { logger_ = std::move(logger); }

  private:
    static void handle(SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer self);
    int answer(SoupServerMessage* message);

    std::filesystem::path root_;
    SoupServer* server_;
    std::uint16_t port_ = 0;
    std::string error_;
    RequestLogger logger_;
};

}  // namespace zel::platform
