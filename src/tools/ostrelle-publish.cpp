// ostrelle-publish: turns a web app folder into what the static file server serves (hashed build files, the
// four hash-map documents and the version), for the dev server or a real static file host.
#include "platform/publish/ZELPublisher.h"

#include <ctime>
#include <iostream>
#include <string>
#include <vector>

namespace {

std::string today() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[16];
    std::strftime(text, sizeof text, "%Y/%m/%d", &local);
    return text;
}

int usage(const char* program, int status) {
    (status == 0 ? std::cout : std::cerr)
        << "Usage: " << program << " WWW_DIR OUT_DIR [--version yyyy/MM/dd]\n"
        << "Publishes the web app in WWW_DIR under OUT_DIR/player/mac/{build,config,www}.\n"
        << "The version (default: today) is what the web app compares with its cached version.\n";
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> positional;
    std::string version = today();
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") return usage(argv[0], 0);
        if (arg == "--version" && i + 1 < argc) {
            version = argv[++i];
        } else if (arg.starts_with("--version=")) {
            version = arg.substr(10);
        } else if (arg.starts_with("-")) {
            return usage(argv[0], 2);
        } else {
            positional.push_back(arg);
        }
    }
    if (positional.size() != 2) return usage(argv[0], 2);

    zel::platform::ZELPublisher publisher(positional[0], positional[1], version);
    const auto result = publisher.publish();
    if (!result) {
        std::cerr << argv[0] << ": " << publisher.error() << std::endl;
        return 1;
    }
    std::cout << "Published " << result->files << " files (" << result->hashed << " hashed) of "
              << positional[0] << " as version " << version << " in " << positional[1] << std::endl;
    return 0;
}
