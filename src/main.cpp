// Ostrelle: a desktop shell around the music service's web app.
#include "core/env/CommandLine.h"
#include "core/env/ZELBundle.h"
#include "core/log/ZELLog.h"
#include "ui/app/AppDelegate.h"
#include "ui/app/ZELApplication.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const std::string program = argc > 0 ? std::filesystem::path(argv[0]).filename().string() : "ostrelle";
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    zel::CommandLineResult parsed = zel::parseCommandLine(args, program);
    switch (parsed.action) {
        case zel::CommandLineResult::Action::ShowHelp:
        case zel::CommandLineResult::Action::ShowVersion:
            std::cout << parsed.message << std::endl;
            return 0;
        case zel::CommandLineResult::Action::Error:
            std::cerr << program << ": " << parsed.message << "\n"
                      << "Try '" << program << " --help' for more information." << std::endl;
            return parsed.exitCode();
        case zel::CommandLineResult::Action::Run:
            break;
    }

    std::filesystem::path resources;
    if (parsed.options.bundleDirectory) {
        resources = *parsed.options.bundleDirectory;
    } else if (auto located = zel::ZELBundle::locateResources(zel::ZELBundle::executablePath())) {
        resources = *located;
    } else {
        std::cerr << program
                  << ": cannot find the web app (no resources folder with www beside the program); "
                  << "use --bundle DIR" << std::endl;
        return 1;
    }

    const zel::LaunchOptions& options = parsed.options;
    auto application = zel::ZELApplication::create(options.settings, !options.automation);
    zel::AppDelegate delegate(options, zel::ZELBundle(resources));
    application->setDelegate(&delegate);
    // Options were taken above; the toolkit sees only the program name.
    char* toolkitArgv[] = {argv[0], nullptr};
    return application->run(1, toolkitArgv);
}
