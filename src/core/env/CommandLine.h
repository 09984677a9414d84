// Command-line options of the program. Pure: parsing prints nothing and exits nothing; main acts on the
// result.
#pragma once

#include "core/env/ZELSettings.h"

#include <optional>
#include <string>
#include <vector>

namespace zel {

struct LaunchOptions {
    ZELSettings settings;
    std::optional<std::string> bundleDirectory;  // --bundle DIR
    std::optional<std::string> startPage;        // --start-page URL
    bool inspector = false;                      // --inspector: developer extras (Web Inspector)
    bool automation = false;                     // --automation: allow WebDriver sessions
    bool consoleLog = false;                     // --console-log: page console messages on stderr
};

struct CommandLineResult {
    enum class Action { Run, ShowHelp, ShowVersion, Error };
    Action action = Action::Run;
    LaunchOptions options;
    std::string message;  // help or version text (stdout), or the error (stderr)
    int exitCode() const { return action == Action::Error ? 2 : 0; }
};

// args excludes the program name. Options take "--opt VALUE" or "--opt=VALUE". Values are validated: a host
// is HOST or HOST:PORT (port 1-65535, no scheme, path or spaces); URLs are absolute http or https; a start
// page is an absolute URL; a bundle folder must exist.
CommandLineResult parseCommandLine(const std::vector<std::string>& args, const std::string& programName);

std::string helpText(const std::string& programName);

}  // namespace zel
