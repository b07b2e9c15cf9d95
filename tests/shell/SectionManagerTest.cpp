#include "SectionFixture.h"
#include "foundation/Log.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace corvane;

namespace {

class Manager : public test::SectionFixture {
protected:
    void SetUp() override {
        SectionFixture::SetUp();
        storeOrder(Value::array({1, 2, 3}));
        manager->setup();
    }

    SectionController* selected() { return manager->selectedSection(); }
    std::vector<std::string> shownPages() {
        std::vector<std::string> names;
        for (auto* page : container.subviews())
            names.push_back(page->name());
        return names;
    }
};

struct SectionRow {
    const char* xib;
    std::int64_t key;
    const char* name;
    const char* bundle;
    const char* state;
    const char* hotkey;
};

TEST_F(Manager, ListsTheElevenSectionsInTheirOrderWithTheirKeys) {
    const std::vector<SectionRow> table{
        {"General", -1, "Global", nullptr, "", nullptr},
        {"Notifications", -1, "Notifications", nullptr, "", nullptr},
        {"Weather", 9, "Weather", nullptr, "weather", "Weather_Hotkey"},
        {"CPU", 1, "CPU & GPU", "com.halvorn.CorvaneBarCPU", "cpu", "CPU_Hotkey"},
        {"Memory", 2, "Memory", "com.halvorn.CorvaneBarMemory", "memory", "Memory_Hotkey"},
        {"Disks", 3, "Disks", "com.halvorn.CorvaneBarDrives", "diskusage", "Disks_Hotkey"},
        {"Network", 4, "Network", "com.halvorn.CorvaneBarNetwork", "network", "Network_Hotkey"},
        {"Sensors", 5, "Sensors", "com.halvorn.CorvaneBarSensors", "sensors", "Sensors_Hotkey"},
        {"Battery", 6, "Battery & Power", "com.halvorn.CorvaneBarBattery", "battery",
         "Battery_Hotkey"},
        {"Time", 7, "Time", "com.halvorn.CorvaneBarTime", "time", "Time_Hotkey"},
        {"Combined", 8, "Combined", "com.halvorn.CorvaneBarCombined", "combined",
         "Combined_Hotkey"},
    };
    const auto& sections = manager->sections();
    ASSERT_EQ(sections.size(), table.size());
    for (std::size_t i = 0; i < table.size(); ++i) {
        const auto& row = table[i];
        const auto* section = sections[i];
        SCOPED_TRACE(row.xib);
        EXPECT_EQ(section->xibName(), row.xib);
        EXPECT_EQ(section->sectionKey(), row.key);
        EXPECT_EQ(section->combinedKey(), row.key);
        EXPECT_EQ(section->sectionName(), row.name);
        EXPECT_EQ(section->bundleName(),
                  row.bundle ? std::optional<std::string>(row.bundle) : std::nullopt);
        EXPECT_EQ(section->stateNotificationKey(), row.state);
        EXPECT_EQ(section->hotkeyPreferenceKey(),
                  row.hotkey ? std::optional<std::string>(row.hotkey) : std::nullopt);
        EXPECT_EQ(section->sourceItem().label.text, row.name);
        EXPECT_EQ(section->sourceItem().toggle.title, std::string("Toggle ") + row.name);
        // Laid out 30 points from the top, then every 44, 3 from the left.
        EXPECT_EQ(section->sourceItem().origin.y, 30 + 44.0 * static_cast<double>(i));
        EXPECT_EQ(section->sourceItem().origin.x, 3);
        ASSERT_LT(i, sourceList.items().size());
        EXPECT_EQ(sourceList.items()[i], &section->sourceItem());
    }
    EXPECT_EQ(static_cast<SectionController*>(manager->combined()), sections.back());
}

TEST_F(Manager, StartsOnTheFirstSectionWithTheSwitchesFromTheStoredOrder) {
    EXPECT_EQ(selected(), manager->general());
    EXPECT_EQ(window.firstResponder(), &manager->general()->sourceItem());
    EXPECT_EQ(shownPages(), std::vector<std::string>{"General"});
    EXPECT_TRUE(manager->cpu()->sourceItem().toggle.on);
    EXPECT_TRUE(manager->disks()->sourceItem().toggle.on);
    EXPECT_FALSE(manager->network()->sourceItem().toggle.on);
    // The rules section is set up at once, before its page is ever shown.
    EXPECT_EQ(manager->notifications()->view(), nullptr);
    EXPECT_EQ(manager->notifications()->dropdownHotkeyButton().fontSize, 12);
    EXPECT_EQ(manager->memory()->dropdownHotkeyButton().fontSize, 0);
}

TEST_F(Manager, PreviousAndNextStopAtTheEnds) {
    manager->previousSection();
    EXPECT_EQ(selected(), manager->general());
    for (int i = 0; i < 10; ++i)
        manager->nextSection();
    EXPECT_EQ(selected(), manager->combined());
    manager->nextSection();
    EXPECT_EQ(selected(), manager->combined());
    EXPECT_EQ(shownPages(), std::vector<std::string>{"Combined"});
    manager->previousSection();
    EXPECT_EQ(selected(), manager->time());
    int selectedCount = 0;
    for (auto* section : manager->sections())
        selectedCount += section->sourceItem().selected;
    EXPECT_EQ(selectedCount, 1);
    EXPECT_EQ(window.firstResponder(), &manager->time()->sourceItem());
}

TEST_F(Manager, UnknownItemsIndexAsTheFirst) {
    SourceListItem stranger;
    EXPECT_EQ(manager->indexOfItem(&stranger), 0u);
    EXPECT_EQ(manager->indexOfItem(&manager->weather()->sourceItem()), 2u);
}

TEST_F(Manager, SelectingNotificationsBuildsTheSensorsAndDisksPagesFirst) {
    ASSERT_EQ(manager->sensors()->view(), nullptr);
    ASSERT_EQ(manager->disks()->view(), nullptr);
    const int fetchesBefore = colourFetches;
    const int closesBefore = optionsPopup->closes;
    pages->order.clear();
    manager->selectItem(manager->notifications()->sourceItem());
    EXPECT_EQ(pages->order, (std::vector<std::string>{"Sensors", "Disks", "Notifications"}));
    EXPECT_NE(manager->sensors()->view(), nullptr);
    EXPECT_NE(manager->disks()->view(), nullptr);
    EXPECT_EQ(shownPages(), std::vector<std::string>{"Notifications"});
    EXPECT_EQ(selected(), manager->notifications());
    EXPECT_FALSE(manager->general()->sourceItem().selected);
    EXPECT_EQ(colourFetches, fetchesBefore + 1);
    EXPECT_EQ(optionsPopup->closes, closesBefore + 1);

    // Shown again later, nothing is built twice.
    manager->selectItem(manager->sensors()->sourceItem());
    EXPECT_EQ(pages->loads["Sensors"], 1);
    EXPECT_EQ(shownPages(), std::vector<std::string>{"Sensors"});
}

TEST_F(Manager, OpenNotificationsChooseTheirPageAndBringTheWindowForward) {
    const int popupClosesBefore = optionsPopup->closes;
    distributed.postNotificationName("CorvaneBar-Open-Weather");
    EXPECT_EQ(selected(), manager->weather());
    EXPECT_EQ(activator->forwards, 1);
    EXPECT_EQ(overlay->closes, 1);
    // Once as the page changes, once more as a page opened from outside: nothing of the old
    // page may stay on top of the new one.
    EXPECT_EQ(optionsPopup->closes, popupClosesBefore + 2);

    const std::vector<std::pair<const char*, std::int64_t>> opens{
        {"CorvaneBar-Open-CPU", 1},     {"CorvaneBar-Open-Memory", 2},
        {"CorvaneBar-Open-Disks", 3},   {"CorvaneBar-Open-Network", 4},
        {"CorvaneBar-Open-Sensors", 5}, {"CorvaneBar-Open-Battery", 6},
        {"CorvaneBar-Open-Time", 7}};
    for (const auto& [name, key] : opens) {
        distributed.postNotificationName(name);
        ASSERT_NE(selected(), nullptr);
        EXPECT_EQ(selected()->sectionKey(), key) << name;
    }
}

TEST_F(Manager, TheGeneralOpenNotificationOnlyBringsTheWindowForward) {
    manager->selectItem(manager->memory()->sourceItem());
    distributed.postNotificationName("CorvaneBarOpenPreferencesSection",
                                     Value::dict({{"section", 9}}));
    EXPECT_EQ(selected(), manager->memory());
    EXPECT_EQ(activator->forwards, 1);

    const int popupClosesBefore = optionsPopup->closes;
    manager->launchToSection(42);
    EXPECT_EQ(selected(), manager->memory());
    EXPECT_EQ(activator->forwards, 2);
    EXPECT_EQ(overlay->closes, 0);
    EXPECT_EQ(optionsPopup->closes, popupClosesBefore) << "no page found, nothing closed";
}

TEST_F(Manager, TheFanEditorOpensOnTheSensorsPage) {
    distributed.postNotificationName("CorvaneBar-Open-FanEditor");
    EXPECT_EQ(selected(), manager->sensors());
    EXPECT_EQ(fanEditor->edits, 1);
    EXPECT_GE(activator->forwards, 1);
}

TEST_F(Manager, ACombinedItemMovedByAnotherKeyIsFoundByItsCombinedKey) {
    manager->cpu()->setCombinedKey(12);
    manager->launchToSection(12);
    EXPECT_EQ(selected(), manager->cpu());
    manager->selectItem(manager->memory()->sourceItem());
    manager->launchToSection(1);
    EXPECT_EQ(selected(), manager->memory());
}

TEST_F(Manager, AChangeFromOutsideIsReadAfreshEverywhere) {
    // Another process rewrites the order; this one still has the old list cached.
    PreferenceDomain other(kExtrasDomain, dir.path() / "extras.plist");
    other.setValue("StatusItems-Order", Value::array({4}));
    other.setValue("Notifications-Enabled", false);
    other.synchronize();
    (void)CVBObjectForKey("Notifications-Enabled");
    distributed.postNotificationName("CorvaneBarExternalChange");
    EXPECT_FALSE(manager->cpu()->sourceItem().toggle.on);
    EXPECT_TRUE(manager->network()->sourceItem().toggle.on);
    EXPECT_FALSE(manager->notifications()->sourceItem().toggle.on);
}

TEST_F(Manager, RefreshingPutsTheSwitchesAndCombinedIconsRight) {
    CVBSetObjectForKey(Value::array({Value::dict({{"key", 2}})}), "CombinedMenubarDisplayMode");
    CVBSetObjectForKey(Value::array(), "CombinedDropdownDisplayMode");
    storeOrder(Value::array({8, 1}));
    center.post("CorvaneBarRefreshSections");
    EXPECT_TRUE(manager->combined()->sourceItem().toggle.on);
    EXPECT_TRUE(manager->memory()->sourceItem().toggle.hidden);
    EXPECT_FALSE(manager->memory()->sourceItem().combinedIcon.hidden);
    EXPECT_FALSE(manager->cpu()->sourceItem().toggle.hidden);
    EXPECT_TRUE(manager->cpu()->sourceItem().toggle.on);
    // Notifications and Combined itself never live inside Combined.
    EXPECT_FALSE(manager->combined()->sourceItem().toggle.hidden);
    EXPECT_FALSE(manager->notifications()->sourceItem().toggle.hidden);
}

Notification extraChange(const char* extra) {
    return Notification{"", {}, Value::dict({{"extra", extra}})};
}

TEST_F(Manager, ExtraStateChangeRefreshesOnlyTheNamedSection) {
    // Another process turned CPU off and Network on.
    storeOrder(Value::array({2, 3, 4}));
    const int cpuRedraws = manager->cpu()->sourceItem().redrawCount;
    manager->extraStateChange(extraChange("network"));
    EXPECT_TRUE(manager->network()->sourceItem().toggle.on);
    EXPECT_TRUE(manager->cpu()->sourceItem().toggle.on) << "not named, not refreshed";
    EXPECT_EQ(manager->cpu()->sourceItem().redrawCount, cpuRedraws);
    EXPECT_TRUE(manager->memory()->sourceItem().combinedIcon.hidden);

    manager->extraStateChange(extraChange("gpu"));
    manager->extraStateChange(Notification{});
    EXPECT_TRUE(manager->cpu()->sourceItem().toggle.on) << "no section of that name";

    manager->extraStateChange(extraChange("cpu"));
    EXPECT_FALSE(manager->cpu()->sourceItem().toggle.on);
}

TEST_F(Manager, ExtraStateChangeOfCombinedAlsoShowsWhichSectionsLiveInsideIt) {
    CVBSetObjectForKey(Value::array({Value::dict({{"key", 2}})}), "CombinedMenubarDisplayMode");
    CVBSetObjectForKey(Value::array({Value::dict({{"key", 3}})}), "CombinedDropdownDisplayMode");
    storeOrder(Value::array({8, 1}));
    manager->extraStateChange(extraChange("combined"));
    EXPECT_TRUE(manager->combined()->sourceItem().toggle.on);
    for (SectionController* inside :
         std::initializer_list<SectionController*>{manager->memory(), manager->disks()}) {
        EXPECT_TRUE(inside->sourceItem().toggle.hidden) << inside->sectionName();
        EXPECT_FALSE(inside->sourceItem().combinedIcon.hidden) << inside->sectionName();
        EXPECT_FALSE(inside->sourceItem().toggle.on) << inside->sectionName();
    }
    EXPECT_FALSE(manager->cpu()->sourceItem().toggle.hidden);
    EXPECT_TRUE(manager->cpu()->sourceItem().toggle.on);
}

TEST_F(Manager, LoadingAllSectionsBuildsThePagesOfThePanelItems) {
    manager->loadAllSections();
    for (const char* xib :
         {"CPU", "Memory", "Disks", "Network", "Sensors", "Battery", "Time", "Combined", "Weather"})
        EXPECT_EQ(pages->loads[xib], 1) << xib;
    EXPECT_EQ(manager->notifications()->view(), nullptr);
}

// A registry whose sections report each `didClose`.
class ClosingManager : public Manager {
protected:
    std::unique_ptr<SectionManager> makeManager(SectionServices services) override {
        return std::make_unique<test::CustomSectionManager>(
            std::move(services),
            test::closingSections([this](const std::string& xib) { closed.push_back(xib); }));
    }
    std::vector<std::string> closed;
};

TEST_F(ClosingManager, SwitchingPagesClosesOnlyThePageGoingOutOfSight) {
    ASSERT_EQ(selected(), manager->general());
    ASSERT_TRUE(closed.empty()) << "nothing was shown before the first page";
    manager->selectItem(manager->cpu()->sourceItem());
    EXPECT_EQ(closed, std::vector<std::string>{"General"});
    manager->selectItem(manager->cpu()->sourceItem());
    EXPECT_EQ(closed, std::vector<std::string>{"General"}) << "the shown page chosen again";
    manager->nextSection();
    EXPECT_EQ(closed, (std::vector<std::string>{"General", "CPU"}));
    manager->launchToSection(9);
    EXPECT_EQ(closed, (std::vector<std::string>{"General", "CPU", "Memory"}));
}

TEST_F(ClosingManager, SavingClosesEverySectionAlsoThoseNeverShown) {
    manager->selectItem(manager->disks()->sourceItem());
    closed.clear();
    manager->save();
    EXPECT_EQ(closed, (std::vector<std::string>{"General", "Notifications", "Weather", "CPU",
                                                "Memory", "Disks", "Network", "Sensors", "Battery",
                                                "Time", "Combined"}));
    EXPECT_EQ(manager->time()->view(), nullptr);
}

struct TimeWithoutPage final : TimeController {
    using TimeController::TimeController;
    void setup() override { throw std::runtime_error("no page file"); }
};

// Throws what is no exception class at all, as foreign code may.
struct WeatherThrowingAnything final : WeatherController {
    using WeatherController::WeatherController;
    void setup() override { throw 42; }
};

class FailingManager : public Manager {
protected:
    std::unique_ptr<SectionManager> makeManager(SectionServices services) override {
        return std::make_unique<test::CustomSectionManager>(
            std::move(services),
            std::map<std::string, test::CustomSectionManager::Maker>{
                {"Time", [](SectionManager& m) { return std::make_unique<TimeWithoutPage>(m); }},
                {"Weather",
                 [](SectionManager& m) { return std::make_unique<WeatherThrowingAnything>(m); }}});
    }
};

TEST_F(FailingManager, ASectionThatFailsToSetUpIsLoggedAndTheNextOnesStillSetUp) {
    ASSERT_EQ(manager->combined()->dropdownHotkeyButton().fontSize, 0);
    LogCapture log;
    manager->setupSections();
    EXPECT_TRUE(log.contains("Section Weather failed to set up: unknown exception")) << log.lines();
    EXPECT_TRUE(log.contains("Section Time failed to set up: no page file"));
    EXPECT_TRUE(log.contains("Call stack where it was caught:"));
    // CPU comes after Weather, Combined after Time.
    EXPECT_EQ(manager->cpu()->dropdownHotkeyButton().fontSize, 12);
    EXPECT_EQ(manager->combined()->dropdownHotkeyButton().fontSize, 12);
    EXPECT_EQ(manager->time()->dropdownHotkeyButton().fontSize, 0);
}

} // namespace
