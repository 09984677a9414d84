// Opens addresses in the user's web browser (the desktop's default handler for the scheme).
// The launch runs asynchronously (GIO), so the main loop never waits for the handler's lookup or start;
// its failure is logged when it is known, never raised. Main thread.
#pragma once

#include <string>

namespace zel::platform {

// Starts the launch; false (and logged) when the address is empty.
bool openURL(const std::string& url);

}  // namespace zel::platform
