#include "platform/defaults/ZELUserDefaults.h"

#include "core/log/ZELLog.h"

#include <glib.h>

#include <algorithm>
#include <optional>

namespace zel {
namespace {

std::optional<bool> parseBool(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return g_ascii_tolower(c); });
    if (text == "yes" || text == "true" || text == "1") return true;
    if (text == "no" || text == "false" || text == "0") return false;
    return std::nullopt;
}

}  // namespace

const ZELUserDefaults& ZELUserDefaults::standardUserDefaults() {
    static const ZELUserDefaults defaults(standardPath());
    return defaults;
}

std::filesystem::path ZELUserDefaults::standardPath() {
    return std::filesystem::path(g_get_user_config_dir()) / "Ostrelle" / "defaults.conf";
}

ZELUserDefaults::ZELUserDefaults(const std::filesystem::path& file) {
    GKeyFile* keyFile = g_key_file_new();
    GError* error = nullptr;
    if (!g_key_file_load_from_file(keyFile, file.c_str(), G_KEY_FILE_NONE, &error)) {
        // No file is the usual case: every default reads NO.
        if (!g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT)) {
            zelLog("user defaults: cannot read %@: %@", file.string(), error->message);
        }
        g_error_free(error);
        g_key_file_free(keyFile);
        return;
    }
    gsize count = 0;
    gchar** keys = g_key_file_get_keys(keyFile, kGroup, &count, nullptr);
    for (gsize i = 0; keys != nullptr && i < count; ++i) {
        gchar* value = g_key_file_get_value(keyFile, kGroup, keys[i], nullptr);
        const std::optional<bool> parsed = value ? parseBool(g_strstrip(value)) : std::nullopt;
        if (parsed) {
            bools_[keys[i]] = *parsed;
        } else {
            zelLog("user defaults: %@ is not YES or NO: %@", keys[i], value ? value : "");
        }
        g_free(value);
    }
    g_strfreev(keys);
    g_key_file_free(keyFile);
}

bool ZELUserDefaults::boolForKey(const std::string& key) const {
    auto it = bools_.find(key);
    return it != bools_.end() && it->second;
}

}  // namespace zel
