#include "core/env/ZELSettings.h"

namespace zel {

ZELSettings ZELSettings::compiledDefaults() {
    return ZELSettings{
        .staticFileHost = OSTRELLE_STATIC_FILE_HOST,
        .configBaseURL = OSTRELLE_CONFIG_BASE_URL,
        .accountHost = OSTRELLE_ACCOUNT_HOST,
        .serviceHomeURL = OSTRELLE_SERVICE_HOME_URL,
    };
}

}  // namespace zel
