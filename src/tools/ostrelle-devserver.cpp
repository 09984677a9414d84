// ostrelle-devserver: serves a folder (what ostrelle-publish made) over HTTP on loopback, so Ostrelle can be
// pointed at it with --static-file-host and --config-base-url.
#include "platform/net/ZELDevServer.h"

#include <glib-unix.h>

#include <charconv>
#include <fstream>
#include <iostream>
#include <string>

namespace {

int usage(const char* program, int status) {
    (status == 0 ? std::cout : std::cerr)
        << "Usage: " << program << " DIR [--port N] [--port-file FILE] [--quiet]\n"
        << "Serves DIR on http://127.0.0.1:N (N = 0 or none: a free port). The first line printed is the\n"
        << "address; --port-file also writes the port number to FILE once the server listens.\n";
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    std::string root, portFile;
    unsigned port = 0;
    bool quiet = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") return usage(argv[0], 0);
        if (arg == "--quiet") {
            quiet = true;
        } else if (arg == "--port" && i + 1 < argc) {
            const std::string value = argv[++i];
            const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), port);
            if (ec != std::errc() || end != value.data() + value.size() || port > 65535)
                return usage(argv[0], 2);
        } else if (arg == "--port-file" && i + 1 < argc) {
            portFile = argv[++i];
        } else if (arg.starts_with("-") || !root.empty()) {
            return usage(argv[0], 2);
        } else {
            root = arg;
        }
    }
    if (root.empty()) return usage(argv[0], 2);

    zel::platform::ZELDevServer server(root);
    if (!quiet) {
        server.setRequestLogger([](const std::string& method, const std::string& path, int status) {
            std::cerr << method << " " << path << " " << status << "\n";
        });
    }
    if (!server.listen(static_cast<std::uint16_t>(port))) {
        std::cerr << argv[0] << ": cannot listen: " << server.error() << std::endl;
        return 1;
    }
    std::cout << "http://" << server.hostPort() << std::endl;
    if (!portFile.empty()) {
        const std::string temporary = portFile + ".tmp";
        std::ofstream(temporary) << server.port() << "\n";
        std::rename(temporary.c_str(), portFile.c_str());
    }

    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    const auto quit = [](gpointer data) {
        g_main_loop_quit(static_cast<GMainLoop*>(data));
        return G_SOURCE_REMOVE;
    };
    g_unix_signal_add(SIGINT, quit, loop);
    g_unix_signal_add(SIGTERM, quit, loop);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
    return 0;
}
