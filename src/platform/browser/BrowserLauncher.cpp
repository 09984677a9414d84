#include "platform/browser/BrowserLauncher.h"

#include "core/log/ZELLog.h"

#include <gio/gio.h>

#include <cstdlib>

namespace zel::platform {

bool openURL(const std::string& url) {
    // Tests and sandboxed runs redirect the browser to a recorder instead of a real browser.
    if (const char* recorder = std::getenv("OSTRELLE_BROWSER_LOG")) {
        zelLog("openURL %@ (recorded)", url);
        if (FILE* f = std::fopen(recorder, "a")) {
            std::fprintf(f, "%s\n", url.c_str());
            std::fclose(f);
        }
        return true;
    }
    GError* error = nullptr;
    if (!g_app_info_launch_default_for_uri(url.c_str(), nullptr, &error)) {
        zelLog("openURL %@ failed: %@", url, error ? error->message : "unknown error");
        g_clear_error(&error);
        return false;
    }
    return true;
}

}  // namespace zel::platform
