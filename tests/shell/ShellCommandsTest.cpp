#include "SectionFixture.h"
#include "foundation/Log.h"
#include "foundation/PropertyList.h"
#include "shell/SectionCommands.h"
#include "support/RunningProgram.h"

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <sstream>
#include <thread>

using testing::HasSubstr;

using namespace corvane;

namespace {

class Commands : public test::SectionFixture {
protected:
    void SetUp() override {
        SectionFixture::SetUp();
        storeOrder(Value::array({9, 1}));
    }
    SectionCommands commands() { return SectionCommands(*manager, out, err); }

    std::ostringstream out;
    std::ostringstream err;
};

TEST_F(Commands, ListsEverySectionWithItsKeyAndState) {
    CVBSetObjectForKey(Value::array({Value::dict({{"key", 3}})}), "CombinedMenubarDisplayMode");
    CVBSetObjectForKey(Value::array(), "CombinedDropdownDisplayMode");
    storeOrder(Value::array({8, 1}));
    EXPECT_EQ(commands().list(), 0);
    EXPECT_EQ(out.str(), "Global           general         -1  -\n"
                         "Notifications    notifications   -1  rules on\n"
                         "Weather          weather          9  off\n"
                         "CPU & GPU        cpu              1  on\n"
                         "Memory           memory           2  off\n"
                         "Disks            disks            3  in Combined\n"
                         "Network          network          4  off\n"
                         "Sensors          sensors          5  off\n"
                         "Battery & Power  battery          6  off\n"
                         "Time             time             7  off\n"
                         "Combined         combined         8  on\n");

    // The rules' switch, not a panel item: told apart from the panel items' on and off.
    out.str("");
    EXPECT_EQ(commands().setEnabled("notifications", false), 0);
    EXPECT_EQ(out.str(), "Notifications: rules are off\n");
    EXPECT_EQ(CVBObjectForKey("Notifications-Enabled"), Value(false));
    manager->refreshAllSections();
    out.str("");
    commands().list();
    EXPECT_THAT(out.str(), HasSubstr("Notifications    notifications   -1  rules off\n"));
}

// The switch's own work (order, posts) is proven on the sections; here, what each command says.
TEST_F(Commands, OnAndOffWorkAsTheSwitchAndSayWhatMoved) {
    auto c = commands();
    EXPECT_EQ(c.setEnabled("cpu", false), 0);
    EXPECT_EQ(c.setEnabled("memory", true), 0);
    EXPECT_EQ(c.setEnabled("memory", true), 0);
    EXPECT_EQ(storedOrder(), Value::array({2, 9}));
    EXPECT_EQ(posts.names,
              (std::vector<std::string>{"CorvaneBarDisableStatusItem", "CorvaneBarEnableStatusItem",
                                        "CorvaneBarEnableStatusItem"}));
    EXPECT_EQ(c.setEnabled("combined", true), 0);
    EXPECT_EQ(storedOrder(), Value::array({8, 9}));
    EXPECT_EQ(c.setEnabled("combined", false), 0);
    EXPECT_EQ(storedOrder(), Value::array({1, 2, 3, 4, 5, 9}));
    EXPECT_EQ(out.str(),
              "CPU & GPU is off\nMemory is on\nMemory is on\n"
              "Combined is on\n"
              "Now inside Combined: CPU & GPU, Memory, Disks, Network, Sensors\n"
              "Combined is off\n"
              "Back as items of their own: CPU & GPU, Memory, Disks, Network, Sensors\n");
    EXPECT_TRUE(err.str().empty());
}

TEST_F(Commands, ASwitchThatCannotBeStoredFailsSaysWhyAndTellsNoOne) {
    installUnwritable();
    LogCapture quiet;
    auto c = commands();
    EXPECT_EQ(c.setEnabled("weather", true), 1);
    EXPECT_EQ(c.setEnabled("notifications", false), 1);
    EXPECT_TRUE(posts.names.empty());
    EXPECT_TRUE(out.str().empty()) << out.str();
    EXPECT_THAT(err.str(), HasSubstr("corvanebar on: could not switch Weather on: Cannot write"));
    EXPECT_THAT(err.str(), HasSubstr("corvanebar off: could not switch Notifications off: "));
    // The switches show what is stored.
    EXPECT_FALSE(manager->weather()->sourceItem().toggle.on);
    EXPECT_TRUE(manager->notifications()->sourceItem().toggle.on);
}

TEST_F(Commands, RefusesWhatTheWindowWouldNotAllow) {
    auto c = commands();
    EXPECT_EQ(c.setEnabled("gpu", true), 2);
    EXPECT_THAT(err.str(),
                HasSubstr("no section \"gpu\"; one of: general, notifications, weather"));
    EXPECT_EQ(c.setEnabled("general", true), 2);
    EXPECT_THAT(err.str(), HasSubstr("Global has no panel item"));

    CVBSetObjectForKey(Value::array(), "CombinedMenubarDisplayMode");
    CVBSetObjectForKey(Value::array({Value::dict({{"key", 4}})}), "CombinedDropdownDisplayMode");
    EXPECT_EQ(c.setEnabled("combined", true), 0);
    EXPECT_EQ(c.setEnabled("network", true), 1);
    EXPECT_THAT(err.str(), HasSubstr("Network is shown inside Combined"));
    EXPECT_EQ(storedOrder(), Value::array({8, 9, 1}));
}

TEST_F(Commands, OpenNamesTheSectionsItCanOpenAndNeedsABus) {
    auto c = commands();
    EXPECT_EQ(c.open("combined"), 2);
    EXPECT_THAT(err.str(),
                HasSubstr("one of: weather, cpu, memory, disks, network, sensors, battery, "
                          "time"));
    EXPECT_EQ(c.open("weather"), 1);
    EXPECT_THAT(err.str(),
                HasSubstr("no session bus, so no settings window can be asked to open Weather"));
    EXPECT_TRUE(posts.names.empty());
    EXPECT_TRUE(out.str().empty());
}

// The built program, run as a user would, heard on the session bus.
TEST(CorvanebarProgram, SwitchesAndMenuTogglesPostToTheSessionBus) {
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        GTEST_SKIP() << "no session bus; run the tests under dbus-run-session";
    test::TemporaryDirectory config;
    const std::vector<std::string> expected{
        "CorvaneBarEnableStatusItem", "CorvaneBarDisableStatusItem", "CorvaneBar-Open-Battery",
        "CorvaneBarGlobalDisplayChange"};
    DistributedNotificationCenter center(bus);
    std::vector<std::string> heard;
    std::vector<Observation> observations;
    for (const auto& name : expected)
        observations.push_back(
            center.addObserver(name, [&](const Notification& n) { heard.push_back(n.name); }));

    std::string printed;
    for (const std::vector<std::string>& command : {std::vector<std::string>{"on", "cpu"},
                                                    {"off", "cpu"},
                                                    {"open", "battery"},
                                                    {"menu", "toggle", "Combine Processes"}}) {
        test::RunningProgram run(command, {}, config.path());
        ASSERT_EQ(run.finish(), 0) << command.front() << ": " << run.errorText();
        printed += run.outputText();
    }
    EXPECT_EQ(printed.rfind("CPU & GPU is on\nCPU & GPU is off\n"
                            "Asked the settings window to open Battery & Power\n",
                            0),
              0u)
        << printed;
    EXPECT_TRUE(printed.ends_with("[ ] Combine Processes\n")) << printed;

    test::runMainContextUntil([&] { return heard.size() >= expected.size(); }, 20);
    EXPECT_EQ(heard, expected);
    const Value stored =
        readPropertyListFile(config / "corvanebar" / "com.halvorn.corvanebar6.extras.plist");
    ASSERT_TRUE(stored["StatusItems-Order"].isArray()) << stored;
    for (const Value& key : stored["StatusItems-Order"].arrayItems())
        EXPECT_NE(key.integerValue(), 1);
    EXPECT_EQ(stored["ProcessesCombine"], Value(false)) << stored;
    g_object_unref(bus);
}

// Three programs switching their own sections at the same time keep each other's switches.
TEST(CorvanebarProgram, SwitchesOfSeveralProgramsAtOnceAreAllKept) {
    test::TemporaryDirectory config;
    const auto file = config.path() / "corvanebar" / "com.halvorn.corvanebar6.extras.plist";
    PreferenceDomain start(kExtrasDomain, file);
    start.setValue("StatusItems-Order", Value::array({1, 2, 3}));
    ASSERT_TRUE(start.synchronize());
    auto itemIsOn = [&](std::int64_t key) {
        const Value stored = readPropertyListFile(file);
        for (const Value& item : stored["StatusItems-Order"].arrayItems())
            if (item.integerValue() == key)
                return true;
        return false;
    };

    std::mutex mutex;
    std::vector<std::string> problems;
    auto switchOnAndOff = [&](std::string name, std::int64_t key) {
        bool on = false;
        for (int i = 0; i < 100; ++i) {
            // Only this thread switches this item: any other state is a lost switch.
            const bool lost = itemIsOn(key) != on;
            on = !on;
            test::RunningProgram run({on ? "on" : "off", name}, {}, config.path());
            const bool failed = run.finish() != 0;
            if (lost || failed) {
                std::lock_guard guard(mutex);
                problems.push_back(name + " before switch " + std::to_string(i) +
                                   (lost ? ": lost" : ": failed"));
            }
        }
    };
    std::vector<std::thread> programs;
    for (const auto& [name, key] : {std::pair{"battery", 6}, {"time", 7}, {"weather", 9}})
        programs.emplace_back(switchOnAndOff, name, key);
    for (auto& program : programs)
        program.join();
    EXPECT_TRUE(problems.empty()) << problems.size() << " problems, the first: " << problems[0];
    EXPECT_EQ(readPropertyListFile(file)["StatusItems-Order"], Value::array({1, 2, 3}));
}

} // namespace
