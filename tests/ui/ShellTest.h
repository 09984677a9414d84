// The fixture of the shell tests: runs the real program with the test web app (tests/ui/bundle) in a fresh
// home, and reads what it says: the native log lines on stderr and the page's "PROBE <tag> <JSON>" console
// reports (see bundle/www/js/probe.js).
//
// Each test gets its own data, cache and config folders and a browser recorder file; the program's single
// instance name is checked free before a launch and waited free after the test, so that tests that follow one
// another on the same bus never meet.
#pragma once

#include "support/Process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zel::test {

using nlohmann::json;

std::filesystem::path programPath();
std::filesystem::path testBundle();

inline constexpr const char* kStaticFileHost = "static.ostrelle.example";
// The address of a page of the test web app under the program's scheme.
std::string webAppURL(const std::string& page, const std::string& query = {},
                      const std::string& host = kStaticFileHost);

// The text of a native log line ("<date> <time> ostrelle[<pid>] <text>") written by that process.
std::optional<std::string> nativeLogText(const OutputLine& line, pid_t pid);

class ShellTest : public testing::Test {
  protected:
    ShellTest();
    void TearDown() override;

    // Starts the program with the test web app on index.html?case=testCase&moreQuery, page console on stderr.
    Process& launch(const std::string& testCase, const std::vector<std::string>& extraArgs = {},
                    const std::string& moreQuery = {});
    // Starts the program with exactly these arguments, in this test's environment.
    Process& launchWithArgs(const std::vector<std::string>& args);
    // Stops the running program, waits until its instance is gone from the bus, and starts it again.
    Process& relaunchWithArgs(const std::vector<std::string>& args);
    Process& app() { return *app_; }

    // The next report with this tag at or after line `from`; WaitTimeout when none comes.
    json expectReport(const std::string& tag, std::size_t from = 0, std::size_t* index = nullptr);
    // The reports with this tag received so far.
    std::vector<json> reportsSoFar(const std::string& tag) const;
    // The index of the first native log line at or after `from` whose text is exactly `text`.
    std::size_t expectLog(const std::string& text, std::size_t from = 0);
    // Native log texts in lines [from, to).
    std::vector<std::string> nativeLog(std::size_t from = 0, std::size_t to = SIZE_MAX) const;
    std::vector<std::string> browserLog() const;

    EnvironmentChanges environment() const;
    std::filesystem::path dataHome() const { return std::filesystem::path(home_.path()) / "data"; }
    std::filesystem::path workingDirectory() const { return dataHome() / "Ostrelle"; }
    std::filesystem::path browserLogPath() const {
        return std::filesystem::path(home_.path()) / "browser.log";
    }
    const std::string& home() const { return home_.path(); }

    std::filesystem::path bundle_ = testBundle();
    // The host of the start page's address, and so of every web app request's network address.
    std::string pageHost_ = kStaticFileHost;

  private:
    TempDir home_;
    std::unique_ptr<Process> app_;
};

// Native log lines without those the application object writes on its own schedule (activation changes),
// whatever the test does.
std::vector<std::string> withoutLifecycle(std::vector<std::string> lines);

std::string unknownMethodLine(const std::string& method, const std::string& plugin);

// The whole content of a file ("" when it cannot be read).
std::string readFile(const std::filesystem::path& path);

}  // namespace zel::test
