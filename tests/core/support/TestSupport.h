// Shared fixtures of the core and platform tests: captured log lines, a bridge and its page, a scratch
// folder.
#pragma once

#include "core/bridge/ZELPluginController.h"
#include "core/bridge/ZELScriptTarget.h"
#include "core/log/ZELLog.h"

#include <stdlib.h>

#include <algorithm>
#include <filesystem>

namespace zel::test {

struct LogCapture {
    LogCapture() : previous(setLogSink([this](const std::string& line) { lines.push_back(line); })) {}
    ~LogCapture() { setLogSink(previous); }
    bool has(const std::string& line) const {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
    std::vector<std::string> lines;
    LogSink previous;
};

struct BridgeHarness : ZELScriptTarget {
    BridgeHarness() { controller->setWebView(this); }
    void callJavascriptFunc(const std::string& name, const ArgList& params) override {
        names.push_back(name);
        answers.push_back(params);
    }
    void exec(const std::string& plugin, const std::string& method, const std::string& params, Value id = 1) {
        controller->exec(id, plugin, method, params);
    }
    std::shared_ptr<ZELPluginController> controller = std::make_shared<ZELPluginController>();
    std::vector<std::string> names;
    std::vector<ArgList> answers;  // what reached the page, in order
    LogCapture log;
};

struct ScratchDirectory {
    ScratchDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "ostrelle-test-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
    }
    ~ScratchDirectory() { std::filesystem::remove_all(path_, ec); }
    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path path_;
    std::error_code ec;
};

}  // namespace zel::test
