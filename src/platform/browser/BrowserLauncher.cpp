#include "platform/browser/BrowserLauncher.h"

#include "core/log/ZELLog.h"

#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>

namespace zel::platform {

bool openURL(const std::string& url) {
    if (url.empty()) {
        zelLog("openURL: no address");
        return false;
    }
    // Tests and sandboxed runs redirect the browser to a recorder instead of a real browser.
    if (const char* recorder = std::getenv("OSTRELLE_BROWSER_LOG")) {
        zelLog("openURL %@ (recorded)", url);
        if (FILE* f = std::fopen(recorder, "a")) {
            std::fprintf(f, "%s\n", url.c_str());
            std::fclose(f);
        }
        return true;
    }
    // The address travels with the launch so that its failure can name it; nothing else outlives this call.
    g_app_info_launch_default_for_uri_async(
        url.c_str(), nullptr, nullptr,
        [](GObject*, GAsyncResult* result, gpointer data) {
            char* address = static_cast<char*>(data);
            GError* error = nullptr;
            if (!g_app_info_launch_default_for_uri_finish(result, &error)) {
                zelLog("openURL %@ failed: %@", address, error ? error->message : "unknown error");
                g_clear_error(&error);
            }
            g_free(address);
        },
        g_strdup(url.c_str()));
    return true;
}

}  // namespace zel::platform
