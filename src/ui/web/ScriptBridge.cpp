#include "ui/web/ScriptBridge.h"

#include "core/env/RandomToken.h"
#include "core/json/DictionaryJSON.h"
#include "core/log/ZELLog.h"
#include "core/web/WebAppAddress.h"

#include <cstring>

namespace zel {
namespace {

// Installed at document start in every frame of the web app's host and in file pages. @PREFIX@ is replaced
// by the bridge's marker, which holds only the characters [a-z0-9:]; @ORIGIN@ by the web app's origin as JSON
// text, so neither substitution can change the script's structure. URL patterns cannot name a port, so the
// script itself checks the whole origin.
constexpr const char* kBridgeScript = R"JS((function () {
  'use strict';
  if (location.protocol !== 'file:' && location.origin !== @ORIGIN@) return;
  const PREFIX = '@PREFIX@';
  const nativePrompt = window.prompt;
  const apply = Reflect.apply;
  const stringify = JSON.stringify;
  const parse = JSON.parse;
  const report = typeof reportError === 'function' ? reportError : (e) => console.error(e);
  const loneSurrogates = /[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/g;
  const wellFormed = (s) => s.replace(loneSurrogates, '\ufffd');
  const text = (v) => wellFormed(String(v));
  // The call id travels as any JSON value and comes back unchanged; what JSON cannot hold travels as text.
  const carry = (v) => {
    if (typeof v === 'string') return wellFormed(v);
    if (v === undefined) return null;
    try {
      const s = stringify(v);
      return s === undefined ? text(v) : parse(wellFormed(s));
    } catch (e) {
      return text(v);
    }
  };
  function exec(callId, pluginName, methodName, paramsText) {
    const message = stringify([carry(callId), text(pluginName), text(methodName), text(paramsText)]);
    const answer = apply(nativePrompt, window, [PREFIX + message, '']);
    if (typeof answer !== 'string' || answer.length === 0) return;
    let calls;
    try {
      calls = parse(answer);
    } catch (e) {
      return;
    }
    for (const call of calls) {
      const f = window[call[0]];
      if (typeof f !== 'function') continue;
      try {
        apply(f, window, call[1]);
      } catch (e) {
        report(e);
      }
    }
  }
  const plugin = Object.create(null);
  plugin.exec = exec;
  Object.freeze(plugin);
  Object.defineProperty(window, 'zelPlugin', {value: plugin, writable: true, configurable: true});
})();)JS";

// Runs in the page for native-to-script calls; the name and the arguments arrive as data.
constexpr const char* kCallFunctionBody =
    "const f = window[name];"
    "if (typeof f === 'function') f.apply(window, JSON.parse(args));"
    "return null;";

Value callsToValue(const std::vector<std::pair<std::string, ArgList>>& calls) {
    Value list = Value::array();
    for (const auto& [name, args] : calls) {
        Value argArray = Value::array();
        for (const Value& a : args) argArray.push_back(a);
        list.push_back(Value::array({Value(name), std::move(argArray)}));
    }
    return list;
}

}  // namespace

ScriptBridge::ScriptBridge() : prefix_("zel:" + randomToken() + ":") {}

void ScriptBridge::install(WebKitUserContentManager* contentManager, const std::string& webAppOrigin) const {
    std::string source = kBridgeScript;
    for (const auto& [marker, value] :
         {std::pair<std::string, std::string>{"@PREFIX@", prefix_},
          {"@ORIGIN@", json::transportJSON(Value(web::normalizedOrigin(webAppOrigin)))}}) {
        source.replace(source.find(marker), marker.size(), value);
    }
    const std::string pattern = web::hostPattern(webAppOrigin);
    const char* allow[] = {pattern.c_str(), "file:///*", nullptr};
    WebKitUserScript* script =
        webkit_user_script_new(source.c_str(), WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                               WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, allow, nullptr);
    webkit_user_content_manager_add_script(contentManager, script);
    webkit_user_script_unref(script);
}

bool ScriptBridge::handleScriptDialog(WebKitScriptDialog* dialog) {
    if (webkit_script_dialog_get_dialog_type(dialog) != WEBKIT_SCRIPT_DIALOG_PROMPT) return false;
    const char* message = webkit_script_dialog_get_message(dialog);
    if (!message || std::strncmp(message, prefix_.c_str(), prefix_.size()) != 0) return false;

    Value call = json::dictionaryWithJSONString(message + prefix_.size());
    if (!call.is_array() || call.size() != 4 || !call[1].is_string() || !call[2].is_string() ||
        !call[3].is_string()) {
        zelLog("bridge: ignored a malformed exec message");
        webkit_script_dialog_prompt_set_text(dialog, "");
        return true;
    }

    std::vector<QueuedCall> queued;
    std::vector<QueuedCall>* outer = answering_;
    answering_ = &queued;
    if (execHandler_) {
        execHandler_(call[0], call[1].get_ref<const std::string&>(), call[2].get_ref<const std::string&>(),
                     call[3].get_ref<const std::string&>());
    }
    answering_ = outer;

    const std::string answer = queued.empty() ? std::string() : json::transportJSON(callsToValue(queued));
    webkit_script_dialog_prompt_set_text(dialog, answer.c_str());
    return true;
}

void ScriptBridge::callFunction(WebKitWebView* webView, const std::string& name, const ArgList& args) {
    if (answering_) {
        answering_->emplace_back(name, args);
        return;
    }
    if (!webView) return;
    Value argArray = Value::array();
    for (const Value& a : args) argArray.push_back(a);
    const std::string argsText = json::transportJSON(argArray);

    GVariantDict dict;
    g_variant_dict_init(&dict, nullptr);
    g_variant_dict_insert(&dict, "name", "s", name.c_str());
    g_variant_dict_insert(&dict, "args", "s", argsText.c_str());
    GVariant* arguments = g_variant_dict_end(&dict);
    webkit_web_view_call_async_javascript_function(
        webView, kCallFunctionBody, -1, arguments, nullptr, nullptr, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer) {
            GError* error = nullptr;
            JSCValue* value = webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(source),
                                                                                    result, &error);
            if (value) g_object_unref(value);
            // A page that is not loaded yet, or a function that throws: the call has no effect.
            g_clear_error(&error);
        },
        nullptr);
}

}  // namespace zel
