#include "preferences/PreferenceCommands.h"

#include "PreferencesFixture.h"
#include "foundation/Log.h"
#include "preferences/SectionNotifications.h"

#include <sstream>

using namespace corvane;
using corvane::test::PreferencesFixture;

namespace {

Value parsed(std::string_view text, CommandValueType type = CommandValueType::Automatic) {
    std::string error;
    return parseCommandValue(text, type, error).value_or(Value("<failed: " + error + ">"));
}

TEST(CommandValues, AutomaticTypesReadLikeTheyLook) {
    EXPECT_EQ(parsed("true"), Value(true));
    EXPECT_EQ(parsed("no"), Value(false));
    EXPECT_EQ(parsed("-12"), Value(-12));
    EXPECT_EQ(parsed("0.5"), Value(0.5));
    EXPECT_EQ(parsed("1 1 1 0.5"), Value("1 1 1 0.5"));
    EXPECT_EQ(parsed("[1, \"a\"]"), Value::array({1, "a"}));
    EXPECT_EQ(parsed("<dict><key>key</key><string>100</string></dict>"),
              Value::dict({{"key", "100"}}));
    EXPECT_EQ(parsed("12", CommandValueType::String), Value("12"));
    EXPECT_EQ(parsed("1", CommandValueType::Bool), Value(true));
    EXPECT_EQ(parsed("3", CommandValueType::Real), Value(3.0));
}

TEST(CommandValues, RefusedTextSaysWhy) {
    std::string error;
    EXPECT_FALSE(parseCommandValue("abc", CommandValueType::Integer, error));
    EXPECT_EQ(error, "not a whole number");
    EXPECT_FALSE(parseCommandValue("[1,", CommandValueType::Automatic, error));
    EXPECT_EQ(error, "not JSON");
    EXPECT_FALSE(parseCommandValue("<integer>x</integer>", CommandValueType::PropertyList, error));
    EXPECT_NE(error.find("<integer> holds"), std::string::npos) << error;
}

TEST(SectionNotifications, NameTheSectionAsTheOtherProcessesListen) {
    EXPECT_EQ(notificationForKey("Memory_MenubarMode"), "CorvaneBarMeoryPreferencesChanged");
    EXPECT_EQ(notificationForKey("GPU_MenubarTextSize"), "CorvaneBarCPUPreferencesChanged");
    EXPECT_EQ(notificationForKey("Disks_MonitorSMART"), "CorvaneBarSMARTPreferencesChanged");
    EXPECT_EQ(notificationForKey("Disks_Hotkey"), "CorvaneBarChangedHotkey");
    EXPECT_EQ(notificationForKey("FanControl_DefaultSet"), "CorvaneBarDefaultFanSetChanged");
    EXPECT_EQ(notificationForKey("Notifications-Items"), "CorvaneBarUserNotificationsChanged");
    EXPECT_EQ(notificationForKey("CombinedMenubarDisplayMode"), "CorvaneBarCombinedDisplayChange");
    EXPECT_EQ(notificationForKey("FilteringDiskActivity"), "CorvaneBarDisksPreferencesChanged");
    EXPECT_EQ(notificationForKey("DropdownTheme"), "CorvaneBarGlobalDisplayChange");
}

class Commands : public PreferencesFixture {
protected:
    DistributedNotificationCenter bus{nullptr};
    std::ostringstream out;
    std::ostringstream err;
};

TEST_F(Commands, SetAndRemoveTellTheSectionAndTheSettingsWindow) {
    auto& prefs = install();
    std::vector<std::string> posted;
    std::vector<Observation> observers;
    for (const char* name :
         {"CorvaneBarWeatherPreferencesChanged", "CorvaneBarResetPreferencesApp"})
        observers.push_back(bus.addObserver(name, [&](const Notification& n) {
            EXPECT_EQ(n.userInfo, Value::dict({{"key", "Weather_Units"}})) << n.name;
            posted.push_back(n.name);
        }));
    PreferenceCommands commands(prefs, bus, out, err);
    EXPECT_EQ(commands.set("Weather_Units", "1", CommandValueType::Automatic), 0);
    EXPECT_EQ(prefs.domain().copyValue("Weather_Units"), Value(1));
    EXPECT_EQ(posted, (std::vector<std::string>{"CorvaneBarWeatherPreferencesChanged",
                                                "CorvaneBarResetPreferencesApp"}));

    EXPECT_EQ(commands.get("Weather_Units", false), 0);
    EXPECT_EQ(commands.remove("Weather_Units"), 0);
    EXPECT_EQ(commands.get("Weather_Units", true), 1);
    EXPECT_EQ(posted.size(), 4u);
    const std::string announced = "Weather_Units: posted CorvaneBarWeatherPreferencesChanged and "
                                  "CorvaneBarResetPreferencesApp\n";
    EXPECT_EQ(out.str(), announced + "1\n" + announced);
    EXPECT_EQ(err.str(), "corvanebar prefs: Weather_Units is not stored\n");
}

TEST_F(Commands, AValueThatCannotBeWrittenFailsAndTellsNoOne) {
    auto& prefs = installUnwritable();
    int posted = 0;
    auto observer =
        bus.addObserver("CorvaneBarCPUPreferencesChanged", [&](const Notification&) { ++posted; });
    PreferenceCommands commands(prefs, bus, out, err);
    LogCapture quiet;
    EXPECT_EQ(commands.set("CPU_MenubarTextSize", "12", CommandValueType::Integer), 1);
    EXPECT_EQ(commands.remove("CPU_MenubarTextSize"), 1);
    EXPECT_EQ(posted, 0);
    EXPECT_NE(err.str().find("could not be stored"), std::string::npos) << err.str();
}

TEST_F(Commands, ABadValueChangesNothing) {
    auto& prefs = install();
    PreferenceCommands commands(prefs, bus, out, err);
    EXPECT_EQ(commands.set("CPU_MenubarTextSize", "big", CommandValueType::Integer), 2);
    EXPECT_TRUE(prefs.domain().copyValue("CPU_MenubarTextSize").isNull());
    EXPECT_NE(err.str().find("not a whole number"), std::string::npos);
}

TEST_F(Commands, ListMarksDefaults) {
    auto& prefs = install();
    PreferenceCommands commands(prefs, bus, out, err);
    commands.set("CPU_MenubarMode", "[{\"key\":\"0\"}]", CommandValueType::Automatic);
    out.str("");
    commands.list(true);
    const std::string text = out.str();
    EXPECT_NE(text.find("CPU_MenubarMode = [{\"key\":\"0\"}]\n"), std::string::npos);
    EXPECT_NE(text.find("CPU_MenubarTextSize = 13  (default)\n"), std::string::npos);
    out.str("");
    commands.list(false);
    EXPECT_NE(out.str().find("CPU_MenubarMode = [{\"key\":\"0\"}]\n"), std::string::npos);
    EXPECT_EQ(out.str().find("(default)"), std::string::npos);
}

} // namespace
