// Shared fixtures of the core tests: captured log lines, a recording script target, a bridge, a scratch
// folder.
#pragma once

#include "core/bridge/ZELPluginController.h"
#include "core/bridge/ZELScriptTarget.h"
#include "core/log/ZELLog.h"

#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

namespace zel::test {

class LogCapture {
  public:
    LogCapture() {
        previous_ = setLogSink([this](const std::string& line) { lines.push_back(line); });
    }
    ~LogCapture() { setLogSink(previous_); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines;

  private:
    LogSink previous_;
};

struct ScriptCall {
    std::string name;
    ArgList args;
};

class RecordingScriptTarget : public ZELScriptTarget {
  public:
    void callJavascriptFunc(const std::string& name, const ArgList& params) override {
        calls.push_back({name, params});
    }
    std::vector<ScriptCall> calls;
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
        static int counter = 0;
        path_ = std::filesystem::temp_directory_path() /
                ("ostrelle-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
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
