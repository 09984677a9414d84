// Opens addresses in the user's web browser (the desktop's default handler for the scheme).
// Failures are logged, never raised. Main thread.
#pragma once

#include <string>

namespace zel::platform {

// Returns false (and logs) when no handler could be launched.
bool openURL(const std::string& url);

}  // namespace zel::platform
