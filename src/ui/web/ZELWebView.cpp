#include "ui/web/ZELWebView.h"

namespace zel {

ZELWebView::ZELWebView(const ZELWebViewOptions& options) {
    context_ = webkit_web_context_new();
    const std::string data = options.dataDirectory.string();
    // The HTTP cache gets a folder of its own so it never meets the web app cache in the same directory.
    const std::string cache = (options.dataDirectory / "WebKitCache").string();
    session_ = webkit_network_session_new(data.c_str(), cache.c_str());
    // A signed-in session of the web app outlives the program, as it would in a browser.
    const std::string cookies = (options.dataDirectory / "cookies.sqlite").string();
    webkit_cookie_manager_set_persistent_storage(webkit_network_session_get_cookie_manager(session_),
                                                 cookies.c_str(), WEBKIT_COOKIE_PERSISTENT_STORAGE_SQLITE);

    WebKitSettings* settings = webkit_settings_new();
    webkit_settings_set_user_agent(settings, "Ostrelle/0.1");
    webkit_settings_set_enable_developer_extras(settings, options.developerExtras);
    webkit_settings_set_enable_write_console_messages_to_stdout(settings, options.consoleMessages);
    webkit_settings_set_javascript_can_open_windows_automatically(settings, FALSE);

    WebKitUserContentManager* content = webkit_user_content_manager_new();
    bridge_.install(content, options.webAppOrigin);

    if (options.automation) webkit_web_context_set_automation_allowed(context_, TRUE);

    view_ = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", context_, "network-session",
                                         session_, "settings", settings, "user-content-manager", content,
                                         "is-controlled-by-automation", options.automation ? TRUE : FALSE,
                                         nullptr));
    g_object_ref_sink(view_);
    g_object_unref(settings);
    g_object_unref(content);

    GdkRGBA white{1.0f, 1.0f, 1.0f, 1.0f};
    webkit_web_view_set_background_color(view_, &white);
    widget_ = Glib::wrap(GTK_WIDGET(view_));
}

ZELWebView::~ZELWebView() {
    g_object_unref(view_);
    g_object_unref(session_);
    g_object_unref(context_);
}

void ZELWebView::useProxy(const std::string& proxyURI) {
    WebKitNetworkProxySettings* proxy = webkit_network_proxy_settings_new(nullptr, nullptr);
    webkit_network_proxy_settings_add_proxy_for_scheme(proxy, "http", proxyURI.c_str());
    webkit_network_session_set_proxy_settings(session_, WEBKIT_NETWORK_PROXY_MODE_CUSTOM, proxy);
    webkit_network_proxy_settings_free(proxy);
}

void ZELWebView::loadURI(const std::string& uri) {
    webkit_web_view_load_uri(view_, uri.c_str());
}
void ZELWebView::reload() {
    webkit_web_view_reload(view_);
}
void ZELWebView::goBack() {
    webkit_web_view_go_back(view_);
}
void ZELWebView::goForward() {
    webkit_web_view_go_forward(view_);
}

void ZELWebView::callJavascriptFunc(const std::string& name, const ArgList& params) {
    bridge_.callFunction(view_, name, params);
}

}  // namespace zel
