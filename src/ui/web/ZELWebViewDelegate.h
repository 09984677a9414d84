// The one object the web view reports to: it keeps the web view an ordinary browser view for the web app and
// nothing else.
//
// - Bridge prompts go to the script bridge; every other dialog is the web view's own.
// - Navigation that would leave the web app's origin (links, form posts, new windows and window.open) opens
// in
//   the user's browser.
// - It marks the web app's own requests (their address contains "/player/mac/www") for the hash-map URL
//   protocol, and answers the proxy's challenge with the proxy's credentials (never any other challenge).
// - The web view shows no context menu of its own (unless developer extras are on, for the inspector).
// - Web notifications are allowed for the web app's pages.
// - It answers the hash-map URL protocol's questions about the web app's requests from the cache controller
//   (given by setCacheController, not owned; without one, every request goes to the network unchanged).
// - A crashed web process is reloaded, at most kMaxReloadsPerMinute times a minute; after that the user is
//   told, and can reload by hand.
//
// Connects to the web view given to attach and stays connected until detach() or its destruction, whichever
// comes first; the web view object must outlive that (the toolkit widget may live on: it then reaches nothing
// of ours). Main thread only.
#pragma once

#include "core/cache/ZELCacheController.h"
#include "core/cache/ZELURLProtocolDelegate.h"
#include "platform/gobject/ZELSignalConnection.h"
#include "ui/web/ZELWebView.h"

#include <gtkmm.h>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace zel {

class ZELWebViewDelegate : public ZELURLProtocolDelegate {
  public:
    static constexpr int kMaxReloadsPerMinute = 3;

    ZELWebViewDelegate() = default;
    ~ZELWebViewDelegate() override;
    ZELWebViewDelegate(const ZELWebViewDelegate&) = delete;
    ZELWebViewDelegate& operator=(const ZELWebViewDelegate&) = delete;

    void attach(ZELWebView& webView, bool allowContextMenu);
    // Disconnects from the web view and closes the crash message; nothing the view emits afterwards reaches
    // this object.
    void detach();
    // Where the crash message is shown (transient parent); not owned.
    void setWindow(Gtk::Window* window) { window_ = window; }
    // The page the program was told to start with stays in the view even when it is outside the web app.
    void setStartPage(std::string startPage) { startPage_ = std::move(startPage); }
    void setCacheController(ZELCacheController* cacheController) { cacheController_ = cacheController; }
    void setWebAppOrigin(std::string origin) { webAppOrigin_ = std::move(origin); }
    // The proxy on 127.0.0.1:port and the credentials it asks for.
    void setProxyCredentials(int port, std::string user, std::string secret);

    // Whether the request goes to the hash-map URL protocol: the web app's own files. A function of the
    // address alone, safe on any thread (the web proxy asks on its own).
    bool willSendRequest(const std::string& url) const;

    // ZELURLProtocolDelegate
    std::optional<std::filesystem::path> getLocalData(const std::string& url) override;
    std::optional<std::string> realRequest(const std::string& url) override;

  private:
    static gboolean onDecidePolicy(WebKitWebView*, WebKitPolicyDecision*, WebKitPolicyDecisionType,
                                   gpointer self);
    gboolean decideResponse(WebKitResponsePolicyDecision* decision);
    static GtkWidget* onCreate(WebKitWebView*, WebKitNavigationAction*, gpointer self);
    static gboolean onScriptDialog(WebKitWebView*, WebKitScriptDialog*, gpointer self);
    static gboolean onContextMenu(WebKitWebView*, WebKitContextMenu*, WebKitHitTestResult*, gpointer self);
    static gboolean onPermissionRequest(WebKitWebView*, WebKitPermissionRequest*, gpointer self);
    static gboolean onAuthenticate(WebKitWebView*, WebKitAuthenticationRequest*, gpointer self);
    bool isWebAppPage() const;
    static void onWebProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason, gpointer self);

    void webProcessTerminated(WebKitWebProcessTerminationReason reason);
    void showCrashMessage();

    ZELWebView* webView_ = nullptr;
    Gtk::Window* window_ = nullptr;
    ZELCacheController* cacheController_ = nullptr;
    bool allowContextMenu_ = false;
    std::string startPage_;
    std::string webAppOrigin_;
    int proxyPort_ = 0;
    std::string proxyUser_, proxySecret_;
    std::deque<std::chrono::steady_clock::time_point> reloads_;
    std::unique_ptr<Gtk::MessageDialog> crashDialog_;
    std::vector<platform::ZELSignalConnection> connections_;
};

}  // namespace zel
