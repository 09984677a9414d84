#include "core/env/CommandLine.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace zel {
namespace {

bool isAsciiAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}

bool hasSpaceOrControl(std::string_view s) {
    return std::any_of(s.begin(), s.end(), [](char c) {
        const auto u = static_cast<unsigned char>(c);
        return u <= 0x20 || u == 0x7F;
    });
}

bool isValidPort(std::string_view port) {
    if (port.empty() || port.size() > 5) return false;
    unsigned value = 0;
    const auto [ptr, ec] = std::from_chars(port.data(), port.data() + port.size(), value);
    return ec == std::errc() && ptr == port.data() + port.size() && value >= 1 && value <= 65535;
}

// A DNS name or IPv4 address: labels of letters, digits and hyphens, none empty.
bool isValidHostName(std::string_view name) {
    if (name.empty() || name.size() > 253) return false;
    std::size_t labelLength = 0;
    for (const char c : name) {
        if (c == '.') {
            if (labelLength == 0) return false;
            labelLength = 0;
        } else if (isAsciiAlpha(c) || isAsciiDigit(c) || c == '-') {
            ++labelLength;
        } else {
            return false;
        }
    }
    return labelLength != 0;
}

// HOST or HOST:PORT; an IPv6 address goes in brackets.
bool isValidHost(std::string_view host) {
    if (host.starts_with('[')) {
        const std::size_t close = host.find(']');
        if (close == std::string_view::npos || close == 1) return false;
        const std::string_view address = host.substr(1, close - 1);
        const bool addressOk = std::all_of(address.begin(), address.end(), [](char c) {
            return isAsciiDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == ':' ||
                   c == '.';
        });
        const std::string_view rest = host.substr(close + 1);
        return addressOk && (rest.empty() || (rest.starts_with(':') && isValidPort(rest.substr(1))));
    }
    const std::size_t colon = host.find(':');
    if (colon == std::string_view::npos) return isValidHostName(host);
    return isValidHostName(host.substr(0, colon)) && isValidPort(host.substr(colon + 1));
}

std::string lowercase(std::string_view s) {
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return out;
}

bool isHttpURL(std::string_view url) {
    if (hasSpaceOrControl(url)) return false;
    const std::string lower = lowercase(url.substr(0, 8));
    std::string_view rest;
    if (lower.starts_with("http://")) {
        rest = url.substr(7);
    } else if (lower.starts_with("https://")) {
        rest = url.substr(8);
    } else {
        return false;
    }
    const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
    return isValidHost(authority);
}

// scheme ":" and something after it, RFC 3986's scheme syntax.
bool isAbsoluteURL(std::string_view url) {
    if (hasSpaceOrControl(url)) return false;
    const std::size_t colon = url.find(':');
    if (colon == std::string_view::npos || colon == 0 || colon + 1 == url.size()) return false;
    if (!isAsciiAlpha(url[0])) return false;
    return std::all_of(url.begin(), url.begin() + static_cast<std::ptrdiff_t>(colon), [](char c) {
        return isAsciiAlpha(c) || isAsciiDigit(c) || c == '+' || c == '-' || c == '.';
    });
}

bool isExistingDirectory(std::string_view path) {
    std::error_code ec;
    return !path.empty() && std::filesystem::is_directory(std::filesystem::path(path), ec);
}

struct ValueOption {
    std::string_view name;
    std::string_view expectation;  // for the error message
    bool (*valid)(std::string_view);
    void (*store)(LaunchOptions&, std::string);
};

const ValueOption kValueOptions[] = {
    {"--bundle", "an existing folder", isExistingDirectory,
     [](LaunchOptions& o, std::string v) { o.bundleDirectory = std::move(v); }},
    {"--static-file-host", "HOST or HOST:PORT", isValidHost,
     [](LaunchOptions& o, std::string v) { o.settings.staticFileHost = std::move(v); }},
    {"--config-base-url", "an http or https URL", isHttpURL,
     [](LaunchOptions& o, std::string v) { o.settings.configBaseURL = std::move(v); }},
    {"--account-host", "HOST or HOST:PORT", isValidHost,
     [](LaunchOptions& o, std::string v) { o.settings.accountHost = std::move(v); }},
    {"--service-home-url", "an http or https URL", isHttpURL,
     [](LaunchOptions& o, std::string v) { o.settings.serviceHomeURL = std::move(v); }},
    {"--start-page", "an absolute URL", isAbsoluteURL,
     [](LaunchOptions& o, std::string v) { o.startPage = std::move(v); }},
};

struct FlagOption {
    std::string_view name;
    bool LaunchOptions::*member;
};

const FlagOption kFlagOptions[] = {
    {"--inspector", &LaunchOptions::inspector},
    {"--automation", &LaunchOptions::automation},
    {"--console-log", &LaunchOptions::consoleLog},
};

CommandLineResult failure(const std::string& programName, const std::string& what) {
    CommandLineResult result;
    result.action = CommandLineResult::Action::Error;
    result.message = programName + ": " + what + " (see " + programName + " --help)";
    return result;
}

std::string inQuotes(std::string_view s) {
    return "'" + std::string(s) + "'";
}

}  // namespace

CommandLineResult parseCommandLine(const std::vector<std::string>& args, const std::string& programName) {
    CommandLineResult result;
    result.options.settings = ZELSettings::compiledDefaults();

    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--help" || arg == "-h") {
            result.action = CommandLineResult::Action::ShowHelp;
            result.message = helpText(programName);
            return result;
        }
        if (arg == "--version") {
            result.action = CommandLineResult::Action::ShowVersion;
            result.message = std::string("Ostrelle ") + OSTRELLE_VERSION;
            return result;
        }
        if (!arg.starts_with("--")) return failure(programName, "unexpected argument " + inQuotes(arg));

        const std::size_t equals = arg.find('=');
        const std::string_view name = std::string_view(arg).substr(0, equals);
        const auto flag = std::find_if(std::begin(kFlagOptions), std::end(kFlagOptions),
                                       [&](const FlagOption& f) { return f.name == name; });
        if (flag != std::end(kFlagOptions)) {
            if (equals != std::string::npos)
                return failure(programName, "option " + inQuotes(name) + " takes no value");
            result.options.*(flag->member) = true;
            continue;
        }
        const auto option = std::find_if(std::begin(kValueOptions), std::end(kValueOptions),
                                         [&](const ValueOption& o) { return o.name == name; });
        if (option == std::end(kValueOptions))
            return failure(programName, "unknown option " + inQuotes(name));

        std::string value;
        if (equals != std::string::npos) {
            value = arg.substr(equals + 1);
        } else if (i + 1 < args.size() && !args[i + 1].starts_with("--")) {
            // A following option is not taken as the value: "--bundle --inspector" lacks the folder.
            value = args[++i];
        } else {
            return failure(programName, "option " + inQuotes(name) + " needs a value");
        }
        if (value.empty()) return failure(programName, "option " + inQuotes(name) + " needs a value");
        if (!option->valid(value)) {
            return failure(programName, "invalid value " + inQuotes(value) + " for option " + inQuotes(name) +
                                            ": expected " + std::string(option->expectation));
        }
        option->store(result.options, std::move(value));
    }
    return result;
}

std::string helpText(const std::string& programName) {
    return "Usage: " + programName +
           " [OPTION]...\n"
           "Desktop client for the Ostrelle music service.\n"
           "\n"
           "Options (a value may also be given as --option=VALUE):\n"
           "  --bundle DIR               take the web app and images from DIR instead of the installed ones\n"
           "  --static-file-host HOST[:PORT]\n"
           "                             static file server that serves the web app's files\n"
           "  --config-base-url URL      http(s) address under which the hash-map documents live\n"
           "  --account-host HOST[:PORT]\n"
           "                             host of the account pages (registration, password recovery)\n"
           "  --service-home-url URL     http(s) address of the service's home page, opened by Help\n"
           "  --start-page URL           load URL instead of the web app's start page\n"
           "  --inspector                enable the developer extras (Web Inspector)\n"
           "  --automation               allow WebDriver automation sessions\n"
           "  --console-log              print the page's console messages on standard output\n"
           "  -h, --help                 show this help and exit\n"
           "  --version                  show the version and exit\n";
}

}  // namespace zel
