#include "ui/web/ZELWebViewDelegate.h"

#include "core/log/ZELLog.h"
#include "core/web/WebAppAddress.h"
#include "platform/browser/BrowserLauncher.h"

#include <utility>

namespace zel {

std::optional<std::filesystem::path> ZELWebViewDelegate::getLocalData(const std::string& url) {
    return cacheController_ != nullptr ? cacheController_->localFileWithURLRequest(url) : std::nullopt;
}

std::optional<std::string> ZELWebViewDelegate::realRequest(const std::string& url) {
    return cacheController_ != nullptr ? cacheController_->getHashedURL(url) : url;
}

bool ZELWebViewDelegate::willSendRequest(const std::string& url) const {
    return web::belongsToWebApp(url);
}

void ZELWebViewDelegate::setProxyCredentials(int port, std::string user, std::string secret) {
    proxyPort_ = port;
    proxyUser_ = std::move(user);
    proxySecret_ = std::move(secret);
}

ZELWebViewDelegate::~ZELWebViewDelegate() {
    detach();
}

void ZELWebViewDelegate::attach(ZELWebView& webView, bool allowContextMenu) {
    detach();
    webView_ = &webView;
    allowContextMenu_ = allowContextMenu;
    WebKitWebView* view = webView.webView();
    const std::pair<const char*, GCallback> handlers[] = {
        {"decide-policy", G_CALLBACK(onDecidePolicy)},
        {"create", G_CALLBACK(onCreate)},
        {"script-dialog", G_CALLBACK(onScriptDialog)},
        {"context-menu", G_CALLBACK(onContextMenu)},
        {"permission-request", G_CALLBACK(onPermissionRequest)},
        {"authenticate", G_CALLBACK(onAuthenticate)},
        {"web-process-terminated", G_CALLBACK(onWebProcessTerminated)},
    };
    for (const auto& [signal, handler] : handlers) connections_.emplace_back(view, signal, handler, this);
}

void ZELWebViewDelegate::detach() {
    connections_.clear();
    crashDialog_.reset();
    webView_ = nullptr;
}

gboolean ZELWebViewDelegate::onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision,
                                            WebKitPolicyDecisionType type, gpointer self) {
    if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) {
        return static_cast<ZELWebViewDelegate*>(self)->decideResponse(
            WEBKIT_RESPONSE_POLICY_DECISION(decision));
    }
    if (type != WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION &&
        type != WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION)
        return FALSE;
    WebKitNavigationAction* action =
        webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    if (!uri) return FALSE;
    const bool inApp = web::isInAppNavigation(uri, static_cast<ZELWebViewDelegate*>(self)->webAppOrigin_);
    if (type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION) {
        // The program has one window; new windows are the browser's.
        webkit_policy_decision_ignore(decision);
        if (!inApp) platform::openURL(uri);
        return TRUE;
    }
    // Subframes may embed outside content; what the user (or the page) navigates to outside the web app
    // leaves for the browser. Redirects and frame loads carry no user gesture.
    if (!inApp && webkit_navigation_action_is_user_gesture(action)) {
        webkit_policy_decision_ignore(decision);
        platform::openURL(uri);
        return TRUE;
    }
    return FALSE;
}

// A navigation action does not tell which frame navigates, so a page that sends the whole view elsewhere by
// script (no user gesture) is caught when the answer arrives: the main frame never shows an outside page.
gboolean ZELWebViewDelegate::decideResponse(WebKitResponsePolicyDecision* decision) {
    if (!webkit_response_policy_decision_is_main_frame_main_resource(decision)) return FALSE;
    const char* uri = webkit_uri_request_get_uri(webkit_response_policy_decision_get_request(decision));
    if (!uri || web::isInAppNavigation(uri, webAppOrigin_) || startPage_ == uri) return FALSE;
    webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
    platform::openURL(uri);
    return TRUE;
}

// window.open asks for a new view directly, without a new-window policy decision; the answer is the same.
GtkWidget* ZELWebViewDelegate::onCreate(WebKitWebView*, WebKitNavigationAction* action, gpointer self) {
    const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    if (uri && !web::isInAppNavigation(uri, static_cast<ZELWebViewDelegate*>(self)->webAppOrigin_))
        platform::openURL(uri);
    return nullptr;
}

gboolean ZELWebViewDelegate::onScriptDialog(WebKitWebView*, WebKitScriptDialog* dialog, gpointer self) {
    return static_cast<ZELWebViewDelegate*>(self)->webView_->bridge().handleScriptDialog(dialog);
}

gboolean ZELWebViewDelegate::onContextMenu(WebKitWebView*, WebKitContextMenu*, WebKitHitTestResult*,
                                           gpointer self) {
    return static_cast<ZELWebViewDelegate*>(self)->allowContextMenu_ ? FALSE : TRUE;
}

bool ZELWebViewDelegate::isWebAppPage() const {
    const char* uri = webkit_web_view_get_uri(webView_->webView());
    return uri != nullptr && (web::hasOrigin(uri, webAppOrigin_) || g_str_has_prefix(uri, "file:"));
}

gboolean ZELWebViewDelegate::onPermissionRequest(WebKitWebView*, WebKitPermissionRequest* request,
                                                 gpointer self) {
    if (WEBKIT_IS_NOTIFICATION_PERMISSION_REQUEST(request)) {
        if (!static_cast<ZELWebViewDelegate*>(self)->isWebAppPage()) {
            webkit_permission_request_deny(request);
            return TRUE;
        }
        webkit_permission_request_allow(request);
        return TRUE;
    }
    return FALSE;
}

gboolean ZELWebViewDelegate::onAuthenticate(WebKitWebView*, WebKitAuthenticationRequest* request,
                                            gpointer self) {
    auto* delegate = static_cast<ZELWebViewDelegate*>(self);
    // Only our own proxy gets the secret; any other challenge is the web view's usual business.
    if (!webkit_authentication_request_is_for_proxy(request) || delegate->proxyPort_ == 0 ||
        webkit_authentication_request_get_port(request) != static_cast<guint>(delegate->proxyPort_) ||
        g_strcmp0(webkit_authentication_request_get_host(request), "127.0.0.1") != 0) {
        return FALSE;
    }
    WebKitCredential* credential =
        webkit_credential_new(delegate->proxyUser_.c_str(), delegate->proxySecret_.c_str(),
                              WEBKIT_CREDENTIAL_PERSISTENCE_FOR_SESSION);
    webkit_authentication_request_authenticate(request, credential);
    webkit_credential_free(credential);
    return TRUE;
}

void ZELWebViewDelegate::onWebProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason reason,
                                                gpointer self) {
    static_cast<ZELWebViewDelegate*>(self)->webProcessTerminated(reason);
}

void ZELWebViewDelegate::webProcessTerminated(WebKitWebProcessTerminationReason reason) {
    if (reason == WEBKIT_WEB_PROCESS_TERMINATED_BY_API) return;
    const char* why = reason == WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT ? "memory limit" : "crash";
    const auto now = std::chrono::steady_clock::now();
    while (!reloads_.empty() && now - reloads_.front() > std::chrono::minutes(1)) reloads_.pop_front();
    if (static_cast<int>(reloads_.size()) >= kMaxReloadsPerMinute) {
        zelLog("web process ended (%@); not reloading again within a minute", why);
        showCrashMessage();
        return;
    }
    reloads_.push_back(now);
    zelLog("web process ended (%@); reloading", why);
    webView_->reload();
}

void ZELWebViewDelegate::showCrashMessage() {
    if (!crashDialog_) {
        crashDialog_ = std::make_unique<Gtk::MessageDialog>("网页意外退出", false, Gtk::MessageType::ERROR,
                                                            Gtk::ButtonsType::NONE, true);
        crashDialog_->set_secondary_text("Ostrelle 的页面在一分钟内多次意外退出。");
        crashDialog_->add_button("关闭", Gtk::ResponseType::CLOSE);
        crashDialog_->add_button("重新加载", Gtk::ResponseType::OK);
        crashDialog_->set_hide_on_close(true);
        crashDialog_->signal_response().connect([this](int response) {
            crashDialog_->hide();
            if (response == Gtk::ResponseType::OK) {
                reloads_.clear();
                webView_->reload();
            }
        });
    }
    if (window_) crashDialog_->set_transient_for(*window_);
    crashDialog_->present();
}

}  // namespace zel
