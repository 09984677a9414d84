// The hub: creates and owns the web view, the main window, the bridge and the plugins, and the login and
// feedback windows on first use; it is the delegate of almost all of them. User actions in native controls
// end here and become calls of the web app's global functions; plugin requests that need native UI arrive
// here.
//
// Built in a fixed order (see the constructor); loads no page until didReady. Lives for the whole process.
// Main thread only.
#pragma once

#include "core/bridge/ZELPluginController.h"
#include "core/cache/ZELCacheController.h"
#include "core/env/CommandLine.h"
#include "core/env/ZELBundle.h"
#include "core/menu/ZELMenuControllerDelegate.h"
#include "core/plugins/ZELAppUpdatePlugin.h"
#include "core/plugins/ZELMenuPlugin.h"
#include "core/plugins/ZELUserInfoPlugin.h"
#include "core/plugins/ZELUserLoginPlugin.h"
#include "platform/gobject/ZELSignalConnection.h"
#include "platform/net/ZELWebProxy.h"
#include "ui/menu/ZELMenuController.h"
#include "ui/web/ZELWebView.h"
#include "ui/web/ZELWebViewDelegate.h"
#include "ui/windows/ZELFeedbackWindow.h"
#include "ui/windows/ZELLoginWindow.h"
#include "ui/windows/ZELMainWindow.h"

#include <gtkmm.h>

#include <memory>
#include <string>
#include <vector>

namespace zel {

class MainViewController : public ZELMainWindowDelegate,
                           public ZELLoginWindowDelegate,
                           public ZELFeedbackWindowDelegate,
                           public ZELUserInfoPluginDelegate,
                           public ZELUserLoginPluginDelegate,
                           public ZELMenuPluginDelegate,
                           public ZELAppUpdatePluginDelegate,
                           public ZELMenuControllerDelegate,
                           public ZELPluginControllerDelegate {
  public:
    // The application keeps the windows alive while they are shown; options and bundle must outlive this.
    MainViewController(Gtk::Application& application, const LaunchOptions& options, const ZELBundle& bundle);
    ~MainViewController() override;

    // Starts the web view's proxy, through which the hash-map URL protocol answers the web app's requests;
    // before didReady.
    void registerURLProtocol();
    void didReady();
    void awakeFromNib();
    void orderFront();

    void tooglePlayPause();
    void playNextSong();
    void playPreviousSong();

    void callJavascriptFunc(const std::string& name, const ArgList& params = {});

    void showLoginWindow() override;
    void showRegisterWindow();
    void showFeedbackWindow();
    void refreshWebCache() override;
    void clearWebCache() override;

    // ZELMainWindowDelegate
    void showSearchSuggestion() override;
    void hideSearchSuggestion() override;
    void updateSearchQuery(const std::string& query) override;
    void submitSearchQuery(const std::string& query) override;
    void historyBack() override;
    void historyForward() override;
    void showLoginWindowButtonClick() override;
    void showRegisterWindowButtonClick() override;
    void logoutButtonClick() override;

    // ZELLoginWindowDelegate
    void login(const std::string& userName, const std::string& password, const std::string& verifyCode,
               bool isPhone, bool remember) override;
    void updateVerifyCode() override;

    // ZELFeedbackWindowDelegate
    void submitFeedback(const std::string& text, const std::string& email) override;

    // ZELUserInfoPluginDelegate
    void didUpdateUserInfo(const std::string& unused, const Value& nickName, const Value& avatarSrc) override;

    // ZELUserLoginPluginDelegate
    void setLoginStatus(const Value& status) override;
    void setLoginErrorMessage(const Value& message) override;
    void setLoginNeedVerifyCode(bool need) override;
    void setLoginVerifyCodeImageSrc(const Value& src) override;

    // ZELMenuPluginDelegate: passed unchanged to the menu controller.
    void showSongMenu(const Value& song, ZELPoint origin) override;
    void showDiyListMenu(const Value& list, ZELPoint origin) override;
    void updateSongMenuDiyListData(const Value& entries) override;

    // ZELMenuControllerDelegate: records go to the web app as one JSON text argument.
    void loveSong(const Value& song) override;
    void deloveSong(const Value& song) override;
    void addSongToITunes(const Value& song) override;
    void removeSongFromITunes(const Value& song) override;
    void createDiyList() override;
    void removeDiyList(const Value& list) override;
    void renameDiyList(const Value& list) override;
    void addSongToDiyList(const Value& song, const Value& diyListId) override;

    ZELMainWindow& mainWindow() { return *mainWindow_; }
    ZELWebView& webView() { return *webView_; }

  private:
    std::string startPageURL() const;

    Gtk::Application& application_;
    const LaunchOptions& options_;
    const ZELBundle& bundle_;

    std::unique_ptr<ZELMainWindow> mainWindow_;
    std::unique_ptr<ZELLoginWindow> loginWindow_;
    std::unique_ptr<ZELFeedbackWindow> feedbackWindow_;
    std::unique_ptr<ZELUserInfoPlugin> userInfoPlugin_;
    std::unique_ptr<ZELUserLoginPlugin> userLoginPlugin_;
    std::unique_ptr<ZELMenuPlugin> menuPlugin_;
    std::unique_ptr<ZELAppUpdatePlugin> appUpdatePlugin_;
    std::unique_ptr<ZELCacheController> cacheController_;
    std::unique_ptr<ZELWebViewDelegate> webViewDelegate_;
    std::unique_ptr<ZELWebView> webView_;
    std::unique_ptr<platform::ZELWebProxy> webProxy_;
    // Commands hold the controller weakly, so it is shared.
    std::shared_ptr<ZELPluginController> pluginController_;
    std::unique_ptr<ZELMenuController> menuController_;
    std::vector<platform::ZELSignalConnection> automationConnections_;
};

}  // namespace zel
