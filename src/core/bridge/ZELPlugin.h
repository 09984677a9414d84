// Base of the script-callable plugins.
//
// A plugin publishes its script-callable methods in a table, by the name the web app passes to exec; a name
// that is not in the table is, to the bridge, a method the plugin lacks. Main thread only.
#pragma once

#include "core/bridge/ZELPluginCommand.h"

#include <functional>
#include <string>
#include <unordered_map>

namespace zel {

class ZELPlugin {
  public:
    using Method = std::function<void(const ZELPluginCommandRef&)>;

    virtual ~ZELPlugin() = default;
    ZELPlugin(const ZELPlugin&) = delete;
    ZELPlugin& operator=(const ZELPlugin&) = delete;

    bool respondsTo(const std::string& methodName) const { return methods_.count(methodName) != 0; }
    // Precondition: respondsTo(methodName).
    void perform(const std::string& methodName, const ZELPluginCommandRef& command) const {
        methods_.at(methodName)(command);
    }

  protected:
    ZELPlugin() = default;
    void exportMethod(std::string name, Method method) { methods_[std::move(name)] = std::move(method); }

  private:
    std::unordered_map<std::string, Method> methods_;
};

}  // namespace zel
