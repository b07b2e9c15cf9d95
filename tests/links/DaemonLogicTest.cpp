#include "foundation/ManualMainQueue.h"
#include "links/CVBDaemonConnection.h"
#include "links/DaemonRequests.h"
#include "support/TemporaryDirectory.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>

namespace corvane {
namespace {

struct RecordingListener final : CVBDaemonListener {
    void processesUpdated(const Value& response) override { heard.push_back(response); }
    std::vector<Value> heard;
};

// The connection without a bus: everything it decides by itself.
class DaemonConnectionLogic : public ::testing::Test {
protected:
    DaemonConnectionLogic()
        : connection({queue, nullptr, center, [](const std::string&) { return Value(); },
                      [this](long pid) -> std::optional<Value> {
                          ++lookups;
                          if (pid == 404)
                              return std::nullopt; // no such process
                          if (pid == 500)
                              return Value(); // a failed lookup
                          return Value::dict({{"name", Value("app")}});
                      },
                      [this](const std::string& path) {
                          ++iconLookups;
                          return "icon-of-" + path;
                      }}) {}

    ManualMainQueue queue;
    NotificationCenter center;
    int lookups = 0;
    int iconLookups = 0;
    CVBDaemonConnection connection;
};

TEST(DaemonTimerFrequency, GivesTheSecondsBetweenAnswers) {
    const std::pair<std::int64_t, long> table[] = {{0, 6}, {1, 3}, {2, 2}, {3, 1}, {-1, 1}, {9, 1}};
    for (const auto& [frequency, interval] : table)
        EXPECT_EQ(CVBDaemonConnection::intervalForTimerFrequency(frequency), interval) << frequency;
}

TEST_F(DaemonConnectionLogic, ResponsesAreStoredByTypeAndToldToEachRegistration) {
    RecordingListener cpu, disks;
    connection.addListener(&cpu, 1);
    connection.addListener(&cpu, 1); // twice: told twice
    connection.addListener(nullptr, 1);
    connection.addListener(&disks, 32);

    connection.daemonResponse(Value::dict({{"type", Value("1")}, {"n", Value(1)}}));
    connection.daemonResponse(Value::dict({{"type", Value("7")}, {"n", Value(2)}}));
    EXPECT_EQ(cpu.heard.size(), 2u);
    EXPECT_TRUE(disks.heard.empty());
    // Nobody asked for 7, and it is kept all the same.
    EXPECT_EQ(connection.storageForKey(7)["n"].integerValue(), 2);
    EXPECT_EQ(connection.storageForKey(1)["n"].integerValue(), 1);
    EXPECT_TRUE(connection.storageForKey(32).isNull());

    connection.cleanup();
    connection.daemonResponse(Value::dict({{"type", Value("1")}}));
    EXPECT_EQ(cpu.heard.size(), 2u);
    EXPECT_FALSE(connection.autoReconnect());
}

TEST_F(DaemonConnectionLogic, ApplicationInformationCachesFailuresButNotMissingProcesses) {
    EXPECT_EQ(connection.lsInforForPid(12)["name"].string(), "app");
    EXPECT_EQ(connection.lsInforForPid(12)["name"].string(), "app");
    EXPECT_EQ(lookups, 1);

    EXPECT_TRUE(connection.lsInforForPid(500).empty());
    EXPECT_TRUE(connection.lsInforForPid(500).empty());
    EXPECT_EQ(lookups, 2); // the failure was remembered

    EXPECT_TRUE(connection.lsInforForPid(404).empty());
    EXPECT_TRUE(connection.lsInforForPid(404).empty());
    EXPECT_EQ(lookups, 4); // no process, nothing remembered

    connection.clearLsInfoCache();
    connection.lsInforForPid(500);
    EXPECT_EQ(lookups, 5);

    EXPECT_EQ(connection.iconForFile("/a"), "icon-of-/a");
    connection.iconForFile("/a");
    EXPECT_EQ(iconLookups, 1);
    connection.clearIconCache();
    connection.iconForFile("/a");
    EXPECT_EQ(iconLookups, 2);
}

TEST_F(DaemonConnectionLogic, TheFrozenCacheLivesExactlyFiveSeconds) {
    connection.checkFrozenCache(); // long past 1970: cleared now
    const double cleared = connection.frozenCacheTime();
    EXPECT_EQ(cleared, queue.now());
    queue.advance(5.0);
    connection.checkFrozenCache();
    EXPECT_EQ(connection.frozenCacheTime(), cleared);
    queue.advance(0.001);
    connection.checkFrozenCache();
    EXPECT_GT(connection.frozenCacheTime(), cleared);
    EXPECT_FALSE(connection.isProcessFrozen(1));
}

// Process requests on a /proc of one process, on virtual time.
class ProcessRequests : public ::testing::Test {
protected:
    ProcessRequests() {
        std::filesystem::create_directories(dir / "proc/7");
        std::ofstream(dir / "proc/7/stat") << "7 (seven) S 1 1 1 0 -1 0 0 0 0 0 1 1 0 0 20 0 1 0 "
                                              "5 1000 25 0\n";
    }
    test::TemporaryDirectory dir;
    ManualMainQueue queue;
    const DesktopEntries entries{{}};
    std::vector<std::pair<std::string, Value>> sent;
    DaemonRequests requests{queue, SysRoot(dir.path()), entries,
                            [this](const std::string& client, const Value& response) {
                                sent.emplace_back(client, response);
                            }};
};

TEST_F(ProcessRequests, AnswerAtTheirIntervalUntilStopped) {
    requests.start(":1.5", 1, 3);
    requests.start(":1.6", 4, 0); // below a second: every second
    queue.advance(2.9);
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].first, ":1.6");
    queue.advance(0.1);
    ASSERT_EQ(sent.size(), 4u);
    const auto first = std::find_if(sent.begin(), sent.end(),
                                    [](const auto& item) { return item.first == ":1.5"; });
    ASSERT_NE(first, sent.end());
    EXPECT_EQ(first->second["type"].string(), "1");
    EXPECT_EQ(first->second["processes"][0]["name"].string(), "seven");

    requests.start(":1.5", 1, 1); // again: replaces, does not add
    requests.stopClient(":1.6");
    sent.clear();
    queue.advance(3);
    EXPECT_EQ(sent.size(), 3u);
    requests.stop(":1.5", 1);
    queue.advance(3);
    EXPECT_EQ(sent.size(), 3u);
    EXPECT_EQ(requests.count(), 0u);
    EXPECT_EQ(queue.pendingCount(), 0u); // an idle daemon has nothing waiting to wake it
}

} // namespace
} // namespace corvane
