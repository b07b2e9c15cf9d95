#include "CorvanebarProgram.h"
#include "SectionFixture.h"
#include "foundation/PropertyList.h"
#include "shell/SectionCommands.h"

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <sstream>

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
    EXPECT_NE(out.str().find("Notifications    notifications   -1  rules off\n"), std::string::npos)
        << out.str();
}

TEST_F(Commands, OnAndOffWorkAsTheSwitchAndTellTheOtherProcesses) {
    auto c = commands();
    EXPECT_EQ(c.setEnabled("memory", true), 0);
    EXPECT_EQ(storedOrder(), Value::array({2, 9, 1}));
    EXPECT_EQ(c.setEnabled("cpu", false), 0);
    EXPECT_EQ(storedOrder(), Value::array({2, 9}));
    EXPECT_EQ(c.setEnabled("memory", true), 0);
    EXPECT_EQ(storedOrder(), Value::array({2, 9}));
    EXPECT_EQ(posts.names,
              (std::vector<std::string>{"CorvaneBarEnableStatusItem", "CorvaneBarDisableStatusItem",
                                        "CorvaneBarEnableStatusItem"}));
    EXPECT_EQ(out.str(), "Memory is on\nCPU & GPU is off\nMemory is on\n");
    EXPECT_TRUE(err.str().empty());
}

TEST_F(Commands, RefusesWhatTheWindowWouldNotAllow) {
    auto c = commands();
    EXPECT_EQ(c.setEnabled("gpu", true), 2);
    EXPECT_NE(err.str().find("no section \"gpu\"; one of: general, notifications, weather"),
              std::string::npos);
    EXPECT_EQ(c.setEnabled("general", true), 2);
    EXPECT_NE(err.str().find("Global has no panel item"), std::string::npos);

    CVBSetObjectForKey(Value::array(), "CombinedMenubarDisplayMode");
    CVBSetObjectForKey(Value::array({Value::dict({{"key", 4}})}), "CombinedDropdownDisplayMode");
    EXPECT_EQ(c.setEnabled("combined", true), 0);
    EXPECT_EQ(c.setEnabled("network", true), 1);
    EXPECT_NE(err.str().find("Network is shown inside Combined"), std::string::npos);
    EXPECT_EQ(storedOrder(), Value::array({8, 9, 1}));
}

TEST_F(Commands, OpenAsksForThePageOfTheSection) {
    auto c = commands();
    EXPECT_EQ(c.open("weather"), 0);
    EXPECT_EQ(c.open("battery"), 0);
    EXPECT_EQ(posts.names,
              (std::vector<std::string>{"CorvaneBar-Open-Weather", "CorvaneBar-Open-Battery"}));
    EXPECT_EQ(c.open("combined"), 2);
    EXPECT_NE(err.str().find("one of: weather, cpu, memory, disks, network, sensors, battery, "
                             "time"),
              std::string::npos);
    EXPECT_EQ(posts.names.size(), 2u);
}

// The built program, run as a user would, heard on the session bus.
TEST(CorvanebarProgram, OnAndOffPostToTheSessionBus) {
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        GTEST_SKIP() << "no session bus; run the tests under dbus-run-session";
    test::TemporaryDirectory config;
    test::TemporaryDirectory state;
    test::BusListener listener(bus, {"CorvaneBarEnableStatusItem", "CorvaneBarDisableStatusItem"});

    std::string printed;
    for (const char* command : {"on", "off"}) {
        const auto run = test::runCorvanebar({command, "cpu"}, config.path(), state.path());
        ASSERT_TRUE(run.started) << run.error;
        ASSERT_TRUE(run.succeeded) << command;
        printed += run.output;
    }
    EXPECT_EQ(printed, "CPU & GPU is on\nCPU & GPU is off\n");

    listener.waitFor(2);
    EXPECT_EQ(listener.heard, (std::vector<std::string>{"CorvaneBarEnableStatusItem",
                                                        "CorvaneBarDisableStatusItem"}));
    const Value stored =
        readPropertyListFile(config / "corvanebar" / "com.halvorn.corvanebar6.extras.plist");
    ASSERT_TRUE(stored["StatusItems-Order"].isArray()) << stored;
    for (const Value& key : stored["StatusItems-Order"].arrayItems())
        EXPECT_NE(key.integerValue(), 1);
    g_object_unref(bus);
}

} // namespace
