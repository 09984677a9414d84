#include "core/i18n/ZELLocalized.h"

#include <libintl.h>

namespace zel {

void bindTranslations(const std::filesystem::path& localeDirectory) {
    bindtextdomain(kTextDomain, localeDirectory.c_str());
    // The toolkit expects UTF-8 whatever the locale's own encoding.
    bind_textdomain_codeset(kTextDomain, "UTF-8");
}

std::string localizedString(const std::string& key) {
    // An empty key would return the catalogue's header.
    if (key.empty()) return key;
    return dgettext(kTextDomain, key.c_str());
}

}  // namespace zel
