#include "core/env/CommandLine.h"

#include "core/env/ZELBundle.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using Action = CommandLineResult::Action;

CommandLineResult parse(std::vector<std::string> args) {
    return parseCommandLine(args, "ostrelle");
}

TEST(CommandLineTest, DefaultsAndBothValueForms) {
    const auto plain = parse({});
    EXPECT_EQ(plain.action, Action::Run);
    EXPECT_EQ(plain.options.settings.staticFileHost, ZELSettings::compiledDefaults().staticFileHost);
    EXPECT_FALSE(plain.options.bundleDirectory);

    test::ScratchDirectory bundle;
    const auto r = parse({"--bundle", bundle.path().string(), "--static-file-host=127.0.0.1:8080",
                          "--config-base-url", "HTTPS://cfg.example/player/mac/config",
                          "--account-host=[::1]:9", "--service-home-url=http://home.example", "--start-page",
                          "file:///tmp/x.html", "--inspector", "--automation", "--console-log"});
    ASSERT_EQ(r.action, Action::Run) << r.message;
    EXPECT_EQ(r.exitCode(), 0);
    EXPECT_EQ(r.options.bundleDirectory, bundle.path().string());
    EXPECT_EQ(r.options.settings.staticFileHost, "127.0.0.1:8080");
    EXPECT_EQ(r.options.settings.configBaseURL, "HTTPS://cfg.example/player/mac/config");
    EXPECT_EQ(r.options.settings.accountHost, "[::1]:9");
    EXPECT_EQ(r.options.settings.serviceHomeURL, "http://home.example");
    EXPECT_EQ(r.options.startPage, "file:///tmp/x.html");
    EXPECT_TRUE(r.options.inspector && r.options.automation && r.options.consoleLog);
}

TEST(CommandLineTest, HelpAndVersion) {
    const auto help = parse({"-h", "--bogus"});
    EXPECT_EQ(help.action, Action::ShowHelp);
    EXPECT_EQ(help.exitCode(), 0);
    for (const char* option :
         {"--bundle", "--static-file-host", "--config-base-url", "--account-host", "--service-home-url",
          "--start-page", "--inspector", "--automation", "--console-log", "--help", "--version"}) {
        EXPECT_NE(help.message.find(option), std::string::npos) << option;
    }
    const auto version = parse({"--version"});
    EXPECT_EQ(version.action, Action::ShowVersion);
    EXPECT_EQ(version.message, "Ostrelle " + ZELBundle({}).infoValue("CFBundleShortVersionString").value());
}

TEST(CommandLineTest, ErrorsNameTheOption) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--frobnicate"}, "--frobnicate"},
        {{"--frobnicate=1"}, "--frobnicate"},
        {{"stray"}, "stray"},
        {{"--bundle"}, "--bundle"},
        {{"--bundle", "--inspector"}, "--bundle"},
        {{"--bundle="}, "--bundle"},
        {{"--bundle", "/no/such/folder"}, "--bundle"},
        {{"--inspector=yes"}, "--inspector"},
        {{"--static-file-host", "http://h"}, "--static-file-host"},
        {{"--static-file-host", "h:0"}, "--static-file-host"},
        {{"--static-file-host", "h:65536"}, "--static-file-host"},
        {{"--static-file-host", "h/x"}, "--static-file-host"},
        {{"--static-file-host", "a..b"}, "--static-file-host"},
        {{"--account-host", "a b"}, "--account-host"},
        {{"--config-base-url", "ftp://x/"}, "--config-base-url"},
        {{"--config-base-url", "http://"}, "--config-base-url"},
        {{"--service-home-url", "www.example.com"}, "--service-home-url"},
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

}  // namespace
}  // namespace zel
