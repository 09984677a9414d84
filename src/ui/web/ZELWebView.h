// The web view that shows the web app: a WebKit view painted white behind the page, with its own web context
// (automation) and network session (website data in the working directory, http through the program's
// proxy), the program's user agent, and the zelPlugin bridge for the web app's origin. It is the script
// target through which native code calls the web app's global functions.
//
// Owns its GTK widget (one reference) and the bridge. Main thread only.
#pragma once

#include "core/bridge/ZELScriptTarget.h"
#include "ui/web/ScriptBridge.h"

#include <gtkmm.h>
#include <webkit/webkit.h>

#include <filesystem>
#include <string>

namespace zel {

struct ZELWebViewOptions {
    std::filesystem::path dataDirectory;  // website data (local storage, cookies, ...)
    std::string webAppOrigin;             // "http://host[:port]": its pages (and file pages) get the bridge
    bool developerExtras = false;         // Web Inspector
    bool automation = false;              // controlled by a WebDriver session
    bool consoleMessages = false;         // page console messages on stderr (WebKit writes them there)
};

class ZELWebView : public ZELScriptTarget {
  public:
    explicit ZELWebView(const ZELWebViewOptions& options);
    ~ZELWebView() override;
    ZELWebView(const ZELWebView&) = delete;
    ZELWebView& operator=(const ZELWebView&) = delete;

    Gtk::Widget& widget() { return *widget_; }
    WebKitWebView* webView() const { return view_; }
    WebKitWebContext* context() const { return context_; }
    ScriptBridge& bridge() { return bridge_; }

    // Sends every http request of the view through the proxy at proxyURI ("http://127.0.0.1:port"); https and
    // everything else go direct. Before the first load.
    void useProxy(const std::string& proxyURI);

    void loadURI(const std::string& uri);
    void reload();
    void goBack();
    void goForward();

    void callJavascriptFunc(const std::string& name, const ArgList& params) override;

  private:
    WebKitWebContext* context_ = nullptr;
    WebKitNetworkSession* session_ = nullptr;
    WebKitWebView* view_ = nullptr;
    Gtk::Widget* widget_ = nullptr;
    ScriptBridge bridge_;
};

}  // namespace zel
