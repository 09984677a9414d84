// The command line. The input is the argument list as the kernel hands it over: arguments separated by NUL
// bytes (which no argument can hold).
//
// Invariants: parsing gives a defined action; an error says the program's name and exits 2; the values of an
// accepted line pass their own checks again, and a static file host that the line accepts names a cache
// folder and a start page that belongs to the web app (so the cache is not silently off).
#include "FuzzSupport.h"

#include "core/cache/CacheURL.h"
#include "core/env/CommandLine.h"
#include "core/web/WebAppAddress.h"

namespace {

using namespace zel;

void checkHost(const std::string& host) {
    fuzz::check(!host.empty() && host.front() != '.' && host.find('/') == std::string::npos &&
                    cache::isSafeDecodedPath(host),
                "an accepted host names a cache folder: " + host);
    const std::string start = web::startPageURL(host);
    fuzz::check(web::belongsToWebApp(start) && web::isInAppNavigation(start, web::webAppOrigin(host)),
                "start page of " + host);
    const std::optional<cache::URLParts> parts = cache::splitURL(start);
    fuzz::check(parts && parts->authority == host, "the start page's address has the host " + host);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> args;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    while (!rest.empty()) {
        const std::size_t end = rest.find('\0');
        args.emplace_back(rest.substr(0, end));
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    const CommandLineResult result = parseCommandLine(args, "ostrelle");
    switch (result.action) {
        case CommandLineResult::Action::Error:
            fuzz::check(result.exitCode() == 2 && result.message.starts_with("ostrelle: "),
                        "error: " + result.message);
            break;
        case CommandLineResult::Action::ShowHelp:
            fuzz::check(result.message == helpText("ostrelle"), "help");
            break;
        case CommandLineResult::Action::ShowVersion:
            fuzz::check(result.message.starts_with("Ostrelle "), "version");
            break;
        case CommandLineResult::Action::Run: {
            const ZELSettings& settings = result.options.settings;
            checkHost(settings.staticFileHost);
            fuzz::check(!settings.accountHost.empty(), "account host");
            // Accepted again as they were stored: nothing is changed on the way in.
            std::vector<std::string> again;
            for (const auto& [name, value] : {std::pair{"--static-file-host", settings.staticFileHost},
                                              {"--config-base-url", settings.configBaseURL},
                                              {"--account-host", settings.accountHost},
                                              {"--service-home-url", settings.serviceHomeURL}}) {
                again.push_back(std::string(name) + "=" + value);
            }
            if (result.options.startPage) again.push_back("--start-page=" + *result.options.startPage);
            const CommandLineResult reparsed = parseCommandLine(again, "ostrelle");
            fuzz::check(reparsed.action == CommandLineResult::Action::Run, "stored values are valid");
            fuzz::check(reparsed.options.settings.staticFileHost == settings.staticFileHost &&
                            reparsed.options.settings.configBaseURL == settings.configBaseURL &&
                            reparsed.options.startPage == result.options.startPage,
                        "stored values read back");
            break;
        }
    }
    return 0;
}
