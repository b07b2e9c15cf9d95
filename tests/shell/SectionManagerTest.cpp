#include "SectionFixture.h"
#include "foundation/Log.h"
#include "shell/SectionLauncher.h"

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

TEST_F(Manager, StartsOnTheFirstSectionWithTheSwitchesFromTheStoredOrder) {
    EXPECT_EQ(selected(), manager->general());
    EXPECT_EQ(window.firstResponder(), &manager->general()->sourceItem());
    EXPECT_EQ(shownPages(), std::vector<std::string>{"General"});
    EXPECT_EQ(switches(), "-+-+++-----");
    // The window lists the sections in their order (checked by name where they are closed).
    ASSERT_EQ(sourceList.items().size(), 11u);
    for (std::size_t i = 0; i < 11; ++i)
        EXPECT_EQ(sourceList.items()[i], &manager->sections()[i]->sourceItem()) << i;
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
    SourceListItem stranger;
    EXPECT_EQ(manager->indexOfItem(&stranger), 0u) << "unknown items count as the first";
}

TEST_F(Manager, SelectingNotificationsBuildsTheSensorsAndDisksPagesFirst) {
    const int fetchesBefore = colourFetches;
    const int closesBefore = optionsPopup->closes;
    pages->order.clear();
    manager->selectItem(manager->notifications()->sourceItem());
    EXPECT_EQ(pages->order, (std::vector<std::string>{"Sensors", "Disks", "Notifications"}));
    EXPECT_EQ(shownPages(), std::vector<std::string>{"Notifications"});
    EXPECT_EQ(selected(), manager->notifications());
    EXPECT_EQ(colourFetches, fetchesBefore + 1);
    EXPECT_EQ(optionsPopup->closes, closesBefore + 1);

    // Shown again later, or all loaded ahead, nothing is built twice.
    manager->selectItem(manager->sensors()->sourceItem());
    EXPECT_EQ(shownPages(), std::vector<std::string>{"Sensors"});
    manager->loadAllSections();
    for (const char* xib :
         {"CPU", "Memory", "Disks", "Network", "Sensors", "Battery", "Time", "Combined", "Weather"})
        EXPECT_EQ(pages->loads[xib], 1) << xib;
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

    for (std::int64_t key = 1; key <= 7; ++key) {
        distributed.postNotificationName(openNotificationForSection(key));
        ASSERT_NE(selected(), nullptr);
        EXPECT_EQ(selected()->sectionKey(), key);
    }

    const int forwards = activator->forwards;
    distributed.postNotificationName("CorvaneBar-Open-FanEditor");
    EXPECT_EQ(selected(), manager->sensors());
    EXPECT_EQ(fanEditor->edits, 1);
    EXPECT_GT(activator->forwards, forwards);
}

TEST_F(Manager, LaunchingFindsASectionByKeyOrCombinedKeyElseOnlyBringsTheWindowForward) {
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

    // A combined item moved by another key is found by its combined key.
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
    EXPECT_EQ(switches(), "------+----");
}

Notification extraChange(const char* extra) {
    return Notification{"", {}, Value::dict({{"extra", extra}})};
}

TEST_F(Manager, ExtraStateChangeRefreshesOnlyTheNamedSection) {
    // Another process turned CPU off and Network on.
    storeOrder(Value::array({2, 3, 4}));
    const int cpuRedraws = manager->cpu()->sourceItem().redrawCount;
    manager->extraStateChange(extraChange("network"));
    EXPECT_EQ(switches(), "-+-++++----") << "CPU not named, not refreshed";
    EXPECT_EQ(manager->cpu()->sourceItem().redrawCount, cpuRedraws);

    manager->extraStateChange(extraChange("gpu"));
    manager->extraStateChange(Notification{});
    EXPECT_EQ(switches(), "-+-++++----") << "no section of that name";

    manager->extraStateChange(extraChange("cpu"));
    EXPECT_EQ(switches(), "-+--+++----");
}

// Memory in the panel's Combined item, Disks in its dropdown.
TEST_F(Manager, RefreshingCombinedShowsWhichSectionsLiveInsideIt) {
    const std::pair<const char*, std::function<void()>> refreshes[] = {
        {"every section", [this] { center.post("CorvaneBarRefreshSections"); }},
        {"Combined alone", [this] { manager->extraStateChange(extraChange("combined")); }}};
    for (const auto& [what, refresh] : refreshes) {
        SCOPED_TRACE(what);
        CVBSetObjectForKey(Value::array({Value::dict({{"key", 2}})}), "CombinedMenubarDisplayMode");
        CVBSetObjectForKey(Value::array({Value::dict({{"key", 3}})}),
                           "CombinedDropdownDisplayMode");
        storeOrder(Value::array({8, 1}));
        refresh();
        // Notifications and Combined itself never live inside Combined.
        EXPECT_EQ(switches(), "-+-+cc----+");

        storeOrder(Value::array({1, 2, 3}));
        manager->refreshAllSections();
        ASSERT_EQ(switches(), "-+-+++-----");
    }
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

TEST_F(ClosingManager, SwitchingPagesClosesOnlyThePageGoingOutOfSightAndSavingClosesAll) {
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

    // Saving closes every section, also those never shown, without building their pages.
    closed.clear();
    manager->save();
    EXPECT_EQ(closed, (std::vector<std::string>{"General", "Notifications", "Weather", "CPU",
                                                "Memory", "Disks", "Network", "Sensors", "Battery",
                                                "Time", "Combined"}));
    EXPECT_EQ(manager->time()->view(), nullptr);
    EXPECT_EQ(pages->loads.count("Time"), 0u);
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
