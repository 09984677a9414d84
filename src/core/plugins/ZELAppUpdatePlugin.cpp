#include "core/plugins/ZELAppUpdatePlugin.h"

#include "core/fs/Files.h"
#include "core/json/DictionaryJSON.h"
#include "core/json/HXAddtions.h"
#include "core/log/ZELLog.h"
#include "core/value/Utf8.h"

#include <utility>

namespace zel {

ZELAppUpdatePlugin::ZELAppUpdatePlugin(std::optional<std::string> bundleVersion,
                                       std::filesystem::path workingDirectory)
    : bundleVersion_(std::move(bundleVersion)), workingDirectory_(std::move(workingDirectory)) {
    exportMethod("getLocalVersion", [this](const ZELPluginCommandRef& c) { getLocalVersion(c); });
    exportMethod("putLocalVersion", [this](const ZELPluginCommandRef& c) { putLocalVersion(c); });
    exportMethod("refreshWebCache", [this](const ZELPluginCommandRef& c) { refreshWebCache(c); });
    exportMethod("clearWebCache", [this](const ZELPluginCommandRef& c) { clearWebCache(c); });
}

std::filesystem::path ZELAppUpdatePlugin::localVersionFilePath() const {
    return workingDirectory_ / "cache_version";
}

void ZELAppUpdatePlugin::getLocalVersion(const ZELPluginCommandRef& command) {
    // The pairs form a terminated list: no bundle version gives an empty object, and a version file that is
    // not UTF-8 (which decodes to nothing) leaves out "cacheVersion". No file decodes as the empty text.
    Value version = Value::object();
    if (bundleVersion_) {
        version["bundleVersion"] = *bundleVersion_;
        const std::string cacheVersion = pending_->writes > 0
                                             ? pending_->last.value_or(std::string())
                                             : fs::readFile(localVersionFilePath()).value_or(std::string());
        if (utf8::isValid(cacheVersion)) version["cacheVersion"] = cacheVersion;
    }
    command->resolve(hx::jsonStringWithDictionary(version));
}

void ZELAppUpdatePlugin::putLocalVersion(const ZELPluginCommandRef& command) {
    // The web app sends the version object as JSON text inside the argument array.
    const Value argument = command->firstParam();
    const std::string* text = textOf(argument);
    const Value version = text != nullptr ? json::dictionaryWithJSONString(*text) : nil();
    const Value cacheVersionValue = valueForKey(version, "cacheVersion");
    const std::string* cacheVersion = textOf(cacheVersionValue);
    if (cacheVersion == nullptr) {
        zelLog("putLocalVersion: ignored, expected a JSON object text with a text cacheVersion");
        return;
    }
    storeVersion(*cacheVersion);
}

void ZELAppUpdatePlugin::storeVersion(std::optional<std::string> version) {
    ++pending_->writes;
    pending_->last = version;
    // A removal that fails is not reported, as when the cache controller removes the file on clearing.
    auto written = std::make_shared<bool>(true);
    const auto job = [path = localVersionFilePath(), version = std::move(version), written] {
        std::error_code error;
        if (!version) {
            std::filesystem::remove(path, error);
        } else {
            *written = fs::writeFileAtomically(path, *version);
        }
    };
    const auto done = [pending = std::weak_ptr<Pending>(pending_), path = localVersionFilePath(), written] {
        if (!*written) zelLog("putLocalVersion: could not write %@", path.string());
        if (const auto state = pending.lock()) --state->writes;
    };
    if (disk_ != nullptr) {
        disk_->run(job, done);
    } else {
        job();
        done();
    }
}

void ZELAppUpdatePlugin::refreshWebCache(const ZELPluginCommandRef& command) {
    refreshWebCacheCommand_ = command;
    if (delegate_ != nullptr) delegate_->refreshWebCache();
}

void ZELAppUpdatePlugin::clearWebCache(const ZELPluginCommandRef& /*command*/) {
    storeVersion(std::nullopt);
    if (delegate_ != nullptr) delegate_->clearWebCache();
}

void ZELAppUpdatePlugin::didFinishRefreshingWebCache() {
    // The callback runs script, which may start a new refresh and replace the kept command while it is being
    // answered; the local reference keeps it alive until the answer is done.
    const ZELPluginCommandRef command = refreshWebCacheCommand_;
    if (command) command->resolve(nil());
}

}  // namespace zel
