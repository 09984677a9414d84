// The zelPlugin bridge in the real web view: its shape, answers, hostile calls and a crashing web process.
#include "App.h"

#include <signal.h>

#include <gmock/gmock.h>

namespace zel::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

const json kOnlyExec = json::array({"exec"});
const std::string kEmptyVersion = R"({"bundleVersion":"0.1.0","cacheVersion":""})";

class Bridge : public App {
  protected:
    // Native log texts between the page's marks, without the header's "setUserName" lines.
    std::vector<std::string> logBetween(const std::string& from, const std::string& to) {
        const std::size_t start = expectLog(unknownMethod("mark_" + from));
        std::vector<std::string> lines =
            nativeLog(start + 1, expectLog(unknownMethod(to.starts_with("mark") ? to : "mark_" + to), start));
        std::erase_if(lines, [](const std::string& l) { return l.starts_with("setUserName "); });
        return lines;
    }
};

TEST_F(Bridge, ReachesEveryPageAndFrameAndCarriesAnyTextBothWays) {
    launchPage("case=bridge");
    std::size_t at = 0;
    const json ready = report("ready", 0, &at);
    EXPECT_EQ(ready["early"],
              json::parse(R"({"type":"object","ownKeys":["exec"],"forIn":["exec"],)"
                          R"("prototype":"null","execType":"function","windowNames":["zelPlugin"]})"));
    EXPECT_TRUE(ready["answered"]);

    // Broken argument texts read as missing arguments; a version that is no text is not stored.
    const std::string ignored =
        "putLocalVersion: ignored, expected a JSON object text with a text cacheVersion";
    std::vector<std::string> malformed(13, "ZelUserInfo (null) (null)");
    malformed.insert(malformed.end(), {"ZelUserInfo from toString x", ignored, ignored, ignored});
    EXPECT_THAT(logBetween("malformed", "sync"), ElementsAreArray(malformed));
    EXPECT_EQ(report("malformed"),
              json::parse(R"([{"id":"get","status":0,"result":)" + json(kEmptyVersion).dump() + "}]"));

    // Answers come inside exec, with the id as sent; a throwing callback breaks nothing.
    const json sync = report("sync");
    EXPECT_EQ(sync["returned"], "undefined");
    EXPECT_EQ(sync["answers"], json::parse(R"([{"id":"7","status":0,"result":)" + json(kEmptyVersion).dump() +
                                           R"(,"argc":3,"insideExec":true}])"));
    const json ids = report("ids");
    EXPECT_EQ(ids["back"], ids["sent"]);
    EXPECT_EQ(report("throwing"), json::parse(R"({"threw":false,"later":{"id":"t2","status":0}})"));

    // An unknown plugin is silent; an unknown method of a known one is logged; neither answers.
    const json silence = report("silence");
    EXPECT_THAT(logBetween("silence", "markAfter"), testing::IsEmpty());
    std::vector<std::string> unknown;
    for (const json& method : silence["methods"])
        unknown.push_back(unknownMethod(method, "cordovaAppUpdate"));
    EXPECT_THAT(
        nativeLog(expectLog(unknownMethod("markAfter")) + 1, expectLog(unknownMethod("mark_reentrant"))),
        ElementsAreArray(unknown));
    EXPECT_EQ(silence["answers"], json::array());

    EXPECT_THAT(report("reentrant").get<std::vector<std::string>>(),
                ElementsAre("exec1", "cb1", "exec2", "cb2", "exec3", "cb3", "exec4", "cb4", "exec5", "cb5",
                            "ret5", "ret4", "ret3", "ret2",
                            R"(read {"bundleVersion":"0.1.0","cacheVersion":"inside"})", "ret1"));

    const json hostile = report("hostile");
    EXPECT_EQ(hostile["wrong"], json::array());
    expectLog(unknownMethod("markDone"));
    std::string out;
    for (const std::string& line : app().lines()) out += line + "\n";
    for (const json& bytes : hostile["texts"]) {
        std::string text;
        for (const json& byte : bytes) text += static_cast<char>(byte.get<int>());
        EXPECT_NE(out.find("] ZelUserInfo " + text + " avatar:" + text + "\n"), std::string::npos) << text;
    }

    // Every frame has the bridge before its own scripts, and its answers go to its own callback.
    const json frames = report("frames");
    ASSERT_EQ(frames["frames"].size(), 4u) << frames;
    for (const json& frame : frames["frames"]) {
        SCOPED_TRACE(frame.dump());
        EXPECT_EQ(frame["ownKeys"], kOnlyExec);
        const std::string id = "frame-" + frame["name"].get<std::string>() + "-" + frame["depth"].dump();
        EXPECT_EQ(frame["answers"], json::array({json::array({id, 0, true})}));  // inside exec
    }
    EXPECT_EQ(frames["topAnswers"], json::array());

    // A page reached by navigation has it.
    const json second = report("ready", at + 1, &at);
    EXPECT_EQ(second["page"], "second.html");
    EXPECT_EQ(second["early"]["ownKeys"], kOnlyExec);

    // A web process that dies is replaced, and the page loaded again with the bridge.
    const std::string webProcesses = run({"pgrep", "-g", std::to_string(app().pid()), "WebKitWebProces"});
    ASSERT_FALSE(webProcesses.empty());
    const std::size_t from = at + 1;
    for (std::istringstream in(webProcesses); in >> at;) kill(static_cast<pid_t>(at), SIGKILL);
    const json reloaded = report("ready", expectLog("web process ended (crash); reloading", from) + 1);
    EXPECT_NE(reloaded["loadId"], second["loadId"]);
    EXPECT_EQ(reloaded["href"], second["href"]);
    EXPECT_EQ(reloaded["early"]["ownKeys"], kOnlyExec);
    EXPECT_TRUE(reloaded["answered"]);
}

}  // namespace
}  // namespace zel::test
