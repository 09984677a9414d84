// Ostrelle: a desktop shell around the music service's web app.
#include "core/env/CommandLine.h"
#include "core/env/ZELBundle.h"
#include "core/i18n/ZELLocalized.h"
#include "core/log/ZELLog.h"
#include "ui/app/AppDelegate.h"
#include "ui/app/ZELApplication.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const std::string program = argc > 0 ? std::filesystem::path(argv[0]).filename().string() : "ostrelle";
    std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    // Started by the session bus for the desktop entry (D-Bus activation): the toolkit runs as a service and
    // opens the window when the bus asks for it.
    constexpr const char* kServiceOption = "--gapplication-service";
    const bool service = std::erase(args, kServiceOption) > 0;
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

    // The desktop ties windows, notifications and media controls to the desktop entry through this name: it
    // becomes the X11 window class and the name notifications go out under.
    Glib::set_prgname(zel::ZELApplication::kApplicationId);

    const auto located = zel::ZELBundle::locateResources(zel::ZELBundle::executablePath());
    std::filesystem::path resources;
    if (parsed.options.bundleDirectory) {
        resources = *parsed.options.bundleDirectory;
    } else if (located) {
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
    // The program's own icons lie beside its resources: <prefix>/share/icons, or <build>/icons when run from
    // the build tree.
    if (located) application->setIconSearchPath(located->parent_path() / "icons");
    // The translation catalogues too: <prefix>/share/locale, or <build>/locale.
    if (located) zel::bindTranslations(located->parent_path() / "locale");
    // Options were taken above; the toolkit sees only the program name, and the service option.
    std::string serviceOption = kServiceOption;
    char* toolkitArgv[] = {argv[0], service ? serviceOption.data() : nullptr, nullptr};
    return application->run(service ? 2 : 1, toolkitArgv);
}
