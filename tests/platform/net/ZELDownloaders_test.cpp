#include "core/cache/ZELQueueDownloader.h"
#include "core/support/TestSupport.h"
#include "platform/net/ZELSoupDownloaderFactory.h"
#include "platform/support/TestHTTPServer.h"

#include <gtest/gtest.h>

#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zel::platform {
namespace {

struct Received {
    std::string data;
    std::string url;
};

struct BodyRecorder : ZELAsyncDownloaderDelegate {
    void dataDownloadedForURLRequest(const std::string& data, const std::string& url) override {
        bodies.push_back({data, url});
    }
    std::vector<Received> bodies;
};

// Hands out a fixed list of addresses and records what comes back, and how often the end was seen.
struct ListFeeder : ZELQueueDownloaderDelegate {
    std::optional<std::string> queueNextURL() override {
        ++asked;
        if (urls.empty()) {
            ++ends;
            return std::nullopt;
        }
        std::string next = std::move(urls.front());
        urls.pop_front();
        return next;
    }
    void dataDownloadedForURL(const std::string& data, const std::string& url) override {
        bodies.push_back({data, url});
    }
    std::deque<std::string> urls;
    std::vector<Received> bodies;
    int asked = 0, ends = 0;
};

class DownloadersTest : public testing::Test {
  protected:
    test::TestHTTPServer server;
    test::LogCapture log;
    ZELSoupDownloaderFactory downloads{std::chrono::seconds(1)};
};

TEST_F(DownloadersTest, AnyStatusHandsOverTheWholeBody) {
    std::string big(300 * 1024, 'x');
    big.back() = 'y';
    server.serve("/big", big);
    server.serve("/missing", "<h1>Not Found</h1>", 404, "text/html");
    BodyRecorder recorder;
    downloads.startAsyncDownloader(server.url("/big?1"), recorder);
    downloads.startAsyncDownloader(server.url("/missing"), recorder);
    ASSERT_TRUE(test::runUntil([&] { return recorder.bodies.size() == 2; }));
    std::sort(recorder.bodies.begin(), recorder.bodies.end(),
              [](const Received& a, const Received& b) { return a.url < b.url; });
    EXPECT_EQ(recorder.bodies[0].url, server.url("/big?1"));
    EXPECT_EQ(recorder.bodies[0].data, big);
    EXPECT_EQ(recorder.bodies[1].data, "<h1>Not Found</h1>");
    EXPECT_EQ(downloads.runningCount(), 0u);

    // Every cache is bypassed on the way.
    ASSERT_EQ(server.requests().size(), 2u);
    EXPECT_EQ(server.requests()[0].headers.at("Cache-Control"), "no-cache");
    EXPECT_EQ(log.lines.front(), "download " + server.url("/big?1"));
}

TEST_F(DownloadersTest, FailedTransfersHandOverNothing) {
    server.dropMidBody("/dropped", "only a part", 1000);
    server.stall("/silent");
    BodyRecorder recorder;
    downloads.startAsyncDownloader(server.url("/dropped"), recorder);
    downloads.startAsyncDownloader(server.url("/silent"), recorder);
    downloads.startAsyncDownloader("http://127.0.0.1:1/refused", recorder);
    downloads.startAsyncDownloader("not a url", recorder);
    ASSERT_TRUE(test::runUntil([&] { return downloads.runningCount() == 0; }));
    EXPECT_TRUE(recorder.bodies.empty());
    for (const char* url : {"/dropped", "/silent"}) {
        const std::string prefix = "download failed " + server.url(url) + ": ";
        EXPECT_TRUE(std::any_of(log.lines.begin(), log.lines.end(), [&](const std::string& line) {
            return line.starts_with(prefix);
        })) << url;
    }
}

TEST_F(DownloadersTest, ADestroyedFactoryNeverCallsBack) {
    server.hold("/late");
    BodyRecorder recorder;
    auto factory = std::make_unique<ZELSoupDownloaderFactory>();
    factory->startAsyncDownloader(server.url("/late"), recorder);
    ASSERT_TRUE(test::runUntil([&] { return server.heldCount("/late") == 1; }));
    factory.reset();
    server.serve("/late", "too late");
    server.release("/late");
    ASSERT_TRUE(test::runUntil([&] { return server.heldCount("/late") == 0; }));
    for (int i = 0; i < 20; ++i) g_main_context_iteration(nullptr, FALSE);
    EXPECT_TRUE(recorder.bodies.empty());
}

TEST_F(DownloadersTest, AQueueFetchesStrictlyOneAfterAnother) {
    ListFeeder feeder;
    for (int i = 0; i < 6; ++i) {
        const std::string path = "/f" + std::to_string(i);
        server.serve(path, "body " + std::to_string(i));
        feeder.urls.push_back(server.url(path));
    }
    ZELQueueDownloader queue(downloads);
    queue.setDelegate(&feeder);
    queue.start();
    ASSERT_TRUE(test::runUntil([&] { return feeder.ends == 1; }));
    ASSERT_EQ(feeder.bodies.size(), 6u);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(feeder.bodies[i].data, "body " + std::to_string(i));
        EXPECT_EQ(server.requests()[i].path, "/f" + std::to_string(i));
        // The next file is asked for only once the previous answer has been written completely.
        EXPECT_GE(server.requests()[i].answersFinishedBefore, i);
    }
    EXPECT_EQ(feeder.asked, 7);
    EXPECT_EQ(log.lines.back(), "start (null)");
}

TEST_F(DownloadersTest, AnEmptyQueueFetchesNothingAndAFailureEndsTheRun) {
    ListFeeder empty;
    ZELQueueDownloader idle(downloads);
    idle.setDelegate(&empty);
    idle.start();
    EXPECT_EQ(log.lines, std::vector<std::string>{"start (null)"});
    EXPECT_EQ(downloads.runningCount(), 0u);

    ListFeeder feeder;
    server.serve("/a", "a");
    server.dropMidBody("/b", "b", 10);
    server.serve("/c", "c");
    feeder.urls = {server.url("/a"), server.url("/b"), server.url("/c")};
    ZELQueueDownloader queue(downloads);
    queue.setDelegate(&feeder);
    queue.start();
    ASSERT_TRUE(test::runUntil([&] { return server.count("/b") == 1 && downloads.runningCount() == 0; }));
    EXPECT_EQ(feeder.bodies.size(), 1u);
    EXPECT_EQ(feeder.asked, 2);  // never asked again after the failure
    EXPECT_EQ(feeder.ends, 0);
    EXPECT_EQ(server.count("/c"), 0u);
}

}  // namespace
}  // namespace zel::platform
