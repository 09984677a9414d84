// The user's defaults: a key file, "Ostrelle/defaults.conf" under the XDG config directory, group
// "Defaults", one key per default ("SPIgnoreMediaKeys=YES"). Read once when first asked; nothing writes it.
//
// Booleans read YES/NO, true/false or 1/0 in any case; a missing file, group or key reads as NO, and a value
// that is none of these is logged once and reads as NO. Any thread once constructed (read-only).
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace zel {

class ZELUserDefaults {
  public:
    static constexpr const char* kGroup = "Defaults";

    // The defaults of this user ($XDG_CONFIG_HOME/Ostrelle/defaults.conf), read on first use.
    static const ZELUserDefaults& standardUserDefaults();
    static std::filesystem::path standardPath();

    explicit ZELUserDefaults(const std::filesystem::path& file);

    bool boolForKey(const std::string& key) const;

  private:
    std::map<std::string, bool> bools_;
};

}  // namespace zel
