// Shared fixtures of the core and platform tests: captured log lines, a recording page behind a bridge, a
// scratch folder.
#pragma once

#include "core/bridge/ZELPluginController.h"
#include "core/bridge/ZELScriptTarget.h"
#include "core/log/ZELLog.h"

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace zel::test {

struct LogCapture {
    LogCapture() : previous(setLogSink([this](const std::string& line) { lines.push_back(line); })) {}
    ~LogCapture() { setLogSink(previous); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    bool has(const std::string& line) const {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

    std::vector<std::string> lines;
    LogSink previous;
};

struct RecordingScriptTarget : ZELScriptTarget {
    void callJavascriptFunc(const std::string& name, const ArgList& params) override {
        names.push_back(name);
        calls.push_back(params);
    }
    std::vector<std::string> names;
    std::vector<ArgList> calls;
};

// A controller answering into a recording page, with the log captured: the road of a bridge call end to end.
struct BridgeHarness {
    BridgeHarness() { controller->setWebView(&page); }
    void exec(const std::string& plugin, const std::string& method, const std::string& params, Value id = 1) {
        controller->exec(id, plugin, method, params);
    }
    std::shared_ptr<ZELPluginController> controller = std::make_shared<ZELPluginController>();
    RecordingScriptTarget page;
    LogCapture log;
};

class ScratchDirectory {
  public:
    ScratchDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "ostrelle-test-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
    }
    ~ScratchDirectory() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace zel::test
