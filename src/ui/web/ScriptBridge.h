// The web-view side of the zelPlugin bridge.
//
// Script to native: a document-start user script, limited to the web app's own origin and to file pages,
// defines window.zelPlugin with one member, exec. exec sends its four arguments to native code synchronously
// through prompt(), marked with a per-process secret so that no other page or frame can pose as the bridge;
// the web-view delegate hands such prompts to handleScriptDialog, which runs the exec handler before the
// page's exec returns. Every other prompt falls through to the normal dialog.
//
// Native to script: callFunction calls a global function of the page by name with the arguments as data (no
// script text is built from them). Calls made while a bridge call is being answered are queued into that
// call's answer and run by the page, in order, before its exec returns; others run asynchronously, in order.
//
// Main thread only. The bridge does not own the web view or the content manager it is given.
#pragma once

#include "core/value/Value.h"

#include <webkit/webkit.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zel {

class ScriptBridge {
  public:
    using ExecHandler = std::function<void(const Value& callId, const std::string& pluginName,
                                           const std::string& methodName, const std::string& paramsText)>;

    ScriptBridge();

    // Adds the bridge's user script to a content manager for pages of webAppOrigin ("http://host[:port]") and
    // file pages (call once, before the first load).
    void install(WebKitUserContentManager* contentManager, const std::string& webAppOrigin) const;
    void setExecHandler(ExecHandler handler) { execHandler_ = std::move(handler); }

    // True when the dialog was a bridge message; it has then been answered.
    bool handleScriptDialog(WebKitScriptDialog* dialog);

    void callFunction(WebKitWebView* webView, const std::string& name, const ArgList& args);

  private:
    using QueuedCall = std::pair<std::string, ArgList>;

    std::string prefix_;
    ExecHandler execHandler_;
    std::vector<QueuedCall>* answering_ = nullptr;
};

}  // namespace zel
