// Interface texts looked up in the program's translation catalogue (text domain "ostrelle"): the English text
// is the key and is shown unchanged when the catalogue has no entry or the locale has no catalogue. Uses the
// C library's message catalogues only. Thread-safe once bound.
#pragma once

#include <filesystem>
#include <string>

namespace zel {

inline constexpr const char* kTextDomain = "ostrelle";

// Where the compiled catalogues lie (<dir>/<locale>/LC_MESSAGES/ostrelle.mo); call once at start, before any
// lookup. A folder that does not exist only leaves every text untranslated.
void bindTranslations(const std::filesystem::path& localeDirectory);

// The translation of key for the current locale, or key itself.
std::string localizedString(const std::string& key);

}  // namespace zel
