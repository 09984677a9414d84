// What the hash-map URL protocol asks about a request of the web app: the file on disk that answers it, and
// the address to fetch from the network when there is none. Implemented by the web view delegate on top of
// the cache controller. Called on the main thread; answers must be cheap (they run for every request).
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zel {

class ZELURLProtocolDelegate {
  public:
    virtual ~ZELURLProtocolDelegate() = default;
    // url: the request's network address (http://...). The existing regular file that answers it, or nullopt.
    virtual std::optional<std::filesystem::path> getLocalData(const std::string& /*url*/) {
        return std::nullopt;
    }
    // The address of the plain GET request to send instead; nullopt when the delegate has no answer.
    virtual std::optional<std::string> realRequest(const std::string& /*url*/) { return std::nullopt; }
};

}  // namespace zel
