#include "ui/controllers/MainViewController.h"

#include "core/env/ZELEnv.h"
#include "core/json/HXAddtions.h"
#include "core/log/ZELLog.h"
#include "core/web/WebAppAddress.h"
#include "platform/browser/BrowserLauncher.h"
#include "platform/fs/ZELBackgroundDiskWorker.h"
#include "platform/net/ZELSoupDownloaderFactory.h"
#include "ui/windows/WindowPlacement.h"

namespace zel {
namespace {

constexpr int kMainWidth = 1200, kMainHeight = 620;
constexpr int kLoginWidth = 340, kLoginHeight = 150;
constexpr int kFeedbackWidth = 340, kFeedbackHeight = 190;

}  // namespace

MainViewController::MainViewController(Gtk::Application& application, const LaunchOptions& options,
                                       const ZELBundle& bundle)
    : application_(application), options_(options), bundle_(bundle) {
    pluginController_ = std::make_shared<ZELPluginController>();
    pluginController_->setDelegate(this);

    userInfoPlugin_ = std::make_unique<ZELUserInfoPlugin>();
    userInfoPlugin_->setDelegate(this);
    userLoginPlugin_ = std::make_unique<ZELUserLoginPlugin>();
    userLoginPlugin_->setDelegate(this);
    menuPlugin_ = std::make_unique<ZELMenuPlugin>();
    menuPlugin_->setDelegate(this);
    appUpdatePlugin_ = std::make_unique<ZELAppUpdatePlugin>(bundle.infoValue("CFBundleShortVersionString"),
                                                            ZELEnv::workingDirectory());
    appUpdatePlugin_->setDelegate(this);

    pluginController_->registerPlugin(*appUpdatePlugin_, "cordovaAppUpdate");
    pluginController_->registerPlugin(*userInfoPlugin_, "cordovaUserInfo");
    pluginController_->registerPlugin(*userLoginPlugin_, "cordovaUserLogin");
    pluginController_->registerPlugin(*menuPlugin_, "cordovaMenu");

    cacheController_ = std::make_unique<ZELCacheController>(
        ZELCacheLocations{ZELEnv::workingDirectory(), bundle.resourcePath(), options.settings.staticFileHost,
                          options.settings.configBaseURL},
        std::make_unique<platform::ZELSoupDownloaderFactory>(),
        std::make_unique<platform::ZELBackgroundDiskWorker>());
    cacheController_->setDelegate(appUpdatePlugin_.get());
    appUpdatePlugin_->setDiskWorker(&cacheController_->diskWorker());

    webViewDelegate_ = std::make_unique<ZELWebViewDelegate>();
    webViewDelegate_->setCacheController(cacheController_.get());
    webViewDelegate_->setWebAppOrigin(web::webAppOrigin(options.settings.staticFileHost));

    mainWindow_ = std::make_unique<ZELMainWindow>(kMainWidth, kMainHeight);
    mainWindow_->setZelMainWindowDelegate(this);
    application_.add_window(*mainWindow_);
    centerOnScreen(*mainWindow_);
    mainWindow_->present();

    ZELWebViewOptions webOptions;
    webOptions.dataDirectory = ZELEnv::workingDirectory();
    webOptions.webAppOrigin = web::webAppOrigin(options.settings.staticFileHost);
    webOptions.developerExtras = options.inspector;
    webOptions.automation = options.automation;
    webOptions.consoleMessages = options.consoleLog;
    webView_ = std::make_unique<ZELWebView>(webOptions);
    webViewDelegate_->attach(*webView_, options.inspector);
    webViewDelegate_->setWindow(mainWindow_.get());
    webViewDelegate_->setStartPage(startPageURL());
    webView_->bridge().setExecHandler(
        [this](const Value& callId, const std::string& plugin, const std::string& method,
               const std::string& params) { pluginController_->exec(callId, plugin, method, params); });

    zelLog("WebStoragePath is '%@', modify in MainViewController.", webOptions.dataDirectory.string());
    zelLog("WebStoragePath enabled', modify in MainViewController.");

    mainWindow_->setContentView(webView_->widget());
    pluginController_->setWebView(webView_.get());

    if (options.automation) {
        automationConnections_.emplace_back(
            webView_->context(), "automation-started",
            G_CALLBACK(+[](WebKitWebContext*, WebKitAutomationSession* session, gpointer self) {
                // The session answers with our one view; the handler goes with the view itself.
                WebKitWebView* view = static_cast<MainViewController*>(self)->webView_->webView();
                g_signal_connect_object(session, "create-web-view",
                                        G_CALLBACK(+[](WebKitAutomationSession*, gpointer view) {
                                            return static_cast<WebKitWebView*>(view);
                                        }),
                                        view, G_CONNECT_DEFAULT);
            }),
            this);
        // A driver ends its session by closing the window; the program has one, so it ends with it.
        automationConnections_.emplace_back(webView_->webView(), "close",
                                            G_CALLBACK(+[](WebKitWebView*, gpointer self) {
                                                static_cast<MainViewController*>(self)->application_.quit();
                                            }),
                                            this);
    }

    menuController_ = std::make_unique<ZELMenuController>();
    menuController_->setWindow(mainWindow_.get());
    menuController_->setWebView(&webView_->widget());
    menuController_->setDelegate(this);
}

MainViewController::~MainViewController() {
    // The web view's widget may outlive this controller (the toolkit holds it until the window goes), so
    // first everything it or the bridge can still reach is cut off; then the parts go, each before what it
    // points at: the web view before its proxy, the proxy before the delegate and the cache it asks, the
    // cache (whose disk worker finishes its queued jobs) before the plugin it reports to, the windows last.
    automationConnections_.clear();
    menuController_.reset();
    webView_->bridge().setExecHandler(nullptr);
    pluginController_->setWebView(nullptr);
    webViewDelegate_->detach();
    webView_.reset();
    webProxy_.reset();
    webViewDelegate_.reset();
    appUpdatePlugin_->setDiskWorker(nullptr);
    cacheController_.reset();
    pluginController_.reset();
    appUpdatePlugin_.reset();
    menuPlugin_.reset();
    userLoginPlugin_.reset();
    userInfoPlugin_.reset();
    feedbackWindow_.reset();
    loginWindow_.reset();
    mainWindow_.reset();
}

void MainViewController::registerURLProtocol() {
    // The marker runs on the proxy's thread: the delegate's answer depends on the address alone.
    webProxy_ = std::make_unique<platform::ZELWebProxy>(
        *webViewDelegate_, [delegate = webViewDelegate_.get()](const std::string& url) {
            return delegate->willSendRequest(url);
        });
    // Without the proxy the web view still works as a browser, only without the local copy of the web app.
    if (!webProxy_->listen()) return;
    zelLog("web proxy listening on %@", webProxy_->uri());
    webViewDelegate_->setProxyCredentials(webProxy_->port(), webProxy_->user(), webProxy_->secret());
    webView_->useProxy(webProxy_->uri());
}

void MainViewController::didReady() {
    awakeFromNib();
}

std::string MainViewController::startPageURL() const {
    return options_.startPage.value_or(web::startPageURL(options_.settings.staticFileHost));
}

void MainViewController::awakeFromNib() {
    webView_->loadURI(startPageURL());
    zelLog("awakeFromNib");
}

void MainViewController::orderFront() {
    mainWindow_->present();
}

void MainViewController::tooglePlayPause() {
    callJavascriptFunc("tooglePlayPause");
}
void MainViewController::playNextSong() {
    callJavascriptFunc("forward");
}
void MainViewController::playPreviousSong() {
    callJavascriptFunc("backward");
}

void MainViewController::callJavascriptFunc(const std::string& name, const ArgList& params) {
    webView_->callJavascriptFunc(name, params);
}

void MainViewController::showLoginWindow() {
    if (!loginWindow_) {
        loginWindow_ =
            std::make_unique<ZELLoginWindow>(kLoginWidth, kLoginHeight, options_.settings.accountHost);
        loginWindow_->setLoginWindowDelegate(this);
        loginWindow_->set_transient_for(*mainWindow_);
        application_.add_window(*loginWindow_);
        centerOnWindow(*loginWindow_, *mainWindow_);
    }
    loginWindow_->present();
}

void MainViewController::showRegisterWindow() {
    zelLog("showRegisterWindow");
    platform::openURL("https://" + options_.settings.accountHost + "/v2/?reg&tpl=music");
}

void MainViewController::showFeedbackWindow() {
    zelLog("showFeedbackWindow");
    if (!feedbackWindow_) {
        feedbackWindow_ = std::make_unique<ZELFeedbackWindow>(kFeedbackWidth, kFeedbackHeight);
        feedbackWindow_->setFeedbackWindowDelegate(this);
        feedbackWindow_->set_transient_for(*mainWindow_);
        application_.add_window(*feedbackWindow_);
        centerOnWindow(*feedbackWindow_, *mainWindow_);
    }
    feedbackWindow_->present();
}

void MainViewController::refreshWebCache() {
    cacheController_->refreshLocalCache();
}
void MainViewController::clearWebCache() {
    cacheController_->clearLocalCache();
}

void MainViewController::showSearchSuggestion() {
    callJavascriptFunc("showSuggestion");
}
void MainViewController::hideSearchSuggestion() {
    callJavascriptFunc("hideSuggestion");
}

void MainViewController::updateSearchQuery(const std::string& query) {
    zelLog("updateSearchQuery");
    callJavascriptFunc("updateQuery", argList(query));
}

void MainViewController::submitSearchQuery(const std::string& query) {
    zelLog("submitSearchQuery %@", query);
    hideSearchSuggestion();
    callJavascriptFunc("searchQuery", argList(query));
}

void MainViewController::historyBack() {
    webView_->goBack();
}
void MainViewController::historyForward() {
    webView_->goForward();
}
void MainViewController::showLoginWindowButtonClick() {
    showLoginWindow();
}
void MainViewController::showRegisterWindowButtonClick() {
    showRegisterWindow();
}
void MainViewController::logoutButtonClick() {
    callJavascriptFunc("logout");
}

void MainViewController::login(const std::string& userName, const std::string& password,
                               const std::string& verifyCode, bool /*isPhone*/, bool remember) {
    zelLog("login %@ %@, %hhd", userName, Secret(password), remember);
    callJavascriptFunc("login", argList(userName, password, verifyCode));
}

void MainViewController::updateVerifyCode() {
    zelLog("updateVerifyCode");
    callJavascriptFunc("updateVerifyCode");
}

void MainViewController::submitFeedback(const std::string& text, const std::string& email) {
    if (feedbackWindow_) feedbackWindow_->performClose();
    callJavascriptFunc("feedback", argList(text, email));
}

void MainViewController::didUpdateUserInfo(const std::string& /*unused*/, const Value& nickName,
                                           const Value& avatarSrc) {
    mainWindow_->updateUserName(nickName, avatarSrc);
}

void MainViewController::setLoginStatus(const Value& status) {
    if (!loginWindow_) return;
    loginWindow_->setStatus(status);
    if (status.is_string() && status.get_ref<const std::string&>() == "0") loginWindow_->performClose();
}

void MainViewController::setLoginErrorMessage(const Value& message) {
    if (loginWindow_) loginWindow_->setErrorMessage(message);
}

void MainViewController::setLoginNeedVerifyCode(bool need) {
    if (loginWindow_) loginWindow_->setNeedVerifyCode(need);
}

void MainViewController::setLoginVerifyCodeImageSrc(const Value& src) {
    if (loginWindow_) loginWindow_->setVerifyCodeImageSrc(src);
}

void MainViewController::showSongMenu(const Value& song, ZELPoint origin) {
    menuController_->showSongMenu(song, origin);
}

void MainViewController::showDiyListMenu(const Value& list, ZELPoint origin) {
    menuController_->showDiyListMenu(list, origin);
}

void MainViewController::updateSongMenuDiyListData(const Value& entries) {
    menuController_->updateSongMenuDiyListData(entries);
}

void MainViewController::loveSong(const Value& song) {
    callJavascriptFunc("loveSong", argList(hx::jsonStringWithDictionary(song)));
}

void MainViewController::deloveSong(const Value& song) {
    callJavascriptFunc("deloveSong", argList(hx::jsonStringWithDictionary(song)));
}

void MainViewController::addSongToITunes(const Value& song) {
    callJavascriptFunc("addSongToITunes", argList(hx::jsonStringWithDictionary(song)));
}

void MainViewController::removeSongFromITunes(const Value& song) {
    callJavascriptFunc("removeSongFromITunes", argList(hx::jsonStringWithDictionary(song)));
}

void MainViewController::createDiyList() {
    callJavascriptFunc("createDiyList");
}

void MainViewController::removeDiyList(const Value& list) {
    callJavascriptFunc("removeDiyList", argList(hx::jsonStringWithDictionary(list)));
}

void MainViewController::renameDiyList(const Value& list) {
    callJavascriptFunc("renameDiyList", argList(hx::jsonStringWithDictionary(list)));
}

// An absent id ends the argument list: the web app then receives the song alone.
void MainViewController::addSongToDiyList(const Value& song, const Value& diyListId) {
    callJavascriptFunc("addSongToDiyList", argList(hx::jsonStringWithDictionary(song), diyListId));
}

}  // namespace zel
