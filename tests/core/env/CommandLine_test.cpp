#include "core/env/CommandLine.h"
#include "core/env/ZELBundle.h"
#include "core/env/ZELEnv.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace zel {
namespace {

using Action = CommandLineResult::Action;

CommandLineResult parse(std::vector<std::string> args) {
    return parseCommandLine(args, "ostrelle");
}

TEST(CommandLineTest, BothValueFormsHelpAndVersion) {
    test::ScratchDirectory bundle;
    const auto r = parse({"--bundle", bundle.path().string(), "--static-file-host=127.0.0.1:8080",
                          "--config-base-url", "HTTPS://cfg.example/player/mac/config",
                          "--account-host=[::1]:9", "--service-home-url=http://home.example", "--start-page",
                          "file:///tmp/x.html", "--inspector", "--automation", "--console-log"});
    ASSERT_EQ(r.action, Action::Run) << r.message;
    EXPECT_EQ(r.exitCode(), 0);
    const LaunchOptions& o = r.options;
    EXPECT_EQ(o.bundleDirectory, bundle.path().string());
    EXPECT_EQ(
        (std::vector<std::string>{o.settings.staticFileHost, o.settings.configBaseURL, o.settings.accountHost,
                                  o.settings.serviceHomeURL, o.startPage.value_or("")}),
        (std::vector<std::string>{"127.0.0.1:8080", "HTTPS://cfg.example/player/mac/config", "[::1]:9",
                                  "http://home.example", "file:///tmp/x.html"}));
    EXPECT_TRUE(o.inspector && o.automation && o.consoleLog);

    EXPECT_EQ(parse({"-h", "--bogus"}).action, Action::ShowHelp);
    EXPECT_EQ(parse({"--version"}).message,
              "Ostrelle " + ZELBundle({}).infoValue("CFBundleShortVersionString").value());
}

TEST(CommandLineTest, ErrorsNameTheOption) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--frobnicate=1"}, "--frobnicate"},
        {{"stray"}, "stray"},
        {{"--bundle"}, "--bundle"},
        {{"--bundle", "--inspector"}, "option '--bundle' needs a value"},
        {{"--bundle", "/no/such/folder"}, "--bundle"},
        {{"--inspector=yes"}, "--inspector"},
        {{"--static-file-host", "http://h"}, "--static-file-host"},
        {{"--static-file-host", "h:0"}, "--static-file-host"},
        {{"--account-host", "h:65536"}, "--account-host"},
        {{"--static-file-host", "a..b"}, "--static-file-host"},
        {{"--config-base-url", "ftp://x/"}, "--config-base-url"},
        {{"--start-page", "index.html"}, "--start-page"},
        {{"--start-page", "http://a b/"}, "--start-page"},
    };
    for (const auto& [args, option] : cases) {
        const auto r = parse(args);
        EXPECT_EQ(r.action, Action::Error) << args[0];
        EXPECT_EQ(r.exitCode(), 2);
        EXPECT_NE(r.message.find(option), std::string::npos) << r.message;
        EXPECT_EQ(r.message.find('\n'), std::string::npos) << r.message;
    }
}

TEST(ZELEnvTest, WorkingDirectoryFollowsAnAbsoluteDataHome) {
    const char* previous = std::getenv("XDG_DATA_HOME");
    const std::optional<std::string> saved = previous ? std::optional<std::string>(previous) : std::nullopt;
    ASSERT_NE(std::getenv("HOME"), nullptr);
    const std::string fallback = std::string(std::getenv("HOME")) + "/.local/share/Ostrelle";
    for (const auto& [dataHome, expected] :
         {std::pair<const char*, std::string>{"/data/u", "/data/u/Ostrelle"},
          {"relative/dir", fallback},
          {"", fallback}}) {
        setenv("XDG_DATA_HOME", dataHome, 1);
        EXPECT_EQ(ZELEnv::workingDirectory(), expected) << dataHome;
    }
    saved ? setenv("XDG_DATA_HOME", saved->c_str(), 1) : unsetenv("XDG_DATA_HOME");
}

}  // namespace
}  // namespace zel
