#include "PreferencesFixture.h"
#include "foundation/Identifiers.h"
#include "foundation/Log.h"

using namespace corvane;
using corvane::test::PreferencesFixture;

namespace {

using Preferences = PreferencesFixture;

TEST_F(Preferences, StoredValueThenDefaultThenNothingAndDefaultsAreNeverStored) {
    auto& prefs = install();
    EXPECT_EQ(CVBIntegerForKey("TimerFrequency"), 2); // default, now cached
    CVBSetIntegerForKey(5, "TimerFrequency");
    EXPECT_EQ(CVBIntegerForKey("TimerFrequency"), 5);
    EXPECT_TRUE(CVBObjectForKey("Weather_TemperatureUnits").isNull());
    EXPECT_EQ(CVBIntegerForKey("Weather_TemperatureUnits"), 0);

    CVBRemoveObjectForKey("TimerFrequency");
    EXPECT_EQ(CVBIntegerForKey("TimerFrequency"), 2);
    EXPECT_TRUE(CVBObjectForKeyWithoutCache("TimerFrequency").isNull());
    // Defaults are never stored, so a later change of one reaches everyone who left it alone.
    for (const char* key : {"CPU_MenubarMode", "StatusItems-Order", "Time_Cities"}) {
        (void)CVBObjectForKey(key);
        EXPECT_TRUE(prefs.domain().copyValue(key).isNull()) << key;
    }
}

// One such write used to make the whole file unreadable at the next start, which then began
// from the defaults.
TEST_F(Preferences, TextASettingsFileCannotHoldIsRefusedEverywhereItEnters) {
    auto& prefs = install();
    ASSERT_TRUE(prefs.setObject(Value("kept"), "Weather_ProviderKey"));
    const Value before = onDisk();
    struct Case {
        std::string key;
        Value value;
        const char* reason;
    };
    const Case cases[] = {
        {"", Value(1), "the key is empty"},
        {"Time_\xff", Value(1), "the key is not valid UTF-8"},
        {"Weather_ProviderKey", Value("caf\xe9"), "not valid UTF-8"},
        {"Weather_ProviderKey", Value("a\x01z"), "U+0001"},
        {"Time_Cities", Value::array({Value::dict({{"city\x1b", "x"}})}), "U+001B"},
    };
    for (const auto& c : cases) {
        LogCapture log;
        EXPECT_FALSE(prefs.setObject(c.value, c.key)) << c.reason;
        EXPECT_FALSE(prefs.setObjectDeferred(c.value, c.key)) << c.reason;
        EXPECT_FALSE(prefs.updateObjectForKey(c.key, [&](const Value&) { return c.value; }));
        EXPECT_TRUE(log.contains(c.reason)) << log.lines();
        auto why = invalidPreferenceKey(c.key);
        if (!why)
            why = invalidPreferenceText(c.value);
        EXPECT_NE(why.value_or("").find(c.reason), std::string::npos) << why.value_or("none");
    }
    EXPECT_TRUE(prefs.synchronize());
    EXPECT_EQ(onDisk(), before);
    EXPECT_EQ(prefs.objectForKey("Weather_ProviderKey"), Value("kept"));
}

TEST_F(Preferences, AnUpdateIsSeenAtOnceButAMissStaysCachedUntilRefreshed) {
    auto& prefs = install();
    EXPECT_EQ(CVBIntegerForKey("TimerFrequency"), 2); // the default, cached
    storeElsewhere(Value::dict({{"TimerFrequency", 7}}));
    EXPECT_TRUE(prefs.updateObjectForKey(
        "TimerFrequency", [](const Value& current) { return Value(current.integerValue() + 1); }));
    EXPECT_EQ(CVBIntegerForKey("TimerFrequency"), 8);
    EXPECT_EQ(onDisk("TimerFrequency"), Value(8));
    EXPECT_FALSE(prefs.setAsideCopy());

    // A miss of another key is cached until that key is refreshed.
    EXPECT_TRUE(CVBObjectForKey("Weather_Provider").isNull());
    storeElsewhere(Value::dict({{"Weather_Provider", 2}}));
    EXPECT_TRUE(CVBObjectForKey("Weather_Provider").isNull());
    CVBRefreshKey("Weather_Provider");
    EXPECT_EQ(CVBIntegerForKey("Weather_Provider"), 2);
}

TEST_F(Preferences, ColoursTheirTextAndTheDropdownThemeFollowThePanelsLook) {
    auto& prefs = install();
    CVBSetObjectForKey("1 1 1", "CPU_MenubarTextColor");
    EXPECT_EQ(CVBColorForKey("CPU_MenubarTextColor"), Color::black());
    CVBSetObjectForKey("1 0.5 0.25 0.5", "CPU_MenubarTextColor");
    EXPECT_EQ(CVBColorForKey("CPU_MenubarTextColor"), (Color{1, 0.5, 0.25, 0.5}));
    EXPECT_EQ(CVBColorForKey("CPU_Label-Dark"), Color::white());
    EXPECT_EQ(CVBColorForKey("Memory_MenubarGraphWired"), (Color{0.10, 0.58, 0.94, 1.0}));
    // The dropdown theme follows separate styles, then the panel.
    CVBSetIntegerForKey(1, "DropdownTheme-Light");
    EXPECT_EQ(dropdownTheme(), 0);
    CVBSetBoolForKey(true, "Theme-SeperateStyles");
    EXPECT_EQ(dropdownTheme(), 1);

    appearance->dark = true;
    prefs.updateMenubarThemeIfNeeded();
    EXPECT_EQ(dropdownTheme(), 3);
    CVBSetObjectForKey(5, "CPU_MenubarTextColor");
    EXPECT_EQ(CVBColorForKey("CPU_MenubarTextColor"), Color::white());

    // Colour text is four numbers separated by single blanks, under any locale.
    EXPECT_EQ(stringFromColor({0.098, 0.58, 0.941, 1.0}), "0.10 0.58 0.94 1.00");
    EXPECT_EQ(colorFromString(Value("0.22 0.22 0.22 1.0")), (Color{0.22, 0.22, 0.22, 1.0}));
    EXPECT_EQ(colorFromString(Value("1 1  1 1")), std::nullopt);
    EXPECT_EQ(colorFromString(Value("1 1 1 1 1")), std::nullopt);
    EXPECT_EQ(colorFromString(Value(1)), std::nullopt);
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    EXPECT_EQ(stringFromColor({0.5, 0.25, 0, 1}), "0.50 0.25 0.00 1.00");
    std::setlocale(LC_NUMERIC, "C");
}

TEST_F(Preferences, OldCommaJoinedModeStringsReadAsEmptyAndItemOrderAsIntegers) {
    install();
    CVBSetObjectForKey("100,6", "CPU_MenubarMode");
    EXPECT_EQ(CVBPreferences::sharedPreferences().menubarModesForKey("CPU_MenubarMode"),
              Value::array());
    EXPECT_EQ(CVBPreferences::sharedPreferences().menubarModesForKey("Memory_MenubarMode"),
              Value::array({Value::dict({{"key", "100"}}), Value::dict({{"key", "1"}})}));
    // Item order stored as text or reals still reads as whole numbers.
    CVBSetObjectForKey(Value::array({"-1", 3, 2.0}), "StatusItems-Order");
    EXPECT_EQ(statusItemOrder(), (std::vector<std::int64_t>{-1, 3, 2}));
}

TEST_F(Preferences, GraphColoursComeFromTheirOwnSettingsNotTheInstalledOnes) {
    install();
    CVBSetBoolForKey(true, "DropdownGraphBackground");
    auto env = environment();
    env.domain = std::make_shared<PreferenceDomain>(kExtrasDomain, dir.path() / "other.plist");
    CVBPreferences own(std::move(env));
    own.setBool(false, "DropdownGraphBackground");
    EXPECT_EQ(own.dropdownGraphFillColor(0), (Color{0.054, 0.38, 0.537, 1}));
    EXPECT_EQ(own.dropdownGraphStrokeColor(0), (Color{0.168, 0.729, 0.988, 1}));
    EXPECT_EQ(CVBPreferences::sharedPreferences().dropdownGraphFillColor(0),
              (Color{0.168, 0.729, 0.988, 1}));
    LogCapture log;
    EXPECT_EQ(own.dropdownGraphFillColor(5), Color::black());
    EXPECT_TRUE(log.contains("invalid index 5"));
}

#ifndef NDEBUG
// Making one on the fly would read, and migrate, the settings of whoever runs the tests.
TEST(PreferencesBeforeInstall, StopADebugBuild) {
    ASSERT_FALSE(CVBPreferences::hasSharedPreferences());
    EXPECT_DEATH(CVBPreferences::sharedPreferences(), "used before CVBPreferences::install");
}
#endif

TEST_F(Preferences, ThemeChangesAreCheckedAgainAfterHalfASecondAndFiveSeconds) {
    auto& prefs = install();
    int posted = 0;
    auto observer = center.addObserver(kMenubarThemeChangedNotification,
                                       [&](const Notification&) { ++posted; });
    EXPECT_EQ(CVBIntegerForKey("DropdownTheme"), 0);

    appearance->handler(); // the signal arrives before the desktop answers differently
    posted = 0;            // (the contrast half of the signal posts at once)
    queue.advance(0.5);
    EXPECT_EQ(posted, 0);
    appearance->dark = true;
    queue.advance(4.5);
    EXPECT_EQ(posted, 1);
    EXPECT_TRUE(prefs.isMenubarDark());
    EXPECT_EQ(CVBIntegerForKey("DropdownTheme"), 3);
    queue.advance(10);
    EXPECT_EQ(posted, 1);
}

TEST_F(Preferences, ANewThemeSignalReplacesTheChecksStillWaiting) {
    auto& prefs = install();
    for (int signal = 0; signal < 3; ++signal) {
        appearance->handler();
        queue.advance(0.1);
    }
    EXPECT_EQ(queue.pendingCount(), 2u) << "only the last signal's two checks";
    appearance->dark = true;
    queue.advance(0.5);
    EXPECT_TRUE(prefs.isMenubarDark());

    appearance->handler();
    CVBPreferences::cleanup();
    EXPECT_EQ(queue.pendingCount(), 0u) << "a check would run on the freed preferences";
}

TEST_F(Preferences, AnUnknownDesktopLookCountsAsLight) {
    appearance->dark.reset();
    auto& prefs = install();
    EXPECT_FALSE(prefs.isMenubarDark());
    EXPECT_FALSE(prefs.increaseContrast());
    EXPECT_TRUE(prefs.isMenubarTransparent());
}

// Settings from another machine lose exactly the machine keys; a first start keeps everything.
TEST_F(Preferences, SettingsFromAnotherMachineLoseExactlyTheMachineKeys) {
    for (const char* recorded : {static_cast<const char*>(nullptr), "other-serial"}) {
        SCOPED_TRACE(recorded ? recorded : "first start");
        CVBPreferences::cleanup();
        Value stored = Value::dict({{"Network_PrimaryInterface", "en0"},
                                    {"Sensors_MenubarItems", Value::array({"TC0P"})},
                                    {"FilteringSensors", Value::array({"x"})}});
        stored.set("_mac_id", recorded ? Value(md5Hex(recorded)) : Value());
        storeElsewhere(stored);
        MachineFacts machine;
        machine.serial = "this-serial";
        install(machine);
        EXPECT_EQ(onDisk("_mac_id"), Value(md5Hex("this-serial")));
        EXPECT_EQ(onDisk("Network_PrimaryInterface").isNull(), recorded != nullptr);
        if (recorded) {
            EXPECT_TRUE(onDisk("Sensors_MenubarItems").isNull());
        }
        EXPECT_EQ(onDisk("FilteringSensors"), Value::array({"x"}));
    }
}

} // namespace
