// The plugin bridge: calls with any plugin name, method name, call id and argument text go through
// ZELPluginController into the four real plugins, registered under their script names, with delegates that
// act the way the main view controller does (the menus are built and every item is chosen, a refresh ends at
// once). The page is a script target that records what it is called with.
//
// Input: fields (see splitFields), four per call: plugin name, method name, call id as JSON text (a text
// that does not parse is the id as text), argument text.
//
// Invariants: nothing escapes a plugin method as an exception; only the app update plugin answers, and each
// answer is zelNativeCallback(call id, 0 or 1[, result]); everything sent to the page can be sent as JSON.
#include "FuzzSupport.h"

#include "core/bridge/ZELPluginController.h"
#include "core/json/DictionaryJSON.h"
#include "core/json/HXAddtions.h"
#include "core/menu/ZELContextMenus.h"
#include "core/plugins/ZELAppUpdatePlugin.h"
#include "core/plugins/ZELMenuPlugin.h"
#include "core/plugins/ZELUserInfoPlugin.h"
#include "core/plugins/ZELUserLoginPlugin.h"
#include "core/value/Utf8.h"

namespace {

using namespace zel;

struct ScriptCall {
    std::string name;
    ArgList args;
};

class RecordingPage : public ZELScriptTarget {
  public:
    void callJavascriptFunc(const std::string& name, const ArgList& params) override {
        calls.push_back({name, params});
    }
    std::vector<ScriptCall> calls;
};

// The menu side of the main view controller: each requested menu is built, and each of its items chosen.
class Menus : public ZELMenuPluginDelegate, public ZELMenuControllerDelegate {
  public:
    explicit Menus(ZELScriptTarget& page) : page_(page) { menus_.setDelegate(this); }

    void showSongMenu(const Value& song, ZELPoint origin) override {
        chooseAll(menus_.songMenuPopUp(song, origin, 620).menu);
    }
    void showDiyListMenu(const Value& list, ZELPoint origin) override {
        chooseAll(menus_.diyListMenuPopUp(list, origin, 620).menu);
    }
    void updateSongMenuDiyListData(const Value& entries) override {
        menus_.updateSongMenuDiyListData(entries);
    }

    void loveSong(const Value& song) override { send("loveSong", song); }
    void deloveSong(const Value& song) override { send("deloveSong", song); }
    void addSongToITunes(const Value& song) override { send("addSongToITunes", song); }
    void removeSongFromITunes(const Value& song) override { send("removeSongFromITunes", song); }
    void removeDiyList(const Value& list) override { send("removeDiyList", list); }
    void renameDiyList(const Value& list) override { send("renameDiyList", list); }
    void addSongToDiyList(const Value& song, const Value& diyListId) override {
        page_.callJavascriptFunc("addSongToDiyList", argList(hx::jsonStringWithDictionary(song), diyListId));
    }

  private:
    void send(const char* name, const Value& record) {
        page_.callJavascriptFunc(name, argList(hx::jsonStringWithDictionary(record)));
    }
    void chooseAll(const ZELMenu& menu) {
        for (const ZELMenuItem& item : menu.items) {
            if (item.submenu) chooseAll(*item.submenu);
            menus_.perform(item);
        }
    }

    ZELScriptTarget& page_;
    ZELContextMenus menus_;
};

// A refresh that ends at once, as one with nothing to download does.
class InstantCache : public ZELAppUpdatePluginDelegate {
  public:
    void refreshWebCache() override {
        if (plugin) plugin->didFinishRefreshingWebCache();
    }
    ZELAppUpdatePlugin* plugin = nullptr;
};

Value callIdOf(std::string_view text) {
    Value id = json::dictionaryWithJSONString(text);
    if (!isNil(id)) return id;
    return utf8::isValid(text) ? Value(std::string(text)) : Value(nullptr);
}

void checkSendable(const ScriptCall& call) {
    const std::string text = json::transportJSON(Value(call.args));
    fuzz::check(!isNil(json::dictionaryWithJSONString(text)), call.name + " arguments as JSON: " + text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string_view> fields = fuzz::splitFields(data, size);
    const std::filesystem::path workingDirectory = fuzz::scratchRoot() / "work";
    std::error_code ec;
    std::filesystem::remove(workingDirectory / "cache_version", ec);

    RecordingPage page, menuPage;
    const auto controller = std::make_shared<ZELPluginController>();
    controller->setWebView(&page);
    ZELUserInfoPlugin userInfo;
    ZELUserLoginPlugin userLogin;
    ZELMenuPlugin menu;
    Menus menus(menuPage);
    menu.setDelegate(&menus);
    ZELAppUpdatePlugin appUpdate("0.1.0", workingDirectory);
    InstantCache cache;
    cache.plugin = &appUpdate;
    appUpdate.setDelegate(&cache);
    controller->registerPlugin(appUpdate, "cordovaAppUpdate");
    controller->registerPlugin(userInfo, "cordovaUserInfo");
    controller->registerPlugin(userLogin, "cordovaUserLogin");
    controller->registerPlugin(menu, "cordovaMenu");

    for (std::size_t i = 0; i < fields.size(); i += 4) {
        const std::string plugin(fuzz::field(fields, i));
        const std::string method(fuzz::field(fields, i + 1));
        const Value callId = callIdOf(fuzz::field(fields, i + 2));
        const std::size_t before = page.calls.size();
        fuzz::quietLog().clear();

        controller->exec(callId, plugin, method, std::string(fuzz::field(fields, i + 3)));

        const std::string threw = "ERROR: Method '" + method + "' of ZEL Plugin '" + plugin + "' failed: ";
        for (const std::string& line : fuzz::quietLog()) {
            fuzz::check(!line.starts_with(threw), "a plugin method threw: " + line);
        }
        fuzz::check(page.calls.size() == before || plugin == "cordovaAppUpdate", "only app update answers");
        for (std::size_t c = before; c < page.calls.size(); ++c) {
            const ScriptCall& call = page.calls[c];
            fuzz::check(call.name == "zelNativeCallback", "answers go to zelNativeCallback");
            fuzz::check(call.args.size() == 2 || call.args.size() == 3, "answer arity");
            fuzz::check(call.args[0] == callId, "answer carries the call id");
            fuzz::check(call.args[1] == 0 || call.args[1] == 1, "answer status");
            checkSendable(call);
        }
    }
    for (const ScriptCall& call : menuPage.calls) checkSendable(call);
    return 0;
}
