#include "SectionFixture.h"
#include "text/CVBTranslations.h"

#include <gtest/gtest.h>

using namespace corvane;

namespace {

class Section : public test::SectionFixture {
protected:
    void SetUp() override {
        SectionFixture::SetUp();
        storeOrder(Value::array({1, 2}));
        manager->setup();
        posts.names.clear();
        posts.infos.clear();
    }

    // Flips a section's switch as the user does.
    void click(SectionController* section) { section->sourceItem().toggle.click(); }
};

TEST_F(Section, TurningAnItemOnPutsItFirstOrAfterALeadingMinusOne) {
    auto* weather = manager->weather();
    ASSERT_FALSE(weather->sourceItem().toggle.on);
    click(weather);
    EXPECT_EQ(storedOrder(), Value::array({9, 1, 2}));
    EXPECT_TRUE(weather->isLoaded());

    storeOrder(Value::array({-1, 2}));
    manager->refreshAllSections();
    click(manager->battery());
    EXPECT_EQ(storedOrder(), Value::array({-1, 6, 2}));

    storeOrder(Value::array());
    manager->refreshAllSections();
    click(manager->time());
    EXPECT_EQ(storedOrder(), Value::array({7}));
}

TEST_F(Section, EachFlipIsToldToOtherProcessesAndInsideThisOne) {
    std::vector<Value> localInfos;
    std::vector<Observation> observations;
    for (const char* name : {"CorvaneBarDisableStatusItem", "CorvaneBarEnableStatusItem"})
        observations.push_back(center.addObserver(
            name, [&](const Notification& n) { localInfos.push_back(n.userInfo); }));
    auto* memory = manager->memory();
    click(memory);
    EXPECT_EQ(storedOrder(), Value::array({1}));
    EXPECT_FALSE(memory->isLoaded());
    ASSERT_EQ(posts.names, std::vector<std::string>{"CorvaneBarDisableStatusItem"});
    EXPECT_TRUE(posts.infos[0].isNull() || posts.infos[0].empty());
    EXPECT_EQ(localInfos, std::vector<Value>{Value::dict({{"item", 2}})});

    // Turning on an item already on stores nothing, but still tells everyone. Stored as text,
    // as an old version may have left it: a store would turn it into numbers.
    storeOrder(Value::array({"1", "2"}));
    auto* cpu = manager->cpu();
    cpu->sourceItem().toggle.on = true;
    cpu->toggle(cpu->sourceItem().toggle);
    EXPECT_EQ(storedOrder(), Value::array({"1", "2"}));
    EXPECT_EQ(posts.count("CorvaneBarEnableStatusItem"), 1);
    EXPECT_EQ(localInfos,
              (std::vector<Value>{Value::dict({{"item", 2}}), Value::dict({{"item", 1}})}));
}

TEST_F(Section, TurningCombinedOnTakesItsItemsOutOfThePanelAndHidesTheirSwitches) {
    CVBSetObjectForKey(Value::array({Value::dict({{"key", 1}}), Value::dict({{"key", 3}})}),
                       "CombinedMenubarDisplayMode");
    CVBSetObjectForKey(Value::array({Value::dict({{"key", 3}}), Value::dict({{"key", 6}})}),
                       "CombinedDropdownDisplayMode");
    storeOrder(Value::array({1, 2, 3, 6}));
    manager->refreshAllSections();
    ASSERT_EQ(switches(), "-+-+++--+--");

    click(manager->combined());
    EXPECT_EQ(storedOrder(), Value::array({8, 2}));
    EXPECT_EQ(switches(), "-+-c+c--c-+");

    // Off again: what it showed comes back where it stood, in the order of its lists.
    storeOrder(Value::array({2, 8, 7}));
    click(manager->combined());
    EXPECT_EQ(storedOrder(), Value::array({2, 1, 3, 6, 7}));
    EXPECT_EQ(switches(), "-+-+++--++-");
    // Already off, it gives nothing back.
    storeOrder(Value::array({2}));
    manager->combined()->toggle(manager->combined()->sourceItem().toggle);
    EXPECT_EQ(storedOrder(), Value::array({2}));
}

TEST_F(Section, TheSwitchFollowsWhatAnotherProcessStored) {
    PreferenceDomain other(kExtrasDomain, dir.path() / "extras.plist");
    other.setValue("StatusItems-Order", Value::array({5}));
    other.synchronize();
    auto* sensors = manager->sensors();
    EXPECT_TRUE(sensors->isLoaded());
    EXPECT_FALSE(manager->cpu()->isLoaded());
    EXPECT_FALSE(sensors->sourceItem().toggle.on);
    sensors->checkState();
    EXPECT_TRUE(sensors->sourceItem().toggle.on);
}

TEST_F(Section, NotificationsSwitchIsTheRulesMasterSwitch) {
    auto* notifications = manager->notifications();
    auto& item = notifications->sourceItem();
    EXPECT_TRUE(item.toggle.on); // on by default
    int windowRedraws = 0;
    item.changed = [&] { ++windowRedraws; };
    // Another process turns the rules off: the switch follows, redrawn once.
    CVBSetBoolForKey(false, "Notifications-Enabled");
    notifications->checkState();
    EXPECT_FALSE(item.toggle.on);
    EXPECT_EQ(windowRedraws, 1);
    notifications->checkState();
    EXPECT_EQ(windowRedraws, 1) << "unchanged, not drawn again";
    notifications->setState(true);
    EXPECT_FALSE(item.toggle.on) << "the panel order has no say";

    click(notifications);
    EXPECT_TRUE(CVBBoolForKey("Notifications-Enabled"));
    EXPECT_EQ(storedOrder(), Value::array({1, 2}));
    EXPECT_EQ(posts.names, std::vector<std::string>{"CorvaneBarUserNotificationsChanged"});
}

TEST_F(Section, APageIsBuiltOnceWhenFirstShownAndLabelledInTheChosenLanguage) {
    auto* cpu = manager->cpu();
    cpu->prepareToShow();
    cpu->prepareToShow();
    ASSERT_NE(cpu->view(), nullptr);
    EXPECT_EQ(pages->loads["CPU"], 1);
    EXPECT_EQ(cpu->view()->accessibilityLabel, "CPU & GPU settings");

    CVBSetObjectForKey(Value("de"), "language");
    CVBTranslations::cleanup();
    manager->disks()->prepareToShow();
    CVBTranslations::cleanup();
    ASSERT_NE(manager->disks()->view(), nullptr);
    EXPECT_EQ(manager->disks()->view()->accessibilityLabel, "Einstellungen für Laufwerke");
}

TEST_F(Section, ResetRemovesBothColourVariantsAndPostsTwice) {
    CVBSetObjectForKey("1 0 0 1", "CPU_MenubarTextColor");
    CVBSetObjectForKey("0 1 0 1", "CPU_MenubarTextColor-Dark");
    CVBSetObjectForKey("0 0 1 1", "CPU_MenubarLabelColor");
    manager->cpu()->resetSettings(
        Value::dict({{"keys", Value::array({"CPU_MenubarTextColor"})},
                     {"resetKey", "CPU_MenubarTextColor"},
                     {"notification", "CorvaneBarCPUPreferencesChanged"}}));
    EXPECT_TRUE(CVBStoredObjectForKey("CPU_MenubarTextColor").isNull());
    EXPECT_TRUE(CVBStoredObjectForKey("CPU_MenubarTextColor-Dark").isNull());
    EXPECT_EQ(CVBStoredObjectForKey("CPU_MenubarLabelColor"), Value("0 0 1 1"));
    EXPECT_EQ(posts.count("CorvaneBarCPUPreferencesChanged"), 2);
    EXPECT_EQ(optionsPopup->updates, 1);
}

TEST_F(Section, WeatherShowsTheMoonByNight) {
    auto* weather = manager->weather();
    for (const auto& [hour, icon] : {std::pair{5, "prefs-sourcelist-icon-weather-moon"},
                                     {6, "prefs-sourcelist-icon-weather"},
                                     {17, "prefs-sourcelist-icon-weather"},
                                     {18, "prefs-sourcelist-icon-weather-moon"}}) {
        weather->updateIcon(hour);
        EXPECT_EQ(weather->sourceItem().icon, icon) << hour;
        EXPECT_EQ(weather->sourceItem().selectedIcon, std::string(icon) + "-selected") << hour;
    }
}

TEST_F(Section, WeatherStoresTheChosenPlaceTellsTheStatusProgramAndNamesIt) {
    auto* weather = manager->weather();
    const Value berlin = Value::dict({{"name", "Berlin"},
                                      {"state", "Berlin"},
                                      {"country", "Germany"},
                                      {"tz", "Europe/Berlin"},
                                      {"identifier", "2950159"},
                                      {"latitude", 52.52},
                                      {"longitude", 13.405},
                                      {"plain", "berlin"},
                                      {"population", 3644826}});
    const Value station = Value::dict(
        {{"name", "KCASANFR1"}, {"wu-station-id", "KCASANFR1"}, {"identifier", 1795511700}});
    struct Case {
        const char* name;
        Value result;
        Value stored;
        const char* english;
        const char* german;
    };
    const Case cases[] = {
        {"a city", berlin,
         Value::dict({{"name", "Berlin"},
                      {"state", "Berlin"},
                      {"country", "Germany"},
                      {"timezone", "Europe/Berlin"},
                      {"identifier", "2950159"},
                      {"latitude", 52.52},
                      {"longitude", 13.405},
                      {"plain", "berlin"}}),
         "Location: Berlin, Germany", "Ort: Berlin, Germany"},
        {"a personal station", station, station, "Location: KCASANFR1", "Ort: KCASANFR1"},
        {"the current location row", Value::dict(), Value::dict({{"identifier", "-7"}}),
         "Location: Current Location", "Ort: Aktueller Ort"},
    };
    for (const Case& c : cases) {
        posts.names.clear();
        posts.infos.clear();
        CVBSetObjectForKey(Value(), "language");
        CVBTranslations::cleanup();
        weather->selectCity(c.result);
        EXPECT_EQ(CVBStoredObjectForKey("Weather_Locations"), Value::array({c.stored})) << c.name;
        EXPECT_EQ(posts.names, std::vector<std::string>{"CorvaneBarWeatherPreferencesChanged"})
            << c.name;
        EXPECT_EQ(posts.infos.at(0), Value::dict({{"key", "Weather_Locations"}})) << c.name;
        EXPECT_EQ(weather->locationLabel(), c.english) << c.name;
        CVBSetObjectForKey(Value("de"), "language");
        CVBTranslations::cleanup();
        EXPECT_EQ(weather->locationLabel(), c.german) << c.name;
    }
    CVBTranslations::cleanup();
}

// The dropdown order editor, filled as a section page fills it.
class DropdownOrder : public Section {
protected:
    void SetUp() override {
        Section::SetUp();
        auto& order = DropdownOrderController::sharedOrderController();
        order.preferencyKey = "Disks_DropdownOrder";
        order.preferencyKeyDisabled = "Disks_DropdownOrderDisabled";
        order.notificationName = "CorvaneBarDisksPreferencesChanged";
        for (const char* key : {"disks", "activity", "removable", "unmounted"})
            order.orderview.unsorted.push_back({key, key});
        order.orderview.items = order.orderview.unsorted;
    }
    DropdownOrderController& order() { return DropdownOrderController::sharedOrderController(); }
};

TEST_F(DropdownOrder, SavingTheSectionsOwnOrderStoresNoOrder) {
    CVBSetObjectForKey("activity,disks,removable,unmounted", "Disks_DropdownOrder");
    order().orderview.items[3].disabled = true;
    manager->disks()->saveDropdownOrder();
    EXPECT_TRUE(CVBStoredObjectForKey("Disks_DropdownOrder").isNull());
    EXPECT_EQ(CVBStoredObjectForKey("Disks_DropdownOrderDisabled"), Value("unmounted"));
    EXPECT_EQ(posts.names, std::vector<std::string>{"CorvaneBarDisksPreferencesChanged"});
    EXPECT_EQ(overlay->removals, 1);

    std::swap(order().orderview.items[0], order().orderview.items[1]);
    manager->disks()->saveDropdownOrder();
    EXPECT_EQ(CVBStoredObjectForKey("Disks_DropdownOrder"),
              Value("activity,disks,removable,unmounted"));
}

TEST_F(DropdownOrder, ResetRemovesTheOrderAndTheRowsSettingsAndShowsTheDefaults) {
    CVBSetObjectForKey("unmounted,disks,activity,removable", "Disks_DropdownOrder");
    CVBSetObjectForKey("", "Disks_DropdownOrderDisabled");
    CVBSetObjectForKey(5, "Disks_ProcessCount");
    order().settingsReset = Value::dict({{"keys", Value::array({"Disks_ProcessCount"})},
                                         {"notification", "CorvaneBarDisksPreferencesChanged"}});
    int rowUpdates = 0;
    order().settingsItems.push_back({"Processes", [&] { ++rowUpdates; }});
    order().settingsItems.push_back({"A heading", nullptr});
    order().orderview.sortItems("unmounted,disks,activity,removable", "");

    manager->disks()->editDropdownOrder();
    EXPECT_EQ(overlay->shownView(), &order().view);
    EXPECT_EQ(order().resetButton.title, "Reset");
    order().resetButton.click();

    EXPECT_TRUE(CVBStoredObjectForKey("Disks_DropdownOrder").isNull());
    EXPECT_TRUE(CVBStoredObjectForKey("Disks_DropdownOrderDisabled").isNull());
    EXPECT_TRUE(CVBStoredObjectForKey("Disks_ProcessCount").isNull());
    EXPECT_EQ(rowUpdates, 1);
    EXPECT_EQ(posts.names, (std::vector<std::string>{"CorvaneBarDisksPreferencesChanged",
                                                     "CorvaneBarDisksPreferencesChanged",
                                                     "CorvaneBarGlobalDisplayChange"}));
    // The section's own order, with the blocks that are off by default off again.
    EXPECT_EQ(order().orderview.preferenceValue(), "disks,activity,removable,unmounted");
    EXPECT_EQ(order().orderview.preferenceValueDisabled(), "removable,unmounted");
    EXPECT_EQ(order().orderview.items[3].row, 3);
}

TEST_F(DropdownOrder, AStoredOrderSortsKnownBlocksFirstAndIgnoresGoneOnes) {
    order().orderview.sortItems("unmounted,gone,activity", "activity,gone");
    EXPECT_EQ(order().orderview.preferenceValue(), "unmounted,activity,disks,removable");
    EXPECT_EQ(order().orderview.preferenceValueDisabled(), "activity");
}

TEST_F(Section, AHotkeyIsStoredAsADictionaryShownOnTheButtonAndFollowsImports) {
    auto* disks = manager->disks();
    disks->prepareToShow();
    EXPECT_EQ(disks->dropdownHotkeyButton().title, "Edit Hotkey");

    disks->dropdownHotkeyButton().click();
    auto& hotkey = DropdownHotkeyController::sharedHotkeyController();
    EXPECT_EQ(overlay->shownView(), &hotkey.view);
    EXPECT_EQ(hotkey.sectionName, "Disks");
    EXPECT_FALSE(hotkey.shortcut);
    hotkey.shortcut = HotkeyShortcut{40, 0x180000, "⌥⌘K"};
    hotkey.saveButton.click();
    EXPECT_EQ(overlay->shownView(), nullptr);
    EXPECT_EQ(CVBStoredObjectForKey("Disks_Hotkey"),
              Value::dict({{"keyCode", 40}, {"modifiers", 0x180000}, {"display", "⌥⌘K"}}));
    EXPECT_EQ(disks->dropdownHotkeyButton().title, "Edit Hotkey: ⌥⌘K");
    EXPECT_EQ(posts.names, std::vector<std::string>{"CorvaneBarChangedHotkey"});

    disks->editDropdownHotkey();
    ASSERT_TRUE(hotkey.shortcut);
    EXPECT_EQ(hotkey.shortcut->display, "⌥⌘K");
    hotkey.shortcut.reset();
    disks->saveDropdownHotkey();
    EXPECT_TRUE(CVBStoredObjectForKey("Disks_Hotkey").isNull());
    EXPECT_EQ(disks->dropdownHotkeyButton().title, "Edit Hotkey");
    EXPECT_EQ(posts.count("CorvaneBarChangedHotkey"), 2);

    // A section without a hotkey key saves none; imported settings reach the button.
    posts.names.clear();
    auto* general = manager->general();
    general->editDropdownHotkey();
    DropdownHotkeyController::sharedHotkeyController().shortcut = HotkeyShortcut{1, 0, "A"};
    general->saveDropdownHotkey();
    EXPECT_EQ(overlay->shownView(), nullptr);
    EXPECT_TRUE(posts.names.empty());

    auto* cpu = manager->cpu();
    cpu->prepareToShow();
    CVBSetObjectForKey(HotkeyShortcut{8, 0, "F5"}.archived(), "CPU_Hotkey");
    EXPECT_EQ(cpu->dropdownHotkeyButton().title, "Edit Hotkey");
    center.post("ImportedPreferences");
    EXPECT_EQ(cpu->dropdownHotkeyButton().title, "Edit Hotkey: F5");
}

} // namespace
