#include "MenuFixture.h"
#include "shell/ApplicationMenus.h"
#include "shell/HelpMenu.h"

#include <thread>

namespace corvane {
namespace {

using test::RecordingMenuActions;

std::vector<std::string> titles(const Menu& menu) {
    std::vector<std::string> result;
    for (const auto& item : menu.items())
        result.push_back(item->isSeparator() ? "---" : item->title);
    return result;
}

class Menus : public test::MenuFixture {
protected:
    void SetUp() override {
        MenuFixture::SetUp();
        menus = std::make_unique<ApplicationMenus>(CVBPreferences::sharedPreferences(), bus, queue,
                                                   actions);
        menus->buildAppMenu();
        menus->buildHelpMenu();
        menus->buildStatsMenu();
        menus->buildDiagnosticsMenu();
        menus->updateMenuItems();
    }
    void TearDown() override {
        menus.reset();
        MenuFixture::TearDown();
    }

    MenuItem& item(std::string_view title) {
        MenuItem* found = menus->mainMenu().findItem(title);
        if (!found)
            throw std::runtime_error("no menu item " + std::string(title));
        return *found;
    }

    RecordingMenuActions actions;
    std::unique_ptr<ApplicationMenus> menus;
};

TEST_F(Menus, StartUpPutsItsItemsBetweenAboutAndQuitAndRebuildsTheOthersFromEmpty) {
    EXPECT_EQ(
        titles(menus->appMenu()),
        (std::vector<std::string>{"About APPLICATIONNAME", "---", "Reinstall...", "Uninstall...",
                                  "---", "Automatically Check For Updates",
                                  "Automatically Install Updates", "---", "Quit Corvane Bar"}));
    const auto stats = titles(menus->statsMenu());
    menus->buildStatsMenu();
    menus->buildDiagnosticsMenu();
    menus->buildHelpMenu();
    EXPECT_EQ(titles(menus->statsMenu()), stats);
    EXPECT_EQ(titles(menus->diagnosticsMenu()),
              (std::vector<std::string>{"Automatically Send Diagnostic Data", "---",
                                        "Send Log Files..."}));
    EXPECT_EQ(menus->helpMenu().numberOfItems(), helpEntries().size());

    menus->updateAboutTitle();
    EXPECT_EQ(menus->appMenu().itemAtIndex(0).title, "About Corvane Bar");
}

// The updater reads "...Disabled" from the shared settings: absent means on.
TEST_F(Menus, UpdateItemsTickOppositeToTheirDisabledKeyAndRemoveItWhenTurnedOn) {
    ASSERT_TRUE(
        CVBPreferences::sharedPreferences().setObject(Value(true), "UpdateCheckerDisabled"));
    menus->updateMenuItems();
    MenuItem& checks = item("Automatically Check For Updates");
    MenuItem& installs = item("Automatically Install Updates");
    EXPECT_FALSE(checks.state);
    EXPECT_TRUE(installs.state);

    checks.perform();
    EXPECT_TRUE(checks.state);
    EXPECT_TRUE(CVBStoredObjectForKey("UpdateCheckerDisabled").isNull()) << "removed, not false";

    installs.perform();
    EXPECT_FALSE(installs.state);
    EXPECT_EQ(CVBStoredObjectForKey("UpdateCheckerAutomaticDisabled"), Value(true));
    EXPECT_EQ(posts.names, (std::vector<std::string>{"CorvaneBarUpdateCheckerChange",
                                                     "CorvaneBarUpdateCheckerChange"}));
    EXPECT_EQ(posts.infos, (std::vector<Value>{Value(), Value()}));
}

struct ToggleCase {
    const char* title;
    const char* key;
    const char* notification; // empty: posts nothing
};

TEST_F(Menus, EachToggleWritesItsPreferenceFromItsTickAndPostsItsNotification) {
    const ToggleCase cases[] = {
        {"Combine Processes", "ProcessesCombine", "CorvaneBarGlobalDisplayChange"},
        {"Monitor S.M.A.R.T. Disks", "Disks_MonitorSMART", "CorvaneBarSMARTPreferencesChanged"},
        {"Disable Frequency Monitoring", "Sensors_DisableIntelKext",
         "CorvaneBarIntelFrequencyChange"},
        {"Automatically Send Diagnostic Data", "Diagnostics_Enabled", ""},
        {"Disable Personal Weather Stations", "Weather_PWSDisabled", "CorvaneBarWeatherPWSChanged"},
    };
    auto& prefs = CVBPreferences::sharedPreferences();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.title);
        posts.names.clear();
        MenuItem& toggle = item(c.title);
        const bool before = prefs.objectForKey(c.key).boolValue();
        EXPECT_EQ(toggle.state, before) << "ticks come from the preferences";
        toggle.perform();
        EXPECT_EQ(prefs.domain().copyValue(c.key), Value(!before));
        EXPECT_EQ(toggle.state, !before);
        toggle.perform();
        EXPECT_EQ(prefs.domain().copyValue(c.key), Value(before)) << "cleared is false, not gone";
        const auto expected = *c.notification
                                  ? std::vector<std::string>{c.notification, c.notification}
                                  : std::vector<std::string>{};
        EXPECT_EQ(posts.names, expected);
    }

    // Another process turned a setting off; the tick, not the store, says what a toggle does.
    MenuItem& smart = item("Monitor S.M.A.R.T. Disks");
    prefs.setBool(false, "Disks_MonitorSMART");
    ASSERT_TRUE(smart.state);
    smart.perform();
    EXPECT_EQ(prefs.domain().copyValue("Disks_MonitorSMART"), Value(false));
    menus->updateMenuItems();
    EXPECT_FALSE(smart.state);
}

TEST_F(Menus, ResetsEmptyTheFilterListsAndDiskFilteringPostsTwice) {
    auto& prefs = CVBPreferences::sharedPreferences();
    for (const char* key :
         {"FilteringNetwork", "FilteringDisks", "FilteringDiskActivity", "FilteringSensors"})
        prefs.setObject(Value::array({"hidden"}), key);

    item("Reset Disk Filtering").perform();
    EXPECT_EQ(prefs.domain().copyValue("FilteringDisks"), Value::array());
    EXPECT_EQ(prefs.domain().copyValue("FilteringDiskActivity"), Value::array());
    EXPECT_EQ(prefs.domain().copyValue("FilteringNetwork"), Value::array({"hidden"}));
    EXPECT_EQ(posts.names, (std::vector<std::string>{"CorvaneBarDisksPreferencesChanged",
                                                     "CorvaneBarDisksPreferencesChanged"}));

    item("Reset Network Filtering").perform();
    item("Reset Sensor Filtering").perform();
    EXPECT_EQ(prefs.domain().copyValue("FilteringNetwork"), Value::array());
    EXPECT_EQ(prefs.domain().copyValue("FilteringSensors"), Value::array());
    EXPECT_EQ(posts.count("CorvaneBarNetworkPreferencesChanged"), 1);
    EXPECT_EQ(posts.count("CorvaneBarSensorsPreferencesChanged"), 1);
}

TEST_F(Menus, DeletingTheHistoryPostsTheRestartOnTheMainQueueOnceTheStatusItemReplies) {
    item("Delete History Database").perform();
    ASSERT_EQ(actions.calls, std::vector<std::string>{"deleteDatabase"});
    queue.runUntilIdle();
    EXPECT_TRUE(posts.names.empty()) << "no reply, no restart";

    std::thread replying(actions.databaseReply);
    replying.join();
    EXPECT_TRUE(posts.names.empty()) << "the reply's thread posts nothing itself";
    queue.runUntilIdle();
    EXPECT_EQ(posts.names, std::vector<std::string>{"CorvaneBarStatusRestart"});
}

TEST_F(Menus, CommandsOwnedElsewhereGoToTheirPeersAndHelpPagesOpenAfterTheMenuCloses) {
    for (const char* title :
         {"Reinstall...", "Uninstall...", "Request Calendar Access", "Send Log Files...",
          "About APPLICATIONNAME", "Quit Corvane Bar", "Hotkeys", "Fan Control"})
        item(title).perform();
    EXPECT_EQ(actions.calls.size(), 6u) << "no help page while the menu is still open";
    queue.runUntilIdle();
    const std::string help = std::string(kProductSiteAddress) + "/help/corvanebar6/";
    EXPECT_EQ(actions.calls, (std::vector<std::string>{"reinstall", "uninstall", "calendar", "logs",
                                                       "about", "quit", "open " + help + "hotkeys/",
                                                       "open " + help + "fans/"}));
    EXPECT_TRUE(posts.names.empty());
}

TEST_F(Menus, TitlesFollowTheChosenLanguageAndAreTranslatedAgainASecondLater) {
    CVBSetObjectForKey(Value("de"), "language");
    menus->buildStatsMenu();
    MenuItem& reset = item("Reset Disk Filtering");
    EXPECT_EQ(reset.title, "Festplattenfilter zur\xC3\xBC"
                           "cksetzen");
    EXPECT_EQ(reset.identifier, "Reset Disk Filtering");

    menus->translateMainMenu();
    EXPECT_EQ(menus->windowMenu().title, "Fenster");
    EXPECT_EQ(item("Quit Corvane Bar").title, "Corvane Bar beenden");
    menus->updateAboutTitle();
    EXPECT_EQ(menus->appMenu().itemAtIndex(0).title, "\xC3\x9C"
                                                     "ber Corvane Bar");
    // The second pass keeps what the first translated.
    queue.advance(1.0);
    EXPECT_EQ(item("Quit Corvane Bar").title, "Corvane Bar beenden");
}

// Finding items by title or untranslated name, also in submenus, is covered through the menus.
TEST(Menu, SeparatorsAreNeverFoundAndDisabledItemsDoNothing) {
    Menu bar;
    bar.addSeparator();
    auto& chosen = bar.addItem("Disks");
    int runs = 0;
    chosen.action = [&](MenuItem&) { ++runs; };
    EXPECT_EQ(bar.findItem(""), nullptr);
    chosen.enabled = false;
    EXPECT_FALSE(chosen.perform());
    chosen.enabled = true;
    EXPECT_TRUE(chosen.perform());
    EXPECT_EQ(runs, 1);
}

} // namespace
} // namespace corvane
