// The text of a parsed address, for logs and for the decisions made on address text. Any thread.
#pragma once

#include <glib.h>

#include <string>

namespace zel::platform {

inline std::string uriText(GUri* uri) {
    char* text = g_uri_to_string(uri);
    std::string result = text != nullptr ? text : "";
    g_free(text);
    return result;
}

}  // namespace zel::platform
