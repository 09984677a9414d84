// The four settings fixed for the life of the process. Defaults are compiled in (a distributor sets the
// service's real hosts at configure time); each can be overridden on the command line.
#pragma once

#include <string>

namespace zel {

struct ZELSettings {
    std::string staticFileHost;  // HOST[:PORT] of the static file server
    std::string configBaseURL;   // http(s) URL under which the hash-map documents live
    std::string accountHost;     // host of the account pages (registration, password recovery)
    std::string serviceHomeURL;  // http(s) URL of the service's home page (Help)

    static ZELSettings compiledDefaults();
};

}  // namespace zel
