#include "core/bridge/ZELPluginController.h"

#include "core/json/DictionaryJSON.h"
#include "core/log/ZELLog.h"

#include <exception>

namespace zel {
namespace {

constexpr const char* kCallbackName = "zelNativeCallback";
constexpr int kResolved = 0;
constexpr int kFailed = 1;

}  // namespace

void ZELPluginController::registerPlugin(ZELPlugin& plugin, const std::string& pluginName) {
    pluginsDict_[pluginName] = &plugin;
}

ZELPlugin* ZELPluginController::pluginNamed(const std::string& pluginName) const {
    const auto it = pluginsDict_.find(pluginName);
    return it == pluginsDict_.end() ? nullptr : it->second;
}

void ZELPluginController::exec(const Value& callId, const std::string& pluginName,
                               const std::string& methodName, const std::string& paramsText) {
    ZELPlugin* plugin = pluginNamed(pluginName);
    if (plugin == nullptr) return;

    // Held weakly by the command: a controller not owned by a shared pointer simply answers nowhere.
    const ZELPluginCommandRef command = ZELPluginCommand::pluginCommandWithDefId(
        callId, json::dictionaryWithJSONString(paramsText), weak_from_this());

    if (!plugin->respondsTo(methodName)) {
        zelLog("ERROR: Method '%@' not defined in ZEL Plugin '%@'", methodName, pluginName);
        return;
    }
    // exec is called from the script engine's callback; nothing may unwind into it.
    try {
        plugin->perform(methodName, command);
    } catch (const std::exception& e) {
        zelLog("ERROR: Method '%@' of ZEL Plugin '%@' failed: %@", methodName, pluginName, e.what());
    }
}

void ZELPluginController::pluginCommandResolve(const ZELPluginCommand& command, const Value& result) {
    callJavascriptFunc(kCallbackName, argList(command.defId(), kResolved, result));
}

void ZELPluginController::pluginCommandFail(const ZELPluginCommand& command, const Value& result) {
    callJavascriptFunc(kCallbackName, argList(command.defId(), kFailed, result));
}

void ZELPluginController::callJavascriptFunc(const std::string& name, const ArgList& params) {
    if (webView_ != nullptr) webView_->callJavascriptFunc(name, params);
}

}  // namespace zel
