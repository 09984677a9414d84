// The UI scenarios' fixture: the real program in a fresh home, read through its log lines and the test page's
// reports ("PROBE <tag> <JSON>"), driven through xdotool and D-Bus.
#pragma once

#include "support/Program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <memory>

namespace zel::test {

using nlohmann::json;
namespace fs = std::filesystem;

inline const fs::path kUiDir = OSTRELLE_UI_TESTS;
inline constexpr const char* kStaticHost = "static.ostrelle.example";
std::string webAppURL(const std::string& page, const std::string& query = {},
                      const std::string& host = kStaticHost);
std::string unknownMethod(const std::string& method, const std::string& plugin = "cordovaMenu");
std::string readFile(const fs::path& path);

struct Rect {
    unsigned long id = 0;
    long x = 0, y = 0, width = 0, height = 0;
};

class App : public testing::Test {
  protected:
    App();
    void TearDown() override;

    // Starts the program with exactly these arguments; a running one is stopped first.
    Program& launch(const std::vector<std::string>& args);
    // Starts it on the test web app's index.html?query, the page's console on stderr.
    Program& launchPage(const std::string& query, const std::vector<std::string>& extra = {});
    Program& app() { return *app_; }

    // The next report with this tag at or after line `from`; `at` gets its line.
    json report(const std::string& tag, std::size_t from = 0, std::size_t* at = nullptr);
    std::vector<json> reports(const std::string& tag, std::size_t from = 0) const;
    // The line of the first native log line at or after `from` that reads exactly `text`.
    std::size_t expectLog(const std::string& text, std::size_t from = 0);
    // Native log texts of lines [from, to), without the activation lines the desktop causes at any time.
    std::vector<std::string> nativeLog(std::size_t from = 0, std::size_t to = SIZE_MAX) const;
    std::vector<std::string> browserLog() const;

    std::map<std::string, std::optional<std::string>> environment() const;
    fs::path dataHome() const { return home_.path + "/data"; }
    fs::path workDir() const { return dataHome() / "Ostrelle"; }
    // Runs on a copy of the test web app inside the home, which the scenario may change.
    void copyBundle() {
        fs::copy(bundle_, home_.path + "/bundle", fs::copy_options::recursive);
        bundle_ = home_.path + "/bundle";
    }

  public:
    // The desktop: windows, pointer and keys through xdotool, the application's actions over the bus.
    static std::string xdotool(const std::vector<std::string>& args);
    static std::vector<unsigned long> windows(const std::string& title);
    static Rect geometry(unsigned long window);
    static unsigned long focused();
    // Gives the window the focus; false when it has not got it in time.
    static bool focus(unsigned long window);
    Rect mainWindow();
    static void click(long x, long y, int button = 1);
    static void keys(const std::string& names);  // "Down Down Return"
    static std::string busCall(const std::string& dest, const std::string& path, const std::string& method,
                               const std::vector<std::string>& args = {});
    static void action(const std::string& name);
    static void type(const std::string& text);
    // The one visible window with this title, once it has the focus.
    static unsigned long focusedWindow(const std::string& title);
    // openbox on the test's display, running once it has announced itself.
    static std::unique_ptr<Program> windowManager();
    // The screen's pixels in a rectangle (ImageMagick's import), as 0xRRGGBB.
    struct Shot {
        long width = 0;
        std::string rgb;
        std::uint32_t at(long x, long y) const;
        long count(const std::function<bool(std::uint32_t)>& matches) const;  // pixels that match
    };
    static Shot shot(const Rect& area);

  protected:
    TempDir home_{"ostrelle-ui"};
    fs::path bundle_ = kUiDir / "bundle";
    std::string pageHost_ = kStaticHost;  // the host of the start page, so of the web app's own origin

  private:
    std::unique_ptr<Program> app_;
};

}  // namespace zel::test
