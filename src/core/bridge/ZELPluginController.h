// The zelPlugin bridge: dispatches the web app's exec calls to registered plugins and answers them through
// the page's zelNativeCallback function.
//
// Plugins are registered by reference and must outlive the controller. The controller answers through the
// script target given with setWebView (may be unset: answers then go nowhere). Commands hold the controller
// weakly, so it is created through std::make_shared. Bad input from the page (unknown plugin, unknown method,
// argument text that is not JSON) never throws: see exec. Main thread only.
#pragma once

#include "core/bridge/ZELPlugin.h"
#include "core/bridge/ZELPluginCommand.h"
#include "core/bridge/ZELScriptTarget.h"

#include <map>
#include <memory>
#include <string>

namespace zel {

// Declares nothing; the controller never calls it. Kept so the owner's role is named.
class ZELPluginControllerDelegate {
  public:
    virtual ~ZELPluginControllerDelegate() = default;
};

class ZELPluginController : public ZELPluginCommandDelegate,
                            public std::enable_shared_from_this<ZELPluginController> {
  public:
    ZELPluginController() = default;

    // "register" is a reserved word, hence the longer name. A later registration under a name replaces the
    // earlier one.
    void registerPlugin(ZELPlugin& plugin, const std::string& pluginName);
    ZELPlugin* pluginNamed(const std::string& pluginName) const;

    void setWebView(ZELScriptTarget* webView) { webView_ = webView; }
    void setDelegate(ZELPluginControllerDelegate* delegate) { delegate_ = delegate; }

    // The script method exec. Unknown plugin: nothing at all. Known plugin, unknown method: logs
    // "ERROR: Method '<method>' not defined in ZEL Plugin '<plugin>'". Otherwise the plugin's method runs
    // synchronously with a command whose params are the parsed text (nil when it does not parse).
    void exec(const Value& callId, const std::string& pluginName, const std::string& methodName,
              const std::string& paramsText);

    void pluginCommandResolve(const ZELPluginCommand& command, const Value& result) override;
    void pluginCommandFail(const ZELPluginCommand& command, const Value& result) override;

    void callJavascriptFunc(const std::string& name, const ArgList& params);

  private:
    std::map<std::string, ZELPlugin*> pluginsDict_;
    ZELScriptTarget* webView_ = nullptr;
    ZELPluginControllerDelegate* delegate_ = nullptr;
};

}  // namespace zel
