#include "shell/MenuCommandLine.h"

#include "MenuFixture.h"
#include "foundation/Log.h"
#include "foundation/PropertyList.h"
#include "shell/ProductSite.h"

#include <sstream>

namespace corvane {
namespace {

class MenuCommands : public test::MenuFixture {
protected:
    MenuCommandLine commands() {
        return MenuCommandLine(
            CVBPreferences::sharedPreferences(), bus, queue, [this] { queue.runUntilIdle(); }, out,
            err);
    }
    bool printed(const std::string& line) {
        return out.str().find(line + "\n") != std::string::npos;
    }

    std::ostringstream out;
    std::ostringstream err;
};

TEST_F(MenuCommands, TheMenusArePrintedWithTheTicksOfTheStoredSettings) {
    CVBSetBoolForKey(false, "Disks_MonitorSMART");
    CVBSetBoolForKey(true, "Diagnostics_Enabled");
    EXPECT_EQ(commands().printMenus(), 0);
    EXPECT_TRUE(printed("Stats\n  Reset Network Filtering")) << out.str();
    EXPECT_TRUE(printed("  [ ] Monitor S.M.A.R.T. Disks"));
    EXPECT_TRUE(printed("  [x] Combine Processes")) << "a default counts";
    EXPECT_TRUE(printed("  [x] Automatically Send Diagnostic Data"));
    EXPECT_TRUE(printed("  [x] System Default"));
    EXPECT_TRUE(printed("  About Corvane Bar"));
    EXPECT_EQ(out.str().find("Window"), std::string::npos) << "no window, no Window menu";
}

TEST_F(MenuCommands, ChoosingAnItemWritesAndPostsAsTheMenuDoes) {
    auto c = commands();
    EXPECT_EQ(c.toggle("Monitor S.M.A.R.T. Disks"), 0);
    EXPECT_EQ(CVBPreferences::sharedPreferences().domain().copyValue("Disks_MonitorSMART"),
              Value(false));
    EXPECT_EQ(c.toggle("Reset Disk Filtering"), 0);
    EXPECT_EQ(c.toggle("Hotkeys"), 0);
    EXPECT_EQ(out.str(), "[ ] Monitor S.M.A.R.T. Disks\n"
                         "Done: Reset Disk Filtering\n"
                         "Hotkeys: " +
                             std::string(kProductSiteAddress) + "/help/corvanebar6/hotkeys/\n");
    EXPECT_EQ(posts.names, (std::vector<std::string>{"CorvaneBarSMARTPreferencesChanged",
                                                     "CorvaneBarDisksPreferencesChanged",
                                                     "CorvaneBarDisksPreferencesChanged"}));
    EXPECT_TRUE(err.str().empty());
}

TEST_F(MenuCommands, WhatNeedsTheWindowOrAPeerIsRefusedAndUnknownTitlesAreNamed) {
    auto c = commands();
    EXPECT_EQ(c.toggle("Reinstall..."), 1);
    EXPECT_EQ(c.toggle("Delete History Database"), 1);
    EXPECT_EQ(c.toggle("Stats"), 2);
    EXPECT_EQ(c.toggle("Nothing Like It"), 2);
    EXPECT_EQ(err.str(),
              "corvanebar menu: \"Reinstall...\" is not available here: it needs the settings "
              "window\n"
              "corvanebar menu: \"Delete History Database\" is not available here: it needs the "
              "link to the status item\n"
              "corvanebar menu: \"Stats\" is a menu; choose one of its items\n"
              "corvanebar menu: no item \"Nothing Like It\"; \"corvanebar menu\" lists them\n");
    EXPECT_TRUE(out.str().empty());
    EXPECT_TRUE(posts.names.empty());
}

TEST_F(MenuCommands, ALanguageIsStoredAndAnnouncedButNothingStartsAgain) {
    auto c = commands();
    EXPECT_EQ(c.setLanguage("fr-CA"), 0);
    EXPECT_EQ(CVBPreferences::sharedPreferences().domain().copyValue("language"), Value("fr-CA"));
    EXPECT_EQ(c.setLanguage("klingon"), 2);
    EXPECT_EQ(c.printLanguage(), 0);
    EXPECT_TRUE(printed("Language: French (Canada) (fr-CA)\nNo session bus, so no running "
                        "program was told; a settings window shows it at its next start"))
        << out.str();
    EXPECT_TRUE(printed("[ ] system  System Default"));
    EXPECT_TRUE(printed("[x] fr-CA   French (Canada)"));
    EXPECT_NE(err.str().find("no language \"klingon\""), std::string::npos);

    // By name from the menu, or back to the desktop's language.
    EXPECT_EQ(c.toggle("German"), 0);
    EXPECT_EQ(CVBPreferences::sharedPreferences().domain().copyValue("language"), Value("de"));
    EXPECT_EQ(c.setLanguage("system"), 0);
    EXPECT_TRUE(CVBPreferences::sharedPreferences().domain().copyValue("language").isNull());
    EXPECT_EQ(posts.count(kLanguageChangeNotification), 3);
}

TEST_F(MenuCommands, WhatCannotBeStoredFailsSaysWhyAndPostsNothing) {
    installUnwritable();
    LogCapture quiet;
    auto c = commands();
    EXPECT_EQ(c.toggle("Combine Processes"), 1);
    EXPECT_EQ(c.toggle("Reset Disk Filtering"), 1);
    EXPECT_EQ(c.setLanguage("de"), 1);
    EXPECT_TRUE(posts.names.empty());
    EXPECT_TRUE(out.str().empty()) << out.str();
    for (const char* failure :
         {"corvanebar menu: \"Combine Processes\" could not be stored: Cannot write",
          "corvanebar menu: \"Reset Disk Filtering\" could not be stored: Cannot write",
          "corvanebar language: the language could not be stored: Cannot write"})
        EXPECT_NE(err.str().find(failure), std::string::npos) << failure << "\n" << err.str();
}

} // namespace
} // namespace corvane
