#include "preferences/PreferenceCommands.h"

#include "PreferencesFixture.h"
#include "foundation/Log.h"
#include "preferences/SectionNotifications.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

using testing::HasSubstr;

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
    EXPECT_EQ(parsed("\"12\""), Value("12"));
    EXPECT_EQ(parsed("<dict><key>key</key><string>100</string></dict>"),
              Value::dict({{"key", "100"}}));
    EXPECT_EQ(parsed("12", CommandValueType::String), Value("12"));
    EXPECT_EQ(parsed("nan", CommandValueType::String), Value("nan"));
    EXPECT_EQ(parsed("1", CommandValueType::Bool), Value(true));
    EXPECT_EQ(parsed("3", CommandValueType::Real), Value(3.0));
}

TEST(CommandValues, RefusedTextSaysWhy) {
    const struct {
        const char* text;
        CommandValueType type;
        const char* why;
    } cases[] = {
        {"abc", CommandValueType::Integer, "not a whole number"},
        {"[1,", CommandValueType::Automatic, "not JSON"},
        {"<integer>x</integer>", CommandValueType::PropertyList, "<integer> holds"},
        // Stored as text, these would still read as NaN or infinity wherever a number is read.
        {"nan", CommandValueType::Automatic, "not a finite number"},
        {"-Infinity", CommandValueType::Automatic, "not a finite number"},
        {"1e999", CommandValueType::Automatic, "not a finite number"},
        {"inf", CommandValueType::Real, "not a finite number"},
        {"<real>nan</real>", CommandValueType::Automatic, "not finite"},
        {"<array><real>-inf</real></array>", CommandValueType::PropertyList, "not finite"},
    };
    for (const auto& c : cases) {
        std::string error;
        EXPECT_FALSE(parseCommandValue(c.text, c.type, error)) << c.text;
        EXPECT_THAT(error, HasSubstr(c.why)) << c.text;
    }
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
    // Every post, "NAME" or "NAME KEY" when it carries a key.
    std::vector<std::string> posted;
    DistributedNotificationCenter bus{nullptr};
    Observation everything = bus.addObserver("", [this](const Notification& n) {
        const Value* key = n.userInfo.find("key");
        posted.push_back(n.name + (key ? " " + key->stringValue() : ""));
    });
    std::ostringstream out;
    std::ostringstream err;
};

TEST_F(Commands, SetAndRemoveTellTheSectionAndTheSettingsWindow) {
    auto& prefs = install();
    PreferenceCommands commands(prefs, bus, out, err);
    EXPECT_EQ(commands.set("Weather_Units", "1", CommandValueType::Automatic), 0);
    EXPECT_EQ(prefs.domain().copyValue("Weather_Units"), Value(1));
    const std::vector<std::string> told{"CorvaneBarWeatherPreferencesChanged Weather_Units",
                                        "CorvaneBarResetPreferencesApp Weather_Units"};
    EXPECT_EQ(posted, told);

    EXPECT_EQ(commands.get("Weather_Units", false), 0);
    EXPECT_EQ(commands.remove("Weather_Units"), 0);
    EXPECT_EQ(commands.get("Weather_Units", true), 1);
    EXPECT_EQ(posted.size(), 4u);
    // Without a bus, only this process heard them.
    const std::string announced = "Weather_Units: stored; no session bus, so no running program "
                                  "was told (CorvaneBarWeatherPreferencesChanged and "
                                  "CorvaneBarResetPreferencesApp)\n";
    EXPECT_EQ(out.str(), announced + "1\n" + announced);
    EXPECT_EQ(err.str(), "corvanebar prefs: Weather_Units is not stored\n");
}

TEST_F(Commands, KeysWithANotificationOfTheirOwnPostItAsTheirMenuItemDoes) {
    auto& prefs = install();
    PreferenceCommands commands(prefs, bus, out, err);
    const struct {
        const char* key;
        std::vector<std::string> told;
    } cases[] = {
        {"Sensors_DisableIntelKext", {"CorvaneBarIntelFrequencyChange"}},
        {"Weather_PWSDisabled", {"CorvaneBarWeatherPWSChanged"}},
        {"language", {"CorvaneBarLanguageChange"}},
        {"UpdateCheckerDisabled", {"CorvaneBarUpdateCheckerChange"}},
        {"UpdateCheckerAutomaticDisabled", {"CorvaneBarUpdateCheckerChange"}},
        {"Diagnostics_Enabled", {}},
        {"Disks_MonitorSMART", {"CorvaneBarSMARTPreferencesChanged Disks_MonitorSMART"}},
    };
    for (const auto& c : cases) {
        posted.clear();
        EXPECT_EQ(commands.set(c.key, "true", CommandValueType::Automatic), 0);
        auto expected = c.told;
        expected.push_back(std::string("CorvaneBarResetPreferencesApp ") + c.key);
        EXPECT_EQ(posted, expected) << c.key;
    }
}

TEST_F(Commands, AValueThatCannotBeWrittenFailsSaysWhyAndTellsNoOne) {
    test::ScopedEnvironment logs("CORVANEBAR_LOG_DIR", (dir.path() / "logs").c_str());
    auto& prefs = installUnwritable();
    PreferenceCommands commands(prefs, bus, out, err);
    LogCapture quiet;
    EXPECT_EQ(commands.set("CPU_MenubarTextSize", "12", CommandValueType::Integer), 1);
    EXPECT_EQ(commands.remove("CPU_MenubarTextSize"), 1);
    EXPECT_TRUE(posted.empty());
    EXPECT_THAT(err.str(), HasSubstr("CPU_MenubarTextSize could not be stored: Cannot write"));
    EXPECT_THAT(err.str(),
                HasSubstr("; the log is " + (dir.path() / "logs" / "App" / "App.log").string()));
}

TEST_F(Commands, TextThatIsNoValidKeyOrValueIsRefusedAndNothingStored) {
    auto& prefs = install();
    PreferenceCommands commands(prefs, bus, out, err);
    const Value before = prefs.domain().copyAll();
    const std::pair<std::string, std::string> cases[] = {
        {"CPU_MenubarTextSize", "big"}, // with --type int
        {"Weather_Location", "M\xFCnchen"},
        {"Weather_\xC3", "1"},
        {"", "1"},
    };
    for (const auto& [key, text] : cases) {
        const auto type = text == "big" ? CommandValueType::Integer : CommandValueType::Automatic;
        EXPECT_EQ(commands.set(key, text, type), 2) << key << " = " << text;
        EXPECT_EQ(prefs.domain().copyAll(), before) << key;
    }
    EXPECT_TRUE(posted.empty());
    EXPECT_THAT(err.str(), HasSubstr("not a whole number"));
    EXPECT_THAT(err.str(), HasSubstr("UTF-8"));
}

// Whatever the stored values are, the listing reads back through "prefs set" as the same values.
TEST_F(Commands, ListedValuesReadBackThroughSet) {
    const Value values = Value::dict({
        {"Text", "1 1 1 0.5"},
        {"TextOfABool", "true"},
        {"TextOfANumber", "12"},
        {"TextWithLines", "first\nForged = 1\n\"quoted\""},
        {"Bool", false},
        {"Integer", -3},
        {"WholeReal", 3.0},
        {"List", Value::array({Value::dict({{"key", "100"}}), 2.5, "a\tb"})},
        {"Date", Value(Date{1700000000.0})},
        {"Data", Value(Value::Data{0, 1, 0xFF})},
        {"DataInAList", Value::array({Value(Value::Data{7}), "x<y&z\n"})},
    });
    storeElsewhere(values);
    auto& prefs = install();
    PreferenceCommands commands(prefs, bus, out, err);
    // Start-up may have stored this machine's own keys too.
    const Value stored = onDisk();
    for (const auto& [key, value] : values.dictionaryItems())
        ASSERT_EQ(stored[key], value) << key;
    EXPECT_EQ(commands.list(false), 0);
    const std::string listing = out.str();

    prefs.domain().removeAll();
    ASSERT_TRUE(prefs.synchronize());
    std::istringstream lines(listing);
    std::string line;
    int count = 0;
    while (std::getline(lines, line)) {
        const auto equals = line.find(" = ");
        ASSERT_NE(equals, std::string::npos) << line;
        EXPECT_EQ(commands.set(line.substr(0, equals), line.substr(equals + 3),
                               CommandValueType::Automatic),
                  0)
            << line;
        ++count;
    }
    EXPECT_EQ(count, static_cast<int>(stored.dictionaryItems().size())) << listing;
    EXPECT_EQ(onDisk(), stored) << listing;
}

TEST_F(Commands, ADamagedSettingsFileSetAsideIsNamedOnce) {
    std::ofstream(dir.path() / "extras.plist") << "<plist><dict><key>cut";
    install();
    LogCapture quiet;
    reportSetAsideSettings(err);
    const std::string text = err.str();
    const std::string start = "corvanebar: the settings file could not be read and was set aside "
                              "as " +
                              (dir.path() / "extras.plist.corrupt-").string();
    EXPECT_EQ(text.rfind(start, 0), 0u) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    const auto aside = text.substr(text.find(" as ") + 4, text.find(';') - text.find(" as ") - 4);
    EXPECT_TRUE(std::filesystem::exists(aside)) << aside;

    err.str("");
    CVBPreferences::cleanup();
    install();
    reportSetAsideSettings(err);
    EXPECT_EQ(err.str(), "") << "the next start reads its fresh file";
}

TEST_F(Commands, ListMarksDefaults) {
    auto& prefs = install();
    PreferenceCommands commands(prefs, bus, out, err);
    commands.set("CPU_MenubarMode", "[{\"key\":\"0\"}]", CommandValueType::Automatic);
    out.str("");
    commands.list(true);
    const std::string text = out.str();
    EXPECT_THAT(text, HasSubstr("CPU_MenubarMode = [{\"key\":\"0\"}]\n"));
    EXPECT_THAT(text, HasSubstr("CPU_MenubarTextSize = 13  (default)\n"));
    EXPECT_THAT(text, HasSubstr("Network_StatusAddress = \"1.0.0.1\"  (default)\n"));
}

} // namespace
