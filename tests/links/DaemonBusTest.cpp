#include "DaemonProcess.h"
#include "corvane/BuildInfo.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Log.h"
#include "links/CVBDaemonConnection.h"
#include "links/DaemonNames.h"
#include "links/DaemonProbe.h"
#include "links/ServiceClient.h"
#include "support/FakeDBusService.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <gtest/gtest.h>

namespace corvane {
namespace {

using Clock = std::chrono::steady_clock;
using test::runMainContextFor;
using test::runMainContextUntil;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Answer {
    VariantRef reply;
    std::string error; // the D-Bus error's name
};

Answer callWithError(GDBusConnection* bus, const char* method, GVariant* parameters) {
    GError* error = nullptr;
    Answer answer{VariantRef(g_dbus_connection_call_sync(
                      bus, daemon::kBusName, daemon::kObjectPath, daemon::kInterface, method,
                      parameters, nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, &error)),
                  {}};
    if (error) {
        answer.error = takeGString(g_dbus_error_get_remote_error(error));
        g_error_free(error);
    }
    return answer;
}

struct Listener final : CVBDaemonListener {
    void processesUpdated(const Value& response) override {
        times.push_back(Clock::now());
        responses.push_back(response);
    }
    std::vector<Clock::time_point> times;
    std::vector<Value> responses;
};

class DaemonOnTheBus : public ::testing::Test {
protected:
    void SetUp() override {
        if (!bus)
            GTEST_SKIP() << "no session bus; run under dbus-run-session";
    }
    std::unique_ptr<CVBDaemonConnection> client(Value timerFrequency = Value(3)) {
        return std::make_unique<CVBDaemonConnection>(CVBDaemonConnection::Environment{
            queue,
            bus.get(),
            center,
            [timerFrequency](const std::string& key) {
                return key == "TimerFrequency" ? timerFrequency : Value();
            },
            {},
            {}});
    }

    GObjectRef<GDBusConnection> bus =
        GObjectRef<GDBusConnection>::adopt(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    GLibMainQueue queue;
    NotificationCenter center;
};

TEST_F(DaemonOnTheBus, AClientFindsARestartedDaemonAndIsToldOnce) {
    int statusChanges = 0;
    auto observation =
        center.addObserver(CVBDaemonConnection::kStatusChanged, [&](auto&) { ++statusChanges; });
    test::DaemonProcess daemon;
    ASSERT_TRUE(daemon.start(bus.get())) << daemon.log();
    auto connection = client();
    connection->checkForExistance();
    ASSERT_TRUE(runMainContextUntil([&] { return connection->exists(); }, 5));

    // What `corvanebar daemon status` prints of it, up and down.
    const std::string running = daemonStatusLine(probeDaemon(bus.get(), 2000), "session");
    EXPECT_TRUE(running.starts_with("running, version 6.")) << running;
    EXPECT_TRUE(running.ends_with(" " + std::to_string(build::kBuildNumber))) << running;

    EXPECT_TRUE(WIFEXITED(daemon.stop()));
    ASSERT_TRUE(runMainContextUntil([&] { return !connection->exists(); }, 5));
    EXPECT_FALSE(connection->isConnected());
    EXPECT_EQ(daemonStatusLine(probeDaemon(bus.get(), 2000), "session"),
              "not running: no answer on the session bus");

    ASSERT_TRUE(daemon.start(bus.get())) << daemon.log();
    const auto reappeared = Clock::now();
    ASSERT_TRUE(runMainContextUntil([&] { return connection->exists(); }, 5));
    EXPECT_LE(secondsSince(reappeared), 2.5);
    runMainContextFor(0.2);
    EXPECT_EQ(statusChanges, 1);
}

TEST_F(DaemonOnTheBus, WithoutADaemonSendsReturnAtOnceAndNoReplyRuns) {
    ASSERT_FALSE(test::nameHasOwner(bus.get(), daemon::kBusName));
    // Wall time on a busy machine includes the scheduler's pauses; code that waits shows in
    // every round, a pause in one at most, so the best round is what the code costs.
    double slowest = 1, longestTurn = 1;
    bool replied = false;
    for (int round = 0; round < 3; ++round) {
        auto connection = client();
        connection->connectIfNeeded();
        const std::vector<std::function<void()>> sends{
            [&] { connection->version([&](double, long long) { replied = true; }); },
            [&] { connection->fps([&](double) { replied = true; }); },
            [&] { connection->stopT2Fans([&](const Value&) { replied = true; }); },
            [&] { connection->setT2SafetyTemperature(60); },
            [&] { connection->startProcessesWithKey(1); },
            [&] { connection->checkForExistance(); },
        };
        double roundSlowest = 0, roundLongest = 0;
        for (const auto& send : sends) {
            const auto start = Clock::now();
            send();
            roundSlowest = std::max(roundSlowest, secondsSince(start));
        }
        // The loop goes on turning, and no reply ever comes. Only turns that ran something
        // can have waited in this code.
        const auto end = Clock::now() + std::chrono::milliseconds(200);
        while (Clock::now() < end) {
            const auto start = Clock::now();
            if (g_main_context_iteration(nullptr, FALSE))
                roundLongest = std::max(roundLongest, secondsSince(start));
        }
        slowest = std::min(slowest, roundSlowest);
        longestTurn = std::min(longestTurn, roundLongest);
        EXPECT_FALSE(connection->exists());
    }
    EXPECT_LT(slowest, 0.010);
    EXPECT_LT(longestTurn, 0.010);
    EXPECT_FALSE(replied);
}

TEST_F(DaemonOnTheBus, ProcessesByCPUArriveEverySecondAndHoldThisProcess) {
    test::DaemonProcess daemon;
    ASSERT_TRUE(daemon.start(bus.get())) << daemon.log();
    // Another process on the bus listening for every answer of the daemon hears none of them.
    auto bystander = test::privateSessionConnection();
    std::atomic<int> overheard = 0;
    const guint subscription = g_dbus_connection_signal_subscribe(
        bystander.get(), nullptr, daemon::kInterface, daemon::kResponseSignal, nullptr, nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
           gpointer count) { ++*static_cast<std::atomic<int>*>(count); },
        &overheard, nullptr);
    auto connection = client(Value(3));
    Listener listener;
    connection->addListener(&listener, daemon::kProcessesByCPU);
    connection->connectIfNeeded();
    connection->startProcessesWithKey(daemon::kProcessesByCPU);
    ASSERT_TRUE(runMainContextUntil([&] { return listener.times.size() >= 3; }, 6)) << daemon.log();
    for (std::size_t i = 1; i < listener.times.size(); ++i) {
        const double gap =
            std::chrono::duration<double>(listener.times[i] - listener.times[i - 1]).count();
        EXPECT_NEAR(gap, 1.0, 0.1) << i;
    }
    const Value& last = listener.responses.back();
    EXPECT_EQ(last["type"].string(), "1");
    const auto& rows = last["processes"].arrayItems();
    const auto self = std::find_if(rows.begin(), rows.end(), [](const Value& row) {
        return row["pid"].integerValue() == ::getpid();
    });
    ASSERT_NE(self, rows.end());
    EXPECT_FALSE((*self)["path"].stringValue().empty());
    EXPECT_EQ(connection->storageForKey(1)["type"].string(), "1");
    EXPECT_EQ(overheard, 0);
    g_dbus_connection_signal_unsubscribe(bystander.get(), subscription);

    connection->stopProcessesWithKey(daemon::kProcessesByCPU);
    runMainContextFor(0.1);
    const std::size_t heard = listener.times.size();
    runMainContextFor(1.2);
    EXPECT_EQ(listener.times.size(), heard);
}

TEST_F(DaemonOnTheBus, BadInputIsRefusedAndOthersAreStillServed) {
    test::DaemonProcess daemon;
    ASSERT_TRUE(daemon.start(bus.get())) << daemon.log();

    struct Case {
        const char* method;
        GVariant* parameters;
        const char* error;  // empty: answered
        const char* logged; // a line the daemon wrote
    };
    GVariantBuilder pids;
    g_variant_builder_init(&pids, G_VARIANT_TYPE("ax"));
    for (gint64 pid = 1; pid <= 5000; ++pid)
        g_variant_builder_add(&pids, "x", pid);
    GVariantBuilder nested;
    g_variant_builder_init(&nested, G_VARIANT_TYPE("av"));
    for (int i = 0; i < 3000; ++i)
        g_variant_builder_add(&nested, "v", g_variant_new("(ss)", "a", "b"));
    const Case cases[] = {
        {"startRequestWithKey", g_variant_new("(ss)", "1", "1"),
         "org.freedesktop.DBus.Error.InvalidArgs", "has arguments (ss), not (xx)"},
        {"infoForPids", g_variant_new("(ax)", &pids), "org.freedesktop.DBus.Error.InvalidArgs",
         "more than 4096 members"},
        // Each member holds two more: counted inside, not only at the top.
        {"sensors", g_variant_new("(av)", &nested), "org.freedesktop.DBus.Error.InvalidArgs",
         "sensors from"},
        {"supportedSensors", g_variant_new_parsed("([<'odd'>, <{'key': <3>}>, <@ay []>],)"), "",
         ""},
        {"startRequestWithKey", g_variant_new("(xx)", gint64{5}, gint64{-3}), "",
         "every -3 s; sampling every second"},
    };
    for (const Case& c : cases) {
        const Answer answer = callWithError(bus.get(), c.method, c.parameters);
        EXPECT_EQ(answer.error, c.error) << c.method;
        EXPECT_EQ(static_cast<bool>(answer.reply), *c.error == '\0') << c.method;
    }
    // A client that asks for answers and goes away at once.
    {
        auto leaving = test::privateSessionConnection();
        ASSERT_TRUE(leaving);
        callWithError(leaving.get(), "startRequestWithKey",
                      g_variant_new("(xx)", gint64{1}, gint64{1}));
        g_dbus_connection_close_sync(leaving.get(), nullptr, nullptr);
    }
    EXPECT_TRUE(runMainContextUntil(
        [&] { return daemon.log().find("left; its requests") != std::string::npos; }, 3))
        << daemon.log();
    for (const Case& c : cases)
        EXPECT_NE(daemon.log().find(c.logged), std::string::npos) << c.logged;
    EXPECT_TRUE(probeDaemon(bus.get(), 2000)) << "the daemon still answers";
}

// The firmware's serial through the daemon, and no readings for keys the machine lacks.
TEST_F(DaemonOnTheBus, UsersGetTheSerialThroughTheDaemon) {
    test::TemporaryDirectory tree;
    std::filesystem::create_directories(tree / "sys/class/dmi/id");
    std::ofstream(tree / "sys/class/dmi/id/product_serial") << "C02XYZ\n";
    {
        test::DaemonProcess daemon({"--sysroot", tree.path().string()});
        ASSERT_TRUE(daemon.start(bus.get())) << daemon.log();
        EXPECT_EQ(daemonMachineSerial(bus.get(), 2000), "C02XYZ");
        const auto readings = daemonKeyReadings(bus.get(), {"TC0D"}, 2000);
        ASSERT_TRUE(readings);
        EXPECT_TRUE(readings->empty()) << *readings;
    }
    EXPECT_FALSE(daemonMachineSerial(bus.get(), 2000)); // none running
}

// The polkit authority as the daemon asks it, played by the test: allows only while `allow`.
class DaemonWithAuthority : public DaemonOnTheBus {
protected:
    void SetUp() override {
        DaemonOnTheBus::SetUp();
        if (IsSkipped())
            return;
        authority.onMethod("CheckAuthorization", [this](const test::FakeDBusService::Call&) {
            return test::FakeDBusService::Reply(
                g_variant_new_parsed("((%b, false, @a{ss} {}),)", allow.load()));
        });
        ASSERT_TRUE(authority.start());
    }

    std::atomic<bool> allow = false;
    test::FakeDBusService authority{
        "org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
        R"xml(<node><interface name="org.freedesktop.PolicyKit1.Authority">
  <method name="CheckAuthorization">
    <arg type="(sa{sv})" direction="in"/><arg type="s" direction="in"/>
    <arg type="a{ss}" direction="in"/><arg type="u" direction="in"/>
    <arg type="s" direction="in"/><arg type="(bba{ss})" direction="out"/>
  </method></interface></node>)xml"};
};

TEST_F(DaemonWithAuthority, ADeniedCallerChangesNothing) {
    test::DaemonProcess daemon;
    ASSERT_TRUE(daemon.start(bus.get())) << daemon.log();
    const std::string self = g_dbus_connection_get_unique_name(bus.get());

    struct Case {
        const char* method;
        GVariant* parameters;
        const char* action;
    };
    const Case cases[] = {
        {"setT2SafetyTemperature", g_variant_new("(d)", 70.0), daemon::kActionFans},
        {"setT2FanConfig", g_variant_new_parsed("({'fan': <1>},)"), daemon::kActionFans},
        {"refreshDHCP", g_variant_new("(s)", "eth0"), daemon::kActionNetwork},
    };
    // What the daemon carried out, as its log tells.
    const auto carriedOut = [&] {
        const std::string log = daemon.log();
        int count = 0;
        for (auto at = log.find(" accepted;"); at != std::string::npos;
             at = log.find(" accepted;", at + 1))
            ++count;
        return count;
    };
    int expected = 0;
    for (const Case& c : cases) {
        allow = false;
        g_variant_ref_sink(c.parameters);
        const Answer denied = callWithError(bus.get(), c.method, c.parameters);
        EXPECT_EQ(denied.error, daemon::kErrorNotAuthorized) << c.method;
        EXPECT_EQ(carriedOut(), expected) << "a denied " << c.method << " was carried out";
        allow = true;
        const Answer allowed = callWithError(bus.get(), c.method, c.parameters);
        g_variant_unref(c.parameters);
        EXPECT_EQ(allowed.error, "") << c.method;
        EXPECT_EQ(carriedOut(), ++expected) << daemon.log();
        const auto asked = authority.arguments("CheckAuthorization");
        ASSERT_FALSE(asked.empty());
        EXPECT_NE(asked.back().find(self), std::string::npos) << asked.back();
        EXPECT_NE(asked.back().find(c.action), std::string::npos) << asked.back();
    }
}

// The status program and the agent, played by the test.
TEST_F(DaemonOnTheBus, TheSessionClientsReachTheirServicesAndNoticeThemLeave) {
    const char* xml = R"xml(<node><interface name="%s">
  <method name="version"><arg type="d" direction="out"/><arg type="x" direction="out"/></method>
  <method name="deleteDatabase"/>
  <method name="processNotification"><arg type="a{sv}" direction="in"/></method>
</interface></node>)xml";
    const auto service = [&](const char* name) {
        std::string path = std::string("/") + name; // "/com/halvorn/corvanebarstatus"
        std::replace(path.begin(), path.end(), '.', '/');
        auto fake = std::make_unique<test::FakeDBusService>(
            name, path, takeGString(g_strdup_printf(xml, name)));
        fake->onMethod("version", [](const test::FakeDBusService::Call&) {
            return test::FakeDBusService::Reply(g_variant_new("(dx)", 6.5, gint64{42}));
        });
        return fake;
    };
    auto status = service("com.halvorn.corvanebarstatus");
    auto agent = service("com.halvorn.corvanebaragent");
    ASSERT_TRUE(status->start() && agent->start());

    CVBStatusItemClient statusClient(bus.get());
    CVBNotificationClient agentClient(bus.get());
    double version = 0;
    bool deleted = false;
    statusClient.version([&](double number, long long) { version = number; });
    statusClient.deleteDatabase([&] { deleted = true; });
    agentClient.sendNotification(Value::dict({{"rule", Value("cpu")}}));
    EXPECT_TRUE(runMainContextUntil([&] { return version == 6.5 && deleted; }, 3));
    EXPECT_TRUE(runMainContextUntil([&] { return agent->calls("processNotification") == 1; }, 3));
    EXPECT_NE(agent->arguments("processNotification")[0].find("'rule': <'cpu'>"),
              std::string::npos);

    LogCapture log;
    status->stop();
    EXPECT_TRUE(runMainContextUntil([&] { return !statusClient.isConnected(); }, 3));
    EXPECT_TRUE(log.contains("interruptionHandler = com.halvorn.corvanebarstatus"));
    EXPECT_TRUE(agentClient.isConnected());
}

} // namespace
} // namespace corvane
