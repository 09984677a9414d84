// The zelPlugin bridge in the real web view: where it exists, what the page sees of it, when answers arrive,
// and what reaches the native side from hostile or broken calls.
#include "ShellTest.h"

#include <gmock/gmock.h>

namespace zel::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

const json kOnlyExec = json::array({"exec"});
const std::string kEmptyVersion = R"({"bundleVersion":"0.1.0","cacheVersion":""})";

// UTF-16 code units as UTF-8; a lone surrogate becomes U+FFFD, as nothing can carry it in UTF-8.
std::string utf8(const json& units) {
    std::string out;
    const auto put = [&out](char32_t c) {
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    };
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char32_t u = units[i].get<char32_t>();
        const bool high = u >= 0xD800 && u < 0xDC00, low = u >= 0xDC00 && u < 0xE000;
        if (high && i + 1 < units.size() && units[i + 1].get<char32_t>() >= 0xDC00 &&
            units[i + 1].get<char32_t>() < 0xE000) {
            put(0x10000 + ((u - 0xD800) << 10) + (units[i + 1].get<char32_t>() - 0xDC00));
            ++i;
        } else {
            put(high || low ? 0xFFFD : u);
        }
    }
    return out;
}

// The program's own JSON writer escapes only the double quote and the line feed.
std::string writerQuoted(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '"') {
            out += "\\\"";
        } else if (c == '\n') {
            out += "\\n";
        } else {
            out += c;
        }
    }
    return out;
}

class BridgeTest : public ShellTest {};

TEST_F(BridgeTest, EveryPageAndFrameHasOnlyExecBeforeItsOwnScriptsRun) {
    launch("frames");
    const json ready = expectReport("ready");
    EXPECT_EQ(ready["early"]["type"], "object");
    EXPECT_EQ(ready["early"]["ownKeys"], kOnlyExec);
    EXPECT_EQ(ready["early"]["forIn"], kOnlyExec);
    EXPECT_EQ(ready["early"]["prototype"], "null");
    EXPECT_EQ(ready["early"]["execType"], "function");
    EXPECT_EQ(ready["early"]["windowNames"], json::array({"zelPlugin"}));
    EXPECT_TRUE(ready["answered"]);

    const json done = expectReport("frames-done");
    ASSERT_EQ(done["frames"].size(), 4u) << done.dump();
    for (const json& frame : done["frames"]) {
        SCOPED_TRACE(frame.dump());
        EXPECT_EQ(frame["type"], "object");
        EXPECT_EQ(frame["ownKeys"], kOnlyExec);
        // Each frame's answer goes to that frame's own callback, synchronously.
        EXPECT_TRUE(frame["answeredBeforeReturn"]);
        const std::string id = "frame-" + frame["name"].get<std::string>() + "-" + frame["depth"].dump();
        EXPECT_EQ(frame["answers"], json::parse(R"([{"id":")" + id + R"(","status":0}])"));
    }
    EXPECT_THAT(done["topAnswers"], IsEmpty());
}

TEST_F(BridgeTest, APageReachedByNavigationHasTheBridgeToo) {
    launch("navigate");
    std::size_t at = 0;
    EXPECT_EQ(expectReport("ready", 0, &at)["page"], "index.html");
    const json second = expectReport("ready", at + 1, &at);
    EXPECT_EQ(second["page"], "second.html");
    EXPECT_EQ(second["early"]["ownKeys"], kOnlyExec);
    EXPECT_TRUE(second["answered"]);

    // Going back either restores the first page from the page cache or loads it again; both keep the bridge.
    const std::size_t back = app().expectLine(
        [](const OutputLine& line) {
            return line.text.find("PROBE pageshow ") != std::string::npos ||
                   line.text.find(R"(PROBE ready {"page":"index.html")") != std::string::npos;
        },
        "for the first page shown again", at + 1);
    const std::string text = app().lines()[back].text;
    const json again = json::parse(text.substr(text.find('{')));
    const json& shape = again.contains("shape") ? again["shape"] : again["early"];
    EXPECT_EQ(shape["ownKeys"], kOnlyExec);
    EXPECT_EQ(shape["execType"], "function");
}

TEST_F(BridgeTest, AnswersArriveBeforeExecReturnsWithTheCallIdUnchanged) {
    launch("sync");
    const json sync = expectReport("sync");
    EXPECT_EQ(sync["returned"], "undefined");
    EXPECT_EQ(sync["answers"], json::parse(R"([{"id":"7","status":0,"result":)" + json(kEmptyVersion).dump() +
                                           R"(,"argc":3,"insideExec":true}])"));

    const json ids = expectReport("ids");
    EXPECT_EQ(ids["back"], ids["sent"]);

    const json throwing = expectReport("throwing");
    EXPECT_EQ(throwing["threw"], false);
    EXPECT_EQ(throwing["later"], json::parse(R"({"id":"t2","status":0})"));
}

TEST_F(BridgeTest, ExecCanBeCalledAgainFromInsideTheCallback) {
    launch("reentrant");
    const json events = expectReport("reentrant");
    const std::string read = R"(read {"bundleVersion":"0.1.0","cacheVersion":"written-inside-a-callback"})";
    // Each nested call is answered before it returns, and the outer calls carry on where they were.
    EXPECT_THAT(events.get<std::vector<std::string>>(),
                ElementsAre("exec1", "cb1", "exec2", "cb2", "exec3", "cb3", "exec4", "cb4", "exec5", "cb5",
                            "ret5", "ret4", "ret3", "ret2", read, "ret1"));
}

TEST_F(BridgeTest, UnknownPluginIsSilentAndUnknownMethodIsLogged) {
    launch("silence");
    const std::size_t before = expectLog(unknownMethodLine("markBefore", "cordovaMenu"));
    const std::size_t after = expectLog(unknownMethodLine("markAfter", "cordovaMenu"), before);
    EXPECT_THAT(withoutLifecycle(nativeLog(before + 1, after)), IsEmpty());

    const json silence = expectReport("silence");
    const std::size_t done = expectLog(unknownMethodLine("markDone", "cordovaMenu"), after);
    std::vector<std::string> expected;
    for (const json& method : silence["methods"])
        expected.push_back(unknownMethodLine(method, "cordovaAppUpdate"));
    expected.push_back(unknownMethodLine("noSuchMethod", "cordovaMenu"));
    EXPECT_THAT(withoutLifecycle(nativeLog(after + 1, done)), ElementsAreArray(expected));
    EXPECT_THAT(silence["answers"], IsEmpty());
}

class BridgeInputTest : public ShellTest {};

TEST_F(BridgeInputTest, HostileStringsArriveIntact) {
    launch("hostile");
    std::size_t at = 0;
    std::string last;
    for (bool more = true; more;) {
        const json item = expectReport("hostile", at, &at);
        ++at;
        more = !item["last"].get<bool>();
        const std::string text = utf8(item["units"]);
        SCOPED_TRACE("string #" + item["index"].dump() + ": " + item["units"].dump());
        // As a call id it comes back unchanged; as a version it is stored and read back by native code.
        EXPECT_EQ(utf8(item["idUnits"]), text);
        EXPECT_EQ(item["result"],
                  R"({"bundleVersion":"0.1.0","cacheVersion":")" + writerQuoted(text) + R"("})");
        last = text;
    }
    expectLog(unknownMethodLine("markDone", "cordovaMenu"));
    EXPECT_TRUE(waitUntil([&] { return readFile(workingDirectory() / "cache_version") == last; }));

    // As a user's name the text reaches the plugin unchanged, also where it holds line feeds or format marks.
    const std::string log = app().text(Stream::Stderr);
    for (const json& item : reportsSoFar("hostile")) {
        const std::string text = utf8(item["units"]);
        EXPECT_NE(log.find("] ZelUserInfo " + text + " avatar:" + text + "\n"), std::string::npos)
            << "no log line for string #" << item["index"];
    }
}

TEST_F(BridgeInputTest, MegabyteArgumentsCrossBothWays) {
    launch("megabyte");
    const json result = expectReport("megabyte");
    EXPECT_EQ(result["answers"], 2);
    EXPECT_TRUE(result["resultMatches"]) << "result length " << result["resultLength"];
    EXPECT_TRUE(result["idMatches"]);

    const std::string big = std::string(1 << 20, 'x') + "中" + std::string(1000, 'y');
    expectLog(unknownMethodLine("markDone", "cordovaMenu"));
    EXPECT_TRUE(waitUntil([&] { return readFile(workingDirectory() / "cache_version") == big; }));
    EXPECT_NE(app().text(Stream::Stderr).find("] ZelUserInfo " + big + " a\n"), std::string::npos);
}

TEST_F(BridgeInputTest, MalformedCallsReadAsMissingArgumentsAndNothingBreaks) {
    launch("malformed");
    std::size_t start = 0;
    expectReport("ready", 0, &start);
    const std::size_t done = expectLog(unknownMethodLine("markDone", "cordovaMenu"), start);
    const std::string nothing = "ZelUserInfo (null) (null)";
    const std::string ignored =
        "putLocalVersion: ignored, expected a JSON object text with a text cacheVersion";
    // Eleven texts that are not an argument array, then exec without its fourth argument and with a number.
    std::vector<std::string> expected(13, nothing);
    expected.insert(expected.end(), {"ZelUserInfo from toString x", ignored, ignored, ignored});
    // Each user info call also sets the header's user name ("setUserName ..."): not what is checked here.
    std::vector<std::string> lines = withoutLifecycle(nativeLog(start, done));
    std::erase_if(lines, [](const std::string& l) { return l.starts_with("setUserName "); });
    EXPECT_THAT(lines, ElementsAreArray(expected));
    EXPECT_EQ(expectReport("malformed")["answers"],
              json::parse(R"([{"id":"get","status":0,"result":)" + json(kEmptyVersion).dump() + "}]"));
    EXPECT_FALSE(std::filesystem::exists(workingDirectory() / "cache_version"));
}

}  // namespace
}  // namespace zel::test
